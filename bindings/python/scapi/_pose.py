"""Where bodies are, and how they move."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from types import NoneType
from typing import Any, TypeAlias, Union, cast

import numpy as np
from numpy.typing import ArrayLike

from . import _native
from ._arrays import Floats, reals, shaped

_LAST_ROW = np.array([0.0, 0.0, 0.0, 1.0])
_LAST_ROW_DATA = _LAST_ROW.tobytes()
_ROWS = 12  # numbers of a pose: three rows of four
_MOTION = 22  # start, pivot, path, axis, angle


def _unit(axis: ArrayLike) -> Floats:
    vector: Floats = np.array(shaped(axis, (3,), "axis"))
    largest = float(np.abs(vector).max())
    if not 0 < largest < np.inf:
        raise ValueError(f"axis: {vector} has no direction")
    vector /= largest  # or squares would overflow or vanish
    vector /= np.linalg.norm(vector)
    return vector


def _rotation(axis: ArrayLike, angle: float) -> Floats:
    """3x3, by Rodrigues' formula."""
    x, y, z = _unit(axis)
    cross = np.array([[0, -z, y], [z, 0, -x], [-y, x, 0]])
    turn: Floats = np.eye(3) + np.sin(angle) * cross + (1 - np.cos(angle)) * (cross @ cross)
    return turn


def _three_rows(matrices: Floats, name: str) -> Floats:
    """(..., 3, 4); of (..., 4, 4) the first three rows, once the fourth is the usual one."""
    if matrices.shape[-2:] == (4, 4):
        if not (matrices[..., 3, :] == _LAST_ROW).all():
            raise ValueError(f"{name}: the last row of a 4x4 pose is 0 0 0 1; "
                             "transpose it if its translation stands there")
        matrices = matrices[..., :3, :]
    if matrices.shape[-2:] != (3, 4):
        raise ValueError(f"{name}: expected 4x4 or 3x4 matrices, got shape {matrices.shape}")
    return np.ascontiguousarray(matrices)


class Pose:
    """Where a body is: its point p lies at R p + t. Immutable.

    matrix  4x4 or 3x4, rows (R | t); R is a rotation within 1e-6. None for the identity.
    Raises a `PoseError` that says what is wrong: transposed, scaled, mirrored, not finite.
    """

    __slots__ = ("_data",)

    _data: bytes

    def __init__(self, matrix: ArrayLike | None = None) -> None:
        rows = np.eye(4)[:3] if matrix is None else _three_rows(reals(matrix, "pose"), "pose")
        if rows.ndim != 2:
            raise ValueError(f"pose: expected one 4x4 or 3x4 matrix, got shape {rows.shape}")
        self._data = rows.tobytes()
        _native.pose_check(self._data)

    @classmethod
    def translation(cls, x: float, y: float, z: float) -> Pose:
        """Moved, not turned."""
        matrix = np.eye(4)
        matrix[:3, 3] = x, y, z
        return cls(matrix)

    @classmethod
    def rotation(cls, axis: ArrayLike, angle: float, point: ArrayLike = (0, 0, 0)) -> Pose:
        """Turned by an angle in radians about an axis, of any length, through a point."""
        centre = shaped(point, (3,), "point")
        turn = _rotation(axis, float(angle))
        return cls(np.column_stack([turn, centre - turn @ centre]))

    @property
    def matrix(self) -> Floats:
        """(4, 4), a copy."""
        return np.vstack([np.frombuffer(self._data).reshape(3, 4), _LAST_ROW])

    def inverse(self) -> Pose:
        rows = np.frombuffer(self._data).reshape(3, 4)
        turned_back = rows[:, :3].T
        return Pose(np.column_stack([turned_back, -turned_back @ rows[:, 3]]))

    def __matmul__(self, other: Pose) -> Pose:
        """First other, then self."""
        if not isinstance(other, Pose):
            return NotImplemented
        return Pose(self.matrix @ other.matrix)

    def apply(self, points: ArrayLike) -> Floats:
        """Points (n, 3) or (3,) of the body in world coordinates."""
        rows = np.frombuffer(self._data).reshape(3, 4)
        return np.asarray(reals(points, "points") @ rows[:, :3].T + rows[:, 3])

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Pose) and np.array_equal(self.matrix, other.matrix)

    def __hash__(self) -> int:
        return hash((self.matrix + 0.0).tobytes())  # -0.0 equals 0.0

    def __reduce__(self) -> tuple[Any, ...]:
        return Pose, (np.frombuffer(self._data).reshape(3, 4).tolist(),)

    def __repr__(self) -> str:
        return f"Pose({self.matrix[:3].tolist()})"


PoseLike: TypeAlias = Union[Pose, ArrayLike, None]
"""A pose, its 4x4 or 3x4 matrix, or None for the identity."""

PosesLike: TypeAlias = Union[Pose, Sequence[Pose], Iterator[Pose], ArrayLike, None]
"""One pose, which stands for all, or many: (n, 4, 4), (n, 3, 4), or `Pose`s one after the other."""

_IDENTITY = Pose()._data


def pose_data(pose: PoseLike) -> bytes:
    if isinstance(pose, Pose):
        return pose._data
    # Not of a kind that brings a mask with it.
    if type(pose) is np.ndarray and pose.shape == (4, 4) and pose.dtype == np.float64:
        data = pose.tobytes()
        # The usual case, without the ten times longer way below; the query checks the rest.
        if data[96:] == _LAST_ROW_DATA:
            return data[:96]
    return _IDENTITY if pose is None else Pose(pose)._data


def poses_data(poses: PosesLike, name: str) -> tuple[Floats, int | None]:
    """(n, 12), and the number of poses; None for one that stands for all."""
    if poses is None or isinstance(poses, Pose):
        return np.frombuffer(pose_data(poses)).reshape(1, _ROWS), None
    if isinstance(poses, Sequence) and any(isinstance(p, (Pose, NoneType)) for p in poses):
        data = b"".join(pose_data(pose) for pose in poses)
        return np.frombuffer(data).reshape(-1, _ROWS), len(poses)
    if isinstance(poses, Iterator):
        return poses_data(list(poses), name)
    array = reals(cast(ArrayLike, poses), name)
    if array.size == 0 and array.ndim < 3:
        array = np.empty((0, 3, 4))
    if array.ndim == 2:
        return np.frombuffer(Pose(array)._data).reshape(1, _ROWS), None
    if array.ndim != 3:
        raise ValueError(f"{name}: expected shape (n, 4, 4) or (n, 3, 4), got {array.shape}")
    return _three_rows(array, name).reshape(-1, _ROWS), len(array)


class Motion:
    """From a start pose, at time 0, to time 1: the pivot goes straight by `path` while the body
    turns about it, by `angle` about `axis`, both at an even rate. Immutable.

    start  a pose
    path   (3,) of the pivot, world coordinates
    axis   (3,) world coordinates, of any length; not read when the angle is 0
    angle  radians, of any number of turns up to 1e7
    pivot  (3,) body coordinates
    """

    __slots__ = ("_data",)

    _data: bytes

    def __init__(self, start: PoseLike = None, path: ArrayLike = (0, 0, 0),
                 axis: ArrayLike = (0, 0, 1), angle: float = 0.0,
                 pivot: ArrayLike = (0, 0, 0)) -> None:
        direction = _unit(axis) if angle else np.array([0.0, 0.0, 1.0])
        numbers = [np.frombuffer(pose_data(start)), shaped(pivot, (3,), "pivot"),
                   shaped(path, (3,), "path"), direction, shaped([angle], (1,), "angle")]
        self._data = np.concatenate(numbers).tobytes()
        _native.motion_pose(self._data, 0.0)  # raises for what is no motion

    @classmethod
    def between(cls, start: PoseLike, end: PoseLike, pivot: ArrayLike = (0, 0, 0)) -> Motion:
        """From one pose to another with the shortest rotation, while the pivot goes straight.

        Raises `HalfTurnError` where either way round is as short.
        """
        data = motions_between(Pose(_matrix(start)), Pose(_matrix(end)), pivot)
        return cls._from_data(data.tobytes())

    @classmethod
    def _from_data(cls, data: bytes) -> Motion:
        motion = cls.__new__(cls)
        motion._data = data
        return motion

    def at(self, time: float) -> Pose:
        """The pose at a time, 0 to 1, rounded."""
        return Pose(np.frombuffer(_native.motion_pose(self._data, float(time))).reshape(3, 4))

    @property
    def start(self) -> Pose:
        return Pose(self._numbers[:_ROWS].reshape(3, 4))

    @property
    def pivot(self) -> Floats:
        return self._numbers[12:15].copy()

    @property
    def path(self) -> Floats:
        return self._numbers[15:18].copy()

    @property
    def axis(self) -> Floats:
        return self._numbers[18:21].copy()

    @property
    def angle(self) -> float:
        return float(self._numbers[21])

    @property
    def _numbers(self) -> Floats:
        return np.frombuffer(self._data)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Motion) and np.array_equal(self._numbers, other._numbers)

    def __hash__(self) -> int:
        return hash((self._numbers + 0.0).tobytes())

    def __reduce__(self) -> tuple[Any, ...]:
        return Motion._from_data, (self._data,)

    def __repr__(self) -> str:
        return (f"Motion(start={self.start}, path={self.path.tolist()}, axis={self.axis.tolist()}, "
                f"angle={self.angle}, pivot={self.pivot.tolist()})")


MotionLike: TypeAlias = Union[Motion, PoseLike]
"""A motion, or a pose in which the body rests."""

MotionsLike: TypeAlias = Union[Motion, Sequence[Motion], Iterator[Motion], PoseLike, Floats]
"""One motion or pose, which stands for all, or many: a sequence, or rows of `motions_between`."""

_REST = Motion()._data[8 * _ROWS:]  # what follows the start of a motion that goes nowhere


def _matrix(pose: PoseLike) -> ArrayLike | None:
    return pose.matrix if isinstance(pose, Pose) else pose


def motion_data(motion: MotionLike) -> bytes:
    return motion._data if isinstance(motion, Motion) else pose_data(motion) + _REST


def motions_data(motions: MotionsLike, name: str) -> tuple[Floats, int | None]:
    """(n, 22), and the number of motions; None for one that stands for all."""
    if isinstance(motions, np.ndarray) and motions.ndim == 2 and motions.shape[1] == _MOTION:
        return reals(motions, name), len(motions)
    if isinstance(motions, Sequence) and any(isinstance(m, (Motion, Pose, NoneType)) for m in motions):
        data = b"".join(motion_data(motion) for motion in motions)
        return np.frombuffer(data).reshape(-1, _MOTION), len(motions)
    if isinstance(motions, Sequence) and len(motions) == 0:
        return np.empty((0, _MOTION)), 0
    if isinstance(motions, Iterator):
        return motions_data(list(motions), name)
    return np.frombuffer(motion_data(cast(MotionLike, motions))).reshape(1, _MOTION), None


def motions_between(starts: PosesLike, ends: PosesLike, pivot: ArrayLike = (0, 0, 0)) -> Floats:
    """Motions from starts to ends with the shortest rotations, for `time_of_impact_many`.

    starts, ends  (n, 4, 4) or other poses; one stands for all. Of a path of poses: poses[:-1] and
                  poses[1:].
    pivot         (3,) body coordinates of the point that goes straight
    Returns (n, 22), the library's motions: start, pivot, path, axis, angle.
    Raises `HalfTurnError` where either way round is as short.
    """
    start_rows, start_count = poses_data(starts, "starts")
    end_rows, end_count = poses_data(ends, "ends")
    motions = np.empty((common_count(start_count, end_count), _MOTION))
    _native.motions_between(start_rows, end_rows, shaped(pivot, (3,), "pivot").tobytes(), motions)
    return motions


def common_count(a: int | None, b: int | None) -> int:
    """Of questions, from the numbers of places of either body."""
    if a is not None and b is not None and a != b:
        raise ValueError(f"{a} places of one body, {b} of the other: pass as many, or one for all")
    counts = [count for count in (a, b) if count is not None]
    return counts[0] if counts else 1
