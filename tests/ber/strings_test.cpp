// BER string contents in every memory form: encoders byte for byte, decoders
// of primitive and constructed input, size limits and NOCONSTRAIN, the
// nesting limit of constructed encodings, and hostile input.
#include <dlfcn.h>
#include <chrono>
#include <cstring>
#include <string>

#include "ber/ber_support.h"
#include "frame/world.h"
#include "memory/temp_block.h"

using namespace qortest;

namespace {

constexpr int kDataError = QOR_DATA_ERROR; // messages 12, 102, 103, 106, 114, 119, 135, 140
constexpr int kMoreInput = QOR_MORE_INPUT; // message 45
constexpr int kLimited = QOR_LIMITED;      // messages 98, 99
constexpr int kSizeExceeded = 16;          // message 79
constexpr int kSizeViolated = QOR_CONSTRAINT_VIOLATED; // message 27
constexpr int kOutOfMemory = QOR_OUT_OF_MEMORY;        // message 6
constexpr int kNestedTooDeep = 108;                    // message 180

Bytes pattern(size_t n)
{
    Bytes out(n);
    for (size_t i = 0; i < n; i++)
        out[i] = static_cast<unsigned char>(i * 7 + (i >> 8));
    return out;
}

class StringTest : public BerTest {
public:
    using BerTest::decode;
    using BerTest::world;

    // A failed call gives its code; a successful one must return its length.
    template <class Write> Encoding encode(Write &&write)
    {
        Encoding e = attempt(write);
        if (e.code == 0) {
            EXPECT_EQ(e.returned, static_cast<QorLong>(e.bytes.size())) << "returned size";
        }
        return e;
    }

    // The decoded octets of the unbounded form, or the code raised.
    int octets(const Bytes &input, Bytes *out, QorLong max = 0)
    {
        out->clear();
        return decode(input, [&](unsigned char **pos, QorLong *room, QorLong length) {
            void *value = nullptr;
            QorLong n = _qor_dec_uoct_ia(&world, pos, room, length, &value, max);
            const auto *p = static_cast<const unsigned char *>(value);
            if (n > 0)
                out->assign(p, p + n);
            else
                EXPECT_EQ(value, nullptr);
        });
    }
};

using Writer = QorLong (*)(StringTest *, unsigned char **, QorLong *);

// ---------------------------------------------------------------- encoders

TEST_F(StringTest, EncodersWriteTheContentsOfEachMemoryForm)
{
    static const uint16_t bmp[] = {0x0041, 0x20AC};
    static const QorULong uni[] = {0x41, 0x1F600};
    static const unsigned char utf8[] = {0x41, 0xC3, 0xA9};
    static const uint16_t bmpForUtf8[] = {0x41, 0xE9, 0x20AC, 0xFFFD};
    static const QorULong uniForUtf8[] = {0x7F, 0x80, 0x1F600, 0x7FFFFFFF};
    struct Case {
        const char *name;
        Writer write;
        const char *contents;
    } cases[] = {
        {"nstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_nstr(&t->world, p, r, "ABC", 0);
         },
         "41 42 43"},
        {"nstr empty",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_nstr(&t->world, p, r, "", 5);
         },
         ""},
        {"pstr mixed padding",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_pstr(&t->world, p, r, "AB \0\0", 5);
         },
         "41 42"},
        {"pstr padding between",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_pstr(&t->world, p, r, "A\0 B\0 ", 6);
         },
         "41 00 20 42"},
        {"pstr all padding",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_pstr(&t->world, p, r, " \0 ", 3);
         },
         ""},
        {"uoct",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_uoct_ia(&t->world, p, r, "\x01\x00\xFF", 3, 3);
         },
         "01 00 FF"},
        {"ustr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_ustr_ia(&t->world, p, r, "xy", 2, 0);
         },
         "78 79"},
        {"uoct empty",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_uoct_ia(&t->world, p, r, nullptr, 0, 0);
         },
         ""},
        {"voct",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_voct_ia(&t->world, p, r, "ABCD", 2, 4);
         },
         "41 42"},
        {"vstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_vstr_ia(&t->world, p, r, "ABCD", 4, 4);
         },
         "41 42 43 44"},
        {"bmpstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_bmpstr_ia(&t->world, p, r, bmp, 2, 0);
         },
         "00 41 20 AC"},
        {"unistr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_unistr_ia(&t->world, p, r, uni, 2, 2);
         },
         "00 00 00 41 00 01 F6 00"},
        {"utf8unbound",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_utf8unbound_ia(&t->world, p, r, utf8, 3, 2);
         },
         "41 C3 A9"},
        {"utf8bmpstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_utf8bmpstr_ia(&t->world, p, r, bmpForUtf8, 4, 0);
         },
         "41 C3 A9 E2 82 AC EF BF BD"},
        {"utf8unistr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_utf8unistr_ia(&t->world, p, r, uniForUtf8, 4, 4);
         },
         "7F C2 80 F0 9F 98 80 FD BF BF BF BF BF"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Encoding e = encode([&](unsigned char **p, QorLong *r) { return c.write(this, p, r); });
        EXPECT_EQ(e.code, 0) << world.errMsgBuffer;
        EXPECT_EQ(e.bytes, hex(c.contents));
    }
}

TEST_F(StringTest, OneFunctionServesTwoNames)
{
    // Looked up at run time: a compiler may assume two declared functions
    // have different addresses and fold a direct comparison.
    const char *const pairs[][2] = {{"_qor_encd_ustr_ia", "_qor_encd_uoct_ia"},
                                    {"_qor_encd_vstr_ia", "_qor_encd_voct_ia"}};
    for (const auto &pair : pairs) {
        void *first = dlsym(RTLD_DEFAULT, pair[0]);
        EXPECT_NE(first, nullptr) << pair[0];
        EXPECT_EQ(first, dlsym(RTLD_DEFAULT, pair[1])) << pair[0];
    }
}

TEST_F(StringTest, EncoderSizeLimitsAndNoconstrain)
{
    static const uint16_t bmp[] = {1, 2, 3};
    static const QorULong uni[] = {1, 2, 3};
    static const unsigned char twoAcute[] = {0xC3, 0xA9, 0xC3, 0xA9};
    struct Case {
        const char *name;
        Writer write;
        int code;        // without NOCONSTRAIN
        int noConstrain; // with it
    } cases[] = {
        // A null-terminated text and an inline array are checked whatever the flags.
        {"nstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_nstr(&t->world, p, r, "ABC", 2);
         },
         kSizeExceeded, kSizeExceeded},
        {"voct",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_voct_ia(&t->world, p, r, "ABC", 3, 2);
         },
         kSizeExceeded, kSizeExceeded},
        {"uoct",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_uoct_ia(&t->world, p, r, "ABC", 3, 2);
         },
         kSizeExceeded, 0},
        {"uoct at its limit",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_uoct_ia(&t->world, p, r, "ABC", 3, 3);
         },
         0, 0},
        {"bmpstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_bmpstr_ia(&t->world, p, r, bmp, 3, 2);
         },
         kSizeExceeded, 0},
        {"unistr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_unistr_ia(&t->world, p, r, uni, 3, 2);
         },
         kSizeExceeded, 0},
        {"utf8bmpstr",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_utf8bmpstr_ia(&t->world, p, r, bmp, 3, 2);
         },
         kSizeExceeded, 0},
        // UTF-8 octets: the limit counts characters, not octets.
        {"utf8unbound two characters",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_utf8unbound_ia(&t->world, p, r, twoAcute, 4, 2);
         },
         0, 0},
        {"utf8unbound",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_utf8unbound_ia(&t->world, p, r, twoAcute, 4, 1);
         },
         kSizeExceeded, 0},
        {"negative length",
         [](StringTest *t, unsigned char **p, QorLong *r) {
             return _qor_encd_uoct_ia(&t->world, p, r, "A", -1, 0);
         },
         kDataError, kDataError},
    };
    for (bool lifted : {false, true}) {
        world.encodingFlags = lifted ? (world.encodingFlags | NOCONSTRAIN)
                                     : (world.encodingFlags & ~QorULong{NOCONSTRAIN});
        for (const Case &c : cases) {
            SCOPED_TRACE(std::string(c.name) + (lifted ? " NOCONSTRAIN" : ""));
            Encoding e = encode([&](unsigned char **p, QorLong *r) { return c.write(this, p, r); });
            EXPECT_EQ(e.code, lifted ? c.noConstrain : c.code) << world.errMsgBuffer;
        }
    }
    world.encodingFlags &= ~QorULong{NOCONSTRAIN};
    // The decoders' flag word does not lift an encoder's constraint.
    world.decodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(encode([&](unsigned char **p, QorLong *r) {
                  return _qor_encd_uoct_ia(&world, p, r, "ABC", 3, 2);
              }).code,
              kSizeExceeded);
    world.decodingFlags &= ~QorULong{NOCONSTRAIN};
}

TEST_F(StringTest, CharactersWithoutUtf8FormAreRefusedBeforeWriting)
{
    static const uint16_t surrogate[] = {0x41, 0xD800};
    static const QorULong tooBig[] = {0x41, 0x42, 0x80000000u};
    Encoding e = encode([&](unsigned char **p, QorLong *r) {
        return _qor_encd_utf8bmpstr_ia(&world, p, r, surrogate, 2, 0);
    });
    EXPECT_EQ(e.code, kDataError);
    EXPECT_TRUE(messageHas("0119S")) << world.errMsgBuffer;
    EXPECT_TRUE(messageHas("position 1")) << world.errMsgBuffer;
    e = encode([&](unsigned char **p, QorLong *r) {
        return _qor_encd_utf8unistr_ia(&world, p, r, tooBig, 3, 0);
    });
    EXPECT_EQ(e.code, kDataError);
    EXPECT_TRUE(messageHas("position 2")) << world.errMsgBuffer;
}

// ---------------------------------------------------------------- decoders

TEST_F(StringTest, DecodersFillEachMemoryForm)
{
    const Bytes abc = hex("04 03 41 42 43");
    void *p = nullptr;
    char inline8[8];
    QorLong n = -1;

    auto unbounded = [&](auto fn) {
        return decode(abc, [&](unsigned char **pos, QorLong *room, QorLong length) {
            n = fn(&world, pos, room, length, &p, 0);
            // New decoder memory, listed so that a failed decode frees it.
            EXPECT_EQ(world.blockQueue.count, 1);
            EXPECT_EQ(world.blockQueue.slot[0], p);
            EXPECT_EQ(memcmp(p, "ABC", 3), 0);
        });
    };
    EXPECT_EQ(unbounded(_qor_dec_ustr_ia), 0);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(unbounded(_qor_dec_uoct_ia), 0);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(unbounded(_qor_dec_voct_ptr_ia), 0);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(unbounded(_qor_dec_vstr_ptr_ia), 0);
    EXPECT_EQ(n, 3);

    for (auto fn : {_qor_dec_voct_ia, _qor_dec_vstr_ia}) {
        memset(inline8, '#', sizeof inline8);
        EXPECT_EQ(
            decode(abc, [&](unsigned char **pos, QorLong *room,
                            QorLong length) { n = fn(&world, pos, room, length, inline8, 8); }),
            0);
        EXPECT_EQ(n, 3);
        EXPECT_EQ(std::string(inline8, 8), "ABC#####");
    }

    memset(inline8, '#', sizeof inline8);
    EXPECT_EQ(decode(abc,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_nstr(&world, pos, room, length, inline8, 7);
                     }),
              0);
    EXPECT_EQ(n, 3);
    EXPECT_STREQ(inline8, "ABC");

    EXPECT_EQ(decode(abc,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         char *t = nullptr;
                         n = _qor_dec_nstr_ptr(&world, pos, room, length, &t, 0);
                         EXPECT_STREQ(t, "ABC");
                     }),
              0);

    // A padded array is filled with blanks, not zeros.
    memset(inline8, 0, sizeof inline8);
    EXPECT_EQ(decode(abc,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_pstr(&world, pos, room, length, inline8, 7);
                     }),
              0);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(std::string(inline8, 8), std::string("ABC    \0", 8));

    // Empty values: no memory for the pointer forms, but a text still ends.
    const Bytes empty = hex("04 00");
    EXPECT_EQ(decode(empty,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         p = &p;
                         n = _qor_dec_ustr_ia(&world, pos, room, length, &p, 0);
                     }),
              0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(decode(empty,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         char *t = nullptr;
                         n = _qor_dec_nstr_ptr(&world, pos, room, length, &t, 0);
                         ASSERT_NE(t, nullptr);
                         EXPECT_STREQ(t, "");
                     }),
              0);
    EXPECT_EQ(decode(empty,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_pstr(&world, pos, room, length, inline8, 3);
                     }),
              0);
    EXPECT_EQ(std::string(inline8, 3), "   ");
}

TEST_F(StringTest, DecoderSizeLimits)
{
    const Bytes abc = hex("04 03 41 42 43");
    char inline8[8] = {};
    QorLong n = -1;
    void *p = nullptr;
    struct Case {
        const char *name;
        int (*run)(StringTest *, const Bytes &, QorLong *, void **, char *);
        int code;        // without NOCONSTRAIN
        int noConstrain; // with it
        QorLong result;  // the count returned on success
    };
#define QOR_RUN(call)                                                                              \
    [](StringTest *t, const Bytes &in, QorLong *n, void **p, char *inl) {                          \
        (void)p;                                                                                   \
        (void)inl;                                                                                 \
        return t->decode(in,                                                                       \
                         [&](unsigned char **pos, QorLong *room, QorLong length) { *n = call; });  \
    }
    const Case cases[] = {
        {"ustr over", QOR_RUN(_qor_dec_ustr_ia(&t->world, pos, room, length, p, 2)), kSizeExceeded,
         0, 3},
        {"ustr at", QOR_RUN(_qor_dec_ustr_ia(&t->world, pos, room, length, p, 3)), 0, 0, 3},
        // Below 0: the representation's own limit, kept under every flag.
        {"ustr own limit", QOR_RUN(_qor_dec_ustr_ia(&t->world, pos, room, length, p, -2)), kLimited,
         kLimited, 0},
        {"uoct own limit", QOR_RUN(_qor_dec_uoct_ia(&t->world, pos, room, length, p, -3)), 0, 0, 3},
        {"voct_ptr over", QOR_RUN(_qor_dec_voct_ptr_ia(&t->world, pos, room, length, p, 2)),
         kSizeExceeded, 0, 3},
        // Inline arrays cannot take more than they hold.
        {"voct over", QOR_RUN(_qor_dec_voct_ia(&t->world, pos, room, length, inl, 2)),
         kSizeExceeded, kSizeExceeded, 0},
        {"nstr over", QOR_RUN(_qor_dec_nstr(&t->world, pos, room, length, inl, 2)), kSizeViolated,
         kSizeViolated, 0},
        {"nstr_ptr over",
         QOR_RUN(_qor_dec_nstr_ptr(&t->world, pos, room, length, reinterpret_cast<char **>(p), 2)),
         kSizeViolated, 0, 3},
        {"pstr over", QOR_RUN(_qor_dec_pstr(&t->world, pos, room, length, inl, 2)), kSizeExceeded,
         kSizeExceeded, 0},
        // Varying forms keep what a negative limit allows and pass over the rest.
        {"voct truncated", QOR_RUN(_qor_dec_voct_ia(&t->world, pos, room, length, inl, -2)), 0, 0,
         2},
        {"voct_ptr truncated", QOR_RUN(_qor_dec_voct_ptr_ia(&t->world, pos, room, length, p, -2)),
         0, 0, 2},
    };
#undef QOR_RUN
    for (bool lifted : {false, true}) {
        world.decodingFlags = lifted ? (world.decodingFlags | NOCONSTRAIN)
                                     : (world.decodingFlags & ~QorULong{NOCONSTRAIN});
        for (const Case &c : cases) {
            SCOPED_TRACE(std::string(c.name) + (lifted ? " NOCONSTRAIN" : ""));
            n = -1;
            int code = c.run(this, abc, &n, &p, inline8);
            EXPECT_EQ(code, lifted ? c.noConstrain : c.code) << world.errMsgBuffer;
            if (code == 0) {
                EXPECT_EQ(n, c.result);
            }
        }
    }
    world.decodingFlags &= ~QorULong{NOCONSTRAIN};
    // The encoders' flag word does not lift a decoder's constraint.
    world.encodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(
        decode(abc, [&](unsigned char **pos, QorLong *room,
                        QorLong length) { _qor_dec_ustr_ia(&world, pos, room, length, &p, 2); }),
        kSizeExceeded);
    EXPECT_TRUE(messageHas("0016S: Size constraint exceeded, length of value = 3"))
        << world.errMsgBuffer;
    world.encodingFlags &= ~QorULong{NOCONSTRAIN};

    memset(inline8, '#', sizeof inline8);
    EXPECT_EQ(decode(abc,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_voct_ia(&world, pos, room, length, inline8, -2);
                     }),
              0);
    EXPECT_EQ(std::string(inline8, 3), "AB#");
}

TEST_F(StringTest, TextsRefuseAnEmbeddedNul)
{
    const Bytes nul = hex("1A 03 41 00 42");
    char inline8[8];
    EXPECT_EQ(decode(nul,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         char *t = nullptr;
                         _qor_dec_nstr_ptr(&world, pos, room, length, &t, 0);
                     }),
              kDataError);
    EXPECT_TRUE(messageHas("0046E")) << world.errMsgBuffer;
    EXPECT_EQ(
        decode(nul, [&](unsigned char **pos, QorLong *room,
                        QorLong length) { _qor_dec_nstr(&world, pos, room, length, inline8, 7); }),
        kDataError);
    // The other forms carry any octet.
    Bytes out;
    EXPECT_EQ(octets(nul, &out), 0);
    EXPECT_EQ(out, hex("41 00 42"));
}

TEST_F(StringTest, WideCharactersComeBackInHostOrder)
{
    uint16_t *bmp = nullptr;
    QorULong *uni = nullptr;
    QorLong n = -1;
    EXPECT_EQ(decode(hex("1E 04 00 41 20 AC"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_bmpstr_ia(&world, pos, room, length, &bmp, 2);
                         ASSERT_EQ(n, 2);
                         EXPECT_EQ(bmp[0], 0x41);
                         EXPECT_EQ(bmp[1], 0x20AC);
                     }),
              0);
    EXPECT_EQ(decode(hex("1C 08 00 00 00 41 00 01 F6 00"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_unistr_ia(&world, pos, room, length, &uni, 0);
                         ASSERT_EQ(n, 2);
                         EXPECT_EQ(uni[0], 0x41u);
                         EXPECT_EQ(uni[1], 0x1F600u);
                     }),
              0);
    // A character split between segments.
    EXPECT_EQ(decode(hex("3E 80 04 01 20 04 03 AC 00 41 00 00"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_bmpstr_ia(&world, pos, room, length, &bmp, 0);
                         ASSERT_EQ(n, 2);
                         EXPECT_EQ(bmp[0], 0x20AC);
                         EXPECT_EQ(bmp[1], 0x41);
                     }),
              0);
    EXPECT_EQ(decode(hex("1E 00"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_bmpstr_ia(&world, pos, room, length, &bmp, 0);
                     }),
              0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(bmp, nullptr);

    // Counts that are not whole characters; limits count characters.
    EXPECT_EQ(decode(hex("1E 03 00 41 20"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_bmpstr_ia(&world, pos, room, length, &bmp, 0);
                     }),
              kDataError);
    EXPECT_TRUE(messageHas("0136E: Length not a multiple of character width, length: 3"))
        << world.errMsgBuffer;
    EXPECT_EQ(decode(hex("1C 06 00 00 00 41 00 00"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_unistr_ia(&world, pos, room, length, &uni, 0);
                     }),
              kDataError);
    EXPECT_EQ(decode(hex("1E 04 00 41 00 42"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_bmpstr_ia(&world, pos, room, length, &bmp, 1);
                     }),
              kSizeExceeded);
    EXPECT_EQ(decode(hex("1C 08 00 00 00 41 00 00 00 42"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_unistr_ia(&world, pos, room, length, &uni, -1);
                     }),
              kLimited);
}

TEST_F(StringTest, Utf8DecodersCheckEverySequence)
{
    uint16_t *bmp = nullptr;
    QorULong *uni = nullptr;
    unsigned char *octetsOut = nullptr;
    QorLong n = -1;
    const Bytes mixed = hex("0C 06 41 C3 A9 E2 82 AC");
    EXPECT_EQ(decode(mixed,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_utf8bmpstr_ia(&world, pos, room, length, &bmp, 3);
                         ASSERT_EQ(n, 3);
                         EXPECT_EQ(bmp[0], 0x41);
                         EXPECT_EQ(bmp[1], 0xE9);
                         EXPECT_EQ(bmp[2], 0x20AC);
                     }),
              0);
    EXPECT_EQ(decode(mixed,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_utf8bmpstr_ia(&world, pos, room, length, &bmp, 2);
                     }),
              kSizeExceeded);
    // Unbounded UTF-8 keeps its octets, and says how many there are; the
    // limit still counts characters.
    EXPECT_EQ(decode(mixed,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_utf8unbound_ia(&world, pos, room, length, &octetsOut, 3);
                         ASSERT_EQ(n, 6);
                         EXPECT_EQ(Bytes(octetsOut, octetsOut + 6), hex("41 C3 A9 E2 82 AC"));
                     }),
              0);
    EXPECT_EQ(decode(mixed,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_utf8unbound_ia(&world, pos, room, length, &octetsOut, 2);
                     }),
              kSizeExceeded);
    // A four-octet character split across segments, through temporary memory.
    EXPECT_EQ(decode(hex("2C 80 04 02 F0 9F 04 02 98 80 04 01 41 00 00"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         n = _qor_dec_utf8unistr_ia(&world, pos, room, length, &uni, 0);
                         ASSERT_EQ(n, 2);
                         EXPECT_EQ(uni[0], 0x1F600u);
                         EXPECT_EQ(uni[1], 0x41u);
                     }),
              0);
    // Too wide for 16 bits.
    EXPECT_EQ(decode(hex("0C 04 F0 9F 98 80"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_utf8bmpstr_ia(&world, pos, room, length, &bmp, 0);
                     }),
              kLimited);
    for (const char *bad : {"0C 02 C3 41", "0C 01 A9", "0C 02 E2 82", "0C 01 FF"}) {
        SCOPED_TRACE(bad);
        for (int form = 0; form < 3; form++) {
            EXPECT_EQ(decode(hex(bad),
                             [&](unsigned char **pos, QorLong *room, QorLong length) {
                                 if (form == 0)
                                     _qor_dec_utf8unbound_ia(&world, pos, room, length, &octetsOut,
                                                             0);
                                 else if (form == 1)
                                     _qor_dec_utf8bmpstr_ia(&world, pos, room, length, &bmp, 0);
                                 else
                                     _qor_dec_utf8unistr_ia(&world, pos, room, length, &uni, 0);
                             }),
                      kDataError);
            EXPECT_TRUE(messageHas("0120S")) << world.errMsgBuffer;
        }
    }
}

TEST_F(StringTest, LongStringsRoundTripThroughManyBlocks)
{
    // 70 000 octets: a three-octet length, and output over 69 blocks.
    Bytes value = pattern(70000);
    Encoding e = encode([&](unsigned char **pos, QorLong *room) {
        QorLong n = _qor_encd_uoct_ia(&world, pos, room, value.data(), 70000, 0);
        return n + _qor_encd_tag_length(&world, pos, room, n, 0x04);
    });
    ASSERT_EQ(e.code, 0);
    EXPECT_EQ(e.bytes, concat({hex("04 83 01 11 70"), value}));
    Bytes back;
    EXPECT_EQ(octets(e.bytes, &back), 0);
    EXPECT_EQ(back, value);

    // Wide and UTF-8 characters converted across block boundaries.
    std::vector<uint16_t> chars(40000);
    for (size_t i = 0; i < chars.size(); i++)
        chars[i] = static_cast<uint16_t>(i % 3 == 0   ? 0x41 + i % 26
                                         : i % 3 == 1 ? 0xE9
                                                      : 0x20AC + i % 50);
    for (bool utf8 : {false, true}) {
        SCOPED_TRACE(utf8 ? "utf8" : "bmp");
        e = encode([&](unsigned char **pos, QorLong *room) {
            QorLong n = utf8 ? _qor_encd_utf8bmpstr_ia(&world, pos, room, chars.data(), 40000, 0)
                             : _qor_encd_bmpstr_ia(&world, pos, room, chars.data(), 40000, 0);
            return n + _qor_encd_tag_length(&world, pos, room, n, utf8 ? 0x0C : 0x1E);
        });
        ASSERT_EQ(e.code, 0);
        EXPECT_EQ(e.bytes.size(), 5u + (utf8 ? 13334 + 13333 * 2 + 13333 * 3 : 80000));
        EXPECT_EQ(decode(e.bytes,
                         [&](unsigned char **pos, QorLong *room, QorLong length) {
                             uint16_t *out = nullptr;
                             QorLong n =
                                 utf8 ? _qor_dec_utf8bmpstr_ia(&world, pos, room, length, &out, 0)
                                      : _qor_dec_bmpstr_ia(&world, pos, room, length, &out, 0);
                             ASSERT_EQ(n, 40000);
                             EXPECT_EQ(memcmp(out, chars.data(), 80000), 0);
                         }),
                  0);
    }

    // Characters of one width only, so that sequences meet the ends of the
    // converter's chunks in every way.
    for (QorULong c : {0x41u, 0xE9u, 0x20ACu, 0x1F600u, 0x200000u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(c);
        std::vector<QorULong> same(3000, c);
        e = encode([&](unsigned char **pos, QorLong *room) {
            QorLong n = _qor_encd_utf8unistr_ia(&world, pos, room, same.data(), 3000, 0);
            return n + _qor_encd_tag_length(&world, pos, room, n, 0x0C);
        });
        ASSERT_EQ(e.code, 0);
        EXPECT_EQ(decode(e.bytes,
                         [&](unsigned char **pos, QorLong *room, QorLong length) {
                             QorULong *out = nullptr;
                             ASSERT_EQ(
                                 _qor_dec_utf8unistr_ia(&world, pos, room, length, &out, 3000),
                                 3000);
                             EXPECT_EQ(memcmp(out, same.data(), 3000 * sizeof(QorULong)), 0);
                         }),
                  0);
    }
}

// ---------------------------------------------------------------- constructed input

TEST_F(StringTest, ConstructedInputGivesOneContiguousValue)
{
    struct Case {
        const char *input;
        const char *value;
    } cases[] = {
        {"24 80 04 02 41 42 04 01 43 00 00", "41 42 43"}, // indefinite outer, definite inner
        {"24 07 04 02 41 42 04 01 43", "41 42 43"},       // definite all through
        {"24 80 24 80 04 01 41 00 00 24 03 04 01 42 00 00", "41 42"},
        {"24 80 04 00 04 01 41 04 00 00 00", "41"}, // empty segments
        {"24 80 00 00", ""},
        {"24 00", ""},
        {"24 81 04 04 81 01 41", "41"},    // long forms
        {"24 80 1F 04 01 41 00 00", "41"}, // a tag written long is no error here
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Bytes out;
        EXPECT_EQ(octets(hex(c.input), &out), 0) << world.errMsgBuffer;
        EXPECT_EQ(out, hex(c.value));
    }

    // More segments than the table holds on the frame: it moves to temporary
    // memory, and gives it back.
    Bytes many = concat({hex("24 80"), repeat("04 02 41 42 04 00", 200), hex("00 00")});
    Bytes out;
    EXPECT_EQ(octets(many, &out), 0);
    EXPECT_EQ(out, repeat("41 42", 200));

    // Every form takes constructed input.
    char inline8[8] = {};
    EXPECT_EQ(decode(hex("24 80 04 02 41 42 04 01 43 00 00"),
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         EXPECT_EQ(_qor_dec_pstr(&world, pos, room, length, inline8, 5), 3);
                     }),
              0);
    EXPECT_EQ(std::string(inline8, 5), "ABC  ");
}

TEST_F(StringTest, MalformedSegmentsAreRefused)
{
    struct Case {
        const char *input;
        int code;
        const char *message;
    } cases[] = {
        {"24 80 0C 01 41 00 00", kDataError, "[UNIVERSAL 12] (expected tag [UNIVERSAL 4])"},
        {"24 80 44 01 41 00 00", kDataError, "0033E"}, // [APPLICATION 4]
        {"24 80 04 80 41 00 00", kDataError, "0051S"}, // primitive, indefinite
        {"24 03 04 02 41 42", kDataError, "0031S"},    // inner runs past the outer
        {"24 05 24 80 04 01 41 00 00", kDataError, "0031S"},
        {"24 04 00 00 04 00", kDataError, "0031S"}, // end-of-contents in a definite length
        {"24 03 04 02 41", kMoreInput, "0081S"},    // inner runs past the input
        {"24 80 04 02 41", kMoreInput, "0081S"},
        {"24 80 04 01 41", kMoreInput, "0081S"}, // no end-of-contents
        {"24 80 04 85 01 00 00 00 00 41 00 00", kLimited, "0026S"},
        {"24 80 04 84 FF FF FF FF 41 00 00", kMoreInput, "0081S"},
        {"24 80 1F 81 80 80 01 00 00", kLimited, "0019E"}, // tag number beyond 14 bits
        {"04 80 41 00 00", kDataError, "0051S"},           // primitive string, indefinite
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Bytes out;
        EXPECT_EQ(octets(hex(c.input), &out), c.code);
        EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
    }
}

TEST_F(StringTest, NestingLimit)
{
    // `depth` constructed encodings, one inside the other.
    auto nested = [](int depth) {
        return concat({repeat("24 80", depth), hex("04 01 41"), repeat("00 00", depth)});
    };
    auto nestedDefinite = [](int depth) {
        Bytes inner = hex("04 01 41");
        for (int i = 0; i < depth; i++)
            inner = concat({hex("24"), Bytes{static_cast<unsigned char>(inner.size())}, inner});
        return inner;
    };
    ASSERT_EQ(qorGetConstructedNestingLimit(&world), 10);
    Bytes out;
    EXPECT_EQ(octets(nested(10), &out), 0);
    EXPECT_EQ(out, hex("41"));
    EXPECT_EQ(octets(nested(11), &out), kNestedTooDeep);
    EXPECT_TRUE(messageHas("0184E")) << world.errMsgBuffer;
    EXPECT_EQ(octets(nestedDefinite(10), &out), 0);
    EXPECT_EQ(octets(nestedDefinite(11), &out), kNestedTooDeep);

    ASSERT_EQ(qorSetConstructedNestingLimit(&world, 3), 0);
    EXPECT_EQ(octets(nested(3), &out), 0);
    EXPECT_EQ(octets(nested(4), &out), kNestedTooDeep);
    // The count is of depth, not of segments: siblings do not add up.
    EXPECT_EQ(
        octets(concat({hex("24 80"), repeat("24 80 24 80 04 01 41 00 00 00 00", 5), hex("00 00")}),
               &out),
        0);
    EXPECT_EQ(out, repeat("41", 5));

    ASSERT_EQ(qorSetConstructedNestingLimit(&world, 0), 0);
    EXPECT_EQ(octets(nested(60), &out), 0);
    EXPECT_EQ(out, hex("41"));
}

TEST_F(StringTest, DeepNestingEndsQuicklyAndCleanly)
{
    using Clock = std::chrono::steady_clock;
    const Bytes deep = concat({repeat("24 80", 100000), hex("04 01 41"), repeat("00 00", 100000)});
    const Bytes endless = repeat("24 80", 100000);
    Bytes out;

    auto start = Clock::now();
    EXPECT_EQ(octets(deep, &out), kNestedTooDeep);
    EXPECT_EQ(octets(endless, &out), kNestedTooDeep);

    // With the limit off, the reader keeps its own stack: no recursion to
    // run out of, and time in proportion to the input.
    ASSERT_EQ(qorSetConstructedNestingLimit(&world, 0), 0);
    EXPECT_EQ(octets(deep, &out), 0);
    EXPECT_EQ(out, hex("41"));
    EXPECT_EQ(octets(endless, &out), kMoreInput);
    const Bytes tenThousand =
        concat({repeat("24 80", 10000), hex("04 01 41"), repeat("00 00", 9999)});
    EXPECT_EQ(octets(tenThousand, &out), kMoreInput);
    auto seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);
}

TEST_F(StringTest, TruncationAtEveryOctet)
{
    for (const char *whole :
         {"04 05 41 42 43 44 45", "24 80 04 02 41 42 24 80 04 01 43 00 00 00 00",
          "24 0A 04 02 41 42 24 04 04 02 43 44", "04 81 02 41 42"}) {
        SCOPED_TRACE(whole);
        Bytes input = hex(whole);
        Bytes out;
        ASSERT_EQ(octets(input, &out), 0);
        for (size_t cut = 0; cut < input.size(); cut++) {
            SCOPED_TRACE(cut);
            EXPECT_EQ(octets(Bytes(input.begin(), input.begin() + static_cast<long>(cut)), &out),
                      kMoreInput);
        }
    }
}

TEST_F(StringTest, EveryAllocationMayFail)
{
    // A table that grows twice in temporary memory, then the value itself.
    Bytes input = concat({hex("24 80"), repeat("04 01 41", 40), hex("00 00")});
    int failures = 0;
    for (long at = 1;; at++) {
        SCOPED_TRACE(at);
        CountingAllocator::reset(at);
        Bytes out;
        int code = octets(input, &out);
        qorMemQueueFreeForTest();
        EXPECT_EQ(CountingAllocator::outstanding, 0);
        if (code == 0) {
            EXPECT_EQ(out, repeat("41", 40));
            break;
        }
        EXPECT_EQ(code, kOutOfMemory) << world.errMsgBuffer;
        failures++;
    }
    EXPECT_GE(failures, 3);
    CountingAllocator::reset();
}

TEST_F(StringTest, CallersBufferTooSmall)
{
    Bytes buffer(16);
    world.userBuffer = 1;
    world.outPos = buffer.data();
    world.outRoom = 2;
    Bytes out;
    EXPECT_EQ(octets(hex("04 03 41 42 43"), &out), QOR_BUFFER_TOO_SMALL);
    world.outPos = buffer.data();
    world.outRoom = 16;
    EXPECT_EQ(octets(hex("24 80 04 02 41 42 04 01 43 00 00"), &out), 0);
    EXPECT_EQ(out, hex("41 42 43"));
    world.userBuffer = 0;
    world.blockQueue.count = 0; // pieces of a caller's buffer are not listed for freeing
}

TEST_F(StringTest, NestedDecodeTakesTemporaryMemory)
{
    // The mode of a nested PER or OER decode: the octets go to temporary
    // memory, even when the fragment table went there first.
    for (int segments : {1, 3, 30}) {
        SCOPED_TRACE(segments);
        Bytes input = concat({hex("24 80"), repeat("04 02 41 42", segments), hex("00 00")});
        QorLong consumed = 0;
        int code = decoded(
            input,
            [&](unsigned char **pos, QorLong *room) {
                world.privateArea->lastDecodedFlag = 1;
                void *value = nullptr;
                QorLong n = _qor_dec_uoct_ia(&world, pos, room, header(pos, room), &value, 0);
                ASSERT_EQ(n, 2 * segments);
                EXPECT_EQ(world.blockQueue.count, 0) << "no decoder memory";
                ASSERT_NE(world.tempBlockList, nullptr);
                // The newest piece of temporary memory, and the only one left.
                auto *top = static_cast<qor::TempBlock *>(world.tempBlockList);
                EXPECT_EQ(value, top->payload());
                EXPECT_EQ(top->prev, nullptr);
                EXPECT_EQ(Bytes(static_cast<unsigned char *>(value),
                                static_cast<unsigned char *>(value) + n),
                          repeat("41 42", segments));
                EXPECT_EQ(world.altDecList, nullptr);
            },
            &consumed);
        EXPECT_EQ(code, 0) << world.errMsgBuffer;
        EXPECT_EQ(consumed, static_cast<QorLong>(input.size()));
        world.privateArea->lastDecodedFlag = 0;
        endCall();
    }

    // The same in a caller's temporary buffer.
    alignas(16) static unsigned char scratch[4096];
    QorBuf tempBuffer = {sizeof scratch, scratch};
    ASSERT_EQ(qorSetTemporaryBuffer(&world, &tempBuffer), 0);
    Bytes input = concat({hex("24 80"), repeat("04 02 41 42", 30), hex("00 00")});
    world.tempLow = world.privateArea->tempBuffer;
    world.tempHigh = world.privateArea->tempBuffer + world.privateArea->tempBufferSize;
    unsigned char *high = world.tempHigh;
    EXPECT_EQ(decoded(input,
                      [&](unsigned char **pos, QorLong *room) {
                          world.privateArea->lastDecodedFlag = 1;
                          void *value = nullptr;
                          QorLong n =
                              _qor_dec_uoct_ia(&world, pos, room, header(pos, room), &value, 0);
                          ASSERT_EQ(n, 60);
                          EXPECT_EQ(value, world.privateArea->tempBuffer);
                          EXPECT_EQ(world.tempLow, world.privateArea->tempBuffer + 64);
                          EXPECT_EQ(world.tempHigh, high) << "the piece built apart went back";
                          EXPECT_EQ(Bytes(static_cast<unsigned char *>(value),
                                          static_cast<unsigned char *>(value) + n),
                                    repeat("41 42", 30));
                      }),
              0);
    world.privateArea->lastDecodedFlag = 0;
    ASSERT_EQ(qorSetTemporaryBuffer(&world, nullptr), 0);
    endCall();
}

} // namespace
