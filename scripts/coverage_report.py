#!/usr/bin/env python3
"""Holds the library to full coverage by its tests.

usage: scripts/coverage_report.py COVERAGE.json

Takes gcovr's account of lines and branches, leaves out what is named below with its reason, and
fails where anything else was not reached, or where what is named isn't missing at all.
"""

import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# A branch behind these goes one way alone: a report of a failure gives false, one of a warning true.
REPORTS = ("|| failAs(", "|| refuseToRead(", "|| refuseToWrite(", "|| zeb::report(",
           "return report(", "return zeb::report(", "reportCopy(error, CopyTrouble::truncated)")

DIES = "runs in processes that die of the signal and count nothing: zbcommon_test sees how they die"
ENVIRONMENT = "runs in processes that the environment sets up and a signal ends"
RACE = "another thread has to come in between two neighbouring lines"
SYSTEM = "a system call has to fail that doesn't fail with these arguments"
COMPILER = "the compiler's own: a test for null before a release, or an exception's way"
ODD_MODULE = "linkers could make such a module, but those here don't"

# File, what its line holds, how many lines from there, and why they are left out.
LEFT_OUT = [
    ("headers/ZebRfh.cpp", "if (total > std::numeric_limits", 2, "takes texts of 2 GiB"),
    ("headers/ZebRfh.cpp", "if (!layOut())", 2, "takes texts of 2 GiB"),
    ("headers/ZebTih.cpp", "if (length == 0) {", 2, "no other version gets as far as the record"),
    ("message/header_protocol.cpp", "!ZebCac::grownLength(", 1, "takes a cursor near the end of memory"),
    ("options/ZebChl.cpp", "delete record_;", 1, COMPILER),
    ("options/ZebGmo3.cpp", "record_(new ZBGMO3(", 1, COMPILER),
    ("options/ZebGmo3.cpp", "delete record_;", 1, COMPILER),
    ("platform/posix.cpp", "entry->d_tag != DT_NULL", 8, ODD_MODULE),
    ("platform/posix.cpp", "if (header == nullptr || symbols", 2, ODD_MODULE),
    ("platform/posix.cpp", "(chained | 1) == (hash | 1)", 2, "takes two names with one hash"),
    ("values/ZebStr.cpp", "switch (trouble) {", 1, COMPILER),
    ("values/ZebStr.cpp", "if (!zeb::giveStringSemaphore())", 2, RACE),
    ("values/string_semaphore.cpp", "stringSemaphore.load(std::memory_order_relaxed) == nullptr", 2,
     RACE + "; " + COMPILER),
    ("values/string_semaphore.cpp", "semaphore->lock()", 1, SYSTEM),
    ("values/string_semaphore.cpp", "semaphore->unlock()", 1, SYSTEM),
    ("values/string_semaphore.cpp", "delete semaphore;", 1, COMPILER),
    ("zbcommon/pointer_check.cpp", "errno == EFAULT ? refused : accepted;", 1, SYSTEM),
    ("zbcommon/pointer_check.cpp", "bool raisedByInstruction(", 4, DIES),
    ("zbcommon/pointer_check.cpp", "void takeDefaultAction(", 15, DIES),
    ("zbcommon/pointer_check.cpp", "void onFault(", 20, DIES),
    ("zbcommon/pointer_check.cpp", "bool takeOver(", 26, DIES + "; " + RACE),
    ("zbcommon/pointer_check.cpp", "bool isInPlace(", 4, ENVIRONMENT),
    ("zbcommon/pointer_check.cpp", "bool faultsAreBlocked(", 6, ENVIRONMENT),
    ("zbcommon/pointer_check.cpp", "void putBack(", 5, ENVIRONMENT),
    ("zbcommon/pointer_check.cpp", "void decideWay(", 14, ENVIRONMENT + "; " + RACE),
    ("zbcommon/pointer_check.cpp", "checkOffTheFastPath(std::uintptr_t", 24, ENVIRONMENT),
    ("zbcommon/pointer_check.cpp", "void lookAtFaultHandling(", 17, ENVIRONMENT),
    ("zbcommon/probe.hpp", "inline bool leaveProbe(", 15, DIES),
    ("zbcommon/thread.cpp", "pthread_key_create(&key, nullptr) == 0", 1, SYSTEM),
    ("zbcommon/trace.cpp", "if (getcwd(", 2, SYSTEM),
    ("zbcommon/trace.cpp", "sigismember(&mask, SIGPIPE) == 1", 1, ENVIRONMENT),
    ("zbcommon/trace.cpp", "errno == EINTR", 1, "a signal has to come within a call of no length"),
]


def is_missing(line):
    branches = [branch["count"] for branch in line["branches"] if not branch["throw"]]
    return line["count"] == 0 or 0 in branches


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.split("\n\n")[1])
    unused = set(range(len(LEFT_OUT)))
    lines = branches = left_out = 0
    missing = []
    for file in json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]:
        name = file["file"]
        source = (ROOT / name).read_text().splitlines()
        reasons = {}
        for number, (where, piece, length, _) in enumerate(LEFT_OUT):
            for at in (at for at, text in enumerate(source, 1) if where == name and piece in text):
                reasons.update(dict.fromkeys(range(at, at + length), number))
        for line in file["lines"]:
            if line["gcovr/noncode"]:
                continue
            lines += 1
            branches += sum(not branch["throw"] for branch in line["branches"])
            number = line["line_number"]
            text = source[number - 1].strip()
            if not is_missing(line):
                continue
            if number in reasons:
                left_out += 1
                unused.discard(reasons[number])
            elif line["count"] == 0 or not any(report in text for report in REPORTS):
                missing.append(f"{name}:{number}: {text}")
    for text in missing:
        print(text)
    for number in sorted(unused):
        print("Not missing any more: " + ": ".join(LEFT_OUT[number][:2]))
    print(f"{lines} lines with {branches} branches: {left_out} lines left out for a reason, "
          f"{len(missing)} not reached")
    return 1 if missing or unused else 0


if __name__ == "__main__":
    sys.exit(main())
