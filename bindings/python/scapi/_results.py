"""Answers: verdicts, and the results that hold them."""

from __future__ import annotations

import enum
from collections.abc import Iterable, Iterator
from dataclasses import dataclass
from typing import Any, Generic, TypeAlias, TypeVar, overload

import numpy as np
from numpy.typing import NDArray

from . import _native, errors

Point: TypeAlias = tuple[float, float, float]
Records: TypeAlias = NDArray[Any]


class Verdict(enum.Enum):
    """What was shown.

    The truth value means contact: CONTACT, INSIDE and START_CONTACT are true, CLEAR is false, and
    INDETERMINATE raises `IndeterminateError`, so that `not` can never make it "clear".
    """

    INDETERMINATE = 0
    """Neither was shown within the budget; the result holds what is known."""
    CLEAR = 1
    """Proven: further apart than the tolerance, and neither inside the other."""
    CONTACT = 2
    """At most tolerance + resolution apart."""
    INSIDE = 3
    """The surfaces are apart, but one solid lies in the other."""
    START_CONTACT = 4
    """Of a motion: contact where it starts."""

    def __bool__(self) -> bool:
        if self is Verdict.INDETERMINATE:
            raise errors.IndeterminateError(
                "the verdict is INDETERMINATE, neither contact nor clear: compare it with "
                "Verdict.CLEAR, or ask again with a larger budget or other tolerance"
            )
        return self is not Verdict.CLEAR


class Relation(enum.Enum):
    """How two bodies lie to each other."""

    UNKNOWN = 0
    """Not asked for, not closed where it matters, or not to be told."""
    APART = 1
    TOUCHING = 2
    """The surfaces meet, no two triangles cross; also where they coincide."""
    CROSSING = 3
    """Triangles cross."""
    A_IN_B = 4
    """A connected part of A lies inside B, the surfaces are apart."""
    B_IN_A = 5


class Kind(enum.Enum):
    """Of a pair of triangles in contact."""

    NEAR = 0
    """Apart, within the tolerance."""
    TOUCHING = 1
    """A point or an edge of one reaches the other."""
    CROSSING = 2
    """They cross, along the segment."""
    COPLANAR = 3
    """In one plane, overlapping."""


def _members(kind: type[enum.Enum]) -> NDArray[np.object_]:
    """The members by their numbers: an array of numbers as index gives an array of members."""
    members = np.empty(len(kind), object)
    for member in kind:
        members[member.value] = member
    return members


VERDICTS, RELATIONS, KINDS = _members(Verdict), _members(Relation), _members(Kind)
_native.register(errors.from_code, tuple(VERDICTS), tuple(RELATIONS))


# Results are not frozen: that would make the single query half as slow again.
@dataclass(slots=True)
class Result:
    """How near two placed bodies are. True when they are in contact, see `Verdict`.

    verdict, relation       see `Verdict` and `Relation`
    lower, upper            lower <= distance of the surfaces <= upper, certified, in the unit of
                            the meshes; upper is infinite where nothing was met below the bound
    point_a, point_b        closest points found, world coordinates; zeros where upper is infinite
    triangle_a, triangle_b  their triangles, in the order of the input; -1 where upper is infinite
    tests                   spent of the budget
    """

    verdict: Verdict
    relation: Relation
    lower: float
    upper: float
    point_a: Point
    point_b: Point
    triangle_a: int
    triangle_b: int
    tests: int

    def __bool__(self) -> bool:
        return bool(self.verdict)


@dataclass(slots=True)
class Distance(Result):
    """The answer of `distance`: a `Result` without truth value, for "if distance" reads as "if
    apart", and would mean contact."""

    def __bool__(self) -> bool:
        raise TypeError("a distance is neither true nor false: compare its verdict, lower or upper")


@dataclass(slots=True)
class Impact:
    """When two moving bodies first touch. True when they do, see `Verdict`.

    verdict                 CLEAR, CONTACT, START_CONTACT, INSIDE (at the start) or INDETERMINATE
    relation                at the start
    t_clear                 proven: surfaces further apart than the tolerance at all times below it;
                            while the relation is UNKNOWN one may still be inside the other
    t_contact               of CONTACT, START_CONTACT: at most tolerance + resolution apart then;
                            else 1
    lower, upper            of contact: distance of the triangles named at t_contact
    point_a, point_b        of contact: their closest points, world coordinates
    normal                  of contact: unit vector from A to B there
    clearance               the least distance met; the true least one is not above it, and of CLEAR
                            not below the tolerance
    triangle_a, triangle_b  -1 without contact
    tests                   spent of the budget
    """

    verdict: Verdict
    relation: Relation
    t_clear: float
    t_contact: float
    lower: float
    upper: float
    point_a: Point
    point_b: Point
    normal: Point
    clearance: float
    triangle_a: int
    triangle_b: int
    tests: int

    def __bool__(self) -> bool:
        return bool(self.verdict)


# The layouts of the library's records.
RESULT = np.dtype(
    [("verdict", "i4"), ("relation", "i4"), ("lower", "f8"), ("upper", "f8"),
     ("point_a", "f8", 3), ("point_b", "f8", 3), ("triangle_a", "i4"), ("triangle_b", "i4"),
     ("tests", "i8")], align=True)
IMPACT = np.dtype(
    [("verdict", "i4"), ("relation", "i4"), ("t_clear", "f8"), ("t_contact", "f8"),
     ("lower", "f8"), ("upper", "f8"), ("point_a", "f8", 3), ("point_b", "f8", 3),
     ("normal", "f8", 3), ("clearance", "f8"), ("triangle_a", "i4"), ("triangle_b", "i4"),
     ("tests", "i8")], align=True)
CONTACT = np.dtype(
    [("triangle_a", "i4"), ("triangle_b", "i4"), ("kind", "i4"), ("certain", "i4"),
     ("lower", "f8"), ("upper", "f8"), ("point_a", "f8", 3), ("point_b", "f8", 3),
     ("segment", "f8", (2, 3))], align=True)
PAIR = np.dtype([("body_a", "i4"), ("body_b", "i4"), ("impact", IMPACT)], align=True)

T = TypeVar("T")
Self = TypeVar("Self", bound="_Many[Any]")


class _Many(Generic[T]):
    """As many answers as there were questions, in their order; its fields are arrays.

    An index gives one answer, a slice or mask several. There is no truth value: ask `clear.all()`.
    """

    __slots__ = ("records", "verdict", "relation")

    records: Records
    """The library's records, a structured array."""
    verdict: NDArray[np.object_]
    """(n,) of `Verdict`: objects, not numbers, whose any() and all() would mislead."""
    relation: NDArray[np.object_]
    """(n,) of `Relation`."""

    def __init__(self, records: Records) -> None:
        self.records = records
        self.verdict = VERDICTS[records["verdict"]]
        self.relation = RELATIONS[records["relation"]]

    def __len__(self) -> int:
        return len(self.records)

    def __bool__(self) -> bool:
        raise TypeError("many answers are neither true nor false: ask clear.all(), or each verdict")

    def __iter__(self) -> Iterator[T]:
        return (self[i] for i in range(len(self)))

    @overload
    def __getitem__(self, index: int) -> T: ...

    @overload
    def __getitem__(self: Self, index: slice | NDArray[Any]) -> Self: ...

    def __getitem__(self, index: Any) -> Any:
        """One answer; of a slice, a mask or an array of indices as many."""
        record = self.records[index]
        return type(self)(record) if isinstance(record, np.ndarray) else self._one(record)

    @staticmethod
    def _one(record: Any) -> Any:
        raise NotImplementedError

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.records,)

    def __eq__(self, other: object) -> bool:
        return (isinstance(other, _Many) and type(other) is type(self)
                and np.array_equal(self.records, other.records))

    def __repr__(self) -> str:
        counts = [(np.count_nonzero(self.verdict == verdict), verdict.name) for verdict in Verdict]
        found = ", ".join(f"{count} {name}" for count, name in counts if count)
        return f"<{type(self).__name__}: {found or 'none'}>"

    @classmethod
    def join(cls: type[Self], parts: Iterable[Self]) -> Self:
        """One after the other, as one."""
        return cls(np.concatenate([part.records for part in parts]))

    @property
    def clear(self) -> NDArray[np.bool_]:
        """(n,) where CLEAR was proven. The rest is contact or INDETERMINATE."""
        return np.asarray(self.records["verdict"] == Verdict.CLEAR.value)

    @property
    def lower(self) -> NDArray[np.float64]:
        return self.records["lower"]

    @property
    def upper(self) -> NDArray[np.float64]:
        return self.records["upper"]

    @property
    def point_a(self) -> NDArray[np.float64]:
        """(n, 3)"""
        return self.records["point_a"]

    @property
    def point_b(self) -> NDArray[np.float64]:
        """(n, 3)"""
        return self.records["point_b"]

    @property
    def triangle_a(self) -> NDArray[np.int32]:
        return self.records["triangle_a"]

    @property
    def triangle_b(self) -> NDArray[np.int32]:
        return self.records["triangle_b"]

    @property
    def tests(self) -> NDArray[np.int64]:
        return self.records["tests"]


def _plain(record: Any, dtype: np.dtype[Any]) -> list[Any]:
    """The fields of a record behind verdict and relation, as numbers and tuples of them."""
    values = (record[name].tolist() for name in (dtype.names or ())[2:])
    return [tuple(value) if isinstance(value, list) else value for value in values]


class Results(_Many[Result]):
    """Answers of `within_many` and `distance_many`: the fields of `Result` as arrays."""

    __slots__ = ()

    @staticmethod
    def _one(record: Any) -> Result:
        return Result(VERDICTS[record["verdict"]], RELATIONS[record["relation"]],
                      *_plain(record, RESULT))


class Impacts(_Many[Impact]):
    """Answers of `time_of_impact_many`: the fields of `Impact` as arrays."""

    __slots__ = ()

    @staticmethod
    def _one(record: Any) -> Impact:
        return impact_of(record)

    @property
    def t_clear(self) -> NDArray[np.float64]:
        return self.records["t_clear"]

    @property
    def t_contact(self) -> NDArray[np.float64]:
        return self.records["t_contact"]

    @property
    def normal(self) -> NDArray[np.float64]:
        """(n, 3)"""
        return self.records["normal"]

    @property
    def clearance(self) -> NDArray[np.float64]:
        return self.records["clearance"]


def impact_of(record: Any) -> Impact:
    return Impact(VERDICTS[record["verdict"]], RELATIONS[record["relation"]],
                  *_plain(record, IMPACT))


class Contacts:
    """All pairs of triangles within the tolerance, sorted by their numbers. True when there is
    contact, see `Verdict`; len() is the number of pairs held.

    verdict, relation  of the bodies
    count              of pairs found, those beyond the limit included
    truncated          pairs are missing, for the limit or the budget
    exhausted          the budget ran out: count is too small
    tests              spent of the budget
    """

    __slots__ = ("verdict", "relation", "count", "truncated", "exhausted", "tests", "records",
                 "kind")

    records: Records
    """The library's records, a structured array."""
    kind: NDArray[np.object_]
    """(n,) of `Kind`."""

    def __init__(self, verdict: Verdict, relation: Relation, count: int, truncated: bool,
                 exhausted: bool, tests: int, records: Records) -> None:
        self.verdict, self.relation = verdict, relation
        self.count, self.truncated, self.exhausted, self.tests = count, truncated, exhausted, tests
        self.records = records
        self.kind = KINDS[records["kind"]]

    @classmethod
    def of(cls, *fields: Any) -> Contacts:
        """From what the native module gives: the records, last, as bytes."""
        verdict, relation, count, truncated, exhausted, tests, records = fields
        return cls(verdict, relation, count, truncated, exhausted, tests,
                   np.frombuffer(records, CONTACT))

    def __bool__(self) -> bool:
        return bool(self.verdict)

    def __len__(self) -> int:
        return len(self.records)

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.verdict, self.relation, self.count, self.truncated, self.exhausted,
                            self.tests, self.records)

    def __repr__(self) -> str:
        return f"<Contacts: {self.verdict.name}, {self.relation.name}, {self.count} pairs>"

    @property
    def triangle_a(self) -> NDArray[np.int32]:
        return self.records["triangle_a"]

    @property
    def triangle_b(self) -> NDArray[np.int32]:
        return self.records["triangle_b"]

    @property
    def certain(self) -> NDArray[np.bool_]:
        """(n,) where upper is at most tolerance + resolution."""
        return np.asarray(self.records["certain"] == 1)

    @property
    def lower(self) -> NDArray[np.float64]:
        return self.records["lower"]

    @property
    def upper(self) -> NDArray[np.float64]:
        return self.records["upper"]

    @property
    def point_a(self) -> NDArray[np.float64]:
        """(n, 3) closest points, world coordinates."""
        return self.records["point_a"]

    @property
    def point_b(self) -> NDArray[np.float64]:
        """(n, 3)"""
        return self.records["point_b"]

    @property
    def segment(self) -> NDArray[np.float64]:
        """(n, 2, 3): of CROSSING the ends of the intersection, else the middle of the points."""
        return self.records["segment"]
