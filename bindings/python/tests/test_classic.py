import gc
import pickle
import threading

import numpy as np
import pytest

import scapi
from scapi.classic import (SLOT_COUNT, Interference, Solid, SolidError, close, release_solids,
                           used_bytes)

STAY = np.eye(4)


def shifted(x, y=0.0, z=0.0):
    return scapi.Pose.translation(x, y, z)


@pytest.fixture(autouse=True)
def no_solid_is_left():
    yield
    gc.collect()
    assert used_bytes() == 0
    release_solids()


def test_slots_that_are_not_freed():
    solids = [Solid.box((0, 0, 0), (1, 1, 1)) for _ in range(SLOT_COUNT)]
    assert {s.slot for s in solids} == set(range(SLOT_COUNT)) and used_bytes() > 0
    with pytest.raises(SolidError, match="in use"):
        Solid.box((0, 0, 0), (1, 1, 1))
    del solids[7]
    with Solid.cylinder((0, 0, 0), (0, 0, 5), 1) as solid:
        assert solid.bounds[1] == pytest.approx([1, 1, 5], abs=1e-5)
    with pytest.raises(TypeError, match="copies"):
        pickle.dumps(solids[0])
    solid.free()
    with pytest.raises(SolidError, match="freed"):
        solid.place(STAY)
    with pytest.raises(SolidError, match="thicker"):
        Solid.box((0, 0, 0), (1, 1, 0))


@pytest.mark.parametrize("release", [release_solids, close])
def test_a_released_solid_that_frees_the_slot_of_another(release):
    old = Solid.box((0, 0, 0), (1, 1, 1))
    release()
    new = [Solid.box((0, 0, 0), (2, 2, 2)) for _ in range(SLOT_COUNT)]
    with pytest.raises(SolidError, match="freed"):
        old.bounds
    del old
    assert all(solid.bounds[1, 0] == 2 for solid in new)


def test_contact_that_is_asked_the_wrong_way_round():
    plate, post = Solid.box((-5, -5, 0), (5, 5, 1)), Solid.box((3, 0.9, -3), (3.2, 1.1, 3))
    plate.place(STAY), post.place(STAY)
    # The sides of the post pass through the plate; none of the plate's edges meets the post.
    assert plate.is_hit_by(post) is Interference.CONTACT
    assert post.is_hit_by(plate) is Interference.NONE_FOUND and not post.is_hit_by(plate)
    post.move(shifted(50, 0, 3.5), shifted(-50, 0, 3.5))  # its lower corners pass through
    assert plate.is_hit_by(post)
    post.move(shifted(50, 40), shifted(-50, 40))
    assert not plate.is_hit_by(post)
    assert plate.boxes_can_meet(STAY, STAY, post, shifted(50, 0), shifted(-50, 0))
    assert not plate.boxes_can_meet(STAY, STAY, post, shifted(50, 40), shifted(-50, 40))


@pytest.mark.parametrize("ask, message", [
    (lambda a, b: a.is_hit_by(b), "never placed"),
    (lambda a, b: b.place(STAY * np.nan), "not finite"),
    (lambda a, b: b.move(STAY, STAY * 1e300), "not finite"),
    (lambda a, b: b.place(np.eye(3)), "shape"),
    (lambda a, b: Solid.cylinder((0, 0, 0), (0, 0, 1), np.inf), "not finite"),
])
def test_none_that_could_only_be_wrong(ask, message):
    a, b = Solid.box((0, 0, 0), (1, 1, 1)), Solid.box((0, 0, 0), (1, 1, 1))
    with pytest.raises((SolidError, ValueError), match=message):
        ask(a, b)


def test_files_that_load_as_nothing(stl, tmp_path):
    solid = Solid.from_stl(stl)
    assert solid.cache_written and (tmp_path / "cube.SLD").exists()
    simple = Solid.from_stl(stl, simple=True)
    with pytest.raises(SolidError, match="simple"):
        solid.is_hit_by(simple)
    comma = tmp_path / "comma.stl"
    comma.write_text("solid\n" + "facet normal 0 0 1\nouter loop\nvertex 0,1 0,2 0,3\n" * 5)
    for path in (comma, tmp_path / "missing.stl"):
        with pytest.raises(SolidError, match=path.name):
            Solid.from_stl(path)
    copy = tmp_path / "copy.stl"
    solid.save_stl(copy)
    assert scapi.Mesh.from_stl(copy).diagnose().volume == pytest.approx(1)
    with pytest.raises(SolidError, match="cannot be written"):
        solid.save_stl(tmp_path / "nowhere" / "x.stl")


def test_walks_that_leave_records_out():
    solid = Solid.box((0, 0, 0), (1, 2, 3))
    vertices, faces, triangles = solid.vertices, solid.faces, solid.triangles
    assert np.array_equal(vertices[faces], triangles[:, :3])
    assert scapi.Mesh.from_arrays(vertices, faces).diagnose().volume == pytest.approx(6)
    edges = 3 * len(faces) // 2
    assert used_bytes() == 312 + 140 * len(faces) + 40 * len(vertices) + 40 * edges
    solid.rotate(scapi.Pose.translation(9, 0, 0))
    assert solid.bounds[1].tolist() == [1, 2, 3]


def test_threads_that_call_at_the_same_time():
    wrong = []

    def work():
        for _ in range(50):
            with Solid.box((0, 0, 0), (1, 1, 1)) as a, Solid.box((0, 0, 0), (1, 1, 1)) as b:
                b.place(shifted(0.5, 0.5, 0.5))
                wrong.extend([] if a.is_hit_by(b) else [a])

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong
