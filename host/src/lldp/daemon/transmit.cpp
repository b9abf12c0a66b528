// Placeholder of the real-time calls of lldpv2host/lldp.h: group addresses
// are real, the rest does nothing yet.
#include "lldp/daemon/daemon.h"

namespace lldpv2host {

std::array<uint8_t, 6> AgentGroupMac(uint32_t agent) {
    static constexpr uint8_t kLast[4] = {0, 0x0E, 0x03, 0x00};
    if (agent < 1 || agent > 3) return {};
    return {0x01, 0x80, 0xC2, 0x00, 0x00, kLast[agent]};
}

uint32_t AgentOfGroupMac(const uint8_t *mac) {
    for (uint32_t agent = 1; agent <= 3; ++agent) {
        const std::array<uint8_t, 6> g = AgentGroupMac(agent);
        if (std::equal(g.begin(), g.end(), mac)) return agent;
    }
    return 0;
}

const char *LldpEventKindName(LldpEvent::Kind kind) {
    switch (kind) {
        case LldpEvent::Kind::Inserted: return "inserted";
        case LldpEvent::Kind::Updated: return "updated";
        case LldpEvent::Kind::AgedOut: return "aged-out";
        case LldpEvent::Kind::Deleted: return "deleted";
        case LldpEvent::Kind::Dropped: return "dropped";
        case LldpEvent::Kind::Discarded: return "discarded";
    }
    return "?";
}

uint64_t AddFrameSink(FrameSink) { return 1; }
void RemoveFrameSink(uint64_t) {}
uint64_t AddEventSink(EventSink) { return 1; }
void RemoveEventSink(uint64_t) {}
std::optional<uint32_t> NextDeadline() { return std::nullopt; }
void ShutdownAll() {}
uint32_t ReinitUntil(uint32_t, uint32_t) { return 0; }

}  // namespace lldpv2host
