#include "lldp/daemon/neighbour_index.h"

#include <algorithm>

namespace lldpv2host::daemon {

namespace {

uint32_t StampOf(uint32_t changeTime) { return changeTime == UINT32_MAX ? UINT32_MAX : changeTime + 1; }

}  // namespace

void NeighbourIndex::Clear() {
    pool_.clear();
    freeBlocks_.clear();
    order_.clear();
    sizes_.clear();
    firsts_.clear();
    sums_.clear();
    groups_.clear();
    ports_.clear();
    size_ = 0;
}

size_t NeighbourIndex::BlockOf(const RemKey &key) const {
    auto it = std::upper_bound(firsts_.begin(), firsts_.end(), key);
    return it == firsts_.begin() ? 0 : static_cast<size_t>(it - firsts_.begin()) - 1;
}

bool NeighbourIndex::HoldsPort(uint32_t ifIndex) const {
    auto it = std::lower_bound(ports_.begin(), ports_.end(), std::make_pair(ifIndex, uint32_t{0}));
    return it != ports_.end() && it->first == ifIndex;
}

void NeighbourIndex::CountPort(uint32_t ifIndex, int delta) {
    auto it = std::lower_bound(ports_.begin(), ports_.end(), std::make_pair(ifIndex, uint32_t{0}));
    if (it == ports_.end() || it->first != ifIndex) {
        if (delta > 0) ports_.insert(it, {ifIndex, 1});
        return;
    }
    it->second += static_cast<uint32_t>(delta);
    if (it->second == 0) ports_.erase(it);
}

uint32_t NeighbourIndex::NewBlock() {
    if (!freeBlocks_.empty()) {
        const uint32_t slot = freeBlocks_.back();
        freeBlocks_.pop_back();
        return slot;
    }
    pool_.emplace_back();
    return static_cast<uint32_t>(pool_.size() - 1);
}

void NeighbourIndex::Summarize(size_t b) {
    Summary s;
    const Entry *e = Entries(b);
    for (size_t i = 0; i < sizes_[b]; ++i) s.Add(e[i].features, e[i].stamp);
    sums_[b] = s;
    firsts_[b] = e[0].key;
}

void NeighbourIndex::SummarizeGroups(size_t fromBlock) {
    const size_t groups = (order_.size() + kGroup - 1) / kGroup;
    groups_.resize(groups);
    for (size_t g = fromBlock / kGroup; g < groups; ++g) {
        Summary s;
        const size_t end = std::min(order_.size(), (g + 1) * kGroup);
        for (size_t b = g * kGroup; b < end; ++b) s.Add(sums_[b].features, sums_[b].stamp);
        groups_[g] = s;
    }
}

// Moves the upper half of the full block b into a new block after it.
void NeighbourIndex::Split(size_t b) {
    const uint32_t slot = NewBlock();  // may move the pool: entries are taken after
    const auto at = static_cast<long>(b) + 1;
    order_.insert(order_.begin() + at, slot);
    sizes_.insert(sizes_.begin() + at, static_cast<uint32_t>(kBlock - kBlock / 2));
    firsts_.insert(firsts_.begin() + at, RemKey{});
    sums_.insert(sums_.begin() + at, Summary{});
    std::copy(Entries(b) + kBlock / 2, Entries(b) + kBlock, Entries(b + 1));
    sizes_[b] = kBlock / 2;
    Summarize(b);
    Summarize(b + 1);
    SummarizeGroups(b);
}

void NeighbourIndex::Insert(const Neighbour *n) {
    const Entry entry{n->key, StampOf(n->changeTime), n->features, n};
    ++size_;
    CountPort(entry.key.ifIndex, 1);
    if (order_.empty()) {
        order_.push_back(NewBlock());
        sizes_.push_back(1);
        firsts_.push_back(entry.key);
        sums_.push_back(Summary{});
        Entries(0)[0] = entry;
        Summarize(0);
        SummarizeGroups(0);
        return;
    }
    size_t b = BlockOf(entry.key);
    if (sizes_[b] == kBlock) {
        Split(b);
        if (!(entry.key < firsts_[b + 1])) ++b;
    }
    Entry *e = Entries(b);
    const size_t size = sizes_[b];
    Entry *at = std::lower_bound(e, e + size, entry.key, [](const Entry &x, const RemKey &k) { return x.key < k; });
    std::copy_backward(at, e + size, e + size + 1);
    *at = entry;
    ++sizes_[b];
    sums_[b].Add(entry.features, entry.stamp);
    firsts_[b] = e[0].key;
    groups_[b / kGroup].Add(entry.features, entry.stamp);
}

void NeighbourIndex::Erase(const RemKey &key) {
    if (order_.empty()) return;
    const size_t b = BlockOf(key);
    Entry *e = Entries(b);
    const size_t size = sizes_[b];
    Entry *at = std::lower_bound(e, e + size, key, [](const Entry &x, const RemKey &k) { return x.key < k; });
    if (at == e + size || !(at->key == key)) return;
    std::copy(at + 1, e + size, at);
    --sizes_[b];
    --size_;
    CountPort(key.ifIndex, -1);
    if (sizes_[b] == 0) {
        freeBlocks_.push_back(order_[b]);
        const auto pos = static_cast<long>(b);
        order_.erase(order_.begin() + pos);
        sizes_.erase(sizes_.begin() + pos);
        firsts_.erase(firsts_.begin() + pos);
        sums_.erase(sums_.begin() + pos);
        SummarizeGroups(b);
        if (order_.empty()) Clear();
        return;
    }
    Summarize(b);
    SummarizeGroups(b - b % kGroup);
}

const Neighbour *NeighbourIndex::Next(const RemKey &after, bool inclusive, Feature feature, uint32_t timeMark) const {
    if (order_.empty()) return nullptr;
    const uint32_t f = feature;
    const uint32_t need = StampOf(timeMark);
    size_t b = BlockOf(after);
    // Inside the block of the key: from the first entry past it. All its
    // lines are requested before the search reads the first of them.
    if (sums_[b].May(f, need)) {
        const Entry *e = Entries(b);
        const auto *bytes = reinterpret_cast<const char *>(e);
        for (size_t line = 0; line < sizeof(Block); line += 64) __builtin_prefetch(bytes + line);
        const Entry *end = e + sizes_[b];
        const Entry *it = inclusive ? std::lower_bound(e, end, after,
                                                       [](const Entry &x, const RemKey &k) { return x.key < k; })
                                    : std::upper_bound(e, end, after,
                                                       [](const RemKey &k, const Entry &x) { return k < x.key; });
        for (; it != end; ++it) {
            if (((it->features >> f) & 1u) != 0 && it->stamp >= need) return it->n;
        }
    }
    // The following blocks, skipping groups and blocks their summaries rule out.
    for (++b; b < order_.size();) {
        if (b % kGroup == 0 && !groups_[b / kGroup].May(f, need)) {
            b += kGroup;
            continue;
        }
        if (sums_[b].May(f, need)) {
            const Entry *e = Entries(b);
            for (size_t i = 0; i < sizes_[b]; ++i) {
                if (((e[i].features >> f) & 1u) != 0 && e[i].stamp >= need &&
                    (inclusive ? !(e[i].key < after) : after < e[i].key)) {
                    return e[i].n;
                }
            }
        }
        ++b;
    }
    return nullptr;
}

}  // namespace lldpv2host::daemon
