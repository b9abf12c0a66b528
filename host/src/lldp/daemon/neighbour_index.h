// An ordered index of neighbours by (port, agent, remote index) that answers
// "the first neighbour after a key that carries feature f and changed at or
// after time t". The neighbours lie in sorted blocks of at most kBlock
// entries (512 bytes, eight cache lines, taken from one huge-page backed
// pool); the first keys and summaries (union of features, latest change) of
// the blocks are kept in contiguous arrays in key order, and the block
// summaries once more per group of kGroup blocks. A search is a binary
// search over the first keys, which stay in the caches, and one inside a
// block whose lines are all requested at once, then a walk that skips whole
// blocks and groups by their summaries: it waits for memory about once also
// when the index holds a hundred thousand neighbours.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "lldp/daemon/large_pages.h"
#include "lldp/daemon/remote.h"

namespace lldpv2host::daemon {

class NeighbourIndex {
public:
    // The neighbour's key, change time and features must not change while it
    // is indexed: erase it first, change it, insert it again. The same goes
    // for its address.
    void Insert(const Neighbour *n);
    void Erase(const RemKey &key);
    void Clear();
    size_t Size() const { return size_; }

    // True when some indexed neighbour is on port ifIndex.
    bool HoldsPort(uint32_t ifIndex) const;

    // The first neighbour whose key is above `after` (or equal to it when
    // inclusive) that has feature and a change time >= timeMark; null if none.
    const Neighbour *Next(const RemKey &after, bool inclusive, Feature feature, uint32_t timeMark) const;

private:
    static constexpr size_t kBlock = 16;
    static constexpr size_t kGroup = 32;

    struct Entry {
        RemKey key;
        uint32_t stamp = 0;  // 1 + change time (saturating)
        uint32_t features = 0;
        const Neighbour *n = nullptr;
    };
    struct alignas(64) Block {
        Entry e[kBlock];
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

    size_t BlockOf(const RemKey &key) const;  // position of the block that holds or would hold key
    Entry *Entries(size_t b) { return pool_[order_[b]].e; }
    const Entry *Entries(size_t b) const { return pool_[order_[b]].e; }
    uint32_t NewBlock();
    void Split(size_t b);
    void Summarize(size_t b);
    void SummarizeGroups(size_t fromBlock);
    void CountPort(uint32_t ifIndex, int delta);

    std::vector<Block, LargePageAllocator<Block>> pool_;
    std::vector<uint32_t> freeBlocks_;  // pool slots not in use
    // Per block, in key order: its pool slot, entry count, first key, summary.
    std::vector<uint32_t> order_;
    std::vector<uint32_t> sizes_;
    std::vector<RemKey> firsts_;
    std::vector<Summary> sums_;
    std::vector<Summary> groups_;  // per kGroup blocks
    std::vector<std::pair<uint32_t, uint32_t>> ports_;  // (ifIndex, entries), by ifIndex
    size_t size_ = 0;
};

}  // namespace lldpv2host::daemon
