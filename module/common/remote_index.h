// The TFAI index of the remote tables, which travels under the MOR ids of
// lldpV2RemEntry's index columns in every remote table.
#pragma once

#include <optional>

#include "common/mibpub.h"
#include "common/reply.h"

namespace lldpv2 {

inline constexpr uint32_t kRemTimeMark = mib::lldpV2RemTimeMark;
inline constexpr uint32_t kRemLocalIfIndex = mib::lldpV2RemLocalIfIndex;
inline constexpr uint32_t kRemLocalDestMac = mib::lldpV2RemLocalDestMACAddress;
inline constexpr uint32_t kRemIndex = mib::lldpV2RemIndex;

inline bool IsTfaiColumn(uint32_t morId) { return morId >= kRemTimeMark && morId <= kRemIndex; }

// Reads p into tfai when it is one of the TFAI columns and returns its
// check; nullopt for any other column. The port need only be a plain
// interface (of any type) and the agent 1..3; the value is stored before it
// is checked, so that a get-next still starts from it.
[[nodiscard]] inline std::optional<uint32_t> ReadPlainTfaiColumn(const Param &p, LLDP_TFAI_S *tfai) {
    switch (p.morId) {
        case kRemTimeMark: tfai->timeMark = p.U32(); return kOk;
        case kRemLocalIfIndex: tfai->ifIndex = p.U32(); return LLDP_mibpub_CheckPort(tfai->ifIndex);
        case kRemLocalDestMac: tfai->agent = p.U32(); return LLDP_mibpub_CheckAgent(tfai->agent, 0);
        case kRemIndex: tfai->remIndex = p.U32(); return kOk;
        default: return std::nullopt;
    }
}

[[nodiscard]] inline uint32_t AppendTfai(MOR_MSG reply, const LLDP_TFAI_S &tfai) {
    return LLDP_mibpub_SetTfaiToReplyMsg(reply, kRemTimeMark, kRemLocalIfIndex, kRemLocalDestMac, kRemIndex, &tfai);
}

}  // namespace lldpv2
