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

struct TrapState {
    QorTrapRecord record;
    struct sigaction oldAction;
    bool listed; // the record made it onto the list
};

// Installs the handler, keeping the old one, and lists the record; raises
// message 13 when the list cannot be used.
void armTrap(QorGlobal *world, TrapState *trap);
// Unlists the record (unless it never was) and puts the old handler back.
void disarmTrap(QorGlobal *world, TrapState *trap);

} // namespace qor
