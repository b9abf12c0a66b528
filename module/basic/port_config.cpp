// lldpV2PortConfigTable (table id 3): per (port, agent) the administrative
// status, the notification switch and the basic optional TLVs transmitted.
#include <array>
#include <cstring>

#include "basic/basic_tables.h"
#include "common/export.h"
#include "common/reply.h"
#include "common/tlv_cfg.h"
#include "common/walks.h"

namespace lldpv2 {
namespace {

constexpr uint16_t kStrict = 1;
constexpr uint32_t kAdminDisabled = 4;

// The basic optional TLVs in BITS order: portDesc, sysName, sysDesc, sysCap.
constexpr std::array<uint32_t, 4> kBasicTlvBits = {LLDP_TLVBIT_PORT_DESC, LLDP_TLVBIT_SYS_NAME, LLDP_TLVBIT_SYS_DESC,
                                                   LLDP_TLVBIT_SYS_CAP};

using Row = LLDP_MIB_PORTCFG_S;

uint32_t ReadRow(uint32_t port, uint32_t agent, Row *row) { return LLDP_mibpub_GetPortCfgTable(port, agent, row); }

uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_PORT_AGENT_S pair;
    LLDP_mibpub_InitPortAgent(&pair);
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
        const auto index = ReadPairColumn(
            p, &pair, [](uint32_t port) { return IsLldpCapablePort(port, kStrict) == 1 ? kOk : kErrNoInstance; },
            [](uint32_t agent) { return LLDP_mibpub_CheckAgent(agent, 0); });
        if (index) return *index;
        switch (p.morId) {
            case mib::lldpV2PortConfigAdminStatus:
            case mib::lldpV2PortConfigNotificationEnable:
            case mib::lldpV2PortConfigTLVsTxEnable: return kOk;  // all three columns are answered anyway
            default: return kErrUnserved;
        }
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    const uint32_t position = walk.position;

    Row row{};
    if (opType == MOR_OP_GET) {
        if (IsPortAgentValid(pair.port, pair.agent) != 1) return Fail(reply, kErrNoInstance, position);
        const uint32_t rc = ReadRow(pair.port, pair.agent, &row);
        if (rc != kOk) return Fail(reply, rc, position);
    } else {
        // A bad index still positions the search.
        const uint32_t rc =
            NextReadablePair(kStrict, &pair, [&](const LLDP_PORT_AGENT_S &p) { return ReadRow(p.port, p.agent, &row); });
        if (rc != kOk) return Fail(reply, rc, position);
        LLDP_mibpub_SetIndexToReplyMsg(reply, mib::lldpV2PortConfigIfIndex, mib::lldpV2PortConfigDestAddressIndex, &pair);
    }
    // All three columns, whichever the request named.
    return Written(reply, FirstFailure({
        AppendEnum(reply, mib::lldpV2PortConfigAdminStatus, row.adminStatus),
        AppendEnum(reply, mib::lldpV2PortConfigNotificationEnable, row.notificationEnable),
        AppendOctets(reply, mib::lldpV2PortConfigTLVsTxEnable, &row.tlvsTxEnable, 1),
    }));
}

uint32_t Write(MOR_MSG request, MOR_MSG reply) {
    uint32_t port = 0;
    uint32_t agent = 0;
    bool hasAdmin = false, hasNotification = false, hasTlvs = false;
    uint32_t admin = 0, notification = 0;
    uint8_t tlvs = 0;
    for (const Param &p : Params(request)) {
        switch (p.morId) {
            case mib::lldpV2PortConfigIfIndex:
                port = p.U32();
                if (IsLldpCapablePort(port, kStrict) != 1) return Fail(reply, kErrSetRefused, p.position);
                break;
            case mib::lldpV2PortConfigDestAddressIndex:
                agent = p.U32();
                if (LLDP_mibpub_CheckAgent(agent, 1) != kOk) return Fail(reply, kErrSetRefused, p.position);
                break;
            case mib::lldpV2PortConfigAdminStatus:
                hasAdmin = true;
                admin = p.U32();
                break;
            case mib::lldpV2PortConfigNotificationEnable:
                hasNotification = true;
                notification = p.U32();
                break;
            case mib::lldpV2PortConfigTLVsTxEnable: {
                hasTlvs = true;
                uint8_t value[32] = {};
                p.Copy(sizeof(value), value);
                tlvs = value[0];
                break;
            }
            default: return Fail(reply, kErrUnserved, p.position);
        }
    }
    if (IsPortAgentValid(port, agent) != 1) return Fail(reply, kErrSetRefused);
    // Every marked setter is called; writes that succeeded stay written.
    uint32_t result = kOk;
    if (hasAdmin) result |= LLDP_mibpub_SetPortCfgAdminStatus(port, agent, admin);
    if (hasNotification) result |= LLDP_mibpub_SetPortConfigNotificationEnable(port, agent, notification);
    if (hasTlvs) result |= LLDP_mibpub_SetPortConfigTLVsTxEnable(port, agent, tlvs);
    return result == kOk ? kOk : Fail(reply, kErrSetRefused);
}

}  // namespace

const LLDP_TABLE_PROC_PF PortConfigProc = ServeReadWrite<Read, Write>;

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetPortCfgTable(uint32_t port, uint32_t agent, LLDP_MIB_PORTCFG_S *row) {
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    uint32_t rc = LLDP_mor_MibGet(port, agent, LLDP_ITEM_IF_STATUS, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    LLDP_IF_STATUS_S status{};
    if (LLDP_msg_CreateFromIfStatusBuf(buf, len, &status) != 0) return kErrNoInstance;
    const uint32_t admin = status.adminStatus;
    row->adminStatus = (admin >= 1 && admin <= 3) ? admin : kAdminDisabled;
    row->notificationEnable = TruthValue(status.notification);

    uint8_t bits = 0;
    rc = ReadTlvCfg(port, agent, TlvCfgRelease::Always, [&](const TlvCfg &cfg) {
        for (size_t i = 0; i < kBasicTlvBits.size(); ++i)
            if (cfg.Enabled(kBasicTlvBits[i])) bits |= static_cast<uint8_t>(1u << i);
    });
    if (rc != kOk) return rc;
    // Port description lands on the most significant bit (BITS bit 0).
    LLDP_util_Overturn(1, &bits);
    row->tlvsTxEnable = bits;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetPortCfgAdminStatus(uint32_t port, uint32_t agent, uint32_t value) {
    const uint32_t mapped = (value >= 1 && value <= 3) ? value : 0;
    return LLDP_mor_SetIfCfg(port, agent, 1, LLDP_IFCFG_ADMIN_STATUS, mapped);
}

// The switch travels in the third argument here, the reverse of the admin
// status write.
LLDPV2_EXPORT uint32_t LLDP_mibpub_SetPortConfigNotificationEnable(uint32_t port, uint32_t agent, uint32_t value) {
    return LLDP_mor_SetIfCfg(port, agent, value == 1 ? 1 : 0, LLDP_IFCFG_NOTIFICATION, 0xFFFFFFFF);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetPortConfigTLVsTxEnable(uint32_t port, uint32_t agent, uint8_t tlvs) {
    uint8_t reversed = tlvs;
    LLDP_util_Overturn(1, &reversed);
    uint32_t mask = 0;
    for (size_t i = 0; i < kBasicTlvBits.size(); ++i)
        if (reversed & (1u << i)) mask |= 1u << kBasicTlvBits[i];
    const LLDP_TLV_CFG_REQ_S request = TlvCfgRequest(mask, kScopeBasicTlvs);
    return LLDP_mor_SetTlvCfg(port, agent, 1, &request);
}

}  // extern "C"
