"""What a check is, and what all checks judge a run by."""

import signal
import time
from dataclasses import dataclass
from typing import Callable

from jobs import Reference, States
from runs import Folder


@dataclass(frozen=True)
class Check:
    """A check lists its cases for a job, each a tuple of words and numbers, and runs one of them; the
    outcome is a text that says what is wrong, empty if nothing is."""
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

    def take_as_old(self):
        """From now on the outputs as they are now are the old ones; None for one that is no file."""
        old = {name: self.folder.read(name) for name in self.job.old}
        self.states = States(self.job, old, self.states.reference)

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
            # What was stored may be all, where the last file's end can't be read.
            failed = {"old", "part", "new"} if self.job.completes else {"old"}
            usual = {"new"} if success else failed
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

    def judge_kill(self, ended, by_runtime=False):
        """After a kill the output is whole, and the next run does what an undisturbed one does."""
        killed = by_runtime or ended.signal in (signal.SIGKILL, signal.SIGPIPE)
        self.expect(killed or ended.code == 0, ended.crash or f"exit code {ended.code}")
        state = self.states.of(self.folder)
        self.expect(state in ("old", "new", "mixed"), f"after the kill the output is {state}")
        self.expect_inputs_untouched()
        if self.job.appends and state == "new":
            return self.verdict()  # another run would add to it again
        again = self.run()
        self.expect(again.code == 0, f"the next run: {again.crash or again.last_line()}")
        state = self.states.of(self.folder)
        self.expect(state == "new", f"after the next run the output is {state}")
        self.expect_files()
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


