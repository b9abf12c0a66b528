#include "oids.h"

namespace lldpv2ctl {

Oid operator+(Oid a, const Oid &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Oid operator+(Oid a, unsigned long arc) {
    a.push_back(arc);
    return a;
}

bool StartsWith(const Oid &oid, const Oid &prefix) {
    return oid.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

std::string OidText(const Oid &oid) {
    std::string s;
    for (unsigned long arc : oid) {
        if (!s.empty()) s += '.';
        s += std::to_string(arc);
    }
    return s;
}

std::vector<std::pair<std::string, Oid>> NamedOids() {
    using namespace oids;
    return {
        {"LLDP-V2-MIB::lldpV2MIB", kLldpV2Mib},
        {"LLDP-V2-MIB::lldpV2Objects", kLldpV2Objects},
        {"LLDP-V2-MIB::lldpV2Configuration", kConfiguration},
        {"LLDP-V2-MIB::lldpV2MessageTxInterval", kConfiguration + cfg::kTxInterval},
        {"LLDP-V2-MIB::lldpV2MessageTxHoldMultiplier", kConfiguration + cfg::kTxHoldMultiplier},
        {"LLDP-V2-MIB::lldpV2ReinitDelay", kConfiguration + cfg::kReinitDelay},
        {"LLDP-V2-MIB::lldpV2NotificationInterval", kConfiguration + cfg::kNotificationInterval},
        {"LLDP-V2-MIB::lldpV2TxCreditMax", kConfiguration + cfg::kTxCreditMax},
        {"LLDP-V2-MIB::lldpV2MessageFastTx", kConfiguration + cfg::kMessageFastTx},
        {"LLDP-V2-MIB::lldpV2TxFastInit", kConfiguration + cfg::kTxFastInit},
        {"LLDP-V2-MIB::lldpV2Statistics", kStatistics},
        {"LLDP-V2-MIB::lldpV2StatsRemTablesLastChangeTime", kStatistics + stats::kLastChangeTime},
        {"LLDP-V2-MIB::lldpV2StatsRemTablesInserts", kStatistics + stats::kInserts},
        {"LLDP-V2-MIB::lldpV2StatsRemTablesDeletes", kStatistics + stats::kDeletes},
        {"LLDP-V2-MIB::lldpV2StatsRemTablesDrops", kStatistics + stats::kDrops},
        {"LLDP-V2-MIB::lldpV2StatsRemTablesAgeouts", kStatistics + stats::kAgeouts},
        {"LLDP-V2-MIB::lldpV2LocalSystemData", kLocalSystemData},
        {"LLDP-V2-MIB::lldpV2LocChassisIdSubtype", kLocalSystemData + loc::kChassisIdSubtype},
        {"LLDP-V2-MIB::lldpV2LocChassisId", kLocalSystemData + loc::kChassisId},
        {"LLDP-V2-MIB::lldpV2LocSysName", kLocalSystemData + loc::kSysName},
        {"LLDP-V2-MIB::lldpV2LocSysDesc", kLocalSystemData + loc::kSysDesc},
        {"LLDP-V2-MIB::lldpV2LocSysCapSupported", kLocalSystemData + loc::kSysCapSupported},
        {"LLDP-V2-MIB::lldpV2LocSysCapEnabled", kLocalSystemData + loc::kSysCapEnabled},
        {"LLDP-V2-MIB::lldpV2RemoteSystemsData", kRemoteSystemsData},
        {"LLDP-V2-MIB::lldpV2PortConfigEntry", kPortConfigEntry},
        {"LLDP-V2-MIB::lldpV2PortConfigAdminStatus", kPortConfigEntry + kPortConfigAdminStatus},
        {"LLDP-V2-MIB::lldpV2PortConfigNotificationEnable", kPortConfigEntry + kPortConfigNotificationEnable},
        {"LLDP-V2-MIB::lldpV2PortConfigTLVsTxEnable", kPortConfigEntry + kPortConfigTLVsTxEnable},
        {"LLDP-V2-MIB::lldpV2DestAddressTableEntry", kDestAddressEntry},
        {"LLDP-V2-MIB::lldpV2DestMacAddress", kDestAddressEntry + kDestMacAddress},
        {"LLDP-V2-MIB::lldpV2ManAddrConfigTxPortsEntry", kManAddrConfigTxPortsEntry},
        {"LLDP-V2-MIB::lldpV2ManAddrConfigTxEnable", kManAddrConfigTxPortsEntry + kManAddrConfigTxEnable},
        {"LLDP-V2-MIB::lldpV2ManAddrConfigRowStatus", kManAddrConfigTxPortsEntry + kManAddrConfigRowStatus},
        {"LLDP-V2-MIB::lldpV2StatsTxPortEntry", kStatsTxPortEntry},
        {"LLDP-V2-MIB::lldpV2StatsTxPortFramesTotal", kStatsTxPortEntry + kStatsTxFramesTotal},
        {"LLDP-V2-MIB::lldpV2StatsTxLLDPDULengthErrors", kStatsTxPortEntry + kStatsTxLengthErrors},
        {"LLDP-V2-MIB::lldpV2StatsRxPortEntry", kStatsRxPortEntry},
        {"LLDP-V2-MIB::lldpV2StatsRxPortFramesDiscardedTotal", kStatsRxPortEntry + kStatsRxFramesDiscarded},
        {"LLDP-V2-MIB::lldpV2StatsRxPortFramesErrors", kStatsRxPortEntry + kStatsRxFramesErrors},
        {"LLDP-V2-MIB::lldpV2StatsRxPortFramesTotal", kStatsRxPortEntry + kStatsRxFramesTotal},
        {"LLDP-V2-MIB::lldpV2StatsRxPortTLVsDiscardedTotal", kStatsRxPortEntry + kStatsRxTLVsDiscarded},
        {"LLDP-V2-MIB::lldpV2StatsRxPortTLVsUnrecognizedTotal", kStatsRxPortEntry + kStatsRxTLVsUnrecognized},
        {"LLDP-V2-MIB::lldpV2StatsRxPortAgeoutsTotal", kStatsRxPortEntry + kStatsRxAgeouts},
        {"LLDP-V2-MIB::lldpV2LocPortEntry", kLocPortEntry},
        {"LLDP-V2-MIB::lldpV2LocPortIdSubtype", kLocPortEntry + kLocPortIdSubtype},
        {"LLDP-V2-MIB::lldpV2LocPortId", kLocPortEntry + kLocPortId},
        {"LLDP-V2-MIB::lldpV2LocPortDesc", kLocPortEntry + kLocPortDesc},
        {"LLDP-V2-MIB::lldpV2LocManAddrEntry", kLocManAddrEntry},
        {"LLDP-V2-MIB::lldpV2LocManAddrLen", kLocManAddrEntry + kLocManAddrLen},
        {"LLDP-V2-MIB::lldpV2LocManAddrIfSubtype", kLocManAddrEntry + kLocManAddrIfSubtype},
        {"LLDP-V2-MIB::lldpV2LocManAddrIfId", kLocManAddrEntry + kLocManAddrIfId},
        {"LLDP-V2-MIB::lldpV2LocManAddrOID", kLocManAddrEntry + kLocManAddrOid},
        {"LLDP-V2-MIB::lldpV2RemEntry", kRemEntry},
        {"LLDP-V2-MIB::lldpV2RemChassisIdSubtype", kRemEntry + kRemChassisIdSubtype},
        {"LLDP-V2-MIB::lldpV2RemChassisId", kRemEntry + kRemChassisId},
        {"LLDP-V2-MIB::lldpV2RemPortIdSubtype", kRemEntry + kRemPortIdSubtype},
        {"LLDP-V2-MIB::lldpV2RemPortId", kRemEntry + kRemPortId},
        {"LLDP-V2-MIB::lldpV2RemPortDesc", kRemEntry + kRemPortDesc},
        {"LLDP-V2-MIB::lldpV2RemSysName", kRemEntry + kRemSysName},
        {"LLDP-V2-MIB::lldpV2RemSysDesc", kRemEntry + kRemSysDesc},
        {"LLDP-V2-MIB::lldpV2RemSysCapSupported", kRemEntry + kRemSysCapSupported},
        {"LLDP-V2-MIB::lldpV2RemSysCapEnabled", kRemEntry + kRemSysCapEnabled},
        {"LLDP-V2-MIB::lldpV2RemRemoteChanges", kRemEntry + kRemRemoteChanges},
        {"LLDP-V2-MIB::lldpV2RemTooManyNeighbors", kRemEntry + kRemTooManyNeighbors},
        {"LLDP-V2-MIB::lldpV2RemManAddrEntry", kRemManAddrEntry},
        {"LLDP-V2-MIB::lldpV2RemManAddrIfSubtype", kRemManAddrEntry + kRemManAddrIfSubtype},
        {"LLDP-V2-MIB::lldpV2RemManAddrIfId", kRemManAddrEntry + kRemManAddrIfId},
        {"LLDP-V2-MIB::lldpV2RemManAddrOID", kRemManAddrEntry + kRemManAddrOid},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1MIB", kXdot1Mib},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1ConfigPortVlanTxEnable", kXdot1ConfigPortVlanEntry + kXdot1ConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1ConfigVlanNameTxEnable", kXdot1ConfigVlanNameEntry + kXdot1ConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1ConfigProtoVlanTxEnable", kXdot1ConfigProtoVlanEntry + kXdot1ConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1ConfigManVidTxEnable", kXdot1ConfigManVidEntry + kXdot1ConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemPortVlanId", kXdot1RemEntry + kXdot1RemPortVlanId},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemProtoVlanSupported", kXdot1RemProtoVlanEntry + kXdot1RemProtoVlanSupported},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemProtoVlanEnabled", kXdot1RemProtoVlanEntry + kXdot1RemProtoVlanEnabled},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemVlanName", kXdot1RemVlanNameEntry + kXdot1RemVlanName},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemManVid", kXdot1RemManVidEntry + kXdot1RemManVid},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemLinkAggStatus", kXdot1RemLinkAggEntry + kXdot1RemLinkAggStatus},
        {"LLDP-EXT-DOT1-V2-MIB::lldpV2Xdot1RemLinkAggPortId", kXdot1RemLinkAggEntry + kXdot1RemLinkAggPortId},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxConfigETSConfigurationTxEnable",
         kDcbxConfigEtsConfigurationEntry + kDcbxConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxConfigETSRecommendationTxEnable",
         kDcbxConfigEtsRecommendationEntry + kDcbxConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxConfigPFCTxEnable", kDcbxConfigPfcEntry + kDcbxConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxConfigApplicationPriorityTxEnable",
         kDcbxConfigAppPriorityEntry + kDcbxConfigTxEnable},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSConCreditBasedShaperSupport", kDcbxRemEtsBasicEntry + kDcbxRemEtsCbs},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSConTrafficClassesSupported",
         kDcbxRemEtsBasicEntry + kDcbxRemEtsTrafficClasses},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSConWilling", kDcbxRemEtsBasicEntry + kDcbxRemEtsWilling},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSConPriTrafficClass",
         kDcbxRemEtsPriorityEntry + kDcbxRemEtsPriTrafficClass},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSConTrafficClassBandwidth",
         kDcbxRemEtsBandwidthEntry + kDcbxRemEtsBandwidth},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSConTrafficSelectionAlgorithm", kDcbxRemEtsTsaEntry + kDcbxRemEtsTsa},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSRecoTrafficClassBandwidth",
         kDcbxRemEtsRecoBandwidthEntry + kDcbxRemEtsBandwidth},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemETSRecoTrafficSelectionAlgorithm",
         kDcbxRemEtsRecoTsaEntry + kDcbxRemEtsTsa},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemPFCWilling", kDcbxRemPfcBasicEntry + kDcbxRemPfcWilling},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemPFCMBC", kDcbxRemPfcBasicEntry + kDcbxRemPfcMbc},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemPFCCap", kDcbxRemPfcBasicEntry + kDcbxRemPfcCap},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemPFCEnableEnabled", kDcbxRemPfcEnableEntry + kDcbxRemPfcEnableEnabled},
        {"LLDP-EXT-DOT1-V2-MIB::lldpXdot1dcbxRemApplicationPriorityAEPriority",
         kDcbxRemAppPriorityEntry + kDcbxRemAppPriority},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3MIB", kXdot3Mib},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3PortConfigTLVsTxEnable",
         kXdot3PortConfigEntry + kXdot3PortConfigTLVsTxEnable},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPortAutoNegSupported", kXdot3RemPortEntry + kXdot3RemAutoNegSupported},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPortAutoNegEnabled", kXdot3RemPortEntry + kXdot3RemAutoNegEnabled},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPortAutoNegAdvertisedCap",
         kXdot3RemPortEntry + kXdot3RemAutoNegAdvertisedCap},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPortOperMauType", kXdot3RemPortEntry + kXdot3RemOperMauType},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPowerPortClass", kXdot3RemPowerEntry + kXdot3RemPowerPortClass},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPowerMDISupported", kXdot3RemPowerEntry + kXdot3RemPowerMdiSupported},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPowerMDIEnabled", kXdot3RemPowerEntry + kXdot3RemPowerMdiEnabled},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPowerPairControlable",
         kXdot3RemPowerEntry + kXdot3RemPowerPairControlable},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPowerPairs", kXdot3RemPowerEntry + kXdot3RemPowerPairs},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemPowerClass", kXdot3RemPowerEntry + kXdot3RemPowerClass},
        {"LLDP-EXT-DOT3-V2-MIB::lldpV2Xdot3RemMaxFrameSize", kXdot3RemMaxFrameSizeEntry + kXdot3RemMaxFrameSize},
        {"IF-MIB::ifName", oids::kIfName},
        {"SNMPv2-MIB::sysUpTime", oids::kSysUpTime},
    };
}

}  // namespace lldpv2ctl
