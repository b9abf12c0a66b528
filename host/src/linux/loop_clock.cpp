// The daemons' clock on the monotonic clock.
#include <time.h>

#include <algorithm>

#include "lldpv2host/live.h"

namespace lldpv2host::live {

uint64_t MonotonicMicros() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000u + static_cast<uint64_t>(ts.tv_nsec) / 1000u;
}

LoopClock::LoopClock(std::function<uint64_t()> source) : source_(std::move(source)) { Rebase(0); }

void LoopClock::Rebase(uint32_t clock) {
    baseMicros_ = source_();
    baseClock_ = clock;
}

uint32_t LoopClock::Now() const {
    const uint64_t now = source_();
    const uint64_t passed = now > baseMicros_ ? (now - baseMicros_) / 10000u : 0;
    // The clock wraps as time marks do.
    return baseClock_ + static_cast<uint32_t>(passed);
}

std::optional<uint64_t> LoopClock::Delay(std::optional<uint32_t> deadline,
                                         std::optional<uint64_t> monotonicDeadline) const {
    const uint64_t now = source_();
    std::optional<uint64_t> delay;
    if (deadline) {
        const uint32_t clockNow = Now();
        // Distance ahead on the wrapping clock; a deadline in the past (more
        // than half the range ahead) is due.
        uint32_t ahead = *deadline - clockNow;
        if (ahead == 0 || ahead > 0x7FFFFFFFu) ahead = 1;
        const uint64_t target = baseMicros_ + (static_cast<uint64_t>(clockNow - baseClock_) + ahead) * 10000u;
        delay = target > now ? target - now : 0;
    }
    if (monotonicDeadline) {
        const uint64_t d = *monotonicDeadline > now ? *monotonicDeadline - now : 0;
        delay = delay ? std::min(*delay, d) : d;
    }
    return delay;
}

}  // namespace lldpv2host::live
