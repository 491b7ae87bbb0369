// Extended attributes: access control lists, security labels and what users keep there.
#pragma once

namespace platform_library {

// Gives the file `to` the extended attributes of the file `from`, but for the hashes of its content (security.ima and
// security.evm), and takes from it an access control list that only it has. A file system without such attributes is no
// failure. Returns 0 or an error number.
[[nodiscard]] int copy_extended_attributes(int from, int to);

}  // namespace platform_library
