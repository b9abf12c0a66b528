// What neighbours advertised in their IEEE 802.3 TLVs, one row per remote
// system entry keyed by the TFAI: lldpV2Xdot3RemPortTable (table id 79,
// MAC/PHY configuration/status), lldpV2Xdot3RemPowerTable (80, power via MDI)
// and lldpV2Xdot3RemMaxFrameSizeTable (81). A get decodes the neighbour's
// stored TLVs; a get-next asks the daemon for the decoded value of the next
// neighbour that carries the TLV.
#include "common/lldpdu_fetch.h"
#include "common/remote_index.h"
#include "common/reply.h"
#include "dot3/dot3_tables.h"

namespace lldpv2 {
namespace {

// The daemon's get-next result of the power kind: the three octets of the
// decoded record, then five the tables do not use.
struct PowerResult {
    LLDP_POWER_MDI_S mdi;
    uint8_t unused[5];
};
static_assert(sizeof(PowerResult) == 8, "the power get-next result has 8 octets");

// One remote table: the TLV it answers, the daemon's get-next kind and
// result, and how a result becomes a row.
struct RemPortTable : MacPhyTlv {
    static constexpr uint32_t kTable = kXdot3RemPortTable;
    static constexpr uint32_t kKind = LLDP_REM_KIND_MAC_PHY;
    using Result = LLDP_MAC_PHY_S;  // both 16-bit fields in network order
    static void FromResult(Result result, Row *row) {
        result.advertisedCap = NetToHost16(result.advertisedCap);
        result.operMauType = NetToHost16(result.operMauType);
        LLDP_mibpub_ConvertMacPhyToMibData(&result, row);
    }
};

struct RemPowerTable : PowerTlv {
    static constexpr uint32_t kTable = kXdot3RemPowerTable;
    static constexpr uint32_t kKind = LLDP_REM_KIND_POWER;
    using Result = PowerResult;
    static void FromResult(const Result &result, Row *row) { LLDP_mibpub_ConvertPowerMDIToMibData(&result.mdi, row); }
};

struct RemMaxFrameSizeTable : MaxFrameSizeTlv {
    static constexpr uint32_t kTable = kXdot3RemMaxFrameSizeTable;
    static constexpr uint32_t kKind = LLDP_REM_KIND_MAX_FRAME;
    using Result = uint16_t;  // network order
    static void FromResult(Result result, Row *row) { *row = NetToHost16(result); }
};

// Reads the TFAI and accepts the columns of the table. The port and agent
// are stored before they are checked, so that a get-next still starts from
// them.
IndexWalk ReadIndex(MOR_MSG request, uint32_t table, LLDP_TFAI_S *tfai) {
    return WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (const auto rc = ReadPlainTfaiColumn(p, tfai)) return *rc;
        return IsXdot3DataColumn(table, p.morId) ? kOk : kErrUnserved;
    });
}

template <typename T>
uint32_t ReadExact(const LLDP_TFAI_S &tfai, typename T::Row *row) {
    RemoteLldpdu pdu;
    const uint32_t rc = pdu.Fetch(tfai);
    if (rc != kOk) return rc;
    // The TLVs follow the 1-octet header; an empty answer has none.
    const uint16_t len = pdu.len() > kRemoteHeaderLen ? static_cast<uint16_t>(pdu.len() - kRemoteHeaderLen) : 0;
    return T::Decode(pdu.data() + kRemoteHeaderLen, len, row);
}

template <typename T>
uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_TFAI_S tfai;
    LLDP_mibpub_InitTfai(&tfai);
    const IndexWalk walk = ReadIndex(request, T::kTable, &tfai);
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    // A get-next forgets an index error it went past, its position included:
    // whatever fails from here on concerns the whole request.

    typename T::Row row{};
    if (opType == MOR_OP_GET) {
        const uint32_t rc = ReadExact<T>(tfai, &row);
        if (rc != kOk) return Fail(reply, rc);
    } else {
        typename T::Result result{};
        // The daemon's end of the table goes back as it stands.
        const uint32_t rc = LLDP_mor_GetNextRemTableByTFAI(T::kKind, sizeof(result), &tfai, &result);
        if (rc != kOk) return Fail(reply, rc);
        T::FromResult(result, &row);
        if (const uint32_t written = AppendTfai(reply, tfai); written != kOk) return Fail(reply, written);
    }
    const uint32_t rc = T::Append(request, reply, T::kTable, row);
    return rc == kOk ? kOk : Fail(reply, rc);
}

template <TfaiKeyedTable T>
uint32_t Serve(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return Read<T>(opType, request, reply); });
}

}  // namespace

const std::array<TableRegistration, 3> kXdot3RemoteTables = {{
    {kXdot3RemPortTable, Serve<RemPortTable>},
    {kXdot3RemPowerTable, Serve<RemPowerTable>},
    {kXdot3RemMaxFrameSizeTable, Serve<RemMaxFrameSizeTable>},
}};

}  // namespace lldpv2
