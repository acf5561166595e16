"""The questions about two bodies: one at a time, or arrays of them."""

from __future__ import annotations

import threading
from collections.abc import Callable
from typing import TypeAlias

import numpy as np

from . import _native
from ._mesh import Mesh, handle_of
from ._pose import (MotionLike, MotionsLike, PoseLike, PosesLike, common_count, motion_data,
                    motions_data, pose_data, poses_data)
from ._results import IMPACT, RESULT, Contacts, Distance, Impact, Impacts, Result, Results

Progress: TypeAlias = Callable[[int, int], object]
"""Called with what is done and of how many, ten times a second at most. May raise, to stop."""


class _Thread(threading.local):
    """The query of each thread: its scratch, and the closest pair of last time."""

    def __init__(self) -> None:
        self.query = _native.query_create()


_thread = _Thread()

SURFACES_ONLY, WANT_RELATION, IGNORE_START_CONTACT = 1, 2, 4


def within(a: Mesh, b: Mesh, pose_a: PoseLike = None, pose_b: PoseLike = None, *,
           tolerance: float = 0.0, resolution: float = 0.0, budget: int = 0,
           surfaces_only: bool = False, want_relation: bool = False) -> Result:
    """Are two placed bodies in contact? Stops at the first contact: the fastest question.

        if scapi.within(clamp, tool, pose_b=pose, tolerance=0.1): ...  # contact; may raise

    a, b           meshes
    pose_a, pose_b where they are: `Pose`, 4x4 or 3x4 matrix, None where the mesh lies
    tolerance      0 to 1e9, in the unit of the meshes: contact at this distance or less
    resolution     how far beyond it contact may be claimed; 0 stands for a tenth of the tolerance,
                   or, where that is 0, for a millionth of the smaller body's diagonal
    budget         tests of pairs, after which the verdict is INDETERMINATE; 0 stands for 50 million
    surfaces_only  sheets, not solids: nothing is inside
    want_relation  tell TOUCHING from CROSSING too: more work
    Of CLEAR, lower is the tolerance; of CONTACT it is 0, and upper the distance of the triangles.
    Raises a `PoseError`, `ToleranceError`, `OutOfMemoryError`.
    """
    flags = (SURFACES_ONLY if surfaces_only else 0) | (WANT_RELATION if want_relation else 0)
    return Result(*_native.within(_thread.query, handle_of(a), pose_data(pose_a), handle_of(b),
                                  pose_data(pose_b), flags, tolerance, resolution, 0.0, budget))


def distance(a: Mesh, b: Mesh, pose_a: PoseLike = None, pose_b: PoseLike = None, *,
             tolerance: float = 0.0, resolution: float = 0.0, upper_bound: float = 0.0,
             budget: int = 0, surfaces_only: bool = False) -> Distance:
    """The distance of the surfaces of two placed bodies: an interval that holds it, and the points.

    upper_bound  looks no further than this; 0: without bound
    The rest as of `within`. Of a body inside another the distance is that to its surface, and the
    verdict INSIDE.
    """
    flags = SURFACES_ONLY if surfaces_only else 0
    return Distance(*_native.distance(_thread.query, handle_of(a), pose_data(pose_a), handle_of(b),
                                      pose_data(pose_b), flags, tolerance, resolution, upper_bound,
                                      budget))


def time_of_impact(a: Mesh, b: Mesh, motion_a: MotionLike = None, motion_b: MotionLike = None, *,
                   tolerance: float = 0.0, resolution: float = 0.0, budget: int = 0,
                   surfaces_only: bool = False, ignore_start_contact: bool = False) -> Impact:
    """When do two moving bodies first touch?

    motion_a, motion_b    `Motion`; or a pose, or None, of a body at rest
    ignore_start_contact  triangles in contact at the start count again when they come closer or
                          deeper by the resolution
    The rest as of `within`; raises `AxisError` too.
    """
    flags = ((SURFACES_ONLY if surfaces_only else 0)
             | (IGNORE_START_CONTACT if ignore_start_contact else 0))
    return Impact(*_native.time_of_impact(_thread.query, handle_of(a), motion_data(motion_a),
                                          handle_of(b), motion_data(motion_b), flags, tolerance,
                                          resolution, 0.0, budget))


def contacts(a: Mesh, b: Mesh, pose_a: PoseLike = None, pose_b: PoseLike = None, *,
             tolerance: float = 0.0, resolution: float = 0.0, budget: int = 0,
             surfaces_only: bool = False, limit: int = 1_000_000) -> Contacts:
    """All pairs of triangles within the tolerance, each once, sorted by their numbers.

    limit  hold the first so many; `count` counts on
    The rest as of `within`.
    """
    if limit < 0:
        raise ValueError(f"limit: {limit} is below 0")
    flags = SURFACES_ONLY if surfaces_only else 0
    fields = _native.contacts(_thread.query, handle_of(a), pose_data(pose_a), handle_of(b),
                              pose_data(pose_b), flags, tolerance, resolution, 0.0, budget, limit)
    return Contacts.of(*fields)


def within_many(a: Mesh, b: Mesh, poses_a: PosesLike = None, poses_b: PosesLike = None, *,
                tolerance: float = 0.0, resolution: float = 0.0, budget: int = 0,
                surfaces_only: bool = False, want_relation: bool = False,
                progress: Progress | None = None) -> Results:
    """`within` at many poses, in one call. Other threads run meanwhile; Ctrl-C ends it.

    poses_a, poses_b  (n, 4, 4) or (n, 3, 4), or a sequence of `Pose`; or one pose for all
    progress          called with the number done and of how many
    The rest as of `within`; the budget is that of each pose. The results are the same whatever
    was asked before. An error names the pose.
    """
    flags = (SURFACES_ONLY if surfaces_only else 0) | (WANT_RELATION if want_relation else 0)
    rows_a, count_a = poses_data(poses_a, "poses_a")
    rows_b, count_b = poses_data(poses_b, "poses_b")
    records = np.zeros(common_count(count_a, count_b), RESULT)
    _native.within_many(handle_of(a), rows_a, handle_of(b), rows_b, flags, tolerance, resolution,
                        0.0, budget, progress, records)
    return Results(records)


def distance_many(a: Mesh, b: Mesh, poses_a: PosesLike = None, poses_b: PosesLike = None, *,
                  tolerance: float = 0.0, resolution: float = 0.0, upper_bound: float = 0.0,
                  budget: int = 0, surfaces_only: bool = False,
                  progress: Progress | None = None) -> Results:
    """`distance` at many poses, in one call. Arguments as of `within_many` and `distance`."""
    flags = SURFACES_ONLY if surfaces_only else 0
    rows_a, count_a = poses_data(poses_a, "poses_a")
    rows_b, count_b = poses_data(poses_b, "poses_b")
    records = np.zeros(common_count(count_a, count_b), RESULT)
    _native.distance_many(handle_of(a), rows_a, handle_of(b), rows_b, flags, tolerance, resolution,
                          upper_bound, budget, progress, records)
    return Results(records)


def time_of_impact_many(a: Mesh, b: Mesh, motions_a: MotionsLike = None,
                        motions_b: MotionsLike = None, *, tolerance: float = 0.0,
                        resolution: float = 0.0, budget: int = 0, surfaces_only: bool = False,
                        ignore_start_contact: bool = False,
                        progress: Progress | None = None) -> Impacts:
    """`time_of_impact` of many motions, in one call.

    motions_a, motions_b  a sequence of `Motion`, or what `motions_between` gives, (n, 22); or one
                          motion or pose for all
    The rest as of `within_many` and `time_of_impact`.
    """
    flags = ((SURFACES_ONLY if surfaces_only else 0)
             | (IGNORE_START_CONTACT if ignore_start_contact else 0))
    rows_a, count_a = motions_data(motions_a, "motions_a")
    rows_b, count_b = motions_data(motions_b, "motions_b")
    records = np.zeros(common_count(count_a, count_b), IMPACT)
    _native.time_of_impact_many(handle_of(a), rows_a, handle_of(b), rows_b, flags, tolerance,
                                resolution, 0.0, budget, progress, records)
    return Impacts(records)
