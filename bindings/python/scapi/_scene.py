"""Scenes: many bodies, all pairs at once."""

from __future__ import annotations

import sys
import threading
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass, replace
from typing import Any, TypeAlias, Union

import numpy as np

from . import _native, errors
from ._mesh import Mesh, PathLike, handle_of
from ._pose import Motion, MotionLike, motion_data
from ._query import IGNORE_START_CONTACT, SURFACES_ONLY, Progress
from ._results import PAIR, Impact, Verdict, impact_of
from ._view import Page, page_of

BodyKey: TypeAlias = Union[int, str]
"""The number of a body, or its name."""


@dataclass(frozen=True)
class Body:
    """A body of a scene. `motion` says where it is; of a body at rest it goes nowhere."""

    number: int
    name: str
    mesh: Mesh
    motion: Motion
    group: int


@dataclass(frozen=True)
class Pair:
    """Two bodies that are not CLEAR of each other. A is the one with the lower number."""

    a: Body
    b: Body
    impact: Impact


@dataclass(frozen=True)
class SceneResult:
    """The answer of a check. True when any bodies touch, see `Verdict`.

    verdict     the gravest: contact of any kind, else INDETERMINATE, else CLEAR
    pairs       those that are not CLEAR, by the numbers of their bodies
    count       of them, those beyond the limit included
    truncated   some are missing, for the limit
    pair_count  of all pairs, without those left out
    examined    those that the boxes of the bodies did not show to be clear
    """

    verdict: Verdict
    pairs: tuple[Pair, ...]
    count: int
    truncated: bool
    pair_count: int
    examined: int

    def __bool__(self) -> bool:
        return bool(self.verdict)


class Scene:
    """Many bodies, and which pairs of them may touch.

        scene = scapi.Scene()
        table = scene.add(scapi.Mesh.from_stl("table.stl"), name="table")
        tool = scene.add(tool_mesh, scapi.Motion(start, path=(0, 0, -80)), name="tool")
        for pair in scene.check(tolerance=0.1).pairs: ...

    One thread at a time uses a scene: another, or a progress callback, gets a `SceneBusyError`.
    """

    def __init__(self) -> None:
        self._handle = _native.scene_create()
        self._bodies: list[Body] = []
        self._ignored: list[tuple[int, int]] = []
        self._lock = threading.Lock()

    def add(self, mesh: Mesh, motion: MotionLike = None, *, name: str = "", group: int = 0) -> int:
        """Adds a body. Returns its number, from 0 on.

        motion  `Motion`; or a pose, or None, of a body at rest
        name    no two alike; "body N" without
        group   bodies of the same group above 0 are not held against each other
        """
        with self._use():
            data = motion_data(motion)
            _native.motion_pose(data, 0.0)  # raises before there is a body to be placed
            if not isinstance(name, str):
                raise TypeError(f"name: expected a str, got {type(name).__name__}")
            name = name or f"body {len(self._bodies)}"
            if any(body.name == name for body in self._bodies):
                raise ValueError(f"name: there is a body {name!r} already")
            number = _native.scene_add(self._handle, handle_of(mesh), group)
            self._bodies.append(Body(number, name, mesh, Motion(), group))
            self._set_motion(number, data)
            return number

    def move(self, body: BodyKey, motion: MotionLike) -> None:
        """Gives a body another motion; or a pose, in which it rests."""
        with self._use():
            self._set_motion(self._number(body), motion_data(motion))

    def ignore(self, a: BodyKey, b: BodyKey) -> None:
        """Leaves a pair out of all checks: parts that are meant to touch."""
        with self._use():
            pair = self._number(a), self._number(b)
            _native.scene_ignore(self._handle, *pair)
            self._ignored.append(pair)

    @property
    def bodies(self) -> tuple[Body, ...]:
        return tuple(self._bodies)

    @property
    def ignored(self) -> tuple[tuple[int, int], ...]:
        """Pairs of numbers, as they were given to `ignore`."""
        return tuple(self._ignored)

    def check(self, *, tolerance: float = 0.0, resolution: float = 0.0, budget: int = 0,
              surfaces_only: bool = False, ignore_start_contact: bool = False,
              limit: int = 100_000, progress: Progress | None = None) -> SceneResult:
        """Checks all pairs along their motions. Other threads run meanwhile; Ctrl-C ends it.

        budget    of each pair
        limit     hold the first so many pairs; `count` counts on
        progress  called with the number of pairs examined and of how many
        The rest as of `time_of_impact`. The impacts of bodies at rest have times 0.
        """
        flags = ((SURFACES_ONLY if surfaces_only else 0)
                 | (IGNORE_START_CONTACT if ignore_start_contact else 0))
        if limit < 0:
            raise ValueError(f"limit: {limit} is below 0")
        with self._use():
            room = min(limit, len(self._bodies) * (len(self._bodies) - 1) // 2)
            verdict, truncated, pair_count, examined, count, records = _native.scene_check(
                self._handle, flags, tolerance, resolution, 0.0, budget, room, progress)
            pairs = tuple(Pair(self._bodies[record["body_a"]], self._bodies[record["body_b"]],
                               impact_of(record["impact"]))
                          for record in np.frombuffer(records, PAIR))
        return SceneResult(verdict, pairs, count, truncated, pair_count, examined)

    def page(self, result: SceneResult | None = None, title: str = "scene") -> Page:
        """A picture of the bodies along their motions; with the result of a check, of what it
        found."""
        return page_of(self, result, title)

    def save_html(self, path: PathLike, result: SceneResult | None = None,
                  title: str = "scene") -> None:
        """Writes the picture as one HTML file, which needs nothing else."""
        self.page(result, title).save(path)

    def show(self, result: SceneResult | None = None, title: str = "scene") -> Page:
        """Opens the picture in a browser; in a notebook, as the last line of a cell, inline."""
        page = self.page(result, title)
        if "ipykernel" not in sys.modules:
            page.open()
        return page

    def _repr_html_(self) -> str:
        return self.page()._repr_html_()

    @contextmanager
    def _use(self) -> Iterator[None]:
        # Waiting would hang a progress callback for good: it runs within the check.
        if not self._lock.acquire(blocking=False):
            raise errors.SceneBusyError("the scene is being checked: use it again when that is "
                                        "over, or make a scene for each thread")
        try:
            yield
        finally:
            self._lock.release()

    def _number(self, body: BodyKey) -> int:
        if isinstance(body, str):
            for known in self._bodies:
                if known.name == body:
                    return known.number
            raise errors.BodyError(f"there is no body {body!r}: {', '.join(self._names())}")
        return body

    def _names(self) -> list[str]:
        return [body.name for body in self._bodies]

    def _set_motion(self, number: int, data: bytes) -> None:
        motion = Motion._from_data(data)
        if motion.angle or motion.path.any():
            _native.scene_move(self._handle, number, data)
        else:
            # Placed, not moved: its times are 0.
            _native.scene_place(self._handle, number, motion.start._data)
        self._bodies[number] = replace(self._bodies[number], motion=motion)

    def __len__(self) -> int:
        return len(self._bodies)

    def __bool__(self) -> bool:
        return True  # an empty scene is a scene

    def __reduce__(self) -> tuple[Any, ...]:
        return _rebuilt, (self.bodies, self.ignored)

    def __repr__(self) -> str:
        return f"<Scene: {', '.join(self._names()) or 'empty'}>"


def _rebuilt(bodies: tuple[Body, ...], ignored: tuple[tuple[int, int], ...]) -> Scene:
    scene = Scene()
    for body in bodies:
        scene.add(body.mesh, body.motion, name=body.name, group=body.group)
    for a, b in ignored:
        scene.ignore(a, b)
    return scene
