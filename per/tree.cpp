// Alphabet trees: permitted alphabets too wide for tables, as ranges, lists
// and single characters in binary-search order, walked by character or by
// index.
#include "per/alphabet.h"

namespace qor {
namespace {

enum Kind : QorULong { kSingle = 0, kRange = 1, kList = 2 };

constexpr QorULong kCompactMark = 0xFFFFFFFF;
constexpr QorULong kSmallerFollows = 1u << 25;
constexpr QorULong kGreaterDistance = 0xFFFF;

// A node seen through its first index word, present or not: word 1 is the
// control word, word 2 the character or lower bound.
struct Node {
    const QorULong *w; // the compact form's nodes start one word before w
    bool compact;

    QorULong kind() const { return w[1] >> 30; }
    QorULong listSize() const { return (w[1] >> 26) & 7; }
    QorULong firstIndex() const { return w[0]; }
    QorULong low() const { return w[2]; }
    QorULong high() const
    {
        switch (kind()) {
        case kSingle: return w[2];
        case kRange: return w[3];
        default: return listSize() > 2 ? w[listSize() - 1] : 0;
        }
    }
    // Characters the node stands for.
    QorULong count() const
    {
        switch (kind()) {
        case kSingle: return 1;
        case kRange: return w[3] - w[2] + 1;
        default: return listSize() > 2 ? listSize() - 2 : 0;
        }
    }
    // Words the node takes: 3, 4 or s + 1, one fewer when compact.
    QorULong size() const
    {
        const QorULong full = kind() == kSingle ? 3 : kind() == kRange ? 4 : listSize() + 1;
        return compact ? full - 1 : full;
    }
    bool smaller(Node *next) const
    {
        if (!(w[1] & kSmallerFollows))
            return false;
        next->w = w + size();
        return true;
    }
    bool greater(Node *next) const
    {
        const QorULong distance = w[1] & kGreaterDistance;
        if (distance == 0)
            return false;
        next->w = w + distance;
        return true;
    }
};

Node rootOf(const QorULong *tree)
{
    // Compact: the mark stands where the first node's index would be.
    return Node{tree, tree[0] == kCompactMark};
}

// The node that holds `ch` between its bounds, and its position there;
// false when the alphabet lacks it.
bool findChar(const QorULong *tree, QorULong ch, Node *found, QorULong *position)
{
    Node n = rootOf(tree);
    for (;;) {
        if (ch < n.low()) {
            if (!n.smaller(&n))
                return false;
        } else if (ch > n.high()) {
            if (!n.greater(&n))
                return false;
        } else {
            *found = n;
            if (n.kind() != kList) {
                *position = ch - n.low();
                return true;
            }
            for (QorULong i = 0; i < n.count(); i++) {
                if (n.w[2 + i] == ch) {
                    *position = i;
                    return true;
                }
            }
            return false;
        }
    }
}

} // namespace

QorULong treeIndexOf(const QorULong *tree, QorULong ch)
{
    Node n{};
    QorULong position = 0;
    if (tree[0] == kCompactMark || !findChar(tree, ch, &n, &position))
        return kNotInAlphabet;
    return n.firstIndex() + position;
}

bool treeContains(const QorULong *tree, QorULong ch)
{
    Node n{};
    QorULong position = 0;
    return findChar(tree, ch, &n, &position);
}

QorULong treeCharAt(const QorULong *tree, QorULong index)
{
    if (tree[0] == kCompactMark)
        return kNoCharacter;
    Node n = rootOf(tree);
    for (;;) {
        if (index < n.firstIndex()) {
            if (!n.smaller(&n))
                return kNoCharacter;
        } else if (index - n.firstIndex() >= n.count()) {
            if (!n.greater(&n))
                return kNoCharacter;
        } else {
            const QorULong position = index - n.firstIndex();
            return n.kind() == kList ? n.w[2 + position] : n.low() + position;
        }
    }
}

} // namespace qor
