// The DCBX port check, the owner index columns, the admin record read and
// the get-next over the nodes, shared by every DCBX table.
#include "dcbx/dcbx_common.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/port_types.h"
#include "common/walks.h"

namespace lldpv2::dcbx {
namespace {


// The daemon keeps one admin record per port, under the nearest-bridge agent.
constexpr uint32_t kAdminAgent = 1;

// The largest get-next result: a whole basic row of three 32-bit values.
constexpr size_t kMaxRowValues = 3;

// The daemon's get-next item of each source.
constexpr uint32_t ItemOf(Source source) {
    switch (source) {
        case Source::Local: return LLDP_ITEM_DCBX_LOC;
        case Source::Admin: return LLDP_ITEM_DCBX_ADMIN;
        case Source::Remote: break;
    }
    return LLDP_ITEM_REM_SUBTABLE;
}

void AdminToHost(DCBX_ADMIN_S *rec) {
    rec->etsStatus = NetToHost16(rec->etsStatus);
    rec->pfcStatus = NetToHost16(rec->pfcStatus);
    rec->appStatus = NetToHost16(rec->appStatus);
    for (DCBX_APP_ENTRY_S &e : rec->app) e.protocol = NetToHost16(e.protocol);
    rec->appCount = NetToHost32(rec->appCount);
}

}  // namespace

uint32_t CheckDcbxPort(uint32_t ifIndex, uint16_t mode) {
    uint32_t type = kUnknownPortType;
    const bool dcbxPort = LLDP_mibpub_GetPortType(ifIndex, &type) == kOk &&
                          HasType(kEthernetPortTypes, type);
    if (dcbxPort) return kOk;
    return mode == kModeSet ? kErrSetRefused : kErrNoInstance;
}

std::optional<uint32_t> ReadOwnerColumn(Source source, const Param &p, Owner *owner) {
    if (source != Source::Remote) {
        if (p.morId != kLocPortIfIndex) return std::nullopt;
        owner->ifIndex = p.U32();
        return CheckDcbxPort(owner->ifIndex, kModeRead);
    }
    return ReadPlainTfaiColumn(p, &owner->tfai);
}

uint32_t AppendOwner(MOR_MSG reply, Source source, const Owner &owner) {
    return source == Source::Remote ? AppendTfai(reply, owner.tfai) : AppendEnum(reply, kLocPortIfIndex, owner.ifIndex);
}

uint32_t NextRow(Source source, uint32_t selector, RowKey *key, uint32_t *values, size_t count) {
    if (count > kMaxRowValues) return kErrNoNext;
    std::array<uint32_t, kMaxRowValues> found{};
    const auto size = static_cast<uint16_t>(count * sizeof(uint32_t));
    const Index23::Key sub{key->index2, key->index3};
    uint32_t rc = kOk;
    if (source == Source::Remote) {
        SubRowKey<TfaiOwner, Index23> at{key->owner.tfai, sub};
        rc = NextSubRow(ItemOf(source), selector, &at, &found, size);
        if (rc == kOk) *key = RowKey{Owner{0, at.owner}, at.sub.index2, at.sub.index3};
    } else {
        SubRowKey<PortOwner, Index23> at{key->owner.ifIndex, sub};
        rc = NextSubRow(ItemOf(source), selector, &at, &found, size);
        if (rc == kOk) *key = RowKey{Owner{at.owner, {}}, at.sub.index2, at.sub.index3};
    }
    if (rc != kOk) return rc;
    for (size_t i = 0; i < count; ++i) values[i] = NetToHost32(found[i]);
    return kOk;
}

uint32_t ReadAdmin(uint32_t ifIndex, AdminStatus status, DCBX_ADMIN_S *rec) {
    if (ifIndex == 0) return kErrNoInstance;
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(ifIndex, kAdminAgent, LLDP_ITEM_DCBX_ADMIN, sizeof(buf), buf, &len);
    // A short record is no row, whatever the daemon answered.
    if (len < DCBX_ADMIN_MIN_LEN) return kErrNoInstance;
    if (rc != kOk) return rc;
    std::memcpy(rec, buf, sizeof(*rec));
    AdminToHost(rec);
    return rec->*status == 1 ? kOk : kErrNoInstance;
}

}  // namespace lldpv2::dcbx
