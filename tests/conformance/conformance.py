"""Puts every command of the program through the same checks: bad inputs and outputs, full disks, failing
system calls, kills, runs at once, damage. Docs: docs/conformance.md.

    conformance.py --program PROGRAM --faults LIBRARY [--full] [--command JOB] [--check CHECK]
"""

import argparse
import collections
import contextlib
import json
import os
import random
import selectors
import shlex
import signal
import sys
import time
import traceback

import checks_of_files  # noqa: F401; adds its checks to CHECKS, as the next one does
import checks_of_faults  # noqa: F401
import content
from jobs import JOBS, Reference, States, Stock
from runs import LIBC, Place, Program
from trial import CHECKS, make_reference

PR_SET_PDEATHSIG = 1


class Skipped(str):
    """An outcome of a check: why it can't be made here."""


class Suite:
    """What all checks share."""

    def __init__(self, options):
        self.full = options.full
        self.part = options.part
        self.seed = options.seed
        self.random = random.Random(self.seed)
        self.skipped = set()
        self._states, self._second, self._shown = {}, {}, {}
        self.place = Place()
        self.program = Program(options.program, options.faults, options.time_limit)
        self.stock = Stock(self.program, self.place.folder())
        self.has_verify = self._has("verify")

    def _has(self, command):
        with self.place.folder() as folder:
            shown = self.program.run(["--help"], folder).output.decode()
        return any(line.split()[:1] == [command] for line in shown.splitlines())

    def close(self):
        self.program.end_all()
        self.place.remove()

    def skip(self, why):
        self.skipped.add(why)
        return Skipped(why)

    def number(self, share, full):
        """How many cases are made up."""
        return full if self.full else max(1, round(share * self.part))

    def share(self, cases, number):
        """All cases of a full run; else about so many of them, by chance, in their order."""
        number = self.number(number, len(cases))
        if len(cases) <= number:
            return list(cases)
        return [cases[k] for k in sorted(self.random.sample(range(len(cases)), number))]

    def read_content(self, path):
        seen = content.read(path)
        if isinstance(seen, str):
            raise RuntimeError(f"{path}: {seen}")
        return seen

    def states(self, job):
        if job.name not in self._states:
            self._states[job.name] = make_reference(self, job)
        return self._states[job.name]

    def states_of_second_run(self, job):
        """Where the reference is what two runs one behind the other leave."""
        if job.name not in self._second:
            first = self.states(job)
            with self.place.folder() as folder:
                job.fill(folder, self.stock)
                for _ in range(2):
                    self.program.run(job.command(), folder)
                files = {name: folder.read(name) for name in job.old}
                seen = self.read_content(folder / job.output)
            self._second[job.name] = States(job, first.old, Reference(files, b"", 0, seen))
        return self._second[job.name]

    def json_of(self, job, name):
        """What `info --json` shows of an undamaged file of a job."""
        if (job.name, name) not in self._shown:
            with self.place.folder() as folder:
                job.fill(folder, self.stock)
                self._shown[job.name, name] = self.program.run(["info", "--json", name], folder).output
        return self._shown[job.name, name]

    def prepare(self, job):
        """Makes what the cases of a job share, so that no worker makes it again."""
        self.states(job)
        if job.appends:
            self.states_of_second_run(job)

    def run_case(self, case):
        check, job, values = case
        try:
            return check.run(self, job, *values)
        except Exception:
            return "the suite itself fails: " + traceback.format_exc(limit=-3).replace("\n", " | ")
        finally:
            self.program.end_all()


def identity(case):
    check, job, values = case
    return ":".join([check.name, job.name, *map(str, values)])


def case_of(text):
    name, command, *values = text.split(":")
    checks = [check for check in CHECKS if check.name == name]
    jobs = [job for job in JOBS if job.name == command]
    if not checks or not jobs:
        sys.exit(f"{text}: no such check or command; --list shows them")
    return checks[0], jobs[0], tuple(int(v) if v.lstrip("-").isdigit() else v for v in values)


def chosen(options):
    checks = [check for check in CHECKS if options.check in (None, check.name)]
    jobs = [job for job in JOBS if options.command in (None, job.name)]
    if not checks or not jobs:
        sys.exit("no such check or command; --list shows them")
    return [(check, job) for job in jobs for check in checks if check.applies(job)]


def work(suite, cases, stream):
    """Runs cases in a process of its own, which ends with its parent."""
    parent = os.getppid()

    def end(*_):
        suite.program.end_all()
        os._exit(2)

    signal.signal(signal.SIGTERM, end)
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)
    for case in cases:
        outcome = suite.run_case(case)
        if os.getppid() != parent:
            end()
        print(json.dumps([identity(case), str(outcome), isinstance(outcome, Skipped)]), file=stream,
              flush=True)


def outcomes(suite, cases, number):
    """Runs the cases in so many processes. \\return each one's identity and outcome, in any order"""
    workers = {}
    lines = selectors.DefaultSelector()
    try:
        for first in range(number):
            receive, send = os.pipe()
            process = os.fork()
            if process == 0:
                os.close(receive)
                work(suite, cases[first::number], os.fdopen(send, "w"))
                os._exit(0)
            os.close(send)
            workers[process] = os.fdopen(receive, "rb", buffering=0)
            lines.register(workers[process], selectors.EVENT_READ, bytearray())
        while lines.get_map():
            for key, _ in lines.select():
                piece = key.fileobj.read(1 << 16)
                if not piece:
                    lines.unregister(key.fileobj)
                key.data.extend(piece)
                *whole, rest = key.data.split(b"\n")
                key.data[:] = rest
                for line in whole:
                    name, outcome, skipped = json.loads(line)
                    yield name, Skipped(outcome) if skipped else outcome
        for process in list(workers):
            _, status = os.waitpid(process, 0)
            workers.pop(process).close()
            if status != 0:
                raise RuntimeError(f"a process of the suite ended with status {status}")
    finally:
        for process in workers:
            with contextlib.suppress(ProcessLookupError, ChildProcessError):
                os.kill(process, signal.SIGTERM)
                os.waitpid(process, 0)


class Report:
    """Counts, prints failures as they come, and the figures at the end."""

    def __init__(self, suite, most):
        self.suite, self.most = suite, most
        self.runs, self.failures = collections.Counter(), collections.Counter()

    def add(self, text, outcome):
        check, job = text.split(":")[:2]
        if isinstance(outcome, Skipped):
            self.suite.skip(str(outcome))
            return
        self.runs[check, job] += 1
        if not outcome:
            return
        self.failures[check, job] += 1
        if self.failures[check, job] <= self.most:
            print(f"FAIL {shlex.quote(text)}\n     {outcome}", flush=True)
        elif self.failures[check, job] == self.most + 1:
            print(f"     ... more of {check}:{job} are counted, not shown", flush=True)

    def print_figures(self, seconds):
        print(f"\n{'check':20}{'cases':>8}{'failures':>10}  by command")
        for check in dict.fromkeys(check for check, _ in self.runs):
            of_check = {job: n for (name, job), n in self.failures.items() if name == check and n}
            cases = sum(n for (name, _), n in self.runs.items() if name == check)
            print(f"{check:20}{cases:8}{sum(of_check.values()):10}  " +
                  ", ".join(f"{job} {n}" for job, n in of_check.items()))
        print(f"{'all':20}{sum(self.runs.values()):8}{sum(self.failures.values()):10}  "
              f"in {seconds:.0f} s, seed {self.suite.seed}")
        for why in sorted(self.suite.skipped):
            print(f"skipped: {why}")
        if self.failures:
            print(f"to repeat one: {sys.executable} {sys.argv[0]} --program {self.suite.program.path} "
                  f"--faults {self.suite.program.fault_library} --case CASE")


def parse():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", help="the program under test")
    parser.add_argument("--faults", help="the library that makes system calls fail")
    parser.add_argument("--command", help="only this job")
    parser.add_argument("--check", help="only this check")
    parser.add_argument("--case", action="append", help="only this case, as a failure shows it")
    parser.add_argument("--full", action="store_true", help="all cases, not a share of them")
    parser.add_argument("--part", type=float, default=1, help="of the share: 0.1 for a tenth of it")
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 31))
    parser.add_argument("--workers", type=int, default=1, help="processes at once")
    parser.add_argument("--time-limit", type=float, default=20, help="seconds for each run")
    parser.add_argument("--show", type=int, default=4, help="failures shown of a check of a job")
    parser.add_argument("--list", action="store_true", help="print the jobs")
    options = parser.parse_args()
    if options.list:
        print("\n".join(job.name for job in JOBS))
        sys.exit(0)
    if not options.program or not options.faults:
        parser.error("--program and --faults are needed")
    return options


def run(suite, options):
    start = time.monotonic()
    report = Report(suite, options.show)
    pairs = chosen(options) if not options.case else []
    cases = [case_of(text) for text in options.case or []]
    if not suite.has_verify:
        suite.skip("the program has no command verify")
        pairs = [(check, job) for check, job in pairs if job.name != "verify"]
    for check, job in pairs:
        try:
            suite.prepare(job)
            cases += [(check, job, values) for values in check.cases(suite, job)]
        except Exception:
            report.add(f"{check.name}:{job.name}", traceback.format_exc(limit=-2))
    for job in {id(job): job for _, job, _ in cases}.values():
        suite.prepare(job)
    try:
        with contextlib.closing(outcomes(suite, cases, options.workers)) as found:
            for text, outcome in found:
                report.add(text, outcome)
    finally:
        report.print_figures(time.monotonic() - start)
    return 1 if report.failures else 0


def interrupted(number, _):
    sys.exit(f"ended by {signal.Signals(number).name}; the figures are of what was done before")


def main():
    options = parse()
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, interrupted)
    print(f"seed {options.seed}", flush=True)
    suite = Suite(options)
    try:
        return run(suite, options)
    finally:
        suite.close()


if __name__ == "__main__":
    sys.exit(main())
