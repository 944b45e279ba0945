// Wiring the rule families in: the generated init entry calls one link for
// each family its table carries, which fills that family's driver words. A
// family whose words stay null is refused when it is selected.
#include "frame/world.h"

using namespace qor;

extern "C" {

// Each family links its own drivers where it lives. Until the XER family is
// built, its link leaves the words null and selecting it reports "not
// linked".
void qorLinkXer(QorGlobal *) {}

// The compression hooks are absent from this variant: nothing to link.
void qorLinkZlib(QorGlobal *) {}

int qorInitXAPIentries(QorGlobal *world, QorXapiEntries *entries)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->xapiEntries = entries;
    return 0;
}

} // extern "C"

namespace qor {

int familyOf(int rules)
{
    switch (rules) {
    case QOR_BER:
    case QOR_DER:
    case QOR_CER:
        return kBerFamily;
    case QOR_PER_ALIGNED:
    case QOR_PER_UNALIGNED:
        return kPerFamily;
    case QOR_XER:
    case QOR_CXER:
        return kXerFamily;
    case QOR_EXER:
        return kExerFamily;
    case QOR_OER:
        return kOerFamily;
    default:
        return -1;
    }
}

const char *ruleName(int rules)
{
    static const char *const names[] = {"BER", "PER", "PER", "DER", "ECN",
                                        "XER", "CXER", "CER", "EXER", "OER"};
    return rules >= 0 && rules <= QOR_OER ? names[rules] : "";
}

} // namespace qor
