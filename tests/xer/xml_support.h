// EXER decodes of the Lexems and Probes PDUs, whose value is the lexer's
// trace: the fixture every XML lexer suite shares.
#pragma once

#include <string>

#include "support/roundtrip.h"

namespace qortest {

struct Outcome {
    int code;
    std::string trace; // the decoded lines, or the message
};

class XmlTest : public ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        ASSERT_EQ(qorSetEncodingRules(&world, QOR_EXER), 0);
    }

    Outcome decode(const std::string &doc, QorULong flags = 0, int pdu = PDU_Lexems)
    {
        QorBuf in = {static_cast<QorLong>(doc.size()),
                     reinterpret_cast<unsigned char *>(const_cast<char *>(doc.data()))};
        void *out = nullptr;
        qorSetDecodingFlags(&world, flags);
        int code = qorDecode(&world, &pdu, &in, &out);
        if (code != 0) {
            EXPECT_EQ(out, nullptr);
            return {code, qorGetErrMsg(&world)};
        }
        auto *raw = static_cast<Raw *>(out);
        Outcome o{0, std::string(reinterpret_cast<char *>(raw->data), static_cast<size_t>(raw->length))};
        qorFreePDU(&world, pdu, out);
        return o;
    }

    // The trace, or the message.
    std::string traceOf(const std::string &doc, QorULong flags = 0, int *code = nullptr)
    {
        Outcome o = decode(doc, flags);
        if (code != nullptr)
            *code = o.code;
        return o.trace;
    }
};

// Text of `n` copies of `piece`.
inline std::string times(const std::string &piece, size_t n)
{
    std::string s;
    s.reserve(piece.size() * n);
    for (size_t i = 0; i < n; i++)
        s += piece;
    return s;
}

} // namespace qortest
