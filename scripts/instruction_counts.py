#!/usr/bin/env python3
"""Counts the instructions that the library takes for each piece of work of bench/counts.

  instruction_counts.py --check PROGRAM    fails if one grew by more than 2 % over those kept
  instruction_counts.py --update PROGRAM   keeps the present ones: bench/instruction_counts.json
  instruction_counts.py --profile PROGRAM  prints what all instructions are for, as a table

PROGRAM is the built `counts`, of a release build. Each piece of work runs under callgrind twice,
more often the second time, and the difference is divided by the difference in times: so the start
of the process drops out.

Counted are the instructions of libzebbase and libzbcommon themselves, and the calls that they make
into other libraries. What such a call takes isn't counted: it depends on the processor, by which the
C library chooses among its forms of the same function. The profile has them, for a look.
"""

import argparse
import collections
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

GROUPS = {
    "pointer checks": lambda where, what: "libzbcommon" in where or "getspecific" in what,
    "heap": lambda where, what: re.search(r"^operator (new|delete)|malloc|free|^_int_", what),
    "C library's copies and searches": lambda where, what: re.search(r"mem|str", what) and "libc" in where,
    "zebbase": lambda where, what: "libzebbase" in where,
    "caller and rest": lambda where, what: True,
}


def events(path):
    """What a callgrind output file tells: ("cost", object, function, instructions) for what code takes
    itself, ("call", object, object called, times)."""
    names = {"ob": {}, "fn": {}}

    def resolve(kind, text):
        match = re.match(r"\((\d+)\)(?: (.*))?$", text)
        if match[2] is not None:
            names[kind][match[1]] = match[2]
        return names[kind][match[1]]

    where = called = function = ""
    after_calls = False
    for line in path.read_text().splitlines():
        key, _, value = line.partition("=")
        if key == "ob":
            where = called = resolve("ob", value)
        elif key == "cob":
            called = resolve("ob", value)
        elif key == "fn":
            function = resolve("fn", value)
        elif key == "cfn":
            resolve("fn", value)
        elif key == "calls":
            yield "call", where, called, int(value.split()[0])
            called = where
            after_calls = True
        elif re.match(r"[+*-]|\d", line):
            # The line behind "calls=" holds what the callee took.
            if not after_calls:
                yield "cost", where, function, int(line.split()[1])
            after_calls = False


def totals(path):
    """Own instructions, and calls from own code to other code."""
    found = collections.Counter()
    for kind, where, what, number in events(path):
        if OWN.search(where) and not (kind == "call" and OWN.search(what)):
            found[kind] += number
    return found["cost"], found["call"]


def shares(path):
    """All instructions, by what they are for."""
    found = collections.Counter()
    for kind, where, what, number in events(path):
        if kind == "cost":
            found[next(name for name, is_it in GROUPS.items() if is_it(where, what))] += number
    return tuple(found[name] for name in GROUPS)


def run(program, work, times, look=totals):
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory) / "out"
        subprocess.run(
            ["valgrind", "--tool=callgrind", "--quiet", f"--callgrind-out-file={out}",
             program, work, str(times)],
            check=True, stdin=subprocess.DEVNULL,
            env={"PATH": os.environ["PATH"], "LD_BIND_NOW": "1"})
        return look(out)


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


def profile(program):
    """A table of the works of more than one step."""
    works = ("wrap/0", "wrap/1000", "unwrap/0", "field_write", "field_read")
    print("| instructions |", *(f"{work} |" for work in works))
    print("|---|" + "---|" * len(works))
    columns = []
    for work in works:
        few, many = (run(program, work, times, shares) for times in (FEW, MANY))
        columns.append([round((b - a) / (MANY - FEW)) for a, b in zip(few, many)])
    for name, row in zip((*GROUPS, "together"), zip(*([*column, sum(column)] for column in columns))):
        print(f"| {name} |", *(f"{number} |" for number in row))


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
    what.add_argument("--profile", action="store_true")
    parser.add_argument("program")
    arguments = parser.parse_args()

    program = str(pathlib.Path(arguments.program).resolve())
    if arguments.profile:
        profile(program)
        return 0
    now = count(program)
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
