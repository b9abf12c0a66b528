// The IEEE 802.3 extension tables (table ids 75 to 81): their MOR ids, the
// MIB forms of the decoded TLV records, the exported decoders, converters and
// data getters, the column writers shared by the local and remote tables,
// and the table processors.
#pragma once

#include <cstdint>

#include "common/mibpub.h"

extern "C" {

// A MAC/PHY configuration/status TLV in MIB form.
typedef struct LLDP_MIB_XDOT3_MACPHY_S {
    uint32_t autoNegSupported; /* TruthValue */
    uint32_t autoNegEnabled;   /* TruthValue */
    uint16_t advertisedCap;    /* host order; sent most significant octet first */
    uint32_t operMauType;
} LLDP_MIB_XDOT3_MACPHY_S;

// A power via MDI TLV in MIB form; the order of the fields is the order of
// the table's columns.
typedef struct LLDP_MIB_XDOT3_POWER_S {
    uint32_t portClass;       /* 1 PSE, 2 PD */
    uint32_t mdiSupported;    /* TruthValue */
    uint32_t mdiEnabled;      /* TruthValue */
    uint32_t pairControlable; /* TruthValue */
    uint32_t powerPairs;
    uint32_t powerClass;
} LLDP_MIB_XDOT3_POWER_S;

uint32_t LLDP_mibpub_ConvertMacPhyToMibData(const LLDP_MAC_PHY_S *record, LLDP_MIB_XDOT3_MACPHY_S *mib);
uint32_t LLDP_mibpub_ConvertPowerMDIToMibData(const LLDP_POWER_MDI_S *record, LLDP_MIB_XDOT3_POWER_S *mib);

// Decoders of a TLV stream (no header); 0x61010058 when the stream holds no
// such TLV.
uint32_t LLDP_mibpub_GetMacPhyFromPkt(const uint8_t *tlvs, uint16_t len, LLDP_MAC_PHY_S *record);
uint32_t LLDP_mibpub_GetPowerMDIFromPkt(const uint8_t *tlvs, uint16_t len, LLDP_POWER_MDI_S *record);
uint32_t LLDP_mibpub_GetMaxFrameSizeFromPkt(const uint8_t *tlvs, uint16_t len, uint16_t *size);

// What the port's local LLDPDU advertises.
uint32_t LLDP_mibpub_GetXdot3LocPort(uint32_t ifIndex, LLDP_MIB_XDOT3_MACPHY_S *mib);
uint32_t LLDP_mibpub_GetXdot3LocPower(uint32_t ifIndex, LLDP_MIB_XDOT3_POWER_S *mib);
uint32_t LLDP_mibpub_GetXdot3LocMaxFrameSize(uint32_t ifIndex, uint32_t *size);

// The 802.3 TLV transmit bits of a port as one BITS octet (macPhyConfigStatus
// on the most significant bit). Mode 1 leaves out linkAggregation, which
// belongs to the 802.1 extension; mode 0 includes it.
uint32_t LLDP_mibpub_GetXdot3PortCfg(uint32_t ifIndex, uint32_t mode, uint8_t *bits);
uint32_t LLDP_mibpub_SetXdot3PortCfg(uint32_t ifIndex, uint32_t mode, uint8_t bits);
}

namespace lldpv2 {

inline constexpr uint32_t kXdot3PortConfigTable = 75;
inline constexpr uint32_t kXdot3LocPortTable = 76;
inline constexpr uint32_t kXdot3LocPowerTable = 77;
inline constexpr uint32_t kXdot3LocMaxFrameSizeTable = 78;
inline constexpr uint32_t kXdot3RemPortTable = 79;
inline constexpr uint32_t kXdot3RemPowerTable = 80;
inline constexpr uint32_t kXdot3RemMaxFrameSizeTable = 81;

// lldpV2LocPortIfIndex: the index of the local tables.
inline constexpr uint32_t kLocPortIfIndex = MorId(10, 1);
// The single column of each maximum frame size table.
inline constexpr uint32_t kXdot3LocMaxFrameSize = MorId(kXdot3LocMaxFrameSizeTable, 1);
inline constexpr uint32_t kXdot3RemMaxFrameSize = MorId(kXdot3RemMaxFrameSizeTable, 1);

// Whether morId is a data column of the table (76 to 81).
bool IsXdot3DataColumn(uint32_t tableId, uint32_t morId);

// Column writers: one reply parameter per request parameter, in request
// order, for the request to tableId. They stop at the first parameter they
// cannot answer and return 0x61010052.
uint32_t AppendMacPhyColumns(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const LLDP_MIB_XDOT3_MACPHY_S &row);
uint32_t AppendPowerColumns(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const LLDP_MIB_XDOT3_POWER_S &row);

uint32_t Xdot3PortConfigProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t Xdot3LocPortProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t Xdot3LocPowerProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t Xdot3LocMaxFrameSizeProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t Xdot3RemPortProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t Xdot3RemPowerProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t Xdot3RemMaxFrameSizeProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);

}  // namespace lldpv2
