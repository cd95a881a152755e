# SPDX-License-Identifier: ISC
"""Playing arrays through the amplifier."""

from __future__ import annotations

import json
import os
from collections.abc import Iterable
from dataclasses import dataclass
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from . import _core
from ._settings import Settings, Value, assignments, move_line, number, whole

Audio = npt.NDArray[np.floating[Any]]
Moves = Union[str, "os.PathLike[str]", Iterable[tuple[float, str, Value]]]


@dataclass(frozen=True)
class Parameter:
    """One thing that can be set: a number from minimum to maximum, or one of the choices."""

    name: str
    title: str
    default: float | str
    minimum: float | None = None
    maximum: float | None = None
    unit: str = ""
    choices: tuple[str, ...] = ()


@dataclass(frozen=True)
class Preset:
    """Settings to start from. own: one of the user's, not of the factory."""

    name: str
    description: str
    own: bool
    settings: dict[str, float | str]


def parameters() -> list[Parameter]:
    """All that can be set, in the amplifier's order, with names, limits and defaults.

    Beside these, "preset", "program", "cab" and "cab_level" are settings, and a knob's bare name
    ("gain") is the one of the channel that plays.
    """
    return [Parameter(**row) for row in _core.parameters()]


def presets() -> list[Preset]:
    """The factory's presets, and then the user's own (~/.config/quellard/presets) by name."""
    return [
        Preset(**{**row, "settings": json.loads(row["settings"])}) for row in _core.presets()
    ]


def _automation(moves: Moves | None) -> _core.Automation | None:
    if moves is None:
        return None
    if isinstance(moves, (str, os.PathLike)):
        return _core.Automation(os.fsencode(moves), "")
    return _core.Automation("", "\n".join(move_line(move) for move in moves))


def render(
    x: Audio,
    rate: float,
    *,
    preset: str | None = None, settings: Settings | None = None, channel: str | None = None,
    presence: float | None = None, bass: float | None = None, mid: float | None = None,
    treble: float | None = None, master: float | None = None, gain: float | None = None,
    automation: Moves | None = None,
    block: int = 512,
    tail: float = 0.0,
    out: Audio | None = None,
) -> Audio:
    """Play a recording through the amplifier.

    x           float32 or float64, (samples,) or (channels, samples), with any strides and full
                scale at 1. Each channel has an amplifier of its own with the same settings.
    rate        Hz, a whole number from 1000 to 1000000
    preset      settings to start from, one of presets(); without one, every knob stands at 5
    settings    further ones by name: {"vintage_gain": 6, "gate": -60, "cab": "4x12.wav"}
    channel     "clean", "vintage" or "modern"; without it that of settings or preset, or modern
    presence to gain
                knobs of the channel that plays, 0 to 10; they count more than settings
    automation  moves while it plays: (seconds, name, value) each, or a file of such lines
    block       samples that are played at once. The result does not depend on it while no knob
                moves.
    tail        seconds of silence to play after the end, in which the sound rings out
    out         an array for the result, of the dtype of x; it may be x itself, without a tail

    Returns a new array of the dtype of x, or out, as long as x and the tail. Values beyond full
    scale stay. The same call gives the same bits on every machine of the same kind, and those of
    `quellard render`. Other threads of Python run meanwhile.

    Raises TypeError and ValueError for what is no such array; UsageError for NaN and infinity in it
    (out is then filled up to there), for unknown names and for values out of range; FileError for
    files.
    """
    named = assignments(locals())
    return _core.render(
        x,
        number("rate", rate),
        named,
        _automation(automation),
        whole("block", block),
        number("tail", tail),
        out,
    )


class Amplifier:
    """The amplifier for a stream of blocks, such as a training loop or a sound card makes them.

    rate        Hz, a whole number from 1000 to 1000000
    channels    of the audio, each with an amplifier of its own
    block       samples that are played at once; process() takes blocks of any length
    and the settings of set().

    It can be copied and pickled, which takes the settings along and begins from silence. Use one
    object in each thread: calls to the same one wait for each other.
    """

    def __init__(
        self,
        rate: float,
        channels: int = 1,
        *,
        block: int = 512,
        preset: str | None = None, settings: Settings | None = None, channel: str | None = None,
        presence: float | None = None, bass: float | None = None, mid: float | None = None,
        treble: float | None = None, master: float | None = None, gain: float | None = None,
    ) -> None:
        named = assignments(locals())
        self._amp = _core.StreamingAmp(
            number("rate", rate), whole("channels", channels), whole("block", block)
        )
        self._amp.set(named)

    def set(
        self,
        *,
        preset: str | None = None, settings: Settings | None = None, channel: str | None = None,
        presence: float | None = None, bass: float | None = None, mid: float | None = None,
        treble: float | None = None, master: float | None = None, gain: float | None = None,
    ) -> None:
        """Set knobs and the like, named as for render(); the others stay.

        A preset replaces the knobs of all channels, and leaves gate, levels and cabinet alone. The
        next call of process() begins to move there and takes 12 ms, without a click; before the
        first call the values hold at once. Wrong values raise UsageError and change nothing.
        """
        named = assignments(locals())
        if named:
            self._amp.set(named)

    def process(self, block: Audio, out: Audio | None = None) -> Audio:
        """Play a block: float32 or float64, (samples,) or (channels, samples), any length.

        Returns a new array of the same dtype and shape, or out, which may be the block itself. A
        block that holds NaN or infinity raises UsageError, and nothing of it is played.
        """
        return self._amp.process(block, out)

    def reset(self) -> None:
        """Begin again from silence, with the same settings."""
        self._amp.reset()

    @property
    def rate(self) -> int:
        """Hz."""
        return self._amp.rate

    @property
    def channels(self) -> int:
        """Channels of the audio."""
        return self._amp.channels

    @property
    def block(self) -> int:
        """The longest piece that is played at once, in samples."""
        return self._amp.block

    @property
    def settings(self) -> dict[str, float | str | None]:
        """All settings by name, as set() and render() take them."""
        settings: dict[str, float | str | None] = json.loads(self._amp.settings())
        return settings

    @property
    def texts(self) -> dict[str, str]:
        """The values as the amplifier shows them: {"modern_gain": "7.00", "gate": "Off", ...}."""
        return self._amp.texts()

    def __repr__(self) -> str:
        channel = self.settings["channel"]
        return f"<quellard.Amplifier: {channel}, {self.rate} Hz, {self.channels} channel(s)>"

    def __reduce__(self) -> tuple[Any, ...]:
        return (_restored, (type(self), self.rate, self.channels, self.block, self.settings))


def _restored(
    kind: type[Amplifier], rate: int, channels: int, block: int, settings: Settings
) -> Amplifier:
    return kind(rate, channels, block=block, settings=settings)
