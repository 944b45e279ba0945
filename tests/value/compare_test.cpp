// Value compare: the bit, list, unbounded, huge-integer, time-text and
// character-real primitives, and the default test the encoders ask.
#include <cstring>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

TEST(Compare, BitStrings)
{
    const struct {
        const char *first;
        QorULong firstBits;
        const char *second;
        QorULong secondBits;
        int membits; // over the shorter length
        int arrbits;
    } rows[] = {
        {"A0", 4, "A0", 6, 0, 0}, // 1010 and 101000
        {"A1", 4, "A1", 8, 0, 1}, // 1010 and 10100001
        {"A0", 4, "AF", 4, 0, 0}, // bits past the length do not count
        {"A0", 3, "B0", 3, 0, 0},
        {"A0", 4, "B0", 4, 1, 1},
        {"FF01", 16, "FF00", 16, 1, 1},
        {"FF00", 9, "FF7F", 16, 0, 1},
        {"", 0, "00", 8, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.first << " " << row.second);
        Bytes a = hex(row.first);
        Bytes b = hex(row.second);
        const QorULong shorter = std::min(row.firstBits, row.secondBits);
        EXPECT_EQ(_qor_cmp_membits(a.data(), b.data(), shorter), row.membits);
        EXPECT_EQ(_qor_cmp_arrbits(a.data(), b.data(), row.firstBits, row.secondBits), row.arrbits);
        EXPECT_EQ(_qor_cmp_arrbits(b.data(), a.data(), row.secondBits, row.firstBits), row.arrbits);
    }
}

struct Node {
    Node *next;
    QorLong payload;
};

TEST(Compare, ListsAndUnboundedValues)
{
    Node a[3] = {{&a[1], 1}, {&a[2], 2}, {nullptr, 3}};
    Node b[3] = {{&b[1], 1}, {&b[2], 2}, {nullptr, 3}};
    Node shorter[2] = {{&shorter[1], 1}, {nullptr, 2}};
    Node *head = a;
    Node *empty = nullptr;
    const auto size = static_cast<QorLong>(sizeof(QorLong));
    EXPECT_EQ(_qor_cmp_link_obj(&head, b, size), 0) << "a head, and the other's first element";
    EXPECT_EQ(_qor_cmp_link_obj(&head, shorter, size), 1);
    EXPECT_EQ(_qor_cmp_link_objid(shorter, a, size), 1);
    EXPECT_EQ(_qor_cmp_link_obj(&empty, nullptr, size), 0);
    EXPECT_EQ(_qor_cmp_link_objid(nullptr, a, size), 1);
    b[2].payload = 4;
    EXPECT_EQ(_qor_cmp_link_objid(a, b, size), 1);

    struct Unbounded {
        QorULong count;
        const unsigned char *data;
    };
    const unsigned char x[] = {1, 2, 3, 4};
    const unsigned char y[] = {1, 2, 3, 5};
    const struct {
        Unbounded first;
        Unbounded second;
        int width;
        QorLong elementSize;
        int result;
    } rows[] = {
        {{4, x}, {4, y}, 4, 1, 1},
        {{3, x}, {3, y}, 4, 1, 0},
        {{2, x}, {2, y}, 4, 2, 1},
        {{31, x}, {31, y}, 4, -1, 0}, // bits: the last one differs
        {{32, x}, {32, y}, 4, -1, 1},
        {{0, x}, {0, nullptr}, 4, -1, 0},
        {{0x10002, x}, {0x20002, x}, 2, 1, 0}, // 16 bits of counter
        {{3, x}, {2, x}, 4, 1, 1},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(_qor_cmp_unbnd_octet_ia(&row.first, &row.second, row.width, row.elementSize,
                                          offsetof(Unbounded, data)),
                  row.result)
            << row.first.count << " " << row.elementSize;
    }
}

TEST(Compare, HugeIntegers)
{
    const struct {
        const char *first;
        const char *second;
        int isSigned;
        int order;
    } rows[] = {
        {"00 80", "80", 1, 1}, // 128 and -128
        {"FF 80", "80", 1, 0}, // -128 twice
        {"00 00 7F", "7F", 1, 0},
        {"", "00", 1, -1},
        {"", "", 1, 0},
        {"01", "", 0, 1},
        {"FF 7F", "80", 1, -1}, // -129 and -128: the longer negative is smaller
        {"01 00", "7F", 1, 1},
        {"80", "7F", 1, -1},
        {"80", "7F", 0, 1},
        {"00 00 FF", "FF", 0, 0},
        {"01 00", "FF", 0, 1},
    };
    struct Huge {
        QorULong count;
        unsigned char *data;
    };
    for (const auto &row : rows) {
        Bytes a = hex(row.first);
        Bytes b = hex(row.second);
        Huge x = {static_cast<QorULong>(a.size()), a.data()};
        Huge y = {static_cast<QorULong>(b.size()), b.data()};
        EXPECT_EQ(_qor_cmp_huge_int_ia(&x, &y, 4, row.isSigned, offsetof(Huge, data)), row.order)
            << row.first << " " << row.second;
        EXPECT_EQ(_qor_cmp_huge_int_ia(&y, &x, 4, row.isSigned, offsetof(Huge, data)), -row.order);
    }
}

// The order itself, special values and malformed text included, is the
// decimal comparison's (DecimalTest.CompareOrdersByValue): here its codes.
TEST(Compare, CharacterReals)
{
    const struct {
        const char *first;
        const char *second;
        int result;
    } rows[] = {
        {"0", "0.000E5", 0},
        {"-2", "-10", 3},
        {"123.4", "123.5", 2},
        {"12", "12.0001", 2},
        {"", "0", 4},
    };
    for (const auto &row : rows)
        EXPECT_EQ(compare_char_real(nullptr, row.first, row.second), row.result) << row.first;
    const char *same = "1";
    EXPECT_EQ(compare_char_real(nullptr, same, same), 0);
    EXPECT_EQ(compare_char_real(nullptr, nullptr, nullptr), 0);
}

TEST(Compare, TimeTexts)
{
    const struct {
        const char *first;
        const char *second;
        int isUTCTime;
        int same;
    } rows[] = {
        {"20000101000000.5Z", "20000101000000.500Z", 0, 1},
        {"20000101000000Z", "20000101000000", 0, 1}, // UTC or local is not looked at
        {"20000101000000z", "2000010100Z", 0, 1}, // fields not written are zero
        {"20000101000000+0100", "20000101000000Z", 0, 0},
        {"20000101000000-0130", "20000101000000-0130", 0, 1},
        {"2000010112.5", "200001011230", 0, 1}, // half an hour
        {"200001011230,25", "20000101123015", 0, 1}, // a quarter of a minute
        {"20000101120000.12345", "20000101120000.123", 0, 1}, // digits past four skipped
        {"20000101120000.1235", "20000101120000.124", 0, 1}, // rounded at the last place
        {"20000101120000.1295", "20000101120000.129", 0, 1}, // not after a 9
        {"2000010112.99999999", "20000101125959.999", 0, 1}, // never a whole hour
        {"20000101", "2000010100", 0, 1},
        {"200001", "200001", 0, 0}, // no day
        {"20000101.5", "20000101.5", 0, 0}, // a fraction of a day
        {"2000010112.", "2000010112.", 0, 0},
        {"200001011Z", "200001011Z", 0, 0}, // a field of one digit
        {"20000101120000Zx", "20000101120000Zx", 0, 0},
        {"20000101120000+01", "20000101120000+01", 0, 0},
        {"0001011200Z", "0001011200+0000", 1, 1},
        {"00010112Z", "00010112Z", 1, 1},
        {"000101Z", "000101Z", 1, 0}, // UTCTime needs its hour
        {"0001011200", "0001011200", 1, 0}, // and its zone
        {"000101120000.5Z", "000101120000.5Z", 1, 0},
        {nullptr, "20000101", 0, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(_qor_cmp_str2time(row.first, row.second, row.isUTCTime), row.same)
            << (row.first ? row.first : "null") << " " << row.second;
    }
}

using DefaultTest = ContextTest;

TEST_F(DefaultTest, EachKindOfLayout)
{
    // A counter (16 or 32 bits, by `size`) and a pointer at 8, or inline data at 4.
    struct Counted {
        QorULong count;
        const void *data;
    };
    struct Inline {
        uint16_t count;
        unsigned char data[6];
    };
    struct Link {
        Link *next;
        QorLong payload;
    };
    static const unsigned char ab[] = {'a', 'b', 0, 0};
    static const unsigned char ac[] = {'a', 'c', 0, 0};
    static const unsigned char huge[] = {0x00, 0x00, 0x80};
    static const unsigned char shortHuge[] = {0x00, 0x80};
    static Counted none = {0, nullptr};
    static Counted noneToo = {0, ab};
    static Counted two = {2, ab};
    static Counted twoOther = {2, ac};
    static Counted hugeValue = {3, huge};
    static Counted hugeShort = {2, shortHuge};
    static Counted hugeNegative = {1, shortHuge + 1};
    static Inline inlineEmpty = {0, {}};
    static Inline inlineTwo = {2, {'a', 'b'}};
    static Inline inlineOther = {2, {'a', 'c'}};
    static double zero = 0.0;
    static double minusZero = -0.0;
    static unsigned char yes = 1;
    static unsigned char yesToo = 3;
    static unsigned char no = 2;
    static int16_t bitsA = 0x7F00;
    static int16_t bitsB = 0x7F01;
    static Link tail = {nullptr, 5};
    static Link listA = {&tail, 4};
    static Link listB = {nullptr, 4};
    const QorLong pointerAt = offsetof(Counted, data);
    const QorLong inlineAt = offsetof(Inline, data);
    const struct {
        int kind;
        const void *value;
        const void *dflt;
        QorLong size;
        QorLong offset;
        QorLong extra;
        int result;
    } rows[] = {
        {0, &zero, &minusZero, 8, 0, 0, 1}, // fixed cells octet by octet
        {0, &zero, &zero, 8, 0, 0, 0},
        {1, &bitsA, &bitsB, 2, 0, 31, 0}, // sign-extended, big-endian: the last bit unseen
        {1, &bitsA, &bitsB, 2, 0, 32, 1},
        {2, ab, ac, 0, 0, 14, 0},
        {2, ab, ac, 0, 0, 16, 1},
        {3, &none, &noneToo, 4, pointerAt, 0, 0}, // two empty bit strings are equal
        {3, &two, &twoOther, 4, pointerAt, 0, 0}, // two bits of 'a'
        {4, &inlineEmpty, &inlineEmpty, 2, inlineAt, 0, 0},
        {9, &inlineTwo, &inlineOther, 2, inlineAt, 0, 1},
        {10, &none, &noneToo, 4, pointerAt, 0, 0},
        {10, &two, &twoOther, 4, pointerAt, 0, 1},
        {53, &two, &two, 4, pointerAt, 0, 0},
        {62, &hugeValue, &hugeShort, 4, pointerAt, 1, 0}, // 128 either way
        {62, &hugeNegative, &hugeShort, 4, pointerAt, 1, 1},
        {62, &hugeNegative, &hugeShort, 4, pointerAt, 0, 0}, // unsigned: 0x80 both
        {62, &none, &none, 4, pointerAt, 1, 0},
        {8, &yes, &yesToo, 1, 0, 0, 0}, // the lowest bit only
        {8, &yes, &no, 1, 0, 0, 1},
        {24, "1.50", "1.5", 0, 0, 0, 1}, // a text REAL as a string
        {59, "1.5", "1.5", 0, 0, 0, 0},
        {26, &inlineEmpty, &inlineEmpty, 1, inlineAt, 0, 1}, // two empty values differ
        {26, &inlineTwo, &inlineTwo, 1, inlineAt, 0, 0},
        {28, &none, &none, 1, pointerAt, 0, 1},
        {63, &inlineEmpty, &inlineEmpty, 2, inlineAt, 0, 1},
        {74, &none, &none, 4, pointerAt, -1, 1},
        {74, &two, &two, 4, pointerAt, -1, 0},
        {27, &listA, &listA, 4, offsetof(Link, payload), 0, 0},
        {27, &listA, &listB, 4, offsetof(Link, payload), 0, 1},
        {75, &zero, &zero, 8, 0, 0, 255},
        {11, &zero, &zero, 8, 0, 0, 255},
    };
    for (int rules : {QOR_PER_ALIGNED, QOR_PER_UNALIGNED, QOR_OER, QOR_DER, QOR_BER, QOR_CER}) {
        world.encRules = rules;
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "rules " << rules << " kind " << row.kind);
            unsigned char result = 0;
            const int code = inFrame(&world, QOR_OP_ENCODE, [&] {
                result = _qor_not_dflt_ia(&world, row.value, row.dflt, row.size, row.offset,
                                          row.extra, row.kind);
            });
            if (rules == QOR_BER || rules == QOR_CER) {
                EXPECT_EQ(result, 1) << "only PER, DER and OER leave a DEFAULT out";
            } else if (rules == QOR_DER && row.result == 255) {
                EXPECT_EQ(code, 30); // "Data type is not supported by DER time-optimized encoder"
                EXPECT_TRUE(messageHas("0116S"));
            } else {
                EXPECT_EQ(code, 0);
                EXPECT_EQ(result, row.result);
            }
        }
    }
}

} // namespace
