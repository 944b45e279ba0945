// Names and URIs: the name test by the character classes of XML 1.0 (its
// Appendix B), and the light test of a namespace URI.
#include "xer/lexer.h"

namespace qor::tlex {

namespace {

// Ranges of code points from 0x80 to 0xFFFF: 2 a letter (a name may begin
// with it), 1 a digit, combining character or extender (inside a name only).
struct Range {
    uint16_t first;
    uint16_t last;
    uint8_t kind;
};

constexpr Range kRanges[] = {
    {0x00B7, 0x00B7, 1},
    {0x00C0, 0x00D6, 2},
    {0x00D8, 0x00F6, 2},
    {0x00F8, 0x0131, 2},
    {0x0134, 0x013E, 2},
    {0x0141, 0x0148, 2},
    {0x014A, 0x017E, 2},
    {0x0180, 0x01C3, 2},
    {0x01CD, 0x01F0, 2},
    {0x01F4, 0x01F5, 2},
    {0x01FA, 0x0217, 2},
    {0x0250, 0x02A8, 2},
    {0x02BB, 0x02C1, 2},
    {0x02D0, 0x02D1, 1},
    {0x0300, 0x0345, 1},
    {0x0360, 0x0361, 1},
    {0x0386, 0x0386, 2},
    {0x0387, 0x0387, 1},
    {0x0388, 0x038A, 2},
    {0x038C, 0x038C, 2},
    {0x038E, 0x03A1, 2},
    {0x03A3, 0x03CE, 2},
    {0x03D0, 0x03D6, 2},
    {0x03DA, 0x03DA, 2},
    {0x03DC, 0x03DC, 2},
    {0x03DE, 0x03DE, 2},
    {0x03E0, 0x03E0, 2},
    {0x03E2, 0x03F3, 2},
    {0x0401, 0x040C, 2},
    {0x040E, 0x044F, 2},
    {0x0451, 0x045C, 2},
    {0x045E, 0x0481, 2},
    {0x0483, 0x0486, 1},
    {0x0490, 0x04C4, 2},
    {0x04C7, 0x04C8, 2},
    {0x04CB, 0x04CC, 2},
    {0x04D0, 0x04EB, 2},
    {0x04EE, 0x04F5, 2},
    {0x04F8, 0x04F9, 2},
    {0x0531, 0x0556, 2},
    {0x0559, 0x0559, 2},
    {0x0561, 0x0586, 2},
    {0x0591, 0x05A1, 1},
    {0x05A3, 0x05B9, 1},
    {0x05BB, 0x05BD, 1},
    {0x05BF, 0x05BF, 1},
    {0x05C1, 0x05C2, 1},
    {0x05C4, 0x05C4, 1},
    {0x05D0, 0x05EA, 2},
    {0x05F0, 0x05F2, 2},
    {0x0621, 0x063A, 2},
    {0x0640, 0x0640, 1},
    {0x0641, 0x064A, 2},
    {0x064B, 0x0652, 1},
    {0x0660, 0x0669, 1},
    {0x0670, 0x0670, 1},
    {0x0671, 0x06B7, 2},
    {0x06BA, 0x06BE, 2},
    {0x06C0, 0x06CE, 2},
    {0x06D0, 0x06D3, 2},
    {0x06D5, 0x06D5, 2},
    {0x06D6, 0x06E4, 1},
    {0x06E5, 0x06E6, 2},
    {0x06E7, 0x06E8, 1},
    {0x06EA, 0x06ED, 1},
    {0x06F0, 0x06F9, 1},
    {0x0901, 0x0903, 1},
    {0x0905, 0x0939, 2},
    {0x093C, 0x093C, 1},
    {0x093D, 0x093D, 2},
    {0x093E, 0x094D, 1},
    {0x0951, 0x0954, 1},
    {0x0958, 0x0961, 2},
    {0x0962, 0x0963, 1},
    {0x0966, 0x096F, 1},
    {0x0981, 0x0983, 1},
    {0x0985, 0x098C, 2},
    {0x098F, 0x0990, 2},
    {0x0993, 0x09A8, 2},
    {0x09AA, 0x09B0, 2},
    {0x09B2, 0x09B2, 2},
    {0x09B6, 0x09B9, 2},
    {0x09BC, 0x09BC, 1},
    {0x09BE, 0x09C4, 1},
    {0x09C7, 0x09C8, 1},
    {0x09CB, 0x09CD, 1},
    {0x09D7, 0x09D7, 1},
    {0x09DC, 0x09DD, 2},
    {0x09DF, 0x09E1, 2},
    {0x09E2, 0x09E3, 1},
    {0x09E6, 0x09EF, 1},
    {0x09F0, 0x09F1, 2},
    {0x0A02, 0x0A02, 1},
    {0x0A05, 0x0A0A, 2},
    {0x0A0F, 0x0A10, 2},
    {0x0A13, 0x0A28, 2},
    {0x0A2A, 0x0A30, 2},
    {0x0A32, 0x0A33, 2},
    {0x0A35, 0x0A36, 2},
    {0x0A38, 0x0A39, 2},
    {0x0A3C, 0x0A3C, 1},
    {0x0A3E, 0x0A42, 1},
    {0x0A47, 0x0A48, 1},
    {0x0A4B, 0x0A4D, 1},
    {0x0A59, 0x0A5C, 2},
    {0x0A5E, 0x0A5E, 2},
    {0x0A66, 0x0A71, 1},
    {0x0A72, 0x0A74, 2},
    {0x0A81, 0x0A83, 1},
    {0x0A85, 0x0A8B, 2},
    {0x0A8D, 0x0A8D, 2},
    {0x0A8F, 0x0A91, 2},
    {0x0A93, 0x0AA8, 2},
    {0x0AAA, 0x0AB0, 2},
    {0x0AB2, 0x0AB3, 2},
    {0x0AB5, 0x0AB9, 2},
    {0x0ABC, 0x0ABC, 1},
    {0x0ABD, 0x0ABD, 2},
    {0x0ABE, 0x0AC5, 1},
    {0x0AC7, 0x0AC9, 1},
    {0x0ACB, 0x0ACD, 1},
    {0x0AE0, 0x0AE0, 2},
    {0x0AE6, 0x0AEF, 1},
    {0x0B01, 0x0B03, 1},
    {0x0B05, 0x0B0C, 2},
    {0x0B0F, 0x0B10, 2},
    {0x0B13, 0x0B28, 2},
    {0x0B2A, 0x0B30, 2},
    {0x0B32, 0x0B33, 2},
    {0x0B36, 0x0B39, 2},
    {0x0B3C, 0x0B3C, 1},
    {0x0B3D, 0x0B3D, 2},
    {0x0B3E, 0x0B43, 1},
    {0x0B47, 0x0B48, 1},
    {0x0B4B, 0x0B4D, 1},
    {0x0B56, 0x0B57, 1},
    {0x0B5C, 0x0B5D, 2},
    {0x0B5F, 0x0B61, 2},
    {0x0B66, 0x0B6F, 1},
    {0x0B82, 0x0B83, 1},
    {0x0B85, 0x0B8A, 2},
    {0x0B8E, 0x0B90, 2},
    {0x0B92, 0x0B95, 2},
    {0x0B99, 0x0B9A, 2},
    {0x0B9C, 0x0B9C, 2},
    {0x0B9E, 0x0B9F, 2},
    {0x0BA3, 0x0BA4, 2},
    {0x0BA8, 0x0BAA, 2},
    {0x0BAE, 0x0BB5, 2},
    {0x0BB7, 0x0BB9, 2},
    {0x0BBE, 0x0BC2, 1},
    {0x0BC6, 0x0BC8, 1},
    {0x0BCA, 0x0BCD, 1},
    {0x0BD7, 0x0BD7, 1},
    {0x0BE7, 0x0BEF, 1},
    {0x0C01, 0x0C03, 1},
    {0x0C05, 0x0C0C, 2},
    {0x0C0E, 0x0C10, 2},
    {0x0C12, 0x0C28, 2},
    {0x0C2A, 0x0C33, 2},
    {0x0C35, 0x0C39, 2},
    {0x0C3E, 0x0C44, 1},
    {0x0C46, 0x0C48, 1},
    {0x0C4A, 0x0C4D, 1},
    {0x0C55, 0x0C56, 1},
    {0x0C60, 0x0C61, 2},
    {0x0C66, 0x0C6F, 1},
    {0x0C82, 0x0C83, 1},
    {0x0C85, 0x0C8C, 2},
    {0x0C8E, 0x0C90, 2},
    {0x0C92, 0x0CA8, 2},
    {0x0CAA, 0x0CB3, 2},
    {0x0CB5, 0x0CB9, 2},
    {0x0CBE, 0x0CC4, 1},
    {0x0CC6, 0x0CC8, 1},
    {0x0CCA, 0x0CCD, 1},
    {0x0CD5, 0x0CD6, 1},
    {0x0CDE, 0x0CDE, 2},
    {0x0CE0, 0x0CE1, 2},
    {0x0CE6, 0x0CEF, 1},
    {0x0D02, 0x0D03, 1},
    {0x0D05, 0x0D0C, 2},
    {0x0D0E, 0x0D10, 2},
    {0x0D12, 0x0D28, 2},
    {0x0D2A, 0x0D39, 2},
    {0x0D3E, 0x0D43, 1},
    {0x0D46, 0x0D48, 1},
    {0x0D4A, 0x0D4D, 1},
    {0x0D57, 0x0D57, 1},
    {0x0D60, 0x0D61, 2},
    {0x0D66, 0x0D6F, 1},
    {0x0E01, 0x0E2E, 2},
    {0x0E30, 0x0E30, 2},
    {0x0E31, 0x0E31, 1},
    {0x0E32, 0x0E33, 2},
    {0x0E34, 0x0E3A, 1},
    {0x0E40, 0x0E45, 2},
    {0x0E46, 0x0E4E, 1},
    {0x0E50, 0x0E59, 1},
    {0x0E81, 0x0E82, 2},
    {0x0E84, 0x0E84, 2},
    {0x0E87, 0x0E88, 2},
    {0x0E8A, 0x0E8A, 2},
    {0x0E8D, 0x0E8D, 2},
    {0x0E94, 0x0E97, 2},
    {0x0E99, 0x0E9F, 2},
    {0x0EA1, 0x0EA3, 2},
    {0x0EA5, 0x0EA5, 2},
    {0x0EA7, 0x0EA7, 2},
    {0x0EAA, 0x0EAB, 2},
    {0x0EAD, 0x0EAE, 2},
    {0x0EB0, 0x0EB0, 2},
    {0x0EB1, 0x0EB1, 1},
    {0x0EB2, 0x0EB3, 2},
    {0x0EB4, 0x0EB9, 1},
    {0x0EBB, 0x0EBC, 1},
    {0x0EBD, 0x0EBD, 2},
    {0x0EC0, 0x0EC4, 2},
    {0x0EC6, 0x0EC6, 1},
    {0x0EC8, 0x0ECD, 1},
    {0x0ED0, 0x0ED9, 1},
    {0x0F18, 0x0F19, 1},
    {0x0F20, 0x0F29, 1},
    {0x0F35, 0x0F35, 1},
    {0x0F37, 0x0F37, 1},
    {0x0F39, 0x0F39, 1},
    {0x0F3E, 0x0F3F, 1},
    {0x0F40, 0x0F47, 2},
    {0x0F49, 0x0F69, 2},
    {0x0F71, 0x0F84, 1},
    {0x0F86, 0x0F8B, 1},
    {0x0F90, 0x0F95, 1},
    {0x0F97, 0x0F97, 1},
    {0x0F99, 0x0FAD, 1},
    {0x0FB1, 0x0FB7, 1},
    {0x0FB9, 0x0FB9, 1},
    {0x10A0, 0x10C5, 2},
    {0x10D0, 0x10F6, 2},
    {0x1100, 0x1100, 2},
    {0x1102, 0x1103, 2},
    {0x1105, 0x1107, 2},
    {0x1109, 0x1109, 2},
    {0x110B, 0x110C, 2},
    {0x110E, 0x1112, 2},
    {0x113C, 0x113C, 2},
    {0x113E, 0x113E, 2},
    {0x1140, 0x1140, 2},
    {0x114C, 0x114C, 2},
    {0x114E, 0x114E, 2},
    {0x1150, 0x1150, 2},
    {0x1154, 0x1155, 2},
    {0x1159, 0x1159, 2},
    {0x115F, 0x1161, 2},
    {0x1163, 0x1163, 2},
    {0x1165, 0x1165, 2},
    {0x1167, 0x1167, 2},
    {0x1169, 0x1169, 2},
    {0x116D, 0x116E, 2},
    {0x1172, 0x1173, 2},
    {0x1175, 0x1175, 2},
    {0x119E, 0x119E, 2},
    {0x11A8, 0x11A8, 2},
    {0x11AB, 0x11AB, 2},
    {0x11AE, 0x11AF, 2},
    {0x11B7, 0x11B8, 2},
    {0x11BA, 0x11BA, 2},
    {0x11BC, 0x11C2, 2},
    {0x11EB, 0x11EB, 2},
    {0x11F0, 0x11F0, 2},
    {0x11F9, 0x11F9, 2},
    {0x1E00, 0x1E9B, 2},
    {0x1EA0, 0x1EF9, 2},
    {0x1F00, 0x1F15, 2},
    {0x1F18, 0x1F1D, 2},
    {0x1F20, 0x1F45, 2},
    {0x1F48, 0x1F4D, 2},
    {0x1F50, 0x1F57, 2},
    {0x1F59, 0x1F59, 2},
    {0x1F5B, 0x1F5B, 2},
    {0x1F5D, 0x1F5D, 2},
    {0x1F5F, 0x1F7D, 2},
    {0x1F80, 0x1FB4, 2},
    {0x1FB6, 0x1FBC, 2},
    {0x1FBE, 0x1FBE, 2},
    {0x1FC2, 0x1FC4, 2},
    {0x1FC6, 0x1FCC, 2},
    {0x1FD0, 0x1FD3, 2},
    {0x1FD6, 0x1FDB, 2},
    {0x1FE0, 0x1FEC, 2},
    {0x1FF2, 0x1FF4, 2},
    {0x1FF6, 0x1FFC, 2},
    {0x20D0, 0x20DC, 1},
    {0x20E1, 0x20E1, 1},
    {0x2126, 0x2126, 2},
    {0x212A, 0x212B, 2},
    {0x212E, 0x212E, 2},
    {0x2180, 0x2182, 2},
    {0x3005, 0x3005, 1},
    {0x3007, 0x3007, 2},
    {0x3021, 0x3029, 2},
    {0x302A, 0x302F, 1},
    {0x3031, 0x3035, 1},
    {0x3041, 0x3094, 2},
    {0x3099, 0x309A, 1},
    {0x309D, 0x309E, 1},
    {0x30A1, 0x30FA, 2},
    {0x30FC, 0x30FE, 1},
    {0x3105, 0x312C, 2},
    {0x4E00, 0x9FA5, 2},
    {0xAC00, 0xD7A3, 2},
};

int kindOf(uint32_t code)
{
    size_t lo = 0;
    size_t hi = sizeof kRanges / sizeof kRanges[0];
    while (lo < hi) {
        size_t mid = (lo + hi) / 2;
        if (code < kRanges[mid].first)
            hi = mid;
        else if (code > kRanges[mid].last)
            lo = mid + 1;
        else
            return kRanges[mid].kind;
    }
    return 0;
}

int asciiKind(unsigned char c)
{
    if ((classOf(c) & kLetter) != 0 || c == '_')
        return 2;
    if ((classOf(c) & kDigit) != 0 || c == '-' || c == '.')
        return 1;
    return 0;
}

} // namespace

int check_name(const unsigned char *text, uint32_t length, int flags)
{
    if (length == 0)
        return static_cast<int>(Msg::kXmlNameBadCharacter);
    bool first = true;
    int colons = 0;
    for (uint32_t i = 0; i < length;) {
        unsigned char c = text[i];
        int kind;
        if (c == ':') {
            if ((flags & kNoColon) != 0)
                return static_cast<int>(Msg::kXmlNameBadCharacter);
            if (colons++ > 0)
                return static_cast<int>(Msg::kXmlNameColonInLocalPart);
            if (i == 0)
                return static_cast<int>(Msg::kXmlNameNoPrefix);
            if (i + 1 == length)
                return static_cast<int>(Msg::kXmlNameNoLocalPart);
            first = true; // the local part begins as a name does
            i++;
            continue;
        }
        if (c < 0x80) {
            kind = asciiKind(c);
            i++;
        } else if (c < 0xC0) {
            return static_cast<int>(Msg::kXmlNameStrayContinuation);
        } else if (c >= 0xF0) {
            return static_cast<int>(Msg::kXmlNameBadCharacter); // no 4-octet name characters
        } else {
            uint32_t n = c < 0xE0 ? 2 : 3;
            if (i + n > length)
                return static_cast<int>(Msg::kXmlNameUnfinishedSequence);
            uint32_t code = c & (n == 2 ? 0x1F : 0x0F);
            for (uint32_t j = 1; j < n; j++) {
                if ((text[i + j] & 0xC0) != 0x80)
                    return static_cast<int>(Msg::kXmlNameUnfinishedSequence);
                code = (code << 6) | (text[i + j] & 0x3Fu);
            }
            kind = kindOf(code);
            i += n;
        }
        if (kind == 0 || (first && kind != 2))
            return static_cast<int>(Msg::kXmlNameBadCharacter);
        first = false;
    }
    return 0;
}

bool check_uri(const unsigned char *text, uint32_t length)
{
    bool delimiterSeen = false; // a solidus, number sign or question mark before the first colon
    bool colonSeen = false;
    bool fragment = false;
    for (uint32_t i = 0; i < length; i++) {
        unsigned char c = text[i];
        if ((classOf(c) & (kUriPunctuation | kNameExtra | kAlnum | kColon)) == 0)
            return false;
        if (c == '#') {
            if (fragment)
                return false;
            fragment = true;
        }
        if (c == '%' && (i + 2 >= length || (classOf(text[i + 1]) & kHexDigit) == 0 ||
                         (classOf(text[i + 2]) & kHexDigit) == 0))
            return false;
        if (c == '/' || c == '#' || c == '?')
            delimiterSeen = delimiterSeen || !colonSeen;
        if (c == ':' && !colonSeen) {
            colonSeen = true;
            if (i == 0)
                return false;
            if (delimiterSeen)
                continue;
            // Otherwise what stands before it is a scheme, and something follows.
            if ((classOf(text[0]) & kLetter) == 0 || i + 1 == length)
                return false;
            for (uint32_t j = 1; j < i; j++) {
                unsigned char s = text[j];
                if ((classOf(s) & kAlnum) == 0 && s != '+' && s != '-' && s != '.')
                    return false;
            }
        }
    }
    return true;
}

} // namespace qor::tlex

using namespace qor::tlex;

extern "C" {

uint32_t _qor_tlex_resolve_prefix(QorXmlEnv *env, QorXmlWord *word)
{
    const unsigned char *text = word->text;
    uint32_t length = word->len;
    const auto *c = length != 0 ? static_cast<const unsigned char *>(memchr(text, ':', length)) : nullptr;
    int32_t colon = c != nullptr ? static_cast<int32_t>(c - text) : -1;
    uint32_t skip = colon < 0 ? 0 : static_cast<uint32_t>(colon) + 1;
    // The local part is a name without colons; a fault shows the whole word.
    if (int bad = check_name(length != 0 ? text + skip : text, length - skip, kNoColon))
        failText(env, static_cast<qor::Msg>(bad), text, length, false);
    word->colon = colon;
    const QorXmlNsDecl *d = find_prefix(env, colon < 0 ? nullptr : text, colon < 0 ? 0 : static_cast<uint32_t>(colon));
    if (d != nullptr) {
        word->ns_uri = d->uri;
        return d->uri != nullptr ? d->uri_len : 0;
    }
    word->ns_uri = nullptr;
    if (colon < 0)
        return 0;
    if (colon == 3 && memcmp(text, "xml", 3) == 0) {
        word->ns_uri = env->xml_uri;
        return kXmlNamespaceLength;
    }
    failText(env, qor::Msg::kXmlUndefinedPrefix, text, length, true);
}

} // extern "C"
