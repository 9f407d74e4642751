"""The server's answers equal `xmldsig verify --json` over the real-signer corpus."""
import datetime
import json
import subprocess

import pytest

from conftest import REAL_DIR, TOOL, Server, corpus_file, multipart, real_rows


def settings_args(rows):
    """Every row's key and accommodation at once: the server takes its settings at start."""
    keys = sorted({row["key_material"] for row in rows if row["key_material"] not in ("-", "")
                   and not row["key_material"].startswith("ref:")})
    args = []
    for key in keys:
        args += ["--key", str(next(REAL_DIR.rglob(key)))]
    return args + ["--options", "ZATCA MYINVOIS VerifyEncapsulatedTimeStamp"]


def now_masked(value):
    """The answer without its log (which names the folder a file was read from), each time
    stamp of the last minutes (a verification at "now") masked: the tool and the server ran
    seconds apart."""
    if isinstance(value, dict):
        return {k: now_masked(v) for k, v in value.items() if k != "log"}
    if isinstance(value, list):
        return [now_masked(v) for v in value]
    if isinstance(value, str) and len(value) == 20 and value.endswith("Z"):
        try:
            at = datetime.datetime.strptime(value, "%Y-%m-%dT%H:%M:%SZ").replace(tzinfo=datetime.timezone.utc)
        except ValueError:
            return value
        if abs((datetime.datetime.now(datetime.timezone.utc) - at).total_seconds()) < 600:
            return "now"
    return value


def tool_signatures(args, files):
    run = subprocess.run([TOOL, "verify", "--json", "--all", "-j", "2", *args, *map(str, files)],
                         capture_output=True, text=True, timeout=120)
    assert run.returncode in (0, 1), run.stderr
    return {f["file"]: now_masked(f["signatures"]) for f in json.loads(run.stdout)["files"]}


@pytest.fixture(scope="module")
def corpus():
    rows = real_rows()
    args = settings_args(rows)
    server = Server("--threads", "2", *args)
    yield rows, args, server
    assert server.stop() == 0


def external_files(signatures):
    """(reference index, file) of each external reference the tool hashed from a file."""
    return sorted({(r["index"], r["file"]) for s in signatures for r in s["references"]
                   if r["target"] == "external" and r.get("file")})


def verdicts(signatures):
    """What decides: the log and the hashed file's name differ by where the data came from."""
    return [(s["verdict"], s.get("reason"), s["stage"], s["ades"]["indication"],
             [r["matched"] for r in s["references"]]) for s in signatures]


def test_every_document_gets_the_tools_verdicts(corpus):
    """The same JSON for each document that needs no file beside it."""
    rows, args, server = corpus
    plain = sorted({corpus_file(r) for r in rows if not r["key_material"].startswith("ref:")})
    expected = tool_signatures(args, plain)
    assert len(expected) == len(plain) > 100
    differing = []
    for path in plain:
        if external_files(expected[str(path)]):
            continue
        status, answer = server.verify(path.read_bytes(), "?all=1")
        assert status == 200, (path, answer)
        if now_masked(answer["files"][0]["signatures"]) != expected[str(path)]:
            differing.append(path.name)
    assert differing == []


def test_detached_data_comes_as_multipart_parts(corpus):
    """The documents whose references name files beside them (or given by --ref-data): the
    server gets those files as data-N parts and reaches the same verdicts."""
    rows, args, server = corpus
    cases = []
    for row in rows:
        path = corpus_file(row)
        extra = []
        if row["key_material"].startswith("ref:"):
            index, name = row["key_material"][len("ref:"):].split("=", 1)
            extra = ["--ref-data", f"{index}={REAL_DIR / row['family'] / name}"]
        expected = tool_signatures([*args, *extra], [path])[str(path)]
        if external_files(expected):
            cases.append((path, expected))
    assert len(cases) >= 3
    matched_external = 0
    for path, expected in cases:
        parts = [("document", path.name, path.read_bytes()), ("all", None, b"1")]
        parts += [(f"data-{i}", None, open(f, "rb").read()) for i, f in external_files(expected)]
        status, _, answer = server.request("/v1/verify", *multipart(parts))
        assert status == 200, answer
        signatures = json.loads(answer)["files"][0]["signatures"]
        assert verdicts(signatures) == verdicts(expected), path.name
        matched_external += sum(r["matched"] for s in signatures for r in s["references"] if r["target"] == "external")
    assert matched_external > 0
