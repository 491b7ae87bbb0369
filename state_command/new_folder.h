// A new folder that appears with its whole content, or not at all.
#pragma once

#include <string>

#include "platform/posix.h"
#include "state_command/file_state.h"

// Until finish is called, the folder has a temporary name in the same parent, and the destructor removes it. Every
// function throws a Failure when it fails.
class NewFolder {
  public:
    // Makes the folder with mode 0700. Fails when the name exists.
    explicit NewFolder(const std::string& path);
    ~NewFolder();
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    // Makes a private file in the folder.
    void add_file(const std::string& name, const std::string& text);

    // Makes a copy of a file with the file's state, and the missing folders above it. Leaves out of owner, mode and
    // attributes what the file system or this user's rights do not allow.
    void add_copy(const std::string& name, const FileState& state);

    // Flushes the folder to the disk and renames it to its final name.
    void finish();

  private:
    std::string path_;  // the final one
    std::string name_;  // its last component
    std::string temporary_path_;
    std::string temporary_name_;
    Descriptor parent_;
    Descriptor folder_;
};
