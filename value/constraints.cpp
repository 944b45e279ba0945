// qorCheckConstraints: the generated constraint entry in a frame of its own,
// which turns the message index of a violation into its return code.
#include "value/constraints.h"

#include "frame/call.h"
#include "frame/errors.h"

using namespace qor;

namespace {

// Generated checks raise with the message index; while the operation is a
// check the raiser makes no text and exits with that index, and the code
// the application sees names the kind of violation.
struct IndexCode {
    int index;
    int code;
};
constexpr IndexCode kCodeOfIndex[] = {
    {9, 14},   {13, 19},   {14, 83},   {15, 82},   {16, 81},   {17, 80},  {19, 79}, {20, 123},
    {21, 78},  {22, 77},   {23, 76},   {24, 75},   {27, 74},   {28, 73},  {29, 72}, {30, 71},
    {284, 71}, {31, 70},   {285, 70},  {34, 69},   {35, 68},   {283, 68}, {36, 67}, {41, 66},
    {71, 11},  {150, 100}, {151, 101}, {286, 122}, {287, 122},
};

int codeOfIndex(int index)
{
    for (const IndexCode &m : kCodeOfIndex)
        if (m.index == index)
            return m.code;
    return QOR_CONSTRAINT_VIOLATED;
}

void checkTrapHandler(int signal)
{
    if (QorGlobal *world = trappedWorld(&checkTraps, signal))
        leave(world, static_cast<int>(Msg::kMemoryViolation));
}

struct CheckCall {
    QorValueEntry entry;
    int pdunum;
    void *value;
};

// Success is 0 whatever the entry returns: a violation is only ever raised.
int checkInFrame(QorGlobal *world, void *data)
{
    auto *call = static_cast<CheckCall *>(data);
    static_cast<void>(call->entry(world, call->pdunum, call->value));
    return 0;
}

constexpr CallSteps kCheckCall = {checkInFrame, nullptr};

} // namespace

TrapList qor::checkTraps = {nullptr, checkTrapHandler};

extern "C" int qorCheckConstraints(QorGlobal *world, int pdunum, void *value)
{
    if (world == nullptr || value == nullptr)
        return QOR_BAD_ARG;
    world->operation = QOR_OP_CHECK;
    const QorGlobalPrivate *p = world->privateArea;
    const QorXapiEntries *entries = p != nullptr ? p->xapiEntries : nullptr;
    // No check code: nothing can be violated.
    if (entries == nullptr || entries->constraintEntry == nullptr)
        return 0;
    CheckCall call = {entries->constraintEntry, pdunum, value};
    const bool trapping = ((world->encodingFlags | world->decodingFlags) & NOTRAPPING) == 0;
    // A check may be asked for in the middle of another call's work (from a
    // hook, say): that call's field stack, temporary memory and parent link
    // stay as they are.
    const int index = runCall(world, trapping, kCheckCall, &call, {&checkTraps, true});
    return index == 0 ? 0 : codeOfIndex(index);
}
