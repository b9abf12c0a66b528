#include "lldp/daemon/neighbour_store.h"

#include "data_generation.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <array>
#include <utility>
#include <cstring>
#include <mutex>
#include <new>
#include <type_traits>

namespace lldpv2host::daemon {

static_assert(std::is_trivially_destructible_v<Neighbour>, "records are released without a destructor");
static_assert(alignof(Neighbour) <= 64, "records are 64-byte aligned");

namespace {

// The records of every daemon: blocks in 64-byte units carved from chunks,
// with a free list per block size. The chunks grow from 64 KB to 2 MB
// huge-page chunks, so that a stack with few neighbours does not hold a
// whole huge page for them. Records above
// kMaxPooled octets are allocated one by one. When no record is left, the
// chunks go back to the system. Daemons may be destroyed outside the state
// lock (the switch model holds them too), hence the pool's own lock.
class RecordPool {
public:
    static constexpr size_t kUnit = 64;
    static constexpr size_t kMaxPooled = 4096;

    static size_t BlockSize(size_t bytes) { return (bytes + kUnit - 1) / kUnit * kUnit; }

    // A block of BlockSize(bytes) octets, 64-byte aligned.
    void *Allocate(size_t bytes) {
        const size_t size = BlockSize(bytes);
        std::lock_guard<std::mutex> guard(lock_);
        void *p = nullptr;
        if (size > kMaxPooled) {
            p = ::operator new(size, std::align_val_t{kUnit});
        } else if (std::vector<void *> &list = free_[size / kUnit - 1]; !list.empty()) {
            p = list.back();
            list.pop_back();
        } else {
            if (static_cast<size_t>(end_ - next_) < size) NewChunk();
            p = next_;
            next_ += size;
        }
        ASAN_UNPOISON_MEMORY_REGION(p, size);
        ++live_;
        return p;
    }

    void Release(void *p, size_t bytes) {
        const size_t size = BlockSize(bytes);
        std::lock_guard<std::mutex> guard(lock_);
        if (size > kMaxPooled) {
            ::operator delete(p, std::align_val_t{kUnit});
        } else {
            ASAN_POISON_MEMORY_REGION(p, size);
            free_[size / kUnit - 1].push_back(p);
        }
        if (--live_ == 0) ReleaseChunks();
    }

private:
    static constexpr size_t kFirstChunk = size_t{64} << 10;

    void NewChunk() {
        const size_t size = std::min(kLargePage, kFirstChunk << std::min<size_t>(chunks_.size(), 8));
        void *chunk = size == kLargePage ? AllocLarge(size) : ::operator new(size, std::align_val_t{kUnit});
        chunks_.push_back({chunk, size});
        ASAN_POISON_MEMORY_REGION(chunk, size);
        next_ = static_cast<uint8_t *>(chunk);
        end_ = next_ + size;
    }

    void ReleaseChunks() {
        for (const auto &[chunk, size] : chunks_) {
            ASAN_UNPOISON_MEMORY_REGION(chunk, size);
            if (size == kLargePage) {
                FreeLarge(chunk);
            } else {
                ::operator delete(chunk, std::align_val_t{kUnit});
            }
        }
        chunks_.clear();
        for (std::vector<void *> &list : free_) std::vector<void *>().swap(list);
        next_ = end_ = nullptr;
    }

    std::mutex lock_;
    std::array<std::vector<void *>, kMaxPooled / kUnit> free_;
    std::vector<std::pair<void *, size_t>> chunks_;
    uint8_t *next_ = nullptr;
    uint8_t *end_ = nullptr;
    size_t live_ = 0;
};

// Never destroyed: daemons may outlive the static objects at process exit.
RecordPool &Pool() {
    static RecordPool *pool = new RecordPool;
    return *pool;
}

// Writes the TLV stream and the sub-row entries into n's allocation.
void Fill(Neighbour *n, std::span<const uint8_t> tlvs, std::span<const SubEntry> sub) {
    n->tlvLen = static_cast<uint32_t>(tlvs.size());
    n->subCount = static_cast<uint16_t>(sub.size());
    if (!tlvs.empty()) std::memmove(n->Tlvs(), tlvs.data(), tlvs.size());
    const size_t pad = Neighbour::SubOffset(tlvs.size()) - tlvs.size();
    if (pad > 0) std::memset(n->Tlvs() + tlvs.size(), 0, pad);
    if (!sub.empty()) {
        std::memcpy(n->Tlvs() + Neighbour::SubOffset(tlvs.size()), sub.data(), sub.size() * sizeof(SubEntry));
    }
}

Neighbour *NewRecord(const Neighbour &fields, std::span<const uint8_t> tlvs, std::span<const SubEntry> sub) {
    const size_t bytes = sizeof(Neighbour) + Neighbour::PayloadSize(tlvs.size(), sub.size());
    auto *n = new (Pool().Allocate(bytes)) Neighbour(fields);
    n->capacity = static_cast<uint32_t>(RecordPool::BlockSize(bytes) - sizeof(Neighbour));
    Fill(n, tlvs, sub);
    return n;
}

void FreeRecord(Neighbour *n) { Pool().Release(n, sizeof(Neighbour) + n->capacity); }

}  // namespace

NeighbourStore::~NeighbourStore() { Clear(); }

uint64_t NeighbourStore::HashOf(const RemKey &key) {
    uint64_t h = (uint64_t{key.ifIndex} << 32 | key.remIndex) ^ (uint64_t{key.agent} << 62) ^
                 (uint64_t{key.ifIndex} * 0x9E3779B97F4A7C15ull);
    h ^= h >> 30;
    h *= 0xBF58476D1CE4E5B9ull;
    h ^= h >> 27;
    h *= 0x94D049BB133111EBull;
    return h ^ (h >> 31);
}

size_t NeighbourStore::SlotOf(const RemKey &key, uint64_t hash) const {
    const size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot &s = slots_[i];
        if (s.n == nullptr || (s.hash == hash && s.n->key == key)) return i;
    }
}

Neighbour *NeighbourStore::Lookup(const RemKey &key) const {
    if (last_ != nullptr && last_->key == key) return const_cast<Neighbour *>(last_);
    if (size_ == 0) return nullptr;
    return slots_[SlotOf(key, HashOf(key))].n;
}

void NeighbourStore::Grow() {
    std::vector<Slot, LargePageAllocator<Slot>> old(std::max<size_t>(64, slots_.size() * 2));
    old.swap(slots_);
    const size_t mask = slots_.size() - 1;
    for (const Slot &s : old) {
        if (s.n == nullptr) continue;
        size_t i = s.hash & mask;
        while (slots_[i].n != nullptr) i = (i + 1) & mask;
        slots_[i] = s;
    }
}

Neighbour *NeighbourStore::Create(const RemKey &key, std::span<const uint8_t> tlvs, std::span<const SubEntry> sub) {
    last_ = nullptr;
    NoteDataChange();
    if ((size_ + 1) * 2 > slots_.size()) Grow();
    const uint64_t hash = HashOf(key);
    Slot &slot = slots_[SlotOf(key, hash)];
    if (slot.n != nullptr) return SetTlvs(slot.n, tlvs, sub);  // never two records for one key
    Neighbour fields;
    fields.key = key;
    slot.hash = hash;
    slot.n = NewRecord(fields, tlvs, sub);
    ++size_;
    return slot.n;
}

Neighbour *NeighbourStore::SetTlvs(Neighbour *n, std::span<const uint8_t> tlvs, std::span<const SubEntry> sub) {
    last_ = nullptr;
    NoteDataChange();
    const size_t block = RecordPool::BlockSize(sizeof(Neighbour) + Neighbour::PayloadSize(tlvs.size(), sub.size()));
    if (block == sizeof(Neighbour) + n->capacity) {
        // The same block size: in place.
        Fill(n, tlvs, sub);
        return n;
    }
    Neighbour *moved = NewRecord(*n, tlvs, sub);
    slots_[SlotOf(n->key, HashOf(n->key))].n = moved;
    FreeRecord(n);
    return moved;
}

void NeighbourStore::Erase(const RemKey &key) {
    last_ = nullptr;
    if (size_ == 0) return;
    const size_t mask = slots_.size() - 1;
    size_t hole = SlotOf(key, HashOf(key));
    if (slots_[hole].n == nullptr) return;
    NoteDataChange();
    FreeRecord(slots_[hole].n);
    --size_;
    // Backward shift: move up each following entry that may not stay behind
    // the hole, so that every probe sequence stays unbroken.
    for (size_t j = (hole + 1) & mask; slots_[j].n != nullptr; j = (j + 1) & mask) {
        const size_t home = slots_[j].hash & mask;
        const bool stays = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
        if (stays) continue;
        slots_[hole] = slots_[j];
        hole = j;
    }
    slots_[hole] = Slot{};
}

void NeighbourStore::Clear() {
    last_ = nullptr;
    if (size_ != 0) NoteDataChange();
    for (Slot &s : slots_) {
        if (s.n != nullptr) FreeRecord(s.n);
    }
    std::vector<Slot, LargePageAllocator<Slot>>().swap(slots_);
    size_ = 0;
}

}  // namespace lldpv2host::daemon
