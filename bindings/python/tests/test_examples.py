"""The examples, as whole runs: what they print was worked out by hand where it can be."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

import numpy as np
import pytest

EXAMPLES = pathlib.Path(__file__).parents[1] / "examples"
pytestmark = pytest.mark.skipif(not EXAMPLES.exists(), reason="the tests stand without examples")


def run(name, out, *options):
    done = subprocess.run([sys.executable, "-P", EXAMPLES / name, "--out", out, *options],
                          capture_output=True, text=True, timeout=200)
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_two_parts(tmp_path):
    text = run("two_parts.py", tmp_path)
    assert re.search(r"between (4\.99999\d|5\.000000) and 5\.000000 apart", text)  # 25 above a clamp of 20
    assert text.count("closed") == 2 and "98 cross" in text
    assert "CONTACT: clear until" in text and (tmp_path / "two_parts.html").stat().st_size > 500_000


def test_robot_arm(tmp_path):
    moves = re.findall(r"move (\d+): (\w+)", run("robot_arm.py", tmp_path))
    assert [verdict for _, verdict in moves] == ["CLEAR"] * (len(moves) - 1) + ["CONTACT"]
    assert "link 3" in (tmp_path / "robot_arm.html").read_text("utf-8")


def test_sweep(tmp_path):
    text = run("sweep.py", tmp_path)
    kept = np.load(tmp_path / "sweep.npz")
    assert len(kept["poses"]) == len(kept["clear"]) == 10_000
    assert f"{kept['clear'].sum()} of 10000" in text
    assert (kept["lower"][kept["clear"]] > 0.5).all()
    # The shaft is 90 long and 15 in radius: from 92 off the housing on, no turn brings it near.
    outside = np.abs(kept["poses"][:, :3, 3] - (0, 0, 20)) - (60, 60, 20)
    beyond = np.linalg.norm(np.maximum(outside, 0), axis=1) > np.hypot(90, 15) + 0.5
    assert beyond.any() and kept["clear"][beyond].all()


@pytest.mark.skipif(not shutil.which("scapi-check"), reason="scapi-check is not on the path")
def test_tool_path(tmp_path):
    text = run("tool_path.py", tmp_path)
    # The cutter of radius 5 stops 0.001 before the jaw at 30. It is 5 deep: 6.25 is the first step
    # that leaves more than 1.
    assert "right jaw and T1 cutter at [24.994" in text and "clear 6.25 mm higher" in text
    assert "left jaw" not in text and os.path.getsize(tmp_path / "tool_path.html") > 500_000
