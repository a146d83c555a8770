#!/usr/bin/env python3
"""Grades a folder of photos across machines with Dask distributed.

    python3 grade_with_dask.py PHOTOS/ GRADED/ [--width 1600] [--workers 2 | --scheduler tcp://HOST:8786]

Without --scheduler it starts a local cluster of worker processes. Each
worker process opens one lumetra context when it starts (a worker plugin)
and keeps it for its life, so the programs are compiled once per worker;
the photos are dealt into one share per worker, and each worker grades its
share. Workers must see the same folders (a shared file system)."""

import argparse
import pathlib
import sys

from distributed import Client, LocalCluster, WorkerPlugin, get_worker

import grade_folder


class LumetraContext(WorkerPlugin):
    """One context per worker process, opened at its start and closed at its end."""

    name = "lumetra-context"

    def setup(self, worker):
        import lumetra
        worker.lumetra_context = lumetra.Context()

    def teardown(self, worker):
        worker.lumetra_context.close()


def grade_share(photos, output_folder, width):
    """Runs on a worker: its share of the photos, with the worker's context."""
    context = get_worker().lumetra_context
    failures = grade_folder.grade_files(context, grade_folder.grade(width), map(pathlib.Path, photos), output_folder)
    return [(str(photo), reason) for photo, reason in failures]


def grade_across(client, photos, output_folder, width=0):
    """The photos dealt to the client's workers, one share each; the failures as (photo, reason)."""
    client.register_worker_plugin(LumetraContext())
    workers = sorted(client.scheduler_info()["workers"])
    shares = [[str(photo) for photo in photos[i::len(workers)]] for i in range(len(workers))]
    futures = [client.submit(grade_share, share, str(output_folder), width, workers=[worker], pure=False)
               for worker, share in zip(workers, shares) if share]
    return [failure for failed in client.gather(futures) for failure in failed]


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("photos")
    parser.add_argument("output")
    parser.add_argument("--width", type=int, default=0)
    parser.add_argument("--workers", type=int, default=2, help="local worker processes (without --scheduler)")
    parser.add_argument("--scheduler", help="the address of a running Dask scheduler")
    options = parser.parse_args(arguments)
    output = pathlib.Path(options.output).resolve()
    output.mkdir(parents=True, exist_ok=True)
    photos = [photo.resolve() for photo in grade_folder.photos_in(options.photos)]

    if options.scheduler:
        client = Client(options.scheduler)
        cluster = None
    else:
        # Single-threaded worker processes: one context, one thread each.
        cluster = LocalCluster(n_workers=options.workers, threads_per_worker=1, processes=True,
                               dashboard_address=None)
        client = Client(cluster)
    try:
        # Workers import this folder's modules.
        client.upload_file(str(pathlib.Path(grade_folder.__file__)))
        failures = grade_across(client, photos, output, options.width)
    finally:
        client.close()
        if cluster:
            cluster.close()
    return grade_folder.report(len(photos), failures, output)


if __name__ == "__main__":
    sys.exit(main())
