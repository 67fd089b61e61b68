"""Runs of the program: in folders that vanish with the process, under limits, with failing calls."""

import ctypes
import os
import pathlib
import resource
import shutil
import signal
import struct
import subprocess
import tempfile
from dataclasses import dataclass

LIBC = ctypes.CDLL(None, use_errno=True)
CLONE_NEWNS, CLONE_NEWUSER = 0x00020000, 0x10000000
MS_NODEV, MS_REC, MS_PRIVATE, MNT_DETACH = 4, 16384, 1 << 18, 2

LEAKS = pathlib.Path(__file__).with_name("leaks.supp")
CALLS = ("read", "pread", "write", "pwrite", "ftruncate", "fsync", "rename", "open", "fallocate",
         "pthread_create")
SHORT, KILL_BEFORE, KILL_BEHIND = 0, -1, -2  # in place of an errno


def _checked(result):
    if result != 0:
        error = ctypes.get_errno()
        raise OSError(error, os.strerror(error))


def _mount_tmpfs(folder, size):
    _checked(LIBC.mount(b"tmpfs", os.fsencode(folder), b"tmpfs", 0, b"size=%d" % size))


def _own_mounts():
    """Gives this process mounts of its own, which end with it. Without root's rights: in a user
    namespace of its own, in which it keeps its numbers."""
    user, group = os.geteuid(), os.getegid()
    if LIBC.unshare(CLONE_NEWNS) != 0:
        _checked(LIBC.unshare(CLONE_NEWUSER | CLONE_NEWNS))
        for name, text in (("setgroups", "deny"), ("uid_map", f"{user} {user} 1"),
                           ("gid_map", f"{group} {group} 1")):
            with open(f"/proc/self/{name}", "w") as file:
                file.write(text)
    _checked(LIBC.mount(None, b"/", None, MS_REC | MS_PRIVATE, None))


class Place:
    """Where all folders of a run of the suite lie: a tmpfs of its own if this process may mount."""

    def __init__(self):
        self.path = os.path.realpath(tempfile.mkdtemp(prefix="recast-conformance-"))
        self.may_mount, self.why_not = True, ""
        try:
            _own_mounts()
            _mount_tmpfs(self.path, 4 << 30)
        except OSError as error:
            self.may_mount, self.why_not = False, error.strerror

    def remove(self):
        if self.may_mount:
            LIBC.umount2(os.fsencode(self.path), MNT_DETACH)
        shutil.rmtree(self.path, ignore_errors=True)

    def folder(self):
        return Folder(self.path)


class Folder:
    """A folder for one run. With `size`, as a disk of that many bytes."""

    def __init__(self, parent, size=None):
        self.path = tempfile.mkdtemp(dir=parent)
        self.mounted = size is not None
        if self.mounted:
            _mount_tmpfs(self.path, size)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.mounted:
            LIBC.umount2(os.fsencode(self.path), MNT_DETACH)
        shutil.rmtree(self.path, ignore_errors=True)

    def __truediv__(self, name):
        return os.path.join(self.path, name)

    def write(self, name, content):
        os.makedirs(os.path.dirname(self / name), exist_ok=True)
        with open(self / name, "wb") as file:
            file.write(content)

    def read(self, name):
        """The content of a regular file; None if it is none."""
        if not os.path.isfile(self / name):
            return None
        with open(self / name, "rb") as file:
            return file.read()

    def names(self):
        """All that is in the folder, folders left out."""
        found = set()
        for path, _, files in os.walk(self.path):
            found.update(os.path.relpath(os.path.join(path, file), self.path) for file in files)
        return found


@dataclass
class Ended:
    """How a run ended: `code` is its exit code; None if a signal ended it, or the time limit."""
    code: int | None
    signal: int = 0
    output: bytes = b""
    errors: bytes = b""
    hung: bool = False

    @property
    def crash(self):
        """What is wrong with the end as such; empty if nothing is."""
        if self.hung:
            return "hangs"
        text = self.errors.decode(errors="replace")
        for line in text.splitlines():
            if "Sanitizer" in line or "runtime error:" in line:
                return line.strip()
        return f"killed by {signal.Signals(self.signal).name}" if self.signal else ""

    def last_line(self):
        lines = [line for line in self.errors.decode(errors="replace").splitlines() if line.strip()]
        return lines[-1] if lines else "(nothing)"


@dataclass
class Fault:
    """`times` calls fail, from the one with the number `at` on."""
    call: str
    at: int
    error: int
    times: int = 1


@dataclass
class Calls:
    """The counted calls of a run: those on files in its folder."""
    of: dict       # by name
    every: int     # all together
    failed: int    # made to fail
    standard: int  # with a descriptor that belongs to a standard stream


class Program:
    """The program under test."""

    def __init__(self, path, fault_library, time_limit):
        self.path = os.path.abspath(path)
        self.fault_library = os.path.abspath(fault_library)
        self.time_limit = time_limit
        self.environment = dict(os.environ, LC_ALL="C", ASAN_OPTIONS="verify_asan_link_order=0",
                                LSAN_OPTIONS=f"suppressions={LEAKS}:print_suppressions=0",
                                UBSAN_OPTIONS="print_stacktrace=0")
        self.environment.pop("LD_PRELOAD", None)
        self.started = []

    def start(self, arguments, folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, closed=(),
              largest_file=None, preload=None):
        def in_child():
            if largest_file is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (largest_file, largest_file))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            for descriptor in closed:
                os.close(descriptor)

        process = subprocess.Popen([self.path, *arguments], cwd=folder.path, stdout=stdout,
                                   stderr=stderr, stdin=subprocess.DEVNULL,
                                   env=dict(self.environment, **(preload or {})),
                                   preexec_fn=in_child if closed or largest_file is not None else None)
        self.started.append(process)
        return process

    def start_feeding(self, source, pipe):
        """Starts a process that writes a file's content into a named pipe, once it has a reader."""
        self.started.append(subprocess.Popen(["sh", "-c", 'exec cat "$1" >"$2"', "sh", source, pipe],
                                             stderr=subprocess.DEVNULL))

    def end_all(self):
        """Ends what was started and runs still."""
        for process in self.started:
            if process.poll() is None:
                process.kill()
                process.wait()
        self.started.clear()

    def wait(self, process, time_limit=None):
        try:
            output, errors = process.communicate(timeout=time_limit or self.time_limit)
        except subprocess.TimeoutExpired:
            process.kill()
            output, errors = process.communicate()
            return Ended(None, 0, output or b"", errors or b"", hung=True)
        code = process.returncode
        return Ended(code if code >= 0 else None, max(0, -code), output or b"", errors or b"")

    def run(self, arguments, folder, time_limit=None, **how):
        return self.wait(self.start(arguments, folder, **how), time_limit)

    def run_with_fault(self, arguments, folder, fault=None, **how):
        """Runs with a fault, or to count the calls. \\return how it ended, and its calls"""
        with tempfile.NamedTemporaryFile(dir=os.path.dirname(folder.path)) as counts:
            counts.write(bytes(4096))
            counts.flush()
            preload = {"LD_PRELOAD": self.fault_library, "FAULT_FOLDER": folder.path + "/",
                       "FAULT_COUNTS": counts.name}
            if fault:
                preload.update(FAULT_CALL=fault.call, FAULT_AT=str(fault.at),
                               FAULT_ERROR=str(fault.error), FAULT_TIMES=str(fault.times))
            ended = self.run(arguments, folder, preload=preload, **how)
            counts.seek(0)
            *of_call, every, failed, standard = struct.unpack(
                f"{len(CALLS) + 3}Q", counts.read(8 * (len(CALLS) + 3)))
        return ended, Calls(dict(zip(CALLS, of_call)), every, failed, standard)
