# SPDX-License-Identifier: ISC
"""Times of the Python package and of sweeps; see scripts/bench-python. The fastest of each counts, as it
was disturbed least, and what is compared takes turns."""

import json
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

import numpy as np
import quellard

BUILD = Path(sys.argv[1])
RATE = 48000
CHANNELS = ("clean", "vintage", "modern")


def sine(seconds):
    return 0.3 * np.sin(0.014 * np.arange(round(seconds * RATE)))


def seconds(work, clock=time.perf_counter):
    begin = clock()
    work()
    return clock() - begin


def minute():
    """render() of a minute of float64, mono, against the engine in blocks of 512; processor time."""
    x = sine(60)
    out = np.empty_like(x)
    engine = dict.fromkeys(CHANNELS, np.inf)
    package = dict.fromkeys(CHANNELS, np.inf)
    for _ in range(5):
        table = subprocess.run(
            [BUILD / "quellard_bench", "--rounds=3", "--benchmark_filter=minute"],
            capture_output=True, text=True, check=True,
        ).stdout  # fmt: skip
        rows = dict(line.lower().split() for line in table.splitlines()[-3:])
        for channel in CHANNELS:
            engine[channel] = min(engine[channel], float(rows[channel]))
            for _ in range(3):
                took = seconds(lambda: quellard.render(x, RATE, channel=channel, out=out), time.thread_time)
                package[channel] = min(package[channel], took / len(x) * 1e9)
    for channel in CHANNELS:
        ratio = package[channel] / engine[channel]
        print(f"minute   {channel:8} engine {engine[channel]:.1f} ns a sample, render {package[channel]:.1f}: "
              f"{ratio:.3f} times")  # fmt: skip


def call():
    """What a call costs beside the samples."""
    nothing = np.empty(0)
    amp = quellard.Amplifier(RATE)
    for name, work in (
        ("render of no samples", lambda: quellard.render(nothing, RATE, channel="modern", gain=7.0)),
        ("process of no samples", lambda: amp.process(nothing)),
        ("set of a knob", lambda: amp.set(gain=7.0)),
    ):
        took = min(seconds(work) for _ in range(2000))
        print(f"call     {name}: {took * 1e6:.1f} us")


def threads():
    """Two threads against one."""
    x = sine(20)

    def work(times):
        for _ in range(times):
            quellard.render(x, RATE)

    def both():
        two = [threading.Thread(target=work, args=(4,)) for _ in range(2)]
        for thread in two:
            thread.start()
        for thread in two:
            thread.join()

    ratios = []
    for _ in range(9):
        ratios.append((seconds(lambda: work(8)), seconds(both)))
    one, two = (min(times) for times in zip(*ratios))
    print(f"threads  one {one:.2f} s, two {two:.2f} s: {one / two:.2f} times as fast")


def write_takes(folder, count, length):
    """WAV files of float32, which the command writes from what is quick to write here."""
    folder.mkdir()
    for number in range(count):
        raw = folder / f"take{number}.au"
        header = np.array([0x2E736E64, 24, 0xFFFFFFFF, 6, RATE, 1], ">u4").tobytes()
        raw.write_bytes(header + sine(length).astype(">f4").tobytes())


def sweep_command(takes, out, jobs, number):
    done = subprocess.run(
        [BUILD / "quellard", "sweep", takes, "-o", out, "--grid", "gain=0:10",
         "--grid", "channel=clean,vintage,modern", "--random", str(number), "-j", str(jobs), "--json"],
        capture_output=True, text=True, check=True,
    )  # fmt: skip
    report = json.loads(done.stdout)
    assert report["made"] == report["files"]
    return report["elapsed_seconds"]


def parts(folder, out):
    """The same renders one by one: what `quellard render` says that they took."""
    total = 0.0
    for row in map(json.loads, (out / "manifest.jsonl").read_text().splitlines()):
        channel = row["settings"]["channel"]
        done = subprocess.run(
            [BUILD / "quellard", "render", row["input"], "-o", folder / "part.wav", "--json", "-q",
             "--channel", channel, "--gain", str(row["settings"][f"{channel}_gain"])],
            capture_output=True, text=True, check=True,
        )  # fmt: skip
        total += json.loads(done.stdout)["files"][0]["elapsed_seconds"]
    return total


def sweep():
    """500 renders of 5 s: one job, two jobs, and the sum of the same renders by themselves."""
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        write_takes(folder / "takes", 5, 5.0)
        one, two, alone = [], [], []
        for turn in range(3):
            one.append(sweep_command(folder / "takes", folder / f"one{turn}", 1, 100))
            two.append(sweep_command(folder / "takes", folder / f"two{turn}", 2, 100))
            alone.append(parts(folder, folder / f"one{turn}"))
        print(f"sweep    500 of 5 s: one job {min(one):.1f} s, two jobs {min(two):.1f} s: "
              f"{min(one) / min(two):.2f} times as fast; the renders by themselves {min(alone):.1f} s: "
              f"{min(one) / min(alone):.2f} times that")  # fmt: skip


def dask():
    """200 renders of 30 s: two workers of a LocalCluster against two jobs."""
    from dask.distributed import Client, LocalCluster, as_completed

    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        write_takes(folder / "takes", 2, 30.0)
        cluster = LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None)
        with cluster, Client(cluster) as client:
            local, spread = [], []
            for turn in range(2):
                local.append(sweep_command(folder / "takes", folder / f"jobs{turn}", 2, 100))

                def work(out=folder / f"dask{turn}"):
                    plan = quellard.sweep(
                        folder / "takes", out, random=100,
                        grid={"gain": "0:10", "channel": list(CHANNELS)},
                    )  # fmt: skip
                    futures = client.map(quellard.run_task, list(plan))
                    plan.collect(future.result() for future in as_completed(futures))

                spread.append(seconds(work))
        print(f"dask     200 of 30 s: two jobs {min(local):.1f} s, two workers {min(spread):.1f} s: "
              f"{min(spread) / min(local):.2f} times as long")  # fmt: skip


if __name__ == "__main__":
    rows = {row.__name__: row for row in (minute, call, threads, sweep, dask)}
    for chosen in sys.argv[2:] or rows:
        rows[chosen]()
