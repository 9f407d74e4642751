#include "companion/text/SharedText.h"
#include "companion/text/SubstringSet.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/ProfileMarkers.h"

#include <algorithm>

namespace {

constexpr uint32_t kSunatProfile = 3;
// The text is searched in pieces of this size (see findProfileMarkers).
constexpr size_t kMarkerPiece = 8u << 20;
constexpr const char* kSortBugMessage = "Will duplicate the XML canonicalization attribute sorting bug...";

// Every marker, so that the text is searched once for all of them.
const std::vector<std::string_view>& allMarkers() {
    using namespace profile_markers;
    static const std::vector<std::string_view> markers = [] {
        std::vector<std::string_view> all{kSiiChile, kSunatUbl,     kCsioz,       kCmaStp,   kSatSiat,
                                          kDodaTag,  kSignedDocTag, kSkXmlFormat, kSwiftSaa, kSwiftLauStart};
        all.insert(all.end(), kSortBugSigners.begin(), kSortBugSigners.end());
        return all;
    }();
    return markers;
}

} // namespace

// In pieces, so that a mapped text's pages behind the search are given back
// as it goes (see XmlDocument::releaseTextBefore); the pieces overlap by a
// marker's length less one, so that none is missed across a cut.
uint64_t ClsXmlDSig::findProfileMarkers(const SharedText& text) {
    static const SubstringSet markerSet(allMarkers());
    const std::string_view all = text.view();
    const size_t overlap = std::max<size_t>(markerSet.longest(), 1) - 1;
    uint64_t found = 0;
    for (size_t at = 0; at < all.size(); at += kMarkerPiece) {
        found |= markerSet.findIn(all.substr(at, kMarkerPiece + overlap));
        text.releasePages(0, at);
    }
    return found;
}

void ClsXmlDSig::detectSpecial(uint64_t found, LogBase& log) {
    using namespace profile_markers;
    m_profile.isDoda = m_profile.isCsioz = m_profile.isSunat = m_profile.isSiiCl = false;
    m_profile.dupC14nSortBug = m_profile.noSortBugRetry = m_profile.isSignedDocSkXml = m_profile.isCmaStp = false;

    auto contains = [found](std::string_view marker) {
        const auto& all = allMarkers();
        const auto at = static_cast<size_t>(std::find(all.begin(), all.end(), marker) - all.begin());
        return (found >> at) & 1;
    };
    if (contains(kSiiChile)) {
        m_profile.isSiiCl = true;
        m_profile.noSortBugRetry = true;
        m_siiDteXml.clear();
    } else if (contains(kSunatUbl)) {
        m_profile.specialProfile = kSunatProfile;
        m_profile.isSunat = true;
    } else if (std::any_of(kSortBugSigners.begin(), kSortBugSigners.end(), contains)) {
        log.LogInfo(kSortBugMessage);
        m_profile.dupC14nSortBug = true;
    } else if (contains(kCsioz)) {
        log.LogInfo(kSortBugMessage);
        m_profile.dupC14nSortBug = true;
        m_profile.isCsioz = true;
    } else if (contains(kCmaStp)) {
        m_profile.isCmaStp = true;
    } else if (contains(kSatSiat) && contains(kDodaTag)) {
        m_profile.isDoda = true;
    }

    // The namespace may reach the canonical text only through a character
    // reference, but a LAU element is always written as such.
    m_profile.mayRemoveSwiftLau = contains(kSwiftLauStart);
    if (contains(kSignedDocTag) && contains(kSkXmlFormat))
        m_profile.isSignedDocSkXml = true;
}
