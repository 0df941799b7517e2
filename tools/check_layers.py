#!/usr/bin/env python3
"""Holds every include of the project's own files against the folders in layers.txt; see there for the rules.

check_layers.py [TOP]   TOP is the folder to check, by default the one above this file.
"""

import re
import sys
from pathlib import Path, PurePosixPath

import sources

TOP = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent).resolve()
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
SOURCES = {".h", ".c", ".cpp"}
TABLES = "daemon/dispatch/tables.cpp"
APART = {"camera", "talk"}  # include themselves and what follows only
SHARED = {"platform"}
CHECKING = {"tests", "fuzz"}  # may look into a family's own files


def includes(path):
    """The project's files that a file includes, as paths below TOP."""
    for included in INCLUDE.findall((TOP / path).read_text()):
        beside = PurePosixPath(path).parent / included
        yield beside.as_posix() if (TOP / beside).is_file() else included


class Layers:
    """What layers.txt says: the order of the folders, and which of them hold families."""

    def __init__(self):
        self.rows = []
        for line in (TOP / "tools/layers.txt").read_text().splitlines():
            if words := line.split("#")[0].split():
                self.rows.append((words[0], "families" in words[1:]))
        self.families = {PurePosixPath(header).with_suffix("") for header in includes(TABLES)}

    def row(self, path):
        """The position of the file's folder in the list; None for a folder that is not in it."""
        folder = PurePosixPath(path).parent
        names = {folder.as_posix(), f"{folder.parent}/*"}
        return next((i for i, (name, _) in enumerate(self.rows) if name in names), None)

    def holds_families(self, path):
        return self.rows[self.row(path)][1]

    def complaint(self, path, included):
        """Why the file must not include the other one, or None when it may."""
        here, there = PurePosixPath(path), PurePosixPath(included)
        is_family = there.with_suffix("") in self.families
        if self.row(included) is None:
            return "is in a folder that layers.txt does not list"
        if here.parts[0] in APART and there.parts[0] not in SHARED | {here.parts[0]}:
            return f"is not for {here.parts[0]}/"
        if here.parent == there.parent:
            siblings = self.holds_families(path) and is_family and here.with_suffix("") != there.with_suffix("")
            return "is another family" if siblings else None
        if self.row(included) >= self.row(path):
            return f"is not below {here.parent}/"
        looks_inside = self.holds_families(path) or not is_family
        if here.parts[0] not in CHECKING and self.holds_families(included) and looks_inside:
            return f"is for {there.parent}/ only"
        return None


def main():
    layers = Layers()
    complaints = []
    paths = [path.as_posix() for path in sources.files(TOP) if path.suffix in SOURCES]
    for path in paths:
        if layers.row(path) is None:
            complaints.append(f"{path}: its folder is not in tools/layers.txt")
            continue
        for included in includes(path):
            if not (TOP / included).is_file():
                complaints.append(f'{path}: there is no "{included}"')
            elif (why := layers.complaint(path, included)) is not None:
                complaints.append(f"{path}: {included} {why}")
    print("\n".join(complaints) or f"{len(paths)} files keep to their layers")
    return 1 if complaints or not paths else 0


sys.exit(main())
