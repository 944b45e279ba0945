// Trace output: the trace file in place of the print stream and back, and
// the trace window's text and line index without a window.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include "harness/trace.h"
#include "support/roundtrip.h"

namespace {

std::string contentsOf(const std::string &path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class Trace : public qortest::ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        char pattern[] = "/tmp/qortracetestXXXXXX";
        const int fd = mkstemp(pattern);
        ASSERT_GE(fd, 0);
        close(fd);
        path = pattern;
    }
    void TearDown() override
    {
        ContextTest::TearDown();
        unlink(path.c_str());
    }
    std::string path;
};

TEST_F(Trace, FileTakesThePrintStreamsPlace)
{
    void *before = world.printStream;
    ASSERT_EQ(qorOpenTraceFile(&world, path.c_str()), 0);
    EXPECT_EQ(qorOpenTraceFile(&world, path.c_str()), 28);
    qorPrint(&world, "traced %d\n", 7);
    EXPECT_EQ(qorCloseTraceFile(&world), 0);
    EXPECT_EQ(world.printStream, before);
    EXPECT_EQ(contentsOf(path), "traced 7\n");
    EXPECT_EQ(qorCloseTraceFile(&world), 0) << "nothing open";
    EXPECT_EQ(qorOpenTraceFile(&world, "/nonexistent/dir/trace"), 27);
    EXPECT_EQ(world.printStream, before);
    EXPECT_EQ(qorOpenTraceFile(nullptr, path.c_str()), QOR_BAD_ARG);

    // A silent context is silent again after its trace file.
    world.printStream = nullptr;
    ASSERT_EQ(qorOpenTraceFile(&world, path.c_str()), 0);
    EXPECT_GT(qorPrint(&world, "x"), 0);
    ASSERT_EQ(qorCloseTraceFile(&world), 0);
    EXPECT_EQ(world.printStream, nullptr);
    EXPECT_EQ(qorPrint(&world, "y"), 0);

    // A duplicate made meanwhile prints where its source printed before;
    // ending the source closes the file once.
    world.printStream = before;
    ASSERT_EQ(qorOpenTraceFile(&world, path.c_str()), 0);
    QorGlobal twin{};
    ASSERT_EQ(qorDupWorld(&world, &twin), 0);
    EXPECT_EQ(twin.printStream, before);
    EXPECT_EQ(qorCloseTraceFile(&twin), 0) << "the duplicate has no trace file";
    qorterm(&twin);
    qorPrint(&world, "last\n");
}

TEST_F(Trace, WindowTextInChunksOfLines)
{
    ASSERT_EQ(qorOpenTraceWindow(&world), 0);
    EXPECT_EQ(qorOpenTraceWindow(&world), 24);
    // A line may come in pieces.
    for (int i = 0; i < 450; i++) {
        if (i % 2 == 0)
            qorPrint(&world, "li");
        else
            qorPrint(&world, "ne %d\n", i);
    }
    EXPECT_EQ(world.traceLineCount, 225);
    for (int i = 0; i < 225; i++)
        qorPrint(&world, "more\n");
    ASSERT_EQ(world.traceLineCount, 450);
    int chunks = 0;
    QorLong lines = 0;
    for (auto *c = static_cast<qor::TraceChunk *>(world.traceLines); c != nullptr; c = c->next) {
        chunks++;
        EXPECT_EQ(c->number, chunks);
        lines += chunks < 3 ? qor::kTraceChunkLines : 50;
    }
    EXPECT_EQ(chunks, 3);
    EXPECT_EQ(lines, 450);
    auto *first = static_cast<qor::TraceChunk *>(world.traceLines);
    EXPECT_EQ(first->offsets[1], 7u);
    EXPECT_EQ(first->lengths[1], 6u) << "\"line 3\" less its new line";

    ASSERT_EQ(qorSaveTraceInfo(&world, path.c_str()), 0);
    const std::string saved = contentsOf(path);
    EXPECT_EQ(saved.substr(0, 18), "line 1\nline 3\nline");
    ASSERT_EQ(qorFreeList(&world), 0);
    EXPECT_EQ(world.traceLines, nullptr);
    EXPECT_EQ(world.traceLineCount, 0);
    EXPECT_EQ(qorSaveTraceInfo(&world, path.c_str()), 24) << "nothing traced since";
    qorPrint(&world, "again\n");
    EXPECT_EQ(world.traceLineCount, 1);
}

} // namespace
