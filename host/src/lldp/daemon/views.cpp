// Read-only views of the daemons' state for the agent's other MIBs and for
// notifications.
#include "lldp/daemon/daemon.h"

namespace lldpv2host {

using namespace daemon;

bool Notification(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    const AgentState *a = AgentOf(ifIndex, agentNo);
    return a != nullptr && a->notification;
}

LocalSystemView LocalSystemInfo() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    const LocalSystemData &s = LocalSystem();
    return LocalSystemView{s.chassisIdSubtype, s.chassisId, s.sysName, s.sysDesc, s.capSupported, s.capEnabled};
}

std::string PortDescription(uint32_t ifIndex) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    const PortState *p = PortOf(ifIndex);
    return p == nullptr ? std::string() : p->local.portDesc;
}

}  // namespace lldpv2host
