// BER OBJECT IDENTIFIER and RELATIVE-OID contents in every memory form:
// byte-exact vectors both ways, the encoders' refusals, the decoders' limits,
// and hostile input.
#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "ber/ber_support.h"
#include "frame/world.h"

using namespace qortest;

namespace {

using Arcs = std::vector<uint64_t>;

constexpr int kDataError = QOR_DATA_ERROR;      // messages 96, 106
constexpr int kLimited = QOR_LIMITED;           // messages 70, 97, 98, 129
constexpr int kNullInput = QOR_NULL_INPUT;      // message 71
constexpr int kMoreInput = QOR_MORE_INPUT;      // message 45
constexpr int kSizeExceeded = 16;               // message 79
constexpr int kOutOfMemory = QOR_OUT_OF_MEMORY; // message 6

enum class Enc { kArray, kArrayL, kList, kListL, kShortArray, kShortList };
constexpr Enc kEncoders32[] = {Enc::kArray, Enc::kArrayL, Enc::kList, Enc::kListL};
constexpr Enc kEncoders16[] = {Enc::kShortArray, Enc::kShortList};

enum class Dec { kNew, kNewL, kInline, kInlineL, kPtr, kPtrL, kList, kListL, kShortNew,
                 kShortInline, kShortPtr, kShortList };
constexpr Dec kDecoders32[] = {Dec::kNew, Dec::kNewL, Dec::kInline, Dec::kInlineL,
                               Dec::kPtr, Dec::kPtrL, Dec::kList,   Dec::kListL};
constexpr Dec kDecoders16[] = {Dec::kShortNew, Dec::kShortInline, Dec::kShortPtr, Dec::kShortList};

const char *nameOf(Enc e)
{
    static const char *const names[] = {"uiobjid", "ulobjid", "liobjid", "llobjid", "usobjid", "lsobjid"};
    return names[static_cast<int>(e)];
}

const char *nameOf(Dec d)
{
    static const char *const names[] = {"uiobjid", "ulobjid", "aiobjid", "alobjid",
                                        "aiobjid_ptr", "alobjid_ptr", "liobjid", "llobjid",
                                        "usobjid", "asobjid", "asobjid_ptr", "lsobjid"};
    return names[static_cast<int>(d)];
}

bool inline_(Dec d) { return d == Dec::kInline || d == Dec::kInlineL || d == Dec::kShortInline; }

// Whether the arcs fit the 16-bit forms, the first subidentifier included.
bool fitsShort(const Arcs &arcs)
{
    for (uint64_t a : arcs)
        if (a > 0xFFFF)
            return false;
    return arcs.size() < 2 || arcs[0] * 40 + arcs[1] <= 0xFFFF;
}

class Objid : public BerTest {
protected:
    // Encodes `arcs` in the form `e`; on success also checks the returned
    // count and that sizing mode counts the same.
    Encoding encode(Enc e, const Arcs &arcs, QorLong max = 0, bool nullArray = false)
    {
        std::vector<QorULong> wide(arcs.begin(), arcs.end());
        std::vector<uint16_t> narrow(arcs.begin(), arcs.end());
        std::vector<QorObjidNode> nodes(arcs.size());
        std::vector<QorObjidNodeShort> shortNodes(arcs.size());
        for (size_t i = 0; i < arcs.size(); i++) {
            nodes[i] = {i + 1 < arcs.size() ? &nodes[i + 1] : nullptr, static_cast<QorULong>(arcs[i])};
            shortNodes[i] = {i + 1 < arcs.size() ? &shortNodes[i + 1] : nullptr,
                             static_cast<uint16_t>(arcs[i])};
        }
        const auto count = static_cast<QorLong>(arcs.size());
        const QorULong *wideData = nullArray ? nullptr : wide.data();
        const uint16_t *narrowData = nullArray ? nullptr : narrow.data();
        const QorObjidNode *list = arcs.empty() ? nullptr : nodes.data();
        const QorObjidNodeShort *shortList = arcs.empty() ? nullptr : shortNodes.data();
        auto write = [&](unsigned char **pos, QorLong *room) -> QorLong {
            switch (e) {
            case Enc::kArray:
                return _qor_encd_uiobjid_ia(&world, pos, room, wideData, count, max);
            case Enc::kArrayL:
                return _qor_encd_ulobjid_ia(&world, pos, room, wideData, count, max);
            case Enc::kList:
                return _qor_encd_liobjid(&world, pos, room, list, max);
            case Enc::kListL:
                return _qor_encd_llobjid_ia(&world, pos, room, list, max);
            case Enc::kShortArray:
                return _qor_encd_usobjid_ia(&world, pos, room, narrowData, count, max);
            case Enc::kShortList:
                return _qor_encd_lsobjid(&world, pos, room, shortList, max);
            }
            return 0;
        };
        return run(write);
    }

    // A failed call gives its code and leaves the encoder stack as the
    // driver would; a successful one must return its length and leave the
    // stack as it was.
    template <class Write> Encoding run(Write &&write)
    {
        Encoding e = attempt(write);
        if (e.code != 0) {
            popEncoderStack();
            return e;
        }
        EXPECT_EQ(e.returned, static_cast<QorLong>(e.bytes.size())) << "returned size";
        EXPECT_EQ(world.privateArea->encStackTop, &world.privateArea->encStackBase)
            << "encoder stack left as it was";
        return e;
    }

    // What the driver does to the encoder stack after a failure.
    void popEncoderStack()
    {
        while (world.privateArea->encStackTop != &world.privateArea->encStackBase)
            _qor_decrement_enc_stack(&world);
    }

    // Decodes `contents` (all of the input) in the form `d` with `length`
    // (default: all of it), and gives the arcs back. Inline forms get an
    // array of `max` arcs and must leave the rest of their storage alone.
    int decode(Dec d, const Bytes &contents, Arcs *out, QorLong max = 0, QorLong length = -2)
    {
        if (length == -2)
            length = static_cast<QorLong>(contents.size());
        out->clear();
        QorULong wide[300];
        uint16_t narrow[300];
        for (auto &w : wide)
            w = 0xDEADBEEF;
        for (auto &n : narrow)
            n = 0xBEEF;
        const QorLong capacity = max > 0 ? max : 0;
        QorLong consumed = 0;
        int code = decoded(
            contents,
            [&](unsigned char **pos, QorLong *room) {
                QorULong *wideOut = reinterpret_cast<QorULong *>(1);
                uint16_t *narrowOut = reinterpret_cast<uint16_t *>(1);
                QorObjidNode *list = reinterpret_cast<QorObjidNode *>(1);
                QorObjidNodeShort *shortList = reinterpret_cast<QorObjidNodeShort *>(1);
                QorLong n = -1;
                switch (d) {
                case Dec::kNew:
                    n = _qor_dec_uiobjid_ia(&world, pos, room, length, &wideOut, max);
                    break;
                case Dec::kNewL:
                    n = _qor_dec_ulobjid_ia(&world, pos, room, length, &wideOut, max);
                    break;
                case Dec::kInline:
                    n = _qor_dec_aiobjid_ia(&world, pos, room, length, wide, max);
                    wideOut = wide;
                    break;
                case Dec::kInlineL:
                    n = _qor_dec_alobjid_ia(&world, pos, room, length, wide, max);
                    wideOut = wide;
                    break;
                case Dec::kPtr:
                    n = _qor_dec_aiobjid_ptr_ia(&world, pos, room, length, &wideOut, max);
                    break;
                case Dec::kPtrL:
                    n = _qor_dec_alobjid_ptr_ia(&world, pos, room, length, &wideOut, max);
                    break;
                case Dec::kList:
                    n = _qor_dec_liobjid(&world, pos, room, length, &list, max);
                    break;
                case Dec::kListL:
                    n = _qor_dec_llobjid_ia(&world, pos, room, length, &list, max);
                    break;
                case Dec::kShortNew:
                    n = _qor_dec_usobjid_ia(&world, pos, room, length, &narrowOut, max);
                    break;
                case Dec::kShortInline:
                    n = _qor_dec_asobjid_ia(&world, pos, room, length, narrow, max);
                    narrowOut = narrow;
                    break;
                case Dec::kShortPtr:
                    n = _qor_dec_asobjid_ptr_ia(&world, pos, room, length, &narrowOut, max);
                    break;
                case Dec::kShortList:
                    n = _qor_dec_lsobjid(&world, pos, room, length, &shortList, max);
                    break;
                }
                // The library is done: gather what it stored.
                if (d == Dec::kList || d == Dec::kListL) {
                    for (const QorObjidNode *p = list; p != nullptr; p = p->next)
                        out->push_back(p->value);
                } else if (d == Dec::kShortList) {
                    for (const QorObjidNodeShort *p = shortList; p != nullptr; p = p->next)
                        out->push_back(p->value);
                } else if (d >= Dec::kShortNew) {
                    if (n == 0 && !inline_(d)) {
                        EXPECT_EQ(narrowOut, nullptr) << "empty value";
                    }
                    for (QorLong i = 0; i < n; i++)
                        out->push_back(narrowOut[i]);
                } else {
                    if (n == 0 && !inline_(d)) {
                        EXPECT_EQ(wideOut, nullptr) << "empty value";
                    }
                    for (QorLong i = 0; i < n; i++)
                        out->push_back(wideOut[i]);
                }
                EXPECT_EQ(static_cast<size_t>(n), out->size()) << "returned count";
            },
            &consumed);
        if (code == 0) {
            EXPECT_EQ(consumed, length) << "octets consumed";
        }
        for (QorLong i = inline_(d) ? std::max<QorLong>(capacity, static_cast<QorLong>(out->size())) : 0;
             i < 300; i++) {
            EXPECT_EQ(wide[i], 0xDEADBEEFu) << "written past the inline array at " << i;
            EXPECT_EQ(narrow[i], 0xBEEF) << "written past the inline array at " << i;
            if (wide[i] != 0xDEADBEEFu || narrow[i] != 0xBEEF)
                break;
        }
        return code;
    }

    // The message carries exactly `value` behind `text`.
    bool messageShows(const std::string &text, long value) const
    {
        std::string wanted = text + std::to_string(value);
        const char *at = strstr(world.errMsgBuffer, wanted.c_str());
        return at != nullptr && !isdigit(static_cast<unsigned char>(at[wanted.size()]));
    }

    void setRelaxed(bool on)
    {
        if (on)
            world.ruleBits |= QOR_RULE_RELAXED;
        else
            world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};
    }
};

std::string show(const Arcs &arcs)
{
    std::string s = "{";
    for (uint64_t a : arcs)
        s += " " + std::to_string(a);
    return s + " }";
}

} // namespace

// ---------------------------------------------------------------- vectors

TEST_F(Objid, EveryFormEncodesAndDecodesTheSameOctets)
{
    struct Case {
        Arcs arcs;
        const char *contents;
    } cases[] = {
        {{2, 100, 3}, "81 34 03"},
        {{1, 2, 840, 113549}, "2A 86 48 86 F7 0D"},
        {{0, 0}, "00"},
        {{0, 39}, "27"},
        {{1, 0}, "28"},
        {{1, 39}, "4F"},
        {{2, 0}, "50"},
        {{2, 47}, "7F"},
        {{2, 48}, "81 00"},
        {{0, 0, 1}, "00 01"},
        {{0, 0, 26, 0}, "00 1A 00"},
        {{1, 3, 6, 1, 4, 1, 127, 128, 16383, 16384}, "2B 06 01 04 01 7F 81 00 FF 7F 81 80 00"},
        {{1, 2, 65535}, "2A 83 FF 7F"},
        {{2, 65455}, "83 FF 7F"},
        {{1, 2, 4294967295u}, "2A 8F FF FF FF 7F"},
        {{2, 4294967215u}, "8F FF FF FF 7F"},
        {{2, 4294967215u, 4294967295u, 0}, "8F FF FF FF 7F 8F FF FF FF 7F 00"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(show(c.arcs));
        const Bytes contents = hex(c.contents);
        const bool narrow = fitsShort(c.arcs);
        for (Enc e : kEncoders32) {
            SCOPED_TRACE(nameOf(e));
            Encoding got = encode(e, c.arcs);
            EXPECT_EQ(got.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(got.bytes, contents);
        }
        for (Dec d : kDecoders32) {
            SCOPED_TRACE(nameOf(d));
            Arcs back;
            EXPECT_EQ(decode(d, contents, &back, inline_(d) ? 20 : 0), 0) << world.errMsgBuffer;
            EXPECT_EQ(back, c.arcs);
        }
        if (!narrow)
            continue;
        for (Enc e : kEncoders16) {
            SCOPED_TRACE(nameOf(e));
            Encoding got = encode(e, c.arcs);
            EXPECT_EQ(got.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(got.bytes, contents);
        }
        for (Dec d : kDecoders16) {
            SCOPED_TRACE(nameOf(d));
            Arcs back;
            EXPECT_EQ(decode(d, contents, &back, inline_(d) ? 20 : 0), 0) << world.errMsgBuffer;
            EXPECT_EQ(back, c.arcs);
        }
    }
}

TEST_F(Objid, ArcsBeyondTheirWidthAreTooLong)
{
    struct Case {
        const char *contents;
        bool wide; // the 32-bit forms read it
        long index; // subidentifier named in the message
    } cases[] = {
        {"2A 84 80 00", true, 1},          // 65536
        {"84 80 00", true, 0},             // 2.65456
        {"2A 90 80 80 80 00", false, 1},   // 2^32
        {"90 80 80 80 00", false, 0},      // 2.(2^32 - 80)
        {"2A 01 FF FF FF FF 7F", false, 2}, // 2^35 - 1
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.contents);
        Arcs back;
        for (Dec d : kDecoders16) {
            SCOPED_TRACE(nameOf(d));
            EXPECT_EQ(decode(d, hex(c.contents), &back, inline_(d) ? 20 : 0), kLimited);
            EXPECT_TRUE(messageHas("0025E: Sub-identifier too long: ")) << world.errMsgBuffer;
        }
        for (Dec d : kDecoders32) {
            SCOPED_TRACE(nameOf(d));
            int code = decode(d, hex(c.contents), &back, inline_(d) ? 20 : 0);
            if (c.wide) {
                EXPECT_EQ(code, 0) << world.errMsgBuffer;
            } else {
                EXPECT_EQ(code, kLimited);
                EXPECT_TRUE(messageShows("0025E: Sub-identifier too long: ", c.index))
                    << world.errMsgBuffer;
            }
        }
    }
}

// ---------------------------------------------------------------- encoders

TEST_F(Objid, EncodersRefuseWhatTheRulesForbid)
{
    struct Case {
        Arcs arcs;
        QorLong max;
        int code;
        const char *text;
        long value;
    } cases[] = {
        {{}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 0},
        {{1}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 1},
        {{3, 0}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 0},
        {{0, 40}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 1},
        {{1, 40, 1}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 1},
        {{0, 0, 0}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 2},
        {{0, 0, 27}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 2},
        {{2, 4294967216u}, 0, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 3},
        {{1, 2, 3}, 2, kSizeExceeded, "0016S: Size constraint exceeded, length of value = ", 3},
        {{1}, 1, kLimited, "0010S: Bad OBJECT IDENTIFIER: ", 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(show(c.arcs) + " max " + std::to_string(c.max));
        for (Enc e : kEncoders32) {
            SCOPED_TRACE(nameOf(e));
            EXPECT_EQ(encode(e, c.arcs, c.max).code, c.code);
            EXPECT_TRUE(messageShows(c.text, c.value)) << world.errMsgBuffer;
        }
        if (!fitsShort(c.arcs))
            continue;
        for (Enc e : kEncoders16) {
            SCOPED_TRACE(nameOf(e));
            EXPECT_EQ(encode(e, c.arcs, c.max).code, c.code);
            EXPECT_TRUE(messageShows(c.text, c.value)) << world.errMsgBuffer;
        }
    }
    // The limits themselves pass.
    for (const Arcs &fine : {Arcs{2, 4294967215u}, Arcs{0, 0, 26}, Arcs{1, 39}, Arcs{1, 2, 3}}) {
        SCOPED_TRACE(show(fine));
        EXPECT_EQ(encode(Enc::kArray, fine, 3).code, 0) << world.errMsgBuffer;
        EXPECT_EQ(encode(Enc::kList, fine, 3).code, 0) << world.errMsgBuffer;
    }
    EXPECT_EQ(encode(Enc::kArray, {1, 2}, 0, true).code, kNullInput);
    EXPECT_EQ(encode(Enc::kShortArray, {1, 2}, 0, true).code, kNullInput);
}

TEST_F(Objid, LongValuesSpanOutputBlocksInEveryForm)
{
    // Lists of up to 66 arcs are turned round on the frame, longer ones on
    // the encoder stack: both sides of that line, and far past it.
    for (size_t n : {3u, 66u, 67u, 120u, 3000u}) {
        SCOPED_TRACE(n);
        Arcs arcs(n, 4294967295u);
        arcs[0] = 1;
        arcs[1] = 2;
        for (size_t i = 2; i < n; i++)
            arcs[i] = i % 3 == 0 ? 4294967295u : i;
        Bytes expected = {0x2A};
        for (size_t i = 2; i < n; i++) {
            Bytes one;
            uint64_t v = arcs[i];
            one.push_back(static_cast<unsigned char>(v & 0x7f));
            while ((v >>= 7) != 0)
                one.insert(one.begin(), static_cast<unsigned char>(0x80 | (v & 0x7f)));
            expected.insert(expected.end(), one.begin(), one.end());
        }
        for (Enc e : kEncoders32) {
            SCOPED_TRACE(nameOf(e));
            Encoding got = encode(e, arcs);
            ASSERT_EQ(got.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(got.bytes, expected);
        }
        Arcs narrowArcs = arcs;
        for (uint64_t &a : narrowArcs)
            a &= 0xFFFF;
        Encoding wide = encode(Enc::kArray, narrowArcs);
        for (Enc e : kEncoders16) {
            SCOPED_TRACE(nameOf(e));
            EXPECT_EQ(encode(e, narrowArcs).bytes, wide.bytes);
        }
    }
    EXPECT_EQ(world.privateArea->encStackTop, &world.privateArea->encStackBase);
}

TEST_F(Objid, ListEncoderFailingForMemoryLeavesTheStackToTheDriver)
{
    Arcs arcs(200, 7);
    arcs[0] = 1;
    for (long fail = 1; fail <= 4; fail++) {
        SCOPED_TRACE(fail);
        CountingAllocator::failAt = CountingAllocator::calls + fail;
        Encoding got = encode(Enc::kList, arcs);
        CountingAllocator::failAt = 0;
        // Frames of the stack, then output blocks: each may fail.
        EXPECT_EQ(got.code, kOutOfMemory);
    }
    EXPECT_EQ(encode(Enc::kList, arcs).code, 0);
}

// ---------------------------------------------------------------- decoders

TEST_F(Objid, DecodersKeepTheLengthAndArcLimits)
{
    // 225 octets: the longest identifier, 226 arcs.
    Bytes longest = concat({hex("2A"), Bytes(224, 0x01)});
    for (Dec d : {Dec::kNew, Dec::kPtr, Dec::kList, Dec::kShortNew, Dec::kShortList}) {
        SCOPED_TRACE(nameOf(d));
        Arcs back;
        EXPECT_EQ(decode(d, longest, &back), 0) << world.errMsgBuffer;
        EXPECT_EQ(back.size(), 226u);
        Bytes over = concat({longest, hex("01")});
        EXPECT_EQ(decode(d, over, &back), kLimited);
        EXPECT_TRUE(messageShows("0015E: Object identifier has too many subidentifiers: ", 226))
            << world.errMsgBuffer;
    }
    Arcs back;
    // One arc of 10 000 octets is refused on its length alone, at once.
    Bytes huge = concat({hex("2A"), Bytes(9998, 0xFF), hex("7F")});
    auto start = std::chrono::steady_clock::now();
    for (Dec d : kDecoders32)
        EXPECT_EQ(decode(d, huge, &back, inline_(d) ? 20 : 0), kLimited);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));

    // `max` counts arcs: above 0 what the representation holds, below 0 its
    // own limit; 0 is no limit, except for an inline array.
    const Bytes four = hex("2A 86 48 86 F7 0D");
    struct Limit {
        QorLong max;
        int newForms; // new arrays, pointer forms, lists
        int inlineForms;
    } limits[] = {
        {4, 0, 0}, {3, kSizeExceeded, kSizeExceeded}, {0, 0, kSizeExceeded}, {-4, 0, 0}, {-3, kLimited, kLimited},
    };
    for (const Limit &l : limits) {
        SCOPED_TRACE(l.max);
        for (Dec d : kDecoders32) {
            SCOPED_TRACE(nameOf(d));
            int code = decode(d, four, &back, l.max);
            EXPECT_EQ(code, inline_(d) ? l.inlineForms : l.newForms) << world.errMsgBuffer;
            if (code == kSizeExceeded) {
                EXPECT_TRUE(messageShows("length of value = ", 4)) << world.errMsgBuffer;
            }
            if (code == kLimited) {
                EXPECT_TRUE(messageShows("0026S: Length too long: ", 4)) << world.errMsgBuffer;
            }
        }
    }
    EXPECT_EQ(decode(Dec::kShortInline, hex("2A 03 04"), &back, 4), 0);
    EXPECT_EQ(decode(Dec::kShortInline, hex("2A 03 04"), &back, 3), kSizeExceeded);
    EXPECT_EQ(decode(Dec::kShortList, hex("2A 03 04"), &back, 3), kSizeExceeded);
}

TEST_F(Objid, DecodersRefuseMisencodedContents)
{
    struct Case {
        const char *contents;
        int strict;
        const char *message;
        Arcs relaxedArcs; // empty: refused under the relaxed rules too
    } cases[] = {
        {"", kDataError, "0037E", {}},
        {"2A 80 01", kDataError, "0024E: Sub-identifier needlessly long", {1, 2, 1}},
        {"80 2A 05", kDataError, "0024E: Sub-identifier needlessly long", {1, 2, 5}},
        {"2A 86", kDataError, "0037E", {}},
        {"86", kDataError, "0037E", {}},
        {"2A 86 48 86 F7 8D", kDataError, "0037E", {}},
    };
    for (bool lenient : {false, true}) {
        setRelaxed(lenient);
        for (const Case &c : cases) {
            SCOPED_TRACE(std::string(c.contents) + (lenient ? " relaxed" : ""));
            for (Dec d : {Dec::kNew, Dec::kInline, Dec::kPtr, Dec::kList, Dec::kShortNew,
                          Dec::kShortInline, Dec::kShortList}) {
                SCOPED_TRACE(nameOf(d));
                Arcs back;
                int code = decode(d, hex(c.contents), &back, inline_(d) ? 20 : 0);
                bool empty = c.contents[0] == '\0';
                if (lenient && (empty || !c.relaxedArcs.empty())) {
                    EXPECT_EQ(code, 0) << world.errMsgBuffer;
                    EXPECT_EQ(back, c.relaxedArcs);
                } else {
                    EXPECT_EQ(code, c.strict);
                    EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
                }
            }
        }
    }
    // DER is never relaxed.
    world.encRules = QOR_DER;
    Arcs back;
    EXPECT_EQ(decode(Dec::kNew, hex("2A 80 01"), &back), kDataError);
    EXPECT_EQ(decode(Dec::kNew, Bytes{}, &back), kDataError);
    world.encRules = QOR_BER;
    // Under the relaxed rules any run of leading 0x80 octets is read in one
    // pass, without overflowing.
    Bytes padded = concat({hex("2A"), Bytes(200, 0x80), hex("01")});
    EXPECT_EQ(decode(Dec::kNew, padded, &back), 0);
    EXPECT_EQ(back, (Arcs{1, 2, 1}));
    setRelaxed(false);
    EXPECT_EQ(decode(Dec::kNew, hex("2A 03"), &back, 0, -1), kDataError) << "negative length";
}

TEST_F(Objid, EveryTruncationIsRefused)
{
    for (const char *text : {"06 06 2A 86 48 86 F7 0D", "06 03 81 34 03", "06 05 8F FF FF FF 7F",
                             "06 01 00"}) {
        SCOPED_TRACE(text);
        const Bytes whole = hex(text);
        for (size_t cut = 0; cut < whole.size(); cut++) {
            SCOPED_TRACE(cut);
            Bytes part(whole.begin(), whole.begin() + static_cast<long>(cut));
            for (Dec d : {Dec::kNew, Dec::kInline, Dec::kList}) {
                QorULong arcs[20];
                QorULong *fresh = nullptr;
                QorObjidNode *list = nullptr;
                EXPECT_EQ(decoded(part,
                                  [&](unsigned char **pos, QorLong *room) {
                                      QorLong length = _qor_dec_tag_length(&world, pos, room, 0x06);
                                      if (d == Dec::kNew)
                                          _qor_dec_uiobjid_ia(&world, pos, room, length, &fresh, 0);
                                      else if (d == Dec::kInline)
                                          _qor_dec_aiobjid_ia(&world, pos, room, length, arcs, 20);
                                      else
                                          _qor_dec_liobjid(&world, pos, room, length, &list, 0);
                                  }),
                          kMoreInput)
                    << nameOf(d);
            }
        }
        // The length itself cut short: only a cut after a subidentifier's
        // last octet gives a value.
        const Bytes contents(whole.begin() + 2, whole.end());
        for (size_t n = 1; n <= contents.size(); n++) {
            SCOPED_TRACE(n);
            Arcs back;
            bool ends = (contents[n - 1] & 0x80) == 0;
            Bytes input(contents.begin(), contents.begin() + static_cast<long>(n));
            EXPECT_EQ(decode(Dec::kNew, input, &back), ends ? 0 : kDataError);
            EXPECT_EQ(decode(Dec::kList, input, &back), ends ? 0 : kDataError);
            // More length than input.
            EXPECT_EQ(decode(Dec::kNew, input, &back, 0, static_cast<QorLong>(n) + 1), kMoreInput);
        }
    }
}

TEST_F(Objid, ListDecoderFailingForMemoryGivesBackWhatItTook)
{
    const Bytes contents = hex("2B 06 01 04 01 7F 81 00 FF 7F 81 80 00");
    for (long fail = 1; fail <= 10; fail++) {
        SCOPED_TRACE(fail);
        CountingAllocator::failAt = CountingAllocator::calls + fail;
        Arcs back;
        EXPECT_EQ(decode(Dec::kList, contents, &back), kOutOfMemory);
        CountingAllocator::failAt = 0;
    }
    // Into a caller's buffer, the nodes are placed on 8-octet boundaries
    // even after a piece of odd size.
    unsigned char flat[512];
    world.userBuffer = 1;
    world.outPos = flat;
    world.outRoom = sizeof flat;
    QorObjidNode *list = nullptr;
    EXPECT_EQ(decoded(contents,
                      [&](unsigned char **pos, QorLong *room) {
                          _qor_dec_getfixmem(&world, 3);
                          _qor_dec_liobjid(&world, pos, room, 13, &list, 0);
                      }),
              0)
        << world.errMsgBuffer;
    world.userBuffer = 0;
    int n = 0;
    for (const QorObjidNode *p = list; p != nullptr; p = p->next, n++)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignof(QorObjidNode), 0u);
    EXPECT_EQ(n, 10);
}

// ---------------------------------------------------------------- encoded forms

TEST_F(Objid, EncodedFormsKeepTheOctetsAsTheyStand)
{
    const Bytes oid = hex("2A 86 48 86 F7 0D");
    const Bytes relative = hex("C2 7B 03 02"); // { 8571 3 2 }: no first-arc split
    auto write = [&](bool rel, const Bytes &data, QorLong max) {
        return run([&](unsigned char **pos, QorLong *room) {
            auto fn = rel ? _qor_encd_ereloid_ia : _qor_encd_eobjid_ia;
            return fn(&world, pos, room, data.data(), static_cast<QorLong>(data.size()), max);
        });
    };
    for (bool rel : {false, true}) {
        const Bytes &data = rel ? relative : oid;
        const auto size = static_cast<QorLong>(data.size());
        SCOPED_TRACE(rel ? "relative" : "absolute");
        EXPECT_EQ(write(rel, data, size).bytes, data);
        EXPECT_EQ(write(rel, data, -1).bytes, data) << "the pointer form has no capacity";
        EXPECT_EQ(write(rel, data, size - 1).code, kSizeExceeded);
        EXPECT_TRUE(messageShows("length of value = ", size)) << world.errMsgBuffer;
        EXPECT_EQ(write(rel, data, 0).code, kSizeExceeded) << "an inline array of nothing";
    }
    Encoding nothing = run([&](unsigned char **pos, QorLong *room) {
        return _qor_encd_eobjid_ia(&world, pos, room, nullptr, 0, 0);
    });
    EXPECT_EQ(nothing.code, 0);
    EXPECT_TRUE(nothing.bytes.empty());
    EXPECT_EQ(run([&](unsigned char **pos, QorLong *room) {
                  return _qor_encd_eobjid_ia(&world, pos, room, nullptr, 3, -1);
              }).code,
              kNullInput);

    // Decoders: the caller's inline array of `max` octets, or new memory.
    auto read = [&](bool rel, const Bytes &input, QorLong max, Bytes *out) {
        out->clear();
        unsigned char array[32];
        memset(array, 0xEE, sizeof array);
        unsigned char *fresh = reinterpret_cast<unsigned char *>(1);
        QorLong n = -1;
        int code = decoded(input, [&](unsigned char **pos, QorLong *room) {
            auto fn = rel ? _qor_dec_ereloid_ia : _qor_dec_eobjid_ia;
            n = fn(&world, pos, room, static_cast<QorLong>(input.size()),
                   max < 0 ? static_cast<void *>(&fresh) : static_cast<void *>(array), max);
            const unsigned char *p = max < 0 ? fresh : array;
            if (n > 0) {
                out->assign(p, p + n);
            } else if (max < 0) {
                EXPECT_EQ(fresh, nullptr);
            }
        });
        for (size_t i = code == 0 && max >= 0 ? static_cast<size_t>(n) : 0; i < sizeof array; i++)
            EXPECT_EQ(array[i], 0xEE) << "inline array written at " << i;
        return code;
    };
    for (bool rel : {false, true}) {
        const Bytes &data = rel ? relative : oid;
        const auto size = static_cast<QorLong>(data.size());
        SCOPED_TRACE(rel ? "relative" : "absolute");
        Bytes back;
        EXPECT_EQ(read(rel, data, size, &back), 0) << world.errMsgBuffer;
        EXPECT_EQ(back, data);
        EXPECT_EQ(read(rel, data, -225, &back), 0) << world.errMsgBuffer;
        EXPECT_EQ(back, data);
        EXPECT_EQ(read(rel, data, size - 1, &back), kSizeExceeded);
        EXPECT_EQ(read(rel, data, 0, &back), kSizeExceeded);
        EXPECT_EQ(read(rel, data, -(size - 1), &back), kLimited);
        EXPECT_TRUE(messageShows("0026S: Length too long: ", size)) << world.errMsgBuffer;
        // The same checks as the arc forms.
        EXPECT_EQ(read(rel, hex("80 01"), 20, &back), kDataError);
        EXPECT_TRUE(messageHas("0024E")) << world.errMsgBuffer;
        EXPECT_EQ(read(rel, hex("01 C2"), 20, &back), kDataError);
        EXPECT_EQ(read(rel, Bytes{}, 20, &back), kDataError);
        EXPECT_EQ(read(rel, Bytes(226, 0x01), -300, &back), kLimited);
        EXPECT_TRUE(messageShows("too many subidentifiers: ", 226)) << world.errMsgBuffer;
        // Arcs of any size may be kept encoded.
        Bytes wide = concat({hex("2A"), Bytes(20, 0xFF), hex("7F")});
        EXPECT_EQ(read(rel, wide, 30, &back), 0);
        EXPECT_EQ(back, wide);
        setRelaxed(true);
        EXPECT_EQ(read(rel, Bytes{}, -225, &back), 0);
        EXPECT_EQ(read(rel, hex("80 01"), 20, &back), 0);
        setRelaxed(false);
    }
}
