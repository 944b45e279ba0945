#include "harness/trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "frame/export.h"

namespace qor {
namespace {

constexpr int kLineBufferSize = 1024;
constexpr int kAlreadyOpen = 28;   // a trace file is open already
constexpr int kCannotOpen = 27;    // the file can't be opened
constexpr int kCannotClose = 46;   // closing the file failed
constexpr int kWindowFailed = 24;  // no window, or one already open

// This platform has no windows: the window's calls do nothing.
void updateWindow(QorGlobal *) {}
char g_noWindow; // stands for the window handle

void freeChunks(QorGlobal *world)
{
    auto *chunk = static_cast<TraceChunk *>(world->traceLines);
    while (chunk != nullptr) {
        TraceChunk *next = chunk->next;
        world->privateArea->privFree(chunk);
        chunk = next;
    }
    world->traceLines = world->traceChunkCurrent = nullptr;
    world->traceLineCount = world->traceChunkNumber = world->traceLineLength = 0;
    world->traceLineOpen = 0;
}

// A new line that starts at `offset` of the temporary file; a full chunk
// is followed by a new one.
bool addLine(QorGlobal *world, long offset)
{
    auto *chunk = static_cast<TraceChunk *>(world->traceChunkCurrent);
    const QorLong inChunk = world->traceLineCount % kTraceChunkLines;
    if (chunk == nullptr || (inChunk == 0 && world->traceLineCount != 0)) {
        auto *next = static_cast<TraceChunk *>(world->privateArea->privMalloc(sizeof(TraceChunk)));
        if (next == nullptr) {
            showMessage("Unable To Alocate a Memory Block", "Error");
            return false;
        }
        memset(next, 0, sizeof *next);
        next->previous = chunk;
        next->number = ++world->traceChunkNumber;
        if (chunk != nullptr)
            chunk->next = next;
        else
            world->traceLines = next;
        world->traceChunkCurrent = chunk = next;
    }
    chunk->offsets[inChunk] = static_cast<uint32_t>(offset);
    world->traceLineCount++;
    world->traceLineOpen = 1;
    world->traceLineLength = 0;
    return true;
}

void finishLine(QorGlobal *world)
{
    auto *chunk = static_cast<TraceChunk *>(world->traceChunkCurrent);
    chunk->lengths[(world->traceLineCount - 1) % kTraceChunkLines] = static_cast<uint16_t>(world->traceLineLength);
    world->traceLineOpen = 0;
    updateWindow(world);
}

} // namespace

void showMessage(const char *text, const char *title) { fprintf(stderr, "%s: %s\n", title, text); }

bool openTraceTemp(QorGlobal *world)
{
    char pattern[] = "/tmp/qortraceXXXXXX";
    int fd = mkstemp(pattern);
    if (fd < 0)
        return false;
    FILE *f = fdopen(fd, "w+b");
    char *name = static_cast<char *>(world->privateArea->privMalloc(sizeof pattern));
    if (f == nullptr || name == nullptr) {
        if (f != nullptr)
            fclose(f);
        else
            close(fd);
        unlink(pattern);
        if (name != nullptr)
            world->privateArea->privFree(name);
        return false;
    }
    memcpy(name, pattern, sizeof pattern);
    world->traceTemp = f;
    world->privateArea->traceTempName = name;
    return true;
}

void closeTraceTemp(QorGlobal *world)
{
    if (world->traceTemp != nullptr) {
        fclose(static_cast<FILE *>(world->traceTemp));
        world->traceTemp = nullptr;
    }
    QorGlobalPrivate *p = world->privateArea;
    if (p != nullptr && p->traceTempName != nullptr) {
        unlink(p->traceTempName);
        p->privFree(p->traceTempName);
        p->traceTempName = nullptr;
    }
}

bool traceFileOpen(const QorGlobal *world)
{
    return world->privateArea != nullptr && world->privateArea->traceFileOpen;
}

void *untracedStream(const QorGlobal *world)
{
    return traceFileOpen(world) ? world->savedPrintStream : world->printStream;
}

void endTrace(QorGlobal *world)
{
    if (traceFileOpen(world))
        qorCloseTraceFile(world);
    if (world->privateArea != nullptr)
        freeChunks(world);
    closeTraceTemp(world);
    world->traceWindow = nullptr;
}

int printToWindow(QorGlobal *world, const char *format, va_list args)
{
    char line[kLineBufferSize];
    const int formatted = vsnprintf(line, sizeof line, format, args);
    if (formatted <= 0)
        return formatted;
    const int n = formatted < kLineBufferSize ? formatted : kLineBufferSize - 1;
    auto *temp = static_cast<FILE *>(world->traceTemp);
    fseek(temp, 0, SEEK_END);
    const long offset = ftell(temp);
    if (offset < 0 || fwrite(line, 1, static_cast<size_t>(n), temp) != static_cast<size_t>(n)) {
        showMessage("Error Writing a Temporary File", "Error");
        return 0;
    }
    world->traceDirty = 1;
    for (int i = 0; i < n; i++) {
        if (!world->traceLineOpen && !addLine(world, offset + i))
            return n;
        if (line[i] == '\n')
            finishLine(world);
        else
            world->traceLineLength++;
    }
    return n;
}

} // namespace qor

using namespace qor;

extern "C" {

int qorOpenTraceFile(QorGlobal *world, const char *path)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    if (traceFileOpen(world)) {
        showMessage("Sorry, Tracing File Is Already Opened", "Warning");
        return kAlreadyOpen;
    }
    FILE *f = path != nullptr ? fopen(path, "w") : nullptr;
    if (f == nullptr) {
        showMessage("Unable To Open a Tracing File", "Error");
        return kCannotOpen;
    }
    world->savedPrintStream = world->printStream;
    world->printStream = f;
    world->privateArea->traceFileOpen = true;
    return 0;
}

int qorCloseTraceFile(QorGlobal *world)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    if (!traceFileOpen(world))
        return 0;
    const int closed = fclose(static_cast<FILE *>(world->printStream));
    // The stream in force before comes back whether or not the close worked.
    world->printStream = world->savedPrintStream;
    world->savedPrintStream = nullptr;
    world->privateArea->traceFileOpen = false;
    return closed == 0 ? 0 : kCannotClose;
}

int qorOpenTraceWindow(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    if (world->traceWindow != nullptr)
        return kWindowFailed;
    world->traceWindow = &g_noWindow;
    if (world->traceTemp == nullptr && !openTraceTemp(world)) {
        showMessage("Unable To Open a Temporary File", "Error");
        world->traceWindow = nullptr;
        return kCannotOpen;
    }
    return 0;
}

int qorFreeList(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    freeChunks(world);
    closeTraceTemp(world);
    world->traceDirty = 0;
    if (!openTraceTemp(world)) {
        showMessage("Unable To Open a Temporary File", "Error");
        return kCannotOpen;
    }
    return 0;
}

int qorSaveTraceInfo(QorGlobal *world, const char *path)
{
    if (world == nullptr || path == nullptr)
        return QOR_BAD_ARG;
    auto *temp = static_cast<FILE *>(world->traceTemp);
    if (temp == nullptr || world->traceLineCount == 0) {
        showMessage("No Trace Info Available", "Warning");
        return kWindowFailed;
    }
    FILE *out = fopen(path, "w");
    if (out == nullptr) {
        showMessage("Cannot Open Output File", "Error");
        return kCannotOpen;
    }
    char buffer[kLineBufferSize];
    bool written = fseek(temp, 0, SEEK_SET) == 0;
    for (size_t n; written && (n = fread(buffer, 1, sizeof buffer, temp)) > 0;)
        written = fwrite(buffer, 1, n, out) == n;
    written = fclose(out) == 0 && written;
    if (!written) {
        showMessage("Cannot Write Output File", "Error");
        return kCannotClose;
    }
    return 0;
}

} // extern "C"
