#!/usr/bin/env python3
"""Compiles and runs every C++ sample of a document, and compares what it prints with the text block
that stands behind it.

    run_samples.py COMPILER SOURCE_DIRECTORY LIBRARY_DIRECTORY WORK_DIRECTORY DOCUMENT...

A sample with a main function is a program; any other becomes the body of one.
"""

import pathlib
import re
import subprocess
import sys

FLAGS = ["-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]
BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.M | re.S)


def samples(document):
    """Line, code, and what it prints or None."""
    text = document.read_text(encoding="utf-8")
    blocks = list(BLOCK.finditer(text))
    for i, block in enumerate(blocks):
        if block[1] != "cpp":
            continue
        behind = blocks[i + 1] if i + 1 < len(blocks) else None
        output = behind[2] if behind and behind[1] == "text" and not text[
            block.end():behind.start()].strip() else None
        yield text.count("\n", 0, block.start()) + 1, block[2], output


def program(code):
    if "int main(" in code:
        return code
    return f"#include <zebbase.hpp>\n#include <cstdio>\n\nint main() {{\n{code}}}\n"


def main():
    compiler, source, library, work = sys.argv[1:5]
    pathlib.Path(work).mkdir(parents=True, exist_ok=True)
    failures = count = 0
    for document in map(pathlib.Path, sys.argv[5:]):
        for line, code, output in samples(document):
            count += 1
            binary = pathlib.Path(work) / f"{document.stem}_{line}"
            built = subprocess.run(
                [compiler, *FLAGS, f"-I{source}/include", "-x", "c++", "-", "-o", str(binary),
                 f"-L{library}", "-lzebbase", f"-Wl,-rpath,{library}"],
                input=program(code), text=True, capture_output=True, check=False)
            ran = None
            if built.returncode == 0:
                ran = subprocess.run([str(binary)], text=True, capture_output=True, timeout=60,
                                     check=False)
            if ran is None or ran.returncode != 0 or output not in (None, ran.stdout):
                failures += 1
                said = built.stderr if ran is None else f"status {ran.returncode}:\n{ran.stdout}"
                print(f"{document}:{line}: {said}")
    if count == 0:
        print("there is no sample")
    return 1 if failures or count == 0 else 0


sys.exit(main())
