// Whole numbers as octet arrays: the trim of redundant octets, the limits,
// the semi-constrained reader's fragments, and constrained ranges.
#include <gtest/gtest.h>

#include <string>

#include "per_support.h"

namespace {

using pertest::Bytes;
using qortest::hex;

class HugeTest : public pertest::PerTest {
protected:
    // Decodes with `reader`; the value, or the code in `code`.
    Bytes read(bool aligned, const Bytes &input, QorULong (*reader)(QorGlobal *, unsigned char **), int *code)
    {
        unsigned char *p = nullptr;
        QorULong n = 0;
        *code = decode(aligned, input, [&] { n = reader(&world, &p); });
        Bytes value;
        if (*code == 0 && p != nullptr) {
            value.assign(p, p + n);
        } else if (*code == 0) {
            EXPECT_EQ(n, 0u);
        }
        qortest::releaseBlocks(&world); // decoder memory is listed with the blocks
        return value;
    }
};

TEST_F(HugeTest, TrimmedAndReadBack)
{
    struct Row {
        bool semi;
        const char *value, *encoding, *decoded;
    } rows[] = {
        {false, "00 00 80", "02 00 80", "00 80"},
        {false, "FF FF 7F", "02 FF 7F", "FF 7F"},
        {false, "FF FF FF", "01 FF", "FF"},
        {false, "00", "01 00", "00"},
        {true, "00 00 80", "02 00 80", "00 80"},
        {true, "FF FF", "02 FF FF", "FF FF"}, // a top bit set: written whole
        {true, "00 00 01", "01 01", "01"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << (row.semi ? " semi" : ""));
        pertest::bothVariants([&](bool aligned) {
            const Bytes value = hex(row.value);
            unsigned char *p = nullptr;
            QorULong n = 0;
            expectCoded(aligned, hex(row.encoding), [&] {
                (row.semi ? _qor_penc_semicon_huge_ia : _qor_penc_unconstr_huge_ia)(
                    &world, value.data(), static_cast<QorULong>(value.size()));
            }, [&] { n = (row.semi ? _qor_pdec_semicon_huge_ia : _qor_pdec_unconstr_huge_ia)(&world, &p); });
            EXPECT_EQ(Bytes(p, p + n), hex(row.decoded));
        });
    }
}

TEST_F(HugeTest, Limits)
{
    const Bytes big = qortest::pattern(4097);
    for (auto *writer : {_qor_penc_unconstr_huge_ia, _qor_penc_semicon_huge_ia}) {
        EXPECT_EQ(encode(true, [&] { writer(&world, big.data(), 0); }), pertest::kMisencodedCode);
        EXPECT_EQ(encode(true, [&] { writer(&world, big.data(), 4097); }), pertest::kMisencodedCode);
    }
    int code = -1;
    read(true, hex("00"), _qor_pdec_unconstr_huge_ia, &code);
    EXPECT_EQ(code, pertest::kMisencodedCode);
    Bytes tooLong = hex("90 01");
    tooLong.resize(2 + 4097, 1);
    read(true, tooLong, _qor_pdec_unconstr_huge_ia, &code);
    EXPECT_EQ(code, pertest::kMisencodedCode);
    EXPECT_TRUE(read(true, hex("00"), _qor_pdec_semicon_huge_ia, &code).empty());
    EXPECT_EQ(code, 0);
    // The semi-constrained reader has no limit: fragments are gathered.
    const Bytes items = qortest::pattern(16384 + 3);
    pertest::bothVariants([&](bool aligned) {
        Bytes input = hex("C1");
        input.insert(input.end(), items.begin(), items.begin() + 16384);
        input.push_back(3);
        input.insert(input.end(), items.end() - 3, items.end());
        EXPECT_EQ(read(aligned, input, _qor_pdec_semicon_huge_ia, &code), items);
        EXPECT_EQ(code, 0);
        for (size_t n : {size_t{1}, size_t{100}, size_t{16384}, size_t{16385}, input.size() - 1}) {
            read(aligned, prefix(input, n), _qor_pdec_semicon_huge_ia, &code);
            EXPECT_EQ(code, pertest::kEndOfInputCode) << n;
        }
        read(aligned, hex("C4 00"), _qor_pdec_semicon_huge_ia, &code); // a fragment with short data
        EXPECT_EQ(code, pertest::kEndOfInputCode);
    });
}

// A constrained range: the offset from the bound in the range's field.
TEST_F(HugeTest, LimitedRanges)
{
    constexpr QorULong kRoot = QOR_HUGE_IN_ROOT, kUnsigned = QOR_HUGE_UNSIGNED;
    std::string wideValue = "01", wideOffset = "13";
    for (int i = 0; i < 19; i++) {
        wideValue += " 00";
        wideOffset += " FF";
    }
    struct Row {
        QorULong flags;
        const char *lb; // null: no bound
        std::string value, aligned, unaligned, decoded;
    } rows[] = {
        {kRoot | 16, "FC 18", "05", "03 ED", "03 ED", "05"},     // (-1000..60000) as 16 bits
        {kRoot | kUnsigned | 5, "10", "1F", "78", "78", "1F"},   // 5 bits, no alignment
        {kRoot | kUnsigned | 256, "00", "00 FF", "FF", "FF", "FF"},
        {kRoot | kUnsigned | 40, "00", "01 00", "20 01 00", "00 00 00 01 00", "01 00"},
        {kRoot | QOR_HUGE_EXTENSIBLE | kUnsigned | 3, "00", "05", "50", "50", "05"},
        {QOR_HUGE_EXTENSIBLE | kUnsigned | 3, "00", "01 00", "80 02 01 00", "81 00 80 00", "01 00"},
        {kRoot | QOR_HUGE_AS_LENGTH, "FF", "7F", "01 80", "01 80", "7F"}, // an unsigned offset
        {kRoot, "2A", "2A", "", "", "2A"},                                // one value: no bits
        {kRoot | 5, nullptr, "00 00 80", "02 00 80", "02 00 80", "00 80"},
        {kRoot | kUnsigned | QOR_HUGE_AS_LENGTH, "01", wideValue, wideOffset, wideOffset, wideValue},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << " flags " << std::hex << row.flags);
        const Bytes value = hex(row.value.c_str());
        const Bytes lb = row.lb != nullptr ? hex(row.lb) : Bytes{};
        const unsigned char *lbBytes = row.lb != nullptr ? lb.data() : nullptr;
        const QorULong decodeFlags = row.flags | kRoot;
        pertest::bothVariants([&](bool aligned) {
            unsigned char *p = nullptr;
            QorULong n = 0;
            expectCoded(aligned, hex((aligned ? row.aligned : row.unaligned).c_str()), [&] {
                _qor_penc_limited_huge(&world, value.data(), static_cast<QorULong>(value.size()), lbBytes,
                                       static_cast<QorULong>(lb.size()), row.flags);
            }, [&] { n = _qor_pdec_limited_huge(&world, &p, lbBytes, static_cast<QorULong>(lb.size()), decodeFlags); });
            EXPECT_EQ(Bytes(p, p + n), hex(row.decoded.c_str()));
        });
    }
}

TEST_F(HugeTest, LimitedRefusals)
{
    const Bytes zero = hex("00"), two = hex("01 00"), top = hex("80"), big = qortest::pattern(4097);
    const auto put = [&](const Bytes &v, QorULong flags) {
        return encode(true, [&] {
            _qor_penc_limited_huge(&world, v.data(), static_cast<QorULong>(v.size()), zero.data(), 1, flags);
        });
    };
    EXPECT_EQ(put(Bytes{}, QOR_HUGE_IN_ROOT), pertest::kMisencodedCode);
    EXPECT_EQ(put(big, QOR_HUGE_IN_ROOT), pertest::kOutOfBoundsCode);
    EXPECT_EQ(put(hex("20"), QOR_HUGE_IN_ROOT | QOR_HUGE_UNSIGNED | 5), pertest::kOutOfBoundsCode);
    // Outside an inextensible root: the value in hexadecimal, an unsigned one
    // with a 0 in front of a set top bit.
    EXPECT_EQ(put(two, 5), pertest::kConstraintCode);
    EXPECT_TRUE(messageHas("0062S: Value range constraint violated, value = '0x0100'")) << world.errMsgBuffer;
    EXPECT_EQ(put(top, QOR_HUGE_UNSIGNED | 5), pertest::kConstraintCode);
    EXPECT_TRUE(messageHas("value = '0x080'")) << world.errMsgBuffer;
    const auto get = [&](const char *input, QorULong flags) {
        unsigned char *p = nullptr;
        return decode(true, hex(input), [&] { _qor_pdec_limited_huge(&world, &p, zero.data(), 1, flags); });
    };
    EXPECT_EQ(get("00", QOR_HUGE_AS_LENGTH), pertest::kMisencodedCode);
    EXPECT_EQ(get("C1", QOR_HUGE_AS_LENGTH), pertest::kOutOfBoundsCode); // a fragment
    EXPECT_EQ(get("E0 00 00 00 00 00 00 00 00", 40), pertest::kOutOfBoundsCode); // 8 octets for 40 bits
}

} // namespace
