import math
import pickle

import numpy as np
import pytest

import scapi
from scapi import errors

TURN = scapi.Pose.rotation((0, 0, 5), math.pi / 2, point=(1, 0, 0))


def test_a_rotation_with_the_wrong_sense_or_centre():
    assert TURN.apply([(1, 0, 0), (2, 0, 7)]) == pytest.approx(np.array([(1, 0, 0), (1, 1, 7)]))
    lifted = scapi.Pose.translation(0, 0, 3) @ TURN
    assert lifted.apply((2, 0, 0)) == pytest.approx([1, 1, 3])
    assert lifted.inverse().apply((1, 1, 3)) == pytest.approx([2, 0, 0])


def test_a_tiny_or_huge_axis_that_has_no_direction():
    for length in (1e-200, 1e200):
        turned = scapi.Pose.rotation((0, 0, length), math.pi / 2)
        assert turned.apply((1, 0, 0)) == pytest.approx([0, 1, 0])


SHEAR = [[1, 1e-3, 0, 0], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]


@pytest.mark.parametrize("matrix, error", [
    (scapi.Pose.translation(1, 2, 3).matrix.T, ValueError),
    (np.eye(4) * np.nan, ValueError),
    (np.full((3, 4), np.inf), errors.PoseNumberError),
    (np.diag([2.0, 2, 2, 1]), errors.PoseScaledError),
    (np.diag([1.0, 1, -1, 1]), errors.PoseMirroredError),
    (SHEAR, errors.PoseNotRigidError), (np.ma.array(np.eye(4), mask=np.eye(4), fill_value=1), TypeError),
    (np.eye(3), ValueError), (np.zeros((2, 4, 4)), ValueError), (np.eye(4) * 1j, TypeError),
    ("identity", TypeError), (np.array([None] * 12).reshape(3, 4), TypeError),
])
def test_matrices_that_are_no_pose(matrix, error, cube):
    with pytest.raises(error):
        scapi.Pose(matrix)
    with pytest.raises(error):
        scapi.within(cube, cube, pose_b=matrix)


def test_a_motion_that_ends_elsewhere_or_turns_the_long_way():
    motion = scapi.Motion(scapi.Pose.translation(0, 5, 0), path=(4, 0, 0), axis=(0, 0, 9),
                          angle=5 * math.pi, pivot=(1, 0, 0))
    # At half time 2.5 half turns about the pivot, which is at (3, 5, 0).
    assert motion.at(0.5).apply([(1, 0, 0), (2, 0, 0)]) == pytest.approx(
        np.array([(3, 5, 0), (3, 6, 0)]))
    shortest = scapi.Motion.between(None, TURN)
    assert shortest.angle == pytest.approx(math.pi / 2) and shortest.at(1).apply(
        (2, 0, 0)) == pytest.approx([1, 1, 0])
    many = scapi.motions_between([None, TURN], [TURN, TURN])
    assert many[0] == pytest.approx(np.frombuffer(shortest._data)) and many[1, 21] == 0


@pytest.mark.parametrize("make, error", [
    (lambda: scapi.Motion(angle=math.nan), errors.PoseNumberError),
    (lambda: scapi.Motion(path=(math.inf, 0, 0)), errors.PoseNumberError),
    (lambda: scapi.Motion(axis=(0, 0, 0), angle=1), ValueError),
    (lambda: scapi.Motion(path=(1, 2)), ValueError),
    (lambda: scapi.Motion.between(None, scapi.Pose.rotation((1, 0, 0), math.pi)),
     errors.HalfTurnError),
    (lambda: scapi.motions_between(np.zeros((2, 4, 4)), np.zeros((3, 4, 4))), ValueError),
])
def test_motions_that_are_none(make, error):
    with pytest.raises(error):
        make()


def test_poses_that_change_or_differ_after_a_copy():
    matrix = np.eye(4)
    pose = scapi.Pose(matrix)
    matrix[0, 3] = 7
    pose.matrix[1, 3] = 7
    assert pose == scapi.Pose() and hash(pose) == hash(scapi.Pose(np.eye(4) * 1.0 - 0.0))
    motion = scapi.Motion(TURN, (1, 2, 3), (1, 1, 0), 0.1)
    for value in (TURN, motion):
        copy = pickle.loads(pickle.dumps(value))
        assert copy == value and hash(copy) == hash(value) and copy._data == value._data
