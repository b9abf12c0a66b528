// The switch itself as an LLDP sender: the lldpV2LocalSystemData scalars
// (table id 9) and lldpV2LocPortTable (table id 10).
#include <cstring>

#include "basic/basic_tables.h"
#include "common/export.h"
#include "common/guards.h"
#include "common/reply.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kLocalHeaderLen = 4;



uint32_t TextLen(const char *text, size_t capacity) { return static_cast<uint32_t>(strnlen(text, capacity)); }

uint32_t GetSystem(MOR_MSG request, MOR_MSG reply) {
    LLDP_LOC_SYSTEM_S sys{};
    uint32_t status = LLDP_mibpub_GetLocalSystemData(&sys);
    if (status != kOk) return Fail(reply, status);
    const CapBits supported = CapabilityBits(sys.capSupported);
    const CapBits enabled = CapabilityBits(sys.capEnabled);
    for (const Param &p : Params(request)) {
        switch (p.morId) {
            case mib::lldpV2LocChassisIdSubtype: status = KeepFirst(status, AppendEnum(reply, p.morId, sys.chassisIdSubtype)); break;
            case mib::lldpV2LocChassisId: status = KeepFirst(status, AppendOctets(reply, p.morId, sys.chassisId, sys.chassisIdLen)); break;
            case mib::lldpV2LocSysName: status = KeepFirst(status, AppendOctets(reply, p.morId, sys.sysName, TextLen(sys.sysName, sizeof(sys.sysName)))); break;
            case mib::lldpV2LocSysDesc: status = KeepFirst(status, AppendOctets(reply, p.morId, sys.sysDesc, TextLen(sys.sysDesc, sizeof(sys.sysDesc)))); break;
            case mib::lldpV2LocSysCapSupported: status = KeepFirst(status, AppendOctets(reply, p.morId, supported.octets, 2)); break;
            case mib::lldpV2LocSysCapEnabled: status = KeepFirst(status, AppendOctets(reply, p.morId, enabled.octets, 2)); break;
            default: status = kErrUnserved; break;  // later columns are still answered
        }
    }
    return status == kOk ? kOk : Fail(reply, status);
}

// Decodes a local LLDPDU (4-byte header, then TLVs) into the port record.
void DecodeLocalPort(const uint8_t *buf, uint16_t len, LLDP_LOC_PORT_S *record) {
    TlvList list;
    LLDP_tlvmng_SplitTLV(buf + kLocalHeaderLen, static_cast<uint16_t>(len - kLocalHeaderLen), list.get());
    LLDP_libbasic_LocPortTableBufToData(list.get(), record);
}

uint32_t NextLocalPort(uint32_t *ifIndex, LLDP_LOC_PORT_S *record) {
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_V2MibGetNextLocTable(0, sizeof(buf), ifIndex, buf, &len);
    if (rc != kOk) return rc;
    // No length check on this path: the daemon sends the header with every row.
    DecodeLocalPort(buf, len, record);
    return kOk;
}

uint32_t ReadPort(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    MOR_PARA para = MOR_GetParaFromMsgByMOR(request, 0, mib::lldpV2LocPortIfIndex);
    uint32_t ifIndex = para != nullptr ? MOR_GetData32(para) : 0;
    LLDP_LOC_PORT_S record{};
    if (opType == MOR_OP_GET) {
        if (IsLldpCapablePort(ifIndex, 0) != 1) return Fail(reply, kErrNoInstance, 0);
        const uint32_t rc = LLDP_mibpub_GetLocPortTable(ifIndex, 1, &record);
        if (rc != kOk) return Fail(reply, rc);
    } else {
        const uint32_t rc = NextLocalPort(&ifIndex, &record);
        if (rc != kOk) return Fail(reply, rc);
        if (const uint32_t written = AppendEnum(reply, mib::lldpV2LocPortIfIndex, ifIndex); written != kOk) return Fail(reply, written);
    }
    uint32_t status = kOk;
    for (const Param &p : Params(request)) {
        switch (p.morId) {
            case mib::lldpV2LocPortIfIndex: break;  // never echoed here
            case mib::lldpV2LocPortIdSubtype: status = KeepFirst(status, AppendEnum(reply, p.morId, record.portIdSubtype)); break;
            case mib::lldpV2LocPortId: status = KeepFirst(status, AppendOctets(reply, p.morId, record.portId, record.portIdLen)); break;
            case mib::lldpV2LocPortDesc:
                status = KeepFirst(status, AppendOctets(reply, p.morId, record.portDesc,
                                                        TextLen(record.portDesc, sizeof(record.portDesc))));
                break;
            default: status = kErrUnserved; break;
        }
    }
    return status == kOk ? kOk : Fail(reply, status);
}

}  // namespace

uint32_t LocalSystemProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeScalars(
        opType, reply, [&] { return GetSystem(request, reply); }, [&] { return Fail(reply, kErrReadOnly); });
}

uint32_t LocalPortProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadPort(opType, request, reply); });
}

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetLocalSystemData(LLDP_LOC_SYSTEM_S *record) {
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(0, 0, LLDP_ITEM_LOC_SYSTEM, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    if (LLDP_util_CreateFromSysInfoBuf(buf, len, record) != 0) return kErrNoInstance;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetLocPortTable(uint32_t ifIndex, uint32_t agent, LLDP_LOC_PORT_S *record) {
    uint32_t hasData = 1;
    IF_GetDataByIfIndex(ifIndex, IF_ATTR_LLDP_DATA, &hasData);
    if (hasData == 0) return kErrNoInstance;
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(ifIndex, agent, LLDP_ITEM_LOC_PORT, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    if (len < kLocalHeaderLen) return kErrNoInstance;
    DecodeLocalPort(buf, len, record);
    return kOk;
}

}  // extern "C"
