// The DCBX application priority tables (table ids 56 Loc, 65 Rem, 74 Admin):
// rows keyed by an application (selector and protocol) below a port or a
// neighbour, answering the application's priority. Read-only here, the Admin
// table included.
#include <algorithm>
#include <array>
#include <span>

#include "dcbx/dcbx_common.h"
#include "dcbx/dcbx_tables.h"

namespace lldpv2::dcbx {
namespace {

constexpr uint32_t kSelectorColumn = ColumnOf(mib::lldpXdot1dcbxLocApplicationPriorityAESelector);
constexpr uint32_t kProtocolColumn = ColumnOf(mib::lldpXdot1dcbxLocApplicationPriorityAEProtocol);
constexpr uint32_t kPriorityColumn = ColumnOf(mib::lldpXdot1dcbxLocApplicationPriorityAEPriority);

struct Table {
    uint32_t table;
    Source source;
    uint32_t selector;  // of the daemon's get-next for the source
    // The index column whose absence makes a get-next first try the row as
    // named: the protocol for Loc and Admin, but the selector for Rem.
    uint32_t completeColumn;
};

constexpr std::array<Table, 3> kTables = {{
    {mib::table::lldpXdot1dcbxLocApplicationPriorityAppEntry, Source::Local, LLDP_DCBXLOC_APP_PRIORITY, kProtocolColumn},
    {mib::table::lldpXdot1dcbxRemApplicationPriorityAppEntry, Source::Remote, LLDP_REMSUB_APP_PRIORITY, kSelectorColumn},
    {mib::table::lldpXdot1dcbxAdminApplicationPriorityAppEntry, Source::Admin, LLDP_DCBXADM_APP_PRIORITY, kProtocolColumn},
}};

// The priority of the first entry of the application, or kErrNoInstance.
uint32_t Lookup(std::span<const DCBX_APP_ENTRY_S> entries, uint32_t count, const RowKey &key, uint8_t *priority) {
    const auto used = entries.first(std::min<size_t>(count, entries.size()));
    const auto e = std::find_if(used.begin(), used.end(), [&](const DCBX_APP_ENTRY_S &entry) {
        return entry.selector == static_cast<uint8_t>(key.index2) && entry.protocol == static_cast<uint16_t>(key.index3);
    });
    if (e == used.end()) return kErrNoInstance;
    *priority = e->priority;
    return kOk;
}

uint32_t ReadPriority(const Table &t, const RowKey &key, uint8_t *priority) {
    // An application that cannot exist is not looked for.
    if (DCBX_lib_CheckSelProtocol(key.index2, key.index3) != 0) return kErrNoInstance;
    if (t.source == Source::Admin) {
        DCBX_ADMIN_S rec;
        const uint32_t rc = ReadAdmin(key.owner.ifIndex, &DCBX_ADMIN_S::appStatus, &rec);
        if (rc != kOk) return rc;
        return Lookup(rec.app, rec.appCount, key, priority);
    }
    DCBX_APP_DATA_S apps{};
    const uint32_t origin = t.source == Source::Local ? DCBX_ORIGIN_LOCAL : DCBX_ORIGIN_REMOTE;
    const uint32_t rc = ParseTlvs(t.source, key.owner, [&](const LLDP_TLV_LIST_S *list) {
        return DCBX_lib_GetAPPDataFromTLVList(origin, list, &apps);
    });
    if (rc != kOk) return rc;
    return Lookup(apps.entry, apps.count, key, priority);
}

uint32_t Answer(uint8_t priority) { return DCBX_lib_TransformUPMap(priority) & 0xFFu; }

uint32_t Read(const Table &t, uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    const uint32_t selectorColumn = MorId(t.table, kSelectorColumn);
    const uint32_t protocolColumn = MorId(t.table, kProtocolColumn);
    const uint32_t priorityColumn = MorId(t.table, kPriorityColumn);
    RowKey key;
    const IndexWalk walk = ReadRowIndex(t.source, request, &key.owner, [&](const Param &p) -> uint32_t {
        if (p.morId == selectorColumn) {
            key.index2 = p.U32();
        } else if (p.morId == protocolColumn) {
            key.index3 = p.U32();
        } else if (p.morId != priorityColumn) {
            return kErrUnserved;
        }
        return kOk;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);

    uint8_t priority = 0;
    if (opType == MOR_OP_GET) {
        const uint32_t rc = ReadPriority(t, key, &priority);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        return Written(reply, AppendUnsigned(reply, priorityColumn, Answer(priority)));
    }
    const bool asNamed = walk.code == kOk &&
                         LLDP_mibpub_CheckLackIndex(request, MorId(t.table, t.completeColumn)) == 1 &&
                         ReadPriority(t, key, &priority) == kOk;
    if (!asNamed) {
        uint32_t value = 0;
        const uint32_t rc = NextRow(t.source, t.selector, &key, &value, 1);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        priority = static_cast<uint8_t>(value);
    }
    return Written(reply, FirstFailure({
        AppendOwner(reply, t.source, key.owner),
        AppendEnum(reply, selectorColumn, key.index2),
        AppendUnsigned(reply, protocolColumn, key.index3),
        AppendUnsigned(reply, priorityColumn, Answer(priority)),
    }));
}

}  // namespace

uint32_t AppPriorityProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeFamily(opType, request, reply, kTables, [&](const Table &t) { return Read(t, opType, request, reply); });
}

}  // namespace lldpv2::dcbx
