// BER UTCTime and GeneralizedTime: the record forms under BER, CER and DER,
// the text forms and their check, and hostile contents.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

constexpr int kBadTime = QOR_BAD_TIME;     // messages 8, 72 to 78
constexpr int kMoreInput = QOR_MORE_INPUT; // message 45
constexpr int kDataError = QOR_DATA_ERROR; // messages 106, 114, 119
constexpr int kSizeExceeded = 16;          // message 79
constexpr int kLimited = QOR_LIMITED;      // message 98

GeneralizedTime at(int year, int month, int day, int hour, int minute, int second, int ms = 0,
                   bool utc = true, int mindiff = 0)
{
    GeneralizedTime t = {};
    t.year = static_cast<int16_t>(year);
    t.month = static_cast<int16_t>(month);
    t.day = static_cast<int16_t>(day);
    t.hour = static_cast<int16_t>(hour);
    t.minute = static_cast<int16_t>(minute);
    t.second = static_cast<int16_t>(second);
    t.millisec = static_cast<int16_t>(ms);
    t.mindiff = static_cast<int16_t>(mindiff);
    t.utc = utc ? 1 : 0;
    return t;
}

bool same(const GeneralizedTime &a, const GeneralizedTime &b)
{
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second && a.millisec == b.millisec &&
           a.mindiff == b.mindiff && a.utc == b.utc;
}

std::string show(const GeneralizedTime &t)
{
    char b[80];
    snprintf(b, sizeof b, "%d-%d-%d %d:%d:%d.%d utc=%d mindiff=%d", t.year, t.month, t.day, t.hour,
             t.minute, t.second, t.millisec, t.utc, t.mindiff);
    return b;
}

class TimeTest : public ContextTest {
protected:
    using Writer = std::function<QorLong(unsigned char **, QorLong *)>;

    // Sizing mode and the real encoding must agree on count and outcome.
    int encode(const Writer &write, std::string *out)
    {
        unsigned char *pos = nullptr;
        QorLong room = 0;
        QorLong counted = -1;
        world.encodingFlags |= DETERMINE_ENC_LENGTH;
        world.encLength = 0;
        int sizing = inFrame(&world, QOR_OP_ENCODE, [&] { counted = write(&pos, &room); });
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        EXPECT_EQ(world.blockQueue.count, 0);
        if (sizing == 0) {
            EXPECT_EQ(world.encLength, counted);
        }
        QorLong written = -1;
        int code = inFrame(&world, QOR_OP_ENCODE, [&] { written = write(&pos, &room); });
        EXPECT_EQ(code, sizing);
        if (code != 0) {
            releaseCall();
            return code;
        }
        QorLong length = 0;
        unsigned char *value = nullptr;
        EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE,
                          [&] { _qor_set_outmem_d(&world, room, &length, &value); }),
                  0);
        *out = std::string(value, value + length);
        if (value != nullptr)
            world.userFree(&world, value);
        EXPECT_EQ(written, length);
        EXPECT_EQ(counted, length);
        return 0;
    }

    std::string encoded(const Writer &write)
    {
        std::string out;
        EXPECT_EQ(encode(write, &out), 0) << world.errMsgBuffer;
        return out;
    }

    int encodeError(const Writer &write)
    {
        std::string out;
        return encode(write, &out);
    }

    Writer gtime(GeneralizedTime t)
    {
        return [this, t](unsigned char **pos, QorLong *room) {
            return _qor_encd_gtime(&world, pos, room, &t);
        };
    }

    Writer utime(GeneralizedTime t)
    {
        return [this, t](unsigned char **pos, QorLong *room) {
            return _qor_encd_utime(&world, pos, room, &t);
        };
    }

    Writer untime(const char *t, QorLong max, int kind)
    {
        return [this, t, max, kind](unsigned char **pos, QorLong *room) {
            return _qor_encd_untime(&world, pos, room, t, max, kind);
        };
    }

    template <class Body> int decode(const Bytes &input, QorLong length, Body body)
    {
        return decodeExactly(&world, input, length, body);
    }

    // The records of GeneralizedTime and UTCTime, then each as text.
    enum class Form { kRecordG, kRecordU, kTextG, kTextU };

    // The decoder of one form over `input`; what it stores is dropped.
    int decodeAs(Form form, const Bytes &input, QorLong length)
    {
        GeneralizedTime t;
        char *out;
        return decode(input, length, [&](unsigned char **p, QorLong *r, QorLong n) {
            switch (form) {
            case Form::kRecordG:
                _qor_dec_gtime(&world, p, r, n, &t);
                break;
            case Form::kRecordU:
                _qor_dec_utime(&world, p, r, n, &t);
                break;
            case Form::kTextG:
                _qor_dec_untime(&world, p, r, n, &out, 0, 0);
                break;
            case Form::kTextU:
                _qor_dec_untime(&world, p, r, n, &out, 0, 1);
                break;
            }
        });
    }

    // The codes of the decoders of `forms` over `input`, in that order.
    std::vector<int> decodeEach(std::initializer_list<Form> forms, const Bytes &input,
                                QorLong length)
    {
        std::vector<int> codes;
        for (Form form : forms)
            codes.push_back(decodeAs(form, input, length));
        return codes;
    }

    int decodeG(const char *contents, GeneralizedTime *t)
    {
        Bytes b = text(contents);
        return decode(b, static_cast<QorLong>(b.size()),
                      [&](unsigned char **p, QorLong *r, QorLong n) {
                          _qor_dec_gtime(&world, p, r, n, t);
                      });
    }

    int decodeU(const char *contents, GeneralizedTime *t)
    {
        Bytes b = text(contents);
        return decode(b, static_cast<QorLong>(b.size()),
                      [&](unsigned char **p, QorLong *r, QorLong n) {
                          _qor_dec_utime(&world, p, r, n, t);
                      });
    }

    int decodeText(const Bytes &b, QorLong max, int kind, std::string *out)
    {
        char *decoded = nullptr;
        int code = decode(b, static_cast<QorLong>(b.size()),
                          [&](unsigned char **p, QorLong *r, QorLong n) {
                              _qor_dec_untime(&world, p, r, n, &decoded, max, kind);
                          });
        if (code == 0)
            *out = decoded;
        releaseCall();
        return code;
    }

    int check(const char *t, int isUTCTime)
    {
        return inFrame(&world, QOR_OP_ENCODE,
                       [&] { _qor_check_nullterm_time(&world, t, isUTCTime); });
    }

    bool messageIs(const char *id) const { return strstr(world.errMsgBuffer, id) != nullptr; }

    // What a call left listed goes back, as the driver does after a failure.
    void releaseCall()
    {
        ASSERT_EQ(world.blockQueue.next, nullptr);
        for (int i = 0; i < world.blockQueue.count; i++)
            world.userFree(&world, world.blockQueue.slot[i]);
        world.blockQueue.count = 0;
        while (auto *block = static_cast<qor::TempBlock *>(world.tempBlockList)) {
            world.tempBlockList = block->prev;
            world.userFree(&world, block);
        }
    }
};

// ---------------------------------------------------------------- encoders

TEST_F(TimeTest, GeneralizedTimeUnderBer)
{
    struct Case {
        GeneralizedTime t;
        const char *text;
    };
    const Case cases[] = {
        {at(2024, 1, 2, 3, 4, 5), "20240102030405Z"},
        {at(2024, 1, 2, 3, 4, 5, 500), "20240102030405.5Z"},
        {at(2024, 1, 2, 3, 4, 5, 120), "20240102030405.12Z"},
        {at(2024, 1, 2, 3, 4, 5, 7), "20240102030405.007Z"},
        // BER drops seconds and then minutes of "00" when they end the text.
        {at(2024, 1, 2, 3, 0, 0), "2024010203Z"},
        {at(2024, 1, 2, 3, 4, 0), "202401020304Z"},
        {at(2024, 1, 2, 3, 0, 5), "20240102030005Z"},
        {at(2024, 1, 2, 0, 0, 0), "2024010200Z"}, // the hour stays
        {at(2024, 1, 2, 3, 0, 0, 500), "20240102030000.5Z"},
        // Local time, and differences from UTC.
        {at(2024, 1, 2, 3, 4, 5, 0, false, 0), "20240102030405"},
        {at(2024, 1, 2, 3, 4, 5, 0, false, 90), "20240102030405+0130"},
        {at(2024, 1, 2, 3, 0, 0, 0, false, -330), "2024010203-0530"},
        {at(999, 12, 31, 23, 59, 59, 999), "09991231235959.999Z"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(encoded(gtime(c.t)), c.text);
    }
}

TEST_F(TimeTest, GeneralizedTimeUnderDerAndCer)
{
    for (int rules : {QOR_DER, QOR_CER}) {
        world.encRules = rules;
        EXPECT_EQ(encoded(gtime(at(2024, 1, 2, 3, 0, 0))), "20240102030000Z");
        EXPECT_EQ(encoded(gtime(at(2024, 1, 2, 3, 4, 5, 250))), "20240102030405.25Z");
        // Without "Z" there is no DER or CER time: message 8, code 12.
        EXPECT_EQ(encodeError(gtime(at(2024, 1, 2, 3, 4, 5, 0, false, 0))), kBadTime);
        EXPECT_TRUE(messageIs("0013S")) << world.errMsgBuffer;
        EXPECT_EQ(encodeError(gtime(at(2024, 1, 2, 3, 4, 5, 0, false, 60))), kBadTime);
    }
}

TEST_F(TimeTest, UtcTime)
{
    EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 5))), "240102030405Z");
    EXPECT_EQ(encoded(utime(at(1999, 12, 31, 23, 59, 0))), "9912312359Z"); // BER drops seconds
    EXPECT_EQ(encoded(utime(at(2000, 1, 2, 3, 0, 0))), "0001020300Z");   // minutes stay
    EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 5, 0, false, 0))), "240102030405Z");
    EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 0, 0, false, 60))), "2401020304+0100");
    EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 0, 0, false, -61))), "2401020304-0101");
    for (int rules : {QOR_DER, QOR_CER}) {
        world.encRules = rules;
        EXPECT_EQ(encoded(utime(at(1999, 12, 31, 23, 59, 0))), "991231235900Z");
        EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 5, 0, false, 0))), "240102030405Z");
        EXPECT_EQ(encodeError(utime(at(2024, 1, 2, 3, 4, 5, 0, false, 60))), kBadTime);
        EXPECT_TRUE(messageIs("0013S")) << world.errMsgBuffer;
        // The difference does not matter once the time says UTC.
        EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 5, 0, true, 60))), "240102030405Z");
    }
}

TEST_F(TimeTest, FieldsAreChecked)
{
    struct Case {
        GeneralizedTime t;
        const char *message;
    };
    const Case cases[] = {
        {at(2024, 13, 2, 3, 4, 5), "Month = 13"},   {at(2024, 0, 2, 3, 4, 5), "Month = 0"},
        {at(2024, 1, 32, 3, 4, 5), "Day = 32"},     {at(2024, 1, 0, 3, 4, 5), "Day = 0"},
        {at(2024, 1, 2, 24, 4, 5), "Hour = 24"},    {at(2024, 1, 2, -1, 4, 5), "Hour = -1"},
        {at(2024, 1, 2, 3, 60, 5), "Minute = 60"},  {at(2024, 1, 2, 3, 4, 60), "Second = 60"},
        {at(2024, 1, 2, 3, 4, 5, 1000), "Millisecond = 1000"},
        {at(2024, 1, 2, 3, 4, 5, -1), "Millisecond = -1"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.message);
        EXPECT_EQ(encodeError(gtime(c.t)), kBadTime);
        EXPECT_TRUE(messageIs(c.message)) << world.errMsgBuffer;
    }
    // UTCTime has no milliseconds.
    EXPECT_EQ(encodeError(utime(at(2024, 1, 2, 3, 4, 5, 5))), kBadTime);
    EXPECT_TRUE(messageIs("Millisecond = 5")) << world.errMsgBuffer;
}

TEST_F(TimeTest, NoConstrainSkipsTheFieldChecksButNotTheDigitCounts)
{
    world.encodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(encoded(gtime(at(2024, 13, 32, 24, 60, 61))), "202413322460" "61Z");
    EXPECT_EQ(encoded(utime(at(2024, 1, 2, 3, 4, 5, 5))), "240102030405Z");
    EXPECT_EQ(encodeError(gtime(at(2024, 100, 2, 3, 4, 5))), kBadTime);
    EXPECT_TRUE(messageIs("0012S")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(gtime(at(2024, 1, 2, 3, 4, 5, 1000))), kBadTime);
}

TEST_F(TimeTest, NumbersThatDoNotFitTheirDigits)
{
    EXPECT_EQ(encodeError(gtime(at(10000, 1, 2, 3, 4, 5))), kBadTime);
    EXPECT_EQ(encodeError(gtime(at(-1, 1, 2, 3, 4, 5))), kBadTime);
    EXPECT_EQ(encodeError(utime(at(-1, 1, 2, 3, 4, 5))), kBadTime);
    EXPECT_EQ(encodeError(gtime(at(2024, 1, 2, 3, 4, 5, 0, false, 6000))), kBadTime); // 100 hours
    EXPECT_EQ(encoded(gtime(at(2024, 1, 2, 3, 4, 5, 0, false, 5999))), "20240102030405+9959");
}

TEST_F(TimeTest, TimesGoBelowWhatIsThere)
{
    unsigned char *pos = nullptr;
    QorLong room = 0;
    GeneralizedTime t = at(2024, 1, 2, 3, 4, 5);
    ASSERT_EQ(inFrame(&world, QOR_OP_ENCODE,
                      [&] {
                          _qor_write_bytes_d(&world, &pos, &room, "tail", 4);
                          _qor_encd_gtime(&world, &pos, &room, &t);
                          _qor_encd_utime(&world, &pos, &room, &t);
                      }),
              0);
    QorLong length = 0;
    unsigned char *value = nullptr;
    ASSERT_EQ(
        inFrame(&world, QOR_OP_ENCODE, [&] { _qor_set_outmem_d(&world, room, &length, &value); }),
        0);
    EXPECT_EQ(std::string(value, value + length), "240102030405Z20240102030405Ztail");
    world.userFree(&world, value);
}

// ---------------------------------------------------------------- decoders

TEST_F(TimeTest, DecodeGeneralizedTime)
{
    struct Case {
        const char *text;
        GeneralizedTime t;
    };
    const Case cases[] = {
        {"20240102030405Z", at(2024, 1, 2, 3, 4, 5)},
        {"20240102030405.5Z", at(2024, 1, 2, 3, 4, 5, 500)},
        {"20240102030405,25Z", at(2024, 1, 2, 3, 4, 5, 250)},
        {"20240102030405.1239Z", at(2024, 1, 2, 3, 4, 5, 123)},
        {"20240102030405.", at(2024, 1, 2, 3, 4, 5, 0, false)},
        {"2024010203Z", at(2024, 1, 2, 3, 0, 0)},
        {"20240102", at(2024, 1, 2, 0, 0, 0, 0, false)},
        // A fraction belongs to the last field present, spread below it.
        {"2024010203.5Z", at(2024, 1, 2, 3, 30, 0)},
        {"202401020304.25Z", at(2024, 1, 2, 3, 4, 15)},
        {"20240102.5Z", at(2024, 1, 2, 12, 0, 0)},
        {"2024010203.123456789123Z", at(2024, 1, 2, 3, 7, 24, 444)},
        {"20240102030405-0500", at(2024, 1, 2, 3, 4, 5, 0, false, -300)},
        {"20240102030405+01", at(2024, 1, 2, 3, 4, 5, 0, false, 60)},
        {"20240102030405", at(2024, 1, 2, 3, 4, 5, 0, false)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        GeneralizedTime t;
        ASSERT_EQ(decodeG(c.text, &t), 0) << world.errMsgBuffer;
        EXPECT_TRUE(same(t, c.t)) << show(t);
    }
}

TEST_F(TimeTest, DecodeUtcTime)
{
    struct Case {
        const char *text;
        GeneralizedTime t;
    };
    const Case cases[] = {
        {"240102030405Z", at(24, 1, 2, 3, 4, 5)},
        {"2401020304Z", at(24, 1, 2, 3, 4, 0)},
        {"240102030405", at(24, 1, 2, 3, 4, 5, 0, false)},
        {"2401020304-0130", at(24, 1, 2, 3, 4, 0, 0, false, -90)},
        {"2401020304+0100", at(24, 1, 2, 3, 4, 0, 0, false, 60)},
        {"99", at(99, 0, 0, 0, 0, 0, 0, false)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        GeneralizedTime t;
        ASSERT_EQ(decodeU(c.text, &t), 0) << world.errMsgBuffer;
        EXPECT_TRUE(same(t, c.t)) << show(t);
    }
}

TEST_F(TimeTest, DecodeMisencoded)
{
    GeneralizedTime t;
    for (const char *s : {"24010203045Z", "24X", "2", "", "240102030405Zx", "240102030405.5Z",
                          "2401020304+1", "2401020304+", "240102030405z", "2401020304+01000"}) {
        SCOPED_TRACE(s);
        EXPECT_EQ(decodeU(s, &t), kDataError);
        EXPECT_TRUE(messageIs("0037E")) << world.errMsgBuffer;
    }
    for (const char *s : {"202401", "2024", "20240102030405.5.Z", "2024010203045Z", "2O24010203Z",
                          "20240102030405.5Zx"}) {
        SCOPED_TRACE(s);
        EXPECT_EQ(decodeG(s, &t), kDataError);
        EXPECT_TRUE(messageIs("0037E")) << world.errMsgBuffer;
    }
}

TEST_F(TimeTest, DerDecodingIsStrict)
{
    world.encRules = QOR_DER;
    GeneralizedTime t;
    ASSERT_EQ(decodeG("20240102030405.25Z", &t), 0);
    EXPECT_TRUE(same(t, at(2024, 1, 2, 3, 4, 5, 250)));
    ASSERT_EQ(decodeU("240102030405Z", &t), 0);
    for (const char *s :
         {"20240102030405", "202401020304Z", "20240102030405,5Z", "20240102030405.50Z",
          "20240102030405.Z", "20240102030405+0100", "2024010203Z"}) {
        SCOPED_TRACE(s);
        EXPECT_EQ(decodeG(s, &t), kBadTime);
        EXPECT_TRUE(messageIs("0013S")) << world.errMsgBuffer;
    }
    for (const char *s : {"2401020304Z", "240102030405", "240102030405+0100"}) {
        SCOPED_TRACE(s);
        EXPECT_EQ(decodeU(s, &t), kBadTime);
    }
    // The compatibility flag turns the strictness off.
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x8000), 0);
    ASSERT_EQ(decodeU("2401020304+0100", &t), 0);
    EXPECT_EQ(t.mindiff, 60);
    ASSERT_EQ(decodeG("20240102030405,50Z", &t), 0);
    EXPECT_EQ(t.millisec, 500);
}

TEST_F(TimeTest, CerDecodingIsNotStrict)
{
    world.encRules = QOR_CER;
    GeneralizedTime t;
    ASSERT_EQ(decodeU("2401020304+0100", &t), 0);
    EXPECT_EQ(t.mindiff, 60);
}

TEST_F(TimeTest, DecodeLengthAgainstTheInput)
{
    GeneralizedTime t;
    Bytes full = text("20240102030405Z");
    for (size_t cut = 0; cut < full.size(); cut++) {
        Bytes input(full.begin(), full.begin() + static_cast<long>(cut));
        for (int code : decodeEach({Form::kRecordG, Form::kRecordU, Form::kTextG}, input,
                                   static_cast<QorLong>(full.size())))
            EXPECT_EQ(code, kMoreInput);
        releaseCall();
    }
    EXPECT_EQ(decode(full, -1,
                     [&](unsigned char **p, QorLong *r, QorLong n) {
                         _qor_dec_gtime(&world, p, r, n, &t);
                     }),
              kDataError);
    EXPECT_TRUE(messageIs("0051S")) << world.errMsgBuffer;
}

TEST_F(TimeTest, TruncatedContentsEndInACatalogueCode)
{
    // Contents cut at every octet, under each rule: a time, or a time error,
    // or misencoded contents; nothing read beyond the contents.
    const char *texts[] = {"20240102030405.123+0130", "240102030405-0800", "20240102030405Z"};
    for (int rules : {QOR_BER, QOR_DER, QOR_CER}) {
        world.encRules = rules;
        for (const char *s : texts) {
            Bytes full = text(s);
            for (size_t cut = 0; cut <= full.size(); cut++) {
                Bytes input(full.begin(), full.begin() + static_cast<long>(cut));
                std::vector<int> codes =
                    decodeEach({Form::kRecordG, Form::kRecordU, Form::kTextG, Form::kTextU}, input,
                               static_cast<QorLong>(cut));
                releaseCall();
                for (int code : codes)
                    EXPECT_TRUE(code == 0 || code == kDataError || code == kBadTime)
                        << s << " cut at " << cut << ": " << code << " " << world.errMsgBuffer;
            }
        }
    }
}

TEST_F(TimeTest, EveryOctetInEveryPlace)
{
    // Each position of a time replaced by each octet value: only catalogue codes.
    Bytes base = text("20240102030405.5+0130");
    for (size_t at = 0; at < base.size(); at++) {
        for (int v = 0; v < 256; v++) {
            Bytes input = base;
            input[at] = static_cast<unsigned char>(v);
            std::vector<int> codes = decodeEach({Form::kRecordG, Form::kRecordU}, input,
                                                static_cast<QorLong>(input.size()));
            for (int code : codes)
                ASSERT_TRUE(code == 0 || code == kDataError || code == kBadTime)
                    << at << " " << v << ": " << code;
        }
    }
}

TEST_F(TimeTest, RandomContents)
{
    // A small deterministic fuzz: random texts over the characters of times,
    // under each rule, through every decoder and the text check.
    uint32_t state = 19710917;
    auto next = [&state] {
        state = state * 1103515245u + 12345u;
        return state >> 16;
    };
    const char alphabet[] = "0123456789012345678901234567890123456789Zz+-.,\0 ";
    for (int i = 0; i < 20000; i++) {
        world.encRules = next() % 3 == 0 ? QOR_DER : next() % 2 ? QOR_CER : QOR_BER;
        Bytes b(next() % 26);
        for (unsigned char &o : b)
            o = static_cast<unsigned char>(alphabet[next() % (sizeof alphabet - 1)]);
        std::vector<int> codes =
            decodeEach({Form::kRecordG, Form::kRecordU, Form::kTextG, Form::kTextU}, b,
                       static_cast<QorLong>(b.size()));
        releaseCall();
        for (int code : codes)
            ASSERT_TRUE(code == 0 || code == kDataError || code == kBadTime) << i << ": " << code;
    }
}

TEST_F(TimeTest, AllocationFailure)
{
    std::string out;
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(decodeText(text("20240102030405Z"), 0, 0, &out), QOR_OUT_OF_MEMORY);
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    unsigned char *pos = nullptr;
    QorLong room = 0;
    GeneralizedTime t = at(2024, 1, 2, 3, 4, 5);
    EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE, [&] { _qor_encd_gtime(&world, &pos, &room, &t); }),
              QOR_OUT_OF_MEMORY);
    CountingAllocator::failAt = 0;
    releaseCall();
}

// ---------------------------------------------------------------- text forms

TEST_F(TimeTest, TextFormEncoding)
{
    EXPECT_EQ(encoded(untime("20240102030405Z", 0, 0)), "20240102030405Z");
    EXPECT_EQ(encoded(untime("240102030405Z", 0, 1)), "240102030405Z");
    EXPECT_EQ(encoded(untime("2024010203", 0, 0)), "2024010203"); // BER: local, no minutes
    EXPECT_EQ(encodeError(untime("20240102030405Z", 10, 0)), kSizeExceeded);
    EXPECT_TRUE(messageIs("0016S")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(untime("20241302030405Z", 0, 0)), kBadTime);
    EXPECT_TRUE(messageIs("Month = 13")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(untime(nullptr, 0, 0)), kBadTime);
    // The kind tells UTCTime (non-zero) from GeneralizedTime (0).
    EXPECT_EQ(encodeError(untime("991231235959Z", 0, 0)), kBadTime); // month 31 of year 9912
    EXPECT_TRUE(messageIs("Month = 31")) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(untime("20240102030405Z", 0, 1)), kBadTime); // month 24 of year 20
    EXPECT_TRUE(messageIs("Month = 24")) << world.errMsgBuffer;
    // NOCONSTRAIN skips the check, not the size.
    world.encodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(encoded(untime("not a time", 0, 0)), "not a time");
    EXPECT_EQ(encodeError(untime("not a time", 5, 0)), kSizeExceeded);
    world.encRules = QOR_DER;
    EXPECT_EQ(encoded(untime("2024010203", 0, 0)), "2024010203");
    world.encodingFlags &= ~QorULong{NOCONSTRAIN};
    EXPECT_EQ(encodeError(untime("2024010203", 0, 0)), kBadTime);
}

TEST_F(TimeTest, TextFormDecoding)
{
    std::string out;
    ASSERT_EQ(decodeText(text("20240102030405Z"), 0, 0, &out), 0);
    EXPECT_EQ(out, "20240102030405Z");
    ASSERT_EQ(decodeText(text("240102030405Z"), 0, 1, &out), 0);
    EXPECT_EQ(out, "240102030405Z");
    ASSERT_EQ(decodeText({}, 0, 0, &out), kBadTime); // an empty text is no time
    // A NUL at the end: message 114 unless the compatibility flag allows it.
    Bytes nul = text("20240102030405Z");
    nul.push_back(0);
    EXPECT_EQ(decodeText(nul, 0, 0, &out), kDataError);
    EXPECT_TRUE(messageIs("0046E")) << world.errMsgBuffer;
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x80), 0);
    ASSERT_EQ(decodeText(nul, 0, 0, &out), 0);
    EXPECT_EQ(out, "20240102030405Z");
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0), 0);
    // The check runs after the copy: the piece goes back with the failure.
    EXPECT_EQ(decodeText(text("20240132030405Z"), 0, 0, &out), kBadTime);
    EXPECT_TRUE(messageIs("Day = 32")) << world.errMsgBuffer;
    world.decodingFlags |= NOCONSTRAIN;
    ASSERT_EQ(decodeText(text("garbage"), 0, 0, &out), 0);
    EXPECT_EQ(out, "garbage");
    ASSERT_EQ(decodeText(text("20240102030405Z"), 5, 0, &out), 0); // max is a constraint
    world.decodingFlags &= ~QorULong{NOCONSTRAIN};
    EXPECT_EQ(decodeText(text("20240102030405Z"), 5, 0, &out), kSizeExceeded);
    EXPECT_EQ(decodeText(text("20240102030405Z"), -5, 0, &out), kLimited);
    EXPECT_TRUE(messageIs("0026S")) << world.errMsgBuffer;
}

TEST_F(TimeTest, CheckOfTimesAsText)
{
    struct Case {
        const char *text;
        int utc;
        int rules;
        int code;
        const char *message;
    };
    const Case cases[] = {
        {"20240102030405Z", 0, QOR_BER, 0, nullptr},
        {"2024010203", 0, QOR_BER, 0, nullptr},
        {"2024010203+01", 0, QOR_BER, 0, nullptr},
        {"2024010203-0130", 0, QOR_BER, 0, nullptr},
        {"20240102030405z", 0, QOR_BER, 0, nullptr},
        {"20240102030405.000Z", 0, QOR_BER, 0, nullptr},
        {"20240102030405,1234567890123Z", 0, QOR_BER, 0, nullptr},
        {"2024010203.5", 0, QOR_BER, 0, nullptr},
        {"240102030405Z", 1, QOR_BER, 0, nullptr},
        {"2401020304", 1, QOR_BER, 0, nullptr},
        {"2401020304z", 1, QOR_BER, 0, nullptr},
        {"2401020304-0800", 1, QOR_BER, 0, nullptr},
        {"20240102030405.25Z", 0, QOR_DER, 0, nullptr},
        {"240102030405Z", 1, QOR_CER, 0, nullptr},
        // Fields.
        {"2024", 0, QOR_BER, kBadTime, "0012S"},
        {"202401020", 0, QOR_BER, kBadTime, "0012S"},
        {"20240102030", 0, QOR_BER, kBadTime, "0012S"},
        {"2024010203045Z", 0, QOR_BER, kBadTime, "0012S"},
        {"20241302030405Z", 0, QOR_BER, kBadTime, "Month = 13"},
        {"20240002030405Z", 0, QOR_BER, kBadTime, "Month = 0"},
        {"20240100030405Z", 0, QOR_BER, kBadTime, "Day = 0"},
        {"20240231030405Z", 0, QOR_BER, 0, nullptr}, // no test of day against month
        {"20240132030405Z", 0, QOR_BER, kBadTime, "Day = 32"},
        {"20240102240405Z", 0, QOR_BER, kBadTime, "Hour = 24"},
        {"20240102036005Z", 0, QOR_BER, kBadTime, "Minute = 60"},
        {"20240102030460Z", 0, QOR_BER, kBadTime, "Second = 60"},
        // Ends.
        {"2024010203Zx", 0, QOR_BER, kBadTime, "0012S"},
        {"2024010203+013", 0, QOR_BER, kBadTime, "0012S"},
        {"2024010203+01300", 0, QOR_BER, kBadTime, "0012S"},
        {"2024010203+", 0, QOR_BER, kBadTime, "0012S"},
        {"2024010203 ", 0, QOR_BER, kBadTime, "0012S"},
        {"20240102030405.Z", 0, QOR_BER, kBadTime, "0012S"},
        {"20240102030405.00Z", 0, QOR_BER, 0, nullptr},
        {"240102030405.5Z", 1, QOR_BER, kBadTime, "0012S"},
        {"240102030405Zz", 1, QOR_BER, kBadTime, "0012S"},
        // Strict rules: seconds, "Z", a point, no trailing zero.
        {"2024010203Z", 0, QOR_DER, kBadTime, "0013S"},
        {"202401020304Z", 0, QOR_CER, kBadTime, "0013S"},
        {"20240102030405", 0, QOR_DER, kBadTime, "0013S"},
        {"20240102030405+0100", 0, QOR_DER, kBadTime, "0013S"},
        {"20240102030405z", 0, QOR_DER, kBadTime, "0013S"},
        {"20240102030405,5Z", 0, QOR_DER, kBadTime, "0013S"},
        {"20240102030405.50Z", 0, QOR_DER, kBadTime, "0013S"},
        {"20240102030405.Z", 0, QOR_DER, kBadTime, "0013S"},
        {"2401020304Z", 1, QOR_DER, kBadTime, "0013S"},
        {"240102030405+0100", 1, QOR_CER, kBadTime, "0013S"},
        {"240102030405z", 1, QOR_DER, kBadTime, "0013S"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        world.encRules = c.rules;
        int code = check(c.text, c.utc);
        EXPECT_EQ(code, c.code) << world.errMsgBuffer;
        if (c.message != nullptr) {
            EXPECT_TRUE(messageIs(c.message)) << world.errMsgBuffer;
        }
    }
    world.encRules = QOR_BER;
    EXPECT_EQ(check(nullptr, 0), kBadTime);
    // The compatibility flag admits "z" under strict rules.
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x8000), 0);
    world.encRules = QOR_DER;
    EXPECT_EQ(check("20240102030405z", 0), 0);
    EXPECT_EQ(check("240102030405z", 1), 0);
    EXPECT_EQ(check("240102030405Zz", 1), kBadTime);
}

} // namespace
