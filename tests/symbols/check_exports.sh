#!/usr/bin/env bash
# Checks the dynamic symbol table of the module: the exported functions and
# node records carry their C names, no platform function is defined by the
# module, and the module has no link-time dependency on the platform.
set -euo pipefail
module="$1"

defined=$(nm -D --defined-only "$module" | awk '{print $3}')
undefined=$(nm -D --undefined-only "$module" | awk '{print $2}')
fail=0

expect_defined=(
  LLDPV2_MIB_InitBasic LLDPV2_DOT1_MIB_Init LLDPV2_DOT3_MIB_Init DCBX_MIB_Init
  SNMP_Add_MIB_lldpv2_tree SNMP_Add_MIB_lldpv2_dot1_tree SNMP_Add_MIB_lldpv2_dot3_tree
  SNMP_Del_MIB_lldpv2_tree SNMP_Del_MIB_lldpv2_dot1_tree SNMP_Del_MIB_lldpv2_dot3_tree
  _mib_RegTLV _mib_UnRegTLV
  LLDP_mibpub_V2MibMorInit LLDP_mibpub_V2MibMorFini LLDP_mibpub_V2MIBRegisterTableProc
  LLDP_mibpub_CheckToStartService
  LLDP_mibpub_InitTfai LLDP_mibpub_InitPortAgent LLDP_mibpub_CheckAgent LLDP_mibpub_CheckAgentCfg
  LLDP_mibpub_CheckPort LLDP_mibpub_GetPortType LLDP_mibpub_CheckLackIndex
  LLDP_mibpub_SetTfaiToReplyMsg LLDP_mibpub_SetIndexToReplyMsg
  LLDP_mibpub_LocInfoCreateTLVList LLDP_mibpub_RemInfoToTLVList LLDP_mibpub_LocInfoFreeTLVList
  LLDP_mibpub_GetNextIfIndexByIfIndex GetNextIfIndexByIfIndex
  LLDP_mibpub_GetGlbCfg LLDP_mibpub_GetPortCfgTable LLDP_mibpub_SetPortCfgAdminStatus
  LLDP_mibpub_SetPortConfigNotificationEnable LLDP_mibpub_SetPortConfigTLVsTxEnable
  LLDP_mibpub_GetLocalSystemData LLDP_mibpub_GetLocPortTable
  LLDP_mibpub_GetIfStats LLDP_mibpub_GetStatsRemTables
  LLDP_mibpub_GetLocManAddrTable LLDP_mibpub_GetNextLocManAddrTableByIndex
  LLDP_mibpub_GetXdot1LocTable LLDP_mibpub_GetDot1LocVlanNameData LLDP_mibpub_GetVlanNameByVlanId
  LLDP_mibpub_GetXdot1LocVlanName LLDP_mibpub_GetDot1LocProtoVlanData LLDP_mibpub_SetProtoVlanTable
  LLDP_mibpub_GetXdot1LocProtoVlanTable LLDP_mibpub_GetLinkAggFromPkt GetLldpV2Xdot1LocProtocolTableByIndex
  LLDP_mibpub_CheckVlan LLDP_mibpub_CheckProtocolIndex
  LLDP_mibpub_GetXdot1ConfigPortVlan LLDP_mibpub_GetXdot1ConfigVlanNameTable LLDP_mibpub_GetXdot1ConfigProtoVlan
  LLDP_mibpub_GetXdot1ConfigProtocol LLDP_mibpub_SetXdot1ConfigPortVlan LLDP_mibpub_SetXdot1ConfigVlanNameTable
  LLDP_mibpub_SetXdot1ConfigProtoVlan
  lldpv2_tree_node_iso lldpv2_dot1_tree_node_iso lldpv2_dot3_tree_node_iso
  lldpv2_tree_node_lldpV2RemSysDesc lldpv2_tree_node_lan_man_stds lldpv2_tree_node_ifIndex
  lldpv2_dot1_tree_node_lldpV2Xdot1MIB lldpv2_dot1_tree_node_lldpXdot1dcbxMIB
  lldpv2_dot3_tree_node_lldpV2Xdot3MIB lldpv2_dot3_tree_node_lldpV2RemSysDesc
)
for s in "${expect_defined[@]}"; do
  grep -qx "$s" <<<"$defined" || { echo "not exported: $s"; fail=1; }
done

# Internal helpers stay hidden.
for s in IsLldpCapablePort ReadPortIndexPara GetNextPortAgent; do
  if grep -q "$s" <<<"$defined"; then echo "exported but internal: $s"; fail=1; fi
done

# Platform calls are imported, never defined.
for s in MOR_RegCallBack SNMP_RegisterMibTree LLDP_mor_MibGet IF_GetDataByIfIndex DEV_GetAllNodes g_aucManaAddrLen; do
  grep -qx "$s" <<<"$undefined" || { echo "not imported: $s"; fail=1; }
  if grep -qx "$s" <<<"$defined"; then echo "defined by the module: $s"; fail=1; fi
done

# No link-time dependency on the host platform.
if readelf -d "$module" | grep NEEDED | grep -qi lldpv2host; then echo "linked against the host platform"; fail=1; fi

nodes=$(grep -cE '^lldpv2(_dot1|_dot3)?_tree_node_' <<<"$defined")
echo "exported node records: $nodes"
[ "$nodes" -eq $((135 + 379 + 180)) ] || { echo "expected 694 node records"; fail=1; }

[ $fail -eq 0 ] && echo "module exports OK"
exit $fail
