#!/usr/bin/env python3
"""Counts the branches that gcovr has found, and fails when the tests take too few of them.

    count_branches.py BRANCHES.json LIST

Branches that the compiler makes for exceptions are left out, because nearly every call has one. gcovr could leave them
out itself, but not in a header that one program runs and another one only contains.

Writes every line with a branch that no test takes to LIST. Prints a table of the files, and the totals.
"""
import json
import sys

# How many branches of these files the tests may leave out.
CORE = {
    "agent/request_framing.cpp": 0,
    "platform/library/framing.cpp": 0,
    "platform/library/peer_verification.cpp": 0,
    "platform/library/safe_rewrite.cpp": 0,
    "logging_config/key_value_file.cpp": 0,
    "logging_config/categories.cpp": 0,
    "logging_config/logging_request.cpp": 0,
}
LEAST_PER_CENT = 95


def branches_of(line):
    return [branch["count"] > 0 for branch in line["branches"] if not branch["throw"]]


def per_cent(taken, branches):
    # Rounded down, so that 100 means all.
    return 100 * taken // branches if branches else 100


def row(name, taken, branches):
    return f"{name:<55} {taken:>5} of {branches:>5} {per_cent(taken, branches):>4} %"


def count(file, listing):
    """Returns how many branches of the file are taken, and how many there are."""
    with open(file["file"], encoding="utf-8") as source:
        texts = source.read().splitlines()
    taken = branches = 0
    for line in file["lines"]:
        outcomes = branches_of(line)
        taken += sum(outcomes)
        branches += len(outcomes)
        if not all(outcomes):
            number = line["line_number"]
            share = f"{sum(outcomes)} of {len(outcomes)}"
            listing.write(f"{file['file']}:{number}: {share}: {texts[number - 1].strip()}\n")
    return taken, branches


def main(found, list_name):
    with open(found, encoding="utf-8") as stream:
        files = json.load(stream)["files"]
    with open(list_name, "w", encoding="utf-8") as listing:
        counts = {file["file"]: count(file, listing) for file in files}
    for name, (taken, branches) in sorted(counts.items()):
        if branches:
            print(row(name, taken, branches))
    failed = False
    print("\nCore files:")
    for name, accepted in CORE.items():
        taken, branches = counts[name]
        print(row(name, taken, branches))
        if branches - taken != accepted:
            print(f"{name}: {branches - taken} branches are not taken, and {accepted} are accepted")
            failed = True
    taken = sum(taken for taken, _ in counts.values())
    branches = sum(branches for _, branches in counts.values())
    print("\n" + row("All of agent, library and command", taken, branches))
    if per_cent(taken, branches) < LEAST_PER_CENT:
        print(f"That is less than {LEAST_PER_CENT} %")
        failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
