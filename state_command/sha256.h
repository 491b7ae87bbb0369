// SHA-256 (FIPS 180-4).
#pragma once

#include <string>
#include <string_view>

// Returns the digest of the bytes as 64 hexadecimal digits in lower case.
[[nodiscard]] std::string sha256(std::string_view bytes);
