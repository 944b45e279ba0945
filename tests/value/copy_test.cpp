// Value copy: every PDU of the test schema decoded, copied and compared,
// in the library's memory and in a caller's buffer, with every allocation
// failing in turn; the frame's refusals; open types and their flags; the
// list, unbounded and preamble primitives; the counts; the helpers for
// values built by hand.

#include <string>

#include "frame/world.h"
#include "support/roundtrip.h"
#include "values.h"

using namespace qortest;

namespace {

unsigned char abc[] = "abc";
unsigned char hello[] = "hello";
Raw rawExample = {3, abc};
Raw bagItems[2] = {{3, abc}, {0, nullptr}};
Bag bagExample = {2, bagItems};
Bag bagsItems[2] = {{2, bagItems}, {0, nullptr}};
Bags bagsExample = {2, bagsItems};
QorLong recordNumbers[3] = {1, -2, 300};
// Every optional component present, the CHOICE's last alternative.
Record recordExample = {0xF8, 7, 0, 9, Level_high, {Inner_b_present, 1, 2},
                        {Pick_code_chosen, {5}}, {3, recordNumbers}, -5000000000, 0.25,
                        {2024, 2, 29, 23, 59, 58, 120, 0, 1}};
Raw envelopeRaw = {5, hello};
Envelope envelopeExample = {7, {PDU_Raw, 0, nullptr, &envelopeRaw}};
Chain chainLinks[3] = {{&chainLinks[1], 1}, {&chainLinks[2], -2}, {nullptr, 3}};
Nothing nothingExample = {0};

struct PduCase {
    int rules;
    int pdu;
    void *value;
};
const PduCase kPdus[] = {
    {QOR_BER, PDU_Raw, &rawExample},
    {QOR_BER, PDU_Bag, &bagExample},
    {QOR_BER, PDU_Bags, &bagsExample},
    {QOR_BER, PDU_Record, &recordExample},
    {QOR_BER, PDU_PersonnelRecord, &personnelExample},
    {QOR_BER, PDU_Envelope, &envelopeExample},
    {QOR_BER, PDU_Chain, chainLinks},
    {QOR_DER, PDU_PersonnelConstrained, &personnelExample},
    {QOR_PER_ALIGNED, PDU_Gauges, &gaugesExample},
    {QOR_PER_UNALIGNED, PDU_Texts, &textsExample},
    {QOR_PER_ALIGNED, PDU_Bits, &bitsExample},
    {QOR_PER_UNALIGNED, PDU_PersonnelExtensible, &personnelExtensibleExample},
    {QOR_PER_ALIGNED, PDU_PersonnelExtensibleFirst, &personnelExample},
    {QOR_PER_UNALIGNED, PDU_Leaves, &leavesExample},
    {QOR_OER, PDU_Widths, &widthsExample},
    {QOR_OER, PDU_Levels, &levelsExample},
    {QOR_OER, PDU_Extended, &extendedExample},
    {QOR_OER, PDU_Nothing, &nothingExample},
};

class Copy : public ContextTest {
  protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        // The open type is decoded too, so that its copy runs the entry again.
        world.encodingFlags |= AUTOMATIC_ENCDEC;
        world.decodingFlags |= AUTOMATIC_ENCDEC;
    }

    void *decoded(const PduCase &c)
    {
        world.encRules = c.rules;
        void *value = nullptr;
        EXPECT_EQ(decodePdu(&world, encodePdu(&world, c.pdu, c.value), c.pdu, &value), 0);
        return value;
    }

    // A copy into the library's memory, its comparison with `value`, its free.
    void expectCopyEquals(int pdu, void *value)
    {
        void *copy = nullptr;
        ASSERT_EQ(qorCpyValue(&world, pdu, value, &copy), 0) << qorGetErrMsg(&world);
        ASSERT_NE(copy, nullptr);
        EXPECT_NE(copy, value);
        EXPECT_EQ(qorCmpValue(&world, pdu, value, copy), 0);
        EXPECT_EQ(qorFreePDU(&world, pdu, copy), 0);
    }

    alignas(8) unsigned char buffer[8192];
};

TEST_F(Copy, EveryPduDecodedCopiesEqualAndFreesAll)
{
    for (const PduCase &c : kPdus) {
        SCOPED_TRACE(testSchemaPduNames[c.pdu - 1][0]);
        void *value = decoded(c);
        ASSERT_NE(value, nullptr);
        const long held = CountingAllocator::outstanding;
        expectCopyEquals(c.pdu, value);
        EXPECT_EQ(CountingAllocator::outstanding, held);

        // Every allocation of the copy fails in turn: 8, no copy, nothing kept.
        for (long n = 1; n < 1000; n++) {
            CountingAllocator::failAt = CountingAllocator::calls + n;
            void *copy = nullptr;
            const int code = qorCpyValue(&world, c.pdu, value, &copy);
            CountingAllocator::failAt = 0;
            if (code == 0) {
                EXPECT_EQ(qorFreePDU(&world, c.pdu, copy), 0);
                break;
            }
            ASSERT_EQ(code, QOR_OUT_OF_MEMORY) << "allocation " << n;
            EXPECT_EQ(copy, nullptr);
            EXPECT_EQ(CountingAllocator::outstanding, held) << "allocation " << n;
        }

        // A caller's buffer: as large as the copy needs, and one octet short.
        qorSetDecodingLength(&world, sizeof buffer);
        void *copy = buffer;
        ASSERT_EQ(qorCpyValue(&world, c.pdu, value, &copy), 0);
        EXPECT_EQ(copy, buffer);
        EXPECT_EQ(qorCmpValue(&world, c.pdu, value, copy), 0);
        const auto used = static_cast<QorLong>(world.outPos - buffer);
        qorSetDecodingLength(&world, used);
        copy = buffer;
        memset(buffer, 0xEE, sizeof buffer);
        ASSERT_EQ(qorCpyValue(&world, c.pdu, value, &copy), 0);
        EXPECT_EQ(qorCmpValue(&world, c.pdu, value, copy), 0);
        qorSetDecodingLength(&world, used - 1);
        copy = buffer;
        EXPECT_EQ(qorCpyValue(&world, c.pdu, value, &copy),
                  used > 1 ? QOR_BUFFER_TOO_SMALL : QOR_BAD_ARG);
        EXPECT_EQ(copy, nullptr);
        EXPECT_EQ(CountingAllocator::outstanding, held);
        EXPECT_EQ(qorFreePDU(&world, c.pdu, value), 0);
    }
}

TEST_F(Copy, RefusalsAndFailures)
{
    void *copy = nullptr;
    EXPECT_EQ(qorCpyValue(nullptr, PDU_Raw, &rawExample, &copy), QOR_BAD_ARG);
    EXPECT_EQ(qorCpyValue(&world, PDU_Raw, nullptr, &copy), QOR_BAD_ARG);
    EXPECT_EQ(qorCpyValue(&world, PDU_Raw, &rawExample, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorCmpValue(nullptr, PDU_Raw, &rawExample, &rawExample), QOR_BAD_ARG);
    EXPECT_EQ(qorCmpValue(&world, PDU_Raw, &rawExample, nullptr), QOR_BAD_ARG);
    qorSetDecodingLength(&world, 0);
    copy = buffer;
    EXPECT_EQ(qorCpyValue(&world, PDU_Raw, &rawExample, &copy), QOR_BAD_ARG);
    EXPECT_EQ(qorCpyValue(&world, 0, &rawExample, &(copy = nullptr)), QOR_PDU_RANGE);
    EXPECT_EQ(qorCmpValue(&world, PDU_COUNT + 1, &rawExample, &rawExample), QOR_PDU_RANGE);

    // Without copy or compare code: 25.
    QorXapiEntries entries = testSchemaXapi;
    entries.copyEntry = nullptr;
    entries.compareEntry = nullptr;
    world.privateArea->xapiEntries = &entries;
    EXPECT_EQ(qorCpyValue(&world, PDU_Raw, &rawExample, &copy), QOR_NOT_SUPPORTED);
    EXPECT_EQ(qorCmpValue(&world, PDU_Raw, &rawExample, &rawExample), QOR_NOT_SUPPORTED);
    world.privateArea->xapiEntries = &testSchemaXapi;

    // A failing entry, after it took memory; under a check's operation too,
    // which must not turn the code into a message number; and a memory
    // violation under TRAPPING.
    Fault fault{};
    fault.message = 106; // "Value misencoded": return code 5
    world.operation = QOR_OP_CHECK;
    EXPECT_EQ(qorCpyValue(&world, PDU_Fault, &fault, &copy), QOR_DATA_ERROR);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(world.operation, QOR_OP_CHECK) << "the operation is left as it was";
    EXPECT_EQ(qorCmpValue(&world, PDU_Fault, &fault, &fault), QOR_DATA_ERROR);
    ASSERT_EQ(qorSetFlags(&world, TRAPPING), 0);
    fault.raiser = RAISE_SEGV;
    EXPECT_EQ(qorCpyValue(&world, PDU_Fault, &fault, &copy), QOR_MEMORY_VIOLATION);
    EXPECT_EQ(qorCmpValue(&world, PDU_Fault, &fault, &fault), QOR_MEMORY_VIOLATION);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

int userFieldCalls = 0;
int userFieldResult = 0;
int countUserCopy(QorGlobal *, const QorOpenTypeUser *, QorOpenTypeUser *)
{
    userFieldCalls++;
    return userFieldResult;
}
int countUserCompare(QorGlobal *, const QorOpenTypeUser *, const QorOpenTypeUser *)
{
    userFieldCalls++;
    return userFieldResult;
}

TEST_F(Copy, OpenTypesCopyTheirOwnMemoryByTheFlags)
{
    auto *source = static_cast<Envelope *>(decoded({QOR_BER, PDU_Envelope, &envelopeExample}));
    ASSERT_NE(source->content.encoded, nullptr);
    ASSERT_NE(source->content.decoded, nullptr);
    const QorULong flagsBefore = world.decodingFlags;

    // The copy's octets and value are its own: changing them leaves the source.
    void *copy = nullptr;
    ASSERT_EQ(qorCpyValue(&world, PDU_Envelope, source, &copy), 0);
    auto *target = static_cast<Envelope *>(copy);
    ASSERT_NE(target->content.decoded, source->content.decoded);
    ASSERT_NE(target->content.encoded, source->content.encoded);
    static_cast<Raw *>(target->content.decoded)->data[0] = 'H';
    target->content.encoded[target->content.length - 1] ^= 1;
    EXPECT_EQ(static_cast<Raw *>(source->content.decoded)->data[0], 'h');
    EXPECT_EQ(qorCmpValue(&world, PDU_Envelope, source, target), 1);
    EXPECT_EQ(qorFreePDU(&world, PDU_Envelope, copy), 0);

    // Each flag, from either word, leaves its form out of the copy; the
    // compare under the same flag finds the rest equal.
    const struct {
        QorULong flag;
        bool encodingWord;
        bool keepsEncoded;
        bool keepsDecoded;
    } rows[] = {
        {DONT_DO_ENCODED, false, false, true},
        {DONT_DO_ENCODED, true, false, true},
        {DONT_DO_DECODED, false, true, false},
        {DONT_DO_DECODED, true, true, false},
    };
    for (const auto &row : rows) {
        QorULong &word = row.encodingWord ? world.encodingFlags : world.decodingFlags;
        word |= row.flag;
        copy = nullptr;
        ASSERT_EQ(qorCpyValue(&world, PDU_Envelope, source, &copy), 0);
        target = static_cast<Envelope *>(copy);
        EXPECT_EQ(target->content.encoded != nullptr, row.keepsEncoded);
        EXPECT_EQ(target->content.length != 0, row.keepsEncoded);
        EXPECT_EQ(target->content.decoded != nullptr, row.keepsDecoded);
        EXPECT_EQ(target->content.pduNum, row.keepsDecoded ? PDU_Raw : 0);
        EXPECT_EQ(qorCmpValue(&world, PDU_Envelope, source, copy), 0);
        word &= ~row.flag;
        EXPECT_EQ(qorCmpValue(&world, PDU_Envelope, source, copy), row.keepsDecoded ? 0 : 1);
        EXPECT_EQ(qorFreePDU(&world, PDU_Envelope, copy), 0);
    }
    EXPECT_EQ(world.decodingFlags, flagsBefore);

    // The user-field functions run after each open type; a failure is 40.
    ASSERT_EQ(qorSetUserFieldCpyCmp(&world, countUserCopy, countUserCompare), 0);
    expectCopyEquals(PDU_Envelope, source);
    EXPECT_EQ(userFieldCalls, 2);
    userFieldResult = 3;
    copy = nullptr;
    EXPECT_EQ(qorCpyValue(&world, PDU_Envelope, source, &copy), 40);
    EXPECT_EQ(qorCmpValue(&world, PDU_Envelope, source, source), 40);
    ASSERT_EQ(qorSetUserFieldCpyCmp(&world, nullptr, nullptr), 0);

    // Content of a PDU the entry cannot copy: message 32.
    source->content.pduNum = PDU_COUNT + 1;
    EXPECT_EQ(qorCpyValue(&world, PDU_Envelope, source, &copy), 44);
    source->content.pduNum = PDU_Raw;
    EXPECT_EQ(qorFreePDU(&world, PDU_Envelope, source), 0);
}

// An element of a doubly linked list.
struct Node {
    Node *next;
    Node *prev;
    QorLong payload;
};

// Runs `body` in a frame whose decoder memory is `buffer`.
template <class Body> int inBuffer(QorGlobal *world, unsigned char *buffer, size_t size, Body body)
{
    return inFrame(world, QOR_OP_DECODE, [&] {
        world->userBuffer = 1;
        world->outPos = buffer;
        world->outRoom = world->totalBytes = static_cast<QorLong>(size);
        body();
    });
}

TEST_F(Copy, ListsComeOutLinkedBothWays)
{
    Node nodes[3];
    for (int count = 0; count <= 3; count++) {
        for (int i = 0; i < 3; i++)
            nodes[i] = {i + 1 < count ? &nodes[i + 1] : nullptr, &nodes[2 - i], 10 * i};
        Node *first = count > 0 ? &nodes[0] : nullptr;
        for (int kind = 0; kind < 3; kind++) {
            for (bool supplied : {false, true}) {
                SCOPED_TRACE(testing::Message()
                             << count << " kind " << kind << " supplied " << supplied);
                QorDLinkPlusHead mine = {&nodes[1], &nodes[1], 99, &nodes[1]};
                void *head = nullptr;
                ASSERT_EQ(inBuffer(&world, buffer, sizeof buffer,
                                   [&] {
                                       void *to = supplied ? &mine : nullptr;
                                       const auto size = static_cast<QorLong>(sizeof(Node));
                                       head = kind == 0
                                                  ? _qor_cpy_link_obj(&world, &first, to, size)
                                              : kind == 1
                                                  ? _qor_cpy_dlink_obj(&world, &first, to, size)
                                                  : _qor_cpy_dlink_plus(&world, &first, to, size);
                                   }),
                          0);
                ASSERT_EQ(head, supplied ? static_cast<void *>(&mine) : head);
                auto *h = static_cast<QorDLinkPlusHead *>(head);
                if (supplied || kind == 2) {
                    EXPECT_EQ(h->more, supplied ? &nodes[1] : nullptr) << "the last word";
                } else {
                    EXPECT_EQ(h->tail, nullptr) << "a new head's second word is clear";
                }
                Node *previous = nullptr;
                int n = 0;
                for (auto *e = static_cast<Node *>(h->head); e != nullptr; e = e->next, n++) {
                    EXPECT_NE(e, &nodes[n]);
                    EXPECT_EQ(e->payload, 10 * n);
                    if (kind > 0) {
                        EXPECT_EQ(e->prev, previous);
                    }
                    previous = e;
                }
                EXPECT_EQ(n, count);
                if (kind == 2) {
                    EXPECT_EQ(h->tail, previous);
                    EXPECT_EQ(h->count, static_cast<QorULong>(count));
                } else if (supplied) {
                    EXPECT_EQ(h->tail, &nodes[1]) << "a plain head has two words";
                }
            }
        }
    }
    // An element too small for its links is refused.
    Node *first = &nodes[0];
    EXPECT_EQ(inBuffer(&world, buffer, sizeof buffer,
                       [&] { _qor_cpy_dlink_obj(&world, &first, nullptr, 8); }),
              QOR_FATAL);
}

TEST_F(Copy, UnboundedValues)
{
    struct Record16 {
        uint16_t count;
        unsigned char *data;
    };
    unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 0xFF};
    const struct {
        int width;
        QorLong elementSize;
        uint16_t count;
        size_t copied; // octets
    } rows[] = {
        {2, 1, 5, 5},
        {4, 2, 3, 6},
        {2, 4, 2, 8},
        {4, -1, 9, 2}, // bits
        {2, -1, 0, 0},
        {4, 1, 0, 0},
    };
    for (const auto &row : rows) {
        for (bool supplied : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.width << " " << row.elementSize << " "
                                            << row.count << " supplied " << supplied);
            Record16 from = {row.count, bytes};
            if (row.width == 4) {
                QorULong wide = row.count;
                memcpy(&from, &wide, sizeof wide);
            }
            Record16 mine = {0xAAAA, nullptr};
            void *result = nullptr;
            ASSERT_EQ(inBuffer(&world, buffer, sizeof buffer,
                               [&] {
                                   result = _qor_cpy_unbnd_octet_ia(
                                       &world, &from, supplied ? &mine : nullptr, row.width,
                                       row.elementSize, offsetof(Record16, data));
                               }),
                      0);
            auto *to = static_cast<Record16 *>(result);
            EXPECT_EQ(to == &mine, supplied);
            EXPECT_EQ(memcmp(to, &from, row.width), 0) << "the counter";
            EXPECT_EQ(to->data == nullptr, row.copied == 0);
            if (row.copied != 0) {
                EXPECT_NE(to->data, bytes);
                EXPECT_EQ(memcmp(to->data, bytes, row.copied), 0);
            }
        }
    }
}

TEST_F(Copy, PreambleTakesTheBitsOfUnknownAdditions)
{
    // Bits 3 to 10 of 1110 1101 1011 0000: 0110 1101.
    const unsigned char bits[] = {0xED, 0xB0};
    const struct {
        QorULong total;
        QorULong known;
        int width;
        QorULong set;
        unsigned char first;
    } rows[] = {
        {11, 3, 1, 5, 0x6D},
        {11, 3, 8, 5, 0x6D},
        {13, 12, 4, 0, 0x00},
        {4, 4, 4, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.total << " " << row.known << " " << row.width);
        uint64_t counter = ~uint64_t{0};
        unsigned char *target = buffer;
        QorULong set = 99;
        ASSERT_EQ(inBuffer(&world, buffer, sizeof buffer,
                           [&] {
                               set = _qor_copy_preamble(&world, bits, row.total, row.known,
                                                        &counter, &target, row.width);
                           }),
                  0);
        EXPECT_EQ(set, row.set);
        const uint64_t unknown = row.total > row.known ? row.total - row.known : 0;
        const uint64_t mask = row.width == 8 ? ~uint64_t{0} : (uint64_t{1} << 8 * row.width) - 1;
        EXPECT_EQ(counter & mask, unknown);
        EXPECT_EQ(counter | mask, ~uint64_t{0}) << "only `width` octets written";
        EXPECT_EQ(target == nullptr, unknown == 0);
        if (target != nullptr) {
            EXPECT_EQ(target[0], row.first);
        }
    }
}

TEST_F(Copy, Counts)
{
    const unsigned char zeros[2] = {0, 0};
    const unsigned char top[1] = {0x80};
    const unsigned char some[2] = {0x01, 0x40};
    EXPECT_EQ(_qor_count_bits(zeros, 16), 0u);
    EXPECT_EQ(_qor_count_bits(top, 8), 1u);
    EXPECT_EQ(_qor_count_bits(some, 16), 10u);
    EXPECT_EQ(_qor_count_bits(some, 0), 0u);
    EXPECT_EQ(_qor_count_chars(" ab \0\0 ", 7), 3u);
    EXPECT_EQ(_qor_count_chars("   ", 3), 0u);
    expectOneFunction(
        {{"_qor_count_bits", "_qor_tex_count_bits"}, {"_qor_count_chars", "_qor_tex_count_chars"}});

    // Items of a SET OF, from a position that stays where it is.
    const struct {
        const char *contents;
        QorLong length;
        int code;
        QorLong items;
    } rows[] = {
        {"02 01 05 30 03 02 01 07 04 00", 10, 0, 3},
        {"02 01 05 30 80 02 01 07 00 00 04 00 00 00", -1, 0, 3},
        {"00 00", -1, 0, 0},
        {"", 0, 0, 0},
        {"02 01 05 04 02 41 42", 4, 5, 0}, // the second item runs past the length
        {"02 01 05 04 05 41", 8, 4, 0}, // and past the input
        {"02 01 05 00 01 00", -1, 5, 0}, // end-of-contents with a length
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.contents);
        Bytes contents = hex(row.contents);
        contents.push_back(0x99); // the octet after them
        unsigned char *pos = contents.data();
        QorLong room = static_cast<QorLong>(contents.size()) - 1;
        QorLong items = -1;
        world.tagStartPos = nullptr;
        EXPECT_EQ(inFrame(&world, QOR_OP_DECODE,
                          [&] { items = _qor_count_setof_items(&world, &pos, &room, row.length); }),
                  row.code);
        EXPECT_EQ(pos, contents.data());
        if (row.code == 0) {
            EXPECT_EQ(items, row.items);
            EXPECT_EQ(world.tagStartPos, nullptr);
        }
    }
}

TEST_F(Copy, HelpersForValuesBuiltByHand)
{
    struct Counted {
        QorULong length;
        unsigned char *value;
    };
    static const unsigned char eight[1] = {0xA5}; // exactly the octet 8 bits need
    // Each helper once with every allocation failing in turn, then for real.
    const struct {
        const char *name;
        void *(*make)(QorGlobal *world);
        size_t length;    // of the record's data; 0: a cell
        const void *data; // expected data
        size_t dataSize;
    } rows[] = {
        {"UnbCharString", [](QorGlobal *w) { return qor__UnbCharString_copy(w, "abc", 3); }, 3,
         "abc", 4},
        {"UnbCharString empty", [](QorGlobal *w) { return qor__UnbCharString_copy(w, "", 0); }, 0,
         nullptr, 0},
        {"UnbCharString nullterm",
         [](QorGlobal *w) { return qor__UnbCharString_copy_nullterm(w, ""); }, 0, "", 1},
        {"BmpString", [](QorGlobal *w) { return qor__BmpString_copy(w, nullptr, 0); }, 0, nullptr,
         0},
        {"UnbBitStr 8", [](QorGlobal *w) { return qor__UnbBitStr_copy(w, eight, 8); }, 8, "\xA5\0",
         2},
        {"UnbSeqOf new", [](QorGlobal *w) { return qor__UnbSeqOf_new(w, 3, 2, 1); }, 3,
         "\0\0\0\0\0\0", 6},
        {"OctStrCC", [](QorGlobal *w) { return qor__OctStrCC_copy_encoded(w, eight, 1); }, 1, eight,
         1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        for (long n = 1; n < 5; n++) {
            CountingAllocator::failAt = CountingAllocator::calls + n;
            void *made = row.make(&world);
            CountingAllocator::failAt = 0;
            if (made == nullptr) {
                EXPECT_EQ(CountingAllocator::outstanding, 0);
                continue;
            }
            auto *r = static_cast<Counted *>(made);
            EXPECT_EQ(r->length, row.length);
            EXPECT_EQ(r->value == nullptr, row.dataSize == 0);
            if (row.dataSize != 0) {
                EXPECT_EQ(memcmp(r->value, row.data, row.dataSize), 0);
            }
            qorFreeMemory(&world, r->value);
            qorFreeMemory(&world, r);
            break;
        }
    }
    // Open types: the decoded value by the copy service, the PDU number in
    // the width asked for.
    auto *open = static_cast<QorOpenType *>(
        qor__OpenType_copy_decoded(&world, &rawExample, PDU_Raw, sizeof(QorOpenTypeUser)));
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(open->pduNum, PDU_Raw);
    EXPECT_EQ(qorCmpValue(&world, PDU_Raw, &rawExample, open->decoded), 0);
    EXPECT_EQ(static_cast<QorOpenTypeUser *>(static_cast<void *>(open))->userField, nullptr);
    EXPECT_EQ(qorFreePDU(&world, PDU_Raw, open->decoded), 0);
    qorFreeMemory(&world, open);
    struct NewOpen {
        uint16_t pduNum;
        void *decoded;
    };
    auto *newer = static_cast<NewOpen *>(qor__NewOpenType_copy_decoded(
        &world, &rawExample, PDU_Raw, sizeof(NewOpen), 2, offsetof(NewOpen, decoded)));
    ASSERT_NE(newer, nullptr);
    EXPECT_EQ(newer->pduNum, PDU_Raw);
    EXPECT_EQ(qorFreePDU(&world, PDU_Raw, newer->decoded), 0);
    qorFreeMemory(&world, newer);
    EXPECT_EQ(qor__OpenType_copy_decoded(&world, &rawExample, PDU_COUNT + 1, sizeof(QorOpenType)),
              nullptr);
    EXPECT_EQ(qor__OpenType_copy_encoded(&world, eight, 1, sizeof(QorOpenType) - 1), nullptr);
}

// Time records from text, by the conversions: the fraction in
// milliseconds, an offset in minutes (of its hours only, as the conversions
// read it), "Z" as `utc`.
TEST_F(Copy, TimeRecordsFromText)
{
    const struct {
        const char *text;
        bool utcTime;
        int code; // 0, or not 0
        int16_t millisec, mindiff;
        unsigned char utc;
    } rows[] = {
        {"20000102030405.5+0130", false, 0, 500, 60, 0},
        {"20000102030405.1234Z", false, 0, 123, 0, 1},
        {"20000102030405", false, 0, 0, 0, 0},
        {"000102030405Z", true, 0, 0, 0, 1},
        {"000102030405-0200", true, 0, 0, -120, 0},
        {"2000", false, 1, 0, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        GeneralizedTime t{};
        t.year = 7;
        const int code = row.utcTime ? qor__UTCTime_setv_nullterm(&world, &t, row.text)
                                     : qor__GeneralizedTime_setv_nullterm(&world, &t, row.text);
        GeneralizedTime *made = row.utcTime ? qor__UTCTime_copy_nullterm(&world, row.text)
                                            : qor__GeneralizedTime_copy_nullterm(&world, row.text);
        EXPECT_EQ(code != 0, row.code != 0);
        EXPECT_EQ(made == nullptr, row.code != 0);
        if (code != 0) {
            EXPECT_EQ(t.year, 7) << "left alone";
            continue;
        }
        EXPECT_EQ(t.millisec, row.millisec);
        EXPECT_EQ(t.mindiff, row.mindiff);
        EXPECT_EQ(t.utc, row.utc);
        EXPECT_EQ(memcmp(made, &t, sizeof t), 0);
        qorFreeMemory(&world, made);
    }
}

} // namespace
