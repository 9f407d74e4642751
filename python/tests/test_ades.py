import pytest
import xmldsig
from conftest import REAL_DIR

XADES = REAL_DIR / "xades"


def test_ades_only_when_asked_and_a_tampered_document_fails_on_its_hash():
    assert xmldsig.verify(XADES / "xades4j-document.signed.bes.xml")[0].ades is None
    [sig] = xmldsig.verify(XADES / "xades4j-document.signed.bes-tamper.xml", ades=True)
    assert (sig.ades.indication, sig.ades.sub_indication) == ("TOTAL_FAILED", "HASH_FAILURE")
    assert any(c.outcome == "failed" for c in sig.ades.checks)


def test_timestamped_signature_gives_its_properties_timestamp_and_chain():
    [sig] = xmldsig.verify(XADES / "xades4j-document.signed.t.bes.xml", ades=True)
    ades = sig.ades
    assert ades.level.startswith("XAdES")
    assert [t.kind for t in ades.timestamps] == ["SignatureTimeStamp"]
    assert ades.timestamps[0].time
    assert ades.chain[0].subject == sig.signer.subject
    assert ades.properties.signing_time


def test_policies_are_paths_or_identifier_path_pairs(tmp_path):
    policy = tmp_path / "policy.pdf"
    policy.write_bytes(b"%PDF-1.4 policy")
    xmldsig.Verifier(ades=True, policies=[policy, ("urn:oid:1.2.3", str(policy))])
    with pytest.raises(xmldsig.FileError):
        xmldsig.Verifier(ades=True, policies=[("urn:oid:1.2.3", tmp_path / "missing.pdf")])
