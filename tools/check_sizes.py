#!/usr/bin/env python3
"""Checks that no source file has grown past reading, and says how much of the sources is tests. Lines that are not
blank count."""

import sys

import sources

SUFFIXES = {".cpp", ".cc", ".h", ".hpp", ".c", ".py", ".js", ".mjs", ".ts", ".html", ".css", ".sh"}
FILE_LINES = 400  # of one file, blank lines too
TESTS = {"tests", "fuzz"}

total = of_tests = 0
failed = False
for path in sources.files():
    if path.suffix not in SUFFIXES:
        continue
    lines = (sources.TOP / path).read_text(errors="replace").splitlines()
    if len(lines) >= FILE_LINES:
        print(f"{path}: {len(lines)} lines; the limit is {FILE_LINES}")
        failed = True
    filled = sum(1 for line in lines if line.strip())
    total += filled
    of_tests += filled if path.parts[0] in TESTS else 0
print(f"{total} lines, {of_tests / total:.1%} of them tests")
sys.exit(1 if failed else 0)
