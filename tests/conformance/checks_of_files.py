"""Checks of inputs, outputs and standard streams."""

import errno
import os
import signal
import socket
import stat
import threading
import time

from trial import Trial, check, writes


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

def files_read(job):
    """The files that a job reads: its inputs, and the output that it adds to."""
    return (*job.inputs, *(job.old if job.appends else ()))


def each_input(suite, job):
    return [(name,) for name in files_read(job)]


def judge_bad_input(trial, name, *words):
    trial.take_as_old()
    ended = trial.run()
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
        return judge_bad_input(trial, name, os.strerror(errno.ENOENT))


def unreadable_kinds(suite, job):
    for name in files_read(job):
        size = len(suite.stock[job.old.get(name, name)])
        kinds = ["folder", "empty", "junk"]
        if os.geteuid() != 0:
            kinds.append("forbidden")
        if name.endswith(".txt"):
            kinds.remove("empty")  # a text without points is whole
            if job.name == "columns-preview":
                kinds.remove("junk")
        if name.endswith(".q8"):
            # At any place, and where damage is the hardest to see: at the very end.
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
        return judge_bad_input(trial, name)


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
        suite.program.start_feeding(trial.folder / "text", path)
        ended = trial.run(time_limit=min(4, suite.program.time_limit))
        trial.judge(ended)
        trial.expect_files("text", name, *([job.output + ".partial"] if ended.hung else []))
        return trial.verdict()


# ------------------------------------------------------------------------------ outputs

@check("unwritable-output", lambda suite, job: [(kind,) for kind in (
    "no name", "folder missing", "a folder", "below a file", "partial is a folder",
    *(["no permission"] if os.geteuid() != 0 else []))], writes)
def unwritable_output(suite, job, kind):
    with Trial(suite, job) as trial:
        output = job.output
        more = []
        if kind == "no name":
            output = ""
        elif kind == "folder missing":
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
                return trial.judge_kill(ended) if job.writes else ""
        silent = "stderr" in kind or kind.startswith(("both", "all"))
        spoilt = kind != "stderr closed" and kind != "stderr full"
        # What a command prints beside writing its output may be lost without harm to the output.
        want = "either" if job.writes else "failure" if spoilt else "success"
        return trial.judge_all(ended, want, may=["new"], silent=silent)
