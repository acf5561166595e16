"""Meshes: made, read back and diagnosed."""

from __future__ import annotations

import os
from dataclasses import dataclass, fields
from typing import Any, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _native, errors
from ._arrays import floats, indices, shaped
from ._results import Point

UNITS = {"um": 0.001, "mm": 1.0, "cm": 10.0, "m": 1000.0, "inch": 25.4}
"""Millimetres."""

AXES = {"xyz": "", "yzx": "(STL_SWAP_ZXY)", "zxy": "(STL_SWAP_YZX)"}
"""What x, y, z of a file are taken for, and the marker that asks the library for it."""

_SWAP_MARKERS = 1
_SELF_CROSSINGS = 1

PathLike = Union[str, "os.PathLike[str]"]


def scale_of(unit: str | float) -> float:
    """Millimetres in a unit, or the number that was given instead."""
    if not isinstance(unit, str):
        return float(unit)
    if unit not in UNITS:
        raise ValueError(f"unit: {unit!r} is none of {', '.join(UNITS)}; or pass a number")
    return UNITS[unit]


class Mesh:
    """A set of triangles, immutable. Shared freely between threads; never changes in a query.

    Make one with `from_stl`, `from_arrays`, `from_trimesh`, `box`, `cylinder`, `cone` or
    `revolved`. Coordinates are held in single precision, and all answers are about the triangles
    as held. Copies by pickle hold the same triangles in the same order.
    """

    __slots__ = ("_handle", "_info", "_indexed", "__weakref__")

    _handle: _native.MeshHandle
    _info: tuple[int, int, Point, Point, bool, int] | None
    _indexed: tuple[NDArray[np.float32], NDArray[np.int32]] | None

    def __init__(self) -> None:
        raise TypeError("use Mesh.from_stl, from_arrays, from_trimesh, box, cylinder, cone or "
                        "revolved")

    @classmethod
    def _own(cls, handle: _native.MeshHandle) -> Mesh:
        mesh = cls.__new__(cls)
        mesh._handle = handle
        mesh._info = None
        mesh._indexed = None
        return mesh

    @classmethod
    def from_stl(cls, path: PathLike, unit: str | float = "mm", axes: str = "xyz") -> Mesh:
        """From an STL file, text or binary.

        unit  of the file, which does not name it: "mm", "cm", "m", "um", "inch"; the mesh is then
              in mm. Or a number above 0, by which coordinates are multiplied.
        axes  "yzx" or "zxy" takes what stands in the file as x, y, z for y, z, x or z, x, y
        Raises `MeshFileError` (missing, no STL file), `TruncatedFileError`, `FacetError`,
        `CoordinateError`, `EmptyMeshError`.
        """
        if axes not in AXES:
            raise ValueError(f"axes: {axes!r} is none of {', '.join(AXES)}")
        flags = _SWAP_MARKERS if AXES[axes] else 0
        name = os.fsencode(path) + AXES[axes].encode()
        scale = scale_of(unit)
        if not scale > 0:
            raise ValueError(f"unit: {unit} is not above 0")
        try:
            return cls._own(_native.mesh_from_stl(name, flags, scale, 0.0, 0))
        except errors.Error as error:
            error.args = (f"{os.fspath(path)}: {error}",)
            raise

    @classmethod
    def from_arrays(cls, vertices: ArrayLike, faces: ArrayLike | None = None) -> Mesh:
        """From arrays, which are copied, and rounded to single precision.

        vertices  (n, 3) real numbers, finite, at most 1e9
        faces     (m, 3) integers, 0 to n - 1; None: each three vertices are a triangle
        Raises `CoordinateError`, `IndexRangeError`, `EmptyMeshError`.
        """
        points = floats(vertices, (-1, 3), "vertices")
        if faces is None:
            if len(points) % 3:
                raise ValueError(f"vertices: {len(points)} are no whole number of triangles")
            faces = np.arange(len(points)).reshape(-1, 3)
        return cls._own(_native.mesh_from_arrays(points, indices(faces, "faces")))

    @classmethod
    def from_trimesh(cls, mesh: Any) -> Mesh:
        """From an object of the trimesh package, or any with `vertices` and `faces` like its."""
        if not (hasattr(mesh, "vertices") and hasattr(mesh, "faces")):
            raise TypeError(f"expected an object with vertices and faces, got "
                            f"{type(mesh).__name__}; of a scene pass its meshes one by one")
        return cls.from_arrays(mesh.vertices, mesh.faces)

    @classmethod
    def box(cls, low: ArrayLike, high: ArrayLike) -> Mesh:
        """A box from corner low (3,) to corner high (3,), below it on each axis. 12 triangles."""
        corners = np.concatenate([shaped(low, (3,), "low"), shaped(high, (3,), "high")])
        return cls._own(_native.mesh_box(corners.tobytes()))

    @classmethod
    def cylinder(cls, radius: float, height: float, *, segments: int = 0,
                 chord_tolerance: float = 0.0) -> Mesh:
        """A cylinder round the z axis, from z = 0 to height, inside the true one.

        segments         of a full turn, 3 to 100000; 0 stands for 32, or, with a chord tolerance,
                         the least number that keeps it
        chord_tolerance  how far chords may lie inside the circle; 0: by segments alone
        """
        return cls._own(_native.mesh_cylinder(radius, height, 0, 0.0, chord_tolerance, segments))

    @classmethod
    def cone(cls, low_radius: float, high_radius: float, height: float, *, segments: int = 0,
             chord_tolerance: float = 0.0) -> Mesh:
        """A cone or its frustum round the z axis: low_radius at z = 0, high_radius at height, one
        of which may be 0. The rest as of `cylinder`."""
        return cls._own(
            _native.mesh_cone(low_radius, high_radius, height, 0, 0.0, chord_tolerance, segments))

    @classmethod
    def revolved(cls, profile: ArrayLike, *, segments: int = 0,
                 chord_tolerance: float = 0.0) -> Mesh:
        """A profile turned round the z axis: tools with round ends, holders.

        profile  (n, 2): radius, 0 or more, and z, bottom to top. Closed where it starts and ends on
                 the axis, or ends where it starts; else flat discs close it.
        The rest as of `cylinder`.
        """
        points = shaped(profile, (-1, 2), "profile")
        return cls._own(_native.mesh_revolved(points, 0, 0.0, chord_tolerance, segments))

    @property
    def vertices(self) -> NDArray[np.float32]:
        """(n, 3), each once, read-only."""
        return self._arrays()[0]

    @property
    def faces(self) -> NDArray[np.int32]:
        """(m, 3) indices into vertices, in the order of the input, read-only."""
        return self._arrays()[1]

    @property
    def triangles(self) -> NDArray[np.float32]:
        """(m, 3, 3) corners, in the order of the input, a copy."""
        corners = np.empty((self.triangle_count, 3, 3), np.float32)
        _native.mesh_triangles(self._handle, corners)
        return corners

    @property
    def triangle_count(self) -> int:
        return self._get_info()[0]

    @property
    def nbytes(self) -> int:
        """Memory that the mesh holds, without the arrays read back."""
        return self._get_info()[1]

    @property
    def bounds(self) -> NDArray[np.float64]:
        """(2, 3): lowest and highest coordinates."""
        return np.array(self._get_info()[2:4])

    @property
    def closed(self) -> bool:
        """Each edge is run as often one way as the other: only a closed mesh has an inside."""
        return self._get_info()[4]

    @property
    def shells(self) -> int:
        """Parts that are connected by their vertices."""
        return self._get_info()[5]

    def diagnose(self, *, weld: float = 0.0, self_crossings: bool = False,
                 budget: int = 0) -> Diagnosis:
        """Looks for faults.

        weld            vertices at most so far apart on each axis are taken for one
        self_crossings  look for triangles that cross too, which takes longer
        budget          tests for these; 0 stands for 50 million
        """
        record = np.zeros(1, DIAGNOSIS)
        flags = _SELF_CROSSINGS if self_crossings else 0
        _native.mesh_diagnose(self._handle, flags, weld, budget, record)
        return _diagnosis(record[0])

    def _get_info(self) -> tuple[int, int, Point, Point, bool, int]:
        if self._info is None:
            self._info = _native.mesh_info(self._handle)
        return self._info

    def _arrays(self) -> tuple[NDArray[np.float32], NDArray[np.int32]]:
        if self._indexed is None:
            count = self.triangle_count
            room = np.empty((3 * count, 3), np.float32)
            faces = np.empty((count, 3), np.int32)
            vertices = room[:_native.mesh_indexed(self._handle, count, room, faces)].copy()
            vertices.flags.writeable = faces.flags.writeable = False
            self._indexed = vertices, faces
        return self._indexed

    def __reduce__(self) -> tuple[Any, ...]:
        return Mesh.from_arrays, (self.triangles.reshape(-1, 3),)

    def __repr__(self) -> str:
        low, high = self.bounds.round(6).tolist()
        return f"<Mesh: {self.triangle_count} triangles, {low} to {high}>"


def handle_of(mesh: Mesh) -> _native.MeshHandle:
    try:
        return mesh._handle
    except AttributeError:
        raise TypeError(f"expected a scapi.Mesh, got {type(mesh).__name__}") from None


@dataclass(frozen=True)
class Finding:
    """A kind of fault.

    count   how often
    facets  (n,) triangles, of the first 8 at most
    points  (n, 3) where
    """

    count: int
    facets: tuple[int, ...] = ()
    points: tuple[Point, ...] = ()

    def __bool__(self) -> bool:
        return self.count > 0


@dataclass(frozen=True)
class Diagnosis:
    """What was found in a mesh.

    triangles, vertices, edges
    closed             after welding: only a closed mesh has an inside
    inside_out         closed, and its volume is below 0
    shells             connected parts, closed or not
    inverted_shells
    nested_shells      closed parts whose boxes lie in that of another: cavities, perhaps
    volume             signed; 0 of meshes that are not closed
    area
    extent             of the bounding box, x, y, z
    extent_if_inches   the same in mm, if the unit was an inch
    open_edges         edges of one triangle
    nonmanifold_edges  of more than two
    reversed_edges     of two triangles that run it the same way
    duplicates         facets with the same corners as another, in the same sense
    opposed            the same, in the opposite sense
    degenerate_facets  two corners equal after welding, or three in a line
    self_crossings     pairs of triangles that cross, if they were looked for
    self_crossings_complete  all were looked for
    """

    triangles: int
    vertices: int
    edges: int
    closed: bool
    inside_out: bool
    shells: int
    inverted_shells: int
    nested_shells: int
    volume: float
    area: float
    extent: Point
    extent_if_inches: Point
    open_edges: Finding
    nonmanifold_edges: Finding
    reversed_edges: Finding
    duplicates: Finding
    opposed: Finding
    degenerate_facets: Finding
    self_crossings: Finding
    self_crossings_complete: bool

    @property
    def faults(self) -> dict[str, Finding]:
        """The kinds that occur, by name. Empty for a mesh that is sound as far as was looked."""
        findings = ((field.name, getattr(self, field.name)) for field in fields(self))
        return {name: value for name, value in findings if isinstance(value, Finding) and value}

    def __str__(self) -> str:
        size = " x ".join(f"{length:g}" for length in self.extent)
        lines = [f"{self.triangles} triangles, {self.shells} shells, {size}, "
                 + ("closed" if self.closed else "not closed: it has no inside")]
        if self.inside_out:
            lines.append("inside out: its facets face inwards")
        for name, finding in self.faults.items():
            places = ", ".join(str(facet) for facet in finding.facets)
            lines.append(f"{finding.count} {name.replace('_', ' ')}, at facets {places}")
        return "\n".join(lines)


_PLACES = 8
_FINDING = np.dtype([("count", "i8"), ("facet", "i4", _PLACES), ("point", "f8", (_PLACES, 3))],
                    align=True)
DIAGNOSIS = np.dtype(
    [("triangles", "i8"), ("vertices", "i8"), ("edges", "i8"), ("closed", "i4"),
     ("inside_out", "i4"), ("shells", "i8"), ("inverted_shells", "i8"), ("nested_shells", "i8"),
     ("volume", "f8"), ("area", "f8"), ("extent", "f8", 3), ("extent_if_inches", "f8", 3),
     ("open_edges", _FINDING), ("nonmanifold_edges", _FINDING), ("reversed_edges", _FINDING),
     ("duplicates", _FINDING), ("opposed", _FINDING), ("degenerate_facets", _FINDING),
     ("self_crossings", _FINDING), ("self_crossings_complete", "i4"), ("reserved", "i4")],
    align=True)


def _diagnosis(record: Any) -> Diagnosis:
    values: dict[str, Any] = {}
    for field in fields(Diagnosis):
        value = record[field.name]
        if isinstance(value, np.void):
            values[field.name] = _finding(value)
        elif isinstance(value, np.ndarray):
            values[field.name] = tuple(value.tolist())
        else:
            values[field.name] = bool(value) if value.dtype == np.int32 else value.item()
    return Diagnosis(**values)


def _finding(record: Any) -> Finding:
    known = record["facet"] >= 0
    points = tuple((x, y, z) for x, y, z in record["point"][known].tolist())
    return Finding(int(record["count"]), tuple(record["facet"][known].tolist()), points)
