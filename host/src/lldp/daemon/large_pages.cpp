#include "lldp/daemon/large_pages.h"

#include <sys/mman.h>

#include <cstdlib>

namespace lldpv2host::daemon {

void *AllocLarge(size_t bytes) {
    const size_t size = (bytes + kLargePage - 1) / kLargePage * kLargePage;
    void *p = std::aligned_alloc(kLargePage, size);
    if (p == nullptr) throw std::bad_alloc();
    // Advice only: without transparent huge pages the memory stays usable.
    (void)madvise(p, size, MADV_HUGEPAGE);
    return p;
}

void FreeLarge(void *p) { std::free(p); }

}  // namespace lldpv2host::daemon
