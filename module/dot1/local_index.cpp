// The index of the two-part local tables (port and PPVID, port and VLAN id,
// port and protocol index) and its checks. The configuration tables of the
// same rows read their index with the same reader.
#include <algorithm>
#include <array>

#include "common/export.h"
#include "dot1/dot1_tables.h"

namespace lldpv2 {
namespace {

// A column the reader accepts and skips; onlyInTable != 0 limits it to
// requests of that table id.
struct SkippedColumn {
    uint32_t morId;
    uint32_t onlyInTable;
};

struct IndexForm {
    uint32_t secondIndex;
    uint32_t (*check)(uint32_t value, uint16_t mode);
    // The transmit switch of the configuration table with the same rows,
    // whose value a set takes.
    uint32_t txEnable;
    std::array<SkippedColumn, 2> skipped;
};

uint32_t CheckVlanIndex(uint32_t value, uint16_t mode) { return LLDP_mibpub_CheckVlan(value, mode); }
uint32_t CheckProtocolIndex(uint32_t value, uint16_t) { return LLDP_mibpub_CheckProtocolIndex(value); }

// By LocalIndex. The protocol-VLAN reader accepts the VLAN-name transmit
// switch as well, but only in a request of the VLAN-name configuration table.
constexpr std::array<IndexForm, 3> kForms = {{
    {kLocProtoVlanId, CheckVlanIndex, kCfgProtoVlanTxEnable, {{{mib::lldpV2Xdot1LocProtoVlanSupported, 28}, {mib::lldpV2Xdot1LocProtoVlanEnabled, 28}}}},
    {kLocVlanId, CheckVlanIndex, kCfgVlanNameTxEnable, {{{mib::lldpV2Xdot1LocVlanName, 29}, {0, 0}}}},
    {kLocProtocolIndex, CheckProtocolIndex, kCfgProtocolTxEnable, {{{mib::lldpV2Xdot1LocProtocolId, 0}, {0, 0}}}},
}};
constexpr SkippedColumn kProtoVlanExtra = {kCfgVlanNameTxEnable, 22};

bool Skips(const SkippedColumn &c, uint32_t morId, uint32_t tableId) {
    return c.morId != 0 && c.morId == morId && (c.onlyInTable == 0 || c.onlyInTable == tableId);
}

}  // namespace

bool IsDot1Port(uint32_t ifIndex) {
    uint32_t type = kUnknownPortType;
    if (LLDP_mibpub_GetPortType(ifIndex, &type) != kOk) return false;
    return std::find(kDot1PortTypes.begin(), kDot1PortTypes.end(), type) != kDot1PortTypes.end();
}

uint32_t RequestPort(MOR_MSG request) {
    MOR_PARA para = MOR_GetParaFromMsgByMOR(request, 0, kLocPortIfIndex);
    return para == nullptr ? 0 : MOR_GetData32(para);
}

IndexWalk ReadLocalIndex(MOR_MSG request, LocalIndex which, uint16_t mode, LLDP_DOT1_ROWKEY_S *key,
                         uint32_t *txEnable) {
    const IndexForm &form = kForms[static_cast<size_t>(which)];
    const uint32_t tableId = MOR_GetTableId(request);
    // The protocol table is read-only, so its reader only ever runs in read
    // mode and reports a bad port as no such instance.
    const uint32_t badPort = mode == 1 ? kErrSetRefused : kErrNoInstance;
    return WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (p.morId == kLocPortIfIndex) {
            key->ifIndex = p.U32();
            return IsDot1Port(key->ifIndex) ? kOk : badPort;
        }
        if (p.morId == form.secondIndex) {
            // Stored before the check, so that a get-next is positioned by it.
            key->index2 = p.U32();
            return form.check(key->index2, mode);
        }
        if (p.morId == form.txEnable) {
            if (mode == 1 && txEnable != nullptr) *txEnable = p.U32();
            return kOk;
        }
        const bool skipped =
            std::any_of(form.skipped.begin(), form.skipped.end(), [&](const SkippedColumn &c) {
                return Skips(c, p.morId, tableId);
            }) ||
            (which == LocalIndex::ProtoVlan && Skips(kProtoVlanExtra, p.morId, tableId));
        return skipped ? kOk : kErrUnserved;
    });
}

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

// VLAN id 0 passes: it names the row a port enters with.
LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckVlan(uint32_t vlanId, uint16_t mode) {
    if (vlanId <= kMaxVlanId) return kOk;
    return mode == 1 ? kErrSetRefused : kErrNoInstance;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckProtocolIndex(uint32_t index) {
    return static_cast<int32_t>(index) < 0 ? kErrNoInstance : kOk;
}

}  // extern "C"
