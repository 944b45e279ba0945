// Values kept as their whole encoding: open types, ANY, deferred components
// and retained extension additions. Tag and length stay in the kept octets,
// absent values and the enclosing value's end-of-contents are told apart,
// and input whose inner lengths lie is refused without reading past it.
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "ber/ber_support.h"
#include "frame/world.h"
#include "memory/temp_block.h"

using namespace qortest;

namespace {

constexpr int kDataError = QOR_DATA_ERROR;       // messages 81, 82, 88-91, 100, 106, 119
constexpr int kMoreInput = QOR_MORE_INPUT;       // message 45
constexpr int kLimited = QOR_LIMITED;            // message 98
constexpr int kNullInput = QOR_NULL_INPUT;       // message 71
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

// The tag at the start of an encoding as encoders take it: its octets as a
// big-endian number.
QorULong encoderTag(const Bytes &encoding)
{
    QorULong tag = encoding[0];
    if ((encoding[0] & 0x1f) == 0x1f) {
        for (size_t i = 1; i < encoding.size(); i++) {
            tag = (tag << 8) | encoding[i];
            if ((encoding[i] & 0x80) == 0)
                break;
        }
    }
    return tag;
}

class KeptValues : public BerTest {
protected:
    struct Kept {
        int code;
        Bytes octets;     // what the record keeps
        QorLong consumed; // input taken
    };

    using Reader = QorLong (*)(KeptValues *, unsigned char **, QorLong *, QorLong, unsigned char **);

    // Runs a decoder that keeps an encoding over `input`, with the enclosing
    // length `length`; the kept octets must be a copy.
    Kept keep(const Bytes &input, QorLong length, Reader read)
    {
        Kept k{0, {}, 0};
        k.code = decoded(
            input,
            [&](unsigned char **pos, QorLong *room) {
                const unsigned char *start = *pos;
                QorLong roomBefore = *room;
                unsigned char *kept = reinterpret_cast<unsigned char *>(&garbage);
                QorLong n = read(this, pos, room, length, &kept);
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

    static QorLong openType(KeptValues *t, unsigned char **pos, QorLong *room, QorLong length,
                            unsigned char **kept)
    {
        QorOpenType record = {7, 99, reinterpret_cast<unsigned char *>(&garbage), &garbage};
        QorLong n = _qor_dec_opentype(&t->world, pos, room, length, &record);
        EXPECT_EQ(record.pduNum, 0);
        EXPECT_EQ(record.decoded, nullptr);
        EXPECT_EQ(static_cast<QorLong>(record.length), n);
        *kept = record.encoded;
        return n;
    }

    static QorLong newOpenType(KeptValues *t, unsigned char **pos, QorLong *room, QorLong length,
                               unsigned char **kept)
    {
        QorNewOpenType record = {99, reinterpret_cast<unsigned char *>(&garbage)};
        QorLong n = _qor_dec_new_opentype(&t->world, pos, room, length, &record);
        EXPECT_EQ(static_cast<QorLong>(record.length), n);
        *kept = record.encoded;
        return n;
    }

    static QorLong any(KeptValues *t, unsigned char **pos, QorLong *room, QorLong length,
                       unsigned char **kept)
    {
        return _qor_dec_uany(&t->world, pos, room, length, kept);
    }

    // A deferred component of which generated code has read nothing.
    static QorLong deferredWhole(KeptValues *t, unsigned char **pos, QorLong *room, QorLong,
                                 unsigned char **kept)
    {
        QorOpenType record = {7, 99, nullptr, &garbage};
        QorLong n = _qor_dec_defer(&t->world, pos, room, -1, &record, 0, 0);
        EXPECT_EQ(record.pduNum, 0);
        EXPECT_EQ(record.decoded, nullptr);
        EXPECT_EQ(static_cast<QorLong>(record.length), n);
        *kept = record.encoded;
        return n;
    }

    // A deferred component whose tag and length generated code has read, as
    // _qor_dec_tag gives them, the indefinite form as -1.
    static QorLong deferredAfterHeader(KeptValues *t, unsigned char **pos, QorLong *room, QorLong,
                                       unsigned char **kept)
    {
        QorULong tag = _qor_dec_tag(&t->world, pos, room);
        int constructed = t->world.bitOffset;
        QorLong length = _qor_dec_length(&t->world, pos, room);
        QorOpenType record = {7, 99, nullptr, &garbage};
        QorLong n = _qor_dec_defer(&t->world, pos, room, length, &record, tag, constructed);
        *kept = record.encoded;
        return n;
    }

    // The octets written, or the code of a failed call.
    template <class Write> int encode(Bytes *out, Write &&write)
    {
        Encoding e = attempt(write);
        *out = e.bytes;
        if (e.code == 0) {
            EXPECT_EQ(e.returned, static_cast<QorLong>(e.bytes.size()));
        }
        return e.code;
    }
};

class OpenType : public KeptValues {};
class Any : public KeptValues {};
class Deferred : public KeptValues {};
class RetainedExtension : public KeptValues {};

} // namespace

// ---------------------------------------------------------------- open types

TEST_F(OpenType, KeepsTheWholeItemWithTagAndLength)
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
        {"24 80 04 01 41 24 80 04 01 42 00 00 00 00", 14, "24 80 04 01 41 24 80 04 01 42 00 00 00 00"},
        // An item of tag 0 in a value of definite length is a value like any other.
        {"00 01 05", 3, "00 01 05"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Kept k = keep(hex(c.input), c.length, openType);
        EXPECT_EQ(k.code, 0) << world.errMsgBuffer;
        EXPECT_EQ(k.octets, hex(c.kept));
        EXPECT_EQ(k.consumed, static_cast<QorLong>(hex(c.kept).size()));
    }
    Bytes big = longOctets(3000);
    Kept k = keep(big, -1, openType);
    EXPECT_EQ(k.code, 0);
    EXPECT_EQ(k.octets, big);
}

TEST_F(OpenType, AbsentValuesAndTheEnclosingEndOfContents)
{
    // Length 0: absent, and nothing read.
    Kept k = keep(hex("30 00"), 0, openType);
    EXPECT_EQ(k.code, 0);
    EXPECT_EQ(k.consumed, 0);
    EXPECT_TRUE(k.octets.empty());
    // The end-of-contents of the enclosing value: absent, and left for it.
    k = keep(hex("00 00"), -1, openType);
    EXPECT_EQ(k.code, 0);
    EXPECT_EQ(k.consumed, 0);
    for (const char *bad : {"00 01 00", "00 80 00 00", "00 81 01 00"}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(keep(hex(bad), -1, openType).code, kDataError);
        EXPECT_TRUE(messageHas("0028E: Non-standard EOC octets")) << world.errMsgBuffer;
    }
    // Strict rules and automatic decoding need a value.
    for (QorULong flag : {QorULong{STRICT_ENCODING_DECODING_RULES}, QorULong{AUTOMATIC_ENCDEC}}) {
        world.decodingFlags |= flag;
        EXPECT_EQ(keep(hex("30 00"), 0, openType).code, kDataError);
        EXPECT_TRUE(messageHas("0090E: Length of encoded data of OpenType is 0")) << world.errMsgBuffer;
        EXPECT_EQ(keep(hex("00 00"), -1, openType).code, kDataError);
        EXPECT_EQ(keep(hex("30 00"), 2, openType).code, 0);
        world.decodingFlags &= ~flag;
    }
}

TEST_F(OpenType, UserFieldFormGetsTheWrapperPointer)
{
    int marker = 0;
    ASSERT_EQ(qorSetCppPointer(&world, &marker), 0);
    for (bool userForm : {false, true}) {
        SCOPED_TRACE(userForm);
        if (userForm)
            world.presetDecFlags |= QOR_PRESET_OPEN_TYPE_USER_FIELD;
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
    world.presetDecFlags = static_cast<uint16_t>(world.presetDecFlags & ~QOR_PRESET_OPEN_TYPE_USER_FIELD);
}

TEST_F(OpenType, InnerLengthsThatLieAreRefused)
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
    for (Reader read : {openType, newOpenType, any}) {
        for (const Case &c : cases) {
            SCOPED_TRACE(c.input);
            EXPECT_EQ(keep(hex(c.input), -1, read).code, c.code);
            EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
            if (hex(c.input).size() > 2) {
                EXPECT_EQ(keep(hex(c.input), 100, read).code, c.code);
            }
        }
    }
}

TEST_F(OpenType, DeepNestingIsReadInOnePass)
{
    const int depth = 20000;
    Bytes nested = concat({repeat("30 80", depth), repeat("00 00", depth)});
    auto start = std::chrono::steady_clock::now();
    Kept k = keep(nested, -1, openType);
    EXPECT_EQ(k.code, 0);
    EXPECT_EQ(k.octets, nested);
    Bytes unfinished(nested.begin(), nested.end() - 2);
    EXPECT_EQ(keep(unfinished, -1, openType).code, kMoreInput);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(OpenType, EveryTruncationIsRefusedByEveryKeeper)
{
    for (const char *text : {"30 80 30 03 02 01 05 00 00", "30 06 04 01 41 04 01 42",
                             "9F 81 48 01 07", "A1 80 24 80 04 01 41 00 00 00 00"}) {
        SCOPED_TRACE(text);
        const Bytes whole = hex(text);
        for (Reader read : {openType, newOpenType, any, deferredWhole, deferredAfterHeader}) {
            EXPECT_EQ(keep(whole, -1, read).code, 0) << world.errMsgBuffer;
            for (size_t cut = 0; cut < whole.size(); cut++) {
                SCOPED_TRACE(cut);
                Bytes part(whole.begin(), whole.begin() + static_cast<long>(cut));
                EXPECT_EQ(keep(part, -1, read).code, kMoreInput);
            }
        }
    }
}

TEST_F(OpenType, TwoWordFormByReleaseOfGeneratedCode)
{
    // The test schema's release knows absent values by their length of 0.
    ASSERT_GE(world.privateArea->xapiEntries->xapiVersion, 26);
    Kept k = keep(hex("30 03 02 01 05"), 0, newOpenType);
    EXPECT_EQ(k.code, 0);
    EXPECT_EQ(k.consumed, 0) << "nothing read";
    EXPECT_EQ(keep(hex("00 00"), -1, newOpenType).consumed, 0);
    world.decodingFlags |= STRICT_ENCODING_DECODING_RULES | AUTOMATIC_ENCDEC;
    EXPECT_EQ(keep(hex("30 03 02 01 05"), 0, newOpenType).code, 0) << "absence is its right";
    world.decodingFlags &= ~QorULong{STRICT_ENCODING_DECODING_RULES | AUTOMATIC_ENCDEC};
    k = keep(hex("30 03 02 01 05"), 5, newOpenType);
    EXPECT_EQ(k.octets, hex("30 03 02 01 05"));

    // Older releases pass 0 whatever follows: a value is always read.
    QorXapiEntries older = *world.privateArea->xapiEntries;
    older.xapiVersion = 25;
    for (QorXapiEntries *entries : {&older, static_cast<QorXapiEntries *>(nullptr)}) {
        SCOPED_TRACE(entries != nullptr ? "release 25" : "no second table");
        ASSERT_EQ(qorInitXAPIentries(&world, entries), 0);
        k = keep(hex("30 03 02 01 05"), 0, newOpenType);
        EXPECT_EQ(k.code, 0);
        EXPECT_EQ(k.octets, hex("30 03 02 01 05"));
        for (QorLong length : {QorLong{0}, QorLong{-1}}) {
            EXPECT_EQ(keep(hex("00 00"), length, newOpenType).code, kDataError);
            EXPECT_TRUE(messageHas("0090E")) << world.errMsgBuffer;
        }
    }
    ASSERT_EQ(qorInitXAPIentries(&world, &testSchemaXapi), 0);
}

TEST_F(OpenType, EncoderWritesTheKeptOctetsAndChecksTheRecord)
{
    Bytes value = hex("30 03 02 01 05");
    int decodedValue = 0;
    struct Case {
        const char *name;
        int pduNum;
        QorULong length;
        bool encoded;
        bool decoded;
        QorULong flags;
        int code;
        const char *message;
    } cases[] = {
        {"kept octets", 0, 5, true, false, 0, 0, ""},
        {"no length", 0, 0, true, false, 0, kDataError, "0090E"},
        {"decoded value without the flag", 3, 0, false, true, 0, kDataError, "0141E"},
        {"decoded value and kept octets", 3, 5, true, true, 0, 0, ""},
        {"decoded value without a PDU", 0, 0, false, true, AUTOMATIC_ENCDEC, kDataError, "0142E"},
        {"decoded value, no PDU, kept octets", 0, 5, true, true, AUTOMATIC_ENCDEC, kDataError, "0142E"},
        {"automatic encoding", 3, 5, true, true, AUTOMATIC_ENCDEC, kNotSupported, "0002S"},
        {"flag without a decoded value", 3, 5, true, false, AUTOMATIC_ENCDEC, 0, ""},
        {"no octets", 0, 5, false, false, 0, kNullInput, "0011S"},
        {"length past 31 bits", 0, 0x80000000u, true, false, 0, kLimited, "0026S"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        QorOpenType record = {c.pduNum, c.length, c.encoded ? value.data() : nullptr,
                              c.decoded ? &decodedValue : nullptr};
        world.encodingFlags |= c.flags;
        Bytes out;
        EXPECT_EQ(encode(&out, [&](unsigned char **pos, QorLong *room) {
                      return _qor_encd_opentype(&world, pos, room, &record);
                  }),
                  c.code);
        world.encodingFlags &= ~c.flags;
        if (c.code == 0) {
            EXPECT_EQ(out, value);
        } else {
            EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
        }
    }
    // What a decoder kept goes out as it came in, spanning output blocks.
    for (const Bytes &input : {hex("A0 80 30 80 00 00 00 00"), longOctets(3000)}) {
        Kept k = keep(input, -1, openType);
        ASSERT_EQ(k.code, 0);
        QorOpenType record = {0, static_cast<QorULong>(k.octets.size()), k.octets.data(), nullptr};
        Bytes out;
        EXPECT_EQ(encode(&out,
                         [&](unsigned char **pos, QorLong *room) {
                             return _qor_encd_opentype(&world, pos, room, &record);
                         }),
                  0);
        EXPECT_EQ(out, input);
    }
}

// ---------------------------------------------------------------- ANY

TEST_F(Any, KeptWholeAndNeverEmpty)
{
    Kept k = keep(hex("A0 80 02 01 05 00 00 00 00"), -1, any);
    EXPECT_EQ(k.code, 0);
    EXPECT_EQ(k.octets, hex("A0 80 02 01 05 00 00"));
    EXPECT_EQ(keep(hex("05 00"), 2, any).octets, hex("05 00"));
    EXPECT_EQ(keep(hex("05 00"), 0, any).code, kDataError);
    EXPECT_TRUE(messageHas("0089E: Length of encoded data of ANY is 0")) << world.errMsgBuffer;
    EXPECT_EQ(keep(hex("00 00"), -1, any).code, kDataError);
    EXPECT_TRUE(messageHas("0089E")) << world.errMsgBuffer;

    Bytes out;
    Bytes value = longOctets(2500);
    EXPECT_EQ(encode(&out,
                     [&](unsigned char **pos, QorLong *room) {
                         return _qor_encd_uany(&world, pos, room, value.data(),
                                               static_cast<QorLong>(value.size()));
                     }),
              0);
    EXPECT_EQ(out, value);
    EXPECT_EQ(keep(value, -1, any).octets, value);
    EXPECT_EQ(encode(&out,
                     [&](unsigned char **pos, QorLong *room) {
                         return _qor_encd_uany(&world, pos, room, value.data(), 0);
                     }),
              kDataError);
    EXPECT_TRUE(messageHas("0089E")) << world.errMsgBuffer;
    EXPECT_EQ(encode(&out,
                     [&](unsigned char **pos, QorLong *room) {
                         return _qor_encd_uany(&world, pos, room, nullptr, 2);
                     }),
              kNullInput);
}

// ---------------------------------------------------------------- deferred components

TEST_F(Deferred, KeptWithTheTagAndLengthRebuiltAndWrittenBack)
{
    struct Case {
        const char *input;
        const char *kept;     // after generated code read tag and length
        const char *definite; // written back with a definite length
    } cases[] = {
        {"A1 03 02 01 05", "A1 03 02 01 05", "A1 03 02 01 05"},
        {"A1 80 02 01 05 00 00", "A1 80 02 01 05 00 00", "A1 03 02 01 05"},
        {"04 02 41 42", "04 02 41 42", "04 02 41 42"},
        {"04 00", "04 00", "04 00"},
        {"9F 81 48 01 07", "9F 81 48 01 07", "9F 81 48 01 07"},
        {"5F 1F 00", "5F 1F 00", "5F 1F 00"},
        {"BF 81 00 80 05 00 00 00", "BF 81 00 80 05 00 00 00", "BF 81 00 02 05 00"},
        // A needlessly long length comes back in the short form.
        {"04 82 00 03 41 42 43", "04 03 41 42 43", "04 03 41 42 43"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Kept k = keep(hex(c.input), -1, deferredAfterHeader);
        ASSERT_EQ(k.code, 0) << world.errMsgBuffer;
        EXPECT_EQ(k.octets, hex(c.kept));
        EXPECT_EQ(k.consumed, static_cast<QorLong>(hex(c.input).size()));
        // Of tag 0, the item is read whole and kept as it came.
        Kept whole = keep(hex(c.input), -1, deferredWhole);
        EXPECT_EQ(whole.code, 0);
        EXPECT_EQ(whole.octets, hex(c.input));

        // Encoding: the contents, then generated code's tag and length.
        for (const Bytes &stored : {k.octets, whole.octets}) {
            QorOpenType record = {0, static_cast<QorULong>(stored.size()),
                                  const_cast<unsigned char *>(stored.data()), nullptr};
            Bytes out;
            Bytes definite = hex(c.definite);
            QorULong tag = encoderTag(definite);
            EXPECT_EQ(encode(&out,
                             [&](unsigned char **pos, QorLong *room) {
                                 QorLong n = _qor_encd_defer(&world, pos, room, &record);
                                 return n + _qor_encd_tag_length(&world, pos, room, n, tag);
                             }),
                      0)
                << world.errMsgBuffer;
            EXPECT_EQ(out, definite);
        }
    }
    Bytes big = longOctets(2000);
    EXPECT_EQ(keep(big, -1, deferredAfterHeader).octets, big);
}

TEST_F(Deferred, RefusesWhatCannotBeKeptOrWritten)
{
    // A primitive tag with the indefinite form.
    QorOpenType record = {};
    Bytes input = hex("41 00 00");
    EXPECT_EQ(decoded(input,
                      [&](unsigned char **pos, QorLong *room) {
                          _qor_dec_defer(&world, pos, room, -1, &record, 0x4004, 0);
                      }),
              kDataError);
    EXPECT_TRUE(messageHas("0051S")) << world.errMsgBuffer;
    EXPECT_EQ(keep(hex("04 80 41 00 00"), -1, deferredWhole).code, kDataError);

    struct Case {
        const char *stored;
        QorULong length; // 0: the stored octets' size
        int code;
        const char *message;
    } cases[] = {
        {"30 03 02 01 05", 0, 0, ""},
        {"", 0, kDataError, "0143E: The DeferDecoding directive was used but the 'length' field"},
        {"30 05 02 01", 0, kDataError, "0037E"},
        {"30 80 02 01 05 00", 0, kDataError, "0037E"},
        {"30 80 00", 0, kDataError, "0037E"},
        {"30", 0, kDataError, "0037E"},
        {"1F 81", 0, kDataError, "0037E"},
        {"30 82 01", 0, kDataError, "0037E"},
        {"30 84 FF FF FF FF", 0, kDataError, "0037E"},
        {"30 03 02 01 05", 0x80000000u, kLimited, "0026S"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.stored);
        Bytes stored = hex(c.stored);
        stored.reserve(8);
        QorOpenType kept = {0, c.length != 0 ? c.length : static_cast<QorULong>(stored.size()),
                            stored.data(), nullptr};
        Bytes out;
        EXPECT_EQ(encode(&out,
                         [&](unsigned char **pos, QorLong *room) {
                             return _qor_encd_defer(&world, pos, room, &kept);
                         }),
                  c.code);
        EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
    }
    QorOpenType nothing = {0, 3, nullptr, nullptr};
    Bytes out;
    EXPECT_EQ(encode(&out,
                     [&](unsigned char **pos, QorLong *room) {
                         return _qor_encd_defer(&world, pos, room, &nothing);
                     }),
              kNullInput);
}

// ---------------------------------------------------------------- retained extensions

TEST_F(RetainedExtension, ChainKeepsEachAdditionAndIsFreedWhole)
{
    // Three unknown additions, the last one empty, after the known fields.
    const Bytes additions = hex("82 01 07 A3 80 05 00 00 00 84 00");
    const Bytes expected[] = {hex("82 01 07"), hex("A3 80 05 00 00 00"), hex("84 00")};
    unsigned char tempBuffer[4096];
    for (bool callerTemp : {false, true}) {
        SCOPED_TRACE(callerTemp ? "caller's temporary buffer" : "temporary blocks");
        if (callerTemp) {
            QorBuf buffer = {sizeof tempBuffer, tempBuffer};
            ASSERT_EQ(qorSetTemporaryBuffer(&world, &buffer), 0);
            world.tempLow = world.privateArea->tempBuffer;
            world.tempHigh = world.tempLow + world.privateArea->tempBufferSize;
        }
        unsigned char *tempStart = world.tempLow;
        EXPECT_EQ(decoded(additions,
                          [&](unsigned char **pos, QorLong *room) {
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
                                  _qor_dec_rsf_ext(&world, pos, room, enclosing, &chain, &savedPos,
                                                   &savedRoom, &count);
                                  EXPECT_EQ(*pos, savedPos);
                                  EXPECT_EQ(*room, savedRoom);
                              }
                              EXPECT_EQ(count, 3);
                              std::vector<const unsigned char *> values;
                              const QorExtensionAddition *r = head;
                              for (int i = 0; i < 3; i++, r = r->next) {
                                  ASSERT_NE(r, nullptr);
                                  EXPECT_EQ(Bytes(r->value, r->value + r->length), expected[i]);
                                  EXPECT_EQ(r->next->prev, r);
                                  values.push_back(r->value);
                              }
                              EXPECT_EQ(r, chain) << "the last record is the current one";
                              EXPECT_EQ(r->length, 0);
                              EXPECT_EQ(r->value, nullptr);
                              EXPECT_EQ(r->next, nullptr);
                              _qor_free_rsf_ext(&world, head);
                              // The octets belong to the decoded value and stay.
                              for (int i = 0; i < 3; i++)
                                  EXPECT_EQ(Bytes(values[i], values[i] + expected[i].size()),
                                            expected[i]);
                          }),
                  0)
            << world.errMsgBuffer;
        if (callerTemp) {
            EXPECT_EQ(world.tempLow, tempStart) << "temporary buffer given back";
            ASSERT_EQ(qorSetTemporaryBuffer(&world, nullptr), 0);
            world.tempLow = world.tempHigh = nullptr;
        } else {
            EXPECT_EQ(world.tempBlockList, nullptr) << "temporary blocks given back";
        }
    }
}

TEST_F(RetainedExtension, FailedAdditionLeavesTheChainToTheDriver)
{
    for (const char *text : {"82 05 07", "A3 80 05 00", "00 00", ""}) {
        SCOPED_TRACE(text);
        const Bytes input = hex(text);
        QorLong count = 0;
        int code = decoded(input, [&](unsigned char **pos, QorLong *room) {
            auto *head = static_cast<QorExtensionAddition *>(
                _qor_dec_gettempmem(&world, sizeof(QorExtensionAddition)));
            memset(head, 0, sizeof *head);
            QorExtensionAddition *chain = head;
            unsigned char *savedPos = *pos;
            QorLong savedRoom = *room;
            _qor_dec_rsf_ext(&world, pos, room, -1, &chain, &savedPos, &savedRoom, &count);
        });
        EXPECT_EQ(code, input.size() == 2 ? kDataError : kMoreInput);
        EXPECT_EQ(count, 0);
        freeTempBlocks();
    }
    // Length 0: no addition to keep.
    Bytes input = hex("05 00");
    EXPECT_EQ(decoded(input,
                      [&](unsigned char **pos, QorLong *room) {
                          QorExtensionAddition head = {};
                          QorExtensionAddition *chain = &head;
                          QorLong count = 0;
                          unsigned char *savedPos = *pos;
                          QorLong savedRoom = *room;
                          _qor_dec_rsf_ext(&world, pos, room, 0, &chain, &savedPos, &savedRoom,
                                           &count);
                      }),
              kDataError);
    EXPECT_TRUE(messageHas("0089E")) << world.errMsgBuffer;
    freeTempBlocks();
    _qor_free_rsf_ext(&world, nullptr);
}
