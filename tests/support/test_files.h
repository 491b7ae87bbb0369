// Files for tests.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

// Writes the text into a new or an emptied file, and creates the folders that are missing above it.
void write_file(const std::string& path, const std::string& text);

// Writes a program that the shell runs.
void write_tool(const std::string& path, const std::string& commands);

// Returns the text of the file; throws when it cannot be opened.
std::string read_file(const std::string& path);

// Returns whether anything has that name, even a dangling link.
bool exists(const std::string& path);

// Creates the folder and those that are missing above it.
void make_folder(const std::string& path);

void make_link(const std::string& target, const std::string& path);

// Returns the names in the folder, sorted; throws when it cannot be read.
[[nodiscard]] std::vector<std::string> names_in(const std::string& folder);

// Returns what the file system knows of the file, or of a link itself; throws when there is none.
[[nodiscard]] struct stat state_of(const std::string& path);

// Returns the permission bits.
unsigned mode_of(const std::string& path);
void set_mode(const std::string& path, unsigned mode);

// Removes anything of that name, with everything below it.
void remove_tree(const std::string& path);

// Returns whether there is another user to give files to. A user namespace may have only one.
bool namespace_has_several_users();

// A folder below /tmp that exists as long as this object.
class ScratchFolder {
  public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    // Returns the path of the folder, followed by "/" and the name when there is one.
    [[nodiscard]] std::string path(const std::string& name = "") const;

  private:
    std::string path_;
};
