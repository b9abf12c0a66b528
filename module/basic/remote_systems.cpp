// lldpV2RemTable (table id 12): one row per neighbour, keyed by the TFAI.
// Every reply carries all eleven non-index columns.
#include <algorithm>
#include <cstring>

#include "basic/basic_tables.h"
#include "common/guards.h"
#include "common/remote_index.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kTable = 12;
constexpr uint32_t kFirstColumn = MorId(kTable, 1);
constexpr uint32_t kLastColumn = MorId(kTable, 15);
constexpr uint32_t kRemInfoCapacity = 8192;

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
    uint8_t buf[kRemInfoCapacity];
    uint16_t len = 0;
    uint32_t rc = LLDP_mor_GetRemTableByTFAI(&tfai, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    LLDP_REM_SYSTEM_S scratch{};
    rc = FetchFlags(tfai, &scratch);
    if (rc != kOk) return rc;
    {
        TlvList list;
        LLDP_tlvmng_SplitTLV(buf + 1, static_cast<uint16_t>(len - 1), list.get());
        LLDP_libbasic_V2RemTableBufToData(list.get(), rec);
    }
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
void AppendCaps(MOR_MSG reply, uint32_t morId, uint16_t reversed) {
    const uint8_t octets[2] = {static_cast<uint8_t>(reversed >> 8), static_cast<uint8_t>(reversed & 0xFF)};
    AppendOctets(reply, morId, octets, 2);
}

void AppendRow(MOR_MSG reply, const LLDP_REM_SYSTEM_S &rec) {
    AppendEnum(reply, MorId(kTable, 5), rec.chassisIdSubtype);
    AppendOctets(reply, MorId(kTable, 6), rec.chassisId, std::min<uint32_t>(rec.chassisIdLen, sizeof(rec.chassisId)));
    AppendEnum(reply, MorId(kTable, 7), rec.portIdSubtype);
    AppendOctets(reply, MorId(kTable, 8), rec.portId, std::min<uint32_t>(rec.portIdLen, sizeof(rec.portId)));
    AppendOctets(reply, MorId(kTable, 9), rec.portDesc, TextLen(rec.portDesc, sizeof(rec.portDesc)));
    AppendOctets(reply, MorId(kTable, 10), rec.sysName, TextLen(rec.sysName, sizeof(rec.sysName)));
    AppendOctets(reply, MorId(kTable, 11), rec.sysDesc, TextLen(rec.sysDesc, sizeof(rec.sysDesc)));
    AppendCaps(reply, MorId(kTable, 12), rec.capSupported);
    AppendCaps(reply, MorId(kTable, 13), rec.capEnabled);
    AppendEnum(reply, MorId(kTable, 14), TruthValue(rec.remoteChanges));
    AppendEnum(reply, MorId(kTable, 15), TruthValue(rec.tooManyNeighbors));
}

uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_TFAI_S tfai;
    LLDP_mibpub_InitTfai(&tfai);
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) {
        if (p.morId < kFirstColumn || p.morId > kLastColumn) return kErrUnserved;
        return IsTfaiColumn(p.morId) ? ReadTfaiIndexPara(p.morId, p.handle, &tfai) : kOk;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);

    LLDP_REM_SYSTEM_S rec{};
    if (opType == MOR_OP_GET) {
        const uint32_t rc = ReadExact(tfai, &rec);
        if (rc != kOk) return Fail(reply, rc, walk.position);
    } else {
        const uint32_t rc = ReadNext(&tfai, &rec);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        AppendTfai(reply, tfai);
    }
    AppendRow(reply, rec);
    return kOk;
}

}  // namespace

uint32_t RemoteSystemsProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return Read(opType, request, reply); });
}

}  // namespace lldpv2
