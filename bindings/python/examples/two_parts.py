"""Two parts: how far apart, where do they touch, when does a move hit?

Run it as it is, or cell by cell where the editor knows "# %%".
Usage: two_parts.py [--out FOLDER]    writes two_parts.html there
"""

# %% The parts: a clamp with a slot, and a cutter with a round end.
import argparse
from pathlib import Path

import numpy as np

import scapi

parser = argparse.ArgumentParser()
parser.add_argument("--out", type=Path, default=Path("."))
out = parser.parse_args().out
out.mkdir(parents=True, exist_ok=True)

clamp = scapi.Mesh.box((-50, -30, 0), (50, 30, 20))
angles = np.linspace(0, np.pi / 2, 17)
ball = [(8 * np.sin(a), 8 - 8 * np.cos(a)) for a in angles]
cutter = scapi.Mesh.revolved([*ball, (8, 60), (20, 60), (20, 100), (0, 100)], segments=48)
for name, mesh in (("clamp", clamp), ("cutter", cutter)):
    print(f"{name}: {mesh.diagnose()}")

# %% Placed above: the distance, and which points are nearest.
above = scapi.Pose.translation(0, 0, 25)
near = scapi.distance(clamp, cutter, pose_b=above, tolerance=0.5)
print(f"{near.verdict.name}: between {near.lower:.6f} and {near.upper:.6f} apart, at {near.point_b}")
assert near.verdict is scapi.Verdict.CLEAR and near.lower <= 5 <= near.upper

# %% Placed 3 too deep: which triangles cross?
deep = scapi.contacts(clamp, cutter, pose_b=scapi.Pose.translation(0, 0, 17))
crossing = deep.kind == scapi.Kind.CROSSING
print(f"{len(deep)} pairs of triangles touch, {np.count_nonzero(crossing)} cross")
assert deep  # the truth value of an answer means contact

# %% A plunge at the edge of the clamp, tilting as it goes.
start = scapi.Pose.translation(60, 0, 60)
end = scapi.Pose.translation(45, 0, -10) @ scapi.Pose.rotation((0, 1, 0), np.radians(20))
plunge = scapi.Motion.between(start, end)
hit = scapi.time_of_impact(clamp, cutter, motion_b=plunge, tolerance=0.1)
print(f"{hit.verdict.name}: clear until {hit.t_clear:.4f}, at most 0.11 apart at "
      f"{hit.t_contact:.4f}, at {np.round(hit.point_a, 3)}")

# %% The same in a scene, and as a picture. In a notebook: scene.show(result)
scene = scapi.Scene()
scene.add(clamp, name="clamp")
scene.add(cutter, plunge, name="cutter")
result = scene.check(tolerance=0.1)
scene.save_html(out / "two_parts.html", result, title="A cutter plunges beside a clamp")
