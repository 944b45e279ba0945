// Information object sets changed at run time: copy on the first change,
// uniqueness through the generated comparison, removal of compiled and
// added objects, fixed sets, and duplicate contexts ending in either order.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/roundtrip.h"

namespace {

// An object: its unique field first.
struct Object {
    int id;
};
Object a{1}, b{2}, c{3}, extra{4};

// Set 1: {a, b} compiled; set 2: fixed {c}.
QorInfoObjectNode compiledB{nullptr, &b}, compiledA{&compiledB, &a};
QorInfoObjectNode fixedC{nullptr, &c};
QorInfoObjectNode *fixedSets[] = {&fixedC};

// The generated comparison: by `id`; a key is an int.
int compareIds(QorGlobal *world, int set, void *objectOrCell, void *key, int action)
{
    if (action == 1)
        return static_cast<Object *>(objectOrCell)->id == static_cast<Object *>(key)->id ? 0 : 1;
    for (const QorInfoObjectNode *n = qorGetInfoObjectSet(world, set); n != nullptr; n = n->next) {
        if (static_cast<Object *>(n->object)->id == *static_cast<int *>(key)) {
            *static_cast<void **>(objectOrCell) = n->object;
            return 0;
        }
    }
    return 1;
}

std::vector<void *> objectsOf(QorGlobal *world, int set)
{
    std::vector<void *> objects;
    for (const QorInfoObjectNode *n = qorGetInfoObjectSet(world, set); n != nullptr; n = n->next)
        objects.push_back(n->object);
    return objects;
}

class InfoObjects : public qortest::ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        memcpy(before, &compiledA, sizeof before);
        table[0] = QorObjectSetEntry{&compiledA, nullptr, nullptr, 2};
        ASSERT_EQ(qorInitXObjectSetTable(&world, 2, fixedSets, table, 1, compareIds), 0);
    }
    void TearDown() override
    {
        EXPECT_EQ(memcmp(before, &compiledA, sizeof before), 0) << "compiled nodes are never written";
        EXPECT_EQ(compiledB.next, nullptr);
        ContextTest::TearDown();
    }
    QorObjectSetEntry table[1]{};
    unsigned char before[sizeof(QorInfoObjectNode)]{};
};

TEST_F(InfoObjects, AddFindAndRemove)
{
    EXPECT_EQ(qorAddInfoObject(&world, 1, &extra), 0);
    EXPECT_EQ(objectsOf(&world, 1), (std::vector<void *>{&extra, &a, &b})) << "added at the front";
    Object twin{4};
    EXPECT_EQ(qorAddInfoObject(&world, 1, &twin), 50) << "same unique field";
    int key = 2;
    EXPECT_EQ(qorGetInfoObject(&world, 1, &key), &b);
    key = 9;
    EXPECT_EQ(qorGetInfoObject(&world, 1, &key), nullptr);

    EXPECT_EQ(qorRemoveInfoObject(&world, 1, &a), 0);
    EXPECT_EQ(qorRemoveInfoObject(&world, 1, &a), 52);
    EXPECT_EQ(qorRemoveInfoObject(&world, 1, &extra), 0);
    EXPECT_EQ(objectsOf(&world, 1), (std::vector<void *>{&b}));
    EXPECT_EQ(table[0].compiled, &compiledA) << "the caller's table is the context's to copy";
}

TEST_F(InfoObjects, RemovingACompiledObjectFirst)
{
    EXPECT_EQ(qorRemoveInfoObject(&world, 1, &b), 0);
    EXPECT_EQ(objectsOf(&world, 1), (std::vector<void *>{&a}));
    EXPECT_EQ(qorRemoveInfoObject(&world, 1, &b), 52);
    EXPECT_EQ(qorRemoveInfoObject(&world, 1, &a), 0);
    EXPECT_EQ(qorGetInfoObjectSet(&world, 1), nullptr);
    EXPECT_EQ(qorAddInfoObject(&world, 1, &a), 0);
    EXPECT_EQ(objectsOf(&world, 1), (std::vector<void *>{&a}));
}

TEST_F(InfoObjects, WithoutAComparisonDuplicatesAreKept)
{
    ASSERT_EQ(qorInitXObjectSetTable(&world, 2, fixedSets, table, 1, nullptr), 0);
    EXPECT_EQ(qorAddInfoObject(&world, 1, &a), 0);
    EXPECT_EQ(objectsOf(&world, 1), (std::vector<void *>{&a, &a, &b}));
    int key = 1;
    EXPECT_EQ(qorGetInfoObject(&world, 1, &key), nullptr) << "nothing to find with";
}

TEST_F(InfoObjects, NumbersAndFixedSets)
{
    EXPECT_EQ(qorAddInfoObject(&world, 0, &extra), QOR_BAD_ARG);
    EXPECT_EQ(qorGetInfoObjectSet(&world, 0), nullptr);
    EXPECT_EQ(qorAddInfoObject(&world, 3, &extra), QOR_BAD_ARG);
    EXPECT_EQ(qorAddInfoObject(&world, 1, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorAddInfoObject(&world, 2, &extra), 53);
    EXPECT_EQ(qorRemoveInfoObject(&world, 2, &c), 53);
    EXPECT_EQ(objectsOf(&world, 2), (std::vector<void *>{&c}));
    EXPECT_EQ(qorAddInfoObject(nullptr, 1, &extra), QOR_BAD_ARG);
}

// Each context changes its own lists; ending them in either order frees
// each node once.
TEST_F(InfoObjects, DuplicateContexts)
{
    for (bool sourceFirst : {true, false}) {
        ASSERT_EQ(qorAddInfoObject(&world, 1, &extra), 0);
        QorGlobal twin{};
        ASSERT_EQ(qorDupWorld(&world, &twin), 0);
        EXPECT_EQ(objectsOf(&twin, 1), objectsOf(&world, 1));
        EXPECT_EQ(qorRemoveInfoObject(&twin, 1, &extra), 0);
        EXPECT_EQ(qorAddInfoObject(&twin, 1, &c), 0);
        EXPECT_EQ(objectsOf(&world, 1), (std::vector<void *>{&extra, &a, &b}));
        EXPECT_EQ(objectsOf(&twin, 1), (std::vector<void *>{&c, &a, &b}));
        if (sourceFirst) {
            qorterm(&world);
            qorterm(&twin);
            ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
            qortest::CountingAllocator::install(&world);
            ASSERT_EQ(qorInitXObjectSetTable(&world, 2, fixedSets, table, 1, compareIds), 0);
        } else {
            qorterm(&twin);
            EXPECT_EQ(qorRemoveInfoObject(&world, 1, &extra), 0);
        }
    }
}

} // namespace
