"""Runs the commands of a page's console blocks and compares what they print with the page.

    run_tour.py PAGE PROGRAM SAMPLES

Blocks begin with ```console; a line "$ ..." is a command, the lines up to the next one are what it
prints: its standard output, then its standard error stream. A line "..." stands for any lines.
"""

import os
import subprocess
import sys
import tempfile


def commands(page):
    """The commands of the page, each with the lines that are expected."""
    inside, found = False, []
    with open(page) as text:
        for line in text.read().splitlines():
            if line.startswith("```"):
                inside = line == "```console"
            elif inside and line.startswith("$ "):
                found.append((line[2:], []))
            elif inside:
                found[-1][1].append(line)
    return found


def matches(expected, lines):
    if not expected:
        return not lines
    if expected[0] == "...":
        return any(matches(expected[1:], lines[skip:]) for skip in range(len(lines) + 1))
    return bool(lines) and lines[0].rstrip() == expected[0] and matches(expected[1:], lines[1:])


page, program, samples = map(os.path.abspath, sys.argv[1:])
environment = dict(os.environ, PATH=os.path.dirname(program) + ":" + os.environ["PATH"])
found = commands(page)
if not found:
    sys.exit(f"{page} holds no command")
with tempfile.TemporaryDirectory() as folder:
    os.symlink(samples, os.path.join(folder, "samples"))
    for command, expected in found:
        run = subprocess.run(command, shell=True, cwd=folder, env=environment, capture_output=True, text=True)
        printed = (run.stdout + run.stderr).splitlines()
        while printed and not printed[-1].strip():
            printed.pop()
        if run.returncode != 0 or not matches(expected, printed):
            sys.exit("\n".join([f"{command}: exit code {run.returncode}, printed", *printed,
                                "expected", *expected]))
