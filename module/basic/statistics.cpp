// Statistics: the remote-table counters summed over the stack (table id 6),
// and the per (port, agent) transmit and receive counters (table ids 7, 8).
#include <algorithm>
#include <array>
#include <span>

#include "basic/basic_tables.h"
#include "common/export.h"
#include "common/reply.h"
#include "common/walks.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kStatsBufferSize = 512;
constexpr uint32_t kIfStatsMinLen = sizeof(LLDP_IF_STATS_S);

// ---- Table 6: remote-table statistics scalars -------------------------


struct RemStatsColumn {
    uint32_t morId;
    uint32_t typeCode;
    uint32_t LLDP_MIB_REMSTATS_S::*field;
};

constexpr std::array<RemStatsColumn, 5> kRemStatsColumns = {{
    {mib::lldpV2StatsRemTablesLastChangeTime, MOR_TYPE_TIMEMARK, &LLDP_MIB_REMSTATS_S::lastChangeTime},
    {mib::lldpV2StatsRemTablesInserts, MOR_TYPE_UNSIGNED, &LLDP_MIB_REMSTATS_S::inserts},
    {mib::lldpV2StatsRemTablesDeletes, MOR_TYPE_UNSIGNED, &LLDP_MIB_REMSTATS_S::deletes},
    {mib::lldpV2StatsRemTablesDrops, MOR_TYPE_UNSIGNED, &LLDP_MIB_REMSTATS_S::drops},
    {mib::lldpV2StatsRemTablesAgeouts, MOR_TYPE_UNSIGNED, &LLDP_MIB_REMSTATS_S::ageouts},
}};

uint32_t GetRemStats(MOR_MSG request, MOR_MSG reply) {
    LLDP_MIB_REMSTATS_S stats{};
    uint32_t status = LLDP_mibpub_GetStatsRemTables(&stats);
    if (status != kOk) return Fail(reply, status);
    // Unknown columns are reported at the end; the known ones are still answered.
    for (const Param &p : Params(request)) {
        const auto *col = std::find_if(kRemStatsColumns.begin(), kRemStatsColumns.end(),
                                       [&](const RemStatsColumn &c) { return c.morId == p.morId; });
        if (col == kRemStatsColumns.end()) {
            status = kErrUnserved;
            continue;
        }
        if (const uint32_t written = AppendNumber(reply, col->morId, col->typeCode, stats.*(col->field)); written != kOk) return Fail(reply, written);
    }
    return status == kOk ? kOk : Fail(reply, status);
}

// ---- Tables 7 and 8: per (port, agent) counters -----------------------

struct PortStatsColumn {
    uint32_t morId;
    uint32_t typeCode;
    uint32_t LLDP_IF_STATS_S::*field;
};

struct PortStatsTable {
    uint32_t portMor;
    uint32_t agentMor;
    uint32_t lastMor;
    std::span<const PortStatsColumn> columns;
};

constexpr std::array<PortStatsColumn, 2> kTxColumns = {{
    {mib::lldpV2StatsTxPortFramesTotal, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::framesOut},
    {mib::lldpV2StatsTxLLDPDULengthErrors, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::lengthErrors},
}};

// The ageouts counter goes as type 2, unlike the other counters of the row.
constexpr std::array<PortStatsColumn, 6> kRxColumns = {{
    {mib::lldpV2StatsRxPortFramesDiscardedTotal, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::framesDiscarded},
    {mib::lldpV2StatsRxPortFramesErrors, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::framesInError},
    {mib::lldpV2StatsRxPortFramesTotal, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::framesIn},
    {mib::lldpV2StatsRxPortTLVsDiscardedTotal, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::tlvsDiscarded},
    {mib::lldpV2StatsRxPortTLVsUnrecognizedTotal, MOR_TYPE_COUNTER, &LLDP_IF_STATS_S::tlvsUnrecognized},
    {mib::lldpV2StatsRxPortAgeoutsTotal, MOR_TYPE_UNSIGNED, &LLDP_IF_STATS_S::ageouts},
}};

constexpr PortStatsTable kTxTable{mib::lldpV2StatsTxIfIndex, mib::lldpV2StatsTxDestMACAddress,
                                  mib::lldpV2StatsTxLLDPDULengthErrors, kTxColumns};
constexpr PortStatsTable kRxTable{mib::lldpV2StatsRxDestIfIndex, mib::lldpV2StatsRxDestMACAddress,
                                  mib::lldpV2StatsRxPortAgeoutsTotal, kRxColumns};

uint32_t FetchRow(const LLDP_PORT_AGENT_S &pair, LLDP_IF_STATS_S *row) {
    if (IsPortAgentValid(pair.port, pair.agent) != 1) return kErrNoInstance;
    *row = LLDP_IF_STATS_S{};
    return LLDP_mibpub_GetIfStats(pair.port, pair.agent, row);
}

uint32_t ReadPortStats(const PortStatsTable &t, uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    const uint32_t portMor = t.portMor;
    const uint32_t agentMor = t.agentMor;
    LLDP_PORT_AGENT_S pair;
    LLDP_mibpub_InitPortAgent(&pair);
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (p.morId == agentMor) return ReadAgentIndexPara(p.handle, &pair.agent);
        if (p.morId == portMor) return ReadPortIndexPara(p.handle, &pair.port);
        return (p.morId < portMor || p.morId > t.lastMor) ? kErrUnserved : kOk;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    const uint32_t position = walk.position;

    LLDP_IF_STATS_S row{};
    if (opType == MOR_OP_GET) {
        const uint32_t rc = FetchRow(pair, &row);
        if (rc != kOk) return Fail(reply, rc, position);
    } else {
        const uint32_t rc = NextReadablePair(0, &pair, [&](const LLDP_PORT_AGENT_S &p) { return FetchRow(p, &row); });
        if (rc != kOk) return Fail(reply, rc, position);
        LLDP_mibpub_SetIndexToReplyMsg(reply, portMor, agentMor, &pair);
    }
    // Every data column of the row, whatever the request named.
    uint32_t written = kOk;
    for (const PortStatsColumn &c : t.columns)
        written = KeepFirst(written, AppendNumber(reply, c.morId, c.typeCode, row.*(c.field)));
    return Written(reply, written);
}

template <const PortStatsTable &t>
uint32_t PortStatsProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadPortStats(t, opType, request, reply); });
}

uint32_t StatsRemTablesProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeScalars(
        opType, reply, [&] { return GetRemStats(request, reply); }, [&] { return Fail(reply, kErrReadOnly); });
}

}  // namespace

const std::array<TableRegistration, 3> kStatisticsTables = {{
    {mib::table::lldpV2Statistics, StatsRemTablesProc},
    {mib::table::lldpV2StatsTxPortEntry, PortStatsProc<kTxTable>},
    {mib::table::lldpV2StatsRxPortEntry, PortStatsProc<kRxTable>},
}};

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetStatsRemTables(LLDP_MIB_REMSTATS_S *out) {
    NodeArray nodes;
    if (!nodes.valid()) return kOk;
    LLDP_MIB_REMSTATS_S sum{};
    for (uint16_t node : nodes) {
        if (IF_IsNodeUp(node) != 1) continue;
        uint8_t buf[kStatsBufferSize];
        uint16_t len = sizeof(buf);
        if (LLDP_mor_Get(0, 0, LLDP_ITEM_GLOBAL_STATS, node, nullptr, &len, buf) != kOk) continue;
        LLDP_GLOBAL_STATS_S rec{};
        if (LLDP_msg_CreateFromGStatBuf(buf, len, &rec) != 0) continue;
        sum.lastChangeTime = std::max(sum.lastChangeTime, rec.lastChangeTime);
        sum.inserts += rec.inserts;
        sum.deletes += rec.deletes;
        sum.drops += rec.drops;
        sum.ageouts += rec.ageouts;
    }
    *out = sum;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetIfStats(uint32_t ifIndex, uint32_t agent, LLDP_IF_STATS_S *record) {
    uint8_t buf[kStatsBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(ifIndex, agent, LLDP_ITEM_IF_STATS, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    if (len < kIfStatsMinLen) return kErrNoInstance;
    if (LLDP_msg_CreateFromIfStatBuf(buf, len, record) != 0) return kErrNoInstance;
    return kOk;
}

}  // extern "C"
