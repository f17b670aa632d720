#!/usr/bin/env python3
"""bench_report.py RESULT PROFILE DIRECTORY: the table and the plot of one run of the benchmarks.

RESULT is what the benchmark program wrote, PROFILE what instruction_counts.py did. The table goes to standard output, and with a preface and
the plot into performance.md and performance.svg in DIRECTORY.
"""

import collections
import json
import math
import pathlib
import platform
import statistics
import subprocess
import sys
import textwrap

SIZES = (0, 100, 1000, 10000, 1000000)
SIZE_NAMES = dict(zip(SIZES, ("0", "100", "1 K", "10 K", "1 M")))
PEERS = ("Protobuf", "FlatBuffers", "Cap'n Proto", "MessagePack", "ZeroMQ", "Qpid Proton")
OURS, FLOOR = "zebbase", "floor"
# The checks of a wrap in front of a body: five fields, the format read and written twice, source and
# target of the record and of the body.
CHECKS_READ, CHECKS_WRITE = 3, 9

# Those of a wrap of nothing, of an unwrap and of a field written.
WRAP_CHECKS, UNWRAP_CHECKS, FIELD_CHECKS = (2, 8), (7, 2), (0, 1)

Row = collections.namedtuple("Row", "work size ours other_name other aim")


def medians(result):
    times = collections.defaultdict(list)
    for run in result["benchmarks"]:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if run["run_type"] == "iteration":
            one = 1e9 / run["items_per_second"] if "items_per_second" in run else run["cpu_time"]
            times[run["run_name"]].append(one)
    return {name: statistics.median(runs) for name, runs in times.items()}


def rows_of(time):
    def against(work, other, aim, size=None):
        tail = "" if size is None else f"/{size}"
        return Row(work, size, time[f"{work}/{OURS}{tail}"], other, time[f"{work}/{other}{tail}"], aim)

    rows = [against("wrap", FLOOR, aim, size) for size, aim in zip(SIZES, (4, 4, 4, 2, 1.5))]
    checks = (CHECKS_READ * time[f"check_read/{OURS}"] + CHECKS_WRITE * time[f"check_write/{OURS}"])
    for size in SIZES:
        floor = time[f"wrap_and_grow/{FLOOR}/{size}"]
        rows.append(against("wrap_and_grow", FLOOR, (floor + checks) / floor, size))
    rows += [against("unwrap", FLOOR, 1.4, size) for size in SIZES]
    for size in SIZES:
        small = size <= 1000
        peers = [peer for peer in PEERS if not (small and peer == "FlatBuffers")]
        best = min(peers, key=lambda peer: time[f"round_trip/{peer}/{size}"])
        rows.append(against("round_trip", best, 1, size))
    rows += [
        against("field_write", FLOOR, 4),
        against("field_read", FLOOR, 1.6),
        against("append", "std::vector", 3),
        against("check_read", FLOOR, 2),
        against("check_write", FLOOR, 1.5),
    ]
    return rows


def least(time, floor, checks):
    """How many times its floor a work takes at least that makes these checks, to read and to write."""
    read, write = checks
    return 1 + (read * time["check_read/ZebTrc"] + write * time["check_write/ZebTrc"]) / time[floor]


def is_met(row):
    return row.ours <= row.aim * row.other or (row.work == "append" and row.ours <= 10)


def number(nanoseconds):
    if nanoseconds >= 100000:
        return f"{nanoseconds / 1000:.0f} µs"
    if nanoseconds >= 10000:
        return f"{nanoseconds / 1000:.1f} µs"
    return f"{nanoseconds:.0f} ns" if nanoseconds >= 100 else f"{nanoseconds:.1f} ns"


WORDS = {
    "wrap": "wrap", "wrap_and_grow": "wrap, buffer grows", "unwrap": "unwrap",
    "round_trip": "round trip", "field_write": "field of 48 bytes written",
    "field_read": "field of 48 bytes read", "append": "append of 64 bytes",
    "check_read": "pointer check to read", "check_write": "pointer check to write",
}


def table(header, rows):
    cells = [header, *rows]
    widths = [max(len(row[column]) for row in cells) for column in range(len(header))]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |"
             for row in cells]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def aims_table(rows):
    return table(
        ("work", "body", "zebbase", "compared with", "it takes", "ratio", "aim", "met"),
        [(WORDS[row.work], "" if row.size is None else SIZE_NAMES[row.size], number(row.ours),
          row.other_name, number(row.other), f"{row.ours / row.other:.2f}", f"{row.aim:.2f}",
          "yes" if is_met(row) else "no") for row in rows])


def peers_table(time, work):
    return table(
        (WORDS[work], *SIZE_NAMES.values()),
        [(name, *(number(time[f"{work}/{name}/{size}"]) for size in SIZES))
         for name in (FLOOR, OURS, *PEERS)])


def machine(result):
    model = "unknown"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    context = result["context"]
    caches = ", ".join(
        f"{cache['size'] // 1024} KB {cache['type'].lower()} cache of level {cache['level']}"
        for cache in context["caches"])
    compiler = subprocess.run(["g++", "-dumpfullversion"], check=True, capture_output=True,
                              text=True).stdout.strip()
    system = platform.freedesktop_os_release().get("PRETTY_NAME", platform.system())
    text = (f"The machine: {context['num_cpus']} cores of a processor that calls itself {model} "
            f"({platform.machine()}), {caches}; {system}, g++ {compiler}, release build.")
    return textwrap.fill(text, 100)


PALETTE = ("#888888", "#000000", "#d55e00", "#0072b2", "#009e73", "#cc79a7", "#e69f00", "#56b4e9")


def plot(time):
    """Round trips over body sizes, both axes logarithmic, as an SVG."""
    width, height, left, top, right, bottom = 760, 440, 70, 30, 130, 50
    names = (FLOOR, OURS, *PEERS)
    values = {name: [time[f"round_trip/{name}/{size}"] for size in SIZES] for name in names}
    low = 10 ** math.floor(math.log10(min(min(line) for line in values.values())))
    high = 10 ** math.ceil(math.log10(max(max(line) for line in values.values())))

    def x(index):
        return left + index * (width - left - right) / (len(SIZES) - 1)

    def y(value):
        part = math.log10(value / low) / math.log10(high / low)
        return height - bottom - part * (height - top - bottom)

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
        'font-family="sans-serif" font-size="12">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<text x="{left}" y="18">Round trip of a dead letter: time over the size of its body</text>',
    ]
    value = low
    while value <= high * 1.01:
        parts.append(f'<path d="M{left} {y(value):.1f}H{width - right}" stroke="#dddddd"/>')
        label = number(value).replace(".0", "")
        parts.append(f'<text x="{left - 6}" y="{y(value) + 4:.1f}" text-anchor="end">{label}</text>')
        value *= 10
    for index, size in enumerate(SIZES):
        parts.append(f'<text x="{x(index):.1f}" y="{height - bottom + 20}" '
                     f'text-anchor="middle">{SIZE_NAMES[size]}</text>')
    parts.append(f'<text x="{(left + width - right) / 2}" y="{height - 10}" '
                 'text-anchor="middle">bytes of body</text>')
    # Names at the right end of their lines, moved apart where those meet.
    places = []
    for name in sorted(names, key=lambda name: values[name][-1]):
        place = y(values[name][-1]) + 4
        places.append(place if not places else min(place, places[-1] - 14))
    labels = dict(zip(sorted(names, key=lambda name: values[name][-1]), places))
    for name, colour in zip(names, PALETTE):
        points = " ".join(f"{x(index):.1f},{y(value):.1f}"
                          for index, value in enumerate(values[name]))
        thickness = 3 if name == OURS else 1.5
        parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" '
                     f'stroke-width="{thickness}"/>')
        parts.append(f'<text x="{width - right + 8}" y="{labels[name]:.1f}" '
                     f'fill="{colour}">{name}</text>')
    parts.append("</svg>")
    return "\n".join(parts).replace("&", "&amp;") + "\n"


DOCUMENT = """# Performance

Written by `./run bench` from one run. Times are medians of {repetitions} repetitions in random
order, and only the ratios between them mean something elsewhere.

{machine}

A letter has five names, the format of its body, and the body. *Wrap* sets the five name fields of a
`ZebDlh` and writes it in front of a body that lies in a `ZebMsg` with room. *Unwrap* sets the cursor
to 0, reads the header, and takes the five names and the format as strings. A *round trip* is both.

## Ratios and aims

The floor is work that can't be left out, with no pointer check: for a wrap one move of the body and
the fields filled; for an unwrap the record copied and a heap block for each text; for a field written
a fill and a copy; for a field read one heap block, stripped in place; for a pointer check one touched
byte. Where the buffer grows, floor and library alike first cut the buffer to the body, and the aim is
the floor and {checks} pointer checks. A round trip is compared with the fastest peer; up to 1 K without
FlatBuffers, which makes no strings but reads texts where they lie.

{aims}

Where a row misses its aim, this is where its instructions go, counted by callgrind (those of the C and
C++ libraries as this processor is given them):

{profile}

- *A small wrap* makes ten checks, twelve with a body, each with a look at the thread's slot. They stay:
  every range and every target of a copy is checked before it is touched, and the slot decides anew
  each time whether the thread is set up. At the prices of this run the floor and those checks come to
  {wrap_least:.1f} times the floor. The rest is spread over some fifty calls, of which none stands out:
  five setters through the shared library, the length and the copy of each text, the description handed
  on through virtual operations. In front of 10 K the same work comes to less than the move of the body.
- *Where the buffer grows* the same is to be said, and in front of 1 M two of the checks touch every page
  of the body, which the price of a short check doesn't hold.
- *An unwrap* asks for one block for each text, as its floor does. But the floor takes a field as it
  is, where the library checks it, looks for the end of its text and strips its trailing blanks. The
  floor and the nine checks alone come to {unwrap_least:.1f} times the floor.
- *A field written* is one check, the length of the text and its copy: floor and check come to
  {field_least:.1f} times the floor.
- *A check* is a touch and as much again: the call, the count of checks until the next look at the fault
  handlers, and the test of the range. The look itself, three system calls in a thousand checks, comes
  to more than half a nanosecond for each of them.
- *A round trip* is a wrap and an unwrap. What the fastest peer leaves out depends on the peer:
  FlatBuffers and Cap'n Proto make no strings, Protobuf asks for no blocks when a message is reused,
  and none of them checks a pointer.

## Peers

Each is used as its documentation recommends, carries the same names and body, and ends with all of
them in one block of bytes. FlatBuffers and Cap'n Proto read texts where they lie, Protobuf has them in
a message that is reused, the others make strings.

![Round trip of a dead letter](performance.svg)

{peers}

## Single steps

{steps}

Appends go on to 1 MB; the time is that of one append, growth included.

Instructions are counted besides: `bench/instruction_counts.json` keeps them, and the test
`instruction_counts` fails when one grows by more than 2 %.
"""

STEPS = ("field_write", "field_read", "append", "check_read", "check_write")


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    result = json.loads(pathlib.Path(sys.argv[1]).read_text())
    profile = pathlib.Path(sys.argv[2]).read_text().strip()
    directory = pathlib.Path(sys.argv[3])
    time = medians(result)
    aims = aims_table(rows_of(time))
    print(aims)
    steps = table(("work", "by", "time"),
                  [(WORDS[work], name.split("/", 1)[1], number(value))
                   for work in STEPS for name, value in sorted(time.items())
                   if name.startswith(work + "/")])
    repetitions = max(run["repetitions"] for run in result["benchmarks"])
    document = DOCUMENT.format(
        repetitions=repetitions, machine=machine(result), aims=aims,
        checks=CHECKS_READ + CHECKS_WRITE, profile=profile,
        wrap_least=least(time, f"wrap/{FLOOR}/0", WRAP_CHECKS),
        unwrap_least=least(time, f"unwrap/{FLOOR}/0", UNWRAP_CHECKS),
        field_least=least(time, f"field_write/{FLOOR}", FIELD_CHECKS),
        peers="\n\n".join(peers_table(time, work) for work in ("wrap", "unwrap", "round_trip")),
        steps=steps)
    directory.mkdir(exist_ok=True)
    (directory / "performance.md").write_text(document)
    (directory / "performance.svg").write_text(plot(time))


main()
