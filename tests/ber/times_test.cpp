// BER UTCTime and GeneralizedTime: the record forms under BER, CER and DER,
// the text forms and their check, and hostile contents.
#include <cstring>
#include <string>
#include <vector>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

GeneralizedTime at(int16_t year, int16_t month, int16_t day, int16_t hour, int16_t minute,
                   int16_t second, int16_t ms = 0, bool utc = true, int16_t mindiff = 0)
{
    return {year, month, day, hour, minute, second, ms, mindiff, utc};
}

// Every field, so that two records compare as their texts.
std::string show(const GeneralizedTime &t)
{
    char b[80];
    snprintf(b, sizeof b, "%d-%d-%d %d:%d:%d.%d utc=%d mindiff=%d", t.year, t.month, t.day, t.hour,
             t.minute, t.second, t.millisec, t.utc, t.mindiff);
    return b;
}

// What any time decoder may end in: a time, a time error, misencoded contents.
bool timeOutcome(int code) { return code == 0 || code == kDataError || code == kBadTime; }

// The records of GeneralizedTime and UTCTime, then each as text.
enum class Form { kRecordG, kRecordU, kTextG, kTextU };
constexpr Form kForms[] = {Form::kRecordG, Form::kRecordU, Form::kTextG, Form::kTextU};
constexpr QorLong kWhole = INT32_MIN; // the contents length is all of the input

class TimeTest : public BerTest {
protected:
    // The text `write` puts below an empty output, checked as encodeChecked does.
    std::string encode(const Write &write)
    {
        Bytes b = encodeChecked(write);
        return std::string(b.begin(), b.end());
    }

    // A record encoder, given the record.
    Write record(Form form, GeneralizedTime t)
    {
        auto fn = form == Form::kRecordU ? _qor_encd_utime : _qor_encd_gtime;
        return [this, fn, t](unsigned char **pos, QorLong *room) { return fn(&world, pos, room, &t); };
    }
    Write gtime(GeneralizedTime t) { return record(Form::kRecordG, t); }
    Write utime(GeneralizedTime t) { return record(Form::kRecordU, t); }
    Write untime(const char *t, QorLong max, int kind)
    {
        return writer(_qor_encd_untime, t, max, kind);
    }

    // The decoder of `form` over `input`; a record lands in `time`, a text
    // (copied out of decoder memory) in `decodedText`, and what the call
    // left goes back, as the driver gives it back. The text forms get `max`.
    int decodeAs(Form form, const Bytes &input, QorLong length = kWhole)
    {
        if (length == kWhole)
            length = static_cast<QorLong>(input.size());
        char *out = nullptr;
        int code =
            decodeExactly(&world, input, length, [&](unsigned char **p, QorLong *r, QorLong n) {
                switch (form) {
                case Form::kRecordG:
                    _qor_dec_gtime(&world, p, r, n, &time);
                    break;
                case Form::kRecordU:
                    _qor_dec_utime(&world, p, r, n, &time);
                    break;
                case Form::kTextG:
                case Form::kTextU:
                    _qor_dec_untime(&world, p, r, n, &out, max, form == Form::kTextU);
                    break;
                }
            });
        decodedText = code == 0 && out != nullptr ? out : "";
        releaseBlocks(&world);
        return code;
    }

    int decodeAs(Form form, const char *contents) { return decodeAs(form, text(contents)); }

    int check(const char *t, int isUTCTime)
    {
        return inFrame(&world, QOR_OP_ENCODE,
                       [&] { _qor_check_nullterm_time(&world, t, isUTCTime); });
    }

    GeneralizedTime time{};
    std::string decodedText;
    QorLong max = 0;
};

TEST_F(TimeTest, Encoders)
{
    // BER drops seconds and then minutes of "00" when they end a
    // GeneralizedTime, and seconds of "00" from a UTCTime; a fraction loses
    // its trailing zeros. DER and CER keep every field and take UTC alone.
    // NOCONSTRAIN skips the field checks, not the digit counts.
    constexpr QorULong kLifted = NOCONSTRAIN;
    struct Case {
        int rules;
        Form form;
        GeneralizedTime t;
        const char *text; // nullptr: a time error with `message`
        const char *message = "";
        QorULong flags = 0;
    } cases[] = {
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5), "20240102030405Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 120), "20240102030405.12Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 7), "20240102030405.007Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 0, 0), "2024010203Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 0), "202401020304Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 0, 5), "20240102030005Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 0, 0, 0), "2024010200Z"}, // the hour stays
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 0, 0, 500), "20240102030000.5Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 0, false), "20240102030405"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 0, false, 90), "20240102030405+0130"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 0, 0, 0, false, -330), "2024010203-0530"},
        {QOR_BER, Form::kRecordG, at(999, 12, 31, 23, 59, 59, 999), "09991231235959.999Z"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 0, false, 5999), "20240102030405+9959"},
        {QOR_DER, Form::kRecordG, at(2024, 1, 2, 3, 0, 0), "20240102030000Z"},
        {QOR_DER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 250), "20240102030405.25Z"},
        {QOR_DER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 0, false), nullptr, "0013S"},
        {QOR_CER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 0, false, 60), nullptr, "0013S"},
        {QOR_BER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5), "240102030405Z"},
        {QOR_BER, Form::kRecordU, at(1999, 12, 31, 23, 59, 0), "9912312359Z"},
        {QOR_BER, Form::kRecordU, at(2000, 1, 2, 3, 0, 0), "0001020300Z"}, // minutes stay
        {QOR_BER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 0, false), "240102030405Z"},
        {QOR_BER, Form::kRecordU, at(2024, 1, 2, 3, 4, 0, 0, false, -61), "2401020304-0101"},
        {QOR_CER, Form::kRecordU, at(1999, 12, 31, 23, 59, 0), "991231235900Z"},
        {QOR_CER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 0, false), "240102030405Z"},
        {QOR_DER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 0, false, 60), nullptr, "0013S"},
        {QOR_CER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 0, false, 60), nullptr, "0013S"},
        // The difference does not matter once the time says UTC.
        {QOR_DER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 0, true, 60), "240102030405Z"},
        // Fields out of range.
        {QOR_BER, Form::kRecordG, at(2024, 13, 2, 3, 4, 5), nullptr, "Month = 13"},
        {QOR_BER, Form::kRecordG, at(2024, 0, 2, 3, 4, 5), nullptr, "Month = 0"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 32, 3, 4, 5), nullptr, "Day = 32"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 0, 3, 4, 5), nullptr, "Day = 0"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 24, 4, 5), nullptr, "Hour = 24"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, -1, 4, 5), nullptr, "Hour = -1"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 60, 5), nullptr, "Minute = 60"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 60), nullptr, "Second = 60"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 1000), nullptr, "Millisecond = 1000"},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, -1), nullptr, "Millisecond = -1"},
        {QOR_BER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 5), nullptr, "Millisecond = 5"},
        // Numbers too wide for their digits.
        {QOR_BER, Form::kRecordG, at(10000, 1, 2, 3, 4, 5), nullptr, "0012S"},
        {QOR_BER, Form::kRecordG, at(-1, 1, 2, 3, 4, 5), nullptr},
        {QOR_BER, Form::kRecordU, at(-1, 1, 2, 3, 4, 5), nullptr},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 0, false, 6000), nullptr}, // 100 hours
        {QOR_BER, Form::kRecordG, at(2024, 13, 32, 24, 60, 61), "20241332246061Z", "", kLifted},
        {QOR_BER, Form::kRecordU, at(2024, 1, 2, 3, 4, 5, 5), "240102030405Z", "", kLifted},
        {QOR_BER, Form::kRecordG, at(2024, 100, 2, 3, 4, 5), nullptr, "", kLifted},
        {QOR_BER, Form::kRecordG, at(2024, 1, 2, 3, 4, 5, 1000), nullptr, "", kLifted},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(show(c.t) + " under " + std::to_string(c.rules));
        world.encRules = c.rules;
        world.encodingFlags |= c.flags;
        Write write = record(c.form, c.t);
        if (c.text != nullptr) {
            EXPECT_EQ(encode(write), c.text);
        } else {
            EXPECT_EQ(encodeError(write), kBadTime);
            EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
        }
        world.encodingFlags &= ~c.flags;
    }
}

TEST_F(TimeTest, TimesGoBelowWhatIsThere)
{
    GeneralizedTime t = at(2024, 1, 2, 3, 4, 5);
    EXPECT_EQ(encode([&](unsigned char **pos, QorLong *room) {
                  QorLong n = _qor_write_bytes_d(&world, pos, room, "tail", 4);
                  n += _qor_encd_gtime(&world, pos, room, &t);
                  return n + _qor_encd_utime(&world, pos, room, &t);
              }),
              "240102030405Z20240102030405Ztail");
}

TEST_F(TimeTest, Decoders)
{
    // DER wants seconds, "Z", a point and no trailing zero; the compatibility
    // flag 0x8000 turns that off. CER is not strict in decoding.
    const GeneralizedTime misencoded = at(-2, 0, 0, 0, 0, 0); // refused with 0037E
    const GeneralizedTime strict = at(-1, 0, 0, 0, 0, 0);     // refused with 0013S
    struct Case {
        int rules;
        Form form;
        const char *text;
        GeneralizedTime t;
        QorULong compatibility = 0;
    } cases[] = {
        {QOR_BER, Form::kRecordG, "20240102030405Z", at(2024, 1, 2, 3, 4, 5)},
        {QOR_BER, Form::kRecordG, "20240102030405,25Z", at(2024, 1, 2, 3, 4, 5, 250)},
        {QOR_BER, Form::kRecordG, "20240102030405.1239Z", at(2024, 1, 2, 3, 4, 5, 123)},
        {QOR_BER, Form::kRecordG, "20240102030405.", at(2024, 1, 2, 3, 4, 5, 0, false)},
        {QOR_BER, Form::kRecordG, "2024010203Z", at(2024, 1, 2, 3, 0, 0)},
        {QOR_BER, Form::kRecordG, "20240102", at(2024, 1, 2, 0, 0, 0, 0, false)},
        // A fraction belongs to the last field present, spread below it.
        {QOR_BER, Form::kRecordG, "2024010203.5Z", at(2024, 1, 2, 3, 30, 0)},
        {QOR_BER, Form::kRecordG, "202401020304.25Z", at(2024, 1, 2, 3, 4, 15)},
        {QOR_BER, Form::kRecordG, "20240102.5Z", at(2024, 1, 2, 12, 0, 0)},
        {QOR_BER, Form::kRecordG, "2024010203.123456789123Z", at(2024, 1, 2, 3, 7, 24, 444)},
        {QOR_BER, Form::kRecordG, "20240102030405-0500", at(2024, 1, 2, 3, 4, 5, 0, false, -300)},
        {QOR_BER, Form::kRecordG, "20240102030405+01", at(2024, 1, 2, 3, 4, 5, 0, false, 60)},
        {QOR_BER, Form::kRecordU, "240102030405Z", at(24, 1, 2, 3, 4, 5)},
        {QOR_BER, Form::kRecordU, "2401020304Z", at(24, 1, 2, 3, 4, 0)},
        {QOR_BER, Form::kRecordU, "240102030405", at(24, 1, 2, 3, 4, 5, 0, false)},
        {QOR_BER, Form::kRecordU, "2401020304-0130", at(24, 1, 2, 3, 4, 0, 0, false, -90)},
        {QOR_BER, Form::kRecordU, "99", at(99, 0, 0, 0, 0, 0, 0, false)},
        {QOR_BER, Form::kRecordU, "24010203045Z", misencoded},
        {QOR_BER, Form::kRecordU, "24X", misencoded},
        {QOR_BER, Form::kRecordU, "2", misencoded},
        {QOR_BER, Form::kRecordU, "", misencoded},
        {QOR_BER, Form::kRecordU, "240102030405Zx", misencoded},
        {QOR_BER, Form::kRecordU, "240102030405.5Z", misencoded},
        {QOR_BER, Form::kRecordU, "2401020304+1", misencoded},
        {QOR_BER, Form::kRecordU, "2401020304+", misencoded},
        {QOR_BER, Form::kRecordU, "240102030405z", misencoded},
        {QOR_BER, Form::kRecordU, "2401020304+01000", misencoded},
        {QOR_BER, Form::kRecordG, "202401", misencoded},
        {QOR_BER, Form::kRecordG, "2024", misencoded},
        {QOR_BER, Form::kRecordG, "20240102030405.5.Z", misencoded},
        {QOR_BER, Form::kRecordG, "2024010203045Z", misencoded},
        {QOR_BER, Form::kRecordG, "2O24010203Z", misencoded},
        {QOR_BER, Form::kRecordG, "20240102030405.5Zx", misencoded},
        {QOR_DER, Form::kRecordG, "20240102030405.25Z", at(2024, 1, 2, 3, 4, 5, 250)},
        {QOR_DER, Form::kRecordU, "240102030405Z", at(24, 1, 2, 3, 4, 5)},
        {QOR_DER, Form::kRecordG, "20240102030405", strict},
        {QOR_DER, Form::kRecordG, "202401020304Z", strict},
        {QOR_DER, Form::kRecordG, "20240102030405,5Z", strict},
        {QOR_DER, Form::kRecordG, "20240102030405.50Z", strict},
        {QOR_DER, Form::kRecordG, "20240102030405.Z", strict},
        {QOR_DER, Form::kRecordG, "20240102030405+0100", strict},
        {QOR_DER, Form::kRecordG, "2024010203Z", strict},
        {QOR_DER, Form::kRecordU, "2401020304Z", strict},
        {QOR_DER, Form::kRecordU, "240102030405", strict},
        {QOR_DER, Form::kRecordU, "240102030405+0100", strict},
        {QOR_DER, Form::kRecordG, "20240102030405,50Z", at(2024, 1, 2, 3, 4, 5, 500), 0x8000},
        {QOR_CER, Form::kRecordU, "2401020304+0100", at(24, 1, 2, 3, 4, 0, 0, false, 60)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.text << " under " << c.rules);
        world.encRules = c.rules;
        ASSERT_EQ(qorSetCompatibilityFlags(&world, c.compatibility), 0);
        const int code = decodeAs(c.form, c.text);
        if (c.t.year == misencoded.year) {
            EXPECT_EQ(code, kDataError);
            EXPECT_TRUE(messageHas("0037E")) << world.errMsgBuffer;
        } else if (c.t.year == strict.year) {
            EXPECT_EQ(code, kBadTime);
            EXPECT_TRUE(messageHas("0013S")) << world.errMsgBuffer;
        } else {
            ASSERT_EQ(code, 0) << world.errMsgBuffer;
            EXPECT_EQ(show(time), show(c.t));
        }
    }
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0), 0);
    world.encRules = QOR_BER;
    EXPECT_EQ(decodeAs(Form::kRecordG, text("20240102030405Z"), -1), kDataError);
    EXPECT_TRUE(messageHas("0051S")) << world.errMsgBuffer;
}

TEST_F(TimeTest, HostileContents)
{
    // Each decoder, under each rule, over contents cut at every octet and
    // each octet value in each place of a time: a time, a time error or
    // misencoded contents, nothing read beyond the contents. Random input is
    // the BER fuzz target's.
    std::vector<Bytes> inputs;
    for (const char *s : {"20240102030405.123+0130", "240102030405-0800", "20240102030405Z"}) {
        Bytes full = text(s);
        inputs.push_back(full);
        for (const Bytes &input : prefixes(full)) {
            inputs.push_back(input);
            // With the full length, the end of the input.
            for (Form form : kForms)
                EXPECT_EQ(decodeAs(form, input, static_cast<QorLong>(full.size())), kMoreInput)
                    << s << " cut at " << input.size();
        }
    }
    Bytes base = text("20240102030405.5+0130");
    for (size_t place = 0; place < base.size(); place++) {
        for (int v = 0; v < 256; v++) {
            inputs.push_back(base);
            inputs.back()[place] = static_cast<unsigned char>(v);
        }
    }
    for (int rules : {QOR_BER, QOR_DER, QOR_CER}) {
        world.encRules = rules;
        for (const Bytes &b : inputs) {
            for (Form form : kForms) {
                int code = decodeAs(form, b);
                ASSERT_TRUE(timeOutcome(code)) << testing::PrintToString(b) << ": " << code;
            }
        }
    }
}

TEST_F(TimeTest, AllocationFailure)
{
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(decodeAs(Form::kTextG, "20240102030405Z"), QOR_OUT_OF_MEMORY);
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    GeneralizedTime t = at(2024, 1, 2, 3, 4, 5);
    EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE,
                      [&] {
                          unsigned char *pos = nullptr;
                          QorLong room = 0;
                          _qor_encd_gtime(&world, &pos, &room, &t);
                      }),
              QOR_OUT_OF_MEMORY);
    EXPECT_TRUE(messageHas("0008S")) << world.errMsgBuffer;
    CountingAllocator::failAt = 0;
    releaseBlocks(&world);
}

TEST_F(TimeTest, TextFormEncoding)
{
    EXPECT_EQ(encode(untime("20240102030405Z", 0, 0)), "20240102030405Z");
    EXPECT_EQ(encode(untime("240102030405Z", 0, 1)), "240102030405Z");
    EXPECT_EQ(encode(untime("2024010203", 0, 0)), "2024010203"); // BER: local, no minutes
    EXPECT_EQ(encodeError(untime("20240102030405Z", 10, 0)), kSizeExceeded);
    EXPECT_TRUE(messageHas("0016S")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(untime("20241302030405Z", 0, 0)), kBadTime);
    EXPECT_TRUE(messageHas("Month = 13")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(untime(nullptr, 0, 0)), kBadTime);
    // The kind tells UTCTime (non-zero) from GeneralizedTime (0).
    EXPECT_EQ(encodeError(untime("991231235959Z", 0, 0)), kBadTime); // month 31 of year 9912
    EXPECT_TRUE(messageHas("Month = 31")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(untime("20240102030405Z", 0, 1)), kBadTime); // month 24 of year 20
    EXPECT_TRUE(messageHas("Month = 24")) << world.errMsgBuffer;
    // NOCONSTRAIN skips the check, not the size.
    world.encodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(encode(untime("not a time", 0, 0)), "not a time");
    EXPECT_EQ(encodeError(untime("not a time", 5, 0)), kSizeExceeded);
    world.encRules = QOR_DER;
    EXPECT_EQ(encode(untime("2024010203", 0, 0)), "2024010203");
    world.encodingFlags &= ~QorULong{NOCONSTRAIN};
    EXPECT_EQ(encodeError(untime("2024010203", 0, 0)), kBadTime);
}

TEST_F(TimeTest, TextFormDecoding)
{
    ASSERT_EQ(decodeAs(Form::kTextG, "20240102030405Z"), 0);
    EXPECT_EQ(decodedText, "20240102030405Z");
    ASSERT_EQ(decodeAs(Form::kTextU, "240102030405Z"), 0);
    EXPECT_EQ(decodedText, "240102030405Z");
    EXPECT_EQ(decodeAs(Form::kTextG, ""), kBadTime); // an empty text is no time
    // A NUL at the end: message 114 unless the compatibility flag allows it.
    Bytes nul = concat({text("20240102030405Z"), {0}});
    EXPECT_EQ(decodeAs(Form::kTextG, nul), kDataError);
    EXPECT_TRUE(messageHas("0046E")) << world.errMsgBuffer;
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x80), 0);
    ASSERT_EQ(decodeAs(Form::kTextG, nul), 0);
    EXPECT_EQ(decodedText, "20240102030405Z");
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0), 0);
    // The check runs after the copy: the piece goes back with the failure.
    EXPECT_EQ(decodeAs(Form::kTextG, "20240132030405Z"), kBadTime);
    EXPECT_TRUE(messageHas("Day = 32")) << world.errMsgBuffer;
    // The size limit is a constraint too; a negative one is a length limit.
    max = 5;
    world.decodingFlags |= NOCONSTRAIN;
    ASSERT_EQ(decodeAs(Form::kTextG, "garbage"), 0);
    EXPECT_EQ(decodedText, "garbage");
    world.decodingFlags &= ~QorULong{NOCONSTRAIN};
    EXPECT_EQ(decodeAs(Form::kTextG, "20240102030405Z"), kSizeExceeded);
    max = -5;
    EXPECT_EQ(decodeAs(Form::kTextG, "20240102030405Z"), kLimited);
    EXPECT_TRUE(messageHas("0026S")) << world.errMsgBuffer;
}

TEST_F(TimeTest, CheckOfTimesAsText)
{
    // The day is not checked against the month. Strict rules want seconds,
    // "Z", a point and no trailing zero; the compatibility flag 0x8000
    // admits "z".
    struct Case {
        const char *text;
        int utc;
        int rules;
        const char *message; // nullptr: the text passes
        int compatibility = 0;
    } cases[] = {
        {"20240102030405Z", 0, QOR_BER, nullptr},
        {"2024010203", 0, QOR_BER, nullptr},
        {"2024010203+01", 0, QOR_BER, nullptr},
        {"2024010203-0130", 0, QOR_BER, nullptr},
        {"20240102030405z", 0, QOR_BER, nullptr},
        {"20240102030405.000Z", 0, QOR_BER, nullptr},
        {"20240102030405,1234567890123Z", 0, QOR_BER, nullptr},
        {"2024010203.5", 0, QOR_BER, nullptr},
        {"20240231030405Z", 0, QOR_BER, nullptr},
        {"240102030405Z", 1, QOR_BER, nullptr},
        {"2401020304", 1, QOR_BER, nullptr},
        {"20240102030405.25Z", 0, QOR_DER, nullptr},
        {"240102030405Z", 1, QOR_CER, nullptr},
        {"20240102030405z", 0, QOR_DER, nullptr, 0x8000},
        {"240102030405z", 1, QOR_DER, nullptr, 0x8000},
        {"240102030405Zz", 1, QOR_DER, "0012S", 0x8000},
        {"2024", 0, QOR_BER, "0012S"},
        {"20240102030", 0, QOR_BER, "0012S"},
        {"20241302030405Z", 0, QOR_BER, "Month = 13"},
        {"20240002030405Z", 0, QOR_BER, "Month = 0"},
        {"20240100030405Z", 0, QOR_BER, "Day = 0"},
        {"20240132030405Z", 0, QOR_BER, "Day = 32"},
        {"20240102240405Z", 0, QOR_BER, "Hour = 24"},
        {"20240102036005Z", 0, QOR_BER, "Minute = 60"},
        {"20240102030460Z", 0, QOR_BER, "Second = 60"},
        {"2024010203Zx", 0, QOR_BER, "0012S"},
        {"2024010203+013", 0, QOR_BER, "0012S"},
        {"2024010203+01300", 0, QOR_BER, "0012S"},
        {"2024010203+", 0, QOR_BER, "0012S"},
        {"2024010203 ", 0, QOR_BER, "0012S"},
        {"20240102030405.Z", 0, QOR_BER, "0012S"},
        {"240102030405.5Z", 1, QOR_BER, "0012S"},
        {nullptr, 0, QOR_BER, ""},
        {"2024010203Z", 0, QOR_DER, "0013S"},
        {"20240102030405", 0, QOR_DER, "0013S"},
        {"20240102030405z", 0, QOR_DER, "0013S"},
        {"20240102030405,5Z", 0, QOR_DER, "0013S"},
        {"20240102030405.50Z", 0, QOR_DER, "0013S"},
        {"20240102030405.Z", 0, QOR_DER, "0013S"},
        {"240102030405+0100", 1, QOR_CER, "0013S"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text != nullptr ? c.text : "(null)");
        world.encRules = c.rules;
        ASSERT_EQ(qorSetCompatibilityFlags(&world, c.compatibility), 0);
        EXPECT_EQ(check(c.text, c.utc), c.message == nullptr ? 0 : kBadTime) << world.errMsgBuffer;
        EXPECT_TRUE(c.message == nullptr || messageHas(c.message)) << world.errMsgBuffer;
    }
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0), 0);
}

} // namespace
