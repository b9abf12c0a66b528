// The DCBX tables with eight rows below each port or neighbour and one value
// column: the ETS traffic-class bandwidth and transmission selection
// algorithm (TSA) tables, one row per traffic class (table ids 50..53,
// 59..62, 68..71), and the ETS priority assignment and PFC enable tables, one
// row per priority (49, 58, 67 and 55, 64, 73). Each comes as Loc, Rem and
// Admin; all are read-only here, the Admin tables included.
#include <array>
#include <cstring>

#include "dcbx/dcbx_common.h"
#include "dcbx/dcbx_tables.h"

namespace lldpv2::dcbx {
namespace {

// Traffic classes and priorities 0..7.
constexpr uint32_t kRows = 8;
constexpr uint32_t kIndexColumn = ColumnOf(mib::lldpXdot1dcbxLocETSConTrafficClass);
constexpr uint32_t kValueColumn = ColumnOf(mib::lldpXdot1dcbxLocETSConTrafficClassBandwidth);

using Values = uint8_t[kRows];

// The eight values of a Loc or Rem table out of a TLV list, with the
// library parser's status.
using TlvValues = uint32_t (*)(const LLDP_TLV_LIST_S *list, Values &values);
// The value of class or priority i in the admin record.
using AdminValue = uint8_t (*)(const DCBX_ADMIN_S &rec, uint32_t i);

template <uint32_t (*Parse)(const LLDP_TLV_LIST_S *, DCBX_ETS_DATA_S *), Values DCBX_ETS_DATA_S::*Field>
uint32_t EtsValues(const LLDP_TLV_LIST_S *list, Values &values) {
    DCBX_ETS_DATA_S data{};
    const uint32_t rc = Parse(list, &data);
    std::memcpy(values, data.*Field, sizeof(values));
    return rc;
}

template <uint32_t Subtype>
uint32_t TsaValues(const LLDP_TLV_LIST_S *list, Values &values) {
    DCBX_TSA_DATA_S data{};
    const uint32_t rc = DCBX_lib_GetETSTSAFromTLVList(list, Subtype, &data);
    std::memcpy(values, data.tsa, sizeof(values));
    return rc;
}

uint32_t PfcEnableValues(const LLDP_TLV_LIST_S *list, Values &values) {
    DCBX_PFC_DATA_S data{};
    const uint32_t rc = DCBX_lib_GetPFCDataFromTLVList(list, &data);
    std::memcpy(values, data.enable, sizeof(values));
    return rc;
}

template <Values DCBX_ADMIN_S::*Field>
uint8_t AdminByte(const DCBX_ADMIN_S &rec, uint32_t i) {
    return (rec.*Field)[i];
}

// Two priorities per byte, the even one in the high nibble.
uint8_t AdminPriorityTc(const DCBX_ADMIN_S &rec, uint32_t priority) {
    const uint8_t pair = rec.priorityTc[priority / 2];
    return priority % 2 == 0 ? pair >> 4 : pair & 0x0F;
}

// Bit p of the enable octet.
uint8_t AdminPfcEnable(const DCBX_ADMIN_S &rec, uint32_t priority) { return (rec.pfcEnable >> priority) & 1u; }

// What a table's value column holds.
struct ValueKind {
    uint32_t type;
    bool truthValue;    // a flag, answered as TruthValue
    bool trafficClass;  // one of the ETS traffic-class tables
};
constexpr ValueKind kBandwidth{MOR_TYPE_UNSIGNED, false, true};
constexpr ValueKind kTsa{MOR_TYPE_ENUM, false, true};
constexpr ValueKind kPriorityTc{MOR_TYPE_UNSIGNED, false, false};
constexpr ValueKind kEnabled{MOR_TYPE_ENUM, true, false};

struct Table {
    uint32_t table;
    Source source;
    uint32_t selector;  // of the daemon's get-next for the source
    ValueKind kind;
    TlvValues tlvValues;      // Loc and Rem
    AdminStatus adminStatus;  // Admin
    AdminValue adminValue;    // Admin

    // The Loc and Admin traffic-class tables answer their value column once
    // for every request parameter that names it; the others answer it once,
    // whatever the request named.
    bool ValueAsNamed() const { return kind.trafficClass && source != Source::Remote; }
    uint32_t Answer(uint32_t value) const { return kind.truthValue ? TruthValue(value) : value; }
};

constexpr Table FromTlvs(uint32_t table, Source source, uint32_t selector, ValueKind kind, TlvValues values) {
    return Table{table, source, selector, kind, values, nullptr, nullptr};
}
constexpr Table FromAdmin(uint32_t table, uint32_t selector, ValueKind kind, AdminStatus status, AdminValue value) {
    return Table{table, Source::Admin, selector, kind, nullptr, status, value};
}

constexpr auto kConfBandwidth = EtsValues<DCBX_lib_GetETSConfDataFromTLVList, &DCBX_ETS_DATA_S::bandwidth>;
constexpr auto kRecoBandwidth = EtsValues<DCBX_lib_GetETSRecoDataFromTLVList, &DCBX_ETS_DATA_S::bandwidth>;
constexpr auto kConfPriorityTc = EtsValues<DCBX_lib_GetETSConfDataFromTLVList, &DCBX_ETS_DATA_S::priorityTc>;
constexpr auto kConfTsa = TsaValues<DCBX_SUBTYPE_ETS_CONF>;
constexpr auto kRecoTsa = TsaValues<DCBX_SUBTYPE_ETS_RECO>;
constexpr AdminStatus kEts = &DCBX_ADMIN_S::etsStatus;
constexpr AdminStatus kPfc = &DCBX_ADMIN_S::pfcStatus;

constexpr std::array<Table, 18> kTables = {{
    FromTlvs(mib::table::lldpXdot1dcbxLocETSConTrafficClassBandwidthEntry, Source::Local, LLDP_DCBXLOC_ETS_BANDWIDTH, kBandwidth, kConfBandwidth),
    FromTlvs(mib::table::lldpXdot1dcbxLocETSConTrafficSelectionAlgorithmEntry, Source::Local, LLDP_DCBXLOC_ETS_TSA, kTsa, kConfTsa),
    FromTlvs(mib::table::lldpXdot1dcbxLocETSRecoTrafficClassBandwidthEntry, Source::Local, LLDP_DCBXLOC_RECO_BANDWIDTH, kBandwidth, kRecoBandwidth),
    FromTlvs(mib::table::lldpXdot1dcbxLocETSRecoTrafficSelectionAlgorithmEntry, Source::Local, LLDP_DCBXLOC_RECO_TSA, kTsa, kRecoTsa),
    FromTlvs(mib::table::lldpXdot1dcbxRemETSConTrafficClassBandwidthEntry, Source::Remote, LLDP_REMSUB_ETS_BANDWIDTH, kBandwidth, kConfBandwidth),
    FromTlvs(mib::table::lldpXdot1dcbxRemETSConTrafficSelectionAlgorithmEntry, Source::Remote, LLDP_REMSUB_ETS_TSA, kTsa, kConfTsa),
    FromTlvs(mib::table::lldpXdot1dcbxRemETSRecoTrafficClassBandwidthEntry, Source::Remote, LLDP_REMSUB_RECO_BANDWIDTH, kBandwidth, kRecoBandwidth),
    FromTlvs(mib::table::lldpXdot1dcbxRemETSRecoTrafficSelectionAlgorithmEntry, Source::Remote, LLDP_REMSUB_RECO_TSA, kTsa, kRecoTsa),
    FromAdmin(mib::table::lldpXdot1dcbxAdminETSConTrafficClassBandwidthEntry, LLDP_DCBXADM_ETS_BANDWIDTH, kBandwidth, kEts, AdminByte<&DCBX_ADMIN_S::confBandwidth>),
    FromAdmin(mib::table::lldpXdot1dcbxAdminETSConTrafficSelectionAlgorithmEntry, LLDP_DCBXADM_ETS_TSA, kTsa, kEts, AdminByte<&DCBX_ADMIN_S::confTsa>),
    FromAdmin(mib::table::lldpXdot1dcbxAdminETSRecoTrafficClassBandwidthEntry, LLDP_DCBXADM_RECO_BANDWIDTH, kBandwidth, kEts, AdminByte<&DCBX_ADMIN_S::recoBandwidth>),
    // The recommendation TSA table reads the configuration TSA bytes, the
    // same as table 69: the admin record's own recommendation TSA is not
    // served by a get.
    FromAdmin(mib::table::lldpXdot1dcbxAdminETSRecoTrafficSelectionAlgorithmEntry, LLDP_DCBXADM_RECO_TSA, kTsa, kEts, AdminByte<&DCBX_ADMIN_S::confTsa>),
    FromTlvs(mib::table::lldpXdot1dcbxLocETSConPriorityAssignmentEntry, Source::Local, LLDP_DCBXLOC_ETS_PRIORITY, kPriorityTc, kConfPriorityTc),
    FromTlvs(mib::table::lldpXdot1dcbxRemETSConPriorityAssignmentEntry, Source::Remote, LLDP_REMSUB_ETS_PRIORITY, kPriorityTc, kConfPriorityTc),
    FromAdmin(mib::table::lldpXdot1dcbxAdminETSConPriorityAssignmentEntry, LLDP_DCBXADM_ETS_PRIORITY, kPriorityTc, kEts, AdminPriorityTc),
    FromTlvs(mib::table::lldpXdot1dcbxLocPFCEnableEntry, Source::Local, LLDP_DCBXLOC_PFC_ENABLE, kEnabled, PfcEnableValues),
    FromTlvs(mib::table::lldpXdot1dcbxRemPFCEnableEntry, Source::Remote, LLDP_REMSUB_PFC_ENABLE, kEnabled, PfcEnableValues),
    FromAdmin(mib::table::lldpXdot1dcbxAdminPFCEnableEntry, LLDP_DCBXADM_PFC_ENABLE, kEnabled, kPfc, AdminPfcEnable),
}};

// The answer of row key.
uint32_t ReadValue(const Table &t, const RowKey &key, uint32_t *value) {
    if (key.index2 >= kRows) return kErrNoInstance;
    uint8_t byte = 0;
    if (t.source == Source::Admin) {
        DCBX_ADMIN_S rec;
        const uint32_t rc = ReadAdmin(key.owner.ifIndex, t.adminStatus, &rec);
        if (rc != kOk) return rc;
        byte = t.adminValue(rec, key.index2);
    } else {
        Values values = {};
        const uint32_t rc =
            ParseTlvs(t.source, key.owner, [&](const LLDP_TLV_LIST_S *list) { return t.tlvValues(list, values); });
        if (rc != kOk) return rc;
        byte = values[key.index2];
    }
    *value = t.Answer(byte);
    return kOk;
}

uint32_t Read(const Table &t, uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    const uint32_t indexColumn = MorId(t.table, kIndexColumn);
    const uint32_t valueColumn = MorId(t.table, kValueColumn);
    RowKey key;
    const IndexWalk walk = ReadRowIndex(t.source, request, &key.owner, [&](const Param &p) -> uint32_t {
        if (p.morId == indexColumn) {
            key.index2 = p.U32();
            return key.index2 < kRows ? kOk : kErrNoInstance;
        }
        return p.morId == valueColumn ? kOk : kErrUnserved;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);

    uint32_t value = 0;
    if (opType == MOR_OP_GET) {
        const uint32_t rc = ReadValue(t, key, &value);
        if (rc != kOk) return Fail(reply, rc);
    } else {
        // Without the class or priority, a cleanly read index is first tried
        // as it stands, with class or priority 0.
        const bool asNamed = walk.code == kOk && LLDP_mibpub_CheckLackIndex(request, indexColumn) == 1 &&
                             ReadValue(t, key, &value) == kOk;
        if (!asNamed) {
            const uint32_t rc = NextRow(t.source, t.selector, &key, &value, 1);
            if (rc != kOk) return Fail(reply, rc, walk.position);
            value = t.Answer(value);
        }
        if (const uint32_t written = FirstFailure({
            AppendOwner(reply, t.source, key.owner),
            AppendUnsigned(reply, indexColumn, key.index2),
        }); written != kOk) return Fail(reply, written);
    }
    if (!t.ValueAsNamed()) {
        return Written(reply, AppendNumber(reply, valueColumn, t.kind.type, value));
    }
    uint32_t written = kOk;
    for (const Param &p : Params(request))
        if (p.morId == valueColumn) written = KeepFirst(written, AppendNumber(reply, valueColumn, t.kind.type, value));
    return Written(reply, written);
}

}  // namespace

uint32_t ClassPriorityProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeFamily(opType, request, reply, kTables, [&](const Table &t) { return Read(t, opType, request, reply); });
}

}  // namespace lldpv2::dcbx
