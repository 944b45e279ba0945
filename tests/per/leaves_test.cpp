// Object identifiers, REAL and classic times in PER: every memory form on
// the same octets, behind a 3-bit field so that unaligned PER reads them off
// a boundary; the limits and refusals with their codes; every truncation.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>

#include "per_support.h"

namespace {

using pertest::Bytes;
using qortest::hex;

constexpr int kMisencoded = pertest::kMisencodedCode; // also 83, 84, 93, 112, 113, 128
constexpr int kEnd = pertest::kEndOfInputCode;
constexpr int kBadOid = 10;   // 70, and 94, 97, 129
constexpr int kNullArcs = 11; // 71
constexpr int kBadField = 12; // 73 to 78
constexpr int kTooMany = 16;  // 79

// The bits of `octets` after a 3-bit field of 5, padded to the octet in
// aligned PER; `width` bits an octet from `from` on (7: a VisibleString).
Bytes behindField(bool aligned, const Bytes &octets, unsigned width = 8, size_t from = 0)
{
    std::vector<int> bits = {1, 0, 1};
    if (aligned)
        pertest::appendBits(bits, 0, 5);
    for (size_t i = 0; i < octets.size(); i++)
        pertest::appendBits(bits, octets[i], i < from ? 8 : width);
    return pertest::packBits(bits);
}

class Leaves : public pertest::PerTest {
protected:
    void expectLeaf(bool aligned, const Bytes &expected, const std::function<void()> &put,
                    const std::function<void()> &get)
    {
        expectCoded(aligned, expected, [&] { _qor_penc_nonneg_3int(&world, 5); put(); },
                    [&] { if (_qor_pdec_nonneg_3int(&world) == 5) get(); });
    }

    // Decodes aligned `input`, strict or `lenient`; the code, and the
    // message number `number` of a failure.
    void expectRead(const char *input, bool lenient, int code, const char *number,
                    const std::function<void()> &get)
    {
        EXPECT_EQ(decode(true, hex(input), get, lenient), code) << world.errMsgBuffer;
        if (code != 0) {
            EXPECT_TRUE(messageHas(number)) << world.errMsgBuffer;
        }
    }
};

TEST_F(Leaves, AliasesAreOneFunction)
{
    qortest::expectOneFunction({
        {"_qor_penc_objidl", "_qor_penc_objidi"},
        {"_qor_penc_ereloid_ia", "_qor_penc_eobjid_ia"},
        {"_qor_pdec_aobjidl", "_qor_pdec_aobjidi"},
        {"_qor_pdec_aobjidl_ptr_ia", "_qor_pdec_aobjidi_ptr_ia"},
        {"_qor_pdec_uobjidl", "_qor_pdec_uobjidi"},
        {"_qor_pdec_ereloid_ia", "_qor_pdec_eobjid_ia"},
    });
}

// ---------------------------------------------------------------- identifiers

using Arcs = std::vector<QorULong>;

// A node of generated code's layout for the `_ia` lists.
struct WideNode {
    WideNode *next;
    uint16_t other;
    QorULong value;
};

// `nodes` linked in order, holding `arcs`.
template <class Node> Node *chain(Node *nodes, const QorULong *arcs, QorLong n)
{
    for (QorLong i = 0; i < n; i++) {
        nodes[i].next = i + 1 < n ? &nodes[i + 1] : nullptr;
        nodes[i].value = static_cast<decltype(nodes[i].value)>(arcs[i]);
    }
    return nodes;
}

template <class Node> QorLong walk(const Node *p, QorULong *out)
{
    QorLong n = 0;
    for (; p != nullptr; p = p->next)
        out[n++] = p->value;
    return n;
}

// Every encoder of arcs; `shortArcs` ones take 16-bit arcs.
struct Writer {
    bool shortArcs;
    void (*put)(QorGlobal *, const QorULong *, QorLong);
};
const Writer kWriters[] = {
    {false, [](QorGlobal *w, const QorULong *a, QorLong n) { _qor_penc_objidi(w, a, n); }},
    {true, [](QorGlobal *w, const QorULong *a, QorLong n) {
         uint16_t s[300];
         std::copy(a, a + n, s);
         _qor_penc_objids(w, s, n);
     }},
    {false, [](QorGlobal *w, const QorULong *a, QorLong n) {
         QorObjidNode nodes[300];
         _qor_penc_link_objidi(w, chain(nodes, a, n));
     }},
    {true, [](QorGlobal *w, const QorULong *a, QorLong n) {
         QorObjidNodeShort nodes[300];
         _qor_penc_link_objids(w, chain(nodes, a, n));
     }},
    {false, [](QorGlobal *w, const QorULong *a, QorLong n) {
         WideNode nodes[300];
         _qor_penc_link_objidl_ia(w, chain(nodes, a, n), offsetof(WideNode, value));
     }},
};

// Every decoder of arcs, each with its memory form read back into `out`.
// Loose forms return at once on an empty value and have no octet limit;
// pointer ones are loose, with the pointer forms' arc limit.
enum Kind { kLoose, kStrict, kPointer };
template <class Arc> struct Record { // as generated code declares it
    char header[3];
    uint16_t count;
    Arc arcs[49];
};
template <class Arc> QorLong fromRecord(void *p, QorULong *out)
{
    auto *r = static_cast<Record<Arc> *>(p);
    return r == nullptr ? -1 : std::copy(r->arcs, r->arcs + r->count, out) - out;
}
struct Reader {
    const char *name;
    Kind kind;
    bool shortArcs;
    QorLong (*get)(QorGlobal *, QorULong *);
};
const Reader kReaders[] = {
    {"aobjidi", kLoose, false, [](QorGlobal *w, QorULong *out) -> QorLong {
         uint16_t n = 0;
         _qor_pdec_aobjidi(w, out, &n, 300);
         return n;
     }},
    {"aobjids", kLoose, true, [](QorGlobal *w, QorULong *out) -> QorLong {
         uint16_t a[300], n = 0;
         _qor_pdec_aobjids(w, a, &n, 300);
         return std::copy(a, a + n, out) - out;
     }},
    {"aobjidi_ptr", kPointer, false, [](QorGlobal *w, QorULong *out) {
         return fromRecord<QorULong>(_qor_pdec_aobjidi_ptr_ia(w, 3), out);
     }},
    {"aobjids_ptr", kStrict, true, [](QorGlobal *w, QorULong *out) {
         return fromRecord<uint16_t>(_qor_pdec_aobjids_ptr_ia(w, 3), out);
     }},
    {"uobjidi", kStrict, false, [](QorGlobal *w, QorULong *out) -> QorLong {
         QorULong *a;
         uint16_t n;
         _qor_pdec_uobjidi(w, &a, &n);
         return std::copy(a, a + n, out) - out;
     }},
    {"uobjids", kStrict, true, [](QorGlobal *w, QorULong *out) -> QorLong {
         uint16_t *a, n;
         _qor_pdec_uobjids(w, &a, &n);
         return std::copy(a, a + n, out) - out;
     }},
    {"link_objidi", kStrict, false, [](QorGlobal *w, QorULong *out) {
         QorObjidNode *head;
         _qor_pdec_link_objidi(w, &head);
         return walk(head, out);
     }},
    {"link_objids", kStrict, true, [](QorGlobal *w, QorULong *out) {
         QorObjidNodeShort *head;
         _qor_pdec_link_objids(w, &head);
         return walk(head, out);
     }},
    {"link_objidl_ia", kStrict, false, [](QorGlobal *w, QorULong *out) {
         return walk(static_cast<WideNode *>(_qor_pdec_link_objidl_ia(w, offsetof(WideNode, value))), out);
     }},
};

bool fitsShort(const Arcs &arcs)
{
    for (QorULong a : arcs)
        if (a > 0xFFFF)
            return false;
    return arcs.size() < 2 || arcs[0] * 40 + arcs[1] <= 0xFFFF;
}

TEST_F(Leaves, IdentifiersInEveryForm)
{
    const struct {
        Arcs arcs;
        const char *encoding; // or the refusal's message
        bool refused = false;
    } rows[] = {
        {{1, 2, 840, 113549, 1, 1, 11}, "09 2A 86 48 86 F7 0D 01 01 0B"},
        {{2, 999, 3}, "03 88 37 03"},
        {{0, 5}, "01 05"},
        {{1, 0}, "01 28"},
        {{0, 0, 26}, "02 00 1A"},
        {{2, 0xFFFFFFAF, 0xFFFFFFFF}, "0A 8F FF FF FF 7F 8F FF FF FF 7F"},
        {{3, 1}, "0010S: Bad OBJECT IDENTIFIER: 0", true},
        {{1, 40}, "0010S: Bad OBJECT IDENTIFIER: 1", true},
        {{0, 0, 27}, "0010S: Bad OBJECT IDENTIFIER: 2", true},
        {{0, 0, 0}, "0010S: Bad OBJECT IDENTIFIER: 2", true},
        {{2, 0xFFFFFFB0}, "0010S: Bad OBJECT IDENTIFIER: 3", true},
        {{1}, "0010S: Bad OBJECT IDENTIFIER: 1", true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.encoding);
        if (row.refused) {
            for (const Writer &w : kWriters) {
                if (w.shortArcs && !fitsShort(row.arcs))
                    continue;
                EXPECT_EQ(encode(true, [&] { w.put(&world, row.arcs.data(), static_cast<QorLong>(row.arcs.size())); }), kBadOid);
                EXPECT_TRUE(messageHas(row.encoding)) << world.errMsgBuffer;
            }
            continue;
        }
        const Bytes raw = hex(row.encoding);
        const Bytes contents(raw.begin() + 1, raw.end());
        pertest::bothVariants([&](bool aligned) {
            const Bytes expected = behindField(aligned, raw);
            for (const Writer &w : kWriters) {
                if (w.shortArcs && !fitsShort(row.arcs))
                    continue;
                Bytes out;
                ASSERT_EQ(encode(aligned, [&] { _qor_penc_nonneg_3int(&world, 5); w.put(&world, row.arcs.data(), static_cast<QorLong>(row.arcs.size())); }, &out), 0) << world.errMsgBuffer;
                EXPECT_EQ(out, expected);
            }
            for (const Reader &r : kReaders) {
                SCOPED_TRACE(r.name);
                QorULong got[300];
                QorLong n = 0;
                const int want = r.shortArcs && !fitsShort(row.arcs) ? kBadOid : 0;
                for (size_t cut = 0; cut < expected.size(); cut++)
                    EXPECT_EQ(decode(aligned, prefix(expected, cut), [&] { _qor_pdec_nonneg_3int(&world); n = r.get(&world, got); }), kEnd);
                ASSERT_EQ(decode(aligned, expected, [&] { _qor_pdec_nonneg_3int(&world); n = r.get(&world, got); }), want);
                if (want == 0) {
                    EXPECT_EQ(Arcs(got, got + n), row.arcs);
                }
                qortest::releaseBlocks(&world);
            }
            // The contents as they stand, absolute or relative.
            unsigned char kept[16];
            QorLong n = 0;
            expectLeaf(aligned, expected, [&] { _qor_penc_eobjid_ia(&world, contents.data(), static_cast<QorULong>(contents.size()), 16); },
                       [&] { n = _qor_pdec_ereloid_ia(&world, kept, 16); });
            EXPECT_EQ(Bytes(kept, kept + n), contents);
        });
    }
    // A relative identifier's contents pass as they stand: no first-pair rule.
    unsigned char *fresh = nullptr;
    const Bytes relative = hex("C2 7B 03 02");
    expectLeaf(false, behindField(false, hex("04 C2 7B 03 02")),
               [&] { _qor_penc_ereloid_ia(&world, relative.data(), 4, 0); },
               [&] { EXPECT_EQ(_qor_pdec_ereloid_ia(&world, &fresh, -1), 4); });
    EXPECT_EQ(Bytes(fresh, fresh + 4), relative);
    // No arcs behind a count; contents past the caller's limit.
    EXPECT_EQ(encode(true, [&] { _qor_penc_objidi(&world, nullptr, 3); }), kNullArcs);
    const unsigned char octets[5] = {};
    EXPECT_EQ(encode(true, [&] { _qor_penc_eobjid_ia(&world, octets, 5, 4); }), kTooMany);
}

// 49 arcs pass the pointer forms, 50 don't; 225 contents octets pass the
// forms with a limit, 226 don't; a loose array is held to its capacity.
TEST_F(Leaves, IdentifierLimits)
{
    auto arcsOf = [](int wide, int narrow) {
        Arcs arcs = {1, 2};
        arcs.insert(arcs.end(), static_cast<size_t>(wide), 0x10000000); // five octets each
        arcs.insert(arcs.end(), static_cast<size_t>(narrow), 1);
        return arcs;
    };
    const struct {
        Arcs arcs;
        const char *reader;
        int code;
    } rows[] = {
        {arcsOf(0, 47), "uobjids", 0},
        {arcsOf(0, 47), "aobjidi_ptr", 0},
        {arcsOf(0, 48), "uobjids", kTooMany},
        {arcsOf(0, 48), "aobjidi_ptr", kTooMany},
        {arcsOf(0, 48), "link_objids", 0},
        {arcsOf(44, 4), "link_objidi", 0}, // 225 octets
        {arcsOf(44, 5), "link_objidi", kBadOid},
        {arcsOf(44, 5), "aobjidi", 0},
        {arcsOf(0, 299), "aobjidi", kTooMany},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.reader << " " << row.arcs.size());
        Bytes input;
        ASSERT_EQ(encode(true, [&] { _qor_penc_objidi(&world, row.arcs.data(), static_cast<QorLong>(row.arcs.size())); }, &input), 0);
        for (const Reader &r : kReaders) {
            if (strcmp(r.name, row.reader) != 0)
                continue;
            QorULong got[300];
            EXPECT_EQ(decode(true, input, [&] { r.get(&world, got); }), row.code) << world.errMsgBuffer;
            qortest::releaseBlocks(&world);
        }
        if (row.code == kBadOid) {
            unsigned char kept[300];
            EXPECT_EQ(decode(true, input, [&] { _qor_pdec_eobjid_ia(&world, kept, 300); }), kBadOid);
        }
    }
}

TEST_F(Leaves, HostileIdentifiers)
{
    const struct {
        const char *input;
        bool lenient;
        int loose, strict, pointer, contents;
    } rows[] = {
        {"20 2A 86", false, kEnd, kEnd, kEnd, kEnd},                  // beyond the input
        {"8F FF", false, kEnd, kEnd, kEnd, kBadOid},                  // 16383 octets
        {"C4", false, kTooMany, kBadOid, kTooMany, kBadOid},          // a fragment
        {"00", false, 0, kMisencoded, 0, kMisencoded},
        {"00", true, 0, 0, 0, 0},
        {"02 2A 86", false, kMisencoded, kMisencoded, kMisencoded, kMisencoded},
        {"05 90 80 80 80 00", false, kBadOid, kBadOid, kBadOid, 0}, // 2^32
        {"05 80 80 80 80 01", false, 0, 0, 0, 0},                   // padding counts no bits
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.input << (row.lenient ? " relaxed" : ""));
        for (const Reader &r : kReaders) {
            SCOPED_TRACE(r.name);
            QorULong got[300];
            const int code = r.kind == kLoose ? row.loose : r.kind == kStrict ? row.strict : row.pointer;
            EXPECT_EQ(decode(true, hex(row.input), [&] { r.get(&world, got); }, row.lenient), code);
            qortest::releaseBlocks(&world);
        }
        unsigned char *kept = nullptr;
        EXPECT_EQ(decode(true, hex(row.input), [&] { _qor_pdec_eobjid_ia(&world, &kept, -1); }, row.lenient), row.contents);
        qortest::releaseBlocks(&world);
    }
    // A 16-bit arc past 65535.
    QorULong got[8];
    EXPECT_EQ(decode(true, hex("03 84 80 00"), [&] { kReaders[1].get(&world, got); }), kBadOid);
    EXPECT_TRUE(messageHas("0025E: Sub-identifier too long: ")) << world.errMsgBuffer;
}

// ---------------------------------------------------------------- REAL

uint64_t bitsOf(double v)
{
    uint64_t b;
    memcpy(&b, &v, sizeof b);
    return b;
}

TEST_F(Leaves, BinaryReals)
{
    const struct {
        double value;
        const char *encoding, *text;
    } rows[] = {
        {0.0, "00", "0"},
        {-0.0, "01 43", "-0"},
        {-NAN, "01 42", "NOT_A_NUMBER"},
        {DBL_MAX, "01 40", "PLUS_INFINITY"},
        {-DBL_MAX, "01 41", "MINUS_INFINITY"},
        {0.5, "03 80 FF 01", "0.5"},
        {-40, "03 C0 03 05", "-40"},
        {1e10, "05 80 0A 95 02 F9", "1e+10"},
        {1.0 / 3, "09 80 CA 15 55 55 55 55 55 55", "0.333333"},
        {DBL_MIN, "04 81 FC 02 01", "2.22507e-308"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.encoding);
        pertest::bothVariants([&](bool aligned) {
            const Bytes expected = behindField(aligned, hex(row.encoding));
            double v = 1;
            char *text = nullptr;
            QorMixedReal mixed{};
            mixed.value.binary = row.value;
            expectLeaf(aligned, expected, [&] { _qor_penc_real(&world, row.value); }, [&] { v = _qor_pdec_real(&world); });
            EXPECT_EQ(bitsOf(v), bitsOf(row.value));
            expectLeaf(aligned, expected, [&] { _qor_penc_mreal_ia(&world, 0, &mixed); }, [&] { text = _qor_pdec_creal(&world); });
            EXPECT_STREQ(text, row.text);
            for (size_t cut = 0; cut < expected.size(); cut++) {
                EXPECT_EQ(decode(aligned, prefix(expected, cut), [&] { _qor_pdec_nonneg_3int(&world); _qor_pdec_freal(&world); }), kEnd);
                EXPECT_EQ(decode(aligned, prefix(expected, cut), [&] { _qor_pdec_nonneg_3int(&world); _qor_pdec_mreal_ia(&world, &mixed); }), kEnd);
            }
            ASSERT_EQ(decode(aligned, expected, [&] { _qor_pdec_nonneg_3int(&world); _qor_pdec_mreal_ia(&world, &mixed); }), 0);
            const bool spelled = strchr(row.text, '_') != nullptr || strcmp(row.text, "-0") == 0;
            EXPECT_EQ(mixed.kind, spelled ? 1 : 0);
            qortest::releaseBlocks(&world);
        });
    }
}

TEST_F(Leaves, DecimalReals)
{
    const struct {
        const char *text;
        bool asGiven;
        const char *encoding, *decoded;
    } rows[] = {
        {"3.14159", false, "0B 03 33 31 34 31 35 39 2E 45 2D 35", "314159.E-5"},
        {"3.14159", true, "08 02 33 2E 31 34 31 35 39", "3.14159"},
        {"1E5", false, "05 03 31 2E 45 35", "1.E5"},
        {"-0.00", false, "01 43", "-0"},
        {"0.0E7", false, "00", "0"},
        {"0", true, "00", "0"},
        {"PLUS_INFINITY", false, "01 40", "PLUS_INFINITY"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(qorSetCompatibilityFlags(&world, row.asGiven ? 0x400 : 0), 0);
        pertest::bothVariants([&](bool aligned) {
            char *text = nullptr;
            expectLeaf(aligned, behindField(aligned, hex(row.encoding)), [&] { _qor_penc_creal(&world, row.text); }, [&] { text = _qor_pdec_creal(&world); });
            EXPECT_STREQ(text, row.decoded);
            qortest::releaseBlocks(&world);
        });
    }
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0), 0);
    EXPECT_EQ(encode(true, [&] { _qor_penc_creal(&world, "1.2.3"); }), kMisencoded);
    EXPECT_TRUE(messageHas("0091E")) << world.errMsgBuffer;
    EXPECT_EQ(encode(true, [&] { _qor_penc_creal(&world, nullptr); }), kMisencoded);
    QorMixedReal mixed{};
    EXPECT_EQ(encode(true, [&] { _qor_penc_mreal_ia(&world, 2, &mixed); }), kMisencoded);
    EXPECT_TRUE(messageHas("0092E: Invalid MixedReal, kind = 2")) << world.errMsgBuffer;
}

TEST_F(Leaves, RealDecoderRefusals)
{
    const struct {
        const char *input;
        bool asFloat;
        int strict, relaxed;
        const char *message;
    } rows[] = {
        {"04 80 00 00 01", false, kMisencoded, 0, "0037E"},            // a leading zero
        {"03 80 00 02", false, kMisencoded, 0, "0037E"},               // even
        {"03 80 00 00", false, kMisencoded, kMisencoded, "0037E"},     // zero mantissa
        {"03 90 00 01", false, kMisencoded, kMisencoded, "0037E"},     // base 8
        {"04 81 00 01 01", false, kMisencoded, 0, "0020E"},            // exponent too long by an octet
        {"08 83 05 00 00 00 00 01 01", false, kBadOid, kBadOid, "0021E"},
        {"04 81 04 01 01", false, kMisencoded, kMisencoded, "0099E"},  // 2^1025
        {"04 81 03 FF 01", true, kMisencoded, kMisencoded, "0099E"},   // past a float
        {"02 80 01", false, kMisencoded, kMisencoded, "0037E"},        // no mantissa
        {"02 40 00", false, kMisencoded, kMisencoded, "0044E"},        // a special value of two octets
        {"01 44", false, kMisencoded, kMisencoded, "0044E"},
        {"02 04 31", false, kMisencoded, kMisencoded, "0044E"},
        {"C1", false, kMisencoded, kMisencoded, "0037E"},              // a fragment
        {"8F FF 80", false, kEnd, kEnd, "0081S"},
    };
    for (const auto &row : rows) {
        for (bool lenient : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.input << (lenient ? " relaxed" : ""));
            expectRead(row.input, lenient, lenient ? row.relaxed : row.strict, lenient ? "E" : row.message, [&] {
                if (row.asFloat)
                    _qor_pdec_freal(&world);
                else
                    _qor_pdec_real(&world);
            });
        }
    }
    expectRead("03 80 00 00", true, kMisencoded, "0043E: REAL 0 with contents found",
               [&] { _qor_pdec_real(&world); });
}

// ---------------------------------------------------------------- times

Bytes textOctets(const char *text)
{
    const size_t n = strlen(text);
    Bytes b(n + 1, static_cast<unsigned char>(n));
    memcpy(b.data() + 1, text, n);
    return b;
}

TEST_F(Leaves, TimesWritten)
{
    const struct {
        bool utcTime;
        GeneralizedTime t;
        const char *text;
    } rows[] = {
        {true, {1999, 12, 31, 23, 59, 59, 0, 0, 1}, "991231235959Z"},
        {true, {2001, 2, 3, 4, 5, 0, 0, 60, 0}, "010203040500+0100"},
        {false, {2001, 2, 3, 4, 5, 6, 500, 0, 1}, "20010203040506.5Z"},
        {false, {2001, 2, 3, 4, 5, 0, 0, 60, 0}, "20010203040500+01"},
        {false, {2001, 2, 3, 4, 5, 6, 7, -90, 0}, "20010203040506.007-0130"},
        {false, {2001, 2, 3, 4, 0, 0, 0, 0, 0}, "20010203040000"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        pertest::bothVariants([&](bool aligned) {
            GeneralizedTime back{};
            expectLeaf(aligned, behindField(aligned, textOctets(row.text), aligned ? 8 : 7, 1),
                       [&] { (row.utcTime ? _qor_penc_utime : _qor_penc_gtime)(&world, &row.t); },
                       [&] { (row.utcTime ? _qor_pdec_utime : _qor_pdec_gtime)(&world, &back); });
            GeneralizedTime want = row.t;
            want.year = static_cast<int16_t>(row.utcTime ? want.year % 100 : want.year);
            EXPECT_EQ(memcmp(&back, &want, offsetof(GeneralizedTime, utc) + 1), 0);
        });
    }
    GeneralizedTime bad = {2001, 13, 3, 4, 5, 6, 0, 0, 1};
    EXPECT_EQ(encode(true, [&] { _qor_penc_gtime(&world, &bad); }), kBadField);
    EXPECT_TRUE(messageHas("0012S: Out-of-range value in time type. Month = 13")) << world.errMsgBuffer;
    bad = {2001, 1, 3, 4, 5, 6, 5, 0, 1};
    EXPECT_EQ(encode(true, [&] { _qor_penc_utime(&world, &bad); }), kBadField);
}

TEST_F(Leaves, TimesRead)
{
    const struct {
        bool utcTime;
        const char *text;
        int code;
        GeneralizedTime t;
    } rows[] = {
        {false, "2001020304.5Z", 0, {2001, 2, 3, 4, 30, 0, 0, 0, 1}},
        {false, "2001020304,25", 0, {2001, 2, 3, 4, 15, 0, 0, 0, 0}},
        {false, "20010203040506.9996Z", 0, {2001, 2, 3, 4, 5, 7, 0, 0, 1}},
        {false, "20010203040506.12345678901+0100", 0, {2001, 2, 3, 4, 5, 6, 123, 60, 0}},
        {false, "20010203040506.123456789012+0100", kMisencoded, {}}, // 32 characters
        {false, "20010203.0000001z", 0, {2001, 2, 3, 0, 0, 0, 9, 0, 1}}, // 8.64 ms
        {false, "20011302030405Z", kBadField, {}},
        {true, "9912312359z", 0, {99, 12, 31, 23, 59, 0, 0, 0, 1}},
        {true, "99123123Z", kMisencoded, {}},
        {true, "991231235959", kMisencoded, {}},
        {true, "991231235960Z", kBadField, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        GeneralizedTime t{};
        const Bytes input = textOctets(row.text);
        EXPECT_EQ(decode(true, input, [&] { (row.utcTime ? _qor_pdec_utime : _qor_pdec_gtime)(&world, &t); }), row.code);
        if (row.code == 0) {
            EXPECT_EQ(memcmp(&t, &row.t, offsetof(GeneralizedTime, utc) + 1), 0);
        } else {
            EXPECT_TRUE(messageHas(row.code == kMisencoded ? "0037E" : "0012S")) << world.errMsgBuffer;
        }
    }
    for (const char *input : {"0D 39 39", "C4", "8F FF"}) {
        GeneralizedTime t{};
        EXPECT_EQ(decode(true, hex(input), [&] { _qor_pdec_utime(&world, &t); }),
                  input[0] == '0' ? kEnd : kMisencoded) << input;
    }
}

} // namespace
