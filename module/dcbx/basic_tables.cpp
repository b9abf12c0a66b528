// The ETS and PFC basic tables: one row per port or neighbour with three
// columns, in Loc, Rem and Admin variants, all read-only here. ETS (table ids
// 48, 57, 66): credit-based shaper support, traffic classes supported,
// willing. PFC (54, 63, 72): willing, MACsec bypass capability, PFC
// capability. Two columns of each row may be missing from a TLV and are
// answered only when present.
#include <array>
#include <optional>

#include "dcbx/dcbx_common.h"
#include "dcbx/dcbx_tables.h"

namespace lldpv2::dcbx {
namespace {

constexpr size_t kColumns = 3;

// How a column's value is answered.
enum class Conversion {
    Truth,       // a flag, as TruthValue
    ClassCount,  // a 3-bit count of traffic classes, where 0 stands for 8
    Raw,
};
// When a column is answered.
enum class Shown { Always, WhenPresent };

struct Column {
    uint32_t type;
    Conversion conversion;
    Shown shown;
    uint32_t localSelector;  // get-next of the column over the local rows
    uint32_t remoteKind;     // get-next of the column over the neighbours
};

// A row in column order; present marks the values the source supplied.
struct Row {
    uint32_t value[kColumns] = {};
    bool present[kColumns] = {};
};

struct Family {
    std::array<Column, kColumns> columns;
    uint32_t (*fromTlvs)(const LLDP_TLV_LIST_S *list, Row *row);  // the library parser's status
    Row (*fromAdmin)(const DCBX_ADMIN_S &rec);
    AdminStatus adminStatus;
    uint32_t adminSelector;  // get-next of whole admin rows
};

uint32_t EtsFromTlvs(const LLDP_TLV_LIST_S *list, Row *row) {
    DCBX_ETS_DATA_S d{};
    const uint32_t rc = DCBX_lib_GetETSConfDataFromTLVList(list, &d);
    *row = Row{{d.cbs, d.tcs, d.willing}, {d.cbsPresent == 1, d.tcsPresent == 1, true}};
    return rc;
}

uint32_t PfcFromTlvs(const LLDP_TLV_LIST_S *list, Row *row) {
    DCBX_PFC_DATA_S d{};
    const uint32_t rc = DCBX_lib_GetPFCDataFromTLVList(list, &d);
    *row = Row{{d.willing, d.mbc, d.cap}, {true, d.mbcPresent == 1, d.capPresent == 1}};
    return rc;
}

// First octets of the admin data: bit 7 willing, bit 6 CBS or MBC, then the
// 3-bit class count (ETS) or the 4-bit capability (PFC).
Row EtsFromAdmin(const DCBX_ADMIN_S &rec) {
    const uint8_t b = rec.etsFirst;
    return Row{{(b >> 6) & 1u, b & 0x07u, (b >> 7) & 1u}, {true, true, true}};
}

Row PfcFromAdmin(const DCBX_ADMIN_S &rec) {
    const uint8_t b = rec.pfcFirst;
    return Row{{(b >> 7) & 1u, (b >> 6) & 1u, b & 0x0Fu}, {true, true, true}};
}

// Columns 1..3: credit-based shaper support, traffic classes supported, willing.
constexpr Family kEts{
    {{
        {MOR_TYPE_ENUM, Conversion::Truth, Shown::WhenPresent, LLDP_DCBXLOC_ETS_CBS, LLDP_REM_KIND_ETS_CBS},
        {MOR_TYPE_UNSIGNED, Conversion::ClassCount, Shown::WhenPresent, LLDP_DCBXLOC_ETS_TCS, LLDP_REM_KIND_ETS_TCS},
        {MOR_TYPE_ENUM, Conversion::Truth, Shown::Always, LLDP_DCBXLOC_ETS_WILLING, LLDP_REM_KIND_ETS_WILLING},
    }},
    EtsFromTlvs,
    EtsFromAdmin,
    &DCBX_ADMIN_S::etsStatus,
    LLDP_DCBXADM_ETS_BASIC,
};

// Columns 1..3: willing, MACsec bypass capability, PFC capability.
constexpr Family kPfc{
    {{
        {MOR_TYPE_ENUM, Conversion::Truth, Shown::Always, LLDP_DCBXLOC_PFC_WILLING, LLDP_REM_KIND_PFC_WILLING},
        {MOR_TYPE_ENUM, Conversion::Truth, Shown::WhenPresent, LLDP_DCBXLOC_PFC_MBC, LLDP_REM_KIND_PFC_MBC},
        {MOR_TYPE_UNSIGNED, Conversion::Raw, Shown::WhenPresent, LLDP_DCBXLOC_PFC_CAP, LLDP_REM_KIND_PFC_CAP},
    }},
    PfcFromTlvs,
    PfcFromAdmin,
    &DCBX_ADMIN_S::pfcStatus,
    LLDP_DCBXADM_PFC_BASIC,
};

struct Table {
    uint32_t table;
    Source source;
    const Family *family;

    // The column index of morId when it is one of the table's columns.
    std::optional<size_t> ColumnIndex(uint32_t morId) const {
        for (size_t i = 0; i < kColumns; ++i)
            if (morId == MorId(table, static_cast<uint32_t>(i + 1))) return i;
        return std::nullopt;
    }
};

constexpr std::array<Table, 6> kTables = {{
    {mib::table::lldpXdot1dcbxLocETSBasicConfigurationEntry, Source::Local, &kEts},
    {mib::table::lldpXdot1dcbxRemETSBasicConfigurationEntry, Source::Remote, &kEts},
    {mib::table::lldpXdot1dcbxAdminETSBasicConfigurationEntry, Source::Admin, &kEts},
    {mib::table::lldpXdot1dcbxLocPFCBasicEntry, Source::Local, &kPfc},
    {mib::table::lldpXdot1dcbxRemPFCBasicEntry, Source::Remote, &kPfc},
    {mib::table::lldpXdot1dcbxAdminPFCBasicEntry, Source::Admin, &kPfc},
}};

uint32_t Convert(Conversion conversion, uint32_t value) {
    switch (conversion) {
        case Conversion::Truth: return TruthValue(value);
        case Conversion::ClassCount: return value == 0 ? 8 : value;
        case Conversion::Raw: break;
    }
    return value;
}

uint32_t ReadRow(const Table &t, const Owner &owner, Row *row) {
    if (t.source != Source::Admin)
        return ParseTlvs(t.source, owner, [&](const LLDP_TLV_LIST_S *list) { return t.family->fromTlvs(list, row); });
    DCBX_ADMIN_S rec;
    const uint32_t rc = ReadAdmin(owner.ifIndex, t.family->adminStatus, &rec);
    if (rc == kOk) *row = t.family->fromAdmin(rec);
    return rc;
}

// The next row of one column, from *key.
uint32_t NextColumn(const Table &t, const Column &c, RowKey *key, uint32_t *value) {
    if (t.source == Source::Local) return NextRow(Source::Local, c.localSelector, key, value, 1);
    uint32_t raw = 0;
    const uint32_t rc = LLDP_mor_GetNextRemTableByTFAI(c.remoteKind, sizeof(raw), &key->owner.tfai, &raw);
    if (rc == kOk) *value = NetToHost32(raw) & 0xFFu;  // the value's lowest octet
    return rc;
}

// Loc and Rem get-next: each column the request names, in request order, is
// searched on its own from the row the previous search found and fills its
// field. The key is that of the last row found, and the columns searched
// before keep the values of the rows they found. Only the last parameter's
// outcome counts: one that is not a column of the table (an index column
// included) gives kErrUnserved.
uint32_t NextByColumns(const Table &t, MOR_MSG request, RowKey *key, Row *row) {
    uint32_t outcome = kErrNoNext;  // a request naming nothing finds nothing
    for (const Param &p : Params(request)) {
        const std::optional<size_t> i = t.ColumnIndex(p.morId);
        if (!i) {
            outcome = kErrUnserved;
            continue;
        }
        uint32_t value = 0;
        outcome = NextColumn(t, t.family->columns[*i], key, &value);
        if (outcome != kOk) continue;
        row->value[*i] = value;
        row->present[*i] = true;
    }
    return outcome;
}

// Admin get-next: whole rows.
uint32_t NextAdminRow(const Table &t, RowKey *key, Row *row) {
    uint32_t values[kColumns] = {};
    const uint32_t rc = NextRow(Source::Admin, t.family->adminSelector, key, values, kColumns);
    if (rc == kOk) *row = Row{{values[0], values[1], values[2]}, {true, true, true}};
    return rc;
}

[[nodiscard]] uint32_t AppendColumns(const Table &t, MOR_MSG request, MOR_MSG reply, const Row &row) {
    uint32_t written = kOk;
    for (const Param &p : Params(request)) {
        const std::optional<size_t> i = t.ColumnIndex(p.morId);
        if (!i) continue;
        const Column &c = t.family->columns[*i];
        if (c.shown == Shown::WhenPresent && !row.present[*i]) continue;
        written = KeepFirst(written, AppendNumber(reply, p.morId, c.type, Convert(c.conversion, row.value[*i])));
    }
    return written;
}

uint32_t Read(const Table &t, uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    RowKey key;
    const IndexWalk walk = ReadRowIndex(t.source, request, &key.owner,
                                        [&](const Param &p) { return t.ColumnIndex(p.morId) ? kOk : kErrUnserved; });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);

    Row row;
    uint32_t rc = kOk;
    if (opType == MOR_OP_GET) {
        rc = ReadRow(t, key.owner, &row);
    } else if (t.source == Source::Admin) {
        rc = NextAdminRow(t, &key, &row);
    } else {
        rc = NextByColumns(t, request, &key, &row);
    }
    if (rc != kOk) return Fail(reply, rc, walk.position);
    const uint32_t owner = opType == MOR_OP_GETNEXT ? AppendOwner(reply, t.source, key.owner) : kOk;
    return Written(reply, FirstFailure({owner, AppendColumns(t, request, reply, row)}));
}

}  // namespace

uint32_t BasicProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeFamily(opType, request, reply, kTables, [&](const Table &t) { return Read(t, opType, request, reply); });
}

}  // namespace lldpv2::dcbx
