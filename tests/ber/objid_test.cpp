// BER OBJECT IDENTIFIER and RELATIVE-OID contents in every memory form:
// byte-exact vectors both ways, the encoders' refusals, the decoders' limits,
// and hostile input.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

using Arcs = std::vector<uint64_t>;

// Each function once: the "long" forms and the relative identifier's kept
// contents share them (OneFunctionServesTwoNames). 16-bit forms come last.
enum class Enc { kArray, kList, kShortArray, kShortList };
enum class Dec { kNew, kInline, kPtr, kList, kShortNew, kShortInline, kShortPtr, kShortList };
constexpr Enc kEncoders[] = {Enc::kArray, Enc::kList, Enc::kShortArray, Enc::kShortList};
constexpr Dec kDecoders[] = {Dec::kNew,      Dec::kInline,      Dec::kPtr,      Dec::kList,
                             Dec::kShortNew, Dec::kShortInline, Dec::kShortPtr, Dec::kShortList};

const char *const kEncoderNames[] = {"uiobjid", "liobjid", "usobjid", "lsobjid"};
const char *const kDecoderNames[] = {"uiobjid", "aiobjid", "aiobjid_ptr", "liobjid",
                                     "usobjid", "asobjid", "asobjid_ptr", "lsobjid"};
const char *nameOf(Enc e) { return kEncoderNames[static_cast<int>(e)]; }
const char *nameOf(Dec d) { return kDecoderNames[static_cast<int>(d)]; }

// Whether the arcs fit the 16-bit forms, the first subidentifier included.
bool fitsShort(const Arcs &arcs)
{
    for (uint64_t a : arcs)
        if (a > 0xFFFF)
            return false;
    return arcs.size() < 2 || arcs[0] * 40 + arcs[1] <= 0xFFFF;
}

std::string show(const Arcs &arcs)
{
    std::string s = "{";
    for (uint64_t a : arcs)
        s += " " + std::to_string(a);
    return s + " }";
}

class Objid : public BerTest {
protected:
    static bool shortForm(Enc e) { return e >= Enc::kShortArray; }
    static bool shortForm(Dec d) { return d >= Dec::kShortNew; }
    static bool inline_(Dec d) { return d == Dec::kInline || d == Dec::kShortInline; }

    // Encodes `arcs` in the form `e`; on success also checks the returned
    // count and that sizing mode counts the same.
    Encoding encode(Enc e, const Arcs &arcs, QorLong max = 0, bool nullArray = false)
    {
        std::vector<QorULong> wide(arcs.begin(), arcs.end());
        std::vector<uint16_t> narrow(arcs.begin(), arcs.end());
        std::vector<QorObjidNode> nodes(arcs.size());
        std::vector<QorObjidNodeShort> shortNodes(arcs.size());
        for (size_t i = 0; i < arcs.size(); i++) {
            const bool last = i + 1 == arcs.size();
            nodes[i] = {last ? nullptr : &nodes[i + 1], static_cast<QorULong>(arcs[i])};
            shortNodes[i] = {last ? nullptr : &shortNodes[i + 1], static_cast<uint16_t>(arcs[i])};
        }
        const auto count = static_cast<QorLong>(arcs.size());
        return run([&](unsigned char **pos, QorLong *room) -> QorLong {
            switch (e) {
            case Enc::kArray:
                return _qor_encd_uiobjid_ia(&world, pos, room, nullArray ? nullptr : wide.data(),
                                            count, max);
            case Enc::kList:
                return _qor_encd_liobjid(&world, pos, room, arcs.empty() ? nullptr : nodes.data(),
                                         max);
            case Enc::kShortArray:
                return _qor_encd_usobjid_ia(&world, pos, room, nullArray ? nullptr : narrow.data(),
                                            count, max);
            case Enc::kShortList:
                return _qor_encd_lsobjid(&world, pos, room,
                                         arcs.empty() ? nullptr : shortNodes.data(), max);
            }
            return 0;
        });
    }

    // A failed call leaves the encoder stack as the driver would; a
    // successful one must leave it as it was.
    Encoding run(const Write &write)
    {
        Encoding e = BerTest::encode(write);
        if (e.code != 0) {
            while (world.privateArea->encStackTop != &world.privateArea->encStackBase)
                _qor_decrement_enc_stack(&world);
        }
        EXPECT_EQ(world.privateArea->encStackTop, &world.privateArea->encStackBase)
            << "encoder stack left as it was";
        return e;
    }

    // Decodes `contents` (all of the input) in the form `d` with `length`
    // (default: all of it), and gives the arcs back. Inline forms get an
    // array of `max` arcs (20 when `max` is left out) and must leave the rest
    // of their storage alone.
    int decode(Dec d, const Bytes &contents, Arcs *out, QorLong max = -999, QorLong length = -2)
    {
        if (max == -999)
            max = inline_(d) ? 20 : 0;
        if (length == -2)
            length = static_cast<QorLong>(contents.size());
        out->clear();
        QorULong wide[300];
        uint16_t narrow[300];
        std::fill(std::begin(wide), std::end(wide), 0xDEADBEEF);
        std::fill(std::begin(narrow), std::end(narrow), 0xBEEF);
        QorLong consumed = 0;
        int code = decoded(
            contents,
            [&](unsigned char **pos, QorLong *room) {
                // Into the caller's array, or through a pointer to new
                // memory or to a list, which the call must set.
                auto into = [&](auto fn, auto *arcs) {
                    out->assign(arcs, arcs + fn(&world, pos, room, length, arcs, max));
                };
                auto fresh = [&](auto fn, auto *arcs) {
                    QorLong n = fn(&world, pos, room, length, &arcs, max);
                    if (n == 0) {
                        EXPECT_EQ(arcs, nullptr) << "empty value";
                    }
                    out->assign(arcs, arcs + n);
                };
                auto nodes = [&](auto fn, auto *head) {
                    QorLong n = fn(&world, pos, room, length, &head, max);
                    for (; head != nullptr; head = head->next)
                        out->push_back(head->value);
                    EXPECT_EQ(static_cast<size_t>(n), out->size()) << "returned count";
                };
                static QorObjidNode wideNode;
                static QorObjidNodeShort shortNode;
                switch (d) {
                case Dec::kNew:
                    return fresh(_qor_dec_uiobjid_ia, wide);
                case Dec::kInline:
                    return into(_qor_dec_aiobjid_ia, wide);
                case Dec::kPtr:
                    return fresh(_qor_dec_aiobjid_ptr_ia, wide);
                case Dec::kList:
                    return nodes(_qor_dec_liobjid, &wideNode);
                case Dec::kShortNew:
                    return fresh(_qor_dec_usobjid_ia, narrow);
                case Dec::kShortInline:
                    return into(_qor_dec_asobjid_ia, narrow);
                case Dec::kShortPtr:
                    return fresh(_qor_dec_asobjid_ptr_ia, narrow);
                case Dec::kShortList:
                    return nodes(_qor_dec_lsobjid, &shortNode);
                }
            },
            &consumed);
        if (code == 0) {
            EXPECT_EQ(consumed, length) << "octets consumed";
        }
        const QorLong kept = inline_(d) ? std::max<QorLong>({max, 0, QorLong(out->size())}) : 0;
        for (QorLong i = kept; i < 300; i++) {
            if (wide[i] != 0xDEADBEEFu || narrow[i] != 0xBEEF) {
                ADD_FAILURE() << "written past the inline array at " << i;
                break;
            }
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

    void setRelaxed(bool on) { setFlag(world.ruleBits, QOR_RULE_RELAXED, on); }
};

} // namespace

TEST_F(Objid, OneFunctionServesTwoNames)
{
    expectOneFunction({
        {"_qor_encd_ulobjid_ia", "_qor_encd_uiobjid_ia"},
        {"_qor_encd_llobjid_ia", "_qor_encd_liobjid"},
        {"_qor_encd_ereloid_ia", "_qor_encd_eobjid_ia"},
        {"_qor_dec_ulobjid_ia", "_qor_dec_uiobjid_ia"},
        {"_qor_dec_alobjid_ia", "_qor_dec_aiobjid_ia"},
        {"_qor_dec_alobjid_ptr_ia", "_qor_dec_aiobjid_ptr_ia"},
        {"_qor_dec_llobjid_ia", "_qor_dec_liobjid"},
        {"_qor_dec_ereloid_ia", "_qor_dec_eobjid_ia"},
    });
}

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
        for (Enc e : kEncoders) {
            if (shortForm(e) && !fitsShort(c.arcs))
                continue;
            SCOPED_TRACE(nameOf(e));
            Encoding got = encode(e, c.arcs);
            EXPECT_EQ(got.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(got.bytes, contents);
        }
        for (Dec d : kDecoders) {
            if (shortForm(d) && !fitsShort(c.arcs))
                continue;
            SCOPED_TRACE(nameOf(d));
            Arcs back;
            EXPECT_EQ(decode(d, contents, &back), 0) << world.errMsgBuffer;
            EXPECT_EQ(back, c.arcs);
        }
    }
}

TEST_F(Objid, ArcsBeyondTheirWidthAreTooLong)
{
    struct Case {
        const char *contents;
        bool wide;  // the 32-bit forms read it
        long index; // subidentifier named in the message
    } cases[] = {
        {"2A 84 80 00", true, 1},           // 65536
        {"84 80 00", true, 0},              // 2.65456
        {"2A 90 80 80 80 00", false, 1},    // 2^32
        {"90 80 80 80 00", false, 0},       // 2.(2^32 - 80)
        {"2A 01 FF FF FF FF 7F", false, 2}, // 2^35 - 1
    };
    for (const Case &c : cases) {
        for (Dec d : kDecoders) {
            SCOPED_TRACE(std::string(c.contents) + " " + nameOf(d));
            Arcs back;
            int code = decode(d, hex(c.contents), &back);
            if (c.wide && !shortForm(d)) {
                EXPECT_EQ(code, 0) << world.errMsgBuffer;
                continue;
            }
            EXPECT_EQ(code, kLimited);
            EXPECT_TRUE(messageShows("0025E: Sub-identifier too long: ", c.index))
                << world.errMsgBuffer;
        }
    }
}

TEST_F(Objid, EncodersRefuseWhatTheRulesForbid)
{
    struct Case {
        Arcs arcs;
        QorLong max;
        int code;
        long value; // in the message
    } cases[] = {
        {{}, 0, kLimited, 0},
        {{1}, 0, kLimited, 1},
        {{3, 0}, 0, kLimited, 0},
        {{0, 40}, 0, kLimited, 1},
        {{1, 40, 1}, 0, kLimited, 1},
        {{0, 0, 0}, 0, kLimited, 2},
        {{0, 0, 27}, 0, kLimited, 2},
        {{2, 4294967216u}, 0, kLimited, 3},
        {{1, 2, 3}, 2, kSizeExceeded, 3},
    };
    for (const Case &c : cases) {
        for (Enc e : kEncoders) {
            if (shortForm(e) && !fitsShort(c.arcs))
                continue;
            SCOPED_TRACE(show(c.arcs) + " max " + std::to_string(c.max) + " " + nameOf(e));
            EXPECT_EQ(encode(e, c.arcs, c.max).code, c.code);
            EXPECT_TRUE(messageShows(c.code == kLimited
                                         ? "0010S: Bad OBJECT IDENTIFIER: "
                                         : "0016S: Size constraint exceeded, length of value = ",
                                     c.value))
                << world.errMsgBuffer;
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
    for (size_t n : {66u, 67u, 3000u}) {
        SCOPED_TRACE(n);
        Arcs arcs = {1, 2};
        Bytes wide = hex("2A");
        Bytes narrow = hex("2A");
        for (size_t i = 2; i < n; i++) {
            arcs.push_back(i % 2 == 0 ? 4294967295u : 127);
            wide = concat({wide, hex(i % 2 == 0 ? "8F FF FF FF 7F" : "7F")});
            narrow = concat({narrow, hex(i % 2 == 0 ? "83 FF 7F" : "7F")});
        }
        Arcs narrowArcs = arcs;
        for (uint64_t &a : narrowArcs)
            a &= 0xFFFF;
        for (Enc e : kEncoders) {
            SCOPED_TRACE(nameOf(e));
            Encoding got = encode(e, shortForm(e) ? narrowArcs : arcs);
            ASSERT_EQ(got.code, 0) << world.errMsgBuffer;
            EXPECT_TRUE(got.bytes == (shortForm(e) ? narrow : wide));
        }
    }
}

TEST_F(Objid, ListEncoderFailingForMemoryLeavesTheStackToTheDriver)
{
    Arcs arcs(200, 7);
    arcs[0] = 1;
    // Frames of the stack, then output blocks: each may fail.
    EXPECT_GE(failuresBeforeSuccess([&] { return encode(Enc::kList, arcs).code; }), 4);
}

TEST_F(Objid, DecodersKeepTheLengthAndArcLimits)
{
    // 225 octets: the longest identifier, 226 arcs.
    Bytes longest = concat({hex("2A"), Bytes(224, 0x01)});
    for (Dec d : {Dec::kNew, Dec::kPtr, Dec::kList, Dec::kShortNew, Dec::kShortList}) {
        SCOPED_TRACE(nameOf(d));
        Arcs back;
        EXPECT_EQ(decode(d, longest, &back), 0) << world.errMsgBuffer;
        EXPECT_EQ(back.size(), 226u);
        EXPECT_EQ(decode(d, concat({longest, hex("01")}), &back), kLimited);
        EXPECT_TRUE(messageShows("0015E: Object identifier has too many subidentifiers: ", 226))
            << world.errMsgBuffer;
    }
    Arcs back;
    // One arc of 10 000 octets is refused on its length alone.
    Bytes huge = concat({hex("2A"), Bytes(9998, 0xFF), hex("7F")});
    for (Dec d : kDecoders)
        EXPECT_EQ(decode(d, huge, &back), kLimited) << nameOf(d);

    // `max` counts arcs: above 0 what the representation holds, below 0 its
    // own limit; 0 is no limit, except for an inline array.
    const Bytes four = hex("2A 86 48 86 F7 0D");
    const Bytes fourShort = hex("2A 03 04");
    struct Limit {
        QorLong max;
        int newForms; // new arrays, pointer forms, lists
        int inlineForms;
    } limits[] = {
        {4, 0, 0},  {3, kSizeExceeded, kSizeExceeded}, {0, 0, kSizeExceeded},
        {-4, 0, 0}, {-3, kLimited, kLimited},
    };
    for (const Limit &l : limits) {
        for (Dec d : kDecoders) {
            SCOPED_TRACE(testing::Message() << l.max << " " << nameOf(d));
            int code = decode(d, shortForm(d) ? fourShort : four, &back, l.max);
            EXPECT_EQ(code, inline_(d) ? l.inlineForms : l.newForms) << world.errMsgBuffer;
            if (code == kSizeExceeded) {
                EXPECT_TRUE(messageShows("length of value = ", 4)) << world.errMsgBuffer;
            }
            if (code == kLimited) {
                EXPECT_TRUE(messageShows("0026S: Length too long: ", 4)) << world.errMsgBuffer;
            }
        }
    }
}

TEST_F(Objid, DecodersRefuseMisencodedContents)
{
    struct Case {
        const char *contents;
        const char *message;
        Arcs relaxedArcs; // empty: refused under the relaxed rules too
    } cases[] = {
        {"", "0037E", {}},
        {"2A 80 01", "0024E: Sub-identifier needlessly long", {1, 2, 1}},
        {"80 2A 05", "0024E: Sub-identifier needlessly long", {1, 2, 5}},
        {"2A 86", "0037E", {}},
        {"86", "0037E", {}},
        {"2A 86 48 86 F7 8D", "0037E", {}},
    };
    for (bool lenient : {false, true}) {
        setRelaxed(lenient);
        for (const Case &c : cases) {
            for (Dec d : kDecoders) {
                SCOPED_TRACE(std::string(c.contents) + (lenient ? " relaxed " : " ") + nameOf(d));
                Arcs back;
                int code = decode(d, hex(c.contents), &back);
                if (lenient && (c.contents[0] == '\0' || !c.relaxedArcs.empty())) {
                    EXPECT_EQ(code, 0) << world.errMsgBuffer;
                    EXPECT_EQ(back, c.relaxedArcs);
                } else {
                    EXPECT_EQ(code, kDataError);
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
    for (const char *text : {"2A 86 48 86 F7 0D", "81 34 03", "8F FF FF FF 7F", "00"}) {
        const Bytes whole = hex(text);
        for (const Bytes &part : prefixes(whole)) {
            const size_t n = part.size();
            SCOPED_TRACE(testing::Message() << text << " cut at " << n);
            Arcs back;
            // The length of the whole over part of it: more input wanted.
            for (Dec d : kDecoders)
                EXPECT_EQ(decode(d, part, &back, -999, static_cast<QorLong>(whole.size())),
                          kMoreInput)
                    << nameOf(d);
            // The length cut short as well: only a cut after a subidentifier's
            // last octet gives a value.
            const int code = n > 0 && (whole[n - 1] & 0x80) == 0 ? 0 : kDataError;
            EXPECT_EQ(decode(Dec::kNew, part, &back), code);
            EXPECT_EQ(decode(Dec::kList, part, &back), code);
        }
    }
}

TEST_F(Objid, ListDecoderFailingForMemoryGivesBackWhatItTook)
{
    const Bytes contents = hex("2B 06 01 04 01 7F 81 00 FF 7F 81 80 00");
    Arcs back;
    EXPECT_GE(failuresBeforeSuccess([&] { return decode(Dec::kList, contents, &back); }), 10);
    EXPECT_EQ(back, (Arcs{1, 3, 6, 1, 4, 1, 127, 128, 16383, 16384}));
    // Into a caller's buffer, the nodes are placed on 8-octet boundaries
    // even after a piece of odd size.
    unsigned char flat[512];
    world.userBuffer = 1;
    world.outPos = flat;
    world.outRoom = sizeof flat;
    QorObjidNode *nodes = nullptr;
    EXPECT_EQ(decoded(contents,
                      [&](unsigned char **pos, QorLong *room) {
                          _qor_dec_getfixmem(&world, 3);
                          _qor_dec_liobjid(&world, pos, room, 13, &nodes, 0);
                      }),
              0)
        << world.errMsgBuffer;
    world.userBuffer = 0;
    int n = 0;
    for (const QorObjidNode *p = nodes; p != nullptr; p = p->next, n++)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignof(QorObjidNode), 0u);
    EXPECT_EQ(n, 10);
}

// Kept as they stand, the contents octets of an absolute and of a relative
// identifier go through the same functions.
TEST_F(Objid, EncodedFormsKeepTheOctetsAsTheyStand)
{
    const Bytes oid = hex("2A 86 48 86 F7 0D");
    const auto size = static_cast<QorLong>(oid.size());
    auto write = [&](const unsigned char *data, QorLong length, QorLong max) {
        return run(writer(_qor_encd_eobjid_ia, data, length, max));
    };
    EXPECT_EQ(write(oid.data(), size, size).bytes, oid);
    EXPECT_EQ(write(oid.data(), size, -1).bytes, oid) << "the pointer form has no capacity";
    EXPECT_EQ(write(oid.data(), size, size - 1).code, kSizeExceeded);
    EXPECT_TRUE(messageShows("length of value = ", size)) << world.errMsgBuffer;
    EXPECT_EQ(write(oid.data(), size, 0).code, kSizeExceeded) << "an inline array of nothing";
    Encoding nothing = write(nullptr, 0, 0);
    EXPECT_EQ(nothing.code, 0);
    EXPECT_TRUE(nothing.bytes.empty());
    EXPECT_EQ(write(nullptr, 3, -1).code, kNullInput);

    // Decoders: the caller's inline array of `max` octets, or new memory
    // when `max` is below 0; the same checks as the arc forms.
    auto read = [&](const Bytes &input, QorLong max, Bytes *out) {
        out->clear();
        unsigned char array[32];
        memset(array, 0xEE, sizeof array);
        unsigned char *fresh = reinterpret_cast<unsigned char *>(1);
        QorLong n = -1;
        int code = decoded(input, [&](unsigned char **pos, QorLong *room) {
            n = _qor_dec_eobjid_ia(&world, pos, room, static_cast<QorLong>(input.size()),
                                   max < 0 ? static_cast<void *>(&fresh) : array, max);
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
    Bytes back;
    EXPECT_EQ(read(oid, size, &back), 0) << world.errMsgBuffer;
    EXPECT_EQ(back, oid);
    EXPECT_EQ(read(oid, -225, &back), 0) << world.errMsgBuffer;
    EXPECT_EQ(back, oid);
    EXPECT_EQ(read(oid, size - 1, &back), kSizeExceeded);
    EXPECT_EQ(read(oid, 0, &back), kSizeExceeded);
    EXPECT_EQ(read(oid, -(size - 1), &back), kLimited);
    EXPECT_TRUE(messageShows("0026S: Length too long: ", size)) << world.errMsgBuffer;
    EXPECT_EQ(read(hex("80 01"), 20, &back), kDataError);
    EXPECT_TRUE(messageHas("0024E")) << world.errMsgBuffer;
    EXPECT_EQ(read(hex("01 C2"), 20, &back), kDataError);
    EXPECT_EQ(read(Bytes{}, 20, &back), kDataError);
    EXPECT_EQ(read(Bytes(226, 0x01), -300, &back), kLimited);
    EXPECT_TRUE(messageShows("too many subidentifiers: ", 226)) << world.errMsgBuffer;
    // Arcs of any size may be kept encoded.
    Bytes wide = concat({hex("2A"), Bytes(20, 0xFF), hex("7F")});
    EXPECT_EQ(read(wide, 30, &back), 0);
    EXPECT_EQ(back, wide);
    setRelaxed(true);
    EXPECT_EQ(read(Bytes{}, -225, &back), 0);
    EXPECT_EQ(read(hex("80 01"), 20, &back), 0);
    setRelaxed(false);
}
