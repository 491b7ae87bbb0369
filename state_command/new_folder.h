// A folder that appears with all that it holds, or not at all.
#pragma once

#include <string>

#include "platform/posix.h"
#include "state_command/file_state.h"

// Until its end it has a name of its own beside the one that it is to have, and goes with this object. Every function
// throws a Failure when that is what comes of it.
class NewFolder {
  public:
    // Makes it, with mode 0700. Something that has the name already is a failure.
    explicit NewFolder(const std::string& path);
    ~NewFolder();
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    // Makes a private file in it.
    void add_file(const std::string& name, const std::string& text);

    // Makes a copy with the state of its file, and the folders that are missing above it. What the file system or this
    // user's rights do not allow the copy to have of owner and attributes, it has not.
    void add_copy(const std::string& name, const FileState& state);

    // Flushes it to the disk and gives it its name.
    void finish();

  private:
    std::string path_;  // that it is to have
    std::string name_;  // the last component
    std::string temporary_path_;
    std::string temporary_name_;
    Descriptor parent_;
    Descriptor folder_;
};
