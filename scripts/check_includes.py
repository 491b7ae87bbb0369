#!/usr/bin/env python3
"""Checks the direction of includes: no folder includes headers of a folder above it.

A row of the table names a folder, and the folders and single headers that its sources may include besides its own.
`agent/main.cpp`, which uses every other part, has a row of its own.
"""

import os
import posixpath
import re
import subprocess
import sys
from pathlib import Path

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

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)


def row_of(path):
    """The longest name in the table that the path begins with."""
    names = [name for name in ALLOWED if path == name or path.startswith(name + "/")]
    return max(names, key=len) if names else path.split("/")[0]


def wrong_includes(path):
    row = row_of(path)
    allowed = ALLOWED[row] | {row}
    with open(path, encoding="utf-8") as source:
        found = [(mark, posixpath.normpath(name)) for mark, name in INCLUDE.findall(source.read())]
    # In angle brackets the headers of the system stand too.
    included = [name for mark, name in found if mark == '"' or row_of(name) in ALLOWED]
    return [name for name in included if row_of(name) not in allowed and name not in allowed]


def main():
    os.chdir(Path(__file__).resolve().parent.parent)
    listed = subprocess.run(["git", "ls-files", "-z", "*.cpp", "*.h"], capture_output=True, text=True, check=True)
    sources = [path for path in listed.stdout.split("\0") if row_of(path) in ALLOWED]
    wrong = [(path, name) for path in sources for name in wrong_includes(path)]
    for path, name in wrong:
        print(f"{path} includes {name}, which it may not include")
    if not sources or wrong:
        sys.exit(1)
    print("includes: allowed")


if __name__ == "__main__":
    main()
