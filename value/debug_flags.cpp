// The debug flags, and the printer's calls that the debug paths reach
// through the context's hooks.
#include "frame/world.h"

extern "C" {

int qorSetDebugFlags(QorGlobal *world, QorULong flags)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    QorGlobalPrivate *p = world->privateArea;
    p->debugFlags = flags;
    p->printPduHook = reinterpret_cast<void *>(qorPrintPDU);
    p->printHexHook = reinterpret_cast<void *>(qorPrintHex);
    p->printXmlHook = reinterpret_cast<void *>(qorPrintXML);
    return 0;
}

QorLong qorGetDebugFlags(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    return static_cast<QorLong>(world->privateArea->debugFlags);
}

} // extern "C"
