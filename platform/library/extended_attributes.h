// Extended attributes: access control lists, security labels and users' own attributes.
#pragma once

#include <map>
#include <string>

namespace platform_library {

// Values by name.
using ExtendedAttributes = std::map<std::string, std::string>;

// Adds the attributes of the file. Leaves out the hashes of its content (security.ima and security.evm), which are
// wrong for any other file. On a file system without attributes there are none. Returns 0 or an error number.
[[nodiscard]] int read_extended_attributes(int file, ExtendedAttributes& attributes);

// Gives the new file the attributes. Removes an access control list that the new file inherited from its folder, unless
// one is among the attributes. Returns 0 or an error number.
[[nodiscard]] int give_extended_attributes(const ExtendedAttributes& attributes, int file);

// Reads the attributes of the file `from` and gives them to the new file `to`. Returns 0 or an error number.
[[nodiscard]] int copy_extended_attributes(int from, int to);

}  // namespace platform_library
