#include "tests/support/product_tree.h"

#include <filesystem>
#include <stdexcept>

#include "tests/support/private_root.h"
#include "tests/support/test_files.h"

namespace fs = std::filesystem;

namespace {

void empty_folder(const fs::path& folder) {
    fs::create_directories(folder);
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        fs::remove_all(entry.path());
    }
}

}  // namespace

void make_product_tree() {
    if (!in_private_root()) {
        throw std::logic_error("a product tree is made in a private root only");
    }
    for (const char* folder : {"/usr/kumel", "/opt", "/tmp"}) {
        empty_folder(folder);
    }
    fs::remove_all("/etc/rkregistry.cfg");
    for (const char* folder : {"zembrath/bin/support", "zembrath/bin/goodies/support", "zembrath/bin/private",
                               "zembrath/logs", "zembrath/sec/az/bin", "ktul", "volmgr", "java", "lib/stg-plugins"}) {
        make_folder(std::string("/usr/kumel/") + folder);
    }
    write_file(main_configuration, "SERVER = localhost\n");
}
