// Calling BER primitives directly: an encoder's output gathered, a decoder
// run over given octets.
#pragma once

#include "support/roundtrip.h"

namespace qortest {

class BerTest : public ContextTest {
protected:
    // What `write` puts below an empty output, as one message; sizing mode
    // must count the same.
    template <class Write> Bytes encoded(Write &&write)
    {
        unsigned char *pos = nullptr;
        QorLong room = 0;
        QorLong length = 0;
        unsigned char *value = nullptr;
        QorLong returned = 0;
        int code = inFrame(&world, QOR_OP_ENCODE, [&] {
            returned = write(&pos, &room);
            _qor_set_outmem_d(&world, room, &length, &value);
        });
        EXPECT_EQ(code, 0) << qorGetErrMsg(&world);
        Bytes out(value, value + length);
        if (value != nullptr)
            world.userFree(&world, value);
        EXPECT_EQ(returned, length) << "returned size";
        world.encodingFlags |= DETERMINE_ENC_LENGTH;
        world.encLength = 0;
        pos = nullptr;
        room = 0;
        inFrame(&world, QOR_OP_ENCODE, [&] { write(&pos, &room); });
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        EXPECT_EQ(world.encLength, length) << "sizing mode";
        return out;
    }

    // Runs `read` over `input`; returns 0 or the raised code, and how many
    // octets it consumed.
    template <class Read> int decoded(const Bytes &input, Read &&read, QorLong *consumed = nullptr)
    {
        Bytes copy = input;
        unsigned char *pos = copy.data();
        QorLong room = static_cast<QorLong>(copy.size());
        int code = inFrame(&world, QOR_OP_DECODE, [&] { read(&pos, &room); });
        if (consumed != nullptr)
            *consumed = static_cast<QorLong>(copy.size()) - room;
        qorMemQueueFreeForTest();
        return code;
    }

    // Pieces a decoder took stay listed in the context; give them back.
    void qorMemQueueFreeForTest()
    {
        for (QorMemBlockRecord *r = &world.blockQueue; r != nullptr; r = r->next)
            for (int i = 0; i < r->count; i++)
                world.userFree(&world, r->slot[i]);
        QorMemBlockRecord *r = world.blockQueue.next;
        while (r != nullptr) {
            QorMemBlockRecord *next = r->next;
            world.userFree(&world, r);
            r = next;
        }
        world.blockQueue.count = 0;
        world.blockQueue.next = nullptr;
        world.totalBytes = 0;
    }
};

} // namespace qortest
