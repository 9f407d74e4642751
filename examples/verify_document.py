"""Verifies a document with the xmldsig package and, when asked, writes the
HTML report on it; the exit status is 0 when every signature is valid.

    python3 verify_document.py DOCUMENT [REPORT.html]

Also the package's typed API as an application sees it: it passes
`mypy --strict` against the package's stubs.
"""

import pathlib
import sys

import xmldsig


def describe(sig: xmldsig.SignatureResult) -> str:
    if not sig.valid:
        return f"INVALID: {sig.reason}"
    signer = sig.signer.subject if sig.signer is not None else None
    return f"VALID, signed by {signer or 'a key without a certificate'}"


def main(argv: list[str]) -> int:
    if len(argv) not in (2, 3):
        print(__doc__, file=sys.stderr)
        return 2
    document = pathlib.Path(argv[1])
    try:
        results = xmldsig.verify(document)
        if len(argv) == 3:
            pathlib.Path(argv[2]).write_text(xmldsig.report(document, "html"), encoding="utf-8")
    except xmldsig.Error as error:
        print(f"{document}: {error} ({error.code})", file=sys.stderr)
        return 2
    for sig in results:
        print(f"{document}: signature {sig.index} {describe(sig)}")
    return 0 if all(sig.valid for sig in results) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
