#!/usr/bin/env python3
"""Makes small mistakes in sources, one at a time, and counts those that the tests catch.

Each mutant is a copy of a source with one token, condition or statement changed (mutants.py). It is compiled, linked
before the library with the original, and the test programs of the file's plan run until one fails. A mutant is caught
when a test fails, crashes or does not end. A mutant that does not compile, or that compiles to the same code as the
original, is not counted. The others are the survivors: a test is missing, or the change has no visible effect.

    mutate.py SOURCES BUILD [--every N] [--survivors] [--list] [FILE ...]

SOURCES is a copy of the tree, BUILD its build folder, completely built without optimisation. Only the agent's file in
BUILD is changed, and restored afterwards. The default files are those of PLANS; every other source of the agent and of
the library can be named, except agent/main.cpp. --every N takes every N-th mutant of each file, --survivors only those
that survived the last run or are new; --list prints the mutants and runs nothing. BUILD/mutants.json keeps the results.
"""

import argparse
import ctypes
import json
import os
import re
import resource
import shlex
import signal
import subprocess
import sys
import time
from pathlib import Path
from typing import Callable

from mutants import Mutant, Mutator

UNIT, PLATFORM = "tests/unit/unit_tests", "tests/platform/platform_tests"
END_TO_END, LOGGING = "tests/end_to_end/end_to_end_tests", "tests/end_to_end/logging/logging_end_to_end_tests"
INVALID, SURVIVED, PASSED, FAILED, HUNG = "invalid", "survived", "passed", "failed", "hung"
WITH_HEADERS = ("-include", "mutant.h")
SANITIZERS = ("-fsanitize=address,undefined", "-fno-sanitize-recover=all")
AGENT = "zmlogadmagent"  # the program that the tests below tests/end_to_end run

# The test programs for a mutant of each file, the most likely to fail first. The tests that kill agents at each system
# call take long, and only concern rewritten files.
PLANS = {
    "agent/request_framing.cpp": [(UNIT, "ReceiveInputsFromClient.*"), (UNIT, "*"), (END_TO_END, "-FileSafety*"),
                                  (LOGGING, "*")],
    "platform/library/framing.cpp": [(PLATFORM, "*Framed*:*Framing*:Rejected*"), (PLATFORM, "*"),
                                     (END_TO_END, "-FileSafety*")],
    "platform/library/peer_verification.cpp": [(PLATFORM, "*Peer*"), (PLATFORM, "*"), (END_TO_END, "-FileSafety*")],
    "platform/library/safe_rewrite.cpp": [(PLATFORM, "*Rewr*-*CrashedRewrite*"), (PLATFORM, "*"), (END_TO_END, "*"),
                                          (LOGGING, "*")],
    "logging_config/key_value_file.cpp": [(UNIT, "*KeyValue*:*Parameter*"), (UNIT, "*"), (END_TO_END, "-FileSafety*"),
                                          (LOGGING, "*")],
    "logging_config/categories.cpp": [(UNIT, "CategoryTable.*:HandleLogging.*"), (UNIT, "*"),
                                      (END_TO_END, "-FileSafety*"), (LOGGING, "*")],
    "logging_config/logging_request.cpp": [(UNIT, "SplitCategoryArguments.*:HandleLogging.*"), (UNIT, "*"),
                                           (END_TO_END, "-FileSafety*"), (LOGGING, "*")],
}
# The test programs for any other file of a folder.
AGENT_PLAN = [(UNIT, "*"), (END_TO_END, "-FileSafety*"), (LOGGING, "*")]
FOLDER_PLANS = {
    "agent": AGENT_PLAN, "commands": AGENT_PLAN, "logging_config": AGENT_PLAN,
    "platform/library": [(PLATFORM, "-*CrashedRewrite*"), (END_TO_END, "-FileSafety*"), (LOGGING, "*")],
}


def plan_of(file: str) -> list[tuple[str, str]]:
    plan = PLANS.get(file, FOLDER_PLANS.get(os.path.dirname(file)))
    if plan is None or file == "agent/main.cpp":  # the tests compile it under another name
        sys.exit(f"mutate.py: there is no plan for {file}")
    return plan


class Workshop:
    """Builds mutants and tests them."""

    def __init__(self, sources: Path, build: Path) -> None:
        self.sources, self.build = sources, build
        self.commands = {row["file"]: shlex.split(row["command"])
                         for row in json.loads((build / "compile_commands.json").read_text())}
        self.seconds: dict[tuple[str, str], float] = {}  # the time of a program with the original

    def prepare(self, file: str) -> None:
        """Compiles the headers of the source once for all its mutants, then the original."""
        source = (self.sources / file).read_text()
        self.file, self.source = file, source
        includes = "".join(re.findall(r"^#include [^\n]*\n", source, re.MULTILINE))
        (self.build / "mutant.h").write_text(includes)
        command = self.compiler(file)
        self.check(self.run([*command, "-x", "c++-header", "-o", "mutant.h.gch", "-c", "mutant.h"]) == 0)
        self.check(self.compile(source, *WITH_HEADERS))
        self.original_code = self.code()
        for step in plan_of(file):
            self.check_filter(step)
            self.check(self.link(self.mutated_by(step)))
            if step not in self.seconds:
                before = time.monotonic()
                if self.outcome_of(step, 1200, set_limits) != PASSED:
                    sys.exit(f"mutate.py: {' '.join(step)} fails without any mutant of {file}")
                self.seconds[step] = time.monotonic() - before
        if self.result_with_sanitizers(source, plan_of(file)[0]) != SURVIVED:
            sys.exit(f"mutate.py: the sanitizers report {file} without any mutant")

    def check_filter(self, step: tuple[str, str]) -> None:
        """Every pattern has to match a test, or else a renamed test would not be run."""
        program = (self.build / step[0]).as_posix()
        for pattern in filter(None, re.split("[:-]", step[1])):
            command = [program, f"--gtest_filter={pattern}", "--gtest_list_tests"]
            if not subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout:
                sys.exit(f"mutate.py: no test of {step[0]} matches {pattern}")

    def compiler(self, file: str) -> list[str]:
        command = self.commands[(self.sources / file).as_posix()]
        return [*command[:command.index("-o")], "-g0", "-O0", "-w"]

    def compile(self, source: str, *options: str) -> bool:
        (self.build / "mutant.cpp").write_text(source)
        return self.run([*self.compiler(self.file), *options, "-o", "mutant.o", "-c", "mutant.cpp"]) == 0

    def code(self) -> bytes:
        return subprocess.run(["objdump", "-drs", "--no-show-raw-insn", "mutant.o"], cwd=self.build, check=True,
                              stdout=subprocess.PIPE).stdout

    def link(self, program: str, *options: str) -> bool:
        """The mutant comes first, so the linker leaves the original in its library."""
        folder, name = (self.build / program).parent, Path(program).name
        command = shlex.split((folder / f"CMakeFiles/{name}.dir/link.txt").read_text())
        place = command.index("-o")
        if program != AGENT:
            command[place + 1] = f"{name}.mutated"
            options = ("-fuse-ld=gold", *options)  # it is the quicker one, but knows no static-pie
        return self.run([*command[:place], "-Wl,--strip-all", *options, (self.build / "mutant.o").as_posix(),
                         *command[place:]], folder) == 0

    def mutated_by(self, step: tuple[str, str]) -> str:
        """The program that the mutant is linked into."""
        return AGENT if step[0] in (END_TO_END, LOGGING) else step[0]

    def result_of(self, mutant: Mutant) -> str:
        """Returns INVALID, SURVIVED, FAILED or HUNG."""
        end = mutant.start + len(mutant.original)
        source = self.source[:mutant.start] + mutant.mutated + self.source[end:]
        if not self.compile(source, *WITH_HEADERS) or self.code() == self.original_code:
            return INVALID
        linked = ""
        for step in plan_of(mutant.file):
            program = self.mutated_by(step)
            if program != linked and not self.link(program):
                return INVALID
            linked = program
            outcome = self.outcome_of(step, 5 + 3 * self.seconds[step], set_limits)
            if outcome != PASSED:
                return outcome
        return self.result_with_sanitizers(source, plan_of(mutant.file)[0])

    def result_with_sanitizers(self, source: str, step: tuple[str, str]) -> str:
        """Runs the tests with sanitizers too, because a write beyond a buffer may have no other effect."""
        if not self.compile(source, *SANITIZERS) or not self.link(self.mutated_by(step), *SANITIZERS):
            sys.exit("mutate.py: the sanitizers do not work")
        outcome = self.outcome_of(step, 30 + 10 * self.seconds[step])
        return SURVIVED if outcome == PASSED else outcome

    def outcome_of(self, step: tuple[str, str], limit: float, preparation: Callable[[], None] | None = None) -> str:
        program = step[0] if self.mutated_by(step) == AGENT else f"{step[0]}.mutated"
        command = [(self.build / program).as_posix(), f"--gtest_filter={step[1]}", "--gtest_brief=1",
                   "--gtest_fail_fast"]
        status = self.run(command, limit=limit, preparation=preparation)
        return PASSED if status == 0 else HUNG if status is None else FAILED

    def run(self, command: list[str], folder: Path | None = None, limit: float = 300,
            preparation: Callable[[], None] | None = None) -> int | None:
        """Returns the exit status of the program, or nothing when it did not end in time."""
        with open(self.build / "mutant.log", "wb") as log:
            process = subprocess.Popen(command, cwd=folder or self.build, stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=subprocess.STDOUT, preexec_fn=preparation)
            try:
                return process.wait(limit)
            except subprocess.TimeoutExpired:
                return None
            finally:
                end_descendants()

    def check(self, works: bool) -> None:
        if not works:
            sys.exit((self.build / "mutant.log").read_text(errors="replace"))


def set_limits() -> None:
    """Ends a mutant that writes or counts without end. Not for sanitizers, which reserve more memory than this."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 28, 1 << 28))
    resource.setrlimit(resource.RLIMIT_DATA, (1 << 31, 1 << 31))


def become_parent_of_orphans() -> None:
    pr_set_child_subreaper = 36
    if ctypes.CDLL(None, use_errno=True).prctl(pr_set_child_subreaper, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def end_descendants() -> None:
    """Ends the processes that a test program left, level by level: orphans become children of this process."""
    children = Path("/proc/self/task") / str(os.getpid()) / "children"
    while processes := children.read_text().split():
        for process in map(int, processes):
            os.kill(process, signal.SIGKILL)
            os.waitpid(process, 0)


def keep_going(workshop: Workshop, mutants: list[Mutant], results: dict[str, str]) -> None:
    for number, mutant in enumerate(mutants, 1):
        results[mutant.name] = workshop.result_of(mutant)
        (workshop.build / "mutants.json").write_text(json.dumps(results, indent=0))
        if sys.stdout.isatty():
            print(f"{mutant.file}: {number} of {len(mutants)}", end="\r", flush=True)


def report(file: str, mutants: list[Mutant], results: dict[str, str]) -> None:
    outcomes = [results[mutant.name] for mutant in mutants if results.get(mutant.name, INVALID) != INVALID]
    caught, hung = sum(outcome != SURVIVED for outcome in outcomes), outcomes.count(HUNG)
    percent = 100 * caught / max(len(outcomes), 1)
    print(f"{file:40} {len(outcomes):4} mutants {caught:4} caught {percent:6.1f} %, {hung} of them by a time-out",
          flush=True)
    for mutant in mutants:
        if results.get(mutant.name) == SURVIVED:
            print(f"  survived: {mutant}", flush=True)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("sources", type=Path)
    parser.add_argument("build", type=Path)
    parser.add_argument("--every", type=int, default=1, metavar="N")
    parser.add_argument("--survivors", action="store_true")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("files", nargs="*", metavar="FILE")
    options = parser.parse_intermixed_args()
    become_parent_of_orphans()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    workshop = Workshop(options.sources.resolve(), options.build.resolve())
    store = workshop.build / "mutants.json"
    results = json.loads(store.read_text()) if store.exists() else {}
    agent, whole_agent = workshop.build / AGENT, workshop.build / f"{AGENT}.whole"
    if whole_agent.exists():  # the last run was killed
        whole_agent.replace(agent)
    for file in options.files or PLANS:
        plan_of(file)
        mutants = Mutator(file, (workshop.sources / file).read_text()).mutants()[::options.every]
        todo = [mutant for mutant in mutants
                if not options.survivors or results.get(mutant.name, SURVIVED) == SURVIVED]
        if options.list:
            print(*mutants, sep="\n")
            continue
        agent.replace(whole_agent)
        try:
            workshop.prepare(file)
            keep_going(workshop, todo, results)
        finally:
            whole_agent.replace(agent)
        report(file, mutants, results)


if __name__ == "__main__":
    main()
