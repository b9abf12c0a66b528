// What the DCBX table processors share: where a table's rows come from, the
// index above a table's own columns (a port or a neighbour), the DCBX port
// check, the reads of a port's or a neighbour's DCBX TLVs and of a port's
// DCBX admin record, and the get-next over the nodes of the stack.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "common/lldpdu_fetch.h"
#include "common/remote_index.h"
#include "common/reply.h"
#include "lldpv2/dcbx_lib.h"

namespace lldpv2::dcbx {

// Where the rows of a table come from: the DCBX TLVs of the LLDPDU a port
// sends (Loc), those a neighbour sent (Rem), or the port's DCBX admin record
// (Admin).
enum class Source { Local, Remote, Admin };

// Index column of the Loc and Admin tables: lldpV2LocPortIfIndex.
inline constexpr uint32_t kLocPortIfIndex = mib::lldpV2LocPortIfIndex;

// Modes of the index checks: a read answers "no such instance", a set
// "refused".
inline constexpr uint16_t kModeRead = 0;
inline constexpr uint16_t kModeSet = 1;

// Whether ifIndex is a port that can carry DCBX: a valid interface of one of
// the DCBX port types.
[[nodiscard]] uint32_t CheckDcbxPort(uint32_t ifIndex, uint16_t mode);

// The index above a table's own columns: the port of a Loc or Admin row, the
// neighbour (TFAI) of a Rem row.
struct Owner {
    uint32_t ifIndex = 0;
    LLDP_TFAI_S tfai{};
};

// Reads p into owner when p is an owner index column of the source and
// returns its check (the value is stored also when the check fails);
// nullopt when p is not an owner column.
[[nodiscard]] std::optional<uint32_t> ReadOwnerColumn(Source source, const Param &p, Owner *owner);

// Reads a row's index: the owner's columns, and the table's own columns with
// column(p) -> status; stops at the first error.
template <typename Column>
[[nodiscard]] IndexWalk ReadRowIndex(Source source, MOR_MSG request, Owner *owner, Column column) {
    return WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (const std::optional<uint32_t> rc = ReadOwnerColumn(source, p, owner)) return *rc;
        return column(p);
    });
}

// Appends the owner's index columns to a get-next reply.
[[nodiscard]] uint32_t AppendOwner(MOR_MSG reply, Source source, const Owner &owner);

// A row key: the owner and up to two sub-indexes (traffic class, priority,
// or application selector and protocol).
struct RowKey {
    Owner owner;
    uint32_t index2 = 0;
    uint32_t index3 = 0;
};

// Asks every node that is up for the row of the daemon's selector that
// follows *key, keeps the smallest (owner, then index2, then index3; on a tie
// the earlier node), sets *key to it and its count (at most 3) 32-bit values
// in host order. kErrNoNext when there is no node list or no further row.
[[nodiscard]] uint32_t NextRow(Source source, uint32_t selector, RowKey *key, uint32_t *values, size_t count);

// Fetches the port's local LLDPDU (Local; its local-data attribute must read
// 1) or the neighbour's stored information (Remote), splits its TLVs and
// runs parse(list), a DCBX library parser. The daemon's error as it stands,
// kErrNoInstance when the parser fails.
template <typename Parse>
[[nodiscard]] uint32_t ParseTlvs(Source source, const Owner &owner, Parse parse) {
    if (source == Source::Remote) {
        RemoteLldpdu pdu;
        const uint32_t rc = pdu.Fetch(owner.tfai);
        if (rc != kOk) return rc;
        return parse(pdu.Split()) == 0 ? kOk : kErrNoInstance;
    }
    LocalLldpdu pdu;
    const uint32_t rc = pdu.Fetch(owner.ifIndex, Presence::MustBeOne);
    if (rc != kOk) return rc;
    return parse(pdu.Split()) == 0 ? kOk : kErrNoInstance;
}

// The status word of the part of the admin record a table reads (ETS, PFC
// or application priority data); the part is valid when it is 1.
using AdminStatus = uint16_t DCBX_ADMIN_S::*;

// The port's DCBX admin record in host order, when the part named by status
// is valid. kErrNoInstance for ifIndex 0, a short record or an invalid part;
// otherwise the daemon's error as it stands.
[[nodiscard]] uint32_t ReadAdmin(uint32_t ifIndex, AdminStatus status, DCBX_ADMIN_S *rec);

// The op-type frame of a read-only family of tables: finds the member that
// the request's table id names and runs read(member) on get and get-next. A
// table id that names no member is answered like a table without processor.
template <typename Table, size_t N, typename Read>
uint32_t ServeFamily(uint32_t opType, MOR_MSG request, MOR_MSG reply, const std::array<Table, N> &members, Read read) {
    return ServeReadOnly(opType, reply, [&]() -> uint32_t {
        const uint32_t tableId = MOR_GetTableId(request);
        for (const Table &t : members)
            if (t.table == tableId) return read(t);
        return Fail(reply, kErrNoProcessor);
    });
}

}  // namespace lldpv2::dcbx
