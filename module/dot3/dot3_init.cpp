// Registration of the IEEE 802.3 extension table processors (table ids 75
// to 81).
#include "common/export.h"
#include "dot3/dot3_tables.h"

extern "C" LLDPV2_EXPORT void LLDPV2_DOT3_MIB_Init(void) {
    using namespace lldpv2;
    static const TableRegistration kPortConfig[] = {{kXdot3PortConfigTable, Xdot3PortConfigProc}};
    RegisterTables(kPortConfig);
    RegisterTables(kXdot3LocalTables);
    RegisterTables(kXdot3RemoteTables);
}
