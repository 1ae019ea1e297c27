#ifndef ovUtility_detail_FirstMatchTree_hxx_seen
#define ovUtility_detail_FirstMatchTree_hxx_seen

#include <algorithm>
#include <vector>

namespace ovUtility {
    template <class Value>
    class FirstMatchTree;
}

/// Values on the places 0 to n-1 of a sequence, some of which are removed
/// in the course of a procedure, in a tree of maxima: it finds the first
/// place from a given one on whose value passes a test, without walking the
/// places before it.  The test must hold for every value above one for
/// which it holds, so that a part of the sequence holds a passing value
/// exactly when its largest value passes.
template <class Value>
class ovUtility::FirstMatchTree {
public:
    explicit FirstMatchTree(const std::vector<Value>& values) : fLeaves(1) {
        while (fLeaves < values.size()) fLeaves *= 2;
        fMax.assign(2 * fLeaves, Value());
        fAny.assign(2 * fLeaves, 0);
        for (std::size_t place = 0; place < values.size(); ++place) {
            fMax[fLeaves + place] = values[place];
            fAny[fLeaves + place] = 1;
        }
        for (std::size_t node = fLeaves - 1; node > 0; --node) Update(node);
    }

    /// The place leaves the sequence for good.
    void Remove(std::size_t place) {
        std::size_t node = fLeaves + place;
        fAny[node] = 0;
        for (node /= 2; node > 0; node /= 2) Update(node);
    }

    /// The value on a place changes.
    void Set(std::size_t place, Value value) {
        std::size_t node = fLeaves + place;
        fMax[node] = value;
        for (node /= 2; node > 0; node /= 2) Update(node);
    }

    /// The first place from `from` on that is still there and whose value
    /// passes `test`, or `none`.
    template <class Test>
    std::size_t First(std::size_t from, Test test, std::size_t none) const {
        return First(1, 0, fLeaves, from, test, none);
    }

private:
    void Update(std::size_t node) {
        const std::size_t left = 2 * node, right = 2 * node + 1;
        fAny[node] = fAny[left] || fAny[right];
        if (fAny[left] && fAny[right])
            fMax[node] = std::max(fMax[left], fMax[right]);
        else if (fAny[node])
            fMax[node] = fAny[left] ? fMax[left] : fMax[right];
    }

    template <class Test>
    std::size_t First(std::size_t node, std::size_t low, std::size_t high, std::size_t from,
                      Test& test, std::size_t none) const {
        if (high <= from || !fAny[node] || !test(fMax[node])) return none;
        if (node >= fLeaves) return low;
        std::size_t middle = (low + high) / 2;
        std::size_t left = First(2 * node, low, middle, from, test, none);
        if (left != none) return left;
        return First(2 * node + 1, middle, high, from, test, none);
    }

    std::size_t fLeaves;
    std::vector<Value> fMax;
    std::vector<char> fAny;
};

#endif
