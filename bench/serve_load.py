#!/usr/bin/env python3
"""Load on `xmldsig serve` over loopback: REQUESTS posts of one document over CONNECTIONS
kept-alive connections, then `xmldsig verify -j THREADS` on as many copies of the same
document, for comparison. Stops by itself; fails on any answer but 200.

    bench/serve_load.py [TOOL] [DOCUMENT] [--requests 20000] [--connections 8] [--threads 2]
"""
import argparse
import http.client
import os
import re
import signal
import statistics
import subprocess
import threading
import time

parser = argparse.ArgumentParser()
parser.add_argument("tool", nargs="?", default="build/xmldsig")
parser.add_argument("document", nargs="?", default="/tmp/xmldsig-bench-data/inv-2k.xml")
parser.add_argument("--requests", type=int, default=20000)
parser.add_argument("--connections", type=int, default=8)
parser.add_argument("--threads", type=int, default=2)
args = parser.parse_args()
body = open(args.document, "rb").read()

server = subprocess.Popen([args.tool, "serve", "--listen", "127.0.0.1:0", "--threads", str(args.threads),
                           "--connections", str(args.connections * 2)], stderr=subprocess.PIPE, text=True)
port = int(re.search(r":(\d+) with", server.stderr.readline()).group(1))
latencies, failures = [], []
lock = threading.Lock()


def client(count):
    conn = http.client.HTTPConnection("127.0.0.1", port)
    mine = []
    for _ in range(count):
        start = time.perf_counter()
        conn.request("POST", "/v1/verify", body, {"Content-Type": "application/xml"})
        answer = conn.getresponse()
        answer.read()
        mine.append(time.perf_counter() - start)
        if answer.status != 200:
            failures.append(answer.status)
    conn.close()
    with lock:
        latencies.extend(mine)


per = args.requests // args.connections
threads = [threading.Thread(target=client, args=(per,)) for _ in range(args.connections)]
load_before = os.getloadavg()
started = time.perf_counter()
for t in threads:
    t.start()
for t in threads:
    t.join()
elapsed = time.perf_counter() - started
server.send_signal(signal.SIGTERM)
assert server.wait(timeout=30) == 0
latencies.sort()
print(f"serve: {len(latencies)} requests of {len(body)} bytes over {args.connections} connections, "
      f"{args.threads} threads: {len(latencies) / elapsed:,.0f} requests/s, "
      f"p50 {statistics.median(latencies) * 1000:.2f} ms, p99 {latencies[int(len(latencies) * 0.99)] * 1000:.2f} ms, "
      f"{len(failures)} errors; load average before {load_before[0]:.1f}, after {os.getloadavg()[0]:.1f}")
assert not failures, failures[:10]

copies = min(args.requests, 5000)
started = time.perf_counter()
run = subprocess.run([args.tool, "verify", "-j", str(args.threads)] + [args.document] * copies,
                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
elapsed = time.perf_counter() - started
print(f"verify -j {args.threads}: {copies} copies: {copies / elapsed:,.0f} documents/s (exit {run.returncode})")
