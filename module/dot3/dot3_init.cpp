// Registration of the IEEE 802.3 extension table processors.
#include <array>

#include "common/export.h"
#include "dot3/dot3_tables.h"

namespace {

struct TableRegistration {
    uint32_t tableId;
    LLDP_TABLE_PROC_PF proc;
};

// In increasing table id order.
constexpr std::array<TableRegistration, 7> kDot3Tables = {{
    {lldpv2::kXdot3PortConfigTable, lldpv2::Xdot3PortConfigProc},
    {lldpv2::kXdot3LocPortTable, lldpv2::Xdot3LocPortProc},
    {lldpv2::kXdot3LocPowerTable, lldpv2::Xdot3LocPowerProc},
    {lldpv2::kXdot3LocMaxFrameSizeTable, lldpv2::Xdot3LocMaxFrameSizeProc},
    {lldpv2::kXdot3RemPortTable, lldpv2::Xdot3RemPortProc},
    {lldpv2::kXdot3RemPowerTable, lldpv2::Xdot3RemPowerProc},
    {lldpv2::kXdot3RemMaxFrameSizeTable, lldpv2::Xdot3RemMaxFrameSizeProc},
}};

}  // namespace

extern "C" LLDPV2_EXPORT void LLDPV2_DOT3_MIB_Init(void) {
    for (const TableRegistration &t : kDot3Tables) LLDP_mibpub_V2MIBRegisterTableProc(t.tableId, t.proc);
}
