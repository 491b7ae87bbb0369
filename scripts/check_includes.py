#!/usr/bin/env python3
"""Checks the direction of includes: what stands below never includes what stands above it.

A row names a room and the rooms, or single headers of a room, that its sources may include, besides itself. `agent/main.cpp` is a room of its own:
the roof of the house. The rest of `agent/` is its foundation.
"""

import re
import subprocess
import sys

ALLOWED = {
    "platform": set(),
    "platform/library": {"platform"},
    "agent": {"platform"},
    "logging_config": {"agent", "platform"},
    "commands": {"logging_config", "agent", "platform"},
    "agent/main.cpp": {"commands", "agent", "platform"},
    "request_command": {
        "agent/answer_forms.h",
        "agent/command_words.h",
        "agent/tool_files.h",
        "logging_config/settings.h",
        "platform/library",
        "platform",
    },
    "state_command": {"logging_config", "agent", "platform/library", "platform"},
}

INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)


def room_of(path):
    """The longest name in the table that the path begins with."""
    names = [name for name in ALLOWED if path == name or path.startswith(name + "/")]
    return max(names, key=len) if names else path.split("/")[0]


def wrong_includes(path):
    room = room_of(path)
    allowed = ALLOWED[room] | {room}
    with open(path, encoding="utf-8") as source:
        included = INCLUDE.findall(source.read())
    return [name for name in included if room_of(name) not in allowed and name not in allowed]


def main():
    listed = subprocess.run(["git", "ls-files", "*.cpp", "*.h"], capture_output=True, text=True, check=True)
    sources = [path for path in listed.stdout.split() if room_of(path) in ALLOWED]
    wrong = [(path, name) for path in sources for name in wrong_includes(path)]
    for path, name in wrong:
        print(f"{path} includes {name}, which stands above it or aside")
    if not sources or wrong:
        sys.exit(1)
    print("includes: every one points down")


if __name__ == "__main__":
    main()
