// lldpV2RemTable (table id 12): one row per neighbour, keyed by the TFAI.
// Every reply carries all eleven non-index columns.
#include <algorithm>
#include <cstring>

#include "basic/basic_tables.h"
#include "common/guards.h"
#include "common/lldpdu_fetch.h"
#include "common/remote_index.h"

namespace lldpv2 {
namespace {


uint32_t TextLen(const char *text, size_t capacity) { return static_cast<uint32_t>(strnlen(text, capacity)); }

// Remote changes and too many neighbours of one neighbour, into target.
uint32_t FetchFlags(const LLDP_TFAI_S &tfai, LLDP_REM_SYSTEM_S *target) {
    LLDP_REM_SYSTEM_S flags{};
    const uint32_t rc = LLDP_mor_GetRemTableRcAndTmnByTFAI(&tfai, sizeof(flags), &flags);
    if (rc != kOk) return rc;
    target->remoteChanges = NetToHost16(flags.remoteChanges);
    target->tooManyNeighbors = NetToHost16(flags.tooManyNeighbors);
    return kOk;
}

uint32_t ReadExact(const LLDP_TFAI_S &tfai, LLDP_REM_SYSTEM_S *rec) {
    if (IsPortAgentValid(tfai.ifIndex, tfai.agent) != 1) return kErrNoInstance;
    RemoteLldpdu pdu;
    uint32_t rc = pdu.Fetch(tfai);
    if (rc != kOk) return rc;
    LLDP_REM_SYSTEM_S scratch{};
    rc = FetchFlags(tfai, &scratch);
    if (rc != kOk) return rc;
    pdu.DecodeOnce([rec](const LLDP_TLV_LIST_S *list) { return LLDP_libbasic_V2RemTableBufToData(list, rec); });
    rec->capSupported = LLDP_util_OverturnS(rec->capSupported);
    rec->capEnabled = LLDP_util_OverturnS(rec->capEnabled);
    rec->remoteChanges = scratch.remoteChanges;
    rec->tooManyNeighbors = scratch.tooManyNeighbors;
    return kOk;
}

uint32_t ReadNext(LLDP_TFAI_S *tfai, LLDP_REM_SYSTEM_S *rec) {
    const uint32_t rc = LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_SYSTEM, sizeof(*rec), tfai, rec);
    if (rc != kOk) return rc;
    LLDP_REM_SYSTEM_S flags{};
    // Unlike the get, a neighbour whose flags cannot be read ends the walk.
    if (FetchFlags(*tfai, &flags) != kOk) return kErrNoNext;
    rec->chassisIdSubtype = NetToHost32(rec->chassisIdSubtype);
    rec->chassisIdLen = NetToHost32(rec->chassisIdLen);
    rec->portIdSubtype = NetToHost32(rec->portIdSubtype);
    rec->portIdLen = NetToHost32(rec->portIdLen);
    rec->lastField = NetToHost16(rec->lastField);
    rec->capSupported = LLDP_util_OverturnS(NetToHost16(rec->capSupported));
    rec->capEnabled = LLDP_util_OverturnS(NetToHost16(rec->capEnabled));
    rec->remoteChanges = flags.remoteChanges;
    rec->tooManyNeighbors = flags.tooManyNeighbors;
    return kOk;
}

// The capability fields are already bit-reversed: their high byte goes first.
[[nodiscard]] uint32_t AppendCaps(MOR_MSG reply, uint32_t morId, uint16_t reversed) {
    const uint8_t octets[2] = {static_cast<uint8_t>(reversed >> 8), static_cast<uint8_t>(reversed & 0xFF)};
    return AppendOctets(reply, morId, octets, 2);
}

[[nodiscard]] uint32_t AppendRow(MOR_MSG reply, const LLDP_REM_SYSTEM_S &rec) {
    return FirstFailure({
        AppendEnum(reply, mib::lldpV2RemChassisIdSubtype, rec.chassisIdSubtype),
        AppendOctets(reply, mib::lldpV2RemChassisId, rec.chassisId, std::min<uint32_t>(rec.chassisIdLen, sizeof(rec.chassisId))),
        AppendEnum(reply, mib::lldpV2RemPortIdSubtype, rec.portIdSubtype),
        AppendOctets(reply, mib::lldpV2RemPortId, rec.portId, std::min<uint32_t>(rec.portIdLen, sizeof(rec.portId))),
        AppendOctets(reply, mib::lldpV2RemPortDesc, rec.portDesc, TextLen(rec.portDesc, sizeof(rec.portDesc))),
        AppendOctets(reply, mib::lldpV2RemSysName, rec.sysName, TextLen(rec.sysName, sizeof(rec.sysName))),
        AppendOctets(reply, mib::lldpV2RemSysDesc, rec.sysDesc, TextLen(rec.sysDesc, sizeof(rec.sysDesc))),
        AppendCaps(reply, mib::lldpV2RemSysCapSupported, rec.capSupported),
        AppendCaps(reply, mib::lldpV2RemSysCapEnabled, rec.capEnabled),
        AppendEnum(reply, mib::lldpV2RemRemoteChanges, TruthValue(rec.remoteChanges)),
        AppendEnum(reply, mib::lldpV2RemTooManyNeighbors, TruthValue(rec.tooManyNeighbors)),
    });
}

uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_TFAI_S tfai;
    LLDP_mibpub_InitTfai(&tfai);
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) {
        if (p.morId < mib::lldpV2RemTimeMark || p.morId > mib::lldpV2RemTooManyNeighbors) return kErrUnserved;
        return IsTfaiColumn(p.morId) ? ReadTfaiIndexPara(p.morId, p.handle, &tfai) : kOk;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);

    LLDP_REM_SYSTEM_S rec{};
    const uint32_t rc = ExactOrNext(
        opType, reply, walk.position, [&] { return ReadExact(tfai, &rec); }, [&] { return ReadNext(&tfai, &rec); });
    if (rc != kOk) return rc;
    return Written(reply, FirstFailure({opType != MOR_OP_GET ? AppendTfai(reply, tfai) : kOk, AppendRow(reply, rec)}));
}

}  // namespace

uint32_t RemoteSystemsProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return Read(opType, request, reply); });
}

}  // namespace lldpv2
