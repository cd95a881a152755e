# SPDX-License-Identifier: ISC
"""Sweeps leave the same files and list, however often they are broken off and however many work."""

import hashlib
import json
import os
import pickle
import random
import signal
import subprocess
import time
from pathlib import Path

import numpy as np
import pytest
import quellard
from conftest import COMMAND, ENVIRONMENT, RATE, SLOW, command, pluck, write_wav


@pytest.fixture
def takes(tmp_path):
    folder = tmp_path / "takes"
    (folder / "more").mkdir(parents=True)
    write_wav(folder / "a.wav", pluck())
    write_wav(folder / "more" / "b.wav", np.stack([pluck(0.2), pluck(0.2, 146.8)]), 44100)
    return folder


def content(folder):
    """All files below a folder, by name."""
    return {
        str(path.relative_to(folder)): path.read_bytes()
        for path in sorted(Path(folder).rglob("*"))
        if path.is_file()
    }


def rows_of(folder):
    return [json.loads(line) for line in (Path(folder) / "manifest.jsonl").read_text().splitlines()]


def test_every_combination_is_the_render_that_its_row_tells(takes, tmp_path, by_command):
    out = tmp_path / "out"
    command(
        "sweep", takes, "-o", out, "--grid", "gain=1:9:4", "--grid", "channel=clean,vintage",
        "--bass", "3", "--gate", "-60", "--format", "double", "-j", "2",
    )  # fmt: skip
    rows = rows_of(out)
    told = [(row["input"], row["settings"]["channel"]) for row in rows]
    names = [str(takes / "a.wav"), str(takes / "more" / "b.wav")]
    assert told == [(name, channel) for name in names for _ in range(3) for channel in ("clean", "vintage")]
    for row in rows:
        data = (out / row["output"]).read_bytes()
        assert hashlib.sha256(data).hexdigest() == row["sha256"]
        assert hashlib.sha256(Path(row["input"]).read_bytes()).hexdigest() == row["input_sha256"]
        settings = row["settings"]
        assert settings[f"{settings['channel']}_bass"] == 3.0 and settings["gate"] == -60.0
        take = pluck() if row["channels"] == 1 else np.stack([pluck(0.2), pluck(0.2, 146.8)])
        expected = quellard.render(take, row["rate"], settings=settings)
        played = np.frombuffer(data[-expected.nbytes :]).reshape(-1, row["channels"]).T
        np.testing.assert_array_equal(played, np.atleast_2d(expected))
        assert row["frames"] == expected.shape[-1]
        assert row["seconds"] == row["frames"] / row["rate"]
        peak = 20 * np.log10(np.abs(expected).max())
        assert row["peak_dbfs"] == pytest.approx(peak, abs=1e-9)
    gains = [row["settings"][f"{row['settings']['channel']}_gain"] for row in rows[:6]]
    assert gains == [1.0, 1.0, 5.0, 5.0, 9.0, 9.0]


def test_any_number_of_jobs_and_the_package_give_the_same_bytes(takes, tmp_path):
    grid = ["--grid", "gain=0:10", "--grid", "channel=clean,vintage,modern", "--random", "6", "--seed", "7"]
    for jobs in (1, 3):
        command("sweep", takes, "-o", tmp_path / f"j{jobs}", *grid, "-j", jobs)
    expected = content(tmp_path / "j1")
    assert len(expected) == 13
    assert content(tmp_path / "j3") == expected
    plan = quellard.sweep(
        takes, tmp_path / "py", grid={"gain": "0:10", "channel": ["clean", "vintage", "modern"]},
        random=6, seed=7,
    )  # fmt: skip
    rows = plan.run(jobs=2)
    assert content(tmp_path / "py") == expected
    assert rows == rows_of(tmp_path / "py")
    # By tasks, in any order, over a copy of each.
    other = quellard.sweep(
        takes, tmp_path / "tasks", grid={"gain": "0:10", "channel": ["clean", "vintage", "modern"]},
        random=6, seed=7,
    )  # fmt: skip
    tasks = [pickle.loads(pickle.dumps(task)) for task in other]
    random.Random(1).shuffle(tasks)
    assert other.collect(task() for task in tasks) == rows
    assert content(tmp_path / "tasks") == expected


def test_draws_differ_by_take_and_seed_and_stay_when_a_take_is_added(takes, tmp_path):
    def drawn(*arguments):
        lines = command("sweep", *arguments, "-o", tmp_path / "out", "--dry-run", "--grid", "gain=0:10",
                        "--random", "20").splitlines()  # fmt: skip
        return {name: [row["settings"]["modern_gain"] for row in map(json.loads, lines)
                       if row["input"].endswith(name)] for name in ("a.wav", "b.wav")}  # fmt: skip

    both = drawn(takes)
    assert len(set(both["a.wav"])) == 20
    assert all(0 <= gain <= 10 and round(gain, 2) == gain for gain in both["a.wav"])
    assert both["a.wav"] != both["b.wav"]
    assert drawn(takes / "a.wav")["a.wav"] == both["a.wav"]
    assert drawn(takes, "--seed", "1")["a.wav"] != both["a.wav"]
    assert not (tmp_path / "out").exists()


def test_what_is_whole_stays_and_the_rest_is_made_again(takes, tmp_path):
    out = tmp_path / "out"
    arguments = ["sweep", takes, "-o", out, "--grid", "gain=0:10:2", "--json"]
    assert json.loads(command(*arguments))["made"] == 12
    expected = content(out)
    files = [out / row["output"] for row in rows_of(out)]
    files[1].unlink()
    damaged = bytearray(files[2].read_bytes())
    damaged[-1] ^= 1
    files[2].write_bytes(damaged)
    times = [file.stat().st_mtime_ns for file in files if file.exists()]
    told = json.loads(command(*arguments))
    assert (told["made"], told["kept"]) == (2, 10)
    assert content(out) == expected
    again = [file.stat().st_mtime_ns for file in files]
    assert [again[0], *again[3:]] == [times[0], *times[2:]]
    # A finer grid, and another sweep in the same folder, keep what is there in the list.
    finer = json.loads(command(*arguments[:-3], "--grid", "gain=0:10:1", "--json"))
    assert (finer["made"], finer["kept"]) == (10, 12)
    assert json.loads(command(*arguments))["kept"] == 12
    assert len(rows_of(out)) == 22
    assert [row["output"] for row in rows_of(out)][:12] == [str(file.relative_to(out)) for file in files]
    # Another take under the same name is another render.
    write_wav(takes / "a.wav", pluck(pitch=98.0))
    told = json.loads(command(*arguments))
    assert (told["made"], told["kept"]) == (6, 6)


def test_killed_at_any_moment_it_goes_on(takes, tmp_path):
    def arguments(out):
        return ["sweep", takes, "-o", out, "--grid", "gain=0:10", "--random", 60 // SLOW, "-j", 2, "-q"]

    started = time.monotonic()
    command(*arguments(tmp_path / "undisturbed"))
    whole = time.monotonic() - started
    expected = content(tmp_path / "undisturbed")
    moments = random.Random(5)
    killed = 0
    for _ in range(20):
        running = subprocess.Popen(
            [COMMAND, *map(str, arguments(tmp_path / "killed"))], env=ENVIRONMENT
        )
        time.sleep(moments.uniform(0.0, whole / 8))
        running.kill()
        killed += running.wait() == -signal.SIGKILL
    assert killed >= 10
    command(*arguments(tmp_path / "killed"))
    assert content(tmp_path / "killed") == expected


def test_a_signal_ends_it_cleanly(takes, tmp_path):
    out = tmp_path / "out"
    running = subprocess.Popen([COMMAND, "sweep", str(takes), "-o", str(out), "--grid", "gain=0:10",
                                "--random", "20000", "-q"], env=ENVIRONMENT)  # fmt: skip
    deadline = time.monotonic() + 60
    partial = out / "manifest.partial.jsonl"
    while not (partial.exists() and partial.read_text().strip()) and time.monotonic() < deadline:
        time.sleep(0.01)
    other = command("sweep", takes, "-o", out, "--grid", "gain=0:10:5", status=1)
    assert "another sweep is writing to" in other
    running.terminate()
    assert running.wait(timeout=60) == -signal.SIGTERM
    rows = [json.loads(line) for line in partial.read_text().splitlines() if line]
    assert rows and all((out / row["output"]).exists() for row in rows)
    assert not list(out.rglob(".quellard*"))


def test_a_broken_take_is_named_and_the_others_are_made(takes, tmp_path):
    broken = takes / "broken.wav"
    broken.write_bytes((takes / "a.wav").read_bytes()[:300])
    (takes / "notes.txt").write_text("no audio")
    said = command("sweep", takes, "-o", tmp_path / "out", "--grid", "gain=0:10:5", "-q", status=1)
    assert "notes.txt" in said and "broken" in said
    made = rows_of(tmp_path / "out")
    assert sum(row["truncated"] for row in made) == 3
    assert {Path(row["input"]).name for row in made} == {"a.wav", "b.wav", "broken.wav"}
    assert said.count("notes.txt") == 1
    plan = quellard.sweep(takes, tmp_path / "out", grid={"gain": [1]})
    for work in (plan.run, lambda: plan.collect(map(quellard.run_task, plan))):
        with pytest.raises(quellard.SweepError, match="notes.txt: not an audio file") as failed:
            work()
        assert len(failed.value.rows) == 3 and failed.value.errors == plan.errors
    # Told again, though nothing is made again.
    assert "cut short" in command("sweep", broken, "-o", tmp_path / "out", "--grid", "gain=0:10:5", "-q", status=1)
    task = next(iter(quellard.sweep(takes / "a.wav", tmp_path / "late")))
    write_wav(takes / "a.wav", pluck(pitch=98.0))
    failed = task()
    assert "a.wav has changed since the sweep was planned" in failed["error"]
    assert set(failed) == {"output", "input", "error"}
    assert not list((tmp_path / "late").rglob("*.wav"))


@pytest.mark.parametrize(
    "arguments, words",
    [
        (["--grid", "gain"], "not of the form"),
        (["--grid", "gain=0:11:1"], "gain: 11 is outside 0 to 10"),
        (["--grid", "gian=1,2"], "did you mean 'gain'"),
        (["--grid", "channel=clean,vintag"], "did you mean 'vintage'"),
        (["--grid", "gain=0:10"], "is a range: give it a step"),
        (["--grid", "gain=10:0:1"], "the lower comes first"),
        (["--grid", "gain=0:10:0"], "the step must be above 0"),
        (["--grid", "gain=0:1:1e-9"], "more than a million steps"),
        (["--grid", "gain=1,,2"], "empty value"),
        (["--grid", "gain=1", "--grid", "gain=2"], "varied twice"),
        (["--random", "5"], "nothing to draw from"),
        (["--grid", "gain=0:10", "--random", "0"], "--random: 0 is outside"),
        (["--type", "mid"], "mid"),
    ],
)
def test_wrong_sweeps_are_refused_before_anything_is_made(takes, tmp_path, arguments, words):
    assert words in command("sweep", takes, "-o", tmp_path / "out", *arguments, status=2)
    assert not (tmp_path / "out").exists()


def test_moves_and_a_cabinet_are_part_of_a_task(takes, tmp_path, by_command):
    moves = tmp_path / "moves.csv"
    moves.write_text("0, channel, vintage\n0.1, gain, 9\n")
    write_wav(tmp_path / "cab.wav", np.exp(-np.arange(2000) / 100.0))
    options = ["--automation", moves, "--cab", tmp_path / "cab.wav", "--tail", "0.1"]
    out = tmp_path / "out"
    command("sweep", takes / "a.wav", "-o", out, "--grid", "gain=2,4", "--format", "double", *options)
    for row, gain in zip(rows_of(out), (2, 4)):
        expected = by_command(pluck(), "--gain", gain, *options)
        played = np.frombuffer((out / row["output"]).read_bytes()[-expected.nbytes :])
        np.testing.assert_array_equal(played, expected)
    moves.write_text("0.1, gain, 9\n")
    told = json.loads(command("sweep", takes / "a.wav", "-o", out, "--grid", "gain=2,4", "--format",
                              "double", *options, "--json"))  # fmt: skip
    assert told["made"] == 2


def test_ctrl_c_ends_the_packages_run(takes, tmp_path):
    plan = quellard.sweep(takes, tmp_path / "out", grid={"gain": "0:10"}, random=500)
    signal.setitimer(signal.ITIMER_REAL, 0.3)
    previous = signal.signal(signal.SIGALRM, signal.default_int_handler)
    try:
        with pytest.raises(KeyboardInterrupt):
            plan.run()
    finally:
        signal.signal(signal.SIGALRM, previous)
    assert len(plan.run(jobs=2)) == 1000


def test_wrong_tasks_and_rows_are_refused(tmp_path):
    with pytest.raises(quellard.UsageError, match="not a task"):
        quellard.Task("{}")()
    plan = quellard.sweep([], tmp_path / "out", grid={"gain": [1]})
    assert len(plan) == 0
    for row in ({"no": "output"}, {"output": "../evil.wav"}):
        with pytest.raises(quellard.UsageError, match="is no row of this sweep"):
            plan.collect([row])
    assert plan.collect([]) == []  # the list was left for others to write
    with pytest.raises(quellard.UsageError, match="random: 0"):
        quellard.sweep([], tmp_path, grid={"gain": "0:10"}, random=0)
    with pytest.raises(quellard.FileError, match="nothing.wav"):
        quellard.sweep(tmp_path / "nothing.wav", tmp_path / "out")
    for options, words in (
        ({"block": 0}, "block: 0"),
        ({"tail": float("nan")}, "tail: nan"),
        ({"seed": -1}, "seed: -1"),
        ({"seed": 2**40}, "seed is"),
        ({"random": 2.5}, "random is 2.5"),
        ({"type": "mid"}, "mid"),
        ({"grid": {"gain": []}}, "'gain' has an empty value"),
    ):
        with pytest.raises(quellard.UsageError, match=words):
            quellard.sweep([], tmp_path / "out", **{"grid": {"gain": "0:10:5"}, **options})
    for options in ({"tail": "1"}, {"random": "3"}, {"grid": [("gain", [1])]}, {"grid": {"gain": [b"1"]}}):
        with pytest.raises(TypeError, match="needed"):
            quellard.sweep([], tmp_path / "out", **options)
    with pytest.raises(quellard.UsageError, match="jobs: 0"):
        plan.run(jobs=0)


def test_a_plan_is_a_sequence(takes, tmp_path):
    plan = quellard.sweep(takes / "a.wav", tmp_path / "out", grid={"gain": 3, "channel": ["clean", "modern"]})
    tasks = list(plan)
    assert len(plan) == 2 and plan[1] == tasks[1] and plan[-1] == tasks[1] and plan[:1] == tasks[:1]
    assert tasks[0] in plan and plan.index(tasks[1]) == 1
    with pytest.raises(IndexError):
        plan[2]


def test_the_grid_counts_more_than_all_other_settings(takes, tmp_path):
    full = quellard.Amplifier(RATE, preset="Warm Jazz").settings
    plan = quellard.sweep(takes / "a.wav", tmp_path, settings=full, gain=1, grid={"gain": [2, 4], "channel": ["modern"]})
    assert [task.row["settings"]["modern_gain"] for task in plan] == [2.0, 4.0]
    with pytest.raises(quellard.UsageError, match="'preset' changes nothing"):
        quellard.sweep(takes, tmp_path, settings=full, grid={"preset": ["Blues Lead", "Warm Jazz"]})


def test_resumed_by_other_names_of_the_same_files(takes, tmp_path, monkeypatch):
    monkeypatch.chdir(takes)
    for take in ("a.wav", "./a.wav", takes / "a.wav", "../takes/a.wav"):
        told = json.loads(command("sweep", take, "-o", "../out", "--grid", "gain=2,4", "--json"))
        assert (told["made"] + told["kept"], rows_of("../out")[0]["input"]) == (2, str(take))
    assert told["kept"] == 2


def test_folders_that_hold_each_other(takes, tmp_path):
    inside = takes / "out"
    for _ in range(2):
        told = json.loads(command("sweep", takes, "-o", inside, "--grid", "gain=2,4", "--json"))
    assert (told["files"], told["kept"]) == (4, 4)
    other = json.loads(command("sweep", takes, "-o", takes / "other", "--grid", "gain=3", "--json"))
    assert other["files"] == 2
    assert "is a folder of takes" in command("sweep", takes, "-o", takes, "--grid", "gain=3", status=2)


def test_what_killed_processes_left_is_removed(takes, tmp_path):
    plan = quellard.sweep(takes / "a.wav", tmp_path / "out", grid={"gain": [1]})
    left = tmp_path / "out" / "a" / (".quellard-" + 32 * "0" + ".part")
    for work in (plan.run, lambda: plan.collect(map(quellard.run_task, plan))):
        left.parent.mkdir(parents=True, exist_ok=True)
        left.write_bytes(b"half")
        work()
        assert not left.exists()


def test_names_that_no_list_can_hold_are_refused(takes, tmp_path):
    bad = tmp_path / os.fsdecode(b"o\xff")
    assert "is not UTF-8" in command("sweep", takes, "-o", bad, "--grid", "gain=1", status=2)
    assert not bad.exists()
    (takes / os.fsdecode(b"t\xff.wav")).write_bytes((takes / "a.wav").read_bytes())
    assert "is not UTF-8" in command("sweep", takes, "-o", tmp_path / "out", "--grid", "gain=1", status=2)


