#!/usr/bin/env python3
"""Whether the page of the codes treats each reason code of the public header, and no other.

    check_codes.py ZebCodes.hpp codes.md
"""

import pathlib
import re
import sys

header, page = (pathlib.Path(path).read_text(encoding="utf-8") for path in sys.argv[1:])
numbers = dict(re.findall(r"constexpr std::int32_t (ZBRC_\w+) = (\d+);", header))
rows = re.findall(r"ZEB_CODE_ROW\((ZBRC_\w+),", header)
expected = [f"{numbers[name]} {name}" for name in rows]
sections = re.findall(r"^## (.*)\n\n(.*)$", page, re.M)
found = [title for title, first in sections if first.strip()]
if not rows or found != expected:
    sys.exit(f"the page has {found}\nthe table has {expected}")
