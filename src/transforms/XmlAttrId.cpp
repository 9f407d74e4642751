#include "companion/platform/Psdk.h"
#include "verifier/ClsXmlDSig.h"

#include <cstdint>

namespace {

constexpr int kGroups = 4;
constexpr int kGroupLow = 1000;
constexpr int kGroupHigh = 9998;

// Shared by every object of the process and deliberately unlocked: two
// generators racing only make the identifiers less predictable.
uint32_t g_idState = 0;

uint32_t nextState() {
    if (g_idState == 0)
        g_idState = Psdk::getTickCount();
    g_idState = (g_idState * Psdk::n1()) % Psdk::n2();
    if (g_idState == 0)
        g_idState = Psdk::getTickCount();
    return g_idState;
}

} // namespace

void ClsXmlDSig::appendXmlAttrId(StringBuffer& out) {
    for (int i = 0; i < kGroups; ++i) {
        out.appendInt64(Psdk::toIntRange(nextState(), kGroupLow, kGroupHigh));
        if (i + 1 < kGroups)
            out.appendChar('-');
    }
}
