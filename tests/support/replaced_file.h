// Files of the host that are others for a while, in a private root.
#pragma once

#include <string>

// Shows another file in the place of one that exists, which is the host's and may not be changed, until this object
// goes. For the processes of this private root only.
class ReplacedFile {
  public:
    // The file is shown with its mode.
    ReplacedFile(const std::string& path, const std::string& shown);
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;
    ~ReplacedFile();

  private:
    std::string path_;
};

inline const std::string getent_file = "/usr/bin/getent";

// Shell commands in the place of getent.
class StandInGetent {
  public:
    explicit StandInGetent(const std::string& commands);

  private:
    ReplacedFile file_;
};
