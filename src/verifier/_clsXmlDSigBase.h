#pragma once

#include "companion/base/ClsBase.h"
#include "companion/pki/_clsCades.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <cstdint>

// The document-profile flags and the transform state shared by the
// verifier's operations.
class _clsXmlDSigBase : public ClsBase, public _clsCades {
public:
    ~_clsXmlDSigBase() override = default;

protected:
    // Profile flags: which signer family's deviations to accommodate.
    uint32_t m_specialProfile = 0;
    bool m_isSiiCl = false;
    uint32_t m_siiDteOffset = 0;
    StringBuffer m_siiDteXml;
    // Reset together whenever a document is loaded.
    bool m_isDoda = false;
    bool m_isCsioz = false;
    bool m_isSunat = false;
    bool m_isZatca = false;
    bool m_isMyInvois = false;
    bool m_dupC14nSortBug = false;
    bool m_noSortBugRetry = false;
    bool m_isSignedDocSkXml = false;
    bool m_isCmaStp = false;
    // The invoice document digest that MyInvois signatures sign.
    DataBuffer m_docDigest;
};
