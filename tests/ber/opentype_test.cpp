// Values kept as their whole encoding: open types, ANY, deferred components
// and retained extension additions. Tag and length stay in the kept octets,
// absent values and the enclosing value's end-of-contents are told apart,
// and input whose inner lengths lie is refused without reading past it.
#include <cstring>
#include <string>
#include <vector>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

constexpr int kNotSupported = QOR_NOT_SUPPORTED; // message 2

// A primitive OCTET STRING of `n` octets in the long length form.
Bytes longOctets(int n)
{
    Bytes out = {0x04, 0x82, static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)};
    for (int i = 0; i < n; i++)
        out.push_back(static_cast<unsigned char>(i * 13));
    return out;
}

int garbage;

// A decoder that keeps an encoding, called as generated code calls it with
// the enclosing value's length; it gives the octets it kept.
using Read = QorLong (*)(QorGlobal *, unsigned char **, QorLong *, QorLong, unsigned char **);

// The record a decoder filled: only the kept octets, `n` of them.
QorLong keptIn(const QorOpenType &record, QorLong n, unsigned char **kept)
{
    EXPECT_EQ(record.pduNum, 0);
    EXPECT_EQ(record.decoded, nullptr);
    EXPECT_EQ(static_cast<QorLong>(record.length), n);
    *kept = record.encoded;
    return n;
}

QorLong openType(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                 unsigned char **kept)
{
    QorOpenType record = {7, 99, reinterpret_cast<unsigned char *>(&garbage), &garbage};
    return keptIn(record, _qor_dec_opentype(world, pos, room, length, &record), kept);
}

QorLong newOpenType(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    unsigned char **kept)
{
    QorNewOpenType record = {99, reinterpret_cast<unsigned char *>(&garbage)};
    QorLong n = _qor_dec_new_opentype(world, pos, room, length, &record);
    EXPECT_EQ(static_cast<QorLong>(record.length), n);
    *kept = record.encoded;
    return n;
}

// A deferred component of which generated code has read nothing (`tag` 0),
// or whose tag and length it has read, as _qor_dec_tag gives them.
template <bool afterHeader>
QorLong deferred(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong,
                 unsigned char **kept)
{
    QorULong tag = 0;
    int constructed = 0;
    QorLong length = -1;
    if (afterHeader) {
        tag = _qor_dec_tag(world, pos, room);
        constructed = world->bitOffset;
        length = _qor_dec_length(world, pos, room);
    }
    QorOpenType record = {7, 99, nullptr, &garbage};
    return keptIn(record, _qor_dec_defer(world, pos, room, length, &record, tag, constructed), kept);
}

struct Keeper {
    const char *name;
    Read read;
};
const Keeper kOpenType = {"open type", openType};
const Keeper kNewOpenType = {"two-word open type", newOpenType};
const Keeper kAny = {"ANY", _qor_dec_uany};
const Keeper kDeferredWhole = {"deferred", deferred<false>};
const Keeper kDeferredAfterHeader = {"deferred after its header", deferred<true>};

class KeptValues : public BerTest {
protected:
    struct Kept {
        int code;
        Bytes octets;     // what the record keeps
        QorLong consumed; // input taken
    };

    // Runs `keeper` over `input`, with the enclosing length `length`; the
    // kept octets must be a copy.
    Kept keep(const Bytes &input, QorLong length, const Keeper &keeper)
    {
        Kept k{0, {}, 0};
        k.code = decoded(
            input,
            [&](unsigned char **pos, QorLong *room) {
                const unsigned char *start = *pos;
                QorLong roomBefore = *room;
                unsigned char *kept = reinterpret_cast<unsigned char *>(&garbage);
                QorLong n = keeper.read(&world, pos, room, length, &kept);
                if (n > 0) {
                    EXPECT_TRUE(kept < start || kept >= start + roomBefore) << "kept in place";
                    k.octets.assign(kept, kept + n);
                } else {
                    EXPECT_EQ(kept, nullptr);
                }
            },
            &k.consumed);
        return k;
    }
};

class OpenType : public KeptValues {};
class Deferred : public KeptValues {};
class RetainedExtension : public KeptValues {};

} // namespace

TEST_F(KeptValues, EveryKeeperKeepsTheWholeItemWithTagAndLength)
{
    struct Case {
        const char *input;
        QorLong length; // of the enclosing value, -1 indefinite
        const char *kept;
    } cases[] = {
        {"30 03 02 01 05 FF", 6, "30 03 02 01 05"},
        {"30 80 02 01 05 00 00 FF", -1, "30 80 02 01 05 00 00"},
        {"A0 80 30 80 00 00 00 00 00 00", -1, "A0 80 30 80 00 00 00 00"},
        {"9F 81 48 01 07", 5, "9F 81 48 01 07"},
        {"05 00 05 00", 4, "05 00"},
        {"24 80 04 01 41 24 80 04 01 42 00 00 00 00", 14,
         "24 80 04 01 41 24 80 04 01 42 00 00 00 00"},
        // An item of tag 0 in a value of definite length is a value like any other.
        {"00 01 05", 3, "00 01 05"},
    };
    // Nesting is read in one pass, however deep.
    const Bytes big = longOctets(3000);
    const Bytes nested = concat({repeat("30 80", 20000), repeat("00 00", 20000)});
    for (const Keeper &keeper : {kOpenType, kNewOpenType, kAny, kDeferredWhole}) {
        SCOPED_TRACE(keeper.name);
        for (const Case &c : cases) {
            SCOPED_TRACE(c.input);
            Kept k = keep(hex(c.input), c.length, keeper);
            EXPECT_EQ(k.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(k.octets, hex(c.kept));
            EXPECT_EQ(k.consumed, static_cast<QorLong>(hex(c.kept).size()));
        }
        EXPECT_TRUE(keep(big, -1, keeper).octets == big);
        EXPECT_TRUE(keep(nested, -1, keeper).octets == nested);
        EXPECT_EQ(keep(slice(nested, 0, nested.size() - 2), -1, keeper).code, kMoreInput);
    }
}

// Length 0 says an open type is absent, and nothing is read; so does the
// end-of-contents of an enclosing value of indefinite length, which is left
// for it. Strict rules and automatic decoding want a value, except in the
// two-word form of this release; an ANY is never absent.
TEST_F(KeptValues, AbsentValuesAndTheEnclosingEndOfContents)
{
    constexpr QorULong kStrict = STRICT_ENCODING_DECODING_RULES;
    constexpr QorULong kAutomatic = AUTOMATIC_ENCDEC;
    const char *emptyOpenType = "0090E: Length of encoded data of OpenType is 0";
    const char *badEoc = "0028E: Non-standard EOC octets";
    struct Case {
        Keeper keeper;
        QorULong flags;
        const char *input;
        QorLong length;
        int code;
        const char *text; // what is kept, or part of the message
    } cases[] = {
        {kOpenType, 0, "30 00", 0, 0, ""},
        {kOpenType, 0, "00 00", -1, 0, ""},
        {kOpenType, 0, "00 01 00", -1, kDataError, badEoc},
        {kOpenType, 0, "00 80 00 00", -1, kDataError, badEoc},
        {kOpenType, kStrict, "30 00", 0, kDataError, emptyOpenType},
        {kOpenType, kStrict, "00 00", -1, kDataError, emptyOpenType},
        {kOpenType, kStrict, "30 00", 2, 0, "30 00"},
        {kOpenType, kAutomatic, "30 00", 0, kDataError, emptyOpenType},
        {kNewOpenType, 0, "30 03 02 01 05", 0, 0, ""},
        {kNewOpenType, 0, "00 00", -1, 0, ""},
        {kNewOpenType, kStrict | kAutomatic, "30 03 02 01 05", 0, 0, ""},
        {kNewOpenType, 0, "30 03 02 01 05", 5, 0, "30 03 02 01 05"},
        {kAny, 0, "05 00", 0, kDataError, "0089E: Length of encoded data of ANY is 0"},
        {kAny, 0, "00 00", -1, kDataError, "0089E"},
    };
    // The test schema's release knows absent values by their length of 0.
    ASSERT_GE(world.privateArea->xapiEntries->xapiVersion, 26);
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.keeper.name << " " << c.input << " length " << c.length
                                        << " flags " << c.flags);
        world.decodingFlags |= c.flags;
        Kept k = keep(hex(c.input), c.length, c.keeper);
        world.decodingFlags &= ~c.flags;
        expectOutcome(k.code, k.octets, c.code, c.text);
        EXPECT_EQ(k.consumed, static_cast<QorLong>(k.octets.size()));
    }

    // Older releases pass 0 whatever follows: a value is always read.
    QorXapiEntries older = *world.privateArea->xapiEntries;
    older.xapiVersion = 25;
    for (QorXapiEntries *entries : {&older, static_cast<QorXapiEntries *>(nullptr)}) {
        SCOPED_TRACE(entries != nullptr ? "release 25" : "no second table");
        ASSERT_EQ(qorInitXAPIentries(&world, entries), 0);
        Kept k = keep(hex("30 03 02 01 05"), 0, kNewOpenType);
        EXPECT_EQ(k.code, 0);
        EXPECT_EQ(k.octets, hex("30 03 02 01 05"));
        for (QorLong length : {QorLong{0}, QorLong{-1}}) {
            EXPECT_EQ(keep(hex("00 00"), length, kNewOpenType).code, kDataError);
            EXPECT_TRUE(messageHas(emptyOpenType)) << world.errMsgBuffer;
        }
    }
    ASSERT_EQ(qorInitXAPIentries(&world, &testSchemaXapi), 0);
}

TEST_F(KeptValues, InnerLengthsThatLieAndEveryTruncationAreRefused)
{
    struct Case {
        const char *input;
        int code;
        const char *message;
    } cases[] = {
        {"", kMoreInput, "0081S: End of input reached"},
        {"30 05 02 01", kMoreInput, ""},
        {"30 80 02 01 05", kMoreInput, ""},
        {"30 80 02 05 01 00 00", kMoreInput, ""},
        {"30 84 7F FF FF FF 00", kMoreInput, ""},
        {"30 85 01 00 00 00 00", kLimited, "0026S: Length too long"},
        {"30 84 80 00 00 00", kLimited, "0026S: Length too long"},
        {"30 80 00 01 00 00 00", kDataError, "0028E"},
        {"04 80 41 00 00", kDataError, "0051S: Found primitive encoding with indefinite length"},
        {"1F 05 00", kDataError, "0018E: Tag needlessly long"},
        {"1F 81 80 80 00", kLimited, "0019E: Tag too long"},
    };
    for (const Keeper &keeper :
         {kOpenType, kNewOpenType, kAny, kDeferredWhole, kDeferredAfterHeader}) {
        SCOPED_TRACE(keeper.name);
        for (const Case &c : cases) {
            SCOPED_TRACE(c.input);
            EXPECT_EQ(keep(hex(c.input), -1, keeper).code, c.code);
            EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
            if (hex(c.input).size() > 2) {
                EXPECT_EQ(keep(hex(c.input), 100, keeper).code, c.code);
            }
        }
        for (const char *text : {"30 80 30 03 02 01 05 00 00", "30 06 04 01 41 04 01 42",
                                 "9F 81 48 01 07", "A1 80 24 80 04 01 41 00 00 00 00"}) {
            SCOPED_TRACE(text);
            EXPECT_EQ(keep(hex(text), -1, keeper).code, 0) << world.errMsgBuffer;
            for (const Bytes &part : prefixes(hex(text)))
                EXPECT_EQ(keep(part, -1, keeper).code, kMoreInput) << part.size();
        }
    }
}

// Encoders write what was kept as it stands (a deferred component without
// the tag and length, which generated code writes), and refuse a record
// that cannot be written.
TEST_F(KeptValues, EncodersWriteTheKeptOctetsAndCheckTheRecord)
{
    Bytes value = hex("30 03 02 01 05");
    int decodedValue = 0;
    auto openTypeRecord = [&](int pduNum, QorULong length, bool encoded, bool decoded) -> Write {
        return [=, &value, &decodedValue, this](unsigned char **pos, QorLong *room) {
            QorOpenType record = {pduNum, length, encoded ? value.data() : nullptr,
                                  decoded ? &decodedValue : nullptr};
            return _qor_encd_opentype(&world, pos, room, &record);
        };
    };
    // `length` 0: the size of the stored octets, which are never at null.
    auto deferredRecord = [&](const char *text, QorULong length = 0) -> Write {
        Bytes stored = hex(text);
        stored.reserve(8);
        if (length == 0)
            length = static_cast<QorULong>(stored.size());
        return [stored = std::move(stored), length, this](unsigned char **pos, QorLong *room) {
            QorOpenType record = {0, length, const_cast<unsigned char *>(stored.data()), nullptr};
            return _qor_encd_defer(&world, pos, room, &record);
        };
    };
    struct Case {
        const char *name;
        QorULong flags;
        Write write;
        int code;
        const char *text; // what is written, or part of the message
    } cases[] = {
        {"kept octets", 0, openTypeRecord(0, 5, true, false), 0, "30 03 02 01 05"},
        {"no length", 0, openTypeRecord(0, 0, true, false), kDataError, "0090E"},
        {"decoded value without the flag", 0, openTypeRecord(3, 0, false, true), kDataError,
         "0141E"},
        {"decoded value and kept octets", 0, openTypeRecord(3, 5, true, true), 0, "30 03 02 01 05"},
        {"decoded value without a PDU", AUTOMATIC_ENCDEC, openTypeRecord(0, 5, true, true),
         kDataError, "0142E"},
        {"automatic encoding", AUTOMATIC_ENCDEC, openTypeRecord(3, 5, true, true), kNotSupported,
         "0002S"},
        {"flag without a decoded value", AUTOMATIC_ENCDEC, openTypeRecord(3, 5, true, false), 0,
         "30 03 02 01 05"},
        {"no octets", 0, openTypeRecord(0, 5, false, false), kNullInput, "0011S"},
        {"length past 31 bits", 0, openTypeRecord(0, 0x80000000u, true, false), kLimited, "0026S"},
        {"ANY", 0, writer(_qor_encd_uany, value.data(), 5), 0, "30 03 02 01 05"},
        {"empty ANY", 0, writer(_qor_encd_uany, value.data(), 0), kDataError, "0089E"},
        {"ANY without octets", 0, writer(_qor_encd_uany, nullptr, 2), kNullInput, "0011S"},
        {"deferred", 0, deferredRecord("30 03 02 01 05"), 0, "02 01 05"},
        {"deferred, no length", 0, deferredRecord(""), kDataError,
         "0143E: The DeferDecoding directive was used but the 'length' field"},
        {"deferred, no octets", 0,
         [&](unsigned char **pos, QorLong *room) {
             QorOpenType nothing = {0, 3, nullptr, nullptr};
             return _qor_encd_defer(&world, pos, room, &nothing);
         },
         kNullInput, "0011S"},
        {"deferred, length past 31 bits", 0, deferredRecord("30 03 02 01 05", 0x80000000u),
         kLimited, "0026S"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        world.encodingFlags |= c.flags;
        Encoding e = encode(c.write);
        world.encodingFlags &= ~c.flags;
        expectOutcome(e.code, e.bytes, c.code, c.text);
    }

    // Stored octets of a deferred component that are not one whole item: cut
    // short, with no end-of-contents, or with a length beyond 31 bits.
    for (const char *stored : {"30 05 02 01", "30 80 02 01 05 00", "30 80 00", "30", "1F 81",
                               "30 82 01", "30 84 FF FF FF FF"}) {
        SCOPED_TRACE(stored);
        EXPECT_EQ(encode(deferredRecord(stored)).code, kDataError);
        EXPECT_TRUE(messageHas("0037E")) << world.errMsgBuffer;
    }

    // What a decoder kept goes out as it came in, spanning output blocks.
    for (const Bytes &input : {hex("A0 80 30 80 00 00 00 00"), longOctets(3000)}) {
        Kept k = keep(input, -1, kOpenType);
        ASSERT_EQ(k.code, 0);
        QorOpenType record = {0, static_cast<QorULong>(k.octets.size()), k.octets.data(), nullptr};
        Encoding e = encode(writer(_qor_encd_opentype, &record));
        EXPECT_EQ(e.code, 0);
        EXPECT_TRUE(e.bytes == input);
    }
}

TEST_F(OpenType, UserFieldFormGetsTheWrapperPointer)
{
    int marker = 0;
    ASSERT_EQ(qorSetCppPointer(&world, &marker), 0);
    for (bool userForm : {false, true}) {
        SCOPED_TRACE(userForm);
        setFlag(world.presetDecFlags, QOR_PRESET_OPEN_TYPE_USER_FIELD, userForm);
        for (QorLong length : {QorLong{5}, QorLong{0}}) {
            QorOpenTypeUser record = {1, 2, nullptr, &garbage, &garbage};
            Bytes input = hex("30 03 02 01 05");
            EXPECT_EQ(decoded(input,
                              [&](unsigned char **pos, QorLong *room) {
                                  _qor_dec_opentype(&world, pos, room, length, &record);
                              }),
                      0);
            EXPECT_EQ(record.userField, userForm ? static_cast<void *>(&marker) : &garbage);
            EXPECT_EQ(record.length, length == 0 ? 0u : 5u);
        }
    }
    setFlag(world.presetDecFlags, QOR_PRESET_OPEN_TYPE_USER_FIELD, false);
}

TEST_F(Deferred, KeptWithTheTagAndLengthRebuiltAndWrittenBack)
{
    struct Case {
        const char *input;
        const char *kept;     // after generated code read tag and length
        QorULong tag;         // as generated code gives it to the encoder
        const char *definite; // written back with a definite length
    } cases[] = {
        {"A1 03 02 01 05", "A1 03 02 01 05", 0xA1, "A1 03 02 01 05"},
        {"A1 80 02 01 05 00 00", "A1 80 02 01 05 00 00", 0xA1, "A1 03 02 01 05"},
        {"04 02 41 42", "04 02 41 42", 0x04, "04 02 41 42"},
        {"04 00", "04 00", 0x04, "04 00"},
        {"9F 81 48 01 07", "9F 81 48 01 07", 0x9F8148, "9F 81 48 01 07"},
        {"5F 1F 00", "5F 1F 00", 0x5F1F, "5F 1F 00"},
        {"BF 81 00 80 05 00 00 00", "BF 81 00 80 05 00 00 00", 0xBF8100, "BF 81 00 02 05 00"},
        // A needlessly long length comes back in the short form.
        {"04 82 00 03 41 42 43", "04 03 41 42 43", 0x04, "04 03 41 42 43"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Kept k = keep(hex(c.input), -1, kDeferredAfterHeader);
        ASSERT_EQ(k.code, 0) << world.errMsgBuffer;
        EXPECT_EQ(k.octets, hex(c.kept));
        EXPECT_EQ(k.consumed, static_cast<QorLong>(hex(c.input).size()));
        // Of tag 0, the item is read whole and kept as it came.
        Kept whole = keep(hex(c.input), -1, kDeferredWhole);
        EXPECT_EQ(whole.octets, hex(c.input));

        // Encoding: the contents, then generated code's tag and length.
        for (const Bytes &stored : {k.octets, whole.octets}) {
            QorOpenType record = {0, static_cast<QorULong>(stored.size()),
                                  const_cast<unsigned char *>(stored.data()), nullptr};
            Encoding e = encode([&](unsigned char **pos, QorLong *room) {
                QorLong n = _qor_encd_defer(&world, pos, room, &record);
                return n + _qor_encd_tag_length(&world, pos, room, n, c.tag);
            });
            EXPECT_EQ(e.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(e.bytes, hex(c.definite));
        }
    }
    Bytes big = longOctets(2000);
    EXPECT_TRUE(keep(big, -1, kDeferredAfterHeader).octets == big);

    // A primitive tag with the indefinite form.
    QorOpenType record = {};
    EXPECT_EQ(decoded(hex("41 00 00"),
                      [&](unsigned char **pos, QorLong *room) {
                          _qor_dec_defer(&world, pos, room, -1, &record, 0x4004, 0);
                      }),
              kDataError);
    EXPECT_TRUE(messageHas("0051S")) << world.errMsgBuffer;
}

TEST_F(RetainedExtension, ChainKeepsEachAdditionAndIsFreedWhole)
{
    // Three unknown additions, the last one empty, after the known fields.
    const Bytes additions = hex("82 01 07 A3 80 05 00 00 00 84 00");
    const Bytes expected[] = {hex("82 01 07"), hex("A3 80 05 00 00 00"), hex("84 00")};
    unsigned char tempBuffer[4096];
    for (bool callerTemp : {false, true}) {
        SCOPED_TRACE(callerTemp ? "caller's temporary buffer" : "temporary blocks");
        if (callerTemp)
            useTemporaryBuffer(tempBuffer, sizeof tempBuffer);
        unsigned char *tempStart = world.tempLow;
        auto readAll = [&](unsigned char **pos, QorLong *room) {
            // As generated code does: the first, empty record.
            auto *head = static_cast<QorExtensionAddition *>(
                _qor_dec_gettempmem(&world, sizeof(QorExtensionAddition)));
            memset(head, 0, sizeof *head);
            QorExtensionAddition *chain = head;
            QorLong count = 0;
            const QorLong enclosing = *room;
            while (*room > 0) {
                unsigned char *savedPos = *pos;
                QorLong savedRoom = *room;
                _qor_dec_tag(&world, pos, room); // not one it knows
                _qor_dec_length(&world, pos, room);
                _qor_dec_rsf_ext(&world, pos, room, enclosing, &chain, &savedPos, &savedRoom,
                                 &count);
                EXPECT_EQ(*pos, savedPos);
                EXPECT_EQ(*room, savedRoom);
            }
            EXPECT_EQ(count, 3);
            const unsigned char *values[3];
            const QorExtensionAddition *r = head;
            for (int i = 0; i < 3; i++, r = r->next) {
                ASSERT_NE(r, nullptr);
                EXPECT_EQ(Bytes(r->value, r->value + r->length), expected[i]);
                EXPECT_EQ(r->next->prev, r);
                values[i] = r->value;
            }
            EXPECT_EQ(r, chain) << "the last record is the current one";
            EXPECT_EQ(r->length, 0);
            EXPECT_EQ(r->value, nullptr);
            EXPECT_EQ(r->next, nullptr);
            _qor_free_rsf_ext(&world, head);
            // The octets belong to the decoded value and stay.
            for (int i = 0; i < 3; i++)
                EXPECT_EQ(Bytes(values[i], values[i] + expected[i].size()), expected[i]);
        };
        EXPECT_EQ(decoded(additions, readAll), 0) << world.errMsgBuffer;
        if (callerTemp) {
            EXPECT_EQ(world.tempLow, tempStart) << "temporary buffer given back";
            useTemporaryBuffer(nullptr, 0);
        } else {
            EXPECT_EQ(world.tempBlockList, nullptr) << "temporary blocks given back";
        }
    }
}

TEST_F(RetainedExtension, FailedAdditionLeavesTheChainToTheDriver)
{
    // Cut short, end-of-contents where the addition should be, none at all;
    // and with length 0, no addition to keep.
    for (const char *text : {"82 05 07", "A3 80 05 00", "00 00", "", "05 00"}) {
        SCOPED_TRACE(text);
        const Bytes input = hex(text);
        const bool noLength = input == hex("05 00");
        QorLong count = 0;
        int code = decoded(input, [&](unsigned char **pos, QorLong *room) {
            auto *head = static_cast<QorExtensionAddition *>(
                _qor_dec_gettempmem(&world, sizeof(QorExtensionAddition)));
            memset(head, 0, sizeof *head);
            QorExtensionAddition *chain = head;
            unsigned char *savedPos = *pos;
            QorLong savedRoom = *room;
            _qor_dec_rsf_ext(&world, pos, room, noLength ? 0 : -1, &chain, &savedPos, &savedRoom,
                             &count);
        });
        EXPECT_EQ(code, input.size() == 2 ? kDataError : kMoreInput);
        EXPECT_EQ(count, 0);
        if (input.size() == 2) {
            EXPECT_TRUE(messageHas("0089E")) << world.errMsgBuffer;
        }
        freeTempBlocks();
    }
    _qor_free_rsf_ext(&world, nullptr);
}
