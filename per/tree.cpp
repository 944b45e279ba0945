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

// A node seen through its control word; the full form's nodes have their
// first index in the word before it, the compact form's none.
struct Node {
    const QorULong *c;
    bool compact;

    QorULong kind() const { return c[0] >> 30; }
    QorULong listSize() const { return (c[0] >> 26) & 7; }
    QorULong firstIndex() const { return c[-1]; }
    QorULong low() const { return c[1]; }
    QorULong high() const
    {
        switch (kind()) {
        case kSingle: return c[1];
        case kRange: return c[2];
        default: return listSize() > 2 ? c[listSize() - 2] : 0;
        }
    }
    // Characters the node stands for.
    QorULong count() const
    {
        switch (kind()) {
        case kSingle: return 1;
        case kRange: return c[2] - c[1] + 1;
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
        if (!(c[0] & kSmallerFollows))
            return false;
        next->c = c + size();
        return true;
    }
    bool greater(Node *next) const
    {
        const QorULong distance = c[0] & kGreaterDistance;
        if (distance == 0)
            return false;
        next->c = c + distance;
        return true;
    }
};

Node rootOf(const QorULong *tree)
{
    // Compact: the mark stands where the first node's index would be.
    return Node{tree + 1, tree[0] == kCompactMark};
}

// The node that holds `ch` between its bounds, and its position there;
// false when the alphabet lacks it.
bool findChar(Node n, QorULong ch, Node *found, QorULong *position)
{
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
                if (n.c[1 + i] == ch) {
                    *position = i;
                    return true;
                }
            }
            // A list lacking it passes it on, as a range below it would:
            // in a search tree nothing greater holds it either.
            if (!n.greater(&n))
                return false;
        }
    }
}

} // namespace

QorULong treeIndexOf(const QorULong *tree, QorULong ch)
{
    Node n{};
    QorULong position = 0;
    if (tree[0] == kCompactMark || !findChar(rootOf(tree), ch, &n, &position))
        return kNotInAlphabet;
    return n.firstIndex() + position;
}

bool treeContains(const QorULong *tree, QorULong ch)
{
    Node n{};
    QorULong position = 0;
    return findChar(rootOf(tree), ch, &n, &position);
}

bool rangeListContains(const QorULong *list, QorULong ch)
{
    Node n{};
    QorULong position = 0;
    return findChar(Node{list, true}, ch, &n, &position);
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
            return n.kind() == kList ? n.c[1 + position] : n.low() + position;
        }
    }
}

} // namespace qor
