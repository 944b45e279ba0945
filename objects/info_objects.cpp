// Information object sets that change at run time. The compiled lists are
// shared by every context and never written: the first change to a set in
// a context copies its list into nodes of the context's own, from the
// library's allocator (an application's memory handle must not take them).
#include <cstddef>
#include <cstring>
#include <initializer_list>

#include "frame/export.h"
#include "frame/world.h"
#include "objects/info_objects.h"

namespace {

// A run-time node: it begins as a compiled one does.
struct RuntimeNode {
    RuntimeNode *next;
    void *object;
    RuntimeNode *previous;
    void *spare;
};
static_assert(offsetof(RuntimeNode, object) == offsetof(QorInfoObjectNode, object));

constexpr int kDuplicate = 50;  // "Information object already exists"
constexpr int kNotFound = 52;   // "Information object was not found"
constexpr int kFixedSet = 53;   // "Information object set is not extensible"

inline RuntimeNode *runtimeOf(const QorObjectSetEntry &e) { return reinterpret_cast<RuntimeNode *>(e.runtime); }

void freeNodes(QorGlobalPrivate *p, RuntimeNode *node)
{
    while (node != nullptr) {
        RuntimeNode *next = node->next;
        p->privFree(node);
        node = next;
    }
}

// Copies the list from `node` into new run-time nodes in order, leaving out
// `skip`; null with nothing kept when memory runs out.
bool copyList(QorGlobalPrivate *p, const QorInfoObjectNode *node, const void *skip, RuntimeNode **head)
{
    RuntimeNode *first = nullptr, *last = nullptr;
    for (; node != nullptr; node = node->next) {
        if (node == skip)
            continue;
        auto *copy = static_cast<RuntimeNode *>(p->privMalloc(sizeof(RuntimeNode)));
        if (copy == nullptr) {
            freeNodes(p, first);
            return false;
        }
        *copy = RuntimeNode{nullptr, node->object, last, nullptr};
        (last != nullptr ? last->next : first) = copy;
        last = copy;
    }
    *head = first;
    return true;
}

// The context's sets when `setNumber` names one of them, else null.
const QorObjectSets *setsNaming(const QorGlobal *world, int setNumber)
{
    if (world == nullptr || world->privateArea == nullptr)
        return nullptr;
    const QorObjectSets *sets = &world->privateArea->infoObjectSets;
    return setNumber >= 1 && setNumber <= sets->setCount ? sets : nullptr;
}

// The entry of a changeable set, or the code that refuses the number.
int entryOf(QorGlobal *world, int setNumber, QorObjectSetEntry **entry)
{
    const QorObjectSets *sets = setsNaming(world, setNumber);
    if (sets == nullptr || sets->setTable == nullptr)
        return QOR_BAD_ARG;
    if (setNumber > sets->extensibleCount)
        return kFixedSet;
    *entry = &sets->setTable[setNumber - 1];
    return 0;
}

// The set's own list, copied from the compiled one on the first change.
bool ownList(QorGlobalPrivate *p, QorObjectSetEntry *e, const void *skip)
{
    if (e->runtime != nullptr || e->compiled == nullptr)
        return true;
    RuntimeNode *head = nullptr;
    if (!copyList(p, e->compiled, skip, &head))
        return false;
    e->runtime = reinterpret_cast<QorInfoObjectNode *>(head);
    e->compiled = nullptr;
    return true;
}

// A copy of `count` entries from the library's allocator; null when memory
// runs out.
QorObjectSetEntry *copyTable(QorGlobalPrivate *p, const QorObjectSetEntry *table, QorLong count)
{
    const size_t bytes = static_cast<size_t>(count) * sizeof(QorObjectSetEntry);
    auto *copy = static_cast<QorObjectSetEntry *>(p->privMalloc(bytes));
    if (copy != nullptr)
        memcpy(copy, table, bytes);
    return copy;
}

} // namespace

namespace qor {

void releaseObjectSets(QorGlobalPrivate *p)
{
    auto &sets = p->infoObjectSets;
    if (sets.setTable == nullptr)
        return;
    for (QorLong i = 0; i < sets.extensibleCount; i++) {
        freeNodes(p, runtimeOf(sets.setTable[i]));
        if (sets.setTable[i].removed != nullptr)
            p->privFree(sets.setTable[i].removed);
    }
    p->privFree(sets.setTable);
    sets.setTable = nullptr;
}

int copyObjectSets(QorGlobalPrivate *to, const QorGlobalPrivate *from)
{
    to->infoObjectSets.setTable = nullptr;
    const auto &sets = from->infoObjectSets;
    if (sets.setTable == nullptr || sets.extensibleCount <= 0)
        return 0;
    QorObjectSetEntry *table = copyTable(to, sets.setTable, sets.extensibleCount);
    if (table == nullptr)
        return QOR_OUT_OF_MEMORY;
    // Each context frees its own nodes and bits: take copies of them.
    for (QorLong i = 0; i < sets.extensibleCount; i++) {
        table[i].runtime = nullptr;
        table[i].removed = nullptr;
    }
    to->infoObjectSets.setTable = table;
    for (QorLong i = 0; i < sets.extensibleCount; i++) {
        const QorObjectSetEntry &e = sets.setTable[i];
        RuntimeNode *head = nullptr;
        if (!copyList(to, e.runtime, nullptr, &head))
            return QOR_OUT_OF_MEMORY;
        table[i].runtime = reinterpret_cast<QorInfoObjectNode *>(head);
        if (e.removed != nullptr) {
            const size_t size = (e.compiledCount + 7) / 8;
            table[i].removed = static_cast<unsigned char *>(to->privMalloc(size));
            if (table[i].removed == nullptr)
                return QOR_OUT_OF_MEMORY;
            memcpy(table[i].removed, e.removed, size);
        }
    }
    return 0;
}

} // namespace qor

extern "C" {

int qorInitXObjectSetTable(QorGlobal *world, QorLong setCount, QorInfoObjectNode **fixedSets,
                           QorObjectSetEntry *table, QorLong extensibleCount, QorUniqueFn uniqueFn)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    QorGlobalPrivate *p = world->privateArea;
    qor::releaseObjectSets(p);
    auto &sets = p->infoObjectSets;
    sets.setCount = setCount;
    sets.fixedSets = fixedSets;
    sets.extensibleCount = extensibleCount;
    sets.uniqueFn = uniqueFn;
    if (table == nullptr || extensibleCount <= 0)
        return 0;
    sets.setTable = copyTable(p, table, extensibleCount);
    return sets.setTable != nullptr ? 0 : QOR_OUT_OF_MEMORY;
}

int qorAddInfoObject(QorGlobal *world, int setNumber, void *object)
{
    QorObjectSetEntry *e = nullptr;
    const int code = object == nullptr ? QOR_BAD_ARG : entryOf(world, setNumber, &e);
    if (code != 0)
        return code;
    QorGlobalPrivate *p = world->privateArea;
    if (QorUniqueFn unique = p->infoObjectSets.uniqueFn; unique != nullptr) {
        for (const QorInfoObjectNode *list : {e->compiled, e->runtime})
            for (const QorInfoObjectNode *n = list; n != nullptr; n = n->next)
                if (n->object != nullptr && unique(world, setNumber, n->object, object, 1) == 0)
                    return kDuplicate;
    }
    auto *node = static_cast<RuntimeNode *>(p->privMalloc(sizeof(RuntimeNode)));
    if (node == nullptr || !ownList(p, e, nullptr)) {
        if (node != nullptr)
            p->privFree(node);
        return QOR_OUT_OF_MEMORY;
    }
    RuntimeNode *first = runtimeOf(*e);
    *node = RuntimeNode{first, object, nullptr, nullptr};
    if (first != nullptr)
        first->previous = node;
    e->runtime = reinterpret_cast<QorInfoObjectNode *>(node);
    return 0;
}

int qorRemoveInfoObject(QorGlobal *world, int setNumber, void *object)
{
    QorObjectSetEntry *e = nullptr;
    const int code = object == nullptr ? QOR_BAD_ARG : entryOf(world, setNumber, &e);
    if (code != 0)
        return code;
    QorGlobalPrivate *p = world->privateArea;
    if (e->runtime == nullptr) {
        // Still the compiled list: mark the object and copy the rest.
        QorULong index = 0;
        const QorInfoObjectNode *found = e->compiled;
        for (; found != nullptr && found->object != object; found = found->next)
            index++;
        if (found == nullptr)
            return kNotFound;
        if (index < e->compiledCount) {
            if (e->removed == nullptr) {
                const size_t size = (e->compiledCount + 7) / 8;
                e->removed = static_cast<unsigned char *>(p->privMalloc(size));
                if (e->removed == nullptr)
                    return QOR_OUT_OF_MEMORY;
                memset(e->removed, 0, size);
            }
            e->removed[index / 8] |= static_cast<unsigned char>(1u << (index % 8));
        }
        return ownList(p, e, found) ? 0 : QOR_OUT_OF_MEMORY;
    }
    for (RuntimeNode *n = runtimeOf(*e); n != nullptr; n = n->next) {
        if (n->object != object)
            continue;
        if (n->previous != nullptr)
            n->previous->next = n->next;
        else
            e->runtime = reinterpret_cast<QorInfoObjectNode *>(n->next);
        if (n->next != nullptr)
            n->next->previous = n->previous;
        p->privFree(n);
        return 0;
    }
    return kNotFound;
}

void *qorGetInfoObject(QorGlobal *world, int setNumber, void *key)
{
    const auto *sets = setsNaming(world, setNumber);
    if (sets == nullptr || sets->uniqueFn == nullptr)
        return nullptr;
    void *cell = nullptr;
    return sets->uniqueFn(world, setNumber, &cell, key, 2) == 0 ? cell : nullptr;
}

QorInfoObjectNode *qorGetInfoObjectSet(QorGlobal *world, int setNumber)
{
    const auto *found = setsNaming(world, setNumber);
    if (found == nullptr)
        return nullptr;
    const auto &sets = *found;
    if (setNumber > sets.extensibleCount)
        return sets.fixedSets != nullptr ? sets.fixedSets[setNumber - 1 - sets.extensibleCount] : nullptr;
    if (sets.setTable == nullptr)
        return nullptr;
    const QorObjectSetEntry &e = sets.setTable[setNumber - 1];
    return e.runtime != nullptr ? e.runtime : e.compiled;
}

} // extern "C"
