// Registration of the IEEE 802.1 extension table processors.
#include <array>

#include "common/export.h"
#include "dot1/dot1_tables.h"

namespace {

struct TableRegistration {
    uint32_t tableId;
    LLDP_TABLE_PROC_PF proc;
};

// In increasing table id order.
constexpr std::array<TableRegistration, 20> kDot1Tables = {{
    {21, lldpv2::ConfigPortVlanProc},
    {22, lldpv2::ConfigVlanNameProc},
    {23, lldpv2::ConfigProtoVlanProc},
    {24, lldpv2::ConfigProtocolProc},
    {25, lldpv2::ConfigVidUsageDigestProc},
    {26, lldpv2::ConfigManVidProc},
    {27, lldpv2::LocPortVlanProc},
    {28, lldpv2::LocProtoVlanProc},
    {29, lldpv2::LocVlanNameProc},
    {30, lldpv2::LocProtocolProc},
    {31, lldpv2::LocVidUsageDigestProc},
    {32, lldpv2::LocManVidProc},
    {33, lldpv2::LocLinkAggProc},
    {34, lldpv2::RemPortVlanProc},
    {35, lldpv2::RemProtoVlanProc},
    {36, lldpv2::RemVlanNameProc},
    {37, lldpv2::RemProtocolProc},
    {38, lldpv2::RemVidUsageDigestProc},
    {39, lldpv2::RemManVidProc},
    {40, lldpv2::RemLinkAggProc},
}};

}  // namespace

extern "C" LLDPV2_EXPORT void LLDPV2_DOT1_MIB_Init(void) {
    for (const TableRegistration &t : kDot1Tables) LLDP_mibpub_V2MIBRegisterTableProc(t.tableId, t.proc);
}
