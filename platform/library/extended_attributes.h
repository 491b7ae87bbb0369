// Extended attributes: access control lists, security labels and what users keep there.
#pragma once

#include <map>
#include <string>

namespace platform_library {

// Values by name.
using ExtendedAttributes = std::map<std::string, std::string>;

// Adds the attributes of the file, but for the hashes of its content (security.ima and security.evm), which say nothing
// about another file. A file system without attributes has none. Returns 0 or an error number.
[[nodiscard]] int read_extended_attributes(int file, ExtendedAttributes& attributes);

// Gives the new file the attributes, and takes from it an access control list that it was born with and that is not
// among them. Returns 0 or an error number.
[[nodiscard]] int give_extended_attributes(const ExtendedAttributes& attributes, int file);

// Gives the new file `to` the attributes of the file `from`, as the two above do it.
[[nodiscard]] int copy_extended_attributes(int from, int to);

}  // namespace platform_library
