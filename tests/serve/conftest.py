"""A server of the tool's own, started per test module on a free loopback port."""
import csv
import json
import os
import pathlib
import re
import signal
import subprocess
import urllib.error
import urllib.request

import pytest

SOURCE_DIR = pathlib.Path(os.environ.get("XMLDSIG_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
CORPUS_DIR = pathlib.Path(os.environ.get("XMLDSIG_CORPUS_DIR", SOURCE_DIR / "tests" / "data" / "corpus"))
REAL_DIR = CORPUS_DIR / "real"
TOOL = os.environ.get("XMLDSIG_TOOL", str(SOURCE_DIR / "build" / "xmldsig"))


def real_rows():
    with open(REAL_DIR / "MANIFEST.tsv", newline="", encoding="utf-8") as f:
        return list(csv.DictReader(f, delimiter="\t", quoting=csv.QUOTE_NONE))


def corpus_file(row):
    return REAL_DIR / row["family"] / row["file"]


class Server:
    def __init__(self, *args):
        self.process = subprocess.Popen([TOOL, "serve", "--listen", "127.0.0.1:0", *args],
                                        stderr=subprocess.PIPE, text=True)
        line = self.process.stderr.readline()
        found = re.search(r"listening on http://127\.0\.0\.1:(\d+)", line)
        assert found, line
        self.port = int(found.group(1))
        self.url = f"http://127.0.0.1:{self.port}"

    def request(self, path, body=None, headers=None, timeout=30):
        """(status, headers, body) of one request; errors are answers too."""
        req = urllib.request.Request(self.url + path, data=body, headers=headers or {})
        try:
            with urllib.request.urlopen(req, timeout=timeout) as answer:
                return answer.status, answer.headers, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.headers, error.read()

    def verify(self, document, query=""):
        status, _, body = self.request("/v1/verify" + query, document)
        return status, json.loads(body)

    def rss_peak_kb(self):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(r"VmHWM:\s+(\d+) kB", status).group(1))

    def stop(self):
        """SIGTERM; the exit code."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        code = self.process.wait(timeout=30)
        self.process.stderr.close()
        return code


def multipart(parts):
    """A multipart/form-data body of (name, filename or None, bytes) parts."""
    boundary = "xmldsig-test-boundary-7d1f"
    body = b""
    for name, filename, content in parts:
        disposition = f'form-data; name="{name}"' + (f'; filename="{filename}"' if filename else "")
        body += f"--{boundary}\r\nContent-Disposition: {disposition}\r\n\r\n".encode() + content + b"\r\n"
    body += f"--{boundary}--\r\n".encode()
    return body, {"Content-Type": f"multipart/form-data; boundary={boundary}"}


@pytest.fixture(scope="module")
def server():
    if not os.access(TOOL, os.X_OK):
        pytest.fail(f"no xmldsig tool at {TOOL}")
    s = Server("--threads", "2", "--max-body", str(1 << 20), "--read-timeout", "1", "--connections", "16")
    yield s
    assert s.stop() == 0
