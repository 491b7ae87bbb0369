// All that a logging request could change, for telling what it did change.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

// The files below /usr/kumel, /opt and /tmp, and /etc/rkregistry.cfg, as they are now; the agent's own log is left out.
class TreeSnapshot {
  public:
    TreeSnapshot();

    // Returns the paths that came, went or changed: another file of the same name, another text, mode or owner.
    [[nodiscard]] std::vector<std::string> changes_since(const TreeSnapshot& earlier) const;

  private:
    struct Entry {
        ino_t number = 0;
        mode_t mode = 0;
        uid_t user = 0;
        gid_t group = 0;
        // What a file holds, or what a link points to.
        std::string text;

        bool operator==(const Entry&) const = default;
    };

    void add(const std::string& path);

    std::map<std::string, Entry> entries_;
};
