#!/usr/bin/env python3
"""Shows tools/check_layers.py a made-up tree: it has to find each forbidden include, and nothing else."""

import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
FAMILY = "daemon/families/media"
FILES = {  # the files with what each includes
    "daemon/dispatch/tables.cpp": [f"{FAMILY}/one.h", f"{FAMILY}/two.h"],
    f"{FAMILY}/one.h": ["shared.h", "daemon/base/text.h"],
    f"{FAMILY}/two.h": [],
    f"{FAMILY}/shared.h": [],
    "daemon/base/text.h": [],
    "tests/unit/one_test.cpp": [f"{FAMILY}/shared.h"],
}
FORBIDDEN = {  # more includes, each with the complaint that it must bring
    ("daemon/base/text.h", "daemon/server/up.h"): "is not below daemon/base/",
    (f"{FAMILY}/two.h", f"{FAMILY}/one.h"): "is another family",
    ("daemon/server/up.h", f"{FAMILY}/shared.h"): f"is for {FAMILY}/ only",
    ("camera/web/page.cpp", "daemon/base/text.h"): "is not for camera/",
    ("talk/talk.cpp", "talk/gone.h"): 'there is no "talk/gone.h"',
}


def check(more):
    """What check_layers.py says about the files with these includes added."""
    with tempfile.TemporaryDirectory() as top:
        for path, included in [*((p, i) for p, list in FILES.items() for i in [None, *list]), *more]:
            file = Path(top, path)
            file.parent.mkdir(parents=True, exist_ok=True)
            with file.open("a") as source:
                source.write(f'#include "{included}"\n' if included else "")
        Path(top, "tools").mkdir()
        shutil.copy(TOP / "tools/layers.txt", Path(top, "tools"))
        command = [sys.executable, TOP / "tools/check_layers.py", top]
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        return done.returncode, done.stdout.splitlines()


failed = False
code, said = check([])
if code != 0:
    print("a tree that keeps to its layers:", said)
    failed = True
code, said = check([*FORBIDDEN, ("daemon/server/up.h", None)])
for (path, included), complaint in FORBIDDEN.items():
    found = [line for line in said if line.startswith(path) and complaint in line and included in line]
    if code != 1 or len(found) != 1:
        print(f"{path} including {included}:", said)
        failed = True
if len(said) != len(FORBIDDEN):
    print("not one complaint for each forbidden include:", said)
    failed = True
sys.exit(1 if failed else 0)
