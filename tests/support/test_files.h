// Files of a test.
#pragma once

#include <string>
#include <vector>

// Writes the text into a new or an emptied file, and creates the folders that are missing above it.
void write_file(const std::string& path, const std::string& text);

// Writes a program that the shell runs.
void write_tool(const std::string& path, const std::string& commands);

// Returns what the file holds; throws when it cannot be opened.
std::string read_file(const std::string& path);

// Tells whether something has that name, be it a link that leads nowhere.
bool exists(const std::string& path);

// Creates the folder and those that are missing above it.
void make_folder(const std::string& path);

void make_link(const std::string& target, const std::string& path);

// Returns the permission bits.
unsigned mode_of(const std::string& path);
void set_mode(const std::string& path, unsigned mode);

// Removes whatever has that name, with all that is below it.
void remove_tree(const std::string& path);

// Whether there are users to give files away to: a user namespace can have one only.
bool namespace_has_several_users();

// A folder below /tmp that goes with its owner.
class ScratchFolder {
  public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    // Returns the folder's path, with "/" and the name behind it when there is one.
    [[nodiscard]] std::string path(const std::string& name = "") const;

  private:
    std::string path_;
};
