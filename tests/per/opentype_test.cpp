// PER open types: the fast push and pop against a nested encoding handed to
// the open type writer, in every buffer mode and at every bit offset; the
// decoder's push and pop, extension bitmaps and skipping; hostile lengths.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "per/per_support.h"
#include "support/vectors.h"

namespace {

using qortest::Bytes;
using qortest::hex;

constexpr int kBufferTooSmallCode = QOR_BUFFER_TOO_SMALL;
constexpr int kEmptyOpenTypeCode = 5; // message 82

// Where an encoding goes: the library's blocks, or a caller's buffer.
struct Target {
    const char *name;
    bool userBuffer;
    long shortBy; // octets less than the encoding needs
};

class OpenTypeTest : public pertest::PerTest {
protected:
    // Encodes by `body` into `target`; returns the code, the octets in `out`.
    int encodeInto(bool aligned, const Target &target, size_t size, const std::function<void()> &body,
                   Bytes *out)
    {
        if (!target.userBuffer)
            return encode(aligned, body, out);
        qortest::startWriting(&world, aligned);
        buffer.assign(size, 0xEE);
        world.userBuffer = 1;
        world.outPos = buffer.data();
        world.outRoom = world.totalBytes = static_cast<QorLong>(size);
        int code = framed(QOR_OP_ENCODE, body);
        out->assign(buffer.begin(), buffer.end() - world.outRoom);
        if (code == 0 && world.bitOffset != 0)
            out->push_back(*world.outPos);
        world.userBuffer = 0;
        return code;
    }
    Bytes buffer;
};

// `lead` octets and bits before the open type, then `contentBits` bits of
// contents, then three marker bits: the cursor must end where the length
// and the padded contents leave it.
struct Shape {
    size_t leadOctets;
    unsigned leadBits;
    size_t contentBits;
};

Bytes contentOf(size_t bits)
{
    Bytes v = qortest::pattern((bits + 7) / 8, static_cast<unsigned>(bits));
    if (bits % 8 != 0)
        v.back() &= static_cast<unsigned char>(0xFF00u >> (bits % 8));
    return v;
}

void writeLead(QorGlobal *world, const Shape &s, const Bytes &lead)
{
    _qor_append(world, lead.data(), static_cast<QorULong>(s.leadOctets * 8 + s.leadBits), 0);
}

// The reference: the contents as a finished encoding of whole octets (an
// empty one is one zero octet) through the open type writer.
void writeNested(QorGlobal *world, const Shape &s, const Bytes &lead, const Bytes &content)
{
    writeLead(world, s, lead);
    Bytes whole = content.empty() ? Bytes{0} : content;
    QorOpenType value = {0, static_cast<QorULong>(whole.size()), whole.data(), nullptr};
    _qor_penc_opentype(world, &value);
    _qor_append_3bit_unaligned(world, 0xA0);
}

void writeInPlace(QorGlobal *world, const Shape &s, const Bytes &lead, const Bytes &content)
{
    writeLead(world, s, lead);
    _qor_fast_push_global(world);
    _qor_append(world, content.data(), static_cast<QorULong>(s.contentBits), 0);
    _qor_fast_pop_global(world);
    _qor_append_3bit_unaligned(world, 0xA0);
}

std::vector<Shape> shapes()
{
    std::vector<Shape> all;
    for (unsigned offset = 0; offset < 8; offset++) {
        for (size_t bits = 0; bits <= 24; bits++)
            all.push_back({0, offset, bits});
        for (size_t octets : {127, 128, 16383, 16384, 70000})
            all.push_back({0, offset, octets * 8});
        // The push at a block's last octet, or with it just filled.
        all.push_back({1023, offset, 16});
        all.push_back({1023, offset, 200 * 8});
        all.push_back({1024, offset, 5});
    }
    return all;
}

} // namespace

TEST_F(OpenTypeTest, FastPopWritesWhatANestedEncodingWould)
{
    const Bytes lead = qortest::pattern(1100, 7);
    pertest::bothVariants([&](bool aligned) {
        for (const Shape &s : shapes()) {
            SCOPED_TRACE(testing::Message() << s.leadOctets << " octets and " << s.leadBits
                                            << " bits, then " << s.contentBits << " bits");
            const Bytes content = contentOf(s.contentBits);
            Bytes expected, got;
            ASSERT_EQ(encode(aligned, [&] { writeNested(&world, s, lead, content); }, &expected), 0);
            ASSERT_EQ(encode(aligned, [&] { writeInPlace(&world, s, lead, content); }, &got), 0)
                << world.errMsgBuffer;
            ASSERT_EQ(got, expected);
            EXPECT_EQ(sized(aligned, [&] { writeInPlace(&world, s, lead, content); }),
                      static_cast<long>(expected.size()));
            const Target exact{"caller's buffer", true, 0}, tight{"one octet short", true, 1};
            for (const Target &t : {exact, tight}) {
                SCOPED_TRACE(t.name);
                const int code = encodeInto(aligned, t, expected.size() - t.shortBy,
                                            [&] { writeInPlace(&world, s, lead, content); }, &got);
                if (t.shortBy == 0) {
                    ASSERT_EQ(code, 0) << world.errMsgBuffer;
                    EXPECT_EQ(got, expected);
                } else {
                    EXPECT_EQ(code, kBufferTooSmallCode);
                }
            }
        }
    });
}

// Five open types, each inside the last: the fifth push takes a frame of
// temporary memory, the pop that empties it gives it back.
TEST_F(OpenTypeTest, FivePushesNest)
{
    pertest::bothVariants([&](bool aligned) {
        std::function<void(int)> inPlace = [&](int depth) {
            _qor_append_3bit_unaligned(&world, static_cast<unsigned char>(depth << 5));
            if (depth == 5)
                return;
            _qor_fast_push_global(&world);
            inPlace(depth + 1);
            _qor_fast_pop_global(&world);
            _qor_append_5bit_unaligned(&world, 0xA8);
        };
        // Inside out: each level a finished encoding of its own.
        Bytes inner;
        for (int depth = 5; depth >= 1; depth--) {
            Bytes level;
            ASSERT_EQ(encode(aligned,
                             [&] {
                                 _qor_append_3bit_unaligned(&world, static_cast<unsigned char>(depth << 5));
                                 if (depth == 5)
                                     return;
                                 QorOpenType value = {0, static_cast<QorULong>(inner.size()), inner.data(), nullptr};
                                 _qor_penc_opentype(&world, &value);
                                 _qor_append_5bit_unaligned(&world, 0xA8);
                             },
                             &level),
                      0);
            inner = level;
        }
        Bytes got;
        ASSERT_EQ(encode(aligned, [&] { inPlace(1); }, &got), 0) << world.errMsgBuffer;
        EXPECT_EQ(got, inner);
        EXPECT_EQ(sized(aligned, [&] { inPlace(1); }), static_cast<long>(inner.size()));
    });
}

// The decoder's view of an open type: read in place or joined, and what
// the pop says of contents left unread.
TEST_F(OpenTypeTest, PushAndPop)
{
    struct Case {
        const char *name;
        bool aligned;
        const char *input;
        unsigned leadBits;  // read before the push
        QorULong readBits;  // read inside
        int strict, relaxed; // codes
    } cases[] = {
        {"one zero octet for an empty value", true, "01 00", 0, 0, 0, 0},
        {"two octets, the second unread", true, "02 12 34", 0, 8, pertest::kMisencodedCode, 0},
        {"two octets, all read", true, "02 12 34", 0, 16, 0, 0},
        {"read past the contents", true, "01 12 34", 0, 9, pertest::kEndOfInputCode,
         pertest::kEndOfInputCode},
        {"length past the input", true, "03 12 34", 0, 0, pertest::kEndOfInputCode,
         pertest::kEndOfInputCode},
        {"empty contents", true, "00", 0, 0, 0, 0},
        // Unaligned, three bits in: the length and contents straddle octets.
        {"in place off a boundary", false, "A0 42 46 80", 3, 16, 0, 0},
        {"one bit past the contents", false, "A0 42 46 80", 3, 17, pertest::kEndOfInputCode, 0},
        {"contents cut off", false, "A0 42 46", 3, 0, pertest::kEndOfInputCode,
         pertest::kEndOfInputCode},
    };
    for (const Case &c : cases) {
        for (bool lenient : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.name << (lenient ? " relaxed" : ""));
            unsigned char read[8] = {};
            int offsetAfter = -1;
            const int code = decode(c.aligned, hex(c.input), [&] {
                if (c.leadBits != 0)
                    _qor_get_bits(&world, read, c.leadBits, 0);
                _qor_pdec_push(&world);
                if (c.readBits != 0)
                    _qor_get_bits(&world, read, c.readBits, 0);
                _qor_pdec_pop(&world);
                offsetAfter = world.bitOffset;
            }, lenient);
            EXPECT_EQ(code, lenient ? c.relaxed : c.strict) << world.errMsgBuffer;
            if (code == 0) {
                EXPECT_EQ(offsetAfter, static_cast<int>(c.leadBits));
            }
        }
    }
}

TEST_F(OpenTypeTest, FragmentsAreJoined)
{
    const Bytes content = qortest::pattern(70000, 3);
    pertest::bothVariants([&](bool aligned) {
        Bytes encoding;
        QorOpenType value = {0, static_cast<QorULong>(content.size()), const_cast<unsigned char *>(content.data()), nullptr};
        ASSERT_EQ(encode(aligned, [&] { _qor_penc_opentype(&world, &value); }, &encoding), 0);
        ASSERT_EQ(encoding[0], 0xC4);
        Bytes inner(content.size());
        QorLong room = 0;
        ASSERT_EQ(decode(aligned, encoding, [&] {
            _qor_pdec_push(&world);
            room = world.inRoom;
            _qor_get_bits(&world, inner.data(), static_cast<QorULong>(content.size() * 8), 0);
            _qor_pdec_pop(&world);
        }), 0) << world.errMsgBuffer;
        EXPECT_EQ(room, 70000);
        EXPECT_EQ(inner, content);
        EXPECT_EQ(world.inRoom, 0);
    });
}

TEST_F(OpenTypeTest, EmptyOpenTypes)
{
    QorOpenType empty = {0, 0, nullptr, nullptr};
    EXPECT_EQ(encode(true, [&] { _qor_penc_opentype(&world, &empty); }), kEmptyOpenTypeCode);
    // Where the generated code expects contents, an empty open type is refused.
    EXPECT_EQ(decode(true, hex("00"), [&] {
                  world.expectOpenTypeContent = 1;
                  _qor_pdec_push(&world);
              }),
              kEmptyOpenTypeCode);
    EXPECT_EQ(world.expectOpenTypeContent, 0);
    QorOpenType got = {5, 0, nullptr, &got};
    EXPECT_EQ(decode(true, hex("00"), [&] { _qor_pdec_opentype(&world, &got); }), 0);
    EXPECT_EQ(got.pduNum, 0);
    EXPECT_EQ(got.decoded, nullptr);
    world.decodingFlags |= AUTOMATIC_ENCDEC;
    EXPECT_EQ(decode(true, hex("00"), [&] { _qor_pdec_opentype(&world, &got); }), kEmptyOpenTypeCode);
    world.decodingFlags &= ~QorULong{AUTOMATIC_ENCDEC};
}

// Extension additions: the bit mask, the known ones read in between, the
// rest stepped over.
TEST_F(OpenTypeTest, UnknownAdditionsAreSteppedOver)
{
    struct Case {
        const char *name;
        const char *input; // the mask's length and bits, the open types, a last octet
        QorULong known;
        int code;
    } cases[] = {
        // Three additions, the first and third present; one octet each.
        {"none known", "05 40 01 11 02 22 33 5A", 0, 0},
        {"the first known", "05 40 01 11 02 22 33 5A", 1, 0},
        {"an open type past the input", "05 40 01 11 09 22 33 5A", 0, pertest::kEndOfInputCode},
        {"a mask past the input", "7E", 0, pertest::kEndOfInputCode},
        // A length of 10^6 bits comes in fragments, which a mask can't.
        {"a mask of a million bits", "80 C4 00 00", 0, pertest::kMisencodedCode},
        {"a fragmented open type cut short", "01 C4 00", 0, pertest::kEndOfInputCode},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        unsigned char last = 0;
        const int code = decode(true, hex(c.input), [&] {
            unsigned char *mask = nullptr;
            const QorULong bits = _qor_pdec_eap(&world, &mask);
            if (c.known != 0) {
                _qor_pdec_push(&world);
                _qor_get_bits(&world, &last, 8, 0);
                _qor_pdec_pop(&world);
            }
            _qor_pdec_eas(&world, mask, bits, c.known);
            _qor_get_bits(&world, &last, 8, 1);
        });
        EXPECT_EQ(code, c.code) << world.errMsgBuffer;
        if (code == 0) {
            EXPECT_EQ(last, 0x5A);
        }
    }
    // Strict rules refuse an empty mask and an empty open type.
    world.decodingFlags |= STRICT_ENCODING_DECODING_RULES;
    EXPECT_EQ(decode(true, hex("00 00"), [&] {
                  unsigned char *mask = nullptr;
                  _qor_pdec_eap(&world, &mask);
              }),
              pertest::kMisencodedCode);
    EXPECT_EQ(decode(true, hex("00"), [&] { _qor_pdec_sot(&world); }), pertest::kMisencodedCode);
    world.decodingFlags &= ~QorULong{STRICT_ENCODING_DECODING_RULES};
}

// The extensible module's first version knows no addition: it steps over
// the second child's `sex` and decodes the rest.
TEST_F(OpenTypeTest, AnEarlierVersionStepsOverTheAddition)
{
    for (const char *rule : {"PER", "UPER"}) {
        SCOPED_TRACE(rule);
        const std::vector<qortest::Vector> found = qortest::vectorsFor("personnel-extensible.asn", rule);
        if (found.empty())
            GTEST_SKIP() << "reference vectors not found";
        world.encRules = rule[0] == 'U' ? QOR_PER_UNALIGNED : QOR_PER_ALIGNED;
        void *out = nullptr;
        ASSERT_EQ(qortest::decodePdu(&world, found[0].encoding, PDU_PersonnelExtensibleFirst, &out), 0)
            << world.errMsgBuffer;
        qortest::expectPersonnel(out, personnelExample);
        EXPECT_EQ(qorFreePDU(&world, PDU_PersonnelExtensibleFirst, out), 0);
    }
}
