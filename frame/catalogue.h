// Message catalogue and return-code texts, as data.
#pragma once

#include <cstdint>

namespace qor {

// Low four bits of a message's flags: how its value is shown.
enum ValueShape : uint8_t {
    kShowNothing = 0,
    kShowNothingTaken = 1, // the message takes a value but does not show it
    kShowTag = 2,
    kShowSigned = 3,
    kShowUnsigned = 4,
    kShowReal = 5,
    kShowString = 6,
    kShowCharacter = 7,
    kShowString2 = 8,
};
constexpr uint8_t kShapeMask = 0x0f;
constexpr uint8_t kNoLocation = 0x40; // the message gets no PDU or field location

struct Message {
    const char *text;
    uint8_t returnCode;
    uint8_t flags;
};

constexpr int kMessageCount = 308;
constexpr int kReturnCodeCount = 133;
extern const Message kMessages[kMessageCount];
extern const char *const kReturnCodeTexts[kReturnCodeCount];
// Codes 9 and 10 read differently while encoding, while decoding, and with no context.
extern const char *const kReturnCode9Texts[3];
extern const char *const kReturnCode10Texts[3];

} // namespace qor
