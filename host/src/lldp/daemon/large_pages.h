// Memory for the daemons' large arrays (neighbour records, hash slots, index
// blocks). Allocations of at least kLargeThreshold bytes are 2 MB aligned,
// rounded up to whole 2 MB pages and advised to the kernel as huge-page
// backed: a lookup from a random key then finds its page in the TLB also
// when the daemons hold a hundred thousand neighbours, instead of paying a
// page walk for each of the few cache lines it reads.
#pragma once

#include <cstddef>
#include <new>

namespace lldpv2host::daemon {

inline constexpr size_t kLargePage = size_t{2} << 20;
inline constexpr size_t kLargeThreshold = size_t{1} << 20;

// bytes (> 0) rounded up to kLargePage, aligned to it; throws std::bad_alloc.
void *AllocLarge(size_t bytes);
void FreeLarge(void *p);

// An allocator for std::vector that takes large arrays from AllocLarge.
template <typename T>
struct LargePageAllocator {
    using value_type = T;
    LargePageAllocator() = default;
    template <typename U>
    LargePageAllocator(const LargePageAllocator<U> &) {}

    T *allocate(size_t n) {
        const size_t bytes = n * sizeof(T);
        if (bytes >= kLargeThreshold) return static_cast<T *>(AllocLarge(bytes));
        return static_cast<T *>(::operator new(bytes, std::align_val_t{alignof(T)}));
    }
    void deallocate(T *p, size_t n) {
        if (n * sizeof(T) >= kLargeThreshold) {
            FreeLarge(p);
        } else {
            ::operator delete(p, std::align_val_t{alignof(T)});
        }
    }
    template <typename U>
    bool operator==(const LargePageAllocator<U> &) const {
        return true;
    }
};

}  // namespace lldpv2host::daemon
