// The memory-violation trap: while a call runs with TRAPPING, signal 11 in
// its thread becomes message 9 (return code 14) instead of a crash.
#pragma once

#include <pthread.h>
#include <signal.h>
#include <sys/types.h>

#include "frame/world.h"

namespace qor {

// One for each trapping call, in the driver's frame; listed process-wide.
struct QorTrapRecord {
    QorTrapRecord *next;
    QorTrapRecord *prev;
    pid_t pid;
    pthread_t tid;
    QorGlobal *world;
};

// A process-wide list of trapping calls, under the one guard, and the
// handler that serves it.
struct TrapList {
    QorTrapRecord *head;
    void (*handler)(int signal);
};
// The list of the drivers and value services: their handler raises message 9.
extern TrapList callTraps;

struct TrapState {
    QorTrapRecord record;
    struct sigaction oldAction;
    bool listed; // the record made it onto the list
    TrapList *list;
};

// Installs the list's handler, keeping the old one, and lists the record;
// raises message 13 when the list cannot be used.
void armTrap(QorGlobal *world, TrapState *trap, TrapList *list);
// Unlists the record (unless it never was) and puts the old handler back.
void disarmTrap(QorGlobal *world, TrapState *trap);
// For a handler: the context of this thread's call on `list`, or null for a
// fault that isn't ours, after which the handler is the default again.
QorGlobal *trappedWorld(const TrapList *list, int signal);

} // namespace qor
