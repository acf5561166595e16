"""The compiled module under arguments that the package never passes: it raises, never crashes."""

import subprocess
import sys

import pytest

import scapi
from scapi import _native

# In a process of its own, which a crash would end. Prints how many calls returned and how many
# raised an exception of Python.
ATTACK = """
import random, sys
import numpy as np, scapi
from scapi import _native

random.seed(int(sys.argv[1]))
mesh = scapi.Mesh.box((0, 0, 0), (1, 1, 1))
scene = scapi.Scene(); scene.add(mesh)
pose, motion = scapi.Pose()._data, scapi.Motion()._data
GOOD = [mesh._handle, scene._handle, _native.query_create(), pose, motion, 0, 1, 0.0, 1.5]
BAD = [None, -1, 3, 299, 300, 2**31, 2**40, -2**63, 2**70, float("nan"), float("inf"), -1.0,
       "text", b"", bytes(12), bytes(24), bytes(64), bytes(96), b"\\xff" * 96, b"\\xff" * 176,
       bytearray(104), np.zeros(3), np.zeros((4, 12)), np.zeros((2, 22)), mesh, object(),
       np.ones(36, np.float32)[::2], np.zeros(1, scapi._results.RESULT),
       np.zeros(3, scapi._results.IMPACT), memoryview(b"ab")[::2], lambda *arguments: 1 / 0, lambda *arguments: None]
names = [name for name in dir(_native) if callable(getattr(_native, name)) and name[0] != "_"]
names.remove("register")
returned = raised = 0
for _ in range(6000):
    function = getattr(_native, random.choice(names))
    arguments = [random.choice(GOOD if random.random() < 0.7 else BAD)
                 for _ in range(random.choice([0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12]))]
    try:
        function(*arguments)
        returned += 1
    except Exception:
        raised += 1
print(returned, raised)
"""


@pytest.mark.parametrize("seed", [1, 2, 3])
def test_arguments_that_end_the_process(seed, tmp_path):
    done = subprocess.run([sys.executable, "-c", ATTACK, str(seed)], capture_output=True, text=True,
                          timeout=300, cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    returned, raised = map(int, done.stdout.split())
    assert returned > 50 and raised > 1000


QUESTION = (0, 0.0, 0.0, 0.0, 0)


@pytest.mark.parametrize("call", [
    lambda mesh, pose: _native.within_many(mesh, pose, mesh, pose, *QUESTION, None, bytes(104)),
    lambda mesh, pose: _native.within_many(mesh, pose * 2, mesh, pose, *QUESTION, None,
                                           bytearray(3 * 104)),
    lambda mesh, pose: _native.within_many(mesh, pose, mesh, b"", *QUESTION, None, bytearray(104)),
    lambda mesh, pose: _native.within_many(mesh, pose, mesh, pose, *QUESTION, None, bytearray(103)),
    lambda mesh, pose: _native.mesh_indexed(mesh, 12, bytearray(36), bytearray(144)),
    lambda mesh, pose: _native.mesh_diagnose(mesh, 0, 0.0, 0, bytearray()),
    lambda mesh, pose: _native.motions_between(pose, pose * 2, bytes(24), bytearray(3 * 176)),
    lambda mesh, pose: _native.within(mesh, mesh, pose, mesh, pose, *QUESTION),
    lambda mesh, pose: _native.pose_check(pose + b"x"),
    lambda mesh, pose: _native.mesh_from_arrays(bytes(13), bytes(12)),
    lambda mesh, pose: _native.classic_load_box(0, bytes(20)),
    lambda mesh, pose: _native.mesh_from_stl(b"a\0b", 0, 1.0, 0.0, 0),
])
def test_buffers_that_are_too_small_or_read_only(call):
    with pytest.raises((ValueError, TypeError, BufferError)):
        call(scapi.Mesh.box((0, 0, 0), (1, 1, 1))._handle, scapi.Pose()._data)


def test_room_that_no_machine_has():
    scene = scapi.Scene()
    for limit in (2**40, 2**62):
        with pytest.raises(MemoryError):
            _native.scene_check(scene._handle, *QUESTION, limit, None)
