#!/usr/bin/env python3
"""Counts the instructions that the library takes for each piece of work of bench/counts.

  instruction_counts.py --check PROGRAM    fails if one grew by more than 2 % over those kept
  instruction_counts.py --update PROGRAM   keeps the present ones: bench/instruction_counts.json

PROGRAM is the built `counts`, of a release build. Each piece of work runs under callgrind twice,
more often the second time, and the difference is divided by the difference in times: so the start
of the process drops out.

Counted are the instructions of libzebbase and libzbcommon themselves, and the calls that they make
into other libraries. What such a call takes isn't counted: it depends on the processor, by which the
C library chooses among its forms of the same function.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import platform
import re
import subprocess
import sys
import tempfile

KEPT = pathlib.Path(__file__).resolve().parent.parent / "bench" / "instruction_counts.json"
OWN = re.compile(r"/libz(ebbase|bcommon)\.so")
LIMIT = 1.02
# Every thousandth check looks again at fault handling; the difference holds whole periods of it.
FEW, MANY = 1000, 3000
KINDS = ("instructions", "calls")


def totals(path):
    """Own instructions, and calls from own code to other code, of a callgrind output file."""
    names = {}

    def resolve(text):
        match = re.match(r"\((\d+)\)(?: (.*))?$", text)
        if match[2] is not None:
            names[match[1]] = match[2]
        return names[match[1]]

    instructions = calls = 0
    own = callee_own = after_calls = False
    for line in path.read_text().splitlines():
        if line.startswith("ob="):
            own = callee_own = bool(OWN.search(resolve(line[3:])))
        elif line.startswith("cob="):
            callee_own = bool(OWN.search(resolve(line[4:])))
        elif line.startswith("calls="):
            if own and not callee_own:
                calls += int(line[6:].split()[0])
            callee_own = own
            after_calls = True
        elif re.match(r"[+*-]|\d", line):
            # The line behind "calls=" holds what the callee took.
            if own and not after_calls:
                instructions += int(line.split()[1])
            after_calls = False
    return instructions, calls


def run(program, work, times):
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory) / "out"
        subprocess.run(
            ["valgrind", "--tool=callgrind", "--quiet", f"--callgrind-out-file={out}",
             program, work, str(times)],
            check=True, stdin=subprocess.DEVNULL,
            env={"PATH": os.environ["PATH"], "LD_BIND_NOW": "1"})
        return totals(out)


def count(program):
    works = subprocess.run([program], check=True, capture_output=True, text=True).stdout.split()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        runs = {(work, times): pool.submit(run, program, work, times)
                for work in works for times in (FEW, MANY)}
    counts = {}
    for work in works:
        few, many = runs[work, FEW].result(), runs[work, MANY].result()
        counts[work] = {kind: round((b - a) / (MANY - FEW), 1)
                        for kind, a, b in zip(KINDS, few, many)}
    return counts


def check(now):
    kept = json.loads(KEPT.read_text())["counts"]
    bad = [f"{work}: not kept" for work in now if work not in kept]
    bad += [f"{work}: kept, but no longer measured" for work in kept if work not in now]
    for work in now.keys() & kept.keys():
        for kind in KINDS:
            before, after = kept[work][kind], now[work][kind]
            if after > before * LIMIT:
                bad.append(f"{work}: {kind} grew from {before} to {after}")
            elif after * LIMIT < before:
                print(f"{work}: {kind} fell from {before} to {after}; --update would keep that")
    return bad


def main():
    parser = argparse.ArgumentParser(description="Holds the library to its instruction counts.")
    what = parser.add_mutually_exclusive_group(required=True)
    what.add_argument("--check", action="store_true")
    what.add_argument("--update", action="store_true")
    parser.add_argument("program")
    arguments = parser.parse_args()

    now = count(str(pathlib.Path(arguments.program).resolve()))
    for work, counts in now.items():
        print(f"{work:20}{counts['instructions']:10} instructions{counts['calls']:8} calls")
    if arguments.update:
        version = subprocess.run(["g++", "-dumpversion"], check=True, capture_output=True,
                                 text=True).stdout.split(".")[0].strip()
        KEPT.write_text(json.dumps(
            {"compiler": f"GNU {version} {platform.machine()}", "counts": now}, indent=2) + "\n")
        return 0
    bad = check(now)
    for line in bad:
        print(line, file=sys.stderr)
    return 1 if bad else 0


sys.exit(main())
