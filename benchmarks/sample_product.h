// The files that the measured requests work on, at the product's fixed paths. Only for a private root.
#pragma once

#include <string>

inline const std::string volume_manager_file = "/usr/kumel/volmgr/vm.conf";
// Where support utilities collect.
inline const std::string collection_folder = "/tmp/collected";
// The packages that the stand-in for the support utility creates.
inline const std::string packages_folder = "/tmp/packages";

// Stand-ins for tools of the product: one that does nothing, and one that leaves the prepared packages.
struct StandInTools {
    std::string idle;
    std::string listed;
};

// Makes the folders, a main configuration that trusts this host, all that a request of fourteen categories changes,
// and the tools of the product.
void make_sample_product(const StandInTools& tools);

// Empties the agent's log, so that it does not grow from run to run.
void empty_debug_log();

// Restores the settings that a request of fourteen categories would not change again.
void reset_logging();

void write_sample_file(const std::string& path, const std::string& text);
[[nodiscard]] std::string read_sample_file(const std::string& path);

// Returns a volume manager configuration with this number of lines; the verbosity in the middle is commented out.
[[nodiscard]] std::string volume_manager_text(int lines);

// Makes this number of files that the support utility will leave as its packages; reuses those that it left before.
void prepare_packages(int files);

// Makes a folder with this number of small files.
void fill_folder(const std::string& folder, int files);
