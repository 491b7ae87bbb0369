#!/usr/bin/env python3
"""Adds the category WIDGET to a copy of the tree by the steps of CONTRIBUTING.md, builds the agent and sends a request.

    add_category.py FOLDER IN_PRIVATE_ROOT ZMLOGADM

FOLDER is replaced by the copy. The programs are those of a build: they run what the copy builds.
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent.parent
CODE = r"``(?P<{0}2>.+?)``|`(?P<{0}1>[^`]+)`"
DIRECTIVE = re.compile(
    rf"New file (?:{CODE.format('name')}) in (?:{CODE.format('folder')})"
    rf"|In (?:{CODE.format('file')})"
    rf"|replacing (?:{CODE.format('before')}) with (?:{CODE.format('after')})"
    rf"|below (?:{CODE.format('anchor')})"
)


def fail(reason):
    sys.exit(f"add_category.py: {reason}")


def steps_of(text):
    """Yields the list items of the section, as lists of their paragraphs: a text, or the lines of a block of code."""
    section = re.search(r"^## Add a category\n(.*?)^## ", text, re.MULTILINE | re.DOTALL)[1]
    for item in re.finditer(r"^(\d+\. )(.*\n(?:(?: +.*)?\n)*)", section, re.MULTILINE):
        width = len(item[1])
        lines = [" " * width + item[2].split("\n")[0], *item[2].split("\n")[1:]]
        paragraphs = []
        for line in lines:
            is_code = line.startswith(" " * (width + 4))
            if is_code or (line == "" and paragraphs and isinstance(paragraphs[-1], list)):
                if not paragraphs or not isinstance(paragraphs[-1], list):
                    paragraphs.append([])
                paragraphs[-1].append(line[width + 4 :])
            elif line:
                if not paragraphs or isinstance(paragraphs[-1], list):
                    paragraphs.append("")
                paragraphs[-1] += line.strip() + " "
        yield paragraphs


class Step:
    """One step. A directive sets the file and the place of the code that follows, or replaces a text."""

    def __init__(self, copy):
        self.copy = copy
        self.file = None
        self.anchor = None
        self.is_new = False

    def read(self):
        return self.file.read_text(encoding="utf-8")

    def follow(self, text):
        for found in DIRECTIVE.finditer(text):
            part = lambda name: found[name + "1"] or found[name + "2"]
            if part("name"):
                self.is_new = True
                self.file = self.copy / part("folder") / part("name")
            elif part("file"):
                self.file = self.copy / part("file")
            elif part("before"):
                if self.read().count(part("before")) != 1:
                    fail(f"{self.file} does not have {part('before')!r} once")
                self.file.write_text(self.read().replace(part("before"), part("after")), encoding="utf-8")
            else:
                self.anchor = part("anchor")

    def insert(self, code):
        text = "\n".join(code).rstrip("\n") + "\n"
        if self.file is None:
            return subprocess.run(text, shell=True, check=True, cwd=self.copy)
        if self.is_new:
            return self.file.write_text(text, encoding="utf-8")
        lines = self.read().splitlines(keepends=True)
        places = [i for i, line in enumerate(lines) if self.anchor in line]
        if len(places) != 1:
            fail(f"{self.file} has {len(places)} lines with {self.anchor!r}")
        end = places[0] + 1
        return self.file.write_text("".join([*lines[:end], text, *lines[end:]]), encoding="utf-8")


def build(copy, *targets):
    folder = copy / "build/release"
    quiet = {"check": True, "cwd": copy, "stdout": subprocess.DEVNULL}
    if not folder.exists():
        # Without optimisation: what is tested is that it builds.
        subprocess.run(["cmake", "--preset", "release", "-DZMLA_TESTS=OFF", "-DCMAKE_CXX_FLAGS_RELEASE=-O0"], **quiet)
    subprocess.run(["cmake", "--build", folder, "--parallel", str(os.cpu_count()), "--target", *targets], **quiet)


def follow_steps(copy):
    for paragraphs in steps_of((TREE / "CONTRIBUTING.md").read_text(encoding="utf-8")):
        step = Step(copy)
        for paragraph in paragraphs:
            if isinstance(paragraph, str):
                step.follow(paragraph)
                continue
            if step.file is None:
                build(copy, "print_words")
            step.insert(paragraph)


def answer_of(copy, in_private_root, zmlogadm):
    """Returns the answer to a request, and the setting's file after it."""
    script = """
        mkdir -p /usr/kumel/zembrath/logs /usr/kumel/widget
        echo 'SERVER = localhost' >/usr/kumel/zembrath/qr.conf
        echo 'LEVEL=1' >/usr/kumel/widget/widget.conf
        "/.host$1" --agent "/.host$2" ENABLELOGGING WIDGET:hinge=2
        cat /usr/kumel/widget/widget.conf"""
    agent = str(copy / "build/release/zmlogadmagent")
    run = subprocess.run(
        [in_private_root, "sh", "-c", script, "sh", zmlogadm, agent], capture_output=True, text=True, check=False
    )
    return run.stdout + run.stderr


def main():
    copy, in_private_root, zmlogadm = Path(sys.argv[1]).resolve(), sys.argv[2], sys.argv[3]
    shutil.rmtree(copy, ignore_errors=True)
    shutil.copytree(TREE, copy, symlinks=True, ignore=shutil.ignore_patterns("build", ".git"))
    follow_steps(copy)
    # Of the commands, only the sources that have to have a row for the category.
    build(copy, "zmlogadmagent", "state_command/settings_in_force.o", "request_command/options.o")
    answer = answer_of(copy, in_private_root, zmlogadm)
    expected = (
        "PROCESS=WIDGET:hinge STATUS=0 MSG=Set up hinge debug logging\nLEVEL=2\n"
        "EXIT STATUS 0 the requested operation was successfully completed\n"
    )
    if answer != expected:
        fail(f"the answer is {answer!r}")
    for page in ["packaging/completion/_zmlogadm", "docs/zmlogstate.schema.json"]:
        if "WIDGET" not in (copy / page).read_text(encoding="utf-8"):
            fail(f"{page} does not name WIDGET")
    if shutil.which("mandoc") and shutil.which("jq"):
        environment = {**os.environ, "ZMLA_PRINT_WORDS": "build/release/packaging/print_words"}
        subprocess.run(["tests/packaging/check_man_pages.sh"], check=True, cwd=copy, env=environment)
    shutil.rmtree(copy)


if __name__ == "__main__":
    main()
