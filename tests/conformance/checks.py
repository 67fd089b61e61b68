"""The table of checks that the jobs go through.

A check lists its cases for a job, each a tuple of words and numbers, and runs one of them; the outcome
is a text that says what is wrong, empty if nothing is.
"""

import errno
import os
import signal
import socket
import stat
import subprocess
import threading
import time
from dataclasses import dataclass
from typing import Callable

from jobs import Reference, States
from runs import CALLS, KILL_BEFORE, KILL_BEHIND, SHORT, Fault, Folder


@dataclass(frozen=True)
class Check:
    name: str
    cases: Callable
    run: Callable
    applies: Callable = lambda job: True


CHECKS = []


def check(name, cases, applies=lambda job: True):
    def add(run):
        CHECKS.append(Check(name, cases, run, applies))
        return run
    return add


def writes(job):
    return job.writes


class Trial:
    """One run of a job in a folder of its own, and the judgement on it."""

    def __init__(self, suite, job, size=None):
        self.suite, self.job = suite, job
        self.folder = Folder(suite.place.path, size)
        self.states = suite.states(job)
        self.wrong = []

    def __enter__(self):
        self.job.fill(self.folder, self.suite.stock)
        return self

    def __exit__(self, *_):
        self.folder.__exit__()

    def expect(self, condition, text):
        if not condition:
            self.wrong.append(text)

    def verdict(self):
        return "; ".join(self.wrong)

    def run(self, output=None, inputs=None, **how):
        return self.suite.program.run(self.job.command(output, inputs), self.folder, **how)

    def judge(self, ended, want="either", output=None, may=(), silent=False):
        """Adds what is wrong: `want` is "success", "failure" or "either". \\param may states beyond the
        usual ones that the outputs may be in \\param silent the standard error stream was taken away"""
        self.expect(not ended.crash, ended.crash)
        success = ended.code == 0
        if ended.code is not None:
            self.expect(want != "success" or success,
                        f"exit code {ended.code}: {ended.last_line()}")
            self.expect(want != "failure" or not success, "exit code 0")
            self.expect(success or silent or ended.errors.strip(),
                        f"exit code {ended.code} without a reason")
        if self.job.writes:
            state = self.states.of(self.folder, output)
            usual = {"new"} if success else {"old", "part"} if self.job.completes else {"old"}
            self.expect(state in usual | set(may), f"exit code {ended.code}, but the output is {state}"
                        if ended.code is not None else f"the output is {state}")
        elif success:
            self.expect(ended.output == self.states.reference.output,
                        "exit code 0, but it printed something else")

    def expect_inputs_untouched(self):
        for name in self.job.needs():
            self.expect(self.folder.read(name) == self.suite.stock[name], f"{name} was changed")

    def expect_files(self, *more):
        """Nothing lies there but the inputs, the outputs and `more`."""
        left = self.folder.names() - {*self.job.needs(), *self.job.old, *more}
        self.expect(not left, f"{', '.join(sorted(left))} was left behind")

    def judge_all(self, ended, want="either", output=None, may=(), silent=False, more=()):
        self.judge(ended, want, output, may, silent)
        self.expect_inputs_untouched()
        self.expect_files(*more)
        return self.verdict()


def make_reference(suite, job):
    """Runs a job undisturbed. \\return the states that its outputs can be in"""
    with Folder(suite.place.path) as folder:
        job.fill(folder, suite.stock)
        old = {name: folder.read(name) for name in job.old}
        start = time.monotonic()
        ended = suite.program.run(job.command(), folder)
        seconds = time.monotonic() - start
        files = {name: folder.read(name) for name in job.old}
        if ended.code != 0 or None in files.values() or (files and files == old):
            raise RuntimeError(f"{' '.join(job.command())}: exit code {ended.code}, "
                               f"{ended.crash or ended.last_line()}")
        seen = None
        if job.writes and job.output.endswith(".q8"):
            seen = suite.read_content(folder / job.output)
        return States(job, old, Reference(files, ended.output, seconds, seen))


# ------------------------------------------------------------------------------ what succeeds

@check("loads-again", lambda suite, job: [("info",), ("json",), ("verify",), ("rerun",), ("new",)],
       writes)
def loads_again(suite, job, how):
    if how == "verify" and not suite.has_verify:
        return ""
    with Trial(suite, job) as trial:
        if how == "new" and not job.appends:
            for name in job.old:
                os.unlink(trial.folder / name)
        problem = trial.judge_all(trial.run(), "success")
        if problem or how in ("rerun", "new") or not job.output.endswith(".q8"):
            return problem
        words = {"info": ["info"], "json": ["info", "--json"], "verify": ["verify"]}[how]
        ended = suite.program.run([*words, job.output], trial.folder)
        trial.expect(ended.code == 0, f"{' '.join(words)}: {ended.crash or ended.last_line()}")
        trial.expect(ended.output or how == "verify", f"{' '.join(words)} prints nothing")
        return trial.verdict()


# ------------------------------------------------------------------------------ inputs

def each_input(suite, job):
    return [(name,) for name in job.inputs]


def judge_bad_input(trial, ended, name, *words):
    trial.judge(ended, "failure")
    text = ended.errors.decode(errors="replace")
    for word in (name, *words):
        trial.expect(word in text, f"the reason doesn't name {word}: {ended.last_line()}")
    trial.expect_files()
    return trial.verdict()


@check("missing-input", each_input)
def missing_input(suite, job, name):
    with Trial(suite, job) as trial:
        os.unlink(trial.folder / name)
        return judge_bad_input(trial, trial.run(), name, os.strerror(errno.ENOENT))


def unreadable_kinds(suite, job):
    for name in job.inputs:
        size = len(suite.stock[name])
        kinds = ["folder", "empty", "junk"]
        if os.geteuid() != 0:
            kinds.append("forbidden")
        if name.endswith(".txt"):
            kinds.remove("empty")  # a text without points is whole
            if job.name == "columns-preview":
                kinds.remove("junk")
        if name.endswith(".q8"):
            cuts = [size * k // 24 for k in range(1, 24)] + [size - 1, size - 4, 8, 48]
            kinds += [f"cut at {cut}" for cut in suite.share(cuts, 8)]
        yield from ((name, kind) for kind in kinds)


@check("unreadable-input", unreadable_kinds)
def unreadable_input(suite, job, name, kind):
    with Trial(suite, job) as trial:
        path = trial.folder / name
        if kind == "folder":
            os.unlink(path)
            os.mkdir(path)
        elif kind == "forbidden":
            os.chmod(path, 0)
        elif kind.startswith("cut"):
            os.truncate(path, int(kind.split()[-1]))
        else:
            trial.folder.write(name, b"no data at all\n" * (3 if kind == "junk" else 0))
        return judge_bad_input(trial, trial.run(), name)


def text_inputs(suite, job):
    return [(name,) for name in job.inputs if not name.endswith(".q8")]


@check("pipe-as-input", text_inputs)
def pipe_as_input(suite, job, name):
    """A pipe is read to its end or refused; it never loses rows."""
    with Trial(suite, job) as trial:
        path = trial.folder / name
        os.unlink(path)
        os.mkfifo(path)
        trial.folder.write("text", suite.stock[name])
        feeder = subprocess.Popen(["sh", "-c", 'exec cat "$1" >"$2"', "sh", trial.folder / "text", path],
                                  stderr=subprocess.DEVNULL)
        ended = trial.run(time_limit=min(4, suite.program.time_limit))
        feeder.kill()
        feeder.wait()
        trial.judge(ended)
        trial.expect_files("text", name, *([job.output + ".partial"] if ended.hung else []))
        return trial.verdict()


# ------------------------------------------------------------------------------ outputs

@check("unwritable-output", lambda suite, job: [(kind,) for kind in (
    "folder missing", "a folder", "below a file", "partial is a folder",
    *(["no permission"] if os.geteuid() != 0 else []))], writes)
def unwritable_output(suite, job, kind):
    with Trial(suite, job) as trial:
        output = job.output
        more = []
        if kind == "folder missing":
            output = "none/" + output
        elif kind == "a folder":
            output = "folder"
            os.mkdir(trial.folder / output)
        elif kind == "below a file":
            trial.folder.write("file", b"")
            output, more = "file/" + output, ["file"]
        elif kind == "partial is a folder":
            os.mkdir(trial.folder / (output + ".partial"))
        else:
            os.mkdir(trial.folder / "locked")
            os.chmod(trial.folder / "locked", 0o555)
            output = "locked/" + output
        ended = trial.run(output)
        trial.expect(kind != "a folder" or os.listdir(trial.folder / "folder") == [],
                     "the folder was changed")
        trial.expect(ended.code in (None, 0) or os.path.basename(output).encode() in ended.errors,
                     f"the reason doesn't name {output}: {ended.last_line()}")
        return trial.judge_all(ended, "failure", more=more)


ALIASES = ("same", "dot", "up and down", "hard link", "symbolic link")


def aliased_inputs(suite, job):
    cases = [(name, alias) for name in job.inputs for alias in ALIASES]
    if any(name.startswith("ext/") for name in job.old):
        cases += [(name, "external file") for name in job.inputs]
    return cases


@check("output-is-input", aliased_inputs, writes)
def output_is_input(suite, job, name, alias):
    with Trial(suite, job) as trial:
        output, inputs, more = name, None, []
        if alias == "dot":
            output = "./" + name
        elif alias == "up and down":
            os.mkdir(trial.folder / "down")
            output = "down/../" + name
        elif alias == "hard link":
            output, more = "alias", ["alias"]
            os.link(trial.folder / name, trial.folder / output)
        elif alias == "symbolic link":
            output, more = "alias", ["alias"]
            os.symlink(name, trial.folder / output)
        elif alias == "external file":
            output = None
            os.unlink(trial.folder / "ext/Intensity.q8")
            os.link(trial.folder / name, trial.folder / "ext/Intensity.q8")
        ended = trial.run(output, inputs)
        trial.expect(not ended.crash, ended.crash)
        trial.expect(ended.code != 0, "not refused")
        trial.expect(ended.code == 0 or ended.errors.strip(), "no reason")
        if alias == "external file":
            trial.expect(trial.folder.read("ext/Intensity.q8") == suite.stock[name],
                         "the input below the external file's name was changed")
        trial.expect_inputs_untouched()
        trial.expect_files(*more)
        return trial.verdict()


SPECIAL = ("fifo", "null device", "full device", "socket", "link to file", "link to link",
           "link to nowhere", "link to folder", "link to itself")


@check("special-output", lambda suite, job: [(kind,) for kind in SPECIAL], writes)
def special_output(suite, job, kind):
    with Trial(suite, job) as trial:
        path = trial.folder / "special"
        received = []
        reader = None
        if kind == "fifo":
            os.mkfifo(path)
            end = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
            reader = threading.Thread(target=_drain, args=(end, received))
        elif kind.endswith("device"):
            if not _make_device(path, 3 if kind == "null device" else 7):
                return suite.skip("a device node can't be made")
        elif kind == "socket":
            with socket.socket(socket.AF_UNIX) as there:
                there.bind(os.path.relpath(path))
        elif kind == "link to folder":
            os.mkdir(trial.folder / "folder")
            os.symlink("folder", path)
        elif kind == "link to itself":
            os.symlink("special", path)
        elif kind == "link to nowhere":
            os.symlink("nowhere", path)
        else:
            target = trial.folder / job.output
            if kind == "link to link":
                os.symlink(target, trial.folder / "between")
                target = "between"
            os.symlink(target, path)
        before = os.lstat(path)
        if reader:
            process = suite.program.start(job.command("special"), trial.folder)
            reader.start()
            ended = suite.program.wait(process)
            received.append(None)
            reader.join()
            os.close(end)
        else:
            ended = trial.run("special")
        after = os.lstat(path)
        trial.expect(stat.S_IFMT(before.st_mode) == stat.S_IFMT(after.st_mode) and
                     before.st_ino == after.st_ino, f"the {kind} was replaced")
        more = ["special", "between"]
        if kind in ("link to file", "link to link"):
            trial.judge(ended, "success")
        else:
            _judge_special(trial, ended, kind, received)
            more += ["nowhere"] if ended.code == 0 else []
        trial.expect_inputs_untouched()
        trial.expect_files(*more)
        return trial.verdict()


def _make_device(path, minor):
    try:
        os.mknod(path, 0o666 | stat.S_IFCHR, os.makedev(1, minor))
        return True
    except PermissionError:
        return False


def _drain(end, received):
    """Reads a pipe until `received` ends with None and nothing is left."""
    os.set_blocking(end, False)
    while True:
        ended = None in received
        try:
            piece = os.read(end, 1 << 16)
        except BlockingIOError:
            piece = b""
        if piece:
            received.insert(0, piece)
        elif ended:
            received.remove(None)
            received.reverse()
            return
        else:
            time.sleep(0.001)


def _judge_special(trial, ended, kind, received):
    """A run on what is no file writes all of it there, or fails; the job's own output is untouched."""
    trial.expect(not ended.crash, ended.crash)
    trial.expect(ended.code == 0 or ended.errors.strip(), "no reason")
    job = trial.job
    text = not job.output.endswith(".q8")
    if kind in ("fifo", "null device") and text:
        trial.expect(ended.code == 0, f"exit code {ended.code}: {ended.last_line()}")
    elif kind != "link to nowhere":
        trial.expect(ended.code != 0, "exit code 0")
    if kind == "fifo" and ended.code == 0:
        trial.expect(b"".join(received) == trial.states.reference.files[job.output],
                     "the pipe's reader got something else")
    if kind == "link to nowhere" and ended.code == 0:
        trial.expect(trial.folder.read("nowhere") is not None, "exit code 0 without an output")
    trial.expect(trial.folder.read(job.output) == trial.states.old[job.output],
                 "the other output was changed")


# ------------------------------------------------------------------------------ streams

STREAMS = ("stdout closed", "stderr closed", "both closed", "all closed", "stdout full", "stderr full",
           "both full", "stdout without reader")


@check("streams", lambda suite, job: [(kind,) for kind in STREAMS])
def streams(suite, job, kind):
    closed = {"stdout closed": (1,), "stderr closed": (2,), "both closed": (1, 2),
              "all closed": (0, 1, 2)}.get(kind, ())
    how = {}
    with Trial(suite, job) as trial, open("/dev/full", "wb") as full:
        if kind in ("stdout full", "both full"):
            how["stdout"] = full
        if kind in ("stderr full", "both full"):
            how["stderr"] = full
        if kind == "stdout without reader":
            reading, how["stdout"] = os.pipe()
            os.close(reading)
        ended, calls = suite.program.run_with_fault(job.command(), trial.folder, closed=closed, **how)
        trial.expect(not calls.standard, "a file is open as a standard stream")
        if kind == "stdout without reader":
            os.close(how["stdout"])
            if ended.signal == signal.SIGPIPE:  # the usual end of a filter
                return judge_kill(trial, ended) if job.writes else ""
        silent = "stderr" in kind or kind.startswith(("both", "all"))
        spoilt = kind != "stderr closed" and kind != "stderr full"
        # What a command prints beside writing its output may be lost without harm to the output.
        want = "either" if job.writes else "failure" if spoilt else "success"
        return trial.judge_all(ended, want, may=["new"], silent=silent)


# ------------------------------------------------------------------------------ full disks

def disk_sizes(suite, job):
    """Sizes from what the files take that are there already to what the job needs at most."""
    files = {name: len(suite.stock[name]) for name in job.needs()}
    files.update({name: len(content) for name, content in suite.states(job).old.items()})
    new = suite.states(job).reference.files
    page = 4096
    there = sum(-(-size // page) * page for size in files.values())
    need = sum(-(-len(content) // page) * page for content in new.values())
    largest = max(len(content) for content in new.values())
    number = suite.number(7, 40)
    if suite.place.may_mount:
        # A folder takes a page too, and so does each entry that is no page long.
        for k in range(number):
            yield "disk", there + page * (1 + round(need / page * k / number))
    else:
        suite.skip(f"no disks of small size: mounting: {suite.place.why_not}")
    for k in range(number):
        yield "limit", round(largest * (k + 0.5) / number)


@check("full-disk", disk_sizes, writes)
def full_disk(suite, job, kind, size):
    with Trial(suite, job, size if kind == "disk" else None) as trial:
        ended = trial.run(largest_file=size if kind == "limit" else None)
        # A disk may just be large enough, and an output is made smaller at its end.
        return trial.judge_all(ended)


# ------------------------------------------------------------------------------ failing calls

ERRORS = {"EIO": errno.EIO, "ENOSPC": errno.ENOSPC, "EACCES": errno.EACCES, "EMFILE": errno.EMFILE,
          "EAGAIN": errno.EAGAIN, "EOPNOTSUPP": errno.EOPNOTSUPP, "EINTR": errno.EINTR,
          "short": SHORT}
# Which errors each call meets, and whether the run has to get over it.
FAULTS = {
    "read": (("EIO", False), ("EINTR", True), ("short", True)),
    "pread": (("EIO", False), ("EINTR", True), ("short", True)),
    "write": (("ENOSPC", False), ("EINTR", True), ("short", True)),
    "pwrite": (("ENOSPC", False), ("EINTR", True), ("short", True)),
    "ftruncate": (("EIO", False),),
    "fsync": (("EIO", False),),
    "rename": (("EACCES", False),),
    "open": (("EMFILE", False), ("EACCES", False)),
    "fallocate": (("EOPNOTSUPP", True),),
    "pthread_create": (("EAGAIN", True),),
}
FOR_GOOD = 1 << 30


def failing_calls(suite, job):
    with Trial(suite, job) as trial:
        _, calls = suite.program.run_with_fault(job.command(), trial.folder)
    cases = []
    for call in CALLS:
        for error, harmless in FAULTS[call]:
            lasting = ("once",) if error in ("EINTR", "short") else ("once", "on")
            # One more than there were: how many there are depends on the threads' order.
            cases += [(call, n, error, how) for n in range(1, calls.of[call] + 2) for how in lasting]
    return suite.share(cases, 150)


@check("failing-calls", failing_calls)
def failing_call(suite, job, call, n, error, how):
    with Trial(suite, job) as trial:
        fault = Fault(call, n, ERRORS[error], 1 if how == "once" else FOR_GOOD)
        ended, calls = suite.program.run_with_fault(job.command(), trial.folder, fault)
        harmless = not calls.failed or dict(FAULTS[call])[error]
        return trial.judge_all(ended, "success" if harmless else "either")


# ------------------------------------------------------------------------------ kills

def judge_kill(trial, ended):
    """After a kill the output is whole, and the next run does what an undisturbed one does."""
    killed = ended.signal in (signal.SIGKILL, signal.SIGPIPE)
    trial.expect(killed or ended.code == 0, ended.crash or f"exit code {ended.code}")
    state = trial.states.of(trial.folder)
    trial.expect(state in ("old", "new", "mixed"), f"after the kill the output is {state}")
    trial.expect_inputs_untouched()
    if trial.job.appends and state == "new":
        return trial.verdict()  # another run would add to it again
    again = trial.run()
    trial.expect(again.code == 0, f"the next run: {again.crash or again.last_line()}")
    trial.expect(trial.states.of(trial.folder) == "new",
                 f"after the next run the output is {trial.states.of(trial.folder)}")
    trial.expect_files()
    return trial.verdict()


def moments(suite, job):
    seconds = suite.states(job).reference.seconds
    return [("after", suite.random.randrange(int(1e6 * seconds * 1.2)))
            for _ in range(suite.number(15, 200))]


@check("killed", moments, writes)
def killed(suite, job, _, microseconds):
    with Trial(suite, job) as trial:
        process = suite.program.start(job.command(), trial.folder)
        time.sleep(microseconds / 1e6)
        process.kill()
        return judge_kill(trial, suite.program.wait(process))


def kill_calls(suite, job):
    with Trial(suite, job) as trial:
        _, calls = suite.program.run_with_fault(job.command(), trial.folder)
    cases = [(when, n) for n in range(1, calls.every + 1) for when in ("before", "behind")]
    # The last calls put the output in place.
    return suite.share(cases[:-12], 16) + suite.share(cases[-12:], 6)


@check("killed-at-call", kill_calls, writes)
def killed_at_call(suite, job, when, n):
    with Trial(suite, job) as trial:
        fault = Fault("any", n, KILL_BEFORE if when == "before" else KILL_BEHIND)
        ended, _ = suite.program.run_with_fault(job.command(), trial.folder, fault)
        return judge_kill(trial, ended)


# ------------------------------------------------------------------------------ two at once

def offsets(suite, job):
    seconds = suite.states(job).reference.seconds
    return [("offset", suite.random.randrange(int(1e6 * seconds)))
            for _ in range(suite.number(6, 60))]


@check("two-at-once", offsets, writes)
def two_at_once(suite, job, _, microseconds):
    with Trial(suite, job) as trial:
        first = suite.program.start(job.command(), trial.folder)
        time.sleep(microseconds / 1e6)
        second = suite.program.start(job.command(), trial.folder)
        runs = [suite.program.wait(process) for process in (first, second)]
        for run in runs:
            trial.expect(not run.crash, run.crash)
            trial.expect(run.code == 0 or run.errors.strip(), f"exit code {run.code} without a reason")
        trial.expect(any(run.code == 0 for run in runs),
                     f"both fail: {runs[0].last_line()}; {runs[1].last_line()}")
        state = trial.states.of(trial.folder)
        if job.appends and all(run.code == 0 for run in runs):
            state = suite.states_of_second_run(job).of(trial.folder)
        trial.expect(state == "new", f"the output is {state}")
        trial.expect_inputs_untouched()
        trial.expect_files()
        return trial.verdict()


# ------------------------------------------------------------------------------ damage

def damageable(job):
    """The `.q8` files that a job reads."""
    return [name for name in (*job.needs(), *(job.old if job.appends else ()))
            if name.endswith(".q8")]


def flips(suite, job):
    number = suite.number(25 if job.name == "refragment-packed" else 80, 10_000)
    for name in damageable(job):
        size = len(suite.states(job).old.get(name) or suite.stock[name])
        for _ in range(number):
            yield name, suite.random.randrange(size), suite.random.randrange(8)


@check("bit-flips", flips, lambda job: job.writes and damageable(job))
def bit_flip(suite, job, name, byte, bit):
    with Trial(suite, job) as trial:
        content = bytearray(trial.folder.read(name))
        content[byte] ^= 1 << bit
        trial.folder.write(name, bytes(content))
        looks = {"info": suite.program.run(["info", "--json", name], trial.folder)}
        if suite.has_verify:
            looks["verify"] = suite.program.run(["verify", name], trial.folder)
        # A file that others belong to is read through the main one.
        untouched = suite.json_of(job, name)
        for command, ended in looks.items():
            trial.expect(not ended.crash, f"{command}: {ended.crash}")
            trial.expect(ended.code == 0 or ended.errors.strip(), f"{command}: no reason")
        trial.expect(looks["info"].code != 0 or looks["info"].output == untouched,
                     "info: exit code 0, but it shows something else")
        ended = trial.run()
        trial.expect(not ended.crash, ended.crash)
        if ended.code == 0:
            state = trial.states.of(trial.folder)
            # What is added to is copied as it is: its damage has to be found by verifying.
            found = (name in job.old and suite.has_verify and
                     suite.program.run(["verify", job.output], trial.folder).code != 0)
            trial.expect(state == "new" or found, f"exit code 0, but the output is {state}")
        elif ended.code is not None:
            trial.expect(ended.errors.strip(), "no reason")
        if "verify" in looks and looks["verify"].code == 0:
            trial.expect(ended.code == 0, "verify finds nothing, but the command refuses the file: "
                         + ended.last_line())
        return trial.verdict()
