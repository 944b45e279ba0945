// Trace output: the trace file, a plain redirection of the print stream,
// and the trace window's logic, kept apart from any window calls: printed
// text goes to a temporary file whose lines are indexed for a viewer.
#pragma once

#include <cstdint>

#include "frame/world.h"

namespace qor {

// A chunk of the window's line index.
constexpr int kTraceChunkLines = 200;
struct TraceChunk {
    TraceChunk *previous;
    TraceChunk *next;
    uint32_t offsets[kTraceChunkLines]; // where each line starts in the temporary file
    uint16_t lengths[kTraceChunkLines];
    QorLong number; // from 1
};

// A message box's text and title: on standard error, as this platform has
// no message boxes.
void showMessage(const char *text, const char *title);

// A temporary file for the window's text; false when none can be made.
bool openTraceTemp(QorGlobal *world);
// Closes and removes it.
void closeTraceTemp(QorGlobal *world);

// Whether a trace file stands in for the print stream.
bool traceFileOpen(const QorGlobal *world);
// The print stream in force before the trace file, or the present one.
void *untracedStream(const QorGlobal *world);
// Ends the trace file and the window's text, for the end of a context.
void endTrace(QorGlobal *world);

// Prints to the window's text; the count of characters, as vprintf's.
int printToWindow(QorGlobal *world, const char *format, va_list args);

} // namespace qor
