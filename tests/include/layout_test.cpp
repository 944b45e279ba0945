// The layout of every public record is part of the contract with generated
// code: pin it.
#include <cstddef>

#include <gtest/gtest.h>

#include "qorapi.h"

namespace {

struct Pin {
    const char *field;
    size_t offset;
    size_t expected;
};
#define PIN(type, field, offset) {#type "." #field, offsetof(type, field), offset}

void expectPins(std::initializer_list<Pin> pins)
{
    for (const Pin &p : pins)
        EXPECT_EQ(p.offset, p.expected) << p.field;
}

} // namespace

TEST(Layout, SmallRecords)
{
    EXPECT_EQ(sizeof(QorLong), 4u);
    EXPECT_EQ(sizeof(QorBuf), 16u);
    EXPECT_EQ(sizeof(QorMemBlockRecord), 8u + 52 * sizeof(void *) + sizeof(void *));
    EXPECT_EQ(sizeof(QorFieldInfo), 24u);
    EXPECT_EQ(sizeof(QorFieldRecord), 24u);
    EXPECT_EQ(sizeof(QorOpenType), 24u);
    EXPECT_EQ(sizeof(QorOpenTypeUser), 32u);
    EXPECT_EQ(sizeof(QorEncodedOid), 16u);
    EXPECT_EQ(sizeof(QorOerPosition), 32u);
    expectPins({
        PIN(QorBuf, value, 8), PIN(QorMemBlockRecord, slot, 8), PIN(QorMemBlockRecord, next, 424),
        PIN(QorFieldInfo, kind, 16), PIN(QorFieldRecord, index, 16), PIN(QorOpenType, length, 4),
        PIN(QorOpenType, encoded, 8), PIN(QorOpenType, decoded, 16),
        PIN(QorOpenTypeUser, userField, 24), PIN(QorMixedReal, value.binary, 8),
        PIN(QorMixedReal, value.decimal.text, 16), PIN(QorEncodedOid, value, 8),
        PIN(QorOerPosition, blockBytes, 8), PIN(QorOerPosition, page, 16),
        PIN(QorOerPosition, pageIndex, 24), PIN(QorOerPosition, mustNotBeEmpty, 28)
    });
}

TEST(Layout, ControlTable)
{
    EXPECT_EQ(sizeof(QorControlTable), 80u);
    EXPECT_EQ(sizeof(QorXapiEntries), 104u);
    expectPins({
        PIN(QorControlTable, berEncodeEntry, 8), PIN(QorControlTable, berDecodeEntry, 16),
        PIN(QorControlTable, freeEntry, 24), PIN(QorControlTable, berVersion, 32),
        PIN(QorControlTable, perEncodeEntry, 40), PIN(QorControlTable, perDecodeEntry, 48),
        PIN(QorControlTable, perVersion, 56), PIN(QorControlTable, reserved, 60),
        PIN(QorControlTable, printEntry, 72), PIN(QorXapiEntries, copyEntry, 8),
        PIN(QorXapiEntries, compareEntry, 16), PIN(QorXapiEntries, xerEncodeEntry, 24),
        PIN(QorXapiEntries, xerDecodeEntry, 32), PIN(QorXapiEntries, xerVersion, 40),
        PIN(QorXapiEntries, constraintEntry, 48), PIN(QorXapiEntries, reserved, 56),
        PIN(QorXapiEntries, exerEncodeEntry, 64), PIN(QorXapiEntries, exerDecodeEntry, 72),
        PIN(QorXapiEntries, exerVersion, 80), PIN(QorXapiEntries, oerVersion, 82),
        PIN(QorXapiEntries, oerEncodeEntry, 88), PIN(QorXapiEntries, oerDecodeEntry, 96)
    });
}

// Generated code compiles information object sets into these.
TEST(Layout, InformationObjectSets)
{
    EXPECT_EQ(sizeof(QorInfoObjectNode), 16u);
    EXPECT_EQ(sizeof(QorObjectSetEntry), 32u);
    expectPins({PIN(QorInfoObjectNode, object, 8), PIN(QorObjectSetEntry, runtime, 8),
                PIN(QorObjectSetEntry, removed, 16), PIN(QorObjectSetEntry, compiledCount, 24)});
}

TEST(Layout, Context)
{
    EXPECT_EQ(sizeof(QorGlobal), 1472u);
    expectPins({
        PIN(QorGlobal, mallocp, 0), PIN(QorGlobal, freep, 16), PIN(QorGlobal, printChop, 24),
        PIN(QorGlobal, printStream, 40), PIN(QorGlobal, printFn, 48), PIN(QorGlobal, userVar, 56),
        PIN(QorGlobal, ctlTable, 64), PIN(QorGlobal, encRules, 76),
        PIN(QorGlobal, encodingFlags, 80), PIN(QorGlobal, decodingFlags, 84),
        PIN(QorGlobal, decodingLength, 88), PIN(QorGlobal, errMsgBuffer, 92),
        PIN(QorGlobal, internalFlags, 604), PIN(QorGlobal, jumpFrame, 608),
        PIN(QorGlobal, lastError, 624), PIN(QorGlobal, errMsgTarget, 632),
        PIN(QorGlobal, userBuffer, 640), PIN(QorGlobal, decodeToTemporary, 641),
        PIN(QorGlobal, expectOpenTypeContent, 642),
        PIN(QorGlobal, fieldStack, 648),
        PIN(QorGlobal, pduNumber, 656), PIN(QorGlobal, pduNames, 664),
        PIN(QorGlobal, operation, 672), PIN(QorGlobal, outPos, 680), PIN(QorGlobal, outRoom, 688),
        PIN(QorGlobal, blockQueue, 696), PIN(QorGlobal, blockQueueTail, 1128),
        PIN(QorGlobal, totalBytes, 1176), PIN(QorGlobal, ruleBits, 1180),
        PIN(QorGlobal, perAligned, 1188), PIN(QorGlobal, bitOffset, 1192),
        PIN(QorGlobal, parentWorld, 1200), PIN(QorGlobal, inPos, 1216),
        PIN(QorGlobal, inRoom, 1224), PIN(QorGlobal, encLength, 1240),
        PIN(QorGlobal, blockStack, 1248), PIN(QorGlobal, userMalloc, 1280),
        PIN(QorGlobal, presetDecFlags, 1308), PIN(QorGlobal, privateArea, 1312),
        PIN(QorGlobal, syncObject, 1336), PIN(QorGlobal, traceFile, 1376),
        PIN(QorGlobal, reservedForGeneratedCode, 1440)
    });
}

// The TIME records: generated code tests a part's first octet, its flags.
TEST(Layout, TimeRecords)
{
    EXPECT_EQ(sizeof(QorDatePart), 16u);
    EXPECT_EQ(sizeof(QorTimePart), 24u);
    EXPECT_EQ(sizeof(QorDurationPart), 40u);
    EXPECT_EQ(sizeof(QorTimeElement), 40u);
    EXPECT_EQ(sizeof(QorDateTimeValue), 88u);
    EXPECT_EQ(sizeof(QorTimePoint), 40u);
    EXPECT_EQ(sizeof(QorDuration), 40u);
    expectPins({
        PIN(QorDatePart, flags, 0), PIN(QorDatePart, digits, 2), PIN(QorDatePart, year, 4),
        PIN(QorDatePart, week, 8), PIN(QorDatePart, month, 10), PIN(QorDatePart, day, 12),
        PIN(QorTimePart, flags, 0), PIN(QorTimePart, hours, 2), PIN(QorTimePart, minutes, 4),
        PIN(QorTimePart, seconds, 6), PIN(QorTimePart, fractionDigits, 8),
        PIN(QorTimePart, fraction, 12), PIN(QorTimePart, diffFlags, 16),
        PIN(QorTimePart, diffHours, 18), PIN(QorTimePart, diffMinutes, 20),
        PIN(QorDurationPart, flags, 0), PIN(QorDurationPart, lastUnit, 1),
        PIN(QorDurationPart, years, 4), PIN(QorDurationPart, seconds, 28),
        PIN(QorDurationPart, fractionDigits, 32), PIN(QorDurationPart, fraction, 36),
        PIN(QorTimeElement, point.date, 0), PIN(QorTimeElement, point.time, 16),
        PIN(QorTimeElement, duration, 0), PIN(QorDateTimeValue, kinds, 0),
        PIN(QorDateTimeValue, recurrenceDigits, 2), PIN(QorDateTimeValue, recurrences, 4),
        PIN(QorDateTimeValue, first, 8), PIN(QorDateTimeValue, second, 48),
        PIN(QorTimePoint, flags, 0), PIN(QorTimePoint, century, 4), PIN(QorTimePoint, year, 8),
        PIN(QorTimePoint, week, 12), PIN(QorTimePoint, month, 14), PIN(QorTimePoint, day, 16),
        PIN(QorTimePoint, hours, 18), PIN(QorTimePoint, minutes, 20),
        PIN(QorTimePoint, seconds, 22), PIN(QorTimePoint, fractionDigits, 24),
        PIN(QorTimePoint, fraction, 28), PIN(QorTimePoint, diffMinutesPresent, 32),
        PIN(QorTimePoint, diffHours, 34), PIN(QorTimePoint, diffMinutes, 36),
        PIN(QorTimePoint, diffNegative, 38), PIN(QorDuration, flags, 0),
        PIN(QorDuration, years, 4), PIN(QorDuration, fractionDigits, 32),
        PIN(QorDuration, fraction, 36)
    });
}

TEST(Layout, XmlLexerRecords)
{
    EXPECT_EQ(sizeof(QorXmlTag), 72u);
    EXPECT_EQ(sizeof(QorXmlInputFrame), 32u);
    EXPECT_EQ(sizeof(QorXmlWord), 32u);
    EXPECT_EQ(sizeof(QorXmlInputSave), 32u);
    EXPECT_EQ(sizeof(QorXmlEnv), 400u);
    EXPECT_EQ(sizeof(QorExerInfo), 80u);
    expectPins({
        PIN(QorXmlTag, name_len, 8), PIN(QorXmlTag, colon, 16), PIN(QorXmlTag, ns_uri, 24),
        PIN(QorXmlTag, stack_mark, 48), PIN(QorXmlTag, kind, 64), PIN(QorXmlInputFrame, input_left, 8),
        PIN(QorXmlInputFrame, depth, 24), PIN(QorXmlWord, colon, 16), PIN(QorXmlWord, ns_uri, 24),
        PIN(QorXmlInputSave, lexem, 8), PIN(QorXmlInputSave, ch, 20), PIN(QorXmlEnv, ns_count, 16),
        PIN(QorXmlEnv, tag, 48), PIN(QorXmlEnv, ns_decls, 72), PIN(QorXmlEnv, input_stack, 80),
        PIN(QorXmlEnv, input, 336), PIN(QorXmlEnv, depth, 360), PIN(QorXmlEnv, ch, 364),
        PIN(QorXmlEnv, ch_len, 368), PIN(QorXmlEnv, tag_left, 372), PIN(QorXmlEnv, input_depth, 380),
        PIN(QorXmlEnv, lexem, 384), PIN(QorXmlEnv, state, 388), PIN(QorXmlEnv, index, 392),
        PIN(QorExerInfo, ns_table, 24), PIN(QorExerInfo, gen_prefix, 64), PIN(QorExerInfo, ctl_ns, 72),
        PIN(QorExerInfo, char_ns, 74), PIN(QorXmlNsRow, uri, 8)
    });
}
