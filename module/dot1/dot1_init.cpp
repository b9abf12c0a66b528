// Registration of the IEEE 802.1 extension table processors (table ids 21
// to 40).
#include "common/export.h"
#include "dot1/dot1_tables.h"

extern "C" LLDPV2_EXPORT void LLDPV2_DOT1_MIB_Init(void) {
    using namespace lldpv2;
    static constexpr TableRegistration kRemoteTables[] = {
        {mib::table::lldpV2Xdot1RemEntry, RemPortVlanProc},
        {mib::table::lldpV2Xdot1RemLinkAggEntry, RemLinkAggProc},
    };
    RegisterTables(kDot1ConfigTables);
    RegisterTables(kDot1LocalTables);
    RegisterTables(kRemoteTables);
    RegisterTables(kRemoteListTables);
}
