#!/usr/bin/env python3
"""Checks every state that the disk may have after a power failure, at every moment of a change of a file.

disk_model.py AGENT ZMLOGADM, in a private root: records the system calls of a request that changes qr.conf, and of one
that changes a unified logging store, and replays them on a model of a disk. Changes that were not flushed may be on the
disk in any combination: each write wholly, by half or not at all, and changes of names and modes in any order. In every
state at every moment, the file must be the whole old or the whole new one with its mode, and the new one when the
answer has been sent. To test the model itself, the calls are replayed without each flush, and the model must find
faults.
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
    """The data and mode that are on the disk, and the changes since the last flush, which may be."""

    def __init__(self, data=b"", mode=0):
        self.data, self.mode, self.pending = data, mode, []

    def flush(self):
        for change in self.pending:
            self.data, self.mode = change(self.data, self.mode)
        self.pending = []

    def possible(self):
        """Returns every state of data and mode that may be on the disk."""
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
    """A folder: the names that are on the disk, and the changes of names that may be."""

    def __init__(self, name, inode):
        self.names, self.current, self.pending = {name: inode}, {name: inode}, []

    def change(self, function):
        function(self.current)
        self.pending.append(function)

    def flush_folder(self):
        self.names, self.pending = dict(self.current), []

    def possible_inodes(self, name):
        """Returns every inode that may have the name, and None if it may be missing."""
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
    """A line of the trace: the name, the paths of descriptors, the quoted texts, and the flags."""

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
    """Replays the calls that concern one folder."""

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
    """Returns the calls of the process that sent the answer, up to the answer."""
    for name in glob.glob(TRACE + ".*"):
        with open(name, encoding="ascii") as lines:
            calls = [Call(line) for line in lines if COMPLETE.match(line)]
        answers = [number for number, call in enumerate(calls) if is_answer(call)]
        if answers:
            return calls[: answers[0] + 1]
    sys.exit("no process sent an answer")


def record(agent, zmlogadm, path, old, argument):
    for name in glob.glob(TRACE + ".*"):
        os.remove(name)
    with open(path, "wb") as file:
        file.write(old)
    os.chmod(path, MODE)
    subprocess.run(
        # One file for each process: in a single file, calls of two processes would interrupt each other.
        ["strace", "-ff", "-y", "-xx", "-s", "1000000", "-o", TRACE, "-e", "trace=" + CALLS]
        + [zmlogadm, "--agent", agent, "ENABLELOGGING", argument],
        check=True,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    with open(path, "rb") as file:
        new = file.read()
    if new == old:
        sys.exit(f"{path} did not change")
    return agent_calls(), new


def check(agent, zmlogadm, path, old, argument):
    calls, new = record(agent, zmlogadm, path, old, argument)
    replay = Replay(path, old, new)
    faults = replay.run(calls)
    counts = f"{len(calls)} calls, {replay.moments} moments, {replay.states} states of the disk, {len(faults)} faults"
    print(f"{path}: {counts}")
    for fault in faults:
        print("   ", fault)
    flushes = [call for call in calls if call.name == "fsync" and not call.failed]
    for left_out in flushes:
        less = Replay(path, old, new).run([call for call in calls if call is not left_out])
        print(f"    without the flush of {left_out.paths[0]}: {len(less)} faults")
        if not less:
            faults.append("the model finds no fault without a flush")
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
