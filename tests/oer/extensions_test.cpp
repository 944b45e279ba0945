// OER contents whose length goes in front: the reserved octet and the
// content moved for a long length, at every size class and place in the
// blocks, in every output mode; the marks without a reserved octet; the
// extension bit map, retained extensions, skipping unknown ones, and the
// types outside OER.
#include "oer_support.h"

namespace {

using oertest::Bytes;
using qortest::hex;

class OerExtensions : public oertest::OerTest {};

Bytes longForm(QorULong length)
{
    unsigned char out[5];
    return Bytes(out, out + _qor_oenc_enc_length(length, out));
}

// A content of each size class after `filler` octets: at the start, inside
// the first block, with the reserved octet as a block's last, and as the
// last of the 52 blocks that one record of the block list holds. Behind a
// reserved octet or behind a mark only; an octet written after shows where
// the cursor was left.
TEST_F(OerExtensions, ContentsOfEverySizeAnywhereInTheOutput)
{
    constexpr size_t kBlock = QOR_BLOCK_SIZE;
    for (bool reserved : {true, false}) {
        for (QorULong size : {0u, 127u, 128u, 65536u}) {
            for (size_t filler : {size_t{0}, size_t{1000}, kBlock - 1, 52 * kBlock - 1}) {
                SCOPED_TRACE(testing::Message() << (reserved ? "end_ext " : "calc_enclen ") << size
                                                << " after " << filler);
                const Bytes before = qortest::pattern(filler, 7);
                const Bytes content = qortest::pattern(size, 3);
                QorULong result = 0;
                auto body = [&] {
                    QorOerPosition at;
                    _qor_oenc_append_bytes(&world, before.data(), static_cast<QorULong>(before.size()));
                    if (reserved)
                        _qor_oenc_begin_ext(&world, &at);
                    else
                        _qor_oenc_store_encpos(&world, &at);
                    for (QorULong done = 0; done < size; done += 100)
                        _qor_oenc_append_bytes(&world, content.data() + done, std::min(100u, size - done));
                    result = reserved ? _qor_oenc_end_ext(&world, &at) : _qor_oenc_calc_enclen(&world, &at);
                    _qor_oenc_append_byte(&world, 0xEE);
                };
                Bytes want = before;
                if (reserved) {
                    const Bytes length = size < 128 ? Bytes{static_cast<unsigned char>(size)} : longForm(size);
                    want.insert(want.end(), length.begin(), length.end());
                }
                want.insert(want.end(), content.begin(), content.end());
                want.push_back(0xEE);
                expectCoded(want, body, nullptr);
                EXPECT_EQ(result, size);
            }
        }
    }
}

// Empty content that must not be empty is one 0 octet.
TEST_F(OerExtensions, EmptyContentThatMustNotBe)
{
    for (bool reserved : {true, false}) {
        QorULong result = 0;
        auto body = [&] {
            QorOerPosition at;
            _qor_oenc_append_byte(&world, 0xAA);
            if (reserved)
                _qor_oenc_begin_ext(&world, &at);
            else
                _qor_oenc_store_encpos(&world, &at);
            at.mustNotBeEmpty = 1;
            result = reserved ? _qor_oenc_end_ext(&world, &at) : _qor_oenc_calc_enclen(&world, &at);
        };
        expectCoded(hex(reserved ? "AA 01 00" : "AA 00"), body, nullptr);
        EXPECT_EQ(result, 1u);
    }
}

TEST_F(OerExtensions, BitMapsAndRetainedExtensions)
{
    const struct {
        const char *known;
        QorULong knownBits;
        const char *retained;
        QorULong retainedBits;
        const char *octets;
    } maps[] = {
        {"", 0, "", 0, "01 00"},
        {"80", 1, "", 0, "02 07 80"},
        {"BF", 3, "FF", 2, "02 03 B8"},  // bits past the counts are dropped
        {"FF 80", 9, "FE", 7, "03 00 FF FF"},
        {"5A", 8, "AB C0", 12, "04 04 5A AB C0"},
        {"", 0, "C3", 8, "02 00 C3"},
    };
    for (const auto &m : maps) {
        const Bytes known = hex(m.known), retained = hex(m.retained);
        Bytes got;
        ASSERT_EQ(encode([&] {
            _qor_oenc_rsf_ext_bitmask(&world, known.empty() ? nullptr : known.data(), m.knownBits,
                                      retained.empty() ? nullptr : retained.data(), m.retainedBits);
        }, &got), 0);
        EXPECT_EQ(got, hex(m.octets)) << m.octets;
    }
    const unsigned char two[] = {0xAA, 0xBB};
    const struct {
        QorULong number;
        const char *octets;
    } retained[] = {
        {5, "05 02 AA BB"},
        {300, "01 2C 02 AA BB"},
        {70000, "01 11 70 02 AA BB"},
    };
    for (const auto &r : retained) {
        Bytes got;
        ASSERT_EQ(encode([&] { _qor_oenc_rsf_ext(&world, r.number, 2, two); }, &got), 0);
        EXPECT_EQ(got, hex(r.octets)) << r.number;
    }
}

// Additions this version doesn't know are stepped over by their lengths;
// a known one ends where its length says.
TEST_F(OerExtensions, SkippingWhatIsNotKnown)
{
    const struct {
        const char *mask;
        QorULong first, end;
        const char *input;
        int code;
        int skipped;
        long read;
    } rows[] = {
        {"A0", 0, 3, "01 AA 02 BB CC 05", 0, 1, 5},
        {"A0", 1, 3, "01 AA 02 BB CC 05", 0, 1, 2},
        {"00", 0, 8, "01 AA", 0, 0, 0},
        {"FF FF", 0, 16, "00", oertest::kEndOfInputCode, 0, 1}, // more bits than the input holds
        {"80", 0, 1, "84 7F FF FF FF AA", oertest::kEndOfInputCode, 0, 5},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.input);
        const Bytes mask = hex(row.mask);
        int skipped = -1;
        EXPECT_EQ(decode(hex(row.input),
                         [&] { skipped = _qor_odec_skip_unknown(&world, mask.data(), row.first, row.end); }),
                  row.code);
        if (row.code == 0) {
            EXPECT_EQ(skipped, row.skipped);
        }
        EXPECT_EQ(read, row.read);
    }
    const struct {
        QorULong length;
        int taken;
        int code;
    } ends[] = {
        {3, 1, 0},
        {3, 3, 0},
        {3, 4, oertest::kMisencodedCode},
        {9, 0, oertest::kEndOfInputCode},
    };
    for (const auto &e : ends) {
        EXPECT_EQ(decode(hex("AA BB CC DD"),
                         [&] {
                             world.inPos += e.taken;
                             _qor_odec_check_bytes(&world, input.data(), e.length);
                         }),
                  e.code) << e.length << " " << e.taken;
        if (e.code == 0) {
            EXPECT_EQ(read, 3);
        }
    }
}

TEST_F(OerExtensions, TypesOutsideOer)
{
    EXPECT_EQ(encode([&] { _qor_oenc_not_supported(&world, 7, "REAL"); }), oertest::kNotSupportedCode);
    EXPECT_TRUE(messageHas("0338S: This version of the OER encoder/decoder does not support ")) << world.errMsgBuffer;
    EXPECT_TRUE(messageHas("REAL"));
    QorLong word = 9;
    EXPECT_EQ(decode(hex("00"), [&] { _qor_odec_not_supported(&world, &word, ""); }), oertest::kNotSupportedCode);
    EXPECT_TRUE(messageHas("0002S: Data type has not been implemented yet"));
    EXPECT_EQ(word, 0);
}

} // namespace
