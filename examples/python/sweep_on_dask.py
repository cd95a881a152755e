#!/usr/bin/python3
# SPDX-License-Identifier: ISC
"""A sweep over the workers of a Dask cluster.

    sweep_on_dask.py TAKES FOLDER [SCHEDULER]

Without a scheduler's address it starts two workers on this machine. Takes and results lie on storage
that all workers see under the same names. Started again, it goes on where it was broken off.
"""

import sys

import quellard
from dask.distributed import Client, LocalCluster, as_completed


def main(takes: str, folder: str, scheduler: str | None = None) -> None:
    plan = quellard.sweep(
        takes,
        folder,
        grid={"channel": ["clean", "vintage", "modern"], "gain": "0:10", "treble": "2:8"},
        random=50,
        seed=1,
    )
    cluster = scheduler or LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None)
    with Client(cluster) as client:
        # A task that a dying worker leaves behind is sent to another one.
        futures = client.map(quellard.run_task, list(plan))
        try:
            rows = plan.collect(future.result() for future in as_completed(futures))
        except quellard.SweepError as failed:
            rows = failed.rows
            print(*failed.errors, sep="\n", file=sys.stderr)
    print(f"{len(rows)} files, the list is {plan.manifest}")


if __name__ == "__main__":
    main(*sys.argv[1:])
