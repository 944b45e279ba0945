// The process-wide trap lists, their guard, and the drivers' signal-11 handler.
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

void unlink(TrapList *list, QorTrapRecord *r)
{
    if (r->prev != nullptr)
        r->prev->next = r->next;
    else if (list->head == r)
        list->head = r->next;
    if (r->next != nullptr)
        r->next->prev = r->prev;
    r->next = r->prev = nullptr;
}

// Adds `record` for `world`; with a null `world`, removes the record of this
// process and thread.
bool beginTrap(QorGlobal *world, QorTrapRecord *record, TrapList *list)
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
        record->next = list->head;
        if (list->head != nullptr)
            list->head->prev = record;
        list->head = record;
    } else {
        unlink(list, record);
    }
    unlock(cs);
    return true;
}

void trapHandler(int signal)
{
    if (QorGlobal *world = trappedWorld(&callTraps, signal))
        raise(world, Msg::kMemoryViolation, longValue(signal));
}

} // namespace

TrapList callTraps = {nullptr, trapHandler};

void *syncObjectOfProcess() { return &criticalSection; }

QorGlobal *trappedWorld(const TrapList *list, int signal)
{
    pid_t pid = getpid();
    pthread_t self = pthread_self();
    for (QorTrapRecord *r = list->head; r != nullptr; r = r->next) {
        if (r->pid == pid && pthread_equal(r->tid, self))
            return r->world;
    }
    // Not ours: let the fault take its ordinary course when it happens again.
    ::signal(signal, SIG_DFL);
    return nullptr;
}

void armTrap(QorGlobal *world, TrapState *trap, TrapList *list)
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = list->handler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, &trap->oldAction);
    world->oldSignalHandler = &trap->oldAction;
    memset(&trap->record, 0, sizeof trap->record);
    trap->list = list;
    trap->listed = beginTrap(world, &trap->record, list);
    raiseIf(world, !trap->listed, Msg::kSerializationError, 0);
}

void disarmTrap(QorGlobal *world, TrapState *trap)
{
    if (trap->listed)
        beginTrap(nullptr, &trap->record, trap->list);
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
