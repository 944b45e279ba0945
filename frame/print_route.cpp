// The route that every piece of library text takes to the application: a user
// print function, a user vprint function, or the stream's print function.
#include "frame/errors.h"

namespace qor {

namespace {

int callVprint(QorGlobal *world, QorVprintFn fn, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int n = fn(world, format, args);
    va_end(args);
    return n;
}

} // namespace

void printText(QorGlobal *world, const char *text)
{
    if (world->printStream == nullptr)
        return;
    QorGlobalPrivate *p = world->privateArea;
    if (world->userPrintFn != nullptr)
        world->userPrintFn(world, "%s", text);
    else if (p != nullptr && p->userVprintFn != nullptr)
        callVprint(world, p->userVprintFn, "%s", text);
    else if (world->printFn != nullptr)
        world->printFn(world->printStream, "%s", text);
}

} // namespace qor
