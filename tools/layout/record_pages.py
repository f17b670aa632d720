#!/usr/bin/env python3
"""Writes the pages of the records from layout.json and the comments of the public headers.

    record_pages.py [--check] layout.json INCLUDE_DIRECTORY PAGES_DIRECTORY

With --check it writes nothing and complains of pages that would change.
"""

import json
import pathlib
import re
import sys


def declaration(header, name):
    """What the header says of the structure, and of each of its fields."""
    match = re.search(rf"((?:^///.*\n)+)struct {name} \{{\n((?:.*\n)*?)\}};", header, re.M)
    about = " ".join(line.removeprefix("///").strip() for line in match[1].splitlines())
    fields = dict(re.findall(r"(\w+)(?:\[\d+\])?;\s*///< (.*)", match[2]))
    return about, fields


def default(field):
    value = field["default"]
    if field["kind"] == "text":
        if not value:
            return "zero bytes"
        if not value.strip():
            return "blank" if len(value) == 1 else f"{len(value)} blanks"
        return f'`"{value}"`'
    if field["kind"] == "integers":
        return f"{value[0]} in all {len(value)}"
    if field["kind"] == "integer":
        return str(value)
    return "null" if field["kind"] == "pointer" else "zero bytes"


def page(record, header):
    name = record["name"]
    about, comments = declaration(header, name)
    lines = [f"# {name}", "", about, ""]
    facts = [("Class", f"`{record['class']}`, in `{record['header']}`"),
             ("Length", f"{record['length']} bytes")]
    if "versionLengths" in record:
        facts.append(("Length by version", ", ".join(
            f"version {version}: {length} bytes"
            for version, length in record["versionLengths"].items())))
    if "format" in record:
        facts.append(("Announced by format", f'`"{record["format"]}"`'))
    for text in record.get("texts", []):
        facts.append((f"Text `{text['name']}`",
                      f"`{text['lengthField']}` bytes at `{text['offsetField']}`"))
    lines += ["| | |", "|---|---|"]
    lines += [f"| {key} | {value} |" for key, value in facts]
    lines += ["", "| Offset | Width | Kind | Field | Default | Filled up with | Meaning |",
              "|---:|---:|---|---|---|---|---|"]
    for field in record["fields"]:
        pad = {"blank": "blanks", "zero": "zero bytes"}.get(field["pad"], "")
        lines.append(f"| {field['offset']} | {field['width']} | {field['kind']} "
                     f"| `{field['name']}` | {default(field)} | {pad} "
                     f"| {comments[field['name']]} |")
    return "\n".join(lines) + "\n"


def main():
    check = "--check" in sys.argv
    layout, include, directory = map(pathlib.Path, sys.argv[-3:])
    records = json.loads(layout.read_text())["records"]
    pages = {f"{record['name']}.md":
             page(record, (include / record["header"]).read_text()) for record in records}
    stale = [path for path in sorted(directory.glob("*.md")) if path.name not in pages]
    changed = [directory / name for name, text in pages.items()
               if not (directory / name).exists() or (directory / name).read_text() != text]
    if check:
        for path in stale + changed:
            print(f"{path.name} isn't what the layout says: build the target update_stored")
        return 1 if stale or changed else 0
    for path in stale:
        path.unlink()
    for path in changed:
        path.write_text(pages[path.name])
    return 0


sys.exit(main())
