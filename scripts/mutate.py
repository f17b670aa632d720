#!/usr/bin/env python3
"""Mutation check: changes one place of the library at a time and looks whether a test notices.

usage: scripts/mutate.py [--count N] [--only FOLDER] [--seed N] [--source DIR] [--build DIR]

The sources are copied to build/mutation/source and built once. Each mutant changes one place of
the copy, rebuilds the library and runs the test programs against it, the likeliest first, up to
the first that fails. A mutant that does not compile is left out and replaced by another. The
choice depends on seed, count and sources alone.
"""

import argparse
import pathlib
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ["frame", "values", "message", "headers", "options"]
COPIED = ["CMakeLists.txt", "bench", "cmake", "include", "platform", "zbcommon", "tests",
          "tools"] + FOLDERS
TIME_LIMIT = 120  # seconds for one test program: a loop without end is caught as well

# Those of the tests that run with what is changed here, and what they are given.
TESTS = {name + "_test": ["--gtest_fail_fast", "--gtest_brief=1"]
         for name in ("frame", "string", "channel", "record", "race")}
TESTS["storage_test"] = [str(ROOT / "docs" / "storage-failure.md")]
TESTS.update({"fuzz_" + name: [str(ROOT / "tests" / "fuzz" / "corpus" / name)]
              for name in ("chain", "buffer", "text", "channel")})
TESTS["cache_test"] = TESTS["record_test"]
TESTS_OF = {
    "frame": ["frame_test", "string_test", "record_test"],
    "values": ["string_test", "record_test"],
    "message": ["record_test", "cache_test"],
    "headers": ["record_test"],
    "options": ["record_test", "channel_test"],
}

# What becomes what, in code that is neither comment nor text.
REPLACEMENTS = [
    ("bound", r" < ", " <= "), ("bound", r" <= ", " < "),
    ("bound", r" > ", " >= "), ("bound", r" >= ", " > "),
    ("relation", r" == ", " != "), ("relation", r" != ", " == "),
    ("logic", r" && ", " || "), ("logic", r" \|\| ", " && "),
    ("logic", r"if \(!", "if ("), ("logic", r"(?<=return )!", ""),
    ("sign", r" \+ ", " - "), ("sign", r" - ", " + "), ("sign", r" \+= ", " -= "),
    ("sign", r"(?<=[ ({,])-(?=\d)", ""),
    ("choice", r"std::min\b", "std::max"), ("choice", r"std::max\b", "std::min"),
    ("choice", r"\btrue\b", "false"), ("choice", r"\bfalse\b", "true"),
    ("choice", r"\bzeroPad\b", "blankPad"), ("choice", r"\bblankPad\b", "zeroPad"),
    ("choice", r"\bstrippedFieldText\b", "fieldText"),
    ("choice", r"\bZBCC_WARNING\b", "ZBCC_FAILED"),
    ("constant", r"\bZBRC_(?!NONE)\w+", "ZBRC_NONE"),
    ("constant", r"(?<![\w.'\"])0(?![\w.])", "1"), ("constant", r"(?<![\w.'\"])1(?![\w.])", "2"),
    ("constant", r"(?<![\w.'\"])([2-9]|[1-9]\d+)(?![\w.])", None),
]
KINDS = ["bound", "relation", "logic", "sign", "choice", "constant", "drop", "swap"]
STATEMENT = re.compile(r"^( +)(?!return\b|const\b|break\b|continue\b|using\b|else\b|static\b|constexpr\b|std::\w+ \w+[ ;={(])"
                       r"[\w*(][^{}]*;$")
DECLARATION = re.compile(r"^ +[\w:<>]+[ &*]+\w+( = .*|\(.*\)|\{.*\})?;$")


class Mutant:
    def __init__(self, path, line, kind, before, after, lines=1):
        self.path, self.line, self.kind = path, line, kind
        self.before, self.after, self.lines = before, after, lines

    def __str__(self):
        return (f"{self.path}:{self.line + 1} {self.kind}: "
                f"{self.before.strip()!r} -> {self.after.strip()!r}")


def is_statement(line):
    return bool(STATEMENT.match(line)) and not DECLARATION.match(line)


def depend(first, second):
    """Whether the order of two statements may matter: one stores what the other names, or both are
    calls on one object that do more than set something."""
    def stored(statement):
        store = re.match(r" *([^()=]*?) [-+|&]?= ", statement)
        return store.group(1) if store else None
    def called(statement):
        call = re.match(r" *(\w+)(?:\.|->)(?!set[A-Z])\w+\(", statement)
        return call.group(1) if call else None
    stores = any(stored(one) and re.search(rf"\b{re.escape(stored(one))}\b", other)
                 for one, other in ((first, second), (second, first)))
    return stores or (called(first) is not None and called(first) == called(second))


def covered(line):
    """The line with texts and comments blanked out, so that places keep their columns."""
    line = re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])*\'', lambda m: "~" * len(m.group()), line)
    return re.sub(r"//.*", lambda m: "~" * len(m.group()), line)


def mutants_of(path, text):
    lines = text.split("\n")
    for at, line in enumerate(lines):
        code = covered(line)
        if code.startswith("#") or "template" in code or "static_assert" in code:
            continue
        for kind, pattern, becomes in REPLACEMENTS:
            if kind == "constant" and re.search(r"char \w+\[", code):
                continue  # the size of an array on the stack, which has room to spare
            for match in re.finditer(pattern, code):
                new = becomes if becomes is not None else str(int(match.group()) + 1)
                yield Mutant(path, at, kind, line, line[:match.start()] + new + line[match.end():])
        before = lines[at - 1].rstrip() if at else ""
        whole = before.endswith((";", "{", "}")) or not before.strip() or before.strip().startswith("//")
        if whole and is_statement(line) and path.endswith(".cpp"):
            yield Mutant(path, at, "drop", line, re.match(" *", line).group() + ";")
            following = lines[at + 1] if at + 1 < len(lines) else ""
            if (is_statement(following) and depend(line, following)
                    and re.match(" *", following).group() == re.match(" *", line).group()):
                yield Mutant(path, at, "swap", line + "\n" + following, following + "\n" + line, 2)


def in_turn(groups):
    """The members of several lists, one of each list in turn."""
    groups = [list(group) for group in groups if group]
    while groups:
        for group in groups:
            yield group.pop()
        groups = [group for group in groups if group]


def chosen(source, folders, seed):
    """All mutants: folders in turn, in each the kinds in turn, within these at random."""
    chance = random.Random(seed)
    by_folder = []
    for folder in folders:
        by_kind = {kind: [] for kind in KINDS}
        for path in sorted((source / folder).iterdir()):
            if path.suffix in (".cpp", ".hpp") and not path.name.endswith("layout.hpp"):
                for mutant in mutants_of(f"{folder}/{path.name}", path.read_text()):
                    by_kind[mutant.kind].append(mutant)
        for group in by_kind.values():
            chance.shuffle(group)
        by_folder.append(list(in_turn(by_kind.values()))[::-1])
    return in_turn(by_folder)


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)


def failing_test(build, first):
    for name in sorted(TESTS, key=lambda name: first.index(name) if name in first else len(first)):
        try:
            done = run([str(build / "bin" / name), *TESTS[name]], timeout=TIME_LIMIT, errors="replace")
        except subprocess.TimeoutExpired:
            return name + " (time)"
        if done.returncode != 0:
            return name
    vectors = build / "vectors.json"
    done = run([str(build / "bin" / "write_layout"), str(build / "layout.json"), str(vectors)])
    if done.returncode != 0 or vectors.read_bytes() != (ROOT / "tests/golden/vectors.json").read_bytes():
        return "the golden vectors"
    return None


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    options.add_argument("--count", type=int, default=60)
    options.add_argument("--only", choices=FOLDERS)
    options.add_argument("--seed", type=int, default=20261122)
    options.add_argument("--source", type=pathlib.Path, default=ROOT)
    options.add_argument("--build", type=pathlib.Path, default=ROOT / "build" / "mutation")
    options = options.parse_args()

    source, build = options.build / "source", options.build / "build"
    for name in COPIED:
        place = source / name
        if place.is_dir():
            shutil.rmtree(place)
        place.parent.mkdir(parents=True, exist_ok=True)
        original = options.source / name
        shutil.copytree(original, place) if original.is_dir() else shutil.copy(original, place)

    for command in (["cmake", "-S", str(source), "-B", str(build), "-G", "Ninja",
                     "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-O1 -g0",
                     "-DZEBBASE_BUILD_EXAMPLES=OFF"],
                    ["cmake", "--build", str(build), "--target", *TESTS, "write_layout"]):
        done = run(command)
        if done.returncode != 0:
            sys.exit(done.stdout)
    broken = failing_test(build, [])
    if broken is not None:
        sys.exit(f"{broken} fails before anything is changed")

    folders = [options.only] if options.only else FOLDERS
    tried, survivors, uncompiled = 0, [], 0
    for mutant in chosen(source, folders, options.seed):
        if tried == options.count:
            break
        path = source / mutant.path
        original = path.read_text()
        lines = original.split("\n")
        lines[mutant.line:mutant.line + mutant.lines] = mutant.after.split("\n")
        path.write_text("\n".join(lines))
        if run(["cmake", "--build", str(build), "--target", "zebbase"]).returncode != 0:
            uncompiled += 1
        else:
            tried += 1
            test = failing_test(build, TESTS_OF[mutant.path.split("/")[0]])
            if test is None:
                survivors.append(mutant)
            print("survived" if test is None else f"caught by {test}", mutant, sep=": ", flush=True)
        path.write_text(original)
    caught = tried - len(survivors)
    print(f"\n{tried} mutants, {caught} caught ({100 * caught / max(tried, 1):.1f} %), "
          f"{len(survivors)} survived; {uncompiled} more did not compile")
    for mutant in survivors:
        print(f"  {mutant}")


if __name__ == "__main__":
    main()
