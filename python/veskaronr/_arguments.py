"""Numbers from callers, refused by name where they are none."""

from __future__ import annotations

from operator import index
from typing import Any, Iterable


def number(what: str, value: Any) -> float:
    if (
        isinstance(value, (str, bytes, bytearray))
        or not hasattr(value, "__float__")
        and not hasattr(value, "__index__")
    ):
        raise TypeError(f"{what} must be a number, not {value!r}")
    try:
        return float(value)
    except OverflowError:
        raise ValueError(f"{what} is too large a number") from None


def table(what: str, values: Any, *shape: int) -> Any:
    """Numbers of this shape, as nested tuples."""
    if isinstance(values, (str, bytes, bytearray)):
        raise TypeError(f"{what} must be numbers, not {values!r:.60}")
    if not shape:
        return number(what, values)
    try:
        taken = tuple(values)
    except TypeError:
        raise TypeError(f"{what} must be {' x '.join(map(str, shape))} numbers, not {values!r:.60}") from None
    if len(taken) != shape[0]:
        raise ValueError(f"{what} must be {' x '.join(map(str, shape))} numbers, not {len(taken)}")
    return tuple(table(what, value, *shape[1:]) for value in taken)


def integer(what: str, value: Any) -> int:
    try:
        return index(value)
    except TypeError:
        raise TypeError(f"{what} must be an integer, not {value!r}") from None


def integers(what: str, values: Iterable[Any], count: int | None = None) -> list[int]:
    """As many integers as wanted."""
    try:
        taken = [index(value) for value in values]
    except TypeError:
        raise TypeError(f"{what} must be integers, not {values!r}") from None
    if count is not None and len(taken) != count:
        raise ValueError(f"{what} must be {count} integers, not {len(taken)}")
    return taken
