// Registration of the DCBX table processors (table ids 44 to 74).
#include <array>

#include "common/export.h"
#include "common/mibpub.h"
#include "dcbx/dcbx_tables.h"

namespace {

using namespace lldpv2::dcbx;

struct TableRegistration {
    uint32_t tableId;
    LLDP_TABLE_PROC_PF proc;
};

// In increasing table id order.
constexpr std::array<TableRegistration, 31> kDcbxTables = {{
    {44, TxEnableProc},      {45, TxEnableProc},      {46, TxEnableProc},      {47, TxEnableProc},
    {48, BasicProc},         {49, ClassPriorityProc}, {50, ClassPriorityProc}, {51, ClassPriorityProc},
    {52, ClassPriorityProc}, {53, ClassPriorityProc}, {54, BasicProc},         {55, ClassPriorityProc},
    {56, AppPriorityProc},   {57, BasicProc},         {58, ClassPriorityProc}, {59, ClassPriorityProc},
    {60, ClassPriorityProc}, {61, ClassPriorityProc}, {62, ClassPriorityProc}, {63, BasicProc},
    {64, ClassPriorityProc}, {65, AppPriorityProc},   {66, BasicProc},         {67, ClassPriorityProc},
    {68, ClassPriorityProc}, {69, ClassPriorityProc}, {70, ClassPriorityProc}, {71, ClassPriorityProc},
    {72, BasicProc},         {73, ClassPriorityProc}, {74, AppPriorityProc},
}};

}  // namespace

extern "C" LLDPV2_EXPORT void DCBX_MIB_Init(void) {
    for (const TableRegistration &t : kDcbxTables) LLDP_mibpub_V2MIBRegisterTableProc(t.tableId, t.proc);
}
