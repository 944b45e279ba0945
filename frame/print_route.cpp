// The route that every piece of library text takes to the application: a user
// vprint function, a user print function, the context's print function, or
// the stream itself. A null print stream silences all of them.
#include <cstdio>

#include "frame/errors.h"
#include "harness/trace.h"

namespace qor {

namespace {

// Text that fits here is formatted on the stack; longer text takes memory
// from the context's allocator for the one call.
constexpr size_t kLineSize = 1024;

enum class Route { kSilent, kUserVprint, kFinishedText, kStream };

// A user vprint function counts only on a context with a control table; the
// print function counts only on a context without one, once it differs from
// the function that qorinit stored.
Route routeOf(const QorGlobal *world)
{
    if (world->printStream == nullptr)
        return Route::kSilent;
    const QorGlobalPrivate *p = world->privateArea;
    if (world->ctlTable != nullptr && p != nullptr && p->userVprintFn != nullptr)
        return Route::kUserVprint;
    if (world->userPrintFn != nullptr)
        return Route::kFinishedText;
    if (world->ctlTable == nullptr && world->printFn != nullptr &&
        world->printFn != world->savedPrintFn)
        return Route::kFinishedText;
    return Route::kStream;
}

// A variable argument list cannot be rebuilt word by word on this platform:
// user print functions and the print function get the text finished, under
// "%s", and so see exactly what the stream would have received.
int deliverFinished(QorGlobal *world, const char *text)
{
    if (world->userPrintFn != nullptr)
        return world->userPrintFn(world, "%s", text);
    return world->printFn(world->printStream, "%s", text);
}

int callVprint(QorGlobal *world, QorVprintFn fn, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int n = fn(world, format, args);
    va_end(args);
    return n;
}

int toStream(FILE *stream, const char *text)
{
    int n = fputs(text, stream);
    fflush(stream);
    return n;
}

int formatFinished(QorGlobal *world, const char *format, va_list args)
{
    char line[kLineSize];
    va_list again;
    va_copy(again, args);
    int n = vsnprintf(line, sizeof line, format, again);
    va_end(again);
    if (n < 0)
        return n;
    if (static_cast<size_t>(n) < sizeof line)
        return deliverFinished(world, line);
    size_t size = static_cast<size_t>(n) + 1;
    auto *longer = static_cast<char *>(userAllocate(world, size));
    if (longer == nullptr) {
        // Inside a call, the call fails rather than print less than it
        // says; outside one, the text goes out cut rather than not at all.
        raiseIf(world, world->jumpFrame != nullptr, Msg::kOutOfMemory, static_cast<QorLong>(size));
        return deliverFinished(world, line);
    }
    vsnprintf(longer, size, format, args);
    int result = deliverFinished(world, longer);
    userRelease(world, longer);
    return result;
}

} // namespace

void printText(QorGlobal *world, const char *text)
{
    if (world == nullptr) {
        toStream(stdout, text);
        return;
    }
    switch (routeOf(world)) {
    case Route::kSilent:
        break;
    case Route::kUserVprint:
        callVprint(world, world->privateArea->userVprintFn, "%s", text);
        break;
    case Route::kFinishedText:
        deliverFinished(world, text);
        break;
    case Route::kStream:
        toStream(static_cast<FILE *>(world->printStream), text);
        break;
    }
}

} // namespace qor

using namespace qor;

extern "C" {

int qorVprintWin(QorGlobal *world, const char *format, va_list args)
{
    if (world == nullptr) {
        int n = vprintf(format, args);
        fflush(stdout);
        return n;
    }
    if (world->traceWindow != nullptr && world->traceTemp != nullptr)
        return printToWindow(world, format, args);
    switch (routeOf(world)) {
    case Route::kSilent:
        return 0;
    case Route::kUserVprint:
        return world->privateArea->userVprintFn(world, format, args);
    case Route::kFinishedText:
        return formatFinished(world, format, args);
    case Route::kStream:
        break;
    }
    auto *stream = static_cast<FILE *>(world->printStream);
    int n = vfprintf(stream, format, args);
    fflush(stream);
    return n;
}

int qorPrint(QorGlobal *world, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int n = qorVprintWin(world, format, args);
    va_end(args);
    return n;
}

// The name stays for applications that printed to the trace window, which
// this platform does not have.
int qorPrintWin(QorGlobal *world, const char *format, ...) __attribute__((alias("qorPrint")));

} // extern "C"
