// Registration of table processors: each table file lists the processors of
// its tables by table id, and its family's initialiser registers the lists.
#pragma once

#include <cstdint>
#include <span>

#include "common/mibpub.h"
#include "common/table_kinds.h"

namespace lldpv2 {

struct TableRegistration {
    uint32_t tableId;
    LLDP_TABLE_PROC_PF proc;
};

inline void RegisterTables(std::span<const TableRegistration> tables) {
    for (const TableRegistration &t : tables) {
        // The registry takes every id below its size and cannot fail.
        static_cast<void>(LLDP_mibpub_V2MIBRegisterTableProc(t.tableId, t.proc));
    }
}

}  // namespace lldpv2
