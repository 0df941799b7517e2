"""The project's own files, for the checks of this folder."""

import os
import re
import subprocess
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent


def files(top=TOP):
    """The files below `top`, as paths relative to it: what git would keep, or all but build folders without git."""
    if (top / ".git").exists():
        command = ["git", "-C", str(top), "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
        listed = subprocess.run(command, capture_output=True, text=True, check=False)
        if listed.returncode == 0:
            names = set(filter(None, listed.stdout.split("\0")))
            return sorted(Path(name) for name in names if (top / name).is_file())
    walked = (path.relative_to(top) for path in top.rglob("*") if path.is_file())
    return sorted(path for path in walked if not re.match(r"build[^/]*/|\.git/", path.as_posix()))


def give_up(reason):
    """Ends a check whose program is missing: 77 is "skipped" for CTest. Continuous integration must not skip."""
    print(reason)
    sys.exit(1 if os.environ.get("CI") else 77)
