import re
import subprocess

import pytest
from conftest import REAL_DIR, real_rows

distributed = pytest.importorskip("distributed")
import xmldsig.dask  # noqa: E402 (needs dask, checked above)

VERDICT_LINE = re.compile(r"^(.*): signature (\d+)(?: \(Id .*?\))?: (VALID|INVALID)")


def tool_verdicts(tool, files):
    """(file, signature) -> verdict from `xmldsig verify -j 2 --all`; a file
    the tool cannot verify at all is ERROR at signature -1."""
    run = subprocess.run([tool, "verify", "-j", "2", "--all", *files], capture_output=True, text=True)
    verdicts = {}
    for line in run.stdout.splitlines():
        file, index, verdict = VERDICT_LINE.match(line).groups()
        verdicts[(file, int(index))] = verdict
    # Error lines name their file; the run's summary line names none.
    for line in run.stderr.splitlines():
        message = line.removeprefix("xmldsig: ")
        failed = next((f for f in files if message.startswith(f + ":")), None)
        if failed:
            verdicts[(failed, -1)] = "ERROR"
    return verdicts


def test_two_worker_cluster_gives_the_tools_verdicts_on_the_real_corpus(tool):
    files = [str(REAL_DIR / r["family"] / r["file"]) for r in real_rows()]
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as client:
        frame = xmldsig.dask.verify_many(files, {"all": True}, client).compute()
        # A URL is read into bytes through fsspec, as an object-store path would be.
        url = "file://" + files[0]
        by_url = xmldsig.dask.verify_many([url], {"all": True}, client).compute()
    assert list(frame.columns) == list(xmldsig.dask.COLUMNS)
    assert list(by_url.verdict) == list(frame[frame.file == files[0]].verdict)
    ours = {(f, int(s)): v for f, s, v in zip(frame.file, frame.signature, frame.verdict)}
    assert ours == tool_verdicts(tool, files)
    assert set(frame.file) == set(files)
    valid = frame[frame.verdict == "VALID"]
    assert valid.signer.notna().all() and valid.trusted.isna().all()
