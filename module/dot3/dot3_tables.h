// The IEEE 802.3 extension tables (table ids 75 to 81): their MOR ids, the
// MIB forms of the decoded TLV records, the exported decoders, converters and
// data getters, the column writers shared by the local and remote tables,
// and the table processors.
#pragma once

#include <array>
#include <cstdint>

#include "common/mibpub.h"
#include "common/registry.h"

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

inline constexpr uint32_t kXdot3PortConfigTable = mib::table::lldpV2Xdot3PortConfigEntry;
inline constexpr uint32_t kXdot3LocPortTable = mib::table::lldpV2Xdot3LocPortEntry;
inline constexpr uint32_t kXdot3LocPowerTable = mib::table::lldpV2Xdot3LocPowerEntry;
inline constexpr uint32_t kXdot3LocMaxFrameSizeTable = mib::table::lldpV2Xdot3LocMaxFrameSizeEntry;
inline constexpr uint32_t kXdot3RemPortTable = mib::table::lldpV2Xdot3RemPortEntry;
inline constexpr uint32_t kXdot3RemPowerTable = mib::table::lldpV2Xdot3RemPowerEntry;
inline constexpr uint32_t kXdot3RemMaxFrameSizeTable = mib::table::lldpV2Xdot3RemMaxFrameSizeEntry;

// lldpV2LocPortIfIndex: the index of the local tables.
inline constexpr uint32_t kLocPortIfIndex = mib::lldpV2LocPortIfIndex;

// Whether morId is a data column of the table (76 to 81).
bool IsXdot3DataColumn(uint32_t tableId, uint32_t morId);

// Column writers: one reply parameter per request parameter, in request
// order, for the request to tableId. They stop at the first parameter they
// cannot answer and return 0x61010052.
uint32_t AppendMacPhyColumns(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const LLDP_MIB_XDOT3_MACPHY_S &row);
uint32_t AppendPowerColumns(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const LLDP_MIB_XDOT3_POWER_S &row);

// The three 802.3 TLVs as the local and remote tables answer them: the row
// in MIB form, Decode (a TLV stream without header into a row, 0x61010058
// when it holds no such TLV) and Append (the columns of the request to
// tableId).
struct MacPhyTlv {
    using Row = LLDP_MIB_XDOT3_MACPHY_S;
    static uint32_t Decode(const uint8_t *tlvs, uint16_t len, Row *row);
    static uint32_t Append(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const Row &row) {
        return AppendMacPhyColumns(request, reply, tableId, row);
    }
};
struct PowerTlv {
    using Row = LLDP_MIB_XDOT3_POWER_S;
    static uint32_t Decode(const uint8_t *tlvs, uint16_t len, Row *row);
    static uint32_t Append(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const Row &row) {
        return AppendPowerColumns(request, reply, tableId, row);
    }
};
struct MaxFrameSizeTlv {
    using Row = uint32_t;
    static uint32_t Decode(const uint8_t *tlvs, uint16_t len, Row *row);
    // The single column, whichever columns the request named.
    static uint32_t Append(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const Row &row);
};

extern const LLDP_TABLE_PROC_PF Xdot3PortConfigProc;
// The processors of the local (76 to 78) and remote (79 to 81) tables.
extern const std::array<TableRegistration, 3> kXdot3LocalTables;
extern const std::array<TableRegistration, 3> kXdot3RemoteTables;

}  // namespace lldpv2
