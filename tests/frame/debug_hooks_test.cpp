// The debug hooks around a PDU, as the test schema's PER entries call them:
// what each debug flag prints, and silence in a sizing pass.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

std::string printed;

int collect(QorGlobal *, const char *format, ...)
{
    char text[4096];
    va_list args;
    va_start(args, format);
    int n = vsnprintf(text, sizeof text, format, args);
    va_end(args);
    printed += text;
    return n;
}

class DebugHooks : public ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        world.userPrintFn = collect;
        world.encRules = QOR_PER_UNALIGNED;
        printed.clear();
    }
    bool saw(const char *text) const { return printed.find(text) != std::string::npos; }
};

} // namespace

TEST_F(DebugHooks, EachFlagShowsItsPart)
{
    struct Case {
        QorULong flags;
        const char *shows;    // null: nothing at all
        const char *notShown; // null: no check
    } cases[] = {
        {0, nullptr, nullptr},
        {0x20, "The input to the encoder:\n\n", "The encoder output"},
        {0x10, "The encoder output:\n\n", "The input to the encoder"},
        {0x30, "\nThe encoder output:\n\n", nullptr},
        {0x90, "#   Offset    Stream of Octets Written in Hexadecimal    Character Format\n", nullptr},
        {0x08, "The input to the decoder:\n\n", "The decoder output"},
        {0x04, "The decoder output:\n\n", "The input to the decoder"},
        {0x0C, "\nThe decoder output:\n\n", nullptr},
    };
    const Bytes encoding = encodePdu(&world, PDU_PersonnelRecord, &personnelExample);
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "flags " << std::hex << c.flags);
        ASSERT_EQ(qorSetDebugFlags(&world, c.flags), 0);
        printed.clear();
        EXPECT_EQ(encodePdu(&world, PDU_PersonnelRecord, &personnelExample), encoding);
        EXPECT_EQ(decodePdu(&world, encoding, PDU_PersonnelRecord), 0);
        if (c.shows == nullptr) {
            EXPECT_EQ(printed, "");
            continue;
        }
        EXPECT_TRUE(saw(c.shows)) << printed;
        if (c.notShown != nullptr) {
            EXPECT_FALSE(saw(c.notShown)) << printed;
        }
        if ((c.flags & 0x24) != 0) {
            EXPECT_TRUE(saw("givenName \"John\"")) << printed;
        }
    }
}

// A sizing pass prints nothing; a failure prints its message under 0x40.
TEST_F(DebugHooks, SizingIsSilentAndErrorsShowTheirMessage)
{
    ASSERT_EQ(qorSetDebugFlags(&world, 0x70), 0);
    EXPECT_GT(qorDetermineEncodingLength(&world, PDU_PersonnelRecord, &personnelExample), 0);
    EXPECT_EQ(printed, "");
    EXPECT_NE(decodePdu(&world, hex("80"), PDU_PersonnelRecord), 0);
    EXPECT_TRUE(saw("The decoder error message:\n\nD0")) << printed;
    EXPECT_TRUE(saw(qorGetErrMsg(&world))) << printed;
    printed.clear();
    world.errMsgTarget = nullptr;
    _qor_db_d_post(&world, 5, PDU_PersonnelRecord, nullptr);
    EXPECT_EQ(printed, "") << "no message target, no message";
}
