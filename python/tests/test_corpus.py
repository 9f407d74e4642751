import pytest
import xmldsig
from conftest import REAL_DIR, real_rows

# Rows the project knowingly decides otherwise (as the C++ corpus test lists).
KNOWN_DIFFERENT = {"sii-02"}


def first_row_per_family():
    rows = {}
    for row in real_rows():
        if row["expected"] != "unknown" and row["id"] not in KNOWN_DIFFERENT:
            rows.setdefault(row["family"], row)
    return list(rows.values())


def settings_of(row):
    """The row's key material and options as verify keyword arguments."""
    family = REAL_DIR / row["family"]
    settings = {"all": True, "certs": [], "ref_data": {}}
    for item in filter(None, row["key_material"].strip("-").split(",")):
        if item.startswith("ref:"):
            index, name = item[4:].split("=", 1)
            settings["ref_data"][int(index)] = family / name
        elif b"CERTIFICATE-----" in (family / item).read_bytes():
            settings["certs"].append(family / item)
        else:
            settings["keys"] = family / item
    if row["options"] != "-":
        settings["options"] = row["options"]
    return settings


@pytest.mark.parametrize("row", first_row_per_family(), ids=lambda r: r["id"])
def test_a_row_per_family_gives_the_manifest_verdict(row):
    results = xmldsig.verify(REAL_DIR / row["family"] / row["file"], **settings_of(row))
    assert len(results) == int(row["sigs"])
    verdict = "valid" if all(r.valid for r in results) else "invalid"
    assert verdict == row["expected"], [r.reason for r in results]


def test_every_family_is_covered():
    rows = real_rows()
    assert {r["family"] for r in first_row_per_family()} == {r["family"] for r in rows}
