"""Exceptions, one for each error of the library. The message says what is wrong and what to do.

All derive from `Error`; those about wrong arguments are `ValueError`s too, those about files
`OSError`s, those about memory `MemoryError`s.
"""

from __future__ import annotations

from . import _native


class Error(Exception):
    """An error of the library.

    code    its number in the library, 0 for those that only this package raises
    number  of the facet, pose or motion that is wrong, from 0; None where it is none's
    """

    code: int = 0
    number: int | None = None


class IndeterminateError(Error):
    """The truth of INDETERMINATE was asked for: it is neither contact nor clear."""


class SceneBusyError(Error, RuntimeError):
    """A scene was used while it is being checked, by another thread or by a progress callback."""


class ArgumentError(Error, ValueError):
    """A wrong argument."""


class NullError(ArgumentError):
    code = -2001


class OptionsError(ArgumentError):
    """A budget below 0, or a number of segments that is neither 0 nor 3 to 100000."""

    code = -2002


class ToleranceError(ArgumentError):
    code = -2003


class OutOfMemoryError(Error, MemoryError):
    code = -2004


class MeshError(Error, ValueError):
    """Triangles that make no mesh."""


class MeshFileError(MeshError, OSError):
    """The file is missing, or is no STL file."""

    code = -2010


class TruncatedFileError(MeshFileError):
    code = -2011


class FacetError(MeshFileError):
    code = -2012


class ChangedFileError(MeshFileError):
    """A mesh file holds something else than when the task that names it was made."""

    code = 0


class CoordinateError(MeshError):
    code = -2013


class EmptyMeshError(MeshError):
    code = -2014


class IndexRangeError(MeshError, IndexError):
    code = -2015


class ShapeError(MeshError):
    code = -2016


class TooManyTrianglesError(MeshError):
    code = -2017


class PoseError(ArgumentError):
    """What was passed is no rigid pose."""


class PoseNumberError(PoseError):
    code = -2020


class PoseTransposedError(PoseError):
    code = -2021


class PoseScaledError(PoseError):
    code = -2022


class PoseMirroredError(PoseError):
    code = -2023


class PoseNotRigidError(PoseError):
    code = -2024


class AxisError(PoseError):
    code = -2030


class HalfTurnError(PoseError):
    code = -2031


class BodyError(ArgumentError):
    code = -2040


class CancelledError(Error):
    code = -2041


def _all_subclasses(base: type[Error]) -> list[type[Error]]:
    return [c for sub in base.__subclasses__() for c in [sub, *_all_subclasses(sub)]]


BY_CODE: dict[int, type[Error]] = {c.code: c for c in _all_subclasses(Error) if c.code}


def from_code(code: int, what: str | None, number: int) -> Error:
    """The exception of a code.

    what, number  what it is about: the facet, pose or motion with this number; None for nothing
    """
    text = _native.error_text(code)
    error = BY_CODE.get(code, Error)(f"{what} {number}: {text}" if what else text)
    error.code = code
    if code == OptionsError.code:
        error.add_note(OptionsError.__doc__ or "")  # the text is about the interface in C
    error.number = number if what else None
    return error
