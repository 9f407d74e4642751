import datetime
import os
from collections.abc import Iterable, Mapping
from typing import Any, Literal, Union

_Path = Union[str, os.PathLike[str]]
_Paths = Union[_Path, Iterable[_Path]]
_Document = Union[bytes, bytearray, memoryview, _Path]

class Error(ValueError):
    code: str

class FileError(Error, OSError): ...

class Signer:
    key_source: str
    key_path: str
    algorithm: str
    signature_method: str
    key_type: str
    key_bits: int
    subject: str | None
    issuer: str | None
    serial_number: str | None
    not_before: str | None
    not_after: str | None
    sha256_fingerprint: str | None
    certificate_der: bytes | None
    signing_time: str | None
    signing_time_source: str | None

class Reference:
    index: int
    uri: str
    target: Literal["element", "document", "external", "unresolved", "selection"]
    element: str | None
    path: str | None
    line: int
    offset: int
    external_file: str | None
    # target "selection": the node-set's top elements ({"element", "path", "line", "offset"})
    selected: list[dict[str, str | int]]
    selected_count: int
    excludes_outside: bool
    transforms: list[str]
    digest_method: str
    matched: bool
    failure: str | None

class AdesCheck:
    name: str
    outcome: Literal["passed", "failed", "not done", "info"]
    detail: str

class AdesProperties:
    signing_time: str | None
    # {"reference": int | None, "mime_type": str, "description": str}
    data_object_formats: list[dict[str, Any]]
    commitment_types: list[str]
    signer_roles: list[str]
    production_place: str | None
    policy_identifier: str | None

class AdesTimestamp:
    kind: str
    valid: bool
    time: str | None
    tsa_subject: str | None
    tsa_trusted: bool
    reason: str | None

class ChainCertificate:
    subject: str
    issuer: str
    serial_number: str
    not_before: str
    not_after: str
    sha256_fingerprint: str
    anchor: bool
    revocation: str
    revocation_source: str | None
    revocation_time: str | None

class CounterSignature:
    id: str
    valid: bool
    reason: str | None
    signer_subject: str | None

class AdesValidation:
    indication: Literal["TOTAL_PASSED", "INDETERMINATE", "TOTAL_FAILED"]
    sub_indication: str | None
    level: str
    best_signature_time: str | None
    checks: list[AdesCheck]
    properties: AdesProperties
    timestamps: list[AdesTimestamp]
    chain: list[ChainCertificate]
    counter_signatures: list[CounterSignature]

class SignatureResult:
    index: int
    id: str
    valid: bool
    verdict: Literal["VALID", "INVALID"]
    reason: str
    stage: str
    further_attempts: list[tuple[int, str]]
    limit: tuple[str, int, int] | None
    signer: Signer | None
    trusted: bool | None
    trust_anchor: str | None
    trust_reason: str | None
    trust_time: str | None
    references: list[Reference]
    ades: AdesValidation | None
    log_text: str
    log_json: dict[str, Any] | None

class Verifier:
    def __init__(
        self,
        *,
        keys: _Paths = ...,
        certs: _Paths = ...,
        trust: _Paths = ...,
        crls: _Paths = ...,
        at: str | datetime.datetime | float | None = ...,
        hmac_key: str | bytes | None = ...,
        options: str = ...,
        all: bool = ...,
        signature_id: str | None = ...,
        selector: int = ...,
        check_references: bool = ...,
        ext_dirs: _Paths = ...,
        ref_data: Mapping[int, _Path] | None = ...,
        ignore_external_refs: bool = ...,
        verify_options: str | Mapping[str, Any] | None = ...,
        log_json: bool = ...,
        verbose: bool = ...,
        ades: bool = ...,
        online: bool = ...,
        policies: Iterable[_Path | tuple[str, _Path]] = ...,
    ) -> None: ...
    def verify(self, data: _Document) -> list[SignatureResult]: ...

def verify(
    data: _Document,
    *,
    keys: _Paths = ...,
    certs: _Paths = ...,
    trust: _Paths = ...,
    crls: _Paths = ...,
    at: str | datetime.datetime | float | None = ...,
    hmac_key: str | bytes | None = ...,
    options: str = ...,
    all: bool = ...,
    signature_id: str | None = ...,
    selector: int = ...,
    check_references: bool = ...,
    ext_dirs: _Paths = ...,
    ref_data: Mapping[int, _Path] | None = ...,
    ignore_external_refs: bool = ...,
    verify_options: str | Mapping[str, Any] | None = ...,
    log_json: bool = ...,
    verbose: bool = ...,
    ades: bool = ...,
    online: bool = ...,
    policies: Iterable[_Path | tuple[str, _Path]] = ...,
) -> list[SignatureResult]: ...
def report(
    data: _Document,
    format: Literal["html", "json"] = ...,
    *,
    name: str | None = ...,
    keys: _Paths = ...,
    certs: _Paths = ...,
    trust: _Paths = ...,
    crls: _Paths = ...,
    at: str | datetime.datetime | float | None = ...,
    hmac_key: str | bytes | None = ...,
    options: str = ...,
    all: bool = ...,
    signature_id: str | None = ...,
    selector: int = ...,
    check_references: bool = ...,
    ext_dirs: _Paths = ...,
    ref_data: Mapping[int, _Path] | None = ...,
    ignore_external_refs: bool = ...,
    verify_options: str | Mapping[str, Any] | None = ...,
    online: bool = ...,
    policies: Iterable[_Path | tuple[str, _Path]] = ...,
) -> str: ...
def c14n(
    data: _Document,
    *,
    exclusive: bool = ...,
    c14n11: bool = ...,
    with_comments: bool = ...,
    prefixes: str | Iterable[str] = ...,
    fragment: str | None = ...,
) -> bytes: ...
