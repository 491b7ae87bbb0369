// Every file that a logging request could change, to see what it did change.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

// The files below /usr/kumel, /opt and /tmp, and /etc/rkregistry.cfg, as they are now, without the agent's own log.
class TreeSnapshot {
  public:
    TreeSnapshot();

    // Returns the paths that were made, removed or changed: another file with the name, another text, mode or owner.
    [[nodiscard]] std::vector<std::string> changes_since(const TreeSnapshot& earlier) const;

  private:
    struct Entry {
        ino_t number = 0;
        mode_t mode = 0;
        uid_t user = 0;
        gid_t group = 0;
        // The text of a file, or the target of a link.
        std::string text;

        bool operator==(const Entry&) const = default;
    };

    void add(const std::string& path);

    std::map<std::string, Entry> entries_;
};
