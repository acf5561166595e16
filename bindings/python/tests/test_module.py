"""The compiled module under the package: layouts, memory, signals, the life of a process."""

import gc
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import scapi
from scapi import _native, _results, errors
from scapi._mesh import DIAGNOSIS

HEADER = pathlib.Path(__file__).parents[3] / "include" / "scapi" / "proximity.h"


@pytest.fixture(scope="module")
def header():
    if not HEADER.exists():
        pytest.skip("the tests stand without their sources")
    return re.sub(r"/\*.*?\*/", "", HEADER.read_text(), flags=re.S)


NUMPY = {"int32_t": "i4", "int64_t": "i8", "double": "f8", "scapi_impact": "", "scapi_finding": ""}


@pytest.mark.parametrize("name, dtype", [
    ("scapi_result", _results.RESULT), ("scapi_impact", _results.IMPACT),
    ("scapi_contact", _results.CONTACT), ("scapi_pair", _results.PAIR),
    ("scapi_diagnosis", DIAGNOSIS), ("scapi_finding", DIAGNOSIS["duplicates"]),
])
def test_a_record_that_is_laid_out_unlike_the_header(name, dtype, header):
    body = re.search(r"typedef struct %s \{(.*?)\}" % name, header, re.S).group(1)
    fields = []
    for kind, names in re.findall(r"(\w+)\s+([^;]+);", body):
        for field in names.split(","):
            field_name, *shape = re.findall(r"\w+", field)
            fields.append((field_name, kind, len(shape)))
    assert [field[0] for field in fields] == list(dtype.names)
    for field, kind, dimensions in fields:
        base, shape = dtype[field].subdtype or (dtype[field], ())
        assert base.str[1:] == NUMPY[kind] or base.names and not NUMPY[kind]
        assert len(shape) == dimensions


def test_numbers_that_mean_something_else_in_the_header(header):
    values = {name: int(value) for name, value in re.findall(r"SCAPI_(\w+) =\s*(-?\d+)", header)}
    for kind, prefix in ((scapi.Verdict, ""), (scapi.Relation, ""), (scapi.Kind, "KIND_")):
        assert {m.name: m.value for m in kind} == {m.name: values[prefix + m.name] for m in kind}
    codes = {value for name, value in values.items() if name.startswith("ERROR_")}
    assert set(errors.BY_CODE) == codes
    for code in codes:
        error = errors.from_code(code, None, -1)
        assert str(error) == _native.error_text(code) and error.code == code


def asks_of_everything(cube, away, shifts):
    """Calls each function of the module, and lets each kind of call fail."""
    scapi.within(cube, away), scapi.distance(cube, away, shifts[0]), scapi.contacts(cube, cube)
    scapi.time_of_impact(cube, away, scapi.Motion(path=(5, 0, 0)))
    scapi.within_many(cube, away, shifts[:3]), scapi.motions_between(shifts[:2], shifts[1:3])
    scene = scapi.Scene()
    scene.add(cube), scene.add(cube)
    scene.check(progress=lambda done, of: None)
    scapi.Mesh.from_arrays(cube.vertices, cube.faces).diagnose()
    with scapi.classic.Solid.box((0, 0, 0), (1, 1, 1)) as solid:
        solid.place(np.eye(4))
        solid.is_hit_by(solid), solid.triangles, solid.vertices
    for wrong in (lambda: scapi.within(cube, away, np.eye(4) * 2),
                  lambda: scapi.within_many(cube, away, np.full((1, 3, 4), np.nan)),
                  lambda: scapi.within(cube, away, tolerance="x"),
                  lambda: scapi.Mesh.box((1, 1, 1), (0, 0, 0)), lambda: scene.move(9, None)):
        try:
            wrong()
        except (errors.Error, TypeError, ValueError):
            continue
        pytest.fail("nothing was raised")


def test_references_that_are_not_given_back(cube, away, shifts):
    def count():
        gc.collect()
        return sys.getallocatedblocks(), [sys.getrefcount(member) for member in scapi.Verdict]

    for _ in range(20):  # caches fill
        asks_of_everything(cube, away, shifts)
    blocks, references = count()
    for _ in range(300):
        asks_of_everything(cube, away, shifts)
    more_blocks, more_references = count()
    assert more_blocks - blocks < 100  # one lost in each round is over
    assert np.abs(np.subtract(more_references, references)).max() < 50


def resident_bytes():
    return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGESIZE")


def test_meshes_and_scenes_that_stay_in_memory():
    def round_trip():
        mesh = scapi.Mesh.cylinder(1, 1, segments=20_000)  # 10 MB
        scene = scapi.Scene()
        scene.add(mesh)
        return mesh.nbytes

    size = round_trip()
    before = resident_bytes()
    for _ in range(30):
        round_trip()
    assert resident_bytes() - before < 10 * size


def test_ctrl_c_that_has_to_wait_for_the_end(cube, away):
    poses = np.tile(np.eye(4), (3_000_000, 1, 1))[:, :3]  # minutes
    scene = scapi.Scene()
    for _ in range(1500):  # a million pairs
        scene.add(scapi.Mesh.cylinder(1, 1, segments=40))
    for job in (lambda: scapi.distance_many(cube, away, poses), scene.check):
        stop = threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT))
        stop.start()
        with pytest.raises(KeyboardInterrupt):
            job()
            time.sleep(600)  # where the job was over first
        stop.join()


def test_queries_that_hold_the_lock_of_the_interpreter(cube, away):
    turns, seen = 0, []

    def progress(done, of):
        seen.append(turns)
        if len(seen) == 4:
            raise InterruptedError

    def job():
        with pytest.raises(InterruptedError):
            scapi.distance_many(cube, away, np.tile(np.eye(4), (1_000_000, 1, 1)),
                                progress=progress)

    thread = threading.Thread(target=job)
    thread.start()
    while thread.is_alive():
        turns += 1
    # Between two reports no line of Python runs in the job, so all turns are of this thread.
    assert seen[0] < seen[1] < seen[2] < seen[3]


AT_EXIT = """
import threading, sys
import numpy as np, scapi
mesh = scapi.Mesh.box((0, 0, 0), (1, 1, 1))
scene = scapi.Scene(); scene.add(mesh); scene.me = scene
solid = scapi.classic.Solid.box((0, 0, 0), (1, 1, 1)); solids = [solid]
scapi.within(mesh, mesh)
def work():
    scapi.distance_many(mesh, mesh, np.tile(np.eye(4), (3_000_000, 1, 1)))
threading.Thread(target=work, daemon=True).start()
sys.modules["keep"] = scene
print("end")
"""

FORK = """
import os, scapi
mesh = scapi.Mesh.cylinder(1, 1)
first = scapi.within(mesh, mesh).verdict, mesh.closed
child = os.fork()
same = (scapi.within(mesh, mesh).verdict, mesh.closed) == first
if not child: os._exit(0 if same else 1)
assert same and os.waitpid(child, 0)[1] == 0
print("end")
"""


@pytest.mark.parametrize("script", [AT_EXIT, FORK], ids=["live objects", "fork"])
def test_a_process_that_ends_badly(script):
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True,
                          timeout=120)
    assert (done.returncode, done.stdout, done.stderr) == (0, "end\n", "")


def test_help_that_is_not_enough_to_start():
    start = re.sub(r"^    ", "", scapi.__doc__, flags=re.M)
    example = start[start.index("clamp ="):start.index("CLEAR is a proof")]
    example = example.replace('from_stl("clamp.stl", unit="inch")',
                              "box((-50, -50, 0), (50, 50, 20))")
    names = {"scapi": scapi, "print": lambda *answer: None}
    exec(example, names)
    # The tool of radius 10 starts at -90 and reaches the clamp at -50: 30 of 180.
    answer = names["answer"]
    assert answer.verdict is scapi.Verdict.CONTACT
    assert answer.t_clear == pytest.approx(30 / 180, abs=1e-3)
    undocumented = [name for name in scapi.__all__
                    if not (getattr(scapi, name).__doc__ or "").strip()]
    assert undocumented == []
