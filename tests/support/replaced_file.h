// Files of the host that a private root replaces for a while.
#pragma once

#include <string>

// Mounts another file over an existing file of the host, for the life of this object. Only processes of this private
// root see it.
class ReplacedFile {
  public:
    // The path shows the file `shown` with its mode.
    ReplacedFile(const std::string& path, const std::string& shown);
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;
    ~ReplacedFile();

  private:
    std::string path_;
};

inline const std::string getent_file = "/usr/bin/getent";

// Shell commands that replace getent.
class StandInGetent {
  public:
    explicit StandInGetent(const std::string& commands);

  private:
    ReplacedFile file_;
};
