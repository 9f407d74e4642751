import pytest
import xmldsig
from conftest import REAL_DIR

XADES = REAL_DIR / "xades"


def test_ades_only_when_asked_and_a_tampered_document_fails_on_its_hash():
    assert xmldsig.verify(XADES / "xades4j-document.signed.bes.xml")[0].ades is None
    [sig] = xmldsig.verify(XADES / "xades4j-document.signed.bes-tamper.xml", ades=True)
    assert (sig.ades.indication, sig.ades.sub_indication) == ("TOTAL_FAILED", "HASH_FAILURE")
    assert any(c.outcome == "failed" for c in sig.ades.checks)


def test_signer_as_anchor_passes_with_its_chain_and_properties(tmp_path):
    document = XADES / "xades4j-document.signed.t.bes.xml"
    [untrusted] = xmldsig.verify(document, ades=True)
    assert (untrusted.ades.indication, untrusted.ades.sub_indication) == ("INDETERMINATE", "NO_CERTIFICATE_CHAIN_FOUND")
    anchor = tmp_path / "signer.der"
    anchor.write_bytes(untrusted.signer.certificate_der)
    [sig] = xmldsig.verify(document, ades=True, trust=anchor)
    ades = sig.ades
    assert (ades.indication, ades.sub_indication) == ("TOTAL_PASSED", None)
    assert ades.level.startswith("XAdES-BASELINE-")
    assert [c.outcome for c in ades.checks if "TimeStamp" not in c.name] == ["passed"] * (len(ades.checks) - 1)
    assert [c.outcome for c in ades.checks if "TimeStamp" in c.name] == ["not done"]
    assert [(c.subject, c.revocation) for c in ades.chain] == [(sig.signer.subject, "not checked")]
    assert ades.properties.signing_time == "2017-04-21T18:36:38Z" and ades.properties.policy_identifier is None


def test_policies_are_paths_or_identifier_path_pairs(tmp_path):
    policy = tmp_path / "policy.pdf"
    policy.write_bytes(b"%PDF-1.4 policy")
    xmldsig.Verifier(ades=True, policies=[policy, ("urn:oid:1.2.3", str(policy))])
    with pytest.raises(xmldsig.FileError):
        xmldsig.Verifier(ades=True, policies=[("urn:oid:1.2.3", tmp_path / "missing.pdf")])
