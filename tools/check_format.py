#!/usr/bin/env python3
"""Checks that clang-format would leave every source file as it is. Needs the version whose layout the project keeps:
others differ in details."""

import re
import shutil
import subprocess
import sys

import sources

VERSION = "14"

program = shutil.which(f"clang-format-{VERSION}") or shutil.which("clang-format")
version = program and subprocess.run([program, "--version"], capture_output=True, text=True, check=True).stdout
if not version or not re.search(rf"version {VERSION}\.", version):
    sources.give_up(f"clang-format {VERSION} is not installed")
paths = [str(path) for path in sources.files() if path.suffix in {".h", ".c", ".cpp"}]
sys.exit(subprocess.run([program, "--dry-run", "-Werror", *paths], cwd=sources.TOP, check=False).returncode)
