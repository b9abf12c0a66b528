// Registration of the DCBX table processors (table ids 44 to 74).
#include <array>

#include "common/export.h"
#include "common/registry.h"
#include "dcbx/dcbx_tables.h"

namespace {

using namespace lldpv2::dcbx;
using lldpv2::TableRegistration;

// In increasing table id order.
constexpr std::array<TableRegistration, 31> kDcbxTables = {{
    {lldpv2::mib::table::lldpXdot1dcbxConfigETSConfigurationEntry, TxEnableProc},      {lldpv2::mib::table::lldpXdot1dcbxConfigETSRecommendationEntry, TxEnableProc},      {lldpv2::mib::table::lldpXdot1dcbxConfigPFCEntry, TxEnableProc},      {lldpv2::mib::table::lldpXdot1dcbxConfigApplicationPriorityEntry, TxEnableProc},
    {lldpv2::mib::table::lldpXdot1dcbxLocETSBasicConfigurationEntry, BasicProc},         {lldpv2::mib::table::lldpXdot1dcbxLocETSConPriorityAssignmentEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxLocETSConTrafficClassBandwidthEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxLocETSConTrafficSelectionAlgorithmEntry, ClassPriorityProc},
    {lldpv2::mib::table::lldpXdot1dcbxLocETSRecoTrafficClassBandwidthEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxLocETSRecoTrafficSelectionAlgorithmEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxLocPFCBasicEntry, BasicProc},         {lldpv2::mib::table::lldpXdot1dcbxLocPFCEnableEntry, ClassPriorityProc},
    {lldpv2::mib::table::lldpXdot1dcbxLocApplicationPriorityAppEntry, AppPriorityProc},   {lldpv2::mib::table::lldpXdot1dcbxRemETSBasicConfigurationEntry, BasicProc},         {lldpv2::mib::table::lldpXdot1dcbxRemETSConPriorityAssignmentEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxRemETSConTrafficClassBandwidthEntry, ClassPriorityProc},
    {lldpv2::mib::table::lldpXdot1dcbxRemETSConTrafficSelectionAlgorithmEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxRemETSRecoTrafficClassBandwidthEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxRemETSRecoTrafficSelectionAlgorithmEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxRemPFCBasicEntry, BasicProc},
    {lldpv2::mib::table::lldpXdot1dcbxRemPFCEnableEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxRemApplicationPriorityAppEntry, AppPriorityProc},   {lldpv2::mib::table::lldpXdot1dcbxAdminETSBasicConfigurationEntry, BasicProc},         {lldpv2::mib::table::lldpXdot1dcbxAdminETSConPriorityAssignmentEntry, ClassPriorityProc},
    {lldpv2::mib::table::lldpXdot1dcbxAdminETSConTrafficClassBandwidthEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxAdminETSConTrafficSelectionAlgorithmEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxAdminETSRecoTrafficClassBandwidthEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxAdminETSRecoTrafficSelectionAlgorithmEntry, ClassPriorityProc},
    {lldpv2::mib::table::lldpXdot1dcbxAdminPFCBasicEntry, BasicProc},         {lldpv2::mib::table::lldpXdot1dcbxAdminPFCEnableEntry, ClassPriorityProc}, {lldpv2::mib::table::lldpXdot1dcbxAdminApplicationPriorityAppEntry, AppPriorityProc},
}};

}  // namespace

extern "C" LLDPV2_EXPORT void DCBX_MIB_Init(void) { lldpv2::RegisterTables(kDcbxTables); }
