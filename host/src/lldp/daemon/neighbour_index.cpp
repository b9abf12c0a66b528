#include "lldp/daemon/neighbour_index.h"

#include <algorithm>

namespace lldpv2host::daemon {

namespace {

uint32_t StampOf(uint32_t changeTime) { return changeTime == UINT32_MAX ? UINT32_MAX : changeTime + 1; }

}  // namespace

void NeighbourIndex::Clear() {
    blocks_.clear();
    firsts_.clear();
    sums_.clear();
    groups_.clear();
    size_ = 0;
}

size_t NeighbourIndex::BlockOf(const RemKey &key) const {
    auto it = std::upper_bound(firsts_.begin(), firsts_.end(), key);
    return it == firsts_.begin() ? 0 : static_cast<size_t>(it - firsts_.begin()) - 1;
}

void NeighbourIndex::Summarize(size_t b) {
    Summary s;
    for (const Entry &e : blocks_[b]) s.Add(e.features, e.stamp);
    sums_[b] = s;
    firsts_[b] = blocks_[b].front().key;
}

void NeighbourIndex::SummarizeGroups(size_t fromBlock) {
    const size_t groups = (blocks_.size() + kGroup - 1) / kGroup;
    groups_.resize(groups);
    for (size_t g = fromBlock / kGroup; g < groups; ++g) {
        Summary s;
        const size_t end = std::min(blocks_.size(), (g + 1) * kGroup);
        for (size_t b = g * kGroup; b < end; ++b) s.Add(sums_[b].features, sums_[b].stamp);
        groups_[g] = s;
    }
}

void NeighbourIndex::Insert(const Neighbour *n) {
    const Entry entry{n->key, StampOf(n->changeTime), n->features, n};
    ++size_;
    if (blocks_.empty()) {
        blocks_.push_back({entry});
        firsts_.push_back(entry.key);
        sums_.push_back(Summary{});
        Summarize(0);
        SummarizeGroups(0);
        return;
    }
    const size_t b = BlockOf(entry.key);
    std::vector<Entry> &block = blocks_[b];
    auto at = std::lower_bound(block.begin(), block.end(), entry.key,
                               [](const Entry &e, const RemKey &k) { return e.key < k; });
    block.insert(at, entry);
    if (block.size() <= kBlock) {
        sums_[b].Add(entry.features, entry.stamp);
        firsts_[b] = block.front().key;
        groups_[b / kGroup].Add(entry.features, entry.stamp);
        return;
    }
    // Split the full block in halves.
    std::vector<Entry> upper(block.begin() + static_cast<long>(block.size() / 2), block.end());
    block.resize(block.size() / 2);
    blocks_.insert(blocks_.begin() + static_cast<long>(b) + 1, std::move(upper));
    firsts_.insert(firsts_.begin() + static_cast<long>(b) + 1, RemKey{});
    sums_.insert(sums_.begin() + static_cast<long>(b) + 1, Summary{});
    Summarize(b);
    Summarize(b + 1);
    SummarizeGroups(b);
}

void NeighbourIndex::Erase(const RemKey &key) {
    if (blocks_.empty()) return;
    const size_t b = BlockOf(key);
    std::vector<Entry> &block = blocks_[b];
    auto at = std::lower_bound(block.begin(), block.end(), key,
                               [](const Entry &e, const RemKey &k) { return e.key < k; });
    if (at == block.end() || !(at->key == key)) return;
    block.erase(at);
    --size_;
    if (block.empty()) {
        blocks_.erase(blocks_.begin() + static_cast<long>(b));
        firsts_.erase(firsts_.begin() + static_cast<long>(b));
        sums_.erase(sums_.begin() + static_cast<long>(b));
        SummarizeGroups(b);
        return;
    }
    Summarize(b);
    SummarizeGroups(b - b % kGroup);
    groups_.resize((blocks_.size() + kGroup - 1) / kGroup);
}

const Neighbour *NeighbourIndex::Next(const RemKey &after, bool inclusive, Feature feature, uint32_t timeMark) const {
    if (blocks_.empty()) return nullptr;
    const uint32_t f = feature;
    const uint32_t need = StampOf(timeMark);
    size_t b = BlockOf(after);
    // Inside the block of the key: from the first entry past it.
    if (sums_[b].May(f, need)) {
        const std::vector<Entry> &block = blocks_[b];
        auto it = inclusive ? std::lower_bound(block.begin(), block.end(), after,
                                               [](const Entry &e, const RemKey &k) { return e.key < k; })
                            : std::upper_bound(block.begin(), block.end(), after,
                                               [](const RemKey &k, const Entry &e) { return k < e.key; });
        for (; it != block.end(); ++it) {
            if (((it->features >> f) & 1u) != 0 && it->stamp >= need) return it->n;
        }
    }
    // The following blocks, skipping groups and blocks their summaries rule out.
    for (++b; b < blocks_.size();) {
        if (b % kGroup == 0 && !groups_[b / kGroup].May(f, need)) {
            b += kGroup;
            continue;
        }
        if (sums_[b].May(f, need)) {
            for (const Entry &e : blocks_[b]) {
                if (((e.features >> f) & 1u) != 0 && e.stamp >= need && (inclusive ? !(e.key < after) : after < e.key)) {
                    return e.n;
                }
            }
        }
        ++b;
    }
    return nullptr;
}

}  // namespace lldpv2host::daemon
