# SPDX-License-Identifier: ISC
"""The workers of a cluster leave what one process leaves, also when one of them dies."""

import os
import signal
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
import quellard
from conftest import SLOW, pluck, write_wav
from test_sweep import content

distributed = pytest.importorskip("distributed")
EXAMPLE = Path(os.environ["QUELLARD_EXAMPLES"]) / "sweep_on_dask.py"
GRID = {"channel": ["clean", "vintage", "modern"], "gain": "0:10", "treble": "2:8"}


@pytest.fixture
def takes(tmp_path):
    (tmp_path / "takes").mkdir()
    write_wav(tmp_path / "takes" / "a.wav", pluck(2.0 / SLOW))
    write_wav(tmp_path / "takes" / "b.wav", np.stack([pluck(1.0 / SLOW), pluck(1.0 / SLOW, 146.8)]))
    return tmp_path / "takes"


@pytest.fixture
def cluster():
    with distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, dashboard_address=None
    ) as cluster:
        yield cluster


def test_the_example_leaves_what_one_process_leaves(takes, tmp_path, cluster):
    alone = quellard.sweep(takes, tmp_path / "alone", grid=GRID, random=50, seed=1)
    (takes / "notes.txt").write_text("no audio")  # is named, and the rest is made
    assert len(alone.run(jobs=2)) == 100
    arguments = [sys.executable, EXAMPLE, takes, tmp_path / "local"]
    done = subprocess.run(arguments, check=True, timeout=300 * SLOW, capture_output=True, text=True)
    assert "notes.txt: not an audio file" in done.stderr
    assert content(tmp_path / "local") == content(tmp_path / "alone")
    arguments[-1] = tmp_path / "address"
    subprocess.run([*arguments, cluster.scheduler_address], check=True, timeout=300 * SLOW)
    assert content(tmp_path / "address") == content(tmp_path / "alone")


def test_a_worker_that_dies_in_the_middle_is_made_up_for(takes, tmp_path, cluster):
    alone = quellard.sweep(takes, tmp_path / "alone", grid=GRID, random=60)
    alone.run(jobs=2)
    plan = quellard.sweep(takes, tmp_path / "out", grid=GRID, random=60)
    killed = []

    def rows(futures, client):
        for future in distributed.as_completed(futures):
            if not killed:
                pid = next(iter(client.run(os.getpid).values()))
                os.kill(pid, signal.SIGKILL)
                killed.append(pid)
            yield future.result()

    with distributed.Client(cluster) as client:
        futures = client.map(quellard.run_task, list(plan))
        collected = plan.collect(rows(futures, client))
    assert killed and len(collected) == 120
    assert content(tmp_path / "out") == content(tmp_path / "alone")
