// The TFAI index of the remote tables, which travels under the MOR ids of
// lldpV2RemEntry's index columns in every remote table.
#pragma once

#include "common/mibpub.h"
#include "common/reply.h"

namespace lldpv2 {

inline constexpr uint32_t kRemTimeMark = MorId(12, 1);
inline constexpr uint32_t kRemLocalIfIndex = MorId(12, 2);
inline constexpr uint32_t kRemLocalDestMac = MorId(12, 3);
inline constexpr uint32_t kRemIndex = MorId(12, 4);

inline bool IsTfaiColumn(uint32_t morId) { return morId >= kRemTimeMark && morId <= kRemIndex; }

inline uint32_t AppendTfai(MOR_MSG reply, const LLDP_TFAI_S &tfai) {
    return LLDP_mibpub_SetTfaiToReplyMsg(reply, kRemTimeMark, kRemLocalIfIndex, kRemLocalDestMac, kRemIndex, &tfai);
}

}  // namespace lldpv2
