// Raising errors: the message is built into the context, then the running
// driver's frame is left with the message's return code.
#pragma once

#include <cstdint>

#include "frame/messages.h"
#include "frame/world.h"

namespace qor {

// The value that goes with a message, built on the raiser's frame.
struct ErrorValue {
    enum Kind : int { kString, kLong, kLongLong, kReal, kText } kind;
    int64_t number;    // kLong, kLongLong
    double real;       // kReal
    const char *text;  // kString (zero-ended), kText (`textLength` octets)
    QorLong textLength;
};

inline ErrorValue longValue(QorLong v) { return {ErrorValue::kLong, v, 0, nullptr, 0}; }
inline ErrorValue stringValue(const char *s) { return {ErrorValue::kString, 0, 0, s, 0}; }

// The exit value that stands for an internal exit with 0, which a jump cannot
// carry; drivers turn it into return code 18.
constexpr int kZeroExit = -1;
constexpr int kMaxMessageSize = 64 * 1024;

// Takes the exit of the outermost context's running call.
[[noreturn]] void leave(QorGlobal *world, int value);
// Builds the message of `message` and leaves.
[[noreturn]] void raise(QorGlobal *world, Msg message, const ErrorValue &value);
// Builds the message and returns its return code: for drivers, before their
// exit frame exists.
int report(QorGlobal *world, Msg message, const ErrorValue &value);
// The front door's message, made before any driver runs: letter, text, value
// (signed, real or string only), ".\n". Returns the return code.
int earlyError(QorGlobal *world, Msg message, const ErrorValue &value, bool decoding);

inline void raiseIf(QorGlobal *world, bool failed, Msg message, QorLong value)
{
    if (failed) [[unlikely]]
        raise(world, message, longValue(value));
}

// Text through the context's print route; nothing when `printStream` is null.
void printText(QorGlobal *world, const char *text);
// The latest message under its heading, as the debug output shows it.
void printErrorMessage(QorGlobal *world, bool encoding);

} // namespace qor
