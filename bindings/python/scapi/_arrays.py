"""What users pass, as arrays that the native module can take."""

from __future__ import annotations

from typing import Any, TypeAlias

import numpy as np
from numpy.typing import ArrayLike, NDArray

Floats: TypeAlias = NDArray[np.float64]


def reals(values: ArrayLike, name: str) -> Floats:
    """Contiguous doubles. Refuses what is no real number: text, objects, complex numbers."""
    _refuse_mask(values, name)
    try:
        array = np.asarray(values)
        return np.ascontiguousarray(array.astype(np.float64, casting="same_kind", copy=False))
    except (TypeError, ValueError) as error:
        raise TypeError(f"{name}: expected an array of real numbers ({error})") from None


def _refuse_mask(values: object, name: str) -> None:
    if isinstance(values, np.ma.MaskedArray):
        raise TypeError(f"{name}: a masked array would lose its mask; pass what is to be asked")


def shaped(values: ArrayLike, shape: tuple[int, ...], name: str) -> Floats:
    """As `reals`, of one shape; -1 in it stands for any length."""
    array = reals(values, name)
    if not _fits(array.shape, shape):
        wanted = ", ".join("n" if length < 0 else str(length) for length in shape)
        raise ValueError(f"{name}: expected shape ({wanted}), got {array.shape}")
    return array


def _fits(shape: tuple[int, ...], wanted: tuple[int, ...]) -> bool:
    return len(shape) == len(wanted) and all(w in (-1, s) for s, w in zip(shape, wanted))


def floats(values: ArrayLike, shape: tuple[int, ...], name: str) -> NDArray[np.float32]:
    """As `shaped`, rounded to single precision; what overflows becomes infinite."""
    with np.errstate(over="ignore"):
        return shaped(values, shape, name).astype(np.float32)


def indices(values: ArrayLike, name: str) -> NDArray[np.int32]:
    """Triangles as rows of three vertex numbers. Never wraps a number that 32 bits cannot hold."""
    _refuse_mask(values, name)
    array: NDArray[Any] = np.asarray(values)
    if array.size == 0:
        array = np.empty((0, 3), np.int32)
    if array.dtype.kind not in "iu":
        raise TypeError(f"{name}: expected integers, got {array.dtype}")
    if not _fits(array.shape, (-1, 3)):
        raise ValueError(f"{name}: expected shape (n, 3), got {array.shape}")
    # Beyond 32 bits a number names no vertex; -1 lets the library say which facet it is.
    wide = (array < 0) | (array > np.iinfo(np.int32).max)
    return np.ascontiguousarray(np.where(wide, -1, array).astype(np.int32))
