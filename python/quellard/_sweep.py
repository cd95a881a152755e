# SPDX-License-Identifier: ISC
"""Many renders with settings that vary."""

from __future__ import annotations

import json
import os
from collections.abc import Iterable, Iterator, Mapping, Sequence
from pathlib import Path
from typing import Any, Union, overload

from . import _core
from ._settings import Settings, Value, as_text, assignments, number, whole

Takes = Union[str, "os.PathLike[str]", Iterable[Union[str, "os.PathLike[str]"]]]
Row = dict[str, Any]


class SweepError(_core.FileError):
    """Some renders of a sweep failed; the others are made and listed.

    rows: those of the list. errors: a sentence for each that failed.
    """

    def __init__(self, errors: list[str], rows: list[Row]) -> None:
        more = f", and {len(errors) - 1} more" if len(errors) > 1 else ""
        super().__init__(errors[0] + more)
        self.errors = errors
        self.rows = rows


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

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Task) and self._text == other._text

    def __hash__(self) -> int:
        return hash(self._text)

    def __reduce__(self) -> tuple[Any, ...]:
        return (Task, (self._text,))

    def __repr__(self) -> str:
        return f"<quellard.Task: {self.row['output']}>"


def run_task(task: Task) -> Row:
    """Render one task's file and return its row of the list.

    The file appears when it is complete, and a task that is done twice leaves the same file (but for
    Ogg and Opus, whose files have random numbers in them), so that a scheduler may send it out again
    when a worker dies. A file that the list knew when the plan was gone through, and that is whole
    and made of the same, is not made again. Where a file cannot be read or written the row has
    "output", "input" and "error" alone.
    """
    try:
        row: Row = json.loads(_core.run_task(task._text))
    except _core.FileError as error:
        planned = task.row
        row = {"output": planned["output"], "input": planned["input"], "error": str(error)}
    return row


class Sweep(Sequence[Task]):
    """The plan of a sweep: a sequence of tasks. See sweep()."""

    def __init__(self, core: _core.Sweep) -> None:
        self._core = core

    def __len__(self) -> int:
        return len(self._core)

    @overload
    def __getitem__(self, index: int) -> Task: ...
    @overload
    def __getitem__(self, index: slice) -> list[Task]: ...
    def __getitem__(self, index: int | slice) -> Task | list[Task]:
        """Tasks, each with what the folder's list tells of its file now."""
        numbers = range(len(self))[index]
        if isinstance(numbers, range):
            return list(self._tasks(numbers))
        return next(self._tasks([numbers]))

    def __iter__(self) -> Iterator[Task]:
        """All tasks, each with what the folder's list tells of its file at the beginning."""
        return self._tasks(range(len(self)))

    def _tasks(self, numbers: Iterable[int]) -> Iterator[Task]:
        known = _core.read_manifest(self._core.folder)
        outputs = self._core.outputs()
        for number in numbers:
            yield Task(self._core.task(number, known.get(outputs[number], "")))

    @property
    def folder(self) -> Path:
        """Of the results, absolute."""
        return self._core.folder

    @property
    def manifest(self) -> Path:
        """The list of results: a JSON object a line, in the order of the sweep."""
        return self.folder / "manifest.jsonl"

    @property
    def errors(self) -> list[str]:
        """A sentence for each take that cannot be read. They have no tasks."""
        return self._core.errors

    def run(self, jobs: int = 1, progress: bool = False) -> list[Row]:
        """Do all tasks here, on so many threads, and return the rows of the list.

        progress draws a bar on standard error. What is there and whole is not made again. A task
        that fails does not stop the others; after them SweepError is raised. Ctrl-C ends it after
        the files that are being rendered.
        """
        result = self._core.run(whole("jobs", jobs), progress)
        return self._listed(result.rows, result.errors)

    def collect(self, rows: Iterable[Row]) -> list[Row]:
        """Write the list from what run_task() returned, wherever and in whatever order.

        Each row is kept as it comes, so that a sweep that is broken off goes on from there the next
        time. Returns the rows of this sweep in its order; where some renders failed, SweepError is
        raised after all. Only one process may collect at a time.
        """
        outputs = self._core.outputs()
        planned = set(outputs)
        errors = self.errors
        manifest = _core.Manifest(self.folder)
        try:
            for row in rows:
                if row.get("output") not in planned:
                    raise _core.UsageError(f"{row!r} is no row of this sweep")
                if "error" in row:
                    errors.append(row["error"])
                else:
                    manifest.add(json.dumps(row))
            self._core.remove_leftovers()
            return self._listed(manifest.finish(outputs), errors)
        finally:
            manifest.close()

    @staticmethod
    def _listed(texts: list[str], errors: list[str]) -> list[Row]:
        rows = [json.loads(text) for text in texts]
        if errors:
            raise SweepError(errors, rows)
        return rows

    def __repr__(self) -> str:
        return f"<quellard.Sweep: {len(self)} tasks into {self.folder}>"


def sweep(
    takes: Takes,
    folder: str | os.PathLike[str],
    *,
    grid: Mapping[str, str | float | Iterable[Value]] | None = None,
    random: int | None = None,
    seed: int = 0,
    preset: str | None = None, settings: Settings | None = None, channel: str | None = None,
    presence: float | None = None, bass: float | None = None, mid: float | None = None,
    treble: float | None = None, master: float | None = None, gain: float | None = None,
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
    and what render() knows, for each render. What grid names counts more than these, but for a
    preset, which comes before all knobs.

    The plan reads the takes, checks all settings, and makes nothing:

        plan = quellard.sweep("takes/", "out/", grid={"gain": "0:10:2.5"})
        rows = plan.run(jobs=8)                                     # on this machine, or
        rows = plan.collect(f.result() for f in as_completed(client.map(quellard.run_task, plan)))

    Raises UsageError, and FileError for all but single takes, which are named in Sweep.errors.
    """
    named = assignments(locals())
    if random is not None and whole("random", random) < 1:
        raise _core.UsageError(f"random: {random} is below 1")
    options = {
        "random": whole("random", random or 0),
        "seed": whole("seed", seed),
        "automation": os.fsencode(automation) if automation is not None else b"",
        "mono": bool(mono),
        "tail": number("tail", tail),
        "block": whole("block", block),
        "type": str(type),
        "format": format or "",
    }
    several = [takes] if isinstance(takes, (str, os.PathLike)) else takes
    paths = [os.fspath(take) for take in several]
    return Sweep(_core.Sweep(paths, os.fspath(folder), named, _axes(grid), options))


def _axes(
    grid: Mapping[str, str | float | Iterable[Value]] | None,
) -> list[tuple[str, str | list[bytes]]]:
    if grid is not None and not isinstance(grid, Mapping):
        raise TypeError(f"grid is {grid!r}: names and values are needed")
    axes: list[tuple[str, str | list[bytes]]] = []
    for name, values in (grid or {}).items():
        if isinstance(values, str):
            axes.append((str(name), values))
        else:
            listed = values if isinstance(values, Iterable) else [values]
            axes.append((str(name), [os.fsencode(as_text(name, value)) for value in listed]))
    return axes
