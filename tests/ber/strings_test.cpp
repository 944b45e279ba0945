// BER string contents in every memory form: encoders byte for byte, decoders
// of primitive and constructed input, size limits and NOCONSTRAIN, the
// nesting limit of constructed encodings, and hostile input.
#include <cstring>
#include <string>
#include <vector>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

constexpr int kSizeViolated = QOR_CONSTRAINT_VIOLATED; // message 27

using Chars = std::vector<QorULong>;

class StringTest : public BerTest {
protected:
    enum Form { kBmp, kUni, kUtf8Octets, kUtf8Bmp, kUtf8Uni };

    // The decoded octets of the unbounded form, or the code raised.
    int octets(const Bytes &input, Bytes *out, QorLong max = 0)
    {
        out->clear();
        return decode(input, [&](auto... in) {
            void *value = nullptr;
            QorLong n = _qor_dec_uoct_ia(&world, in..., &value, max);
            const auto *p = static_cast<const unsigned char *>(value);
            if (n > 0)
                out->assign(p, p + n);
            else
                EXPECT_EQ(value, nullptr);
        });
    }

    // The characters of a wide or UTF-8 form in host order (unbounded UTF-8:
    // its octets as they came), or the code raised. No value, no memory.
    int chars(Form form, const Bytes &input, QorLong max, Chars *out)
    {
        out->clear();
        return decode(input, [&](auto... in) {
            uint16_t *narrow = nullptr;
            QorULong *wide = nullptr;
            unsigned char *utf8 = nullptr;
            QorLong n = form == kBmp       ? _qor_dec_bmpstr_ia(&world, in..., &narrow, max)
                        : form == kUni     ? _qor_dec_unistr_ia(&world, in..., &wide, max)
                        : form == kUtf8Bmp ? _qor_dec_utf8bmpstr_ia(&world, in..., &narrow, max)
                        : form == kUtf8Uni ? _qor_dec_utf8unistr_ia(&world, in..., &wide, max)
                                           : _qor_dec_utf8unbound_ia(&world, in..., &utf8, max);
            for (QorLong i = 0; i < n; i++)
                out->push_back(narrow != nullptr ? narrow[i] : wide != nullptr ? wide[i] : utf8[i]);
            if (n == 0) {
                EXPECT_TRUE(narrow == nullptr && wide == nullptr && utf8 == nullptr);
            }
        });
    }
};

TEST_F(StringTest, EncodersWriteEachMemoryFormWithinItsLimits)
{
    static const uint16_t bmp[] = {0x0041, 0x20AC};
    static const QorULong uni[] = {0x41, 0x1F600};
    static const unsigned char utf8[] = {0x41, 0xC3, 0xA9};
    static const uint16_t bmpForUtf8[] = {0x41, 0xE9, 0x20AC, 0xFFFD};
    static const QorULong uniForUtf8[] = {0x7F, 0x80, 0x1F600, 0x7FFFFFFF};
    static const uint16_t surrogate[] = {0x41, 0xD800};
    static const QorULong tooBig[] = {0x41, 0x42, 0x80000000u};
    struct Case {
        const char *name;
        Write write;
        const char *contents; // when the call succeeds
        int code;             // without NOCONSTRAIN
        int noConstrain;      // with it
        const char *message = "";
    } cases[] = {
        {"nstr", writer(_qor_encd_nstr, "ABC", 0), "41 42 43", 0, 0},
        {"pstr mixed padding", writer(_qor_encd_pstr, "AB \0\0", 5), "41 42", 0, 0},
        {"pstr padding between", writer(_qor_encd_pstr, "A\0 B\0 ", 6), "41 00 20 42", 0, 0},
        {"pstr all padding", writer(_qor_encd_pstr, " \0 ", 3), "", 0, 0},
        {"uoct at its limit", writer(_qor_encd_uoct_ia, "\x01\x00\xFF", 3, 3), "01 00 FF", 0, 0},
        {"uoct empty", writer(_qor_encd_uoct_ia, nullptr, 0, 0), "", 0, 0},
        {"voct at its limit", writer(_qor_encd_voct_ia, "ABCD", 4, 4), "41 42 43 44", 0, 0},
        {"bmpstr", writer(_qor_encd_bmpstr_ia, bmp, 2, 0), "00 41 20 AC", 0, 0},
        {"unistr", writer(_qor_encd_unistr_ia, uni, 2, 2), "00 00 00 41 00 01 F6 00", 0, 0},
        // UTF-8 octets: the limit counts characters, not octets.
        {"utf8unbound", writer(_qor_encd_utf8unbound_ia, utf8, 3, 2), "41 C3 A9", 0, 0},
        {"utf8bmpstr", writer(_qor_encd_utf8bmpstr_ia, bmpForUtf8, 4, 0),
         "41 C3 A9 E2 82 AC EF BF BD", 0, 0},
        {"utf8unistr", writer(_qor_encd_utf8unistr_ia, uniForUtf8, 4, 4),
         "7F C2 80 F0 9F 98 80 FD BF BF BF BF BF", 0, 0},
        // A null-terminated text and an inline array are checked whatever the flags.
        {"nstr over", writer(_qor_encd_nstr, "ABC", 2), "", kSizeExceeded, kSizeExceeded},
        {"voct over", writer(_qor_encd_voct_ia, "ABC", 3, 2), "", kSizeExceeded, kSizeExceeded},
        {"uoct over", writer(_qor_encd_uoct_ia, "ABC", 3, 2), "41 42 43", kSizeExceeded, 0},
        {"bmpstr over", writer(_qor_encd_bmpstr_ia, bmp, 2, 1), "00 41 20 AC", kSizeExceeded, 0},
        {"unistr over", writer(_qor_encd_unistr_ia, uni, 2, 1), "00 00 00 41 00 01 F6 00",
         kSizeExceeded, 0},
        {"utf8unbound over", writer(_qor_encd_utf8unbound_ia, utf8, 3, 1), "41 C3 A9",
         kSizeExceeded, 0},
        {"utf8bmpstr over", writer(_qor_encd_utf8bmpstr_ia, bmpForUtf8, 4, 3),
         "41 C3 A9 E2 82 AC EF BF BD", kSizeExceeded, 0},
        {"negative length", writer(_qor_encd_uoct_ia, "A", -1, 0), "", kDataError, kDataError},
        {"pstr negative size", writer(_qor_encd_pstr, "A", -1), "", kDataError, kDataError},
        // Characters without a UTF-8 form are refused before anything is written.
        {"surrogate", writer(_qor_encd_utf8bmpstr_ia, surrogate, 2, 0), "", kDataError, kDataError,
         "0119S: Error converting character to UTF8 format at position 1"},
        {"beyond 31 bits", writer(_qor_encd_utf8unistr_ia, tooBig, 3, 0), "", kDataError,
         kDataError, "at position 2"},
    };
    for (bool lifted : {false, true}) {
        setFlag(world.encodingFlags, NOCONSTRAIN, lifted);
        for (const Case &c : cases) {
            SCOPED_TRACE(std::string(c.name) + (lifted ? " NOCONSTRAIN" : ""));
            Encoding e = encode(c.write);
            EXPECT_EQ(e.code, lifted ? c.noConstrain : c.code) << world.errMsgBuffer;
            if (e.code == 0) {
                EXPECT_EQ(e.bytes, hex(c.contents));
            }
            EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
        }
    }
    world.encodingFlags &= ~QorULong{NOCONSTRAIN};
    // The decoders' flag word does not lift an encoder's constraint.
    world.decodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(encode(writer(_qor_encd_uoct_ia, "ABC", 3, 2)).code, kSizeExceeded);
    world.decodingFlags &= ~QorULong{NOCONSTRAIN};
}

TEST_F(StringTest, OneFunctionServesTwoNames)
{
    expectOneFunction({{"_qor_encd_ustr_ia", "_qor_encd_uoct_ia"},
                       {"_qor_encd_vstr_ia", "_qor_encd_voct_ia"},
                       {"_qor_dec_vstr_ia", "_qor_dec_voct_ia"},
                       {"_qor_dec_vstr_ptr_ia", "_qor_dec_voct_ptr_ia"}});
}

TEST_F(StringTest, DecodersFillEachMemoryForm)
{
    const Bytes abc = hex("04 03 41 42 43");
    void *p = nullptr;
    char *text = nullptr;
    char inline8[8];
    QorLong n = -1;
    for (auto fn : {_qor_dec_ustr_ia, _qor_dec_uoct_ia, _qor_dec_voct_ptr_ia}) {
        EXPECT_EQ(decode(abc,
                         [&](auto... in) {
                             EXPECT_EQ(fn(&world, in..., &p, 0), 3);
                             // New decoder memory, listed so that a failed decode frees it.
                             EXPECT_EQ(world.blockQueue.count, 1);
                             EXPECT_EQ(world.blockQueue.slot[0], p);
                             EXPECT_EQ(memcmp(p, "ABC", 3), 0);
                         }),
                  0);
    }
    // A text in new memory ends with a NUL, even an empty one.
    const char *const texts[][2] = {{"04 03 41 42 43", "ABC"}, {"04 00", ""}};
    for (const auto &t : texts) {
        EXPECT_EQ(decode(hex(t[0]),
                         [&](auto... in) {
                             _qor_dec_nstr_ptr(&world, in..., &text, 0);
                             ASSERT_NE(text, nullptr);
                             EXPECT_STREQ(text, t[1]);
                         }),
                  0);
    }

    // Inline arrays, from primitive and constructed input alike: a text
    // ends with a NUL, a padded array is filled with blanks, not zeros; a
    // varying one is left alone past its value.
    const char *constructed = "24 80 04 02 41 42 04 01 43 00 00";
    struct Case {
        const char *name;
        Read read;
        const char *input;
        QorLong count;
        const char *array;
    } cases[] = {
        {"voct", reader(_qor_dec_voct_ia, inline8, 8), "04 03 41 42 43", 3, "ABC#####"},
        {"nstr", reader(_qor_dec_nstr, inline8, 7), constructed, 3, "ABC\0####"},
        {"pstr", reader(_qor_dec_pstr, inline8, 7), "04 03 41 42 43", 3, "ABC    #"},
        {"pstr constructed", reader(_qor_dec_pstr, inline8, 5), constructed, 3, "ABC  ###"},
        {"pstr empty", reader(_qor_dec_pstr, inline8, 3), "04 00", 0, "   #####"},
        // The inline text takes an embedded NUL as it is; the count tells all.
        {"nstr with a NUL", reader(_qor_dec_nstr, inline8, 7), "1A 03 41 00 42", 3, "A\0B\0####"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        memset(inline8, '#', sizeof inline8);
        EXPECT_EQ(run(hex(c.input), c.read, &n), 0);
        EXPECT_EQ(n, c.count);
        EXPECT_EQ(std::string(inline8, 8), std::string(c.array, 8));
    }

    // A text in new memory refuses an embedded NUL.
    EXPECT_EQ(run(hex("1A 03 41 00 42"), reader(_qor_dec_nstr_ptr, &text, 0)), kDataError);
    EXPECT_TRUE(messageHas("0046E")) << world.errMsgBuffer;
    // An empty value takes no memory.
    p = &p;
    EXPECT_EQ(run(hex("04 00"), reader(_qor_dec_ustr_ia, &p, 0), &n), 0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(p, nullptr);
}

TEST_F(StringTest, DecoderSizeLimits)
{
    const Bytes abc = hex("04 03 41 42 43");
    char inline8[8] = {};
    char *text = nullptr;
    void *p = nullptr;
    struct Case {
        const char *name;
        Read read;
        int code;        // without NOCONSTRAIN
        int noConstrain; // with it
        QorLong result;  // the count returned on success
    } cases[] = {
        {"ustr over", reader(_qor_dec_ustr_ia, &p, 2), kSizeExceeded, 0, 3},
        {"ustr at", reader(_qor_dec_ustr_ia, &p, 3), 0, 0, 3},
        // Below 0: the representation's own limit, kept under every flag.
        {"ustr own limit", reader(_qor_dec_ustr_ia, &p, -2), kLimited, kLimited, 0},
        {"uoct own limit", reader(_qor_dec_uoct_ia, &p, -3), 0, 0, 3},
        {"voct_ptr over", reader(_qor_dec_voct_ptr_ia, &p, 2), kSizeExceeded, 0, 3},
        // Inline arrays cannot take more than they hold.
        {"voct over", reader(_qor_dec_voct_ia, inline8, 2), kSizeExceeded, kSizeExceeded, 0},
        {"nstr over", reader(_qor_dec_nstr, inline8, 2), kSizeViolated, kSizeViolated, 0},
        {"nstr_ptr over", reader(_qor_dec_nstr_ptr, &text, 2), kSizeViolated, 0, 3},
        {"pstr over", reader(_qor_dec_pstr, inline8, 2), kSizeExceeded, kSizeExceeded, 0},
        // An inline array of capacity 0 holds nothing; 0 is not "unbounded" there.
        {"voct into nothing", reader(_qor_dec_voct_ia, inline8, 0), kSizeExceeded, kSizeExceeded, 0},
        {"nstr into nothing", reader(_qor_dec_nstr, inline8, 0), kSizeViolated, kSizeViolated, 0},
        // Varying forms keep what a negative limit allows and pass over the rest.
        {"voct truncated", reader(_qor_dec_voct_ia, inline8, -2), 0, 0, 2},
        {"voct_ptr truncated", reader(_qor_dec_voct_ptr_ia, &p, -2), 0, 0, 2},
    };
    for (bool lifted : {false, true}) {
        setFlag(world.decodingFlags, NOCONSTRAIN, lifted);
        for (const Case &c : cases) {
            SCOPED_TRACE(std::string(c.name) + (lifted ? " NOCONSTRAIN" : ""));
            QorLong n = -1;
            int code = run(abc, c.read, &n);
            EXPECT_EQ(code, lifted ? c.noConstrain : c.code) << world.errMsgBuffer;
            if (code == 0) {
                EXPECT_EQ(n, c.result);
            }
        }
    }
    world.decodingFlags &= ~QorULong{NOCONSTRAIN};
    memset(inline8, '#', sizeof inline8);
    EXPECT_EQ(run(abc, reader(_qor_dec_voct_ia, inline8, -2)), 0);
    EXPECT_EQ(std::string(inline8, 3), "AB#");
    // The encoders' flag word does not lift a decoder's constraint.
    world.encodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(run(abc, reader(_qor_dec_ustr_ia, &p, 2)), kSizeExceeded);
    EXPECT_TRUE(messageHas("0016S: Size constraint exceeded, length of value = 3"))
        << world.errMsgBuffer;
    world.encodingFlags &= ~QorULong{NOCONSTRAIN};
}

TEST_F(StringTest, WideAndUtf8DecodersGiveCharactersInHostOrder)
{
    const char *mixed = "0C 06 41 C3 A9 E2 82 AC";
    struct Case {
        Form form;
        const char *input;
        QorLong max;
        int code;
        Chars value;
        const char *message = "";
    } cases[] = {
        {kBmp, "1E 04 00 41 20 AC", 2, 0, {0x41, 0x20AC}},
        {kUni, "1C 08 00 00 00 41 00 01 F6 00", 0, 0, {0x41, 0x1F600}},
        {kBmp, "3E 80 04 01 20 04 03 AC 00 41 00 00", 0, 0, {0x20AC, 0x41}}, // split character
        {kBmp, "1E 00", 0, 0, {}},
        // Counts that are not whole characters; limits count characters.
        {kBmp, "1E 03 00 41 20", 0, kDataError, {}, "0136E: Length not a multiple of character"},
        {kUni, "1C 06 00 00 00 41 00 00", 0, kDataError, {}, "width, length: 6"},
        {kBmp, "1E 04 00 41 00 42", 1, kSizeExceeded, {}},
        {kUni, "1C 08 00 00 00 41 00 00 00 42", -1, kLimited, {}},
        {kUtf8Bmp, mixed, 3, 0, {0x41, 0xE9, 0x20AC}},
        {kUtf8Bmp, mixed, 2, kSizeExceeded, {}},
        // Unbounded UTF-8 keeps its octets; the limit still counts characters.
        {kUtf8Octets, mixed, 3, 0, {0x41, 0xC3, 0xA9, 0xE2, 0x82, 0xAC}},
        {kUtf8Octets, mixed, 2, kSizeExceeded, {}},
        // A four-octet character split across segments, through temporary memory.
        {kUtf8Uni, "2C 80 04 02 F0 9F 04 02 98 80 04 01 41 00 00", 0, 0, {0x1F600, 0x41}},
        {kUtf8Bmp, "0C 04 F0 9F 98 80", 0, kLimited, {}}, // too wide for 16 bits
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Chars back;
        EXPECT_EQ(chars(c.form, hex(c.input), c.max, &back), c.code) << world.errMsgBuffer;
        EXPECT_EQ(back, c.value);
        EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
    }
    for (const char *bad : {"0C 02 C3 41", "0C 01 A9", "0C 02 E2 82", "0C 01 FF"}) {
        for (Form form : {kUtf8Octets, kUtf8Bmp, kUtf8Uni}) {
            SCOPED_TRACE(testing::Message() << bad << " form " << form);
            Chars back;
            EXPECT_EQ(chars(form, hex(bad), 0, &back), kDataError);
            EXPECT_TRUE(messageHas("0120S")) << world.errMsgBuffer;
        }
    }
}

TEST_F(StringTest, LongStringsRoundTripThroughManyBlocks)
{
    // 70 000 octets: a three-octet length, and output over 69 blocks.
    Bytes value = repeat("01 23 45 67 89 AB CD", 10000);
    Encoding e = encode([&](auto... out) {
        QorLong n = _qor_encd_uoct_ia(&world, out..., value.data(), 70000, 0);
        return n + _qor_encd_tag_length(&world, out..., n, 0x04);
    });
    ASSERT_EQ(e.code, 0);
    EXPECT_EQ(e.bytes, concat({hex("04 83 01 11 70"), value}));
    Bytes back;
    EXPECT_EQ(octets(e.bytes, &back), 0);
    EXPECT_TRUE(back == value);

    // Wide and UTF-8 characters converted across block boundaries.
    std::vector<uint16_t> bmp(40000);
    for (size_t i = 0; i < bmp.size(); i++)
        bmp[i] = static_cast<uint16_t>(i % 3 == 0   ? 0x41 + i % 26
                                       : i % 3 == 1 ? 0xE9
                                                    : 0x20AC + i % 50);
    for (bool utf8 : {false, true}) {
        SCOPED_TRACE(utf8 ? "utf8" : "bmp");
        e = encode([&](auto... out) {
            QorLong n = utf8 ? _qor_encd_utf8bmpstr_ia(&world, out..., bmp.data(), 40000, 0)
                             : _qor_encd_bmpstr_ia(&world, out..., bmp.data(), 40000, 0);
            return n + _qor_encd_tag_length(&world, out..., n, utf8 ? 0x0C : 0x1E);
        });
        ASSERT_EQ(e.code, 0);
        EXPECT_EQ(e.bytes.size(), 5u + (utf8 ? 13334 + 13333 * 2 + 13333 * 3 : 80000));
        Chars chars16;
        EXPECT_EQ(chars(utf8 ? kUtf8Bmp : kBmp, e.bytes, 0, &chars16), 0);
        EXPECT_TRUE(chars16 == Chars(bmp.begin(), bmp.end()));
    }

    // Characters of one width only, so that sequences meet the ends of the
    // converter's chunks in every way.
    for (QorULong c : {0x41u, 0xE9u, 0x20ACu, 0x1F600u, 0x200000u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(c);
        const Chars same(3000, c);
        e = encode([&](auto... out) {
            QorLong n = _qor_encd_utf8unistr_ia(&world, out..., same.data(), 3000, 0);
            return n + _qor_encd_tag_length(&world, out..., n, 0x0C);
        });
        ASSERT_EQ(e.code, 0);
        Chars chars32;
        EXPECT_EQ(chars(kUtf8Uni, e.bytes, 3000, &chars32), 0);
        EXPECT_TRUE(chars32 == same);
    }
}

TEST_F(StringTest, ConstructedInputGivesOneContiguousValueOrIsRefused)
{
    // A value is cut short at every octet too: more input is wanted.
    struct Case {
        int rules;
        const char *input;
        int code;
        const char *text; // the value, or part of the message
    } cases[] = {
        {QOR_BER, "24 80 04 02 41 42 04 01 43 00 00", 0, "41 42 43"}, // indefinite outer, definite inner
        {QOR_BER, "24 07 04 02 41 42 04 01 43", 0, "41 42 43"},       // definite all through
        {QOR_BER, "24 80 24 80 04 01 41 00 00 24 03 04 01 42 00 00", 0, "41 42"},
        {QOR_BER, "24 0A 04 02 41 42 24 04 04 02 43 44", 0, "41 42 43 44"},
        {QOR_BER, "24 80 04 02 41 42 24 80 04 01 43 00 00 00 00", 0, "41 42 43"},
        {QOR_BER, "04 05 41 42 43 44 45", 0, "41 42 43 44 45"},
        {QOR_BER, "24 80 04 00 04 01 41 04 00 00 00", 0, "41"}, // empty segments
        {QOR_BER, "24 80 00 00", 0, ""},
        {QOR_BER, "24 00", 0, ""},
        {QOR_BER, "24 81 04 04 81 01 41", 0, "41"},    // long forms
        {QOR_BER, "04 81 02 41 42", 0, "41 42"},
        {QOR_BER, "1A 03 41 00 42", 0, "41 00 42"}, // any octet, NUL included
        {QOR_BER, "24 80 1F 04 01 41 00 00", 0, "41"}, // a tag written long is no error here
        {QOR_BER, "24 80 0C 01 41 00 00", kDataError, "[UNIVERSAL 12] (expected tag [UNIVERSAL 4])"},
        {QOR_BER, "24 80 44 01 41 00 00", kDataError, "0033E"}, // [APPLICATION 4]
        {QOR_BER, "24 80 04 80 41 00 00", kDataError, "0051S"}, // primitive, indefinite
        {QOR_BER, "04 80 41 00 00", kDataError, "0051S"},
        {QOR_BER, "24 03 04 02 41 42", kDataError, "0031S"}, // inner runs past the outer
        {QOR_BER, "24 05 24 80 04 01 41 00 00", kDataError, "0031S"},
        {QOR_BER, "24 04 00 00 04 00", kDataError, "0031S"}, // end-of-contents in a definite length
        {QOR_BER, "24 03 04 02 41", kMoreInput, "0081S"},    // inner runs past the input
        {QOR_BER, "24 80 04 85 01 00 00 00 00 41 00 00", kLimited, "0026S"},
        {QOR_BER, "24 80 04 84 FF FF FF FF 41 00 00", kMoreInput, "0081S"},
        {QOR_BER, "24 80 1F 81 80 80 01 00 00", kLimited, "0019E"}, // tag number beyond 14 bits
        // DER refuses an indefinite segment inside a definite string too.
        {QOR_DER, "24 07 24 80 04 01 41 00 00", kDataError, "0117S"},
        {QOR_BER, "24 07 24 80 04 01 41 00 00", 0, "41"},
    };
    Bytes out;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        world.encRules = c.rules;
        expectOutcome(octets(hex(c.input), &out), out, c.code, c.text);
        for (const Bytes &part : c.code == 0 ? prefixes(hex(c.input)) : std::vector<Bytes>{})
            EXPECT_EQ(octets(part, &out), kMoreInput) << part.size();
    }

    // More segments than the table holds on the frame: it moves to temporary
    // memory, and gives it back.
    Bytes many = concat({hex("24 80"), repeat("04 02 41 42 04 00", 200), hex("00 00")});
    EXPECT_EQ(octets(many, &out), 0);
    EXPECT_EQ(out, repeat("41 42", 200));
}

TEST_F(StringTest, NestingLimit)
{
    // `depth` constructed encodings, one inside the other.
    auto nested = [](int depth, int ends) {
        return concat({repeat("24 80", depth), hex("04 01 41"), repeat("00 00", ends)});
    };
    auto nestedDefinite = [](int depth) {
        Bytes inner = hex("04 01 41");
        for (int i = 0; i < depth; i++)
            inner = concat({hex("24"), Bytes{static_cast<unsigned char>(inner.size())}, inner});
        return inner;
    };
    ASSERT_EQ(qorGetConstructedNestingLimit(&world), 10);
    Bytes out;
    EXPECT_EQ(octets(nested(10, 10), &out), 0);
    EXPECT_EQ(out, hex("41"));
    EXPECT_EQ(octets(nested(11, 11), &out), kNestedTooDeep);
    EXPECT_TRUE(messageHas("0184E")) << world.errMsgBuffer;
    EXPECT_EQ(octets(nestedDefinite(10), &out), 0);
    EXPECT_EQ(octets(nestedDefinite(11), &out), kNestedTooDeep);

    ASSERT_EQ(qorSetConstructedNestingLimit(&world, 3), 0);
    EXPECT_EQ(octets(nested(3, 3), &out), 0);
    EXPECT_EQ(octets(nested(4, 4), &out), kNestedTooDeep);
    // The count is of depth, not of segments: siblings do not add up.
    Bytes siblings =
        concat({hex("24 80"), repeat("24 80 24 80 04 01 41 00 00 00 00", 5), hex("00 00")});
    EXPECT_EQ(octets(siblings, &out), 0);
    EXPECT_EQ(out, repeat("41", 5));
    // A negative limit is passed at the first level; only 0 lifts it.
    ASSERT_EQ(qorSetConstructedNestingLimit(&world, -1), 0);
    EXPECT_EQ(octets(nested(1, 1), &out), kNestedTooDeep);
    EXPECT_EQ(octets(hex("04 01 41"), &out), 0);

    // Far past the limit, or with no end at all: refused early.
    const Bytes deep = nested(100000, 100000);
    const Bytes endless = repeat("24 80", 100000);
    EXPECT_EQ(octets(deep, &out), kNestedTooDeep);
    EXPECT_EQ(octets(endless, &out), kNestedTooDeep);
    // With the limit off, the reader keeps its own stack: no recursion to
    // run out of.
    ASSERT_EQ(qorSetConstructedNestingLimit(&world, 0), 0);
    EXPECT_EQ(octets(deep, &out), 0);
    EXPECT_EQ(out, hex("41"));
    EXPECT_EQ(octets(endless, &out), kMoreInput);
    EXPECT_EQ(octets(nested(10000, 9999), &out), kMoreInput);
}

TEST_F(StringTest, EveryAllocationMayFail)
{
    // A table that grows twice in temporary memory, then the value itself.
    Bytes input = concat({hex("24 80"), repeat("04 01 41", 40), hex("00 00")});
    Bytes out;
    EXPECT_GE(failuresBeforeSuccess([&] {
                  int code = octets(input, &out);
                  releaseBlocks(&world);
                  EXPECT_EQ(CountingAllocator::outstanding, 0);
                  return code;
              }),
              3);
    EXPECT_EQ(out, repeat("41", 40));
}

TEST_F(StringTest, CallersBufferExactlyBigEnoughAndOneOctetShort)
{
    // Pieces of the buffer start on 8-octet boundaries: three octets take 8.
    Bytes buffer(16);
    world.userBuffer = 1;
    for (const char *input : {"04 03 41 42 43", "24 80 04 02 41 42 04 01 43 00 00"}) {
        SCOPED_TRACE(input);
        for (QorLong room : {QorLong{8}, QorLong{7}}) {
            world.outPos = buffer.data();
            world.outRoom = room;
            Bytes out;
            EXPECT_EQ(octets(hex(input), &out), room == 8 ? 0 : QOR_BUFFER_TOO_SMALL);
            EXPECT_EQ(out, room == 8 ? hex("41 42 43") : Bytes{});
        }
    }
    world.userBuffer = 0;
    world.blockQueue.count = 0; // pieces of a caller's buffer are not listed for freeing
}

TEST_F(StringTest, NestedDecodeTakesTemporaryMemory)
{
    // The mode of a nested PER or OER decode: the octets go to temporary
    // memory, even when the fragment table went there first. In temporary
    // blocks the value is the newest piece and the only one left; in a
    // caller's temporary buffer the piece built apart goes back.
    alignas(16) static unsigned char scratch[4096];
    for (bool callerTemp : {false, true}) {
        if (callerTemp)
            useTemporaryBuffer(scratch, sizeof scratch);
        for (int segments : callerTemp ? std::vector<int>{30} : std::vector<int>{1, 3, 30}) {
            SCOPED_TRACE(testing::Message() << segments << (callerTemp ? " caller's buffer" : ""));
            Bytes input = concat({hex("24 80"), repeat("04 02 41 42", segments), hex("00 00")});
            unsigned char *high = world.tempHigh;
            QorLong consumed = 0;
            world.privateArea->lastDecodedFlag = 1;
            int code = decoded(
                input,
                [&](unsigned char **pos, QorLong *room) {
                    void *value = nullptr;
                    QorLong n = _qor_dec_uoct_ia(&world, pos, room, header(pos, room), &value, 0);
                    ASSERT_EQ(n, 2 * segments);
                    const auto *v = static_cast<unsigned char *>(value);
                    EXPECT_EQ(Bytes(v, v + n), repeat("41 42", segments));
                    EXPECT_EQ(world.blockQueue.count, 0) << "no decoder memory";
                    if (callerTemp) {
                        EXPECT_EQ(value, world.privateArea->tempBuffer);
                        EXPECT_EQ(world.tempLow, world.privateArea->tempBuffer + 64);
                        EXPECT_EQ(world.tempHigh, high);
                        return;
                    }
                    auto *top = static_cast<qor::TempBlock *>(world.tempBlockList);
                    ASSERT_NE(top, nullptr);
                    EXPECT_EQ(value, top->payload());
                    EXPECT_EQ(top->prev, nullptr);
                    EXPECT_EQ(world.altDecList, nullptr);
                },
                &consumed);
            world.privateArea->lastDecodedFlag = 0;
            EXPECT_EQ(code, 0) << world.errMsgBuffer;
            EXPECT_EQ(consumed, static_cast<QorLong>(input.size()));
            endCall();
        }
    }
    ASSERT_EQ(qorSetTemporaryBuffer(&world, nullptr), 0);
}

} // namespace
