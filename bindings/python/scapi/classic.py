"""The fifteen calls on numbered slots, as objects that free their slots themselves.

For hosts that reproduce what the calls answer. Who asks whether two parts collide wants
`scapi.within` or `scapi.time_of_impact`: their CLEAR is a proof, the "none" of these calls is not.

    with Solid.from_stl("fixture.stl") as fixture, Solid.box((0, 0, 0), (10, 10, 60)) as tool:
        tool.move(start, end)                         # 4x4 matrices
        if fixture.is_hit_by(tool) or ...: ...

What NONE_FOUND means: no edge of B, anywhere on its way, came within 1e-4 of a triangle of A where
A was loaded. It does not mean that the two are clear of each other:

- One way round only. Where a spike of A pokes through a face of B no edge of B hits A: ask both
  ways. A solid inside another is not found either way.
- A is taken where it was loaded, whatever motion it has. For A at pose P and B at Q give B the pose
  P^-1 Q, and for the question the other way round give A the pose Q^-1 P.
- What moves belongs in the place of B: an A that was moved finds next to nothing in a B at rest.
- A motion is a straight translation of one shape. Its matrices are replaced by their mean: between
  different rotations neither end is tested. A solid that its matrices turn is swept by its normals
  as loaded, and hits can be missed: load it in the orientation in which it moves, or step it.
- Surfaces that coincide may answer either way, boxes that only touch never interfere, and beside
  short edges contact is reported from farther away than 1e-4.
- A mesh that is not closed can load without an error and is then never hit while it stands still:
  look at `Mesh.from_stl(path).diagnose()` first.
- A load takes the cache beside the file (same name, extension SLD) as long as the file's time, in
  whole seconds, is that of the cache, and writes one otherwise.

Where "none" could only be wrong, this module raises instead: a B that was never placed, a simple B,
matrices that are not finite, solids without triangles, a slot that was freed. The rest stands.

One call runs at a time, others wait; all 300 slots of the process belong to this module. Lengths
are in the unit of the files, matrices 4x4 with the translation in the last column, and may scale.
The calls: LoadSTL `Solid.from_stl`, LoadBox `Solid.box`, LoadCylinder `Solid.cylinder`, SaveSTL
`save_stl`, DefSweep `place` and `move`, DetectInterference `is_hit_by`, BboxesInterference
`boxes_can_meet`, Rotate `rotate`, GetVertex `vertices`, GetTriangles `triangles`, GetLoop `faces`,
GetBbox `bounds`, GetUsedRAM `used_bytes`, ReleaseSolids `release_solids`, Close `close`.
"""

from __future__ import annotations

import enum
import os
from collections import deque
from collections.abc import Callable
from types import TracebackType
from typing import NoReturn, TypeAlias, TypeVar, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _native
from ._arrays import floats
from ._mesh import PathLike
from ._pose import Pose
from .errors import Error

SLOT_COUNT = 300

_NOT_WRITTEN = 1

_MEANINGS = {
    -51: "the path is missing",
    -101: "the mesh is not closed: close it, or load it as a simple solid, which others can hit",
    -901: "there is no solid, or it has no triangles",
    -902: "there is no such slot",
    -903: "it is not thicker than 1e-4",
    65535: "the file is missing, or is no STL file",
}

MatrixLike: TypeAlias = Union[Pose, ArrayLike]
"""A pose, or a 4x4 matrix of finite numbers."""

N = TypeVar("N", np.float32, np.int32)


class SolidError(Error):
    """A call on a solid failed; `code` is what it returned."""


class Interference(enum.Enum):
    """The answer of `Solid.is_hit_by`. True for CONTACT."""

    CONTACT = 1
    NONE_FOUND = 2
    """No edge of B was found at a triangle of A. This does not mean clear: see `scapi.classic`."""

    def __bool__(self) -> bool:
        return self is Interference.CONTACT


# A deque, whose ends are safe without a lock: solids are freed whenever garbage is collected.
_free_slots = deque(range(SLOT_COUNT))
_generation = 0


def _fail(code: int, about: str) -> None:
    error = SolidError(f"{about}: {_MEANINGS.get(code, f'unknown result {code}')}")
    error.code = code
    raise error


def _finite(values: ArrayLike, shape: tuple[int, ...], name: str) -> NDArray[np.float32]:
    array = floats(values, shape, name)
    if not np.isfinite(array).all():
        raise ValueError(f"{name}: holds a number that is not finite; nothing would be hit")
    return array


def _matrix(matrix: MatrixLike, name: str) -> NDArray[np.float32]:
    return _finite(matrix.matrix if isinstance(matrix, Pose) else matrix, (4, 4), name)


class Solid:
    """A solid in a slot of its own, which is freed with the object, or by `free`, or at the end of
    a with-block. Make one with `from_stl`, `box` or `cylinder`."""

    __slots__ = ("_slot", "_born", "_simple", "_placed", "cache_written", "__weakref__")

    _slot: int
    _born: int
    _simple: bool
    _placed: bool
    cache_written: bool
    """False when the file was loaded, but no cache could be written beside it."""

    def __init__(self) -> None:
        raise TypeError("use Solid.from_stl, Solid.box or Solid.cylinder")

    @classmethod
    def _load(cls, load: Callable[[int], int], about: str) -> Solid:
        try:
            slot = _free_slots.popleft()
        except IndexError:
            raise SolidError(f"all {SLOT_COUNT} slots are in use: free a solid first") from None
        solid = cls.__new__(cls)
        solid._slot, solid._born, solid._simple, solid._placed = slot, _generation, False, False
        code = load(slot)
        if code == 0 or code == _NOT_WRITTEN:
            empty, _ = _native.classic_get_bbox(slot)
            code = empty or code
        solid.cache_written = code == 0
        if code not in (0, _NOT_WRITTEN):
            solid.free()
            _fail(code, about)
        return solid

    @classmethod
    def from_stl(cls, path: PathLike, *, simple: bool = False) -> Solid:
        """From an STL file, through the cache beside it.

        path    595 bytes at most; may end in "(STL_SWAP_ZXY)" or "(STL_SWAP_YZX)", which is no
                part of the name: x, y, z become y, z, x or z, x, y
        simple  a bag of triangles that can be hit, but has no edges that hit
        Raises `SolidError`: 65535 unreadable, -101 not closed, -901 no triangles in it. Only what
        stands before the first bad facet, and in the first section of a text file, is loaded:
        compare `bounds` with what the part measures.
        """
        name = os.fsencode(path)
        solid = cls._load(lambda slot: _native.classic_load_stl(slot, name, int(simple)),
                          os.fspath(path))
        solid._simple = simple
        return solid

    @classmethod
    def box(cls, low: ArrayLike, high: ArrayLike) -> Solid:
        """A box from corner low (3,) to high (3,), more than 1e-4 above it on each axis."""
        corners = np.concatenate([_finite(low, (3,), "low"), _finite(high, (3,), "high")])
        return cls._load(lambda slot: _native.classic_load_box(slot, corners), "box")

    @classmethod
    def cylinder(cls, start: ArrayLike, end: ArrayLike, radius: float) -> Solid:
        """A cylinder of 32 segments. Ends of the axis (3,), and the radius, all above 1e-4."""
        ends = _finite(start, (3,), "start"), _finite(end, (3,), "end")
        size = float(_finite([radius], (1,), "radius")[0])
        return cls._load(
            lambda slot: _native.classic_load_cylinder(slot, *ends, size), "cylinder")

    @property
    def slot(self) -> int:
        """The number of the slot, 0 to 299."""
        if self._slot < 0 or self._born != _generation:
            raise SolidError("the solid was freed")
        return self._slot

    def place(self, matrix: MatrixLike) -> None:
        """Places the solid, without moving it."""
        self.move(matrix, matrix)

    def move(self, start: MatrixLike, end: MatrixLike) -> None:
        """Moves the solid in a straight line; a rotation between the two is averaged away."""
        code = _native.classic_def_sweep(self.slot, _matrix(start, "start"), _matrix(end, "end"))
        if code:
            _fail(code, "move")
        self._placed = True

    def is_hit_by(self, b: Solid) -> Interference:
        """Does an edge of b, as placed or moved, hit a triangle of this solid where it was loaded?

        The module's text says what NONE_FOUND does not mean.
        """
        if not isinstance(b, Solid):
            raise TypeError(f"expected a Solid, got {type(b).__name__}")
        if b._simple:
            raise SolidError("b is a simple solid, without edges that hit: ask b.is_hit_by(a), or "
                             "load it as a full one")
        if not b._placed:
            raise SolidError("b was never placed: call b.place or b.move first, at rest with the "
                             "identity")
        code = _native.classic_detect_interference(self.slot, b.slot)
        if code < 0:
            _fail(code, "is_hit_by")
        return Interference(code)

    def boxes_can_meet(self, start: MatrixLike, end: MatrixLike, b: Solid, start_b: MatrixLike,
                       end_b: MatrixLike) -> bool:
        """Can this solid and b meet at all, each on its way from a start to an end?

        By boxes alone. True also where this solid moves, or a matrix has no inverse.
        """
        return _native.classic_bboxes_interference(
            self.slot, _matrix(start, "start"), _matrix(end, "end"), b.slot,
            _matrix(start_b, "start_b"), _matrix(end_b, "end_b")) == 1

    def rotate(self, matrix: MatrixLike) -> None:
        """Transforms the triangles in place and nothing else: `bounds`, `vertices` and what is hit
        go on describing the solid as it was loaded. To move it use `place`."""
        code = _native.classic_rotate(self.slot, _matrix(matrix, "matrix"))
        if code:
            _fail(code, "rotate")

    def save_stl(self, path: PathLike) -> None:
        """Writes the triangles, as refined by the load, as a binary STL file."""
        code = _native.classic_save_stl(self.slot, os.fsencode(path))
        if code == _NOT_WRITTEN:
            raise SolidError(f"{os.fspath(path)}: cannot be written")
        if code:
            _fail(code, "save_stl")

    @property
    def bounds(self) -> NDArray[np.float32]:
        """(2, 3): lowest and highest coordinates, at rest."""
        code, box = _native.classic_get_bbox(self.slot)
        if code:
            _fail(code, "bounds")
        return np.array(box, np.float32).reshape(2, 3)

    @property
    def vertices(self) -> NDArray[np.float32]:
        """(n, 3), at rest. A simple solid has none."""
        return self._walk(_native.classic_vertices, np.float32, 3)

    @property
    def faces(self) -> NDArray[np.int32]:
        """(m, 3) indices into vertices. A simple solid has none."""
        return self._walk(_native.classic_loops, np.int32, 3)

    @property
    def triangles(self) -> NDArray[np.float32]:
        """(m, 4, 3): three corners and the normal, at rest, as refined by the load."""
        return self._walk(_native.classic_triangles, np.float32, 12).reshape(-1, 4, 3)

    def _walk(self, read: Callable[[int], tuple[int, bytearray]], number: type[N],
              width: int) -> NDArray[N]:
        code, data = read(self.slot)
        if code:
            _fail(code, "reading back")
        return np.frombuffer(data, number).reshape(-1, width)

    def free(self) -> None:
        """Frees the slot. Can be called again."""
        slot, self._slot = self._slot, -1
        if slot >= 0 and self._born == _generation:
            _native.classic_load_stl(slot, None, 0)
            _free_slots.append(slot)

    def __reduce__(self) -> NoReturn:
        raise TypeError("a solid stands in a slot of its process: it has no copies")

    def __enter__(self) -> Solid:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.free()

    def __del__(self) -> None:
        # At the end of the interpreter the module may be gone, and the library goes with it.
        if getattr(self, "_slot", -1) >= 0 and _native is not None:
            self.free()


def used_bytes() -> int:
    """Bytes in the records of all solids."""
    return _native.classic_used_ram()


def release_solids() -> None:
    """Frees all solids; those that exist raise from then on."""
    _forget(_native.classic_release_solids)


def close() -> None:
    """As `release_solids`. The module can be used again at once."""
    _forget(_native.classic_close)


def _forget(release: Callable[[], int]) -> None:
    global _generation
    _generation += 1
    release()
    _free_slots.clear()
    _free_slots.extend(range(SLOT_COUNT))
