#include "data_generation.h"

#include <atomic>
#include <cstdint>

#include "lldpv2host/lldp.h"

namespace lldpv2host {

namespace {

// Read from any thread without the daemons' lock; only its changing matters.
std::atomic<uint64_t> generation{1};

}  // namespace

void NoteDataChange() { generation.fetch_add(1, std::memory_order_relaxed); }

uint64_t DataGeneration() { return generation.load(std::memory_order_relaxed); }

}  // namespace lldpv2host
