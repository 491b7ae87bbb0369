#!/usr/bin/env python3
"""What the disk may hold after a power failure, at every moment of a change of a file.

disk_model.py AGENT ZMLOGADM, in a private root: records the system calls of a request that changes qr.conf, and of one
that changes a unified logging store, and replays them on a model of a disk. What was not flushed may be there or not,
in any combination: each write wholly, by half or not at all, each change of a name in any order, modes and owners too.
For every moment and every combination the file has to be the whole old or the whole new one, with its mode; and when
the answer has been sent, the new one. The model then has to find fault with the same calls less their flushes.
"""

import glob
import itertools
import os
import re
import subprocess
import sys

CALLS = "open,openat,write,pwrite64,ftruncate,fsync,fdatasync,rename,renameat,renameat2,unlink,unlinkat,fchmod,sendto"
TRACE = "/tmp/trace"
COMPLETE = re.compile(r"(\w+)\((.*)\) += (-?\d+)")
MODE = 0o640


class Inode:
    """What is on the disk for sure, and what may be: writes and modes since the last flush."""

    def __init__(self, data=b"", mode=0):
        self.data, self.mode, self.pending = data, mode, []

    def flush(self):
        for change in self.pending:
            self.data, self.mode = change(self.data, self.mode)
        self.pending = []

    def possible(self):
        """Every state of the data and the mode that may be on the disk."""
        states = set()
        for chosen in itertools.product((True, False), repeat=len(self.pending)):
            data, mode = self.data, self.mode
            for change, is_there in zip(self.pending, chosen):
                if is_there:
                    data, mode = change(data, mode)
            states.add((data, mode))
        return states


def append(text):
    return lambda data, mode: (data + text, mode)


def change_mode(new_mode):
    return lambda data, mode: (data, new_mode)


class Disk:
    """One folder: the names that are there for sure, and changes of names that may be."""

    def __init__(self, name, inode):
        self.names, self.current, self.pending = {name: inode}, {name: inode}, []

    def change(self, function):
        function(self.current)
        self.pending.append(function)

    def flush_folder(self):
        self.names, self.pending = dict(self.current), []

    def possible_inodes(self, name):
        """Every inode, or None, that may have the name."""
        found = set()
        for count in range(len(self.pending) + 1):
            for changes in itertools.permutations(self.pending, count):
                names = dict(self.names)
                for function in changes:
                    function(names)
                found.add(names.get(name))
        return found

    def possible_states(self, name):
        states = set()
        for inode in self.possible_inodes(name):
            states |= inode.possible() if inode else {None}
        return states


def creation(name, inode):
    return lambda names: names.__setitem__(name, inode)


def renaming(old, new, inode):
    def function(names):
        names.pop(old, None)
        names[new] = inode

    return function


def removal(name):
    return lambda names: names.pop(name, None)


def text_of(escaped):
    return bytes.fromhex(escaped.replace("\\x", ""))


class Call:
    """A line of the trace: name, the descriptors' paths, the quoted texts, the rest."""

    def __init__(self, line):
        match = COMPLETE.match(line)
        self.name, arguments, result = match.groups()
        self.failed = result == "-1"
        self.texts = [text_of(text) for text in re.findall(r'"((?:\\x..)*)"', arguments)]
        self.paths = [text_of(path).decode() for path in re.findall(r"<((?:\\x..)*)>", arguments)]
        self.flags = arguments
        self.mode = int((re.findall(r", (0\d+)$", arguments) or ["0"])[0], 8)

    def target(self, text, path):
        return os.path.join(self.paths[path] if len(self.paths) > path else "/", self.texts[text].decode())


class Replay:
    """Carries the calls out on the model, those that are about one folder."""

    def __init__(self, path, old, new):
        self.path, self.old, self.new = path, old, new
        self.folder = os.path.dirname(path)
        self.disk = Disk(path, Inode(old, MODE))
        self.moments = self.states = 0
        self.faults = []

    def here(self, path):
        return os.path.dirname(path) == self.folder

    def carry_out(self, call):
        if call.failed:
            return
        current = self.disk.current
        if call.name in ("open", "openat"):
            path = call.target(0, 0)
            if self.here(path) and "O_CREAT" in call.flags and path not in current:
                self.disk.change(creation(path, Inode(b"", call.mode)))
            elif path in current and "O_TRUNC" in call.flags:
                current[path].pending.append(lambda data, mode: (b"", mode))
        elif call.name in ("rename", "renameat", "renameat2"):
            old, new = call.target(0, 0), call.target(1, 1)
            if self.here(new):
                self.disk.change(renaming(old, new, current[old]))
        elif call.name in ("unlink", "unlinkat"):
            path = call.target(0, 0)
            if path in current:
                self.disk.change(removal(path))
        elif call.name in ("fsync", "fdatasync"):
            if call.paths[0] == self.folder:
                self.disk.flush_folder()
            elif call.paths[0] in current:
                current[call.paths[0]].flush()
        elif call.paths and call.paths[0] in current:
            self.change_inode(call, current[call.paths[0]])

    @staticmethod
    def change_inode(call, inode):
        if call.name == "write":
            text = call.texts[-1]
            inode.pending += [append(text[: len(text) // 2]), append(text[len(text) // 2 :])]
        elif call.name == "fchmod":
            inode.pending.append(change_mode(call.mode))
        else:
            sys.exit(f"the model knows no {call.name}")

    def fail_here(self, allowed, moment):
        states = self.disk.possible_states(self.path)
        self.moments += 1
        self.states += len(states)
        self.faults += [f"{moment}: {state}" for state in states if state not in allowed]

    def run(self, calls):
        whole = {(self.old, MODE), (self.new, MODE)}
        for call in calls:
            self.carry_out(call)
            self.fail_here(whole, f"after {call.name}")
        self.fail_here({(self.new, MODE)}, "at the end")
        return self.faults


def is_answer(call):
    return call.name == "write" and call.paths[0].startswith("socket") and b"PROCESS=" in call.texts[-1]


def agent_calls():
    """The calls of that process which sent the answer, up to its sending."""
    for name in glob.glob(TRACE + ".*"):
        with open(name, encoding="ascii") as lines:
            calls = [Call(line) for line in lines if COMPLETE.match(line)]
        answers = [number for number, call in enumerate(calls) if is_answer(call)]
        if answers:
            return calls[: answers[0] + 1]
    sys.exit("no process has sent an answer")


def record(agent, zmlogadm, path, old, argument):
    for name in glob.glob(TRACE + ".*"):
        os.remove(name)
    with open(path, "wb") as file:
        file.write(old)
    os.chmod(path, MODE)
    subprocess.run(
        # A file for each process: in one file the calls of two would be torn apart.
        ["strace", "-ff", "-y", "-xx", "-s", "1000000", "-o", TRACE, "-e", "trace=" + CALLS]
        + [zmlogadm, "--agent", agent, "ENABLELOGGING", argument],
        check=True,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    with open(path, "rb") as file:
        new = file.read()
    if new == old:
        sys.exit(f"{path} was not changed")
    return agent_calls(), new


def check(agent, zmlogadm, path, old, argument):
    calls, new = record(agent, zmlogadm, path, old, argument)
    replay = Replay(path, old, new)
    faults = replay.run(calls)
    print(f"{path}: {len(calls)} calls, {replay.moments} moments, {replay.states} states of the disk, {len(faults)} faults")
    for fault in faults:
        print("   ", fault)
    flushes = [call for call in calls if call.name == "fsync" and not call.failed]
    for left_out in flushes:
        less = Replay(path, old, new).run([call for call in calls if call is not left_out])
        print(f"    without the flush of {left_out.paths[0]}: {len(less)} faults")
        if not less:
            faults.append("the model does not miss a flush")
    return not faults and len(flushes) == 2


def main():
    agent, zmlogadm = sys.argv[1:]
    os.makedirs("/usr/kumel/zembrath/logs")
    os.makedirs("/usr/kumel/ktul")
    configuration = b"# trusted\nSERVER = localhost\nJOBD_VERBOSE = 1\n# end\n"
    good = check(agent, zmlogadm, "/usr/kumel/zembrath/qr.conf", configuration, "QRCONF:jobd_verbose=3,reqd_verbose=2")
    store = b"# levels\n111.DebugLevel=1\n117.DebugLevel=2\n"
    good &= check(agent, zmlogadm, "/usr/kumel/ktul/51216.conf", store, "ZMKTUL:111=5")
    sys.exit(0 if good else 1)


main()
