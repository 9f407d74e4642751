"""Verification of many documents on a Dask cluster.

    from distributed import Client
    import xmldsig.dask
    client = Client("tcp://scheduler:8786")          # or None: a local cluster
    frame = xmldsig.dask.verify_many(paths, {"trust": ["/shared/roots"]}, client)
    print(frame[frame.verdict != "VALID"].compute())

Each partition of paths is verified on a worker by one Verifier built there
from `settings` (the keyword arguments of xmldsig.Verifier, so paths in them
must be readable on the workers). A path with a scheme (``s3://...``,
``gs://...``) is read into bytes through fsspec.
"""

from __future__ import annotations

import os
from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any

import dask
import dask.bag
import dask.dataframe
import pandas

from . import Error, Verifier

if TYPE_CHECKING:
    import distributed

# One row per signature; a document that cannot be verified at all gives one
# row with signature -1 and verdict "ERROR".
COLUMNS = {
    "file": "object",
    "signature": "int64",
    "verdict": "object",
    "reason": "object",
    "signer": "object",
    "trusted": "object",
}
_PARTITIONS_PER_THREAD = 4

_local_client = None


def _document(path):
    if "://" not in path:
        return path
    import fsspec

    with fsspec.open(path, "rb") as f:
        return f.read()


def _signer_text(signer):
    if signer is None:
        return None
    return signer.subject or signer.key_source


def _error_row(path, message):
    return {"file": path, "signature": -1, "verdict": "ERROR", "reason": message, "signer": None, "trusted": None}


def _rows_of(path, verifier):
    try:
        results = verifier.verify(_document(path))
    except (Error, OSError) as e:
        return [_error_row(path, str(e))]
    return [
        {
            "file": path,
            "signature": r.index,
            "verdict": r.verdict,
            "reason": r.reason,
            "signer": _signer_text(r.signer),
            "trusted": r.trusted,
        }
        for r in results
    ]


def _verify_partition(paths, settings):
    verifier = Verifier(**settings)
    rows = [row for path in paths for row in _rows_of(os.fspath(path), verifier)]
    return pandas.DataFrame(rows, columns=list(COLUMNS)).astype(COLUMNS)


def _default_client():
    """The current Dask client, else a LocalCluster of worker processes
    (started once, kept for later calls)."""
    global _local_client
    from distributed import Client, LocalCluster, default_client

    try:
        return default_client()
    except ValueError:
        pass
    if _local_client is None:
        _local_client = Client(LocalCluster(processes=True))
    return _local_client


def verify_many(
    paths_or_bag: Iterable[str | os.PathLike[str]] | dask.bag.Bag,
    settings: Mapping[str, Any] | None = None,
    client: distributed.Client | None = None,
    *,
    npartitions: int | None = None,
) -> dask.dataframe.DataFrame:
    """Verifies every document (a sequence of paths, or a dask.bag.Bag of
    them) on the cluster `client` points at, and returns a Dask DataFrame
    (file, signature, verdict, reason, signer, trusted) already being computed
    there (``.compute()`` gathers it)."""
    client = client or _default_client()
    settings = dict(settings or {})
    if isinstance(paths_or_bag, dask.bag.Bag):
        bag = paths_or_bag
    else:
        paths = [os.fspath(p) for p in paths_or_bag]
        threads = sum(client.nthreads().values()) or 1
        npartitions = npartitions or max(1, min(len(paths), _PARTITIONS_PER_THREAD * threads))
        bag = dask.bag.from_sequence(paths, npartitions=npartitions)
    meta = pandas.DataFrame({c: pandas.Series(dtype=t) for c, t in COLUMNS.items()})
    verify_partition = dask.delayed(_verify_partition, pure=True)
    parts = [verify_partition(part, settings) for part in bag.to_delayed()]
    return client.persist(dask.dataframe.from_delayed(parts, meta=meta, verify_meta=False))
