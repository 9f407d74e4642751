import csv
import os
import pathlib

import pytest

HERE = pathlib.Path(__file__).resolve().parent
SOURCE_DIR = pathlib.Path(os.environ.get("XMLDSIG_SOURCE_DIR", HERE.parent.parent))
CORPUS_DIR = pathlib.Path(os.environ.get("XMLDSIG_CORPUS_DIR", SOURCE_DIR / "tests" / "data" / "corpus"))
TOOL = os.environ.get("XMLDSIG_TOOL", str(SOURCE_DIR / "build" / "xmldsig"))
EXAMPLES = SOURCE_DIR / "examples"
REAL_DIR = CORPUS_DIR / "real"


def real_rows():
    """The real-signer manifest's rows as dicts."""
    with open(REAL_DIR / "MANIFEST.tsv", newline="", encoding="utf-8") as f:
        return list(csv.DictReader(f, delimiter="\t", quoting=csv.QUOTE_NONE))


@pytest.fixture(scope="session")
def tool():
    if not os.access(TOOL, os.X_OK):
        pytest.skip(f"no xmldsig tool at {TOOL}")
    return TOOL
