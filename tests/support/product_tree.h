// A fresh product installation at its fixed paths for each test.
#pragma once

#include <string>

inline const std::string main_configuration = "/usr/kumel/zembrath/qr.conf";
inline const std::string logs_folder = "/usr/kumel/zembrath/logs";
inline const std::string default_collection_folder = "/usr/kumel/zembrath/logs/zmlaevidence";

// Wipes /usr/kumel, /opt, /etc/rkregistry.cfg and /tmp and makes an installation of empty product folders and a main
// configuration that trusts this host. Throws outside a private root: it would wipe the host's installation.
void make_product_tree();
