import concurrent.futures
import datetime
import os

import pytest
import xmldsig
from conftest import EXAMPLES

RSA = EXAMPLES / "enveloped-rsa-x509.xml"
HMAC_SECRET = (EXAMPLES / "keys" / "hmac-secret.txt").read_text()


def test_examples_verify_with_signer_and_references():
    [sig] = xmldsig.verify(RSA)
    assert (sig.valid, sig.verdict, sig.reason, sig.trusted) == (True, "VALID", "", None)
    assert sig.signer.subject == "O=xmldsig examples, CN=Example RSA Signer"
    assert (sig.signer.key_source, sig.signer.key_path, sig.signer.algorithm, sig.signer.key_type) == (
        "certificate in KeyInfo", "X509Data", "rsa-sha256", "rsa")
    assert sig.signer.key_bits >= 2048 and len(sig.signer.certificate_der) > 0
    assert [(r.uri, r.target, r.matched, r.failure) for r in sig.references] == [("", "document", True, None)]
    assert "VerifySignature" in sig.log_text and sig.log_json is None

    keys = [EXAMPLES / "keys" / "rsa-signer.pem", EXAMPLES / "keys" / "ecdsa-signer.pem"]
    [ecdsa] = xmldsig.verify(str(EXAMPLES / "exc-c14n-ecdsa.xml"), keys=keys)
    assert ecdsa.valid and ecdsa.signer.key_type == "ec"
    [hmac] = xmldsig.verify(EXAMPLES / "hmac-sha256.xml", hmac_key=HMAC_SECRET, log_json=True)
    assert hmac.valid and hmac.signer.subject is None and hmac.signer.key_source == "HMAC secret"
    assert hmac.log_json["entries"][0]["context"] == "VerifySignature"
    assert xmldsig.verify(EXAMPLES / "hmac-sha256.xml", hmac_key=HMAC_SECRET.encode())[0].valid
    assert xmldsig.verify(EXAMPLES / "detached-external.xml")[0].valid


def test_tampered_bytes_and_wrong_secret_are_invalid_not_errors():
    tampered = RSA.read_bytes().replace(b">188.70<", b">188.71<", 1)
    assert tampered != RSA.read_bytes()
    [sig] = xmldsig.verify(tampered)
    assert (sig.valid, sig.signer) == (False, None) and sig.reason
    assert not any(r.matched for r in sig.references)
    [hmac] = xmldsig.verify(EXAMPLES / "hmac-sha256.xml", hmac_key="not the secret")
    assert not hmac.valid


def test_trust_anchor_decides_trusted():
    [sig] = xmldsig.verify(RSA, trust=[EXAMPLES / "keys" / "rsa-signer.pem"], at=datetime.datetime.now())
    assert sig.valid and sig.trusted is True and sig.trust_anchor == sig.signer.subject
    [other] = xmldsig.verify(RSA, trust=EXAMPLES / "keys" / "ecdsa-signer.pem")
    assert (other.valid, other.trusted) == (False, False)
    assert other.reason == "signer not trusted: " + other.trust_reason


@pytest.mark.parametrize("data, settings, kind, code", [
    ("/nonexistent.xml", {}, xmldsig.FileError, "file_unreadable"),
    (b"<a><b></a>", {}, xmldsig.Error, "not_xml"),
    (b"<a/>", {}, xmldsig.Error, "no_signature"),
    (RSA, {"selector": 3}, xmldsig.Error, "no_such_signature"),
    (RSA, {"keys": "/nonexistent.pem"}, xmldsig.Error, "bad_key"),
    (RSA, {"certs": [RSA]}, xmldsig.Error, "bad_certificate"),
    (RSA, {"trust": "/nonexistent"}, xmldsig.Error, "bad_certificate"),
    (RSA, {"at": "yesterday"}, xmldsig.Error, "bad_option"),
    (RSA, {"hmac_key": "zz", "verify_options": "[1]"}, xmldsig.Error, "bad_option"),
])
def test_bad_input_raises_with_the_one_line_reason(data, settings, kind, code):
    with pytest.raises(kind) as caught:
        xmldsig.verify(data, **settings)
    assert caught.value.code == code
    assert str(caught.value) and "\n" not in str(caught.value)
    assert isinstance(caught.value, ValueError)


def test_xml_text_given_as_str_is_refused():
    text = RSA.read_text()
    for data in (text, "\ufeff" + text, " \ufeff\n" + text, "x" * 4096, 12):
        with pytest.raises(TypeError) as caught:
            xmldsig.verify(data)
        assert len(str(caught.value)) < 80


def test_only_regular_files_are_read(tmp_path):
    fifo = tmp_path / "fifo.xml"
    os.mkfifo(fifo)
    for path, kind in ((tmp_path, "a directory"), (fifo, "a FIFO")):
        for call in (xmldsig.verify, xmldsig.c14n):
            with pytest.raises(xmldsig.FileError, match=f"{kind}, not a regular file"):
                call(path)


def test_four_threads_give_the_same_results_as_one():
    documents = [RSA.read_bytes(), EXAMPLES / "hmac-sha256.xml", EXAMPLES / "exc-c14n-ecdsa.xml", b"<a/>"] * 25
    verifier = xmldsig.Verifier(hmac_key=HMAC_SECRET)

    def outcome(document):
        try:
            return [(s.verdict, s.reason, s.signer and s.signer.key_source) for s in verifier.verify(document)]
        except xmldsig.Error as e:
            return str(e)

    alone = [outcome(d) for d in documents]
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        assert list(pool.map(outcome, documents)) == alone
    assert alone[0] == [("VALID", "", "certificate in KeyInfo")] and alone[3].endswith("no signature in the document")
