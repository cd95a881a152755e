# SPDX-License-Identifier: ISC
"""A guitar amplifier for arrays: three channels (clean, vintage, modern) with six knobs each.

    import quellard
    loud = quellard.render(guitar, 48000, channel="modern", gain=7.0)

Audio is a NumPy array of float32 or float64 with full scale at 1, of the shape (samples,) or
(channels, samples); each channel has an amplifier of its own. The guitar should be as dry as it
comes out of an instrument input, with peaks of -6 to -2 dBFS for the presets. The samples are those
of the command `quellard render`, bit by bit.

render       a whole recording at once
Amplifier    a stream of blocks
sweep        many renders with settings that vary, here or on other machines
parameters   what can be set
presets      settings to start from, the factory's and the user's own

Settings go by the names that parameters() lists. A knob is a number from 0 to 10: "vintage_gain",
or "gain" for the channel that plays. "input" and "output" are levels in dB, "gate" is a threshold in
dBFS or "off", "cab" a file with the impulse response of a cabinet, "cab_level" its level in dB.

Wrong values raise UsageError, which is a ValueError; files that cannot be read or written raise
FileError, which is an OSError. The messages are those of the command.
"""

from ._amplifier import Amplifier, Parameter, Preset, parameters, presets, render
from ._core import FileError, UsageError
from ._core import version as __version__
from ._sweep import Sweep, SweepError, Task, run_task, sweep

__all__ = [
    "Amplifier",
    "FileError",
    "Parameter",
    "Preset",
    "Sweep",
    "SweepError",
    "Task",
    "UsageError",
    "parameters",
    "presets",
    "render",
    "run_task",
    "sweep",
]
