// The process-wide trap list, its guard, and the signal-11 handler.
#include "frame/trap.h"

#include <cstring>
#include <unistd.h>

#include "frame/errors.h"

namespace qor {

namespace {

// The guard of the trap list. A program that never calls qorInitSync has an
// uninitialised guard, and the list is then used unguarded.
struct CriticalSection {
    pthread_mutex_t mutex;
    bool initialised;
};
CriticalSection criticalSection;
QorTrapRecord *trapList;

void lock(CriticalSection *cs)
{
    if (cs->initialised)
        pthread_mutex_lock(&cs->mutex);
}

void unlock(CriticalSection *cs)
{
    if (cs->initialised)
        pthread_mutex_unlock(&cs->mutex);
}

void unlink(QorTrapRecord *r)
{
    if (r->prev != nullptr)
        r->prev->next = r->next;
    else if (trapList == r)
        trapList = r->next;
    if (r->next != nullptr)
        r->next->prev = r->prev;
    r->next = r->prev = nullptr;
}

// Adds `record` for `world`; with a null `world`, removes the record of this
// process and thread.
bool beginTrap(QorGlobal *world, QorTrapRecord *record)
{
    void *sync = world != nullptr ? world->syncObject : syncObjectOfProcess();
    if (sync == nullptr)
        return false;
    auto *cs = static_cast<CriticalSection *>(sync);
    lock(cs);
    if (world != nullptr) {
        record->pid = getpid();
        record->tid = pthread_self();
        record->world = world;
        record->prev = nullptr;
        record->next = trapList;
        if (trapList != nullptr)
            trapList->prev = record;
        trapList = record;
    } else {
        unlink(record);
    }
    unlock(cs);
    return true;
}

void trapHandler(int signal)
{
    pid_t pid = getpid();
    pthread_t self = pthread_self();
    for (QorTrapRecord *r = trapList; r != nullptr; r = r->next) {
        if (r->pid == pid && pthread_equal(r->tid, self))
            raise(r->world, Msg::kMemoryViolation, longValue(signal));
    }
    // Not ours: let the fault take its ordinary course when it happens again.
    ::signal(signal, SIG_DFL);
}

} // namespace

void *syncObjectOfProcess() { return &criticalSection; }

void armTrap(QorGlobal *world, TrapState *trap)
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = trapHandler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, &trap->oldAction);
    world->oldSignalHandler = &trap->oldAction;
    memset(&trap->record, 0, sizeof trap->record);
    trap->listed = beginTrap(world, &trap->record);
    raiseIf(world, !trap->listed, Msg::kSerializationError, 0);
}

void disarmTrap(QorGlobal *world, TrapState *trap)
{
    if (trap->listed)
        beginTrap(nullptr, &trap->record);
    sigaction(SIGSEGV, &trap->oldAction, nullptr);
    world->oldSignalHandler = nullptr;
}

} // namespace qor

using namespace qor;

extern "C" {

int qorInitSync(void)
{
    if (!criticalSection.initialised) {
        pthread_mutex_init(&criticalSection.mutex, nullptr);
        criticalSection.initialised = true;
    }
    return 0;
}

void qorTermSync(void)
{
    if (criticalSection.initialised) {
        pthread_mutex_destroy(&criticalSection.mutex);
        criticalSection.initialised = false;
    }
}

} // extern "C"
