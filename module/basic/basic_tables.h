// Table processors of the base LLDP-V2-MIB and the data getters they export.
#pragma once

#include <array>
#include <cstdint>

#include "common/mibpub.h"
#include "common/registry.h"

extern "C" {

// The global configuration as the lldpV2Configuration scalars see it.
typedef struct LLDP_MIB_GLBCFG_S {
    uint32_t txInterval;
    uint32_t holdMultiplier;
    uint32_t reinitDelay;
    uint32_t txDelay; /* not served by the scalars */
    uint32_t notificationInterval;
    uint32_t txCreditMax;
    uint32_t msgFastTx;
    uint32_t txFastInit;
} LLDP_MIB_GLBCFG_S;

uint32_t LLDP_mibpub_GetGlbCfg(LLDP_MIB_GLBCFG_S *view);

// A row of lldpV2PortConfigTable in MIB form.
typedef struct LLDP_MIB_PORTCFG_S {
    uint32_t adminStatus;
    uint32_t notificationEnable;
    uint8_t tlvsTxEnable; /* BITS: portDesc is the most significant bit */
} LLDP_MIB_PORTCFG_S;

uint32_t LLDP_mibpub_GetPortCfgTable(uint32_t port, uint32_t agent, LLDP_MIB_PORTCFG_S *row);
uint32_t LLDP_mibpub_SetPortCfgAdminStatus(uint32_t port, uint32_t agent, uint32_t value);
uint32_t LLDP_mibpub_SetPortConfigNotificationEnable(uint32_t port, uint32_t agent, uint32_t value);
uint32_t LLDP_mibpub_SetPortConfigTLVsTxEnable(uint32_t port, uint32_t agent, uint8_t tlvs);

// Remote-table statistics over the nodes that are up.
typedef struct LLDP_MIB_REMSTATS_S {
    uint32_t lastChangeTime; /* the largest over the nodes */
    uint32_t inserts;
    uint32_t deletes;
    uint32_t drops;
    uint32_t ageouts;
} LLDP_MIB_REMSTATS_S;

uint32_t LLDP_mibpub_GetStatsRemTables(LLDP_MIB_REMSTATS_S *out);
uint32_t LLDP_mibpub_GetIfStats(uint32_t ifIndex, uint32_t agent, LLDP_IF_STATS_S *record);

uint32_t LLDP_mibpub_GetLocalSystemData(LLDP_LOC_SYSTEM_S *record);
uint32_t LLDP_mibpub_GetLocPortTable(uint32_t ifIndex, uint32_t agent, LLDP_LOC_PORT_S *record);

uint32_t LLDP_mibpub_GetLocManAddrTable(uint32_t selector, const LLDP_MANADDR_KEY_S *key, LLDP_LOC_MANADDR_S *record);
uint32_t LLDP_mibpub_GetNextLocManAddrTableByIndex(uint32_t selector, LLDP_MANADDR_KEY_S *key,
                                                   LLDP_LOC_MANADDR_S *record);
}

namespace lldpv2 {

uint32_t GlobalConfigProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
extern const LLDP_TABLE_PROC_PF PortConfigProc;
uint32_t DestAddressProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
extern const LLDP_TABLE_PROC_PF ManAddrTxProc;
// The statistics scalars (6) and the transmit (7) and receive (8) counters.
extern const std::array<TableRegistration, 3> kStatisticsTables;
uint32_t LocalSystemProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t LocalPortProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t LocalManAddrProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t RemoteSystemsProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t RemoteManAddrProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
extern const LLDP_TABLE_PROC_PF RemoteUnknownTlvProc;
extern const LLDP_TABLE_PROC_PF RemoteOrgDefInfoProc;

}  // namespace lldpv2
