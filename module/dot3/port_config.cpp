// lldpV2Xdot3PortConfigTable (table id 75): which IEEE 802.3 TLVs a port
// transmits, one row per port under the nearest-bridge agent.
#include <array>
#include <cstring>

#include "common/export.h"
#include "common/guards.h"
#include "common/reply.h"
#include "common/tlv_cfg.h"
#include "dot3/dot3_tables.h"

namespace lldpv2 {
namespace {

// The table is indexed by lldpV2PortConfigTable's index columns.

// The only agent with rows here: the nearest bridge.
constexpr uint32_t kRowAgent = 1;
// Mode 1 is the LLDP-V2 form, in which linkAggregation belongs to the 802.1
// extension; mode 0 carries it too.
constexpr uint32_t kModeV2 = 1;
constexpr uint32_t kModeWithLinkAgg = 0;

// The 802.3 TLVs by module bit (values 1, 2, 4, 8 before the bit reversal
// into BITS order): macPhyConfigStatus, powerViaMDI, linkAggregation,
// maxFrameSize, and the daemon TLV bit of each.
constexpr std::array<uint32_t, 4> kDot3TlvBits = {LLDP_TLVBIT_MAC_PHY, LLDP_TLVBIT_POWER, LLDP_TLVBIT_LINK_AGG,
                                                  LLDP_TLVBIT_MAX_FRAME};
constexpr uint8_t kLinkAggModuleBit = 1u << 2;


uint32_t SendTlvCfg(uint32_t ifIndex, uint32_t enable, uint32_t mask, TlvCfgScope scope) {
    const LLDP_TLV_CFG_REQ_S request = TlvCfgRequest(mask, scope);
    return LLDP_mor_SetTlvCfg(ifIndex, kRowAgent, enable, &request);
}

bool IsDot3Port(uint32_t ifIndex) { return LLDP_util_IsDot3ValidIfIndex(ifIndex) == 1; }

// The row of get-next: the request's port itself when no agent was given and
// the port runs dot3 LLDP, else the next port whose transmit bits can be read.
uint32_t NextRow(uint32_t port, uint32_t agent, uint32_t *rowPort, uint8_t *bits) {
    if (agent != 0 || IF_IsValidIfIndex(port) != 1 || LLDP_util_IsDot3SupportLldp(port) != 1)
        port = GetNextIfIndexByIfIndex(port);
    // Ports reached by moving on only have to answer the read.
    for (; port != 0; port = GetNextIfIndexByIfIndex(port)) {
        if (LLDP_mibpub_GetXdot3PortCfg(port, kModeV2, bits) == kOk) {
            *rowPort = port;
            return kOk;
        }
    }
    return kErrNoNext;
}

uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_PORT_AGENT_S pair;
    LLDP_mibpub_InitPortAgent(&pair);
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
        const auto index = ReadPairColumn(
            p, &pair, [](uint32_t port) { return IsDot3Port(port) ? kOk : kErrNoInstance; },
            [](uint32_t agent) { return LLDP_mibpub_CheckAgentCfg(agent, 0); });
        if (index) return *index;
        // The one column is answered anyway.
        return p.morId == mib::lldpV2Xdot3PortConfigTLVsTxEnable ? kOk : kErrUnserved;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);

    uint8_t bits = 0;
    if (opType == MOR_OP_GET) {
        const uint32_t rc = LLDP_mibpub_GetXdot3PortCfg(pair.port, kModeV2, &bits);
        if (rc != kOk) return Fail(reply, rc);
    } else {
        // A bad index still positions the search.
        const uint32_t rc = NextRow(pair.port, pair.agent, &pair.port, &bits);
        if (rc != kOk) return Fail(reply, rc);
        pair.agent = kRowAgent;
        LLDP_mibpub_SetIndexToReplyMsg(reply, mib::lldpV2PortConfigIfIndex, mib::lldpV2PortConfigDestAddressIndex, &pair);
    }
    return Written(reply, AppendOctets(reply, mib::lldpV2Xdot3PortConfigTLVsTxEnable, &bits, 1));
}

uint32_t Write(MOR_MSG request, MOR_MSG reply) {
    uint32_t port = 0;
    uint8_t bits = 0;
    for (const Param &p : Params(request)) {
        switch (p.morId) {
            case mib::lldpV2PortConfigIfIndex:
                port = p.U32();
                if (!IsDot3Port(port)) return Fail(reply, kErrSetRefused, p.position);
                break;
            case mib::lldpV2PortConfigDestAddressIndex: {
                const uint32_t rc = LLDP_mibpub_CheckAgentCfg(p.U32(), 1);
                if (rc != kOk) return Fail(reply, rc, p.position);
                break;
            }
            case mib::lldpV2Xdot3PortConfigTLVsTxEnable: {
                uint8_t value[32] = {};
                p.Copy(sizeof(value), value);
                bits = value[0];
                break;
            }
            default: return Fail(reply, kErrUnserved, p.position);
        }
    }
    if (LLDP_mibpub_SetXdot3PortCfg(port, kModeV2, bits) != kOk) return Fail(reply, kErrSetRefused);
    return kOk;
}

}  // namespace

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot3PortCfg(uint32_t ifIndex, uint32_t mode, uint8_t *bits) {
    uint8_t octet = 0;
    // A configuration that did not parse is left as it is, not cleared;
    // only a parsed one is released.
    const uint32_t rc = ReadTlvCfg(ifIndex, kRowAgent, TlvCfgRelease::OnlyParsed, [&](const TlvCfg &cfg) {
        for (size_t i = 0; i < kDot3TlvBits.size(); ++i) {
            const uint8_t moduleBit = static_cast<uint8_t>(1u << i);
            if (moduleBit == kLinkAggModuleBit && mode != kModeWithLinkAgg) continue;
            if (cfg.Enabled(kDot3TlvBits[i])) octet |= moduleBit;
        }
    });
    if (rc != kOk) return rc;
    // macPhyConfigStatus lands on the most significant bit (BITS bit 0).
    LLDP_util_Overturn(1, &octet);
    *bits = octet;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetXdot3PortCfg(uint32_t ifIndex, uint32_t mode, uint8_t bits) {
    uint8_t octet = bits;
    LLDP_util_Overturn(1, &octet);
    // In the LLDP-V2 form a written linkAggregation bit is dropped silently.
    if (mode != kModeWithLinkAgg) octet = static_cast<uint8_t>(octet & ~kLinkAggModuleBit);
    // The low nibble of the written octet (BITS 4 to 7) names no TLV.
    uint32_t mask = 0;
    for (size_t i = 0; i < kDot3TlvBits.size(); ++i)
        if (octet & (1u << i)) mask |= 1u << kDot3TlvBits[i];

    uint32_t result = kOk;
    if (mode == kModeWithLinkAgg) {
        const uint32_t linkAgg = 1u << LLDP_TLVBIT_LINK_AGG;
        result = SendTlvCfg(ifIndex, (mask & linkAgg) != 0 ? 1 : 0, linkAgg, kScopeLinkAgg);
    }
    return result | SendTlvCfg(ifIndex, 1, mask, kScopeDot3Group);
}

}  // extern "C"

const LLDP_TABLE_PROC_PF lldpv2::Xdot3PortConfigProc = ServeReadWrite<Read, Write>;
