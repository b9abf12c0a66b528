// The DCBX transmit switches (table ids 44 to 47): whether a port sends the
// ETS configuration, ETS recommendation, PFC and application priority TLVs.
// All four columns read and write the one DCBX transmit flag of the port's
// nearest-bridge agent, so a set of any of them changes all four; the tables
// differ only in their MOR ids.
#include <array>
#include <cstring>

#include "common/port_types.h"
#include "common/reply.h"
#include "common/tlv_cfg.h"
#include "dcbx/dcbx_common.h"
#include "dcbx/dcbx_tables.h"

namespace lldpv2::dcbx {
namespace {

constexpr uint32_t kTxEnableColumn = ColumnOf(mib::lldpXdot1dcbxConfigETSConfigurationTxEnable);

// Index columns: those of lldpV2PortConfigTable.

// The only agent with DCBX rows: every get-next row is (port, 1).
constexpr uint32_t kRowAgent = 1;

// Selection of the get-next walk, types in the order they are added.


bool IsTxEnableColumn(uint32_t morId) {
    const uint32_t table = TableOf(morId);
    return table >= mib::table::lldpXdot1dcbxConfigETSConfigurationEntry && table <= mib::table::lldpXdot1dcbxConfigApplicationPriorityEntry && morId == MorId(table, kTxEnableColumn);
}

struct Request {
    LLDP_PORT_AGENT_S index{0, 0};
    uint32_t value = kFalse;
};

// Reads the index and, on a set, the new value. Only the column of the
// request's own table is accepted; the columns of the other three tables
// are unknown to it.
IndexWalk Parse(MOR_MSG request, uint16_t mode, Request *rq) {
    const uint32_t ownColumn = MorId(MOR_GetTableId(request), kTxEnableColumn);
    return WalkIndex(request, [&](const Param &p) -> uint32_t {
        const auto index = ReadPairColumn(
            p, &rq->index, [mode](uint32_t port) { return CheckDcbxPort(port, mode); },
            [mode](uint32_t agent) { return LLDP_mibpub_CheckAgentCfg(agent, mode); });
        if (index) return *index;
        if (p.morId != ownColumn) return kErrUnserved;
        if (mode == kModeSet) rq->value = p.U32();  // several values: the last wins
        return kOk;
    });
}

// The DCBX transmit flag of (port, agent) as a TruthValue.
uint32_t ReadFlag(const LLDP_PORT_AGENT_S &index, uint32_t *value) {
    // Released when the parse failed as well as after a good one.
    return ReadTlvCfg(index.port, index.agent, TlvCfgRelease::Always, [&](const TlvCfg &cfg) {
        // Unlike the 16-bit flags of the other TLVs, the DCBX flag is 32 bits wide.
        uint32_t flag = 0;
        std::memcpy(&flag, &cfg.get().entry[LLDP_TLVBIT_DCBX], sizeof(flag));
        *value = TruthValue(flag);
    });
}

// The value under every parameter that names one of the four columns.
[[nodiscard]] uint32_t AppendColumns(MOR_MSG request, MOR_MSG reply, uint32_t value) {
    uint32_t written = kOk;
    for (const Param &p : Params(request))
        if (IsTxEnableColumn(p.morId)) written = KeepFirst(written, AppendEnum(reply, p.morId, value));
    return written;
}

uint32_t Get(MOR_MSG request, MOR_MSG reply) {
    Request rq;
    const IndexWalk walk = Parse(request, kModeRead, &rq);
    if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
    uint32_t value = kFalse;
    const uint32_t rc = ReadFlag(rq.index, &value);
    if (rc != kOk) return Fail(reply, rc);
    return Written(reply, AppendColumns(request, reply, value));
}

uint32_t GetNext(MOR_MSG request, MOR_MSG reply) {
    Request rq;
    const IndexWalk walk = Parse(request, kModeRead, &rq);
    if (walk.code == kErrUnserved) return Fail(reply, walk.code, walk.position);
    // A DCBX port named without an agent is its own first row.
    LLDP_PORT_AGENT_S row{rq.index.port, kRowAgent};
    if (CheckDcbxPort(row.port, kModeRead) != kOk || rq.index.agent != 0) {
        IF_SELECT_S selection{};
        IF_Select_Init(IF_SELECT_KIND_BY_TYPE, &selection);
        for (uint32_t type : kEthernetPortTypes) IF_SelectType_Set(type, &selection);
        row.port = LLDP_mibpub_GetNextIfIndexByIfIndex(row.port, &selection);
        if (row.port == 0) return Fail(reply, kErrNoNext, walk.position);
    }
    // A next port whose flag cannot be read ends the walk.
    uint32_t value = kFalse;
    if (ReadFlag(row, &value) != kOk) return Fail(reply, kErrNoNext, walk.position);
    const uint32_t index =
        LLDP_mibpub_SetIndexToReplyMsg(reply, mib::lldpV2PortConfigIfIndex, mib::lldpV2PortConfigDestAddressIndex, &row);
    return Written(reply, FirstFailure({index, AppendColumns(request, reply, value)}));
}

uint32_t Write(MOR_MSG request, MOR_MSG reply) {
    Request rq;
    const IndexWalk walk = Parse(request, kModeSet, &rq);
    if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
    const LLDP_TLV_CFG_REQ_S change = TlvCfgRequest(1u << LLDP_TLVBIT_DCBX, kScopeSingleTlv);
    // Only true enables; false, a missing value and out-of-range values disable.
    const uint32_t rc = LLDP_mor_SetTlvCfg(rq.index.port, rq.index.agent, rq.value == 1 ? 1 : 0, &change);
    if (rc == kOk) return kOk;
    // The daemon's "read-only" answer goes back as it is; any other refusal
    // is a refused set.
    return Fail(reply, rc == kErrReadOnly ? kErrReadOnly : kErrSetRefused);
}

}  // namespace

uint32_t TxEnableProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeTable(
        opType, reply,
        [&] { return opType == MOR_OP_GET ? Get(request, reply) : GetNext(request, reply); },
        [&] { return Write(request, reply); });
}

}  // namespace lldpv2::dcbx
