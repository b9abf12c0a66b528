// The objects lldpv2ctl reads, as numeric OIDs, so that it needs no MIB
// files at run time. Tables are given by their entry OID; columns by their
// arc under the entry. NamedOids() lists every one of them with its MIB
// name, which the oid check compares with the MIB modules.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace lldpv2ctl {

using Oid = std::vector<unsigned long>;

Oid operator+(Oid a, const Oid &b);
Oid operator+(Oid a, unsigned long arc);
bool StartsWith(const Oid &oid, const Oid &prefix);
std::string OidText(const Oid &oid);  // "1.3.6.1"

namespace oids {

// LLDP-MIB of 2005, only to tell an agent that serves the old module.
inline const Oid kLldpV1Mib = {1, 0, 8802, 1, 1, 2};

inline const Oid kLldpV2Mib = {1, 3, 111, 2, 802, 1, 1, 13};
inline const Oid kLldpV2Objects = kLldpV2Mib + 1;
inline const Oid kConfiguration = kLldpV2Objects + 1;
inline const Oid kStatistics = kLldpV2Objects + 2;
inline const Oid kLocalSystemData = kLldpV2Objects + 3;
inline const Oid kRemoteSystemsData = kLldpV2Objects + 4;
inline const Oid kXdot1Mib = kLldpV2Objects + Oid{5, 32962};
inline const Oid kXdot3Mib = kLldpV2Objects + Oid{5, 4623};
inline const Oid kDcbx = kXdot1Mib + Oid{5, 1};

// Scalars (instance .0 is added when read).
namespace cfg {
enum : unsigned long { kTxInterval = 1, kTxHoldMultiplier, kReinitDelay, kNotificationInterval, kTxCreditMax,
                       kMessageFastTx, kTxFastInit };
}
namespace stats {
enum : unsigned long { kLastChangeTime = 1, kInserts, kDeletes, kDrops, kAgeouts };
}
namespace loc {
enum : unsigned long { kChassisIdSubtype = 1, kChassisId, kSysName, kSysDesc, kSysCapSupported, kSysCapEnabled };
}

// Tables of LLDP-V2-MIB.
inline const Oid kPortConfigEntry = kConfiguration + Oid{8, 1};
enum PortConfigCol : unsigned long { kPortConfigAdminStatus = 3, kPortConfigNotificationEnable, kPortConfigTLVsTxEnable };
inline const Oid kDestAddressEntry = kConfiguration + Oid{9, 1};
enum DestAddressCol : unsigned long { kDestMacAddress = 2 };
inline const Oid kManAddrConfigTxPortsEntry = kConfiguration + Oid{10, 1};
enum ManAddrConfigCol : unsigned long { kManAddrConfigTxEnable = 5, kManAddrConfigRowStatus };
inline const Oid kStatsTxPortEntry = kStatistics + Oid{6, 1};
enum StatsTxCol : unsigned long { kStatsTxFramesTotal = 3, kStatsTxLengthErrors };
inline const Oid kStatsRxPortEntry = kStatistics + Oid{7, 1};
enum StatsRxCol : unsigned long { kStatsRxFramesDiscarded = 3, kStatsRxFramesErrors, kStatsRxFramesTotal,
                                  kStatsRxTLVsDiscarded, kStatsRxTLVsUnrecognized, kStatsRxAgeouts };
inline const Oid kLocPortEntry = kLocalSystemData + Oid{7, 1};
enum LocPortCol : unsigned long { kLocPortIdSubtype = 2, kLocPortId, kLocPortDesc };
inline const Oid kLocManAddrEntry = kLocalSystemData + Oid{8, 1};
enum LocManAddrCol : unsigned long { kLocManAddrLen = 3, kLocManAddrIfSubtype, kLocManAddrIfId, kLocManAddrOid };
inline const Oid kRemEntry = kRemoteSystemsData + Oid{1, 1};
enum RemCol : unsigned long { kRemChassisIdSubtype = 5, kRemChassisId, kRemPortIdSubtype, kRemPortId, kRemPortDesc,
                              kRemSysName, kRemSysDesc, kRemSysCapSupported, kRemSysCapEnabled,
                              kRemRemoteChanges, kRemTooManyNeighbors };
inline const Oid kRemManAddrEntry = kRemoteSystemsData + Oid{2, 1};
enum RemManAddrCol : unsigned long { kRemManAddrIfSubtype = 3, kRemManAddrIfId, kRemManAddrOid };

// IEEE 802.1 extension.
inline const Oid kXdot1ConfigPortVlanEntry = kXdot1Mib + Oid{1, 1, 1, 1};
inline const Oid kXdot1ConfigVlanNameEntry = kXdot1Mib + Oid{1, 1, 2, 1};
inline const Oid kXdot1ConfigProtoVlanEntry = kXdot1Mib + Oid{1, 1, 3, 1};
inline const Oid kXdot1ConfigManVidEntry = kXdot1Mib + Oid{1, 1, 6, 1};
enum Xdot1ConfigCol : unsigned long { kXdot1ConfigTxEnable = 1 };
inline const Oid kXdot1RemEntry = kXdot1Mib + Oid{1, 3, 1, 1};
enum Xdot1RemCol : unsigned long { kXdot1RemPortVlanId = 1 };
inline const Oid kXdot1RemProtoVlanEntry = kXdot1Mib + Oid{1, 3, 2, 1};
enum Xdot1RemProtoVlanCol : unsigned long { kXdot1RemProtoVlanSupported = 2, kXdot1RemProtoVlanEnabled };
inline const Oid kXdot1RemVlanNameEntry = kXdot1Mib + Oid{1, 3, 3, 1};
enum Xdot1RemVlanNameCol : unsigned long { kXdot1RemVlanName = 2 };
inline const Oid kXdot1RemManVidEntry = kXdot1Mib + Oid{1, 3, 6, 1};
enum Xdot1RemManVidCol : unsigned long { kXdot1RemManVid = 1 };
inline const Oid kXdot1RemLinkAggEntry = kXdot1Mib + Oid{1, 3, 7, 1};
enum Xdot1RemLinkAggCol : unsigned long { kXdot1RemLinkAggStatus = 1, kXdot1RemLinkAggPortId };

// DCBX (in the 802.1 extension).
inline const Oid kDcbxConfigEtsConfigurationEntry = kDcbx + Oid{1, 1, 1};
inline const Oid kDcbxConfigEtsRecommendationEntry = kDcbx + Oid{1, 2, 1};
inline const Oid kDcbxConfigPfcEntry = kDcbx + Oid{1, 3, 1};
inline const Oid kDcbxConfigAppPriorityEntry = kDcbx + Oid{1, 4, 1};
enum DcbxConfigCol : unsigned long { kDcbxConfigTxEnable = 1 };
inline const Oid kDcbxRemEtsBasicEntry = kDcbx + Oid{3, 1, 1, 1};
enum DcbxRemEtsBasicCol : unsigned long { kDcbxRemEtsCbs = 1, kDcbxRemEtsTrafficClasses, kDcbxRemEtsWilling };
inline const Oid kDcbxRemEtsPriorityEntry = kDcbx + Oid{3, 1, 2, 1};
enum DcbxRemEtsPriorityCol : unsigned long { kDcbxRemEtsPriTrafficClass = 2 };
inline const Oid kDcbxRemEtsBandwidthEntry = kDcbx + Oid{3, 1, 3, 1};
enum DcbxRemEtsBandwidthCol : unsigned long { kDcbxRemEtsBandwidth = 2 };
inline const Oid kDcbxRemEtsTsaEntry = kDcbx + Oid{3, 1, 4, 1};
enum DcbxRemEtsTsaCol : unsigned long { kDcbxRemEtsTsa = 2 };
inline const Oid kDcbxRemEtsRecoBandwidthEntry = kDcbx + Oid{3, 2, 1, 1};
inline const Oid kDcbxRemEtsRecoTsaEntry = kDcbx + Oid{3, 2, 2, 1};
inline const Oid kDcbxRemPfcBasicEntry = kDcbx + Oid{3, 3, 1, 1};
enum DcbxRemPfcBasicCol : unsigned long { kDcbxRemPfcWilling = 1, kDcbxRemPfcMbc, kDcbxRemPfcCap };
inline const Oid kDcbxRemPfcEnableEntry = kDcbx + Oid{3, 3, 2, 1};
enum DcbxRemPfcEnableCol : unsigned long { kDcbxRemPfcEnableEnabled = 2 };
inline const Oid kDcbxRemAppPriorityEntry = kDcbx + Oid{3, 4, 1};
enum DcbxRemAppPriorityCol : unsigned long { kDcbxRemAppPriority = 3 };

// IEEE 802.3 extension.
inline const Oid kXdot3PortConfigEntry = kXdot3Mib + Oid{1, 1, 1, 1};
enum Xdot3PortConfigCol : unsigned long { kXdot3PortConfigTLVsTxEnable = 1 };
inline const Oid kXdot3RemPortEntry = kXdot3Mib + Oid{1, 3, 1, 1};
enum Xdot3RemPortCol : unsigned long { kXdot3RemAutoNegSupported = 1, kXdot3RemAutoNegEnabled, kXdot3RemAutoNegAdvertisedCap,
                                       kXdot3RemOperMauType };
inline const Oid kXdot3RemPowerEntry = kXdot3Mib + Oid{1, 3, 2, 1};
enum Xdot3RemPowerCol : unsigned long { kXdot3RemPowerPortClass = 1, kXdot3RemPowerMdiSupported, kXdot3RemPowerMdiEnabled,
                                        kXdot3RemPowerPairControlable, kXdot3RemPowerPairs, kXdot3RemPowerClass };
inline const Oid kXdot3RemMaxFrameSizeEntry = kXdot3Mib + Oid{1, 3, 3, 1};
enum Xdot3RemMaxFrameSizeCol : unsigned long { kXdot3RemMaxFrameSize = 1 };

// IF-MIB ifName and SNMPv2-MIB sysUpTime.
inline const Oid kIfName = {1, 3, 6, 1, 2, 1, 31, 1, 1, 1, 1};
inline const Oid kSysUpTime = {1, 3, 6, 1, 2, 1, 1, 3};

}  // namespace oids

// Every OID above (and every column used) with its MIB name.
std::vector<std::pair<std::string, Oid>> NamedOids();

}  // namespace lldpv2ctl
