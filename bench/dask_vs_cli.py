#!/usr/bin/python3
"""Throughput of xmldsig.dask.verify_many on a local two-worker cluster (worker
processes, one thread each) next to `xmldsig verify -j 2 --all` over the same
files, in one run: the real-signer corpus listed REPEAT times. Rounds
alternate, the best of each counts; the cluster is started before timing.

    PYTHONPATH=build/python bench/dask_vs_cli.py [--build build] [--repeat 20]
"""

import argparse
import csv
import os
import pathlib
import subprocess
import time

import distributed
import xmldsig.dask

ROUNDS = 3


def corpus_files(corpus):
    with open(corpus / "MANIFEST.tsv", newline="", encoding="utf-8") as f:
        return [str(corpus / r["family"] / r["file"]) for r in csv.DictReader(f, delimiter="\t", quoting=csv.QUOTE_NONE)]


def timed(run):
    start = time.perf_counter()
    run()
    return time.perf_counter() - start


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build")
    parser.add_argument("--corpus", default=str(pathlib.Path(__file__).resolve().parents[1] / "tests/data/corpus/real"))
    parser.add_argument("--repeat", type=int, default=20)
    args = parser.parse_args()
    files = corpus_files(pathlib.Path(args.corpus)) * args.repeat
    tool = [os.path.join(args.build, "xmldsig"), "verify", "-j", "2", "--all", *files]
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as client:
        xmldsig.dask.verify_many(files[:50], {"all": True}, client).compute()  # workers import the module
        dask_s = cli_s = float("inf")
        for _ in range(ROUNDS):
            dask_s = min(dask_s, timed(lambda: xmldsig.dask.verify_many(files, {"all": True}, client).compute()))
            cli_s = min(cli_s, timed(lambda: subprocess.run(tool, capture_output=True)))
    print(f"{len(files)} files")
    print(f"dask, 2 workers   {len(files) / dask_s:7.0f} files/s")
    print(f"verify -j 2       {len(files) / cli_s:7.0f} files/s")
    print(f"load average {os.getloadavg()[0]:.2f} on {os.cpu_count()} cores")


if __name__ == "__main__":
    main()
