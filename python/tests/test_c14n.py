import subprocess

import pytest
import xmldsig
from conftest import EXAMPLES, REAL_DIR

DOCUMENTS = [EXAMPLES / "enveloped-rsa-x509.xml", EXAMPLES / "exc-c14n-ecdsa.xml",
             REAL_DIR / "saml" / "rubysaml-adfs_response_sha256.xml"]

VARIANTS = [
    ({}, []),
    ({"with_comments": True}, ["--with-comments"]),
    ({"exclusive": True, "prefixes": "ds xs"}, ["--exclusive", "--prefixes", "ds xs"]),
    ({"c14n11": True}, ["--c14n11"]),
]


@pytest.mark.parametrize("kwargs, flags", VARIANTS, ids=lambda v: str(v))
@pytest.mark.parametrize("document", DOCUMENTS, ids=lambda p: p.name)
def test_c14n_equals_the_tool(tool, document, kwargs, flags):
    expected = subprocess.run([tool, "c14n", *flags, str(document)], check=True, capture_output=True).stdout
    assert xmldsig.c14n(document, **kwargs) == expected
    assert xmldsig.c14n(document.read_bytes(), **kwargs) == expected


def test_c14n_of_an_element_by_id_and_errors():
    doc = b'<r xmlns:a="urn:a"><a:e Id="x" b="1"/><!-- c --></r>'
    assert xmldsig.c14n(doc, fragment="x", exclusive=True) == b'<a:e xmlns:a="urn:a" Id="x" b="1"></a:e>'
    assert xmldsig.c14n(doc, with_comments=True).endswith(b"<!-- c --></r>")
    with pytest.raises(xmldsig.Error) as caught:
        xmldsig.c14n(b"<a><b></a>")
    assert caught.value.code == "not_xml"
    with pytest.raises(xmldsig.Error) as caught:
        xmldsig.c14n(doc, fragment="nope")
    assert caught.value.code == "no_such_element"
    with pytest.raises(xmldsig.FileError):
        xmldsig.c14n("/nonexistent.xml")
    with pytest.raises(ValueError):
        xmldsig.c14n(doc, exclusive=True, c14n11=True)
