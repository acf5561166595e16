"""A robot arm of links swings past a fixture: which links touch what, and when?

Usage: robot_arm.py [--out FOLDER]    writes robot_arm.html there
"""

# %% The links: each turns about the end of the one before.
import argparse
from pathlib import Path

import numpy as np

import scapi
from scapi import Mesh, Motion, Pose

parser = argparse.ArgumentParser()
parser.add_argument("--out", type=Path, default=Path("."))
out = parser.parse_args().out
out.mkdir(parents=True, exist_ok=True)

LENGTHS = (400, 350, 200)
links = [Mesh.box((-40, -40, 0), (40, 40, length)) for length in LENGTHS]
fixture = Mesh.box((500, -200, 0), (560, 200, 420))


def poses(angles):
    """Of the links, from the angles of their joints about y, in radians."""
    joint, placed = Pose.translation(0, 0, 100), []
    for length, angle in zip(LENGTHS, angles):
        joint = joint @ Pose.rotation((0, 1, 0), angle)
        placed.append(joint)
        joint = joint @ Pose.translation(0, 0, length)
    return placed


# %% A swing in 12 moves. In each, all links move from one pose to the next.
joints = np.linspace(np.radians([-30, 20, 10]), np.radians([40, 60, 60]), 13)
scene = scapi.Scene()
scene.add(fixture, name="fixture")
for number, link in enumerate(links):
    scene.add(link, poses(joints[0])[number], name=f"link {number + 1}")
for number in (1, 2):
    scene.ignore(f"link {number}", f"link {number + 1}")  # they meet in their joint

TOLERANCE = 2.0
for move, (now, then) in enumerate(zip(joints, joints[1:])):
    for number, (start, end) in enumerate(zip(poses(now), poses(then))):
        scene.move(f"link {number + 1}", Motion.between(start, end))
    # Here a pivot goes straight, while the true joint goes along arcs. Each link of length L that
    # turns by w puts the joints behind it off by L w^2 / 8 at most; two links can both be off.
    turned = np.abs(np.cumsum(then - now))
    slack = 2 * np.sum(np.array(LENGTHS) * turned**2 / 8)
    result = scene.check(tolerance=TOLERANCE + slack)
    print(f"move {move}: {result.verdict.name}, tolerance {TOLERANCE + slack:.2f}")
    if result.verdict is not scapi.Verdict.CLEAR:
        break

for pair in result.pairs:
    print(f"{pair.a.name} and {pair.b.name}: {pair.impact.verdict.name}, clear until "
          f"{pair.impact.t_clear:.3f} of the move, at {np.round(pair.impact.point_a, 1)}")
scene.save_html(out / "robot_arm.html", result, title="A robot arm swings past a fixture")
