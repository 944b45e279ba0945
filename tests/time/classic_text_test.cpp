// The classic time text's reading choices that BER never makes: "z" for "Z",
// and a UTCTime that must have its minutes and a zone. BER's own choices are
// tested through its time primitives.
#include <cstdio>
#include <cstring>
#include <string>

#include "support/roundtrip.h"

#include "time/classic_text.h"

using namespace qortest;

namespace {

class ClassicTextTest : public ContextTest {};

std::string show(const GeneralizedTime &t)
{
    char b[80];
    snprintf(b, sizeof b, "%d-%d-%d %d:%d:%d.%d utc=%d mindiff=%d", t.year, t.month, t.day, t.hour,
             t.minute, t.second, t.millisec, t.utc, t.mindiff);
    return b;
}

TEST_F(ClassicTextTest, ReadingChoices)
{
    struct Case {
        const char *text;
        bool utcTime;
        bool lowerZ;
        bool fullUtcTime;
        int code;
        GeneralizedTime t; // when read
    };
    const int kMisencoded = QOR_DATA_ERROR;
    const Case cases[] = {
        {"2401020304z", true, true, false, 0, {24, 1, 2, 3, 4, 0, 0, 0, 1}},
        {"2401020304z", true, false, false, kMisencoded, {}},
        {"20240102030405.5z", false, true, false, 0, {2024, 1, 2, 3, 4, 5, 500, 0, 1}},
        {"2401020304-0130", true, false, true, 0, {24, 1, 2, 3, 4, 0, 0, -90, 0}},
        {"240102030405", true, false, true, kMisencoded, {}},
        {"24010203Z", true, false, true, kMisencoded, {}},
        {"24010203Z", true, false, false, 0, {24, 1, 2, 3, 0, 0, 0, 0, 1}},
        {"20240102", false, false, true, 0, {2024, 1, 2, 0, 0, 0, 0, 0, 0}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        qor::ClassicTimeRules rules{};
        rules.utcTime = c.utcTime;
        rules.lowerZ = c.lowerZ;
        rules.fullUtcTime = c.fullUtcTime;
        GeneralizedTime t;
        const auto *text = reinterpret_cast<const unsigned char *>(c.text);
        const auto length = static_cast<QorLong>(strlen(c.text));
        int code = inFrame(&world, QOR_OP_DECODE,
                           [&] { qor::parseClassicTime(&world, text, length, rules, &t); });
        ASSERT_EQ(code, c.code) << world.errMsgBuffer;
        if (code == 0) {
            EXPECT_EQ(show(t), show(c.t));
        }
    }
}

} // namespace
