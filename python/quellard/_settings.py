# SPDX-License-Identifier: ISC
"""From what callers pass to what the module takes: numbers, and settings as names and texts."""

from __future__ import annotations

import math
import os
from collections.abc import Mapping
from typing import Any, Union

import numpy as np

Value = Union[str, float, "os.PathLike[str]", None]
Settings = Mapping[str, Value]
Assignments = list[tuple[bytes, bytes]]


def number(name: str, value: Any) -> float:
    """A number of any kind but a truth value."""
    if isinstance(value, (bool, np.bool_, str, bytes)) or not hasattr(value, "__float__"):
        raise TypeError(f"{name} is {value!r}: a number is needed")
    return float(value)


def whole(name: str, value: Any) -> int:
    """The same without a fraction, and small enough for a counter."""
    given = number(name, value)
    if not given.is_integer() or abs(given) >= 2**31:
        raise _usage(f"{name} is {value!r}: a whole number is needed")
    return int(given)


def as_text(name: str, value: Any) -> str:
    """The text of a value as one would type it, with all digits of a number."""
    if isinstance(value, (str, os.PathLike)):
        return os.fspath(value)
    if value is None and name == "cab":
        return "none"
    given = number(name, value)
    return str(int(given)) if given.is_integer() else repr(given)


def assignments(given: Mapping[str, Any]) -> Assignments:
    """The settings among a function's arguments, what counts more behind what counts less."""
    settings = given["settings"] or {}
    if not isinstance(settings, Mapping):
        raise TypeError(f"settings is {settings!r}: names and values are needed")
    knobs = ("channel", "presence", "bass", "mid", "treble", "master", "gain")
    named = [("preset", given["preset"]), *settings.items(), *((name, given[name]) for name in knobs)]
    # As bytes, since names of files may hold any.
    return [
        (os.fsencode(str(name)), os.fsencode(as_text(str(name), value)))
        for name, value in named
        if value is not None or name == "cab"
    ]


def move_line(move: Any) -> str:
    """One move as a line of a file of them."""
    try:
        seconds, name, value = move
    except (TypeError, ValueError):
        raise _usage(f"{move!r} is no move: seconds, name and value are needed") from None
    time = number("seconds", seconds)
    words = (str(name).replace(" ", "."), as_text(str(name), value))
    if not math.isfinite(time):
        raise _usage(f"seconds is {seconds!r}: a finite number is needed")
    if any(set(word) & set("#,; \t\r\n") or not word for word in words):
        raise _usage(f"{move!r} is no move: seconds, name and value are needed")
    return f"{time!r}, {words[0]}, {words[1]}"


def _usage(message: str) -> Exception:
    from ._core import UsageError

    return UsageError(message)
