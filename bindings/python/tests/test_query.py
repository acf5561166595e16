import math
import pickle
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import scapi
from scapi import Kind, Relation, Verdict, errors


def test_fields_of_a_distance_that_are_mixed_up(cube, away):
    answer = scapi.distance(cube, away, pose_b=scapi.Pose.translation(0, 0.25, 0))
    assert answer.verdict is Verdict.CLEAR and answer.relation is Relation.APART
    assert answer.lower <= 2 <= answer.upper < answer.lower * (1 + 5e-7)
    assert answer.point_a[0] == 1 and answer.point_b[0] == 3
    assert 1.0 in {x for x, _, _ in cube.triangles[answer.triangle_a]}
    assert 3.0 in {x for x, _, _ in away.triangles[answer.triangle_b]}


def test_an_option_that_is_not_handed_on(cube, away):
    assert scapi.within(cube, away, tolerance=1.99, resolution=0.001).verdict is Verdict.CLEAR
    assert scapi.within(cube, away, tolerance=2.01).verdict is Verdict.CONTACT
    assert scapi.distance(cube, away, upper_bound=1).upper == math.inf
    for resolution, verdict in ((0.05, Verdict.CLEAR), (0.2, Verdict.CONTACT)):
        assert scapi.distance(cube, away, tolerance=1.9, resolution=resolution).verdict is verdict
    inner = scapi.Mesh.box((0.4, 0.4, 0.4), (0.6, 0.6, 0.6))
    assert scapi.within(cube, inner).verdict is Verdict.INSIDE
    assert scapi.within(cube, inner).relation is Relation.B_IN_A
    assert scapi.within(cube, inner, surfaces_only=True).verdict is Verdict.CLEAR
    crossing = scapi.Pose.translation(0.5, 0.4, 0.3)
    assert scapi.within(cube, cube, pose_b=crossing,
                        want_relation=True).relation is Relation.CROSSING
    touching = scapi.Pose.translation(1, 0, 0)
    leaving = scapi.Motion(touching, path=(3, 0, 0))
    assert scapi.time_of_impact(cube, cube, None, leaving).verdict is Verdict.START_CONTACT
    free = scapi.time_of_impact(cube, cube, None, leaving, ignore_start_contact=True)
    assert free.verdict is not Verdict.START_CONTACT
    assert scapi.distance(cube, away, budget=1).verdict is Verdict.INDETERMINATE


def test_fields_of_an_impact_that_are_mixed_up(cube, away):
    answer = scapi.time_of_impact(cube, away, scapi.Motion(path=(5, 0, 0)), tolerance=0.5)
    assert answer.verdict is Verdict.CONTACT and answer.relation is Relation.APART
    # 1.5 of 5 goes by before the gap of 2 is down to 0.5; a tenth more may be claimed.
    assert answer.t_clear <= 0.3 <= answer.t_contact + 1e-9 and answer.t_contact >= 0.29 - 1e-9
    assert answer.normal == pytest.approx((1, 0, 0)) and 0.5 - 1e-9 <= answer.upper <= 0.55
    assert answer.point_a[0] == pytest.approx(1 + 5 * answer.t_contact) and answer.point_b[0] == 3
    clear = scapi.time_of_impact(cube, away, scapi.Motion(path=(0, 4, 0)))
    assert (clear.verdict, clear.t_contact, clear.triangle_a) == (Verdict.CLEAR, 1, -1)
    assert clear.clearance == pytest.approx(2)


def test_contacts_that_are_lost_or_counted_wrongly(cube):
    post = scapi.Mesh.box((0.25, 0.25, -1), (0.75, 0.75, 2))
    found = scapi.contacts(cube, post)
    assert found.verdict is Verdict.CONTACT and found.relation is Relation.CROSSING
    assert found.count == len(found) == len(found.kind) and not (found.truncated or found.exhausted)
    crossing = found.kind == Kind.CROSSING
    # Four sides of the post pass through two faces of the cube.
    assert set(found.segment[crossing][:, :, 2].ravel()) == {0.0, 1.0}
    lengths = np.linalg.norm(found.segment[crossing][:, 0] - found.segment[crossing][:, 1], axis=1)
    assert lengths.sum() == pytest.approx(8 * 0.5)
    few = scapi.contacts(cube, post, limit=3)
    assert len(few) == 3 and few.count == found.count and few.truncated
    assert few.triangle_a.tolist() == found.triangle_a[:3].tolist()
    rod, plate = scapi.Mesh.cylinder(1, 9, segments=400), scapi.Mesh.box((-2, -2, 4), (2, 2, 5))
    many = scapi.contacts(rod, plate)  # more than fit at first
    assert many.count == len(many) > 800 and many.certain.all()
    assert pickle.loads(pickle.dumps(many)).records.tobytes() == many.records.tobytes()


def test_a_truth_value_that_reads_as_clear(cube, away):
    touching, apart = scapi.within(cube, cube), scapi.within(cube, away)
    lidless = scapi.Mesh.from_arrays([[0, 0, 0], [9, 0, 0], [0, 9, 0], [0, 0, 9]],
                                     [[0, 2, 1], [0, 1, 3], [0, 3, 2]])
    unknown = scapi.within(lidless, cube, pose_b=scapi.Pose.translation(1, 1, 1))
    assert touching and not apart
    assert [bool(v) for v in Verdict if v is not Verdict.INDETERMINATE] == [False, True, True, True]
    open_sheet = scapi.Mesh.from_arrays([[5, 5, 5], [6, 5, 5], [5, 6, 5]])
    for answer in (unknown, Verdict.INDETERMINATE, scapi.time_of_impact(
            cube, away, scapi.Motion(path=(5, 0, 0)), budget=1)):
        assert getattr(answer, "verdict", answer) is Verdict.INDETERMINATE
        with pytest.raises(scapi.IndeterminateError, match="neither"):
            bool(answer)
    assert not scapi.within(open_sheet, open_sheet, pose_b=scapi.Pose.translation(0, 0, 9),
                            surfaces_only=True)
    with pytest.raises(TypeError, match="distance"):
        bool(scapi.distance(cube, away))
    many = scapi.within_many(cube, away, poses_b=[None, scapi.Pose.translation(-2, 0, 0)])
    with pytest.raises(TypeError, match="clear"):
        bool(many)
    assert many.clear.tolist() == [True, False] and many.verdict.any() and not many.verdict.all()


LAYOUTS = {
    "three rows": lambda p: p[:, :3],
    "columns": np.asfortranarray,
    "steps": lambda p: np.repeat(p, 2, axis=0)[::2],
    "negative strides": lambda p: p[::-1].copy()[::-1],
    "big endian": lambda p: p.astype(">f8"),
    "extended": lambda p: p.astype(np.longdouble),
    "lists": lambda p: p.tolist(),
    "poses": lambda p: [scapi.Pose(m) for m in p],
    "generator": lambda p: (scapi.Pose(m) for m in p),
}


@pytest.mark.parametrize("layout", LAYOUTS)
def test_arrays_of_poses_that_are_read_wrongly(layout, cube, away, shifts):
    poses = LAYOUTS[layout](shifts)
    if isinstance(poses, np.ndarray):
        poses.flags.writeable = False
    expected = scapi.distance_many(cube, away, poses_b=shifts)
    assert scapi.distance_many(cube, away, poses_b=poses) == expected
    # The gap is 2 + x while x > -2; then they overlap until x = -3 lays b onto a.
    gap = np.maximum(2 + shifts[:, 0, 3], 0)
    apart = gap > 1e-9
    assert ((expected.lower <= gap) & (gap <= expected.upper))[apart].all()
    assert (expected.clear == apart).all() and np.allclose(expected.upper[apart], gap[apart])


def test_many_answers_that_are_not_those_of_single_questions(cube, away, shifts):
    # Single questions start from the last pair, which decides only between tolerance and resolution.
    sharp = {"tolerance": 0.5, "resolution": 1e-6}
    many = scapi.within_many(cube, away, shifts, **sharp)
    assert [answer.verdict for answer in many] == [
        scapi.within(cube, away, pose, **sharp).verdict for pose in shifts]
    motions = scapi.motions_between(shifts[:-1], shifts[1:])
    impacts = scapi.time_of_impact_many(cube, away, motions)
    for motion, impact in zip(motions[::40], list(impacts)[::40]):
        single = scapi.time_of_impact(cube, away, scapi.Motion._from_data(motion.tobytes()))
        assert (single.verdict, single.t_clear) == (impact.verdict, impact.t_clear)
    assert impacts == scapi.time_of_impact_many(
        cube, away, (scapi.Motion._from_data(m.tobytes()) for m in motions))
    assert scapi.Impacts.join([impacts, impacts])[len(impacts)] == impacts[0]
    assert many[many.clear].clear.all() and list(many[-3:]) == list(many)[-3:]
    assert pickle.loads(pickle.dumps(impacts)) == impacts != many
    resting = scapi.time_of_impact_many(cube, away, scapi.Pose(), [scapi.Pose()] * 3)
    assert len(resting) == 3 and resting.clear.all()


@pytest.mark.parametrize("empty", [[], np.empty((0, 4, 4)), np.empty((0, 3, 4))])
def test_no_poses_at_all(cube, empty):
    assert len(scapi.within_many(cube, cube, empty)) == 0


@pytest.mark.parametrize("poses, error, number", [
    (np.eye(4).reshape(1, 16), ValueError, None), (np.zeros((5, 2, 4)), ValueError, None),
    (np.zeros((5, 4, 4)), ValueError, None), (np.zeros((2, 2, 4, 4)), ValueError, None),
    (np.zeros((5, 3, 4)), errors.PoseError, 0), (np.full((5, 4, 4), 1j), TypeError, None),
    ([scapi.Pose(), 3], ValueError, None), (np.empty((2, 0, 4)), ValueError, None),
    (np.array([np.eye(4)[:3], np.eye(4)[:3] * 2]), errors.PoseScaledError, 1),
    (np.array([np.eye(4)[:3], np.eye(4)[:3] * np.nan]), errors.PoseNumberError, 1),
])
def test_arrays_that_hold_no_poses(poses, error, number, cube):
    with pytest.raises(error) as caught:
        scapi.within_many(cube, cube, poses_b=poses)
    assert getattr(caught.value, "number", None) == number


@pytest.mark.parametrize("ask, error", [
    (lambda m: scapi.within(m, m, tolerance=-1), errors.ToleranceError),
    (lambda m: scapi.within_many(m, m, [None], tolerance=math.nan), errors.ToleranceError),
    (lambda m: scapi.within(m, "cube.stl"), TypeError),
    (lambda m: scapi.within(m, m, tolerance="1"), TypeError),
    (lambda m: scapi.within(m, m, budget=2**70), OverflowError),
    (lambda m: scapi.within(m, m, budget=-1), errors.OptionsError),
    (lambda m: scapi.Mesh.cylinder(1, 1, segments=2**32 + 3), OverflowError),
    (lambda m: scapi.within_many(m, m, np.ma.array(np.zeros((1, 4, 4)))), TypeError),
    (lambda m: scapi.contacts(m, m, limit=-1), ValueError),
    (lambda m: scapi.within_many(m, m, [None] * 2, [None] * 3), ValueError),
    (lambda m: scapi.Mesh(), TypeError),
])
def test_arguments_that_pass_though_they_are_wrong(ask, error, cube):
    with pytest.raises(error):
        ask(cube)


def test_threads_that_share_what_they_must_not(shifts):
    a, b = scapi.Mesh.cylinder(1, 3, segments=60), scapi.Mesh.cone(1, 0.2, 3, segments=60)
    turned = shifts[::3] @ scapi.Pose.rotation((1, 1, 1), 0.7).matrix

    def ask(pose):
        # Where several triangles touch, a single question names the one nearest to its last pair.
        return (scapi.distance_many(a, b, poses_b=[pose] * 3),
                scapi.contacts(a, b, None, pose).count,
                scapi.within(a, b, None, pose).verdict, scapi.time_of_impact(
                    a, b, None, scapi.Motion(pose, (0, 0, 1), (1, 0, 0), 0.5)).verdict)

    serial = [ask(pose) for pose in turned]
    with ThreadPoolExecutor(8) as threads:
        assert list(threads.map(ask, turned)) == serial
