// An ordered index of neighbours by (port, agent, remote index) that answers
// "the first neighbour after a key that carries feature f and changed at or
// after time t". The neighbours lie in sorted blocks of at most kBlock
// entries; the first keys and summaries (union of features, latest change)
// of the blocks are kept in contiguous arrays, and the block summaries once
// more per group of kGroup blocks. A search is a binary search over the
// first keys and one inside a block, then a walk that skips whole blocks and
// groups by their summaries, so that it reads few cache lines also when the
// index holds a hundred thousand neighbours.
#pragma once

#include <cstdint>
#include <vector>

#include "lldp/daemon/remote.h"

namespace lldpv2host::daemon {

class NeighbourIndex {
public:
    // The neighbour's key, change time and features must not change while it
    // is indexed: erase it first, change it, insert it again.
    void Insert(const Neighbour *n);
    void Erase(const RemKey &key);
    void Clear();
    size_t Size() const { return size_; }

    // The first neighbour whose key is above `after` (or equal to it when
    // inclusive) that has feature and a change time >= timeMark; null if none.
    const Neighbour *Next(const RemKey &after, bool inclusive, Feature feature, uint32_t timeMark) const;

private:
    static constexpr size_t kBlock = 64;
    static constexpr size_t kGroup = 32;

    struct Entry {
        RemKey key;
        uint32_t stamp = 0;  // 1 + change time (saturating)
        uint32_t features = 0;
        const Neighbour *n = nullptr;
    };
    struct Summary {
        uint32_t features = 0;
        uint32_t stamp = 0;
        bool May(uint32_t f, uint32_t need) const { return ((features >> f) & 1u) != 0 && stamp >= need; }
        void Add(uint32_t feat, uint32_t st) {
            features |= feat;
            if (st > stamp) stamp = st;
        }
    };

    size_t BlockOf(const RemKey &key) const;  // the block that holds or would hold key
    void Summarize(size_t block);
    void SummarizeGroups(size_t fromBlock);

    std::vector<std::vector<Entry>> blocks_;
    std::vector<RemKey> firsts_;     // first key of each block
    std::vector<Summary> sums_;      // per block
    std::vector<Summary> groups_;    // per kGroup blocks
    size_t size_ = 0;
};

}  // namespace lldpv2host::daemon
