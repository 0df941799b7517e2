#!/usr/bin/env python3
"""Checks that clang-format would leave every source file as it is. Exits with 77, "skipped", without the version
whose layout the project keeps: other versions differ in details."""

import re
import shutil
import subprocess
import sys
from pathlib import Path

VERSION = "14"
TOP = Path(__file__).resolve().parent.parent

program = shutil.which(f"clang-format-{VERSION}") or shutil.which("clang-format")
version = program and subprocess.run([program, "--version"], capture_output=True, text=True, check=True).stdout
if not version or not re.search(rf"version {VERSION}\.", version):
    print(f"clang-format {VERSION} is not installed")
    sys.exit(77)
paths = [p for p in TOP.rglob("*") if p.suffix in {".h", ".c", ".cpp"}]
paths = [p for p in paths if not re.match(r"build[^/]*/|\.", p.relative_to(TOP).as_posix())]
sys.exit(subprocess.run([program, "--dry-run", "-Werror", *map(str, paths)], cwd=TOP, check=False).returncode)
