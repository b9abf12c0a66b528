// The neighbours of one daemon by key. Each neighbour is one record that
// holds its fields and, right after them, its TLV stream; the records come
// from a pool of 2 MB huge-page blocks in 64-byte units, so that neighbours
// lie densely in few pages. They are found through an open-addressing hash
// table (linear probing, at most half full) whose slots hold the key's hash
// next to the record's address: a lookup from a random key reads one slot
// and the record's own cache lines, and nothing else.
//
// The store also remembers one neighbour, the last one a query answered
// (Remember): the next Find of the same key answers it without a hash
// lookup. That serves the remote systems row, whose flags are asked right
// after the get or get-next that found it. Any change to the store forgets
// it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lldp/daemon/large_pages.h"
#include "lldp/daemon/remote.h"

namespace lldpv2host::daemon {

class NeighbourStore {
public:
    NeighbourStore() = default;
    NeighbourStore(const NeighbourStore &) = delete;
    NeighbourStore &operator=(const NeighbourStore &) = delete;
    ~NeighbourStore();

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

    const Neighbour *Find(const RemKey &key) const { return Lookup(key); }
    // For a caller that changes the neighbour. The store notes its own
    // changes (DataGeneration); a caller that changes a field a read of the
    // remote tables shows notes that itself.
    Neighbour *FindMutable(const RemKey &key) {
        last_ = nullptr;
        return Lookup(key);
    }
    bool Contains(const RemKey &key) const { return Find(key) != nullptr; }

    // A new neighbour with key, which the store must not hold yet, the TLV
    // stream tlvs and its sub-row entries sub; its other fields have their
    // defaults.
    Neighbour *Create(const RemKey &key, std::span<const uint8_t> tlvs, std::span<const SubEntry> sub = {});
    // Gives n the TLV stream tlvs and the sub-row entries sub. The record
    // stays where it is when they fit its allocation, and moves otherwise:
    // the address returned replaces n, which then no longer exists.
    Neighbour *SetTlvs(Neighbour *n, std::span<const uint8_t> tlvs, std::span<const SubEntry> sub = {});
    void Erase(const RemKey &key);
    void Clear();

    // Makes n, a neighbour of this store, the one the next Find of its key
    // answers directly.
    void Remember(const Neighbour *n) const { last_ = n; }

    // Calls f(const Neighbour &) for every neighbour, in no particular order.
    template <typename F>
    void ForEach(F &&f) const {
        for (const Slot &s : slots_) {
            if (s.n != nullptr) f(*s.n);
        }
    }

private:
    struct Slot {
        uint64_t hash = 0;
        Neighbour *n = nullptr;  // null: the slot is free
    };

    static uint64_t HashOf(const RemKey &key);
    // The slot that holds key, or the free slot where it would go.
    size_t SlotOf(const RemKey &key, uint64_t hash) const;
    Neighbour *Lookup(const RemKey &key) const;
    void Grow();

    std::vector<Slot, LargePageAllocator<Slot>> slots_;
    size_t size_ = 0;
    mutable const Neighbour *last_ = nullptr;
};

}  // namespace lldpv2host::daemon
