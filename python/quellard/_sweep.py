# SPDX-License-Identifier: ISC
"""Many renders with settings that vary."""

from __future__ import annotations

import json
import os
from collections.abc import Iterable, Iterator, Mapping
from pathlib import Path
from typing import Any, Union

from . import _core
from ._settings import Settings, Value, as_text, assignments

Takes = Union[str, "os.PathLike[str]", Iterable[Union[str, "os.PathLike[str]"]]]
Row = dict[str, Any]


class Task:
    """One render of a sweep. It can be pickled, and done where its files have the same names."""

    def __init__(self, text: str) -> None:
        self._text = text

    def __call__(self) -> Row:
        """Do it: see run_task()."""
        return run_task(self)

    @property
    def row(self) -> Row:
        """What is known before: "output" (below the sweep's folder), "input", "settings" ..."""
        row: Row = json.loads(self._text)["row"]
        return row

    def __reduce__(self) -> tuple[Any, ...]:
        return (Task, (self._text,))

    def __repr__(self) -> str:
        return f"<quellard.Task: {self.row['output']}>"


def run_task(task: Task) -> Row:
    """Render one task's file and return its row of the list.

    The file appears when it is complete, and a task that is done twice leaves the same file, so
    that a scheduler may send it out again when a worker dies. A file that is there, whole and made
    of the same, is not made again. Raises FileError.
    """
    row: Row = json.loads(_core.run_task(task._text))
    return row


class Sweep:
    """The plan of a sweep: a sequence of tasks. See sweep()."""

    def __init__(self, core: _core.Sweep) -> None:
        self._core = core

    def __len__(self) -> int:
        return len(self._core)

    def __iter__(self) -> Iterator[Task]:
        """The tasks, each with what the folder's list tells of its file at that time."""
        known = _core.read_manifest(self._core.folder)
        for number, output in enumerate(self._core.outputs()):
            yield Task(self._core.task(number, known.get(output, "")))

    @property
    def folder(self) -> Path:
        """Of the results, absolute."""
        return self._core.folder

    @property
    def manifest(self) -> Path:
        """The list of results: a JSON object a line, in the order of the sweep."""
        return self.folder / "manifest.jsonl"

    def run(self, jobs: int = 1, progress: bool = False) -> list[Row]:
        """Do all tasks here, on so many threads, and return the rows of the list.

        What is there and whole is not made again. A task that fails does not stop the others;
        after them FileError is raised. Ctrl-C ends it after the files that are being rendered.
        """
        result = self._core.run(jobs, progress)
        if result.errors:
            raise _core.FileError(f"{len(result.errors)} of {len(self)}: {result.errors[0]}")
        return [json.loads(row) for row in result.rows]

    def collect(self, rows: Iterable[Row]) -> list[Row]:
        """Write the list from what run_task() returned, wherever and in whatever order.

        Each row is kept as it comes, so that a sweep that is broken off goes on from there the next
        time. Returns the rows of this sweep in its order. Only one process may collect at a time.
        """
        manifest = _core.Manifest(self.folder)
        for row in rows:
            manifest.add(json.dumps(row))
        return [json.loads(row) for row in manifest.finish(self._core.outputs())]


def sweep(
    takes: Takes,
    folder: str | os.PathLike[str],
    *,
    grid: Mapping[str, str | Iterable[Value]] | None = None,
    random: int | None = None,
    seed: int = 0,
    channel: str | None = None,
    presence: float | None = None,
    bass: float | None = None,
    mid: float | None = None,
    treble: float | None = None,
    master: float | None = None,
    gain: float | None = None,
    preset: str | None = None,
    settings: Settings | None = None,
    automation: str | os.PathLike[str] | None = None,
    mono: bool = False,
    tail: float = 0.0,
    block: int = 512,
    type: str = "wav",
    format: str | None = None,
) -> Sweep:
    """Plan renders of the same takes with settings that vary, as `quellard sweep` does.

    takes       an audio file, a folder of them, or several of both
    folder      where the results go, and their list, manifest.jsonl
    grid        what varies: {"gain": [2, 5, 8], "channel": ["clean", "vintage"]}, or as on the
                command line: {"gain": "0:10:2.5"}, and {"gain": "0:10"} to draw from
    random      draw so many combinations for each take, instead of every one
    seed        another number draws others
    automation  a file of moves, for each render
    mono        play the mean of a take's channels through one amplifier
    type        file type of the results; format their sample format (32-bit float)
    and what render() knows, for each render.

    The plan reads the takes, checks all settings, and renders nothing:

        plan = quellard.sweep("takes/", "out/", grid={"gain": "0:10:2.5"})
        rows = plan.run(jobs=8)                                     # on this machine, or
        rows = plan.collect(f.result() for f in as_completed(client.map(quellard.run_task, plan)))

    Raises UsageError and FileError.
    """
    if random is not None and random < 1:
        raise _core.UsageError(f"random: {random} is below 1")
    axes: dict[str, str | list[str]] = {
        name: values if isinstance(values, str) else [as_text(name, value) for value in values]
        for name, values in (grid or {}).items()
    }
    options = {
        "random": random or 0,
        "seed": seed,
        "automation": os.fspath(automation) if automation is not None else "",
        "mono": mono,
        "tail": tail,
        "block": block,
        "type": type,
        "format": format or "",
    }
    several = [takes] if isinstance(takes, (str, os.PathLike)) else takes
    paths = [os.fspath(take) for take in several]
    named = assignments(
        preset,
        channel,
        settings,
        presence=presence,
        bass=bass,
        mid=mid,
        treble=treble,
        master=master,
        gain=gain,
    )
    return Sweep(_core.Sweep(paths, os.fspath(folder), named, axes, options))
