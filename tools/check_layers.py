#!/usr/bin/env python3
"""Holds every include of the project's own files against the layers in layers.txt; see there for the rules.

check_layers.py [TOP]   TOP is the folder to check, by default the one above this file.
"""

import re
import sys
from pathlib import Path, PurePosixPath

TOP = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent).resolve()
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
SOURCES = {".h", ".c", ".cpp"}


def read_layers():
    """The sections in order, each a name with the regular expressions of its patterns."""
    sections = []
    for number, line in enumerate((TOP / "tools/layers.txt").read_text().splitlines(), 1):
        line = line.split("#")[0].strip()
        if line.startswith("["):
            sections.append((line.strip("[]"), []))
        elif line and sections:
            pattern = re.escape(line).replace(r"\*\*", ".*").replace(r"\*", "[^/]*")
            sections[-1][1].append(re.compile(pattern))
        elif line:
            sys.exit(f"layers.txt:{number}: a pattern before the first section")
    return sections


def matches(patterns, path):
    return any(pattern.fullmatch(path) for pattern in patterns)


class Layers:
    def __init__(self):
        sections = read_layers()
        self.shared = [p for name, patterns in sections if name == "shared" for p in patterns]
        self.sections = [section for section in sections if section[0] != "shared"]

    def of(self, path):
        """"0" to "6", "camera" or "anything"; None for a file without a layer."""
        return next((name.split()[0] for name, patterns in self.sections if matches(patterns, path)), None)

    def complaint(self, path, included):
        """Why the file must not include the other one, or None when it may."""
        layer, other = self.of(path), self.of(included)
        if other is None:
            return "has no layer"
        if layer == "anything":
            return None
        if other == "anything":
            return "is not for anybody else"
        if layer == "camera":
            return None if other == "camera" or included.startswith("platform/") else "is the daemon's own"
        if other == "camera":
            return "is the virtual camera's"
        if other > layer:
            return f"is of layer {other}, above {layer}"
        if layer == other == "3":
            here, there = PurePosixPath(path), PurePosixPath(included)
            same_family = here.with_suffix("") == there.with_suffix("")
            if not same_family and not (here.parent == there.parent and matches(self.shared, included)):
                return "is another family's"
        return None


def main():
    layers = Layers()
    complaints = []
    paths = sorted(p.relative_to(TOP).as_posix() for p in TOP.rglob("*") if p.suffix in SOURCES)
    paths = [p for p in paths if not re.match(r"build[^/]*/|\.", p)]
    for path in paths:
        if layers.of(path) is None:
            complaints.append(f"{path}: has no layer in tools/layers.txt")
            continue
        for included in INCLUDE.findall((TOP / path).read_text()):
            beside = PurePosixPath(path).parent / included
            if (TOP / beside).is_file():
                included = beside.as_posix()
            if not (TOP / included).is_file():
                complaints.append(f'{path}: there is no "{included}"')
            elif (why := layers.complaint(path, included)) is not None:
                complaints.append(f"{path}: {included} {why}")
    print("\n".join(complaints) or f"{len(paths)} files keep to their layers")
    return 1 if complaints or not paths else 0


sys.exit(main())
