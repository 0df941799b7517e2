#!/usr/bin/env python3
"""Checks that shellcheck has nothing to say about the shell scripts, and that the Python files compile."""

import shutil
import subprocess
import sys

import sources

shells, failures = [], 0
for path in sources.files():
    text = (sources.TOP / path).read_bytes()
    first = text.split(b"\n", 1)[0]
    if path.suffix == ".sh" or (first.startswith(b"#!") and first.rstrip().endswith(b"sh")):
        shells.append(str(path))
    elif path.suffix == ".py":
        try:
            compile(text, str(path), "exec")
        except SyntaxError as error:
            print(f"{path}:{error.lineno}: {error.msg}")
            failures += 1
if shutil.which("shellcheck") is None:
    sources.give_up("shellcheck is not installed")
failures += subprocess.run(["shellcheck", *shells], cwd=sources.TOP, check=False).returncode
sys.exit(1 if failures else 0)
