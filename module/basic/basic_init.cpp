// Registration of the base LLDP-V2-MIB table processors.
#include <array>

#include "basic/basic_tables.h"
#include "common/export.h"

namespace {

struct TableRegistration {
    uint32_t tableId;
    LLDP_TABLE_PROC_PF proc;
};

// In increasing table id order.
constexpr std::array<TableRegistration, 14> kBasicTables = {{
    {2, lldpv2::GlobalConfigProc},
    {3, lldpv2::PortConfigProc},
    {4, lldpv2::DestAddressProc},
    {5, lldpv2::ManAddrTxProc},
    {6, lldpv2::StatsRemTablesProc},
    {7, lldpv2::StatsTxPortProc},
    {8, lldpv2::StatsRxPortProc},
    {9, lldpv2::LocalSystemProc},
    {10, lldpv2::LocalPortProc},
    {11, lldpv2::LocalManAddrProc},
    {12, lldpv2::RemoteSystemsProc},
    {13, lldpv2::RemoteManAddrProc},
    {14, lldpv2::RemoteUnknownTlvProc},
    {15, lldpv2::RemoteOrgDefInfoProc},
}};

}  // namespace

extern "C" LLDPV2_EXPORT void LLDPV2_MIB_InitBasic(void) {
    for (const TableRegistration &t : kBasicTables) LLDP_mibpub_V2MIBRegisterTableProc(t.tableId, t.proc);
}
