// The IEEE 802.3 TLV records as the local and remote tables share them:
// decoding a TLV stream, converting the decoded records to MIB form, and the
// MAC/PHY and power column writers.
#include <array>

#include "common/export.h"
#include "common/guards.h"
#include "common/remote_index.h"
#include "common/reply.h"
#include "dot3/dot3_tables.h"

namespace lldpv2 {
namespace {

// Number of data columns of each 802.3 data table.
struct DataTable {
    uint32_t tableId;
    uint32_t columns;
};
constexpr std::array<DataTable, 6> kDataTables = {{
    {kXdot3LocPortTable, 4},
    {kXdot3LocPowerTable, 6},
    {kXdot3LocMaxFrameSizeTable, 1},
    {kXdot3RemPortTable, 4},
    {kXdot3RemPowerTable, 6},
    {kXdot3RemMaxFrameSizeTable, 1},
}};

// Bits of the auto-negotiation support/status octet.
enum : uint32_t { kAutoNegSupportedBit = 0, kAutoNegEnabledBit = 1 };
// Bits of the MDI power support octet, and the port classes.
enum : uint32_t { kPortClassPseBit = 0, kMdiSupportedBit = 1, kMdiEnabledBit = 2, kPairControlBit = 3 };
enum : uint32_t { kPortClassPse = 1, kPortClassPd = 2 };

// The MAC/PHY columns, the same in the local and the remote table.
constexpr uint32_t kAutoNegSupportedColumn = ColumnOf(mib::lldpV2Xdot3LocPortAutoNegSupported);
constexpr uint32_t kAutoNegEnabledColumn = ColumnOf(mib::lldpV2Xdot3LocPortAutoNegEnabled);
constexpr uint32_t kAdvertisedCapColumn = ColumnOf(mib::lldpV2Xdot3LocPortAutoNegAdvertisedCap);
constexpr uint32_t kOperMauTypeColumn = ColumnOf(mib::lldpV2Xdot3LocPortOperMauType);

// Power columns 1..6, in the order of the MIB record's fields.
struct PowerColumn {
    uint32_t typeCode;
    uint32_t LLDP_MIB_XDOT3_POWER_S::*field;
};
constexpr std::array<PowerColumn, 6> kPowerColumns = {{
    {MOR_TYPE_ENUM, &LLDP_MIB_XDOT3_POWER_S::portClass},
    {MOR_TYPE_ENUM, &LLDP_MIB_XDOT3_POWER_S::mdiSupported},
    {MOR_TYPE_ENUM, &LLDP_MIB_XDOT3_POWER_S::mdiEnabled},
    {MOR_TYPE_ENUM, &LLDP_MIB_XDOT3_POWER_S::pairControlable},
    {MOR_TYPE_UNSIGNED, &LLDP_MIB_XDOT3_POWER_S::powerPairs},
    {MOR_TYPE_UNSIGNED, &LLDP_MIB_XDOT3_POWER_S::powerClass},
}};
// The type code an echoed index parameter carries when no column precedes it.
constexpr uint32_t kNoColumnYetType = 16;

uint16_t BitOf(uint8_t octet, uint32_t bit) {
    uint16_t isSet = 0;
    LLDP_util_BitIsSet(&octet, 1, bit, &isSet);
    return isSet;
}

bool IsIndexParam(uint32_t morId) { return morId == kLocPortIfIndex || IsTfaiColumn(morId); }

bool IsMacPhyColumn(uint32_t morId) {
    return IsXdot3DataColumn(kXdot3LocPortTable, morId) || IsXdot3DataColumn(kXdot3RemPortTable, morId);
}

[[nodiscard]] uint32_t AppendMacPhyColumn(MOR_MSG reply, uint32_t morId, const LLDP_MIB_XDOT3_MACPHY_S &row) {
    switch (ColumnOf(morId)) {
        case kAutoNegSupportedColumn: return AppendEnum(reply, morId, row.autoNegSupported);
        case kAutoNegEnabledColumn: return AppendEnum(reply, morId, row.autoNegEnabled);
        case kAdvertisedCapColumn: {
            // Most significant octet first; the capability bits keep their order.
            const uint8_t octets[2] = {static_cast<uint8_t>(row.advertisedCap >> 8),
                                       static_cast<uint8_t>(row.advertisedCap & 0xFF)};
            return AppendOctets(reply, morId, octets, sizeof(octets));
        }
        case kOperMauTypeColumn: return AppendUnsigned(reply, morId, row.operMauType);
        default: return kOk;
    }
}

// Splits a TLV stream and decodes it with decode; the list is freed on return.
template <typename Record>
uint32_t DecodeTlvs(const uint8_t *tlvs, uint16_t len, Record *record,
                    uint32_t (*decode)(const LLDP_TLV_LIST_S *, Record *)) {
    TlvList list;
    LLDP_tlvmng_SplitTLV(tlvs, len, list.get());
    return decode(list.get(), record) == 0 ? kOk : kErrNoInstance;
}

}  // namespace

bool IsXdot3DataColumn(uint32_t tableId, uint32_t morId) {
    const uint32_t column = ColumnOf(morId);
    if (MorId(tableId, column) != morId) return false;
    for (const DataTable &t : kDataTables)
        if (t.tableId == tableId) return column >= 1 && column <= t.columns;
    return false;
}

uint32_t AppendMacPhyColumns(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const LLDP_MIB_XDOT3_MACPHY_S &row) {
    for (const Param &p : Params(request)) {
        if (IsIndexParam(p.morId)) continue;  // the index is never echoed by this writer
        if (!IsMacPhyColumn(p.morId)) return kErrUnserved;
        // A MAC/PHY column of the other MAC/PHY table is answered before it is refused.
        if (const uint32_t rc = AppendMacPhyColumn(reply, p.morId, row); rc != kOk) return rc;
        if (TableOf(p.morId) != tableId) return kErrUnserved;
    }
    return kOk;
}

uint32_t AppendPowerColumns(MOR_MSG request, MOR_MSG reply, uint32_t tableId, const LLDP_MIB_XDOT3_POWER_S &row) {
    // Unlike the MAC/PHY writer, and on purpose (the power tables have always
    // answered this way), an index parameter is echoed under its own MOR id
    // with the type and value of the column appended just before it, or with
    // type 16 and value 0 when no column precedes it.
    uint32_t lastType = kNoColumnYetType;
    uint32_t lastValue = 0;
    for (const Param &p : Params(request)) {
        if (IsIndexParam(p.morId)) {
            if (const uint32_t rc = AppendNumber(reply, p.morId, lastType, lastValue); rc != kOk) return rc;
            continue;
        }
        if (!IsXdot3DataColumn(tableId, p.morId)) return kErrUnserved;  // nothing appended for it
        const PowerColumn &column = kPowerColumns[ColumnOf(p.morId) - 1];
        lastType = column.typeCode;
        lastValue = row.*column.field;
        if (const uint32_t rc = AppendNumber(reply, p.morId, lastType, lastValue); rc != kOk) return rc;
    }
    return kOk;
}

uint32_t MacPhyTlv::Decode(const uint8_t *tlvs, uint16_t len, Row *row) {
    LLDP_MAC_PHY_S record{};
    const uint32_t rc = LLDP_mibpub_GetMacPhyFromPkt(tlvs, len, &record);
    if (rc == kOk) LLDP_mibpub_ConvertMacPhyToMibData(&record, row);
    return rc;
}

uint32_t PowerTlv::Decode(const uint8_t *tlvs, uint16_t len, Row *row) {
    LLDP_POWER_MDI_S record{};
    const uint32_t rc = LLDP_mibpub_GetPowerMDIFromPkt(tlvs, len, &record);
    if (rc == kOk) LLDP_mibpub_ConvertPowerMDIToMibData(&record, row);
    return rc;
}

uint32_t MaxFrameSizeTlv::Decode(const uint8_t *tlvs, uint16_t len, Row *row) {
    uint16_t size = 0;
    const uint32_t rc = LLDP_mibpub_GetMaxFrameSizeFromPkt(tlvs, len, &size);
    if (rc == kOk) *row = size;
    return rc;
}

uint32_t MaxFrameSizeTlv::Append(MOR_MSG, MOR_MSG reply, uint32_t tableId, const Row &row) {
    static_assert(ColumnOf(mib::lldpV2Xdot3LocMaxFrameSize) == ColumnOf(mib::lldpV2Xdot3RemMaxFrameSize));
    return AppendUnsigned(reply, MorId(tableId, ColumnOf(mib::lldpV2Xdot3LocMaxFrameSize)), row);
}

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_ConvertMacPhyToMibData(const LLDP_MAC_PHY_S *record, LLDP_MIB_XDOT3_MACPHY_S *mib) {
    mib->autoNegSupported = TruthValue(BitOf(record->autoNeg, kAutoNegSupportedBit));
    mib->autoNegEnabled = TruthValue(BitOf(record->autoNeg, kAutoNegEnabledBit));
    mib->advertisedCap = record->advertisedCap;
    mib->operMauType = record->operMauType;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_ConvertPowerMDIToMibData(const LLDP_POWER_MDI_S *record,
                                                            LLDP_MIB_XDOT3_POWER_S *mib) {
    mib->portClass = BitOf(record->support, kPortClassPseBit) == 1 ? kPortClassPse : kPortClassPd;
    mib->mdiSupported = TruthValue(BitOf(record->support, kMdiSupportedBit));
    mib->mdiEnabled = TruthValue(BitOf(record->support, kMdiEnabledBit));
    mib->pairControlable = TruthValue(BitOf(record->support, kPairControlBit));
    mib->powerPairs = record->pairs;
    mib->powerClass = record->powerClass;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetMacPhyFromPkt(const uint8_t *tlvs, uint16_t len, LLDP_MAC_PHY_S *record) {
    return DecodeTlvs(tlvs, len, record, LLDP_libdot3_MacPhysicBufToData);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetPowerMDIFromPkt(const uint8_t *tlvs, uint16_t len, LLDP_POWER_MDI_S *record) {
    return DecodeTlvs(tlvs, len, record, LLDP_libdot3_PowerMDIBufToData);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetMaxFrameSizeFromPkt(const uint8_t *tlvs, uint16_t len, uint16_t *size) {
    return DecodeTlvs(tlvs, len, size, LLDP_libdot3_MaxFrameSizeBufToData);
}

}  // extern "C"
