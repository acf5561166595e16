"""A tool path by scapi-check: which move hits, and how much higher would it have been clear?

Usage: tool_path.py [--out FOLDER] [--check PROGRAM]    writes the job and its report there
"""

# %% A job: a part between two jaws, a cutter that slots the part and runs into a jaw.
import argparse
import json
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np

import scapi

parser = argparse.ArgumentParser()
parser.add_argument("--out", type=Path, default=Path("."))
parser.add_argument("--check", default=shutil.which("scapi-check"))
arguments = parser.parse_args()
if not arguments.check:
    sys.exit("scapi-check is not on the path: name it with --check")
out = arguments.out
out.mkdir(parents=True, exist_ok=True)

JAWS = {"left jaw": ((-60, -40, 0), (-30, 40, 60)), "right jaw": ((30, -40, 0), (60, 40, 60))}
RADIUS, HEIGHT, LENGTH = 5, 50, 80  # of the cutter; its tip lies so far below the gauge point
AXES = {"X": (1, 0, 0), "Y": (0, 1, 0), "Z": (0, 0, 1)}

job = {
    "name": "A slot that is too long",
    "machine": {
        "table": [],
        "head": [{"axis": name, "direction": direction, "rapid": 10_000, "home": 200}
                 for name, direction in AXES.items()],
    },
    "bodies": [
        {"name": name, "group": "fixture", "on": "base", "box": {"low": low, "high": high}}
        for name, (low, high) in JAWS.items()
    ] + [{"name": "part", "group": "part", "on": "base",
          "box": {"low": (-30, -40, 0), "high": (30, 40, 70)}}],
    "tools": [{"number": 1, "name": "end mill 10", "length": LENGTH,
               "cylinder": {"radius": RADIUS, "height": HEIGHT}, "cutting_length": 30}],
    "program": "slot.nc",
}
(out / "slot.json").write_text(json.dumps(job, indent=2))
(out / "slot.nc").write_text("""%
G21 G17 G90 G54
T1 M6
G43 H1
S6000 M3
G0 X0 Y-60 Z80
Z55
G1 Y0 F500
X40
G0 Z150
M30
%
""")

# %% Checked: the status says in short what the report says in full.
done = subprocess.run([arguments.check, "path", "slot.json", "--json", "report.json",
                       "--html", "tool_path.html"], cwd=out, capture_output=True, text=True)
print(done.stdout, end="")
if done.returncode not in (0, 1, 3):  # clear, hits, undecided
    sys.exit(done.stderr)
report = json.loads((out / "report.json").read_text())

# %% Each hit, looked at closely: how much higher would the cutter be clear of that jaw by 1 mm?
cutter = scapi.Mesh.cylinder(RADIUS, HEIGHT)
for hit in report["hits"]:
    jaw = scapi.Mesh.box(*JAWS[hit["a"] if hit["a"] in JAWS else hit["b"]])
    tip = np.array([hit["axes"][name] for name in AXES]) - (0, 0, LENGTH)
    lifts = np.arange(0, 20, 0.25)
    poses = np.tile(np.eye(4), (len(lifts), 1, 1))
    poses[:, :3, 3] = tip + lifts[:, None] * (0, 0, 1)
    clear = scapi.within_many(jaw, cutter, poses_b=poses, tolerance=1).clear
    enough = f"{lifts[clear][0]:g} mm higher" if clear.any() else "not within 20 mm"
    print(f"{hit['a']} and {hit['b']} at {np.round(tip, 3)}: clear {enough}")
