"""Checks of full disks, failing calls, kills, two runs at once, and damage."""

import errno
import time

from runs import CALLS, KILL_BEFORE, KILL_BEHIND, SHORT, Fault
from trial import Trial, check, writes


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


def counted_calls(suite, job):
    with Trial(suite, job) as trial:
        return suite.program.run_with_fault(job.command(), trial.folder)[1]


def failing_calls(suite, job):
    calls = counted_calls(suite, job)
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
        if call == "pthread_create" and b"libgomp" in ended.errors:
            # The OpenMP runtime ends the process then, which counts as a kill.
            return trial.judge_kill(ended, by_runtime=True)
        harmless = not calls.failed or dict(FAULTS[call])[error]
        return trial.judge_all(ended, "success" if harmless else "either")


# ------------------------------------------------------------------------------ kills

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
        return trial.judge_kill(suite.program.wait(process))


def kill_calls(suite, job):
    every = counted_calls(suite, job).every
    cases = [(when, n) for n in range(1, every + 1) for when in ("before", "behind")]
    # The last calls put the output in place.
    return suite.share(cases[:-12], 16) + suite.share(cases[-12:], 6)


@check("killed-at-call", kill_calls, writes)
def killed_at_call(suite, job, when, n):
    with Trial(suite, job) as trial:
        fault = Fault("any", n, KILL_BEFORE if when == "before" else KILL_BEHIND)
        ended, _ = suite.program.run_with_fault(job.command(), trial.folder, fault)
        return trial.judge_kill(ended)


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


@check("bit-flips", flips, 
       lambda job: len(job.old) == 1 and damageable(job))
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
