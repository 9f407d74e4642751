"""Verification of XML digital signatures.

    import xmldsig
    for sig in xmldsig.verify("invoice.xml", trust=["roots/"]):
        print(sig.verdict, sig.reason or sig.signer.subject)

A document is given as bytes (its exact bytes) or as a path (``str`` or
``os.PathLike``). A ``str`` is always a path: XML text must be passed as bytes
(``text.encode()``), and a ``str`` that starts with ``<`` (after a byte-order
mark or white space) or is longer than any path is refused with a TypeError
rather than looked up as a file. Only a regular file is read; the path ``-``
reads standard input.
"""

from __future__ import annotations

import datetime as _datetime
import json as _json
import os as _os

from ._xmldsig import AdesCheck, AdesProperties, AdesTimestamp, AdesValidation, ChainCertificate, CounterSignature
from ._xmldsig import Error, FileError, Reference, SignatureResult, Signer
from ._xmldsig import _c14n, _c14n_file, _report, _Settings, _Verifier

__all__ = ["AdesCheck", "AdesProperties", "AdesTimestamp", "AdesValidation", "ChainCertificate", "CounterSignature",
           "Error", "FileError", "Reference", "SignatureResult", "Signer", "Verifier", "c14n", "report", "verify"]

_NO_PATHS = ()
# PATH_MAX on Linux, the terminating NUL included.
_PATH_MAX = 4096


def _path_list(value):
    """One path or an iterable of paths, as a list of str."""
    if value is None:
        return []
    if isinstance(value, (str, bytes, _os.PathLike)):
        value = [value]
    return [_os.fsdecode(_os.fspath(v)) for v in value]


def _time_text(at):
    """The verification time as xsd:dateTime text (naive datetimes are UTC)."""
    if isinstance(at, str):
        return at
    if isinstance(at, (int, float)):
        at = _datetime.datetime.fromtimestamp(at, _datetime.timezone.utc)
    if isinstance(at, _datetime.datetime):
        if at.tzinfo is not None:
            at = at.astimezone(_datetime.timezone.utc)
        return at.strftime("%Y-%m-%dT%H:%M:%SZ")
    raise TypeError(f"at: expected str, datetime or a POSIX time, got {type(at).__name__}")


def _policy(item):
    """A policies entry: a path, or an (identifier, path) pair."""
    if isinstance(item, (str, bytes, _os.PathLike)):
        return "", _os.fsdecode(_os.fspath(item))
    identifier, path = item
    return identifier, _os.fsdecode(_os.fspath(path))


def _settings(keys=_NO_PATHS, certs=_NO_PATHS, trust=_NO_PATHS, crls=_NO_PATHS, at=None, hmac_key=None,
              options="", all=False, signature_id=None, selector=0, check_references=True, ext_dirs=_NO_PATHS,
              ref_data=None, ignore_external_refs=False, verify_options=None, log_json=False, verbose=False,
              ades=False, online=False, policies=()):
    s = _Settings()
    for key in _path_list(keys):
        s.add_key_file(key)
    for path in _path_list(certs):
        s.add_certificates(path)
    for path in _path_list(trust):
        s.add_trust_anchors(path)
    for path in _path_list(crls):
        s.add_crls(path)
    if at is not None:
        s.set_verification_time(_time_text(at))
    if isinstance(hmac_key, (bytes, bytearray)):
        s.set_hmac_key(bytes(hmac_key).hex(), "hex")
    elif hmac_key is not None:
        s.set_hmac_key(hmac_key, "ascii")
    s.set_options(options)
    if all:
        s.select_all()
    elif signature_id is not None:
        s.select_id(signature_id)
    else:
        s.select_index(selector)
    s.set_check_references(check_references)
    for folder in _path_list(ext_dirs):
        s.add_external_ref_dir(folder)
    for index, path in (ref_data or {}).items():
        s.set_ref_data_file(int(index), _os.fsdecode(_os.fspath(path)))
    s.set_ignore_external_refs(ignore_external_refs)
    if verify_options is not None:
        s.set_verify_options(verify_options if isinstance(verify_options, str) else _json.dumps(verify_options))
    s.set_log_json(log_json)
    s.set_verbose_log(verbose)
    s.set_ades_validation(ades)
    s.set_online(online)
    for identifier, path in map(_policy, policies):
        s.add_policy_document(path, identifier)
    return s


def _document(data):
    """Bytes to verify as they are, or the path of a file."""
    if isinstance(data, bytes):
        return data, None
    if isinstance(data, (bytearray, memoryview)):
        return bytes(data), None
    path = _os.fsdecode(_os.fspath(data))
    if path.lstrip().removeprefix("\ufeff").lstrip().startswith("<"):
        raise TypeError("a str is a path; pass XML text as bytes (text.encode())")
    if len(_os.fsencode(path)) >= _PATH_MAX:
        raise TypeError(f"a str is a path; {len(path)} characters are longer than any path")
    return None, path


class Verifier:
    """Settings held for many verifications; one object may be shared by any
    number of threads (each call borrows an engine of its own, the GIL is
    released while it works).

    Keyword arguments (all optional):
      keys: public key or certificate files (PEM or DER) tried for every signature
      certs: certificate files or folders that KeyInfo may refer to
      trust, crls: trust anchors and CRLs; a valid signature then stands only
          when its signer chains to an anchor
      at: the time to check the chain at (xsd:dateTime text, datetime or POSIX time)
      hmac_key: the HMAC secret (str as text, bytes as they are)
      options: signer accommodations ("ZATCA", "MYINVOIS", ...)
      all / signature_id / selector: which signatures (default the first)
      check_references: False checks the signature value only
      ext_dirs, ref_data ({index: path}), ignore_external_refs: external references
      verify_options: limits, a dict or JSON text
      log_json: also give each result its log as a dict; verbose: a verbose log
      ades: AdES validation, each result's `ades` (None otherwise)
      online: fetch revocation from the OCSP responders and CRL distribution
          points that certificates name (nothing touches the network otherwise)
      policies: signature policy documents, each a path or an (identifier, path) pair
    """

    def __init__(self, **settings):
        self._engine = _Verifier(_settings(**settings))

    def verify(self, data):
        """The results of the selected signatures of one document (bytes or a
        path); raises Error (FileError when it cannot be read)."""
        document, path = _document(data)
        if document is not None:
            return self._engine.verify_bytes(document)
        return self._engine.verify_file(path)


def verify(data, **settings):
    """Verifies one document with the given settings (see Verifier)."""
    return Verifier(**settings).verify(data)


# Settings a report decides itself, as `xmldsig report` refuses --log and --verbose.
_REPORT_FIXED = ("ades", "log_json", "verbose")


def report(data, format="html", *, name=None, **settings):
    """The report a person reads on one document (bytes or a path), as
    `xmldsig report FILE --format html|json` writes it: the HTML page, or the
    JSON text. Each signature is validated as AdES too. `name` is the
    document's name on the page (by default the path, or "-" for bytes as for
    standard input); the settings are Verifier's. Raises Error (FileError when
    the document cannot be read), ValueError for another format."""
    fixed = [key for key in _REPORT_FIXED if key in settings]
    if fixed:
        raise TypeError(f"report() does not take {fixed[0]}: a report validates AdES, and its JSON holds the log")
    document, path = _document(data)
    if name is None:
        name = "-" if path is None else path
    return _report(_settings(**settings), document, path or "", format, name)


_C14N_METHODS = {(False, False): "inclusive", (True, False): "exclusive", (False, True): "c14n11"}


def c14n(data, *, exclusive=False, c14n11=False, with_comments=False, prefixes="", fragment=None):
    """The canonical form (UTF-8 bytes) of a document (bytes or a path), or of
    its element whose Id, ID or id attribute is `fragment`. Inclusive C14N 1.0
    by default, exclusive with `exclusive` (and its `prefixes` list), Canonical
    XML 1.1 with `c14n11`."""
    method = _C14N_METHODS.get((bool(exclusive), bool(c14n11)))
    if method is None:
        raise ValueError("exclusive and c14n11 exclude each other")
    document, path = _document(data)
    if not isinstance(prefixes, str):
        prefixes = " ".join(prefixes)
    if document is None:
        return _c14n_file(path, method, with_comments, prefixes, fragment or "")
    return _c14n(document, method, with_comments, prefixes, fragment or "")
