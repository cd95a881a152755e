# SPDX-License-Identifier: ISC
"""Settings from keyword arguments, as names and texts in the order in which they apply."""

from __future__ import annotations

import os
from collections.abc import Mapping
from typing import Any, Union

Value = Union[str, float, "os.PathLike[str]", None]
Settings = Mapping[str, Value]
Assignments = list[tuple[str, str]]


def as_text(name: str, value: Any) -> str:
    """The text of a value as one would type it, with all digits of a number."""
    if isinstance(value, str):
        return value
    if isinstance(value, os.PathLike):
        return str(os.fspath(value))
    if value is None and name == "cab":
        return "none"
    if isinstance(value, bool) or not hasattr(value, "__float__"):
        raise TypeError(f"{name} is {value!r}: a number or a text is needed")
    return repr(float(value))


def assignments(
    preset: str | None = None,
    channel: str | None = None,
    settings: Settings | None = None,
    **knobs: float | None,
) -> Assignments:
    """What of these is not None. Single knobs count more than settings, and these more than presets."""
    named: dict[str, Any] = {"preset": preset, **(settings or {})}
    singles: dict[str, Any] = {"channel": channel, **knobs}
    for name, value in singles.items():
        if value is not None:
            named[name] = value
    return [
        (str(name), as_text(str(name), value))
        for name, value in named.items()
        if value is not None or name == "cab"
    ]
