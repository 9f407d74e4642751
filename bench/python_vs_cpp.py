#!/usr/bin/python3
"""Python's Verifier.verify against the C++ API on the same document, in one
run: the C++ rate from xmldsig_bench (api/verify-bytes), the Python rate from
a timed loop over the same bytes (through one Verifier, and through
xmldsig.verify, which makes a verifier per call). Rounds of the two alternate, and the best
round of each counts, so that load from elsewhere on a shared machine
penalises neither side more. Both rates are per second of the process's CPU
time (Google Benchmark's items_per_second; time.process_time here), which a
busy machine disturbs far less than wall time; prints both and the ratio.

    PYTHONPATH=build/python bench/python_vs_cpp.py [--build build] [--file inv-2k.xml] [--seconds 1]
"""

import argparse
import json
import os
import subprocess
import sys
import time

import xmldsig

DEFAULT_FILE = "/tmp/xmldsig-bench-data/inv-2k.xml"
ROUNDS = 5


def cpp_round(bench_binary, document, seconds):
    env = dict(os.environ, XMLDSIG_API_VERIFY_FILE=document)
    out = subprocess.run([bench_binary, "--benchmark_filter=api/", "--benchmark_format=json",
                          f"--benchmark_min_time={seconds}"],
                         env=env, check=True, capture_output=True, text=True).stdout
    return json.loads(out)["benchmarks"][0]["items_per_second"]


def python_round(verify, data, seconds):
    count, start = 0, time.process_time()
    while time.process_time() - start < seconds:
        verify(data)
        count += 1
    return count / (time.process_time() - start)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build")
    parser.add_argument("--file", default=DEFAULT_FILE)
    parser.add_argument("--seconds", type=float, default=1.0)
    args = parser.parse_args()
    bench_binary = os.path.join(args.build, "xmldsig_bench")
    data = open(args.file, "rb").read()
    verifier = xmldsig.Verifier()
    if not verifier.verify(data)[0].valid:
        sys.exit(f"{args.file} does not verify")
    cpp = py = per_call = 0.0
    for _ in range(ROUNDS):
        cpp = max(cpp, cpp_round(bench_binary, args.file, args.seconds))
        py = max(py, python_round(verifier.verify, data, args.seconds))
        per_call = max(per_call, python_round(xmldsig.verify, data, args.seconds))
    print(f"C++ API   {cpp:9.0f} verifications per CPU second")
    print(f"Python    {py:9.0f} verifications per CPU second (Verifier.verify)")
    print(f"Python    {per_call:9.0f} verifications per CPU second (xmldsig.verify, a verifier per call)")
    print(f"ratio     {py / cpp:9.1%}  (load average {os.getloadavg()[0]:.2f})")
    return 0 if py >= 0.8 * cpp else 1


if __name__ == "__main__":
    sys.exit(main())
