// UTF-8 conversions: lengths, one character each way, whole strings, and
// sequences that are not UTF-8.
#include <cstring>

#include "support/roundtrip.h"

#include "common/utf8.h"

namespace u8 = qor;

using namespace qortest;

namespace {

constexpr int kDataError = QOR_DATA_ERROR;       // messages 87, 135
constexpr int kLimited = QOR_LIMITED;            // message 99
constexpr int kTableCorrupt = QOR_TABLE_CORRUPT; // message 101

struct CharCase {
    QorULong value;
    const char *bytes;
};

// The 31-bit scheme at each boundary of the sequence lengths.
const CharCase kChars[] = {
    {0x00, "00"},
    {0x41, "41"},
    {0x7F, "7F"},
    {0x80, "C2 80"},
    {0xE9, "C3 A9"},
    {0x7FF, "DF BF"},
    {0x800, "E0 A0 80"},
    {0x20AC, "E2 82 AC"},
    {0xFFFD, "EF BF BD"},
    {0x10000, "F0 90 80 80"},
    {0x1F600, "F0 9F 98 80"},
    {0x10FFFF, "F4 8F BF BF"},
    {0x1FFFFF, "F7 BF BF BF"},
    {0x200000, "F8 88 80 80 80"},
    {0x3FFFFFF, "FB BF BF BF BF"},
    {0x4000000, "FC 84 80 80 80 80"},
    {0x7FFFFFFF, "FD BF BF BF BF BF"},
};

class Utf8Test : public ContextTest {
protected:
    template <class Body> int run(Body body) { return inFrame(&world, QOR_OP_DECODE, body); }
    bool messageIs(const char *id) const { return strstr(world.errMsgBuffer, id) != nullptr; }
};

TEST(Utf8Length, CountsAndRefusals)
{
    for (const CharCase &c : kChars)
        EXPECT_EQ(u8::utf8Length(c.value), static_cast<int>(hex(c.bytes).size())) << c.value;
    for (QorULong refused : {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0xFFFEu, 0xFFFFu, 0x80000000u,
                             0xFFFFFFFFu}) {
        EXPECT_EQ(u8::utf8Length(refused), 0) << refused;
    }
    EXPECT_EQ(u8::utf8Length(0xD7FF), 3);
    EXPECT_EQ(u8::utf8Length(0xE000), 3);
    EXPECT_EQ(u8::utf8Length(0x1FFFE), 4); // only the plane-0 pair is refused
}

TEST(Utf8Encode, EndsJustBelowTheGivenEnd)
{
    for (const CharCase &c : kChars) {
        unsigned char area[8];
        memset(area, 0xEE, sizeof area);
        unsigned char *start = u8::encodeUtf8Char(area + 7, c.value);
        EXPECT_EQ(Bytes(start, area + 7), hex(c.bytes)) << c.value;
        EXPECT_EQ(area[7], 0xEE);
        if (start > area) {
            EXPECT_EQ(start[-1], 0xEE);
        }
        // Forwards, the same octets from the given start.
        memset(area, 0xEE, sizeof area);
        unsigned char *end = u8::putUtf8Char(area + 1, c.value);
        EXPECT_EQ(Bytes(area + 1, end), hex(c.bytes)) << c.value;
        EXPECT_EQ(area[0], 0xEE);
        if (end < area + 8) {
            EXPECT_EQ(*end, 0xEE);
        }
    }
    unsigned char area[8];
    EXPECT_EQ(u8::encodeUtf8Char(area + 8, 0x80000000u), area + 8);
    EXPECT_EQ(u8::putUtf8Char(area, 0x80000000u), area);
    // A surrogate is written as it is; refusing it is the length's job.
    unsigned char *start = u8::encodeUtf8Char(area + 8, 0xD800);
    EXPECT_EQ(Bytes(start, area + 8), hex("ED A0 80"));
    EXPECT_EQ(Bytes(area, u8::putUtf8Char(area, 0xD800)), hex("ED A0 80"));
}

TEST_F(Utf8Test, DecodeEachWidth)
{
    for (const CharCase &c : kChars) {
        Bytes b = hex(c.bytes);
        // Into cells of 4, 2 and 1 octets: a character too wide for its cell is 99.
        for (int width : {4, 2, 1}) {
            SCOPED_TRACE(testing::Message() << c.value << " into " << width);
            unsigned char cell[4] = {};
            int used = -1;
            bool ok = false;
            const int code = run([&] {
                ok = u8::decodeUtf8Char(&world, cell, b.data(), static_cast<QorLong>(b.size()),
                                        width, &used);
            });
            if (c.value >> (8 * width - 1) >> 1 != 0) {
                EXPECT_EQ(code, kLimited);
                EXPECT_TRUE(messageIs("0027S")) << world.errMsgBuffer;
                continue;
            }
            ASSERT_EQ(code, 0);
            EXPECT_TRUE(ok);
            EXPECT_EQ(used, static_cast<int>(b.size()));
            QorULong wide = 0;
            uint16_t narrow = 0;
            memcpy(width == 4 ? static_cast<void *>(&wide) : &narrow, cell, width == 4 ? 4 : 2);
            EXPECT_EQ(width == 4 ? wide : width == 2 ? narrow : cell[0], c.value);
        }
    }
}

TEST_F(Utf8Test, UnknownWidth)
{
    Bytes b = hex("41");
    unsigned char out[8];
    int used;
    EXPECT_EQ(run([&] { (void)u8::decodeUtf8Char(&world, out, b.data(), 1, 3, &used); }),
              kTableCorrupt);
    EXPECT_TRUE(messageIs("0030S")) << world.errMsgBuffer;
}

TEST_F(Utf8Test, NotASequence)
{
    struct BadCase {
        const char *bytes;
        int used;
    };
    const BadCase cases[] = {
        {"80", 0},          {"BF 41", 0},       {"FE 80 80 80 80 80 80", 0},
        {"FF", 0},          {"C3", 2},          {"E2 82", 3},
        {"E2 41 AC", 3},    {"E2 82 C0", 3},    {"FD BF BF BF BF", 6},
        {"F0 9F 98 7F", 4},
    };
    for (const BadCase &c : cases) {
        SCOPED_TRACE(c.bytes);
        Bytes b = hex(c.bytes);
        QorULong out;
        int used = -1;
        bool ok = true;
        ASSERT_EQ(run([&] {
                      ok = u8::decodeUtf8Char(&world, &out, b.data(),
                                                  static_cast<QorLong>(b.size()), 4, &used);
                  }),
                  0);
        EXPECT_FALSE(ok);
        EXPECT_EQ(used, c.used);
    }
    // Nothing at all to read.
    QorULong out;
    int used = -1;
    unsigned char none = 0x41;
    EXPECT_FALSE(u8::decodeUtf8Char(&world, &out, &none, 0, 4, &used));
    EXPECT_EQ(used, 0);
}

TEST_F(Utf8Test, StringsOfEachWidth)
{
    static const uint16_t bmp[] = {0x48, 0xE9, 0x20AC, 0xFFFD};
    static const QorULong uni[] = {0x48, 0x1F600, 0x7FFFFFFF};
    static const unsigned char latin[] = {0x41, 0xFF};
    const struct {
        const void *chars;
        QorLong count;
        int width;
        const char *utf8;
    } rows[] = {
        {bmp, 4, 2, "48 C3 A9 E2 82 AC EF BF BD"},
        {uni, 3, 4, "48 F0 9F 98 80 FD BF BF BF BF BF"},
        {latin, 2, 1, "41 C3 BF"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.utf8);
        const Bytes utf8 = hex(row.utf8);
        const auto size = static_cast<QorLong>(utf8.size());
        QorLong got = 0;
        ASSERT_EQ(run([&] { got = u8::utf8SizeOf(&world, row.chars, row.count, row.width); }), 0);
        EXPECT_EQ(got, size);
        unsigned char area[32];
        EXPECT_EQ(Bytes(u8::encodeUtf8Chars(area + 32, row.chars, row.count, row.width), area + 32),
                  utf8);
        EXPECT_EQ(Bytes(area, u8::putUtf8Chars(area, row.chars, row.count, row.width)), utf8);
        ASSERT_EQ(run([&] { got = u8::utf8CharCount(&world, utf8.data(), size); }), 0);
        EXPECT_EQ(got, row.count);
        QorULong back[4] = {};
        ASSERT_EQ(run([&] { got = u8::decodeUtf8Chars(&world, back, utf8.data(), size, row.width); }),
                  0);
        EXPECT_EQ(got, row.count);
        EXPECT_EQ(memcmp(back, row.chars, static_cast<size_t>(row.count * row.width)), 0);
    }
    // Too wide for 16 bits; a cell of 3 octets is no width at all.
    const Bytes uniUtf8 = hex(rows[1].utf8);
    QorULong wide[3];
    EXPECT_EQ(run([&] {
                  u8::decodeUtf8Chars(&world, wide, uniUtf8.data(),
                                      static_cast<QorLong>(uniUtf8.size()), 2);
              }),
              kLimited);
    EXPECT_EQ(run([&] { (void)u8::utf8SizeOf(&world, bmp, 4, 3); }), kTableCorrupt);
}

TEST_F(Utf8Test, SurrogateHasNoUtf8Form)
{
    // The character at index 1 is refused: message 87 with its position.
    const uint16_t text[] = {0x41, 0xD800, 0x42};
    EXPECT_EQ(run([&] { (void)u8::utf8SizeOf(&world, text, 3, 2); }), kDataError);
    EXPECT_TRUE(messageIs("0119S")) << world.errMsgBuffer;
    EXPECT_TRUE(messageIs("at position 1")) << world.errMsgBuffer;
    const QorULong wide[] = {0xFFFE};
    EXPECT_EQ(run([&] { (void)u8::utf8SizeOf(&world, wide, 1, 4); }), kDataError);
    const QorULong huge[] = {0x41, 0x42, 0x80000000u};
    EXPECT_EQ(run([&] { (void)u8::utf8SizeOf(&world, huge, 3, 4); }), kDataError);
    EXPECT_TRUE(messageIs("at position 2")) << world.errMsgBuffer;
}

TEST_F(Utf8Test, TruncatedStringsAreBadSequences)
{
    // Every cut of a string: whole characters count, a cut one is message 135.
    Bytes full = hex("48 C3 A9 E2 82 AC F0 9F 98 80 FD BF BF BF BF BF");
    const size_t ends[] = {0, 1, 3, 6, 10, 16}; // where characters end
    for (size_t cut = 0; cut <= full.size(); cut++) {
        Bytes input(full.begin(), full.begin() + static_cast<long>(cut));
        QorLong count = -1;
        int code = run([&] {
            count = u8::utf8CharCount(&world, input.data(), static_cast<QorLong>(input.size()));
        });
        bool whole = false;
        for (size_t e : ends)
            whole = whole || e == cut;
        if (whole) {
            EXPECT_EQ(code, 0) << cut;
        } else {
            EXPECT_EQ(code, kDataError) << cut;
            EXPECT_TRUE(messageIs("0120S")) << world.errMsgBuffer;
        }
        QorULong out[8];
        code = run([&] {
            u8::decodeUtf8Chars(&world, out, input.data(), static_cast<QorLong>(input.size()),
                                   4);
        });
        EXPECT_EQ(code, whole ? 0 : kDataError) << cut;
    }
}

TEST_F(Utf8Test, EveryFirstOctet)
{
    // Each first octet with what should follow it, and cut one short.
    for (int first = 0; first < 256; first++) {
        Bytes b = {static_cast<unsigned char>(first), 0x80, 0x80, 0x80, 0x80, 0x80};
        for (QorLong n = 1; n <= 6; n++) {
            Bytes input(b.begin(), b.begin() + n);
            QorULong out;
            int used = -1;
            bool ok = false;
            ASSERT_EQ(
                run([&] { ok = u8::decodeUtf8Char(&world, &out, input.data(), n, 4, &used); }),
                0);
            EXPECT_TRUE(used >= 0 && used <= 6);
            if (ok) {
                EXPECT_LE(used, n);
            }
        }
    }
}

} // namespace
