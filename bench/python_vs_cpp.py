#!/usr/bin/python3
"""Python's Verifier.verify against the C++ API on the same document, in one
run: the C++ rate from xmldsig_bench (api/verify-bytes), the Python rate from
a timed loop over the same bytes; prints both and the ratio.

    PYTHONPATH=build/python bench/python_vs_cpp.py [--build build] [--file inv-2k.xml] [--seconds 3]
"""

import argparse
import json
import os
import subprocess
import sys
import time

import xmldsig

DEFAULT_FILE = "/tmp/xmldsig-bench-data/inv-2k.xml"
ROUNDS = 3


def cpp_rate(bench_binary, document, seconds):
    env = dict(os.environ, XMLDSIG_API_VERIFY_FILE=document)
    out = subprocess.run([bench_binary, "--benchmark_filter=api/", "--benchmark_format=json",
                          f"--benchmark_min_time={seconds}", f"--benchmark_repetitions={ROUNDS}"],
                         env=env, check=True, capture_output=True, text=True).stdout
    rates = [b["items_per_second"] for b in json.loads(out)["benchmarks"] if b.get("run_type") == "iteration"]
    return sorted(rates)[len(rates) // 2]


def python_rate(document, seconds):
    data = open(document, "rb").read()
    verifier = xmldsig.Verifier()
    assert verifier.verify(data)[0].valid
    rates = []
    for _ in range(ROUNDS):
        count, start = 0, time.perf_counter()
        while time.perf_counter() - start < seconds:
            verifier.verify(data)
            count += 1
        rates.append(count / (time.perf_counter() - start))
    return sorted(rates)[len(rates) // 2]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build")
    parser.add_argument("--file", default=DEFAULT_FILE)
    parser.add_argument("--seconds", type=float, default=3.0)
    args = parser.parse_args()
    cpp = cpp_rate(os.path.join(args.build, "xmldsig_bench"), args.file, args.seconds)
    py = python_rate(args.file, args.seconds)
    print(f"C++ API   {cpp:9.0f} verifications/s")
    print(f"Python    {py:9.0f} verifications/s")
    print(f"ratio     {py / cpp:9.1%}  (load average {os.getloadavg()[0]:.2f})")
    return 0 if py >= 0.8 * cpp else 1


if __name__ == "__main__":
    sys.exit(main())
