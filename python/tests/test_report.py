import subprocess

import pytest
import xmldsig
from conftest import EXAMPLES

DOCUMENT = EXAMPLES / "enveloped-rsa-x509.xml"
# The page shows the time validated at: one fixed time, so that both sides agree across a second.
AT = "2026-01-01T00:00:00Z"


def tool_report(tool, fmt, stdin=None):
    args = [tool, "report", "-" if stdin is not None else str(DOCUMENT), "--format", fmt, "--at", AT]
    return subprocess.run(args, input=stdin, capture_output=True, check=False).stdout.decode()


@pytest.mark.parametrize("fmt", ["html", "json"])
def test_report_is_the_tools_page_for_a_path_and_for_bytes(tool, fmt):
    assert xmldsig.report(DOCUMENT, fmt, at=AT) == tool_report(tool, fmt)
    # Excerpts and the name come from the bytes given, as from standard input.
    tampered = DOCUMENT.read_bytes().replace(b">188.70<", b">188.71<")
    page = xmldsig.report(tampered, fmt, at=AT)
    assert page == tool_report(tool, fmt, stdin=tampered)
    assert page != tool_report(tool, fmt)


def test_report_refuses_what_the_tool_refuses():
    with pytest.raises(ValueError, match="format"):
        xmldsig.report(DOCUMENT, "pdf")
    with pytest.raises(TypeError, match="log_json"):
        xmldsig.report(DOCUMENT, log_json=True)
    with pytest.raises(xmldsig.Error) as raised:
        xmldsig.report(b"not xml")
    assert raised.value.code == "not_xml"
    with pytest.raises(xmldsig.FileError):
        xmldsig.report(EXAMPLES / "no-such.xml")
