// A stack of small records for one call: the first four in the context's
// private area, the rest in frames of four taken from temporary memory, each
// frame freed by the pop that empties it. The PER open-type length fix-ups
// of the encoder and the open-type views of the decoder use it.
#pragma once

#include "frame/export.h"

namespace qor {

template <class Record> struct RecordFrame {
    RecordFrame *older;
    Record records[4];
    int count;
};

template <class Record> struct RecordStack {
    Record inline_[4];
    int count;                    // records in `inline_`
    RecordFrame<Record> *frames; // the newest frame; null when none

    void reset()
    {
        count = 0;
        frames = nullptr;
    }

    bool empty() const { return count == 0 && frames == nullptr; }

    // A new record on top.
    Record *push(QorGlobal *world)
    {
        if (count < 4 && frames == nullptr)
            return &inline_[count++];
        if (frames == nullptr || frames->count == 4) {
            auto *frame = static_cast<RecordFrame<Record> *>(
                _qor_dec_gettempmem(world, sizeof(RecordFrame<Record>)));
            frame->older = frames;
            frame->count = 0;
            frames = frame;
        }
        return &frames->records[frames->count++];
    }

    Record *top() { return frames != nullptr ? &frames->records[frames->count - 1] : &inline_[count - 1]; }

    // Takes the top record off; the caller has read it.
    void pop(QorGlobal *world)
    {
        if (frames == nullptr) {
            count--;
            return;
        }
        if (--frames->count == 0) {
            RecordFrame<Record> *emptied = frames;
            frames = emptied->older;
            _qor_dec_freetempmem(world, emptied);
        }
    }
};

} // namespace qor
