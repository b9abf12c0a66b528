// Registration of the base LLDP-V2-MIB table processors (table ids 2 to 15).
#include "basic/basic_tables.h"
#include "common/export.h"

extern "C" LLDPV2_EXPORT void LLDPV2_MIB_InitBasic(void) {
    using namespace lldpv2;
    static const TableRegistration kBasicTables[] = {
        {mib::table::lldpV2Configuration, GlobalConfigProc},
        {mib::table::lldpV2PortConfigEntry, PortConfigProc},
        {mib::table::lldpV2DestAddressTableEntry, DestAddressProc},
        {mib::table::lldpV2ManAddrConfigTxPortsEntry, ManAddrTxProc},
        {mib::table::lldpV2LocalSystemData, LocalSystemProc},
        {mib::table::lldpV2LocPortEntry, LocalPortProc},
        {mib::table::lldpV2LocManAddrEntry, LocalManAddrProc},
        {mib::table::lldpV2RemEntry, RemoteSystemsProc},
        {mib::table::lldpV2RemManAddrEntry, RemoteManAddrProc},
        {mib::table::lldpV2RemUnknownTLVEntry, RemoteUnknownTlvProc},
        {mib::table::lldpV2RemOrgDefInfoEntry, RemoteOrgDefInfoProc},
    };
    RegisterTables(kBasicTables);
    RegisterTables(kStatisticsTables);
}
