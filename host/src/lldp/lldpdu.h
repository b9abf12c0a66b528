// One LLDPDU of the simulated switch as data: the TLVs of IEEE 802.1AB-2009,
// the IEEE 802.1 and IEEE 802.3 organizationally specific TLVs and the DCBX
// TLVs of IEEE 802.1Q (all under their OUIs), with the encoder that builds the
// TLV stream, the decoder that applies the 802.1AB receive validation, and a
// pcap writer for captures of the frames that carry them.
//
// Numbers are in host order in this model; the encoder and decoder do the
// network-order conversion. Text fields hold the raw octets of the TLV.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace lldpv2host::lldp {

// ---------------------------------------------------------------------------
// TLV and subtype numbers

enum TlvType : uint8_t {
    kTlvEnd = 0,
    kTlvChassisId = 1,
    kTlvPortId = 2,
    kTlvTtl = 3,
    kTlvPortDesc = 4,
    kTlvSysName = 5,
    kTlvSysDesc = 6,
    kTlvSysCap = 7,
    kTlvManAddr = 8,
    kTlvOrgSpecific = 127,
};
// TLV types 9..126 are reserved: a receiver keeps them as unknown TLVs.
inline constexpr uint8_t kFirstReservedTlvType = 9;
inline constexpr uint8_t kLastReservedTlvType = 126;
// The TLV length field has 9 bits.
inline constexpr size_t kMaxTlvInfoLen = 511;

using Oui = std::array<uint8_t, 3>;
inline constexpr Oui kOuiDot1 = {0x00, 0x80, 0xC2};  // IEEE 802.1 (also DCBX)
inline constexpr Oui kOuiDot3 = {0x00, 0x12, 0x0F};  // IEEE 802.3

// Subtypes under the IEEE 802.1 OUI.
enum Dot1Subtype : uint8_t {
    kDot1PortVlanId = 1,
    kDot1PortProtoVlanId = 2,
    kDot1VlanName = 3,
    kDot1ProtocolId = 4,
    kDot1VidUsageDigest = 5,
    kDot1ManagementVid = 6,
    kDot1LinkAgg = 7,
    kDot1CongestionNotification = 8,  // not decoded: kept as another org TLV
    kDot1EtsConfig = 9,
    kDot1EtsRecommendation = 10,
    kDot1Pfc = 11,
    kDot1AppPriority = 12,
};
// Subtypes under the IEEE 802.3 OUI.
enum Dot3Subtype : uint8_t {
    kDot3MacPhy = 1,
    kDot3PowerMdi = 2,
    kDot3LinkAgg = 3,  // withdrawn in favour of the 802.1 one: kept as another org TLV
    kDot3MaxFrameSize = 4,
};

// True when (oui, subtype) is one of the organizationally specific TLVs this
// codec decodes (the 802.1 subtypes 1..7 and 9..12, the 802.3 subtypes 1, 2, 4).
bool IsDecodedOrgTlv(const Oui &oui, uint8_t subtype);
// True when a TLV of that (oui, subtype) may appear at most once in an LLDPDU.
bool IsSingleOrgTlv(const Oui &oui, uint8_t subtype);

// ---------------------------------------------------------------------------
// The data model

struct ManagementAddress {
    uint8_t subtype = 1;                // IANA address family (1 IPv4, 2 IPv6, 6 802 MAC, ...)
    std::vector<uint8_t> address;       // 1..31 octets
    uint8_t ifSubtype = 2;              // 1 unknown, 2 ifIndex, 3 system port number
    uint32_t ifId = 0;
    std::vector<uint8_t> oid;           // BER-encoded object identifier, 0..128 octets
    bool operator==(const ManagementAddress &) const = default;
};

// 802.1: port and protocol VLAN id. flags: bit 1 supported, bit 2 enabled.
struct ProtoVlan {
    uint8_t flags = 0;
    uint16_t ppvid = 0;
    bool operator==(const ProtoVlan &) const = default;
};
inline constexpr uint8_t kPpvidSupported = 0x02;
inline constexpr uint8_t kPpvidEnabled = 0x04;

struct VlanName {
    uint16_t vid = 0;
    std::string name;  // 0..32 octets
    bool operator==(const VlanName &) const = default;
};

// 802.1 link aggregation. status: bit 0 capable, bit 1 enabled, bits 2..3
// port type (802.1AX).
struct LinkAggregation {
    uint8_t status = 0;
    uint32_t portId = 0;
    bool operator==(const LinkAggregation &) const = default;
};

// 802.3 MAC/PHY configuration/status. autoNeg: bit 0 supported, bit 1 enabled.
// advertisedCap: the PMD auto-negotiation advertised capability field as a
// 16-bit number (its first octet is the high byte).
struct MacPhy {
    uint8_t autoNeg = 0;
    uint16_t advertisedCap = 0;
    uint16_t mauType = 0;
    bool operator==(const MacPhy &) const = default;
};

// 802.3 power via MDI. support: bit 0 port class PSE, bit 1 PSE MDI power
// supported, bit 2 enabled, bit 3 pair selection controllable. extension holds
// the octets after the power class (the 802.3at type/source/priority and power
// values) as received; empty for the basic 3-octet form.
struct PowerMdi {
    uint8_t support = 0;
    uint8_t pair = 1;        // 1 signal, 2 spare
    uint8_t powerClass = 1;  // 1..5 for class 0..4
    std::vector<uint8_t> extension;
    bool operator==(const PowerMdi &) const = default;
};

// DCBX ETS configuration (802.1Q). maxTcs is the 3-bit field as sent: 0
// stands for 8 traffic classes. priorityTc[p] is the traffic class of
// priority p; bandwidth[tc] in percent; tsa[tc]: 0 strict priority, 1
// credit-based shaper, 2 ETS, 255 vendor specific.
struct EtsConfig {
    bool willing = false;
    bool cbs = false;
    uint8_t maxTcs = 0;
    std::array<uint8_t, 8> priorityTc{};
    std::array<uint8_t, 8> bandwidth{};
    std::array<uint8_t, 8> tsa{};
    bool operator==(const EtsConfig &) const = default;
};

struct EtsRecommendation {
    std::array<uint8_t, 8> priorityTc{};
    std::array<uint8_t, 8> bandwidth{};
    std::array<uint8_t, 8> tsa{};
    bool operator==(const EtsRecommendation &) const = default;
};

// DCBX PFC. cap: 4 bits, traffic classes that may be PFC-enabled at once.
// enable: bit p = PFC enabled on priority p.
struct Pfc {
    bool willing = false;
    bool mbc = false;
    uint8_t cap = 0;
    uint8_t enable = 0;
    bool operator==(const Pfc &) const = default;
};

// One application priority entry. selector: 1 ethertype, 2 TCP/SCTP port,
// 3 UDP/DCCP port, 4 TCP/SCTP/UDP/DCCP port.
struct AppPriority {
    uint8_t priority = 0;  // 0..7
    uint8_t selector = 1;  // 3 bits
    uint16_t protocol = 0;
    bool operator==(const AppPriority &) const = default;
};

struct UnknownTlv {
    uint8_t type = 0;  // 9..126
    std::vector<uint8_t> info;
    bool operator==(const UnknownTlv &) const = default;
};

struct OrgTlv {
    Oui oui{};
    uint8_t subtype = 0;
    std::vector<uint8_t> info;  // the octets after the subtype, 0..507
    bool operator==(const OrgTlv &) const = default;
};

struct Lldpdu {
    // Mandatory TLVs.
    uint8_t chassisIdSubtype = 4;   // 4: MAC address
    std::vector<uint8_t> chassisId; // 1..255 octets
    uint8_t portIdSubtype = 5;      // 5: interface name
    std::vector<uint8_t> portId;    // 1..255 octets
    uint16_t ttl = 120;             // 0 in a shutdown LLDPDU

    // Optional basic TLVs.
    std::optional<std::string> portDesc;
    std::optional<std::string> sysName;
    std::optional<std::string> sysDesc;
    bool hasSysCap = false;
    uint16_t capSupported = 0;  // bit i = capability i (bit 2 bridge, bit 4 router ...)
    uint16_t capEnabled = 0;
    std::vector<ManagementAddress> manAddrs;

    // IEEE 802.1.
    std::optional<uint16_t> portVlanId;
    std::vector<ProtoVlan> protoVlans;
    std::vector<VlanName> vlanNames;
    std::vector<std::vector<uint8_t>> protocolIds;  // each 0..255 octets
    std::optional<std::array<uint8_t, 4>> vidUsageDigest;
    std::optional<uint16_t> managementVid;
    std::optional<LinkAggregation> linkAgg;

    // IEEE 802.3.
    std::optional<MacPhy> macPhy;
    std::optional<PowerMdi> powerMdi;
    std::optional<uint16_t> maxFrameSize;

    // DCBX (802.1 OUI).
    std::optional<EtsConfig> etsConfig;
    std::optional<EtsRecommendation> etsRecommendation;
    std::optional<Pfc> pfc;
    std::optional<std::vector<AppPriority>> appPriority;  // one TLV, 0..168 entries

    // TLVs kept as received: reserved types, and organizationally specific
    // TLVs not decoded above (in order of appearance).
    std::vector<UnknownTlv> unknownTlvs;
    std::vector<OrgTlv> orgTlvs;

    bool operator==(const Lldpdu &) const = default;
};

// ---------------------------------------------------------------------------
// Encoding

// The TLV stream of pdu, End TLV included, in this order: chassis id, port id,
// TTL, port description, system name, system description, capabilities,
// management addresses, 802.1, DCBX, 802.3, other org TLVs, unknown TLVs, End.
// Fields that do not fit their TLV are cut to the largest size the TLV takes
// (a TLV info string is at most 511 octets).
std::vector<uint8_t> EncodeLldpdu(const Lldpdu &pdu);

// Building blocks for hand-made (also malformed) TLV streams. The length is
// written as given in its 9 bits; info is appended whole.
void AppendTlv(std::vector<uint8_t> &out, uint8_t type, const std::vector<uint8_t> &info);
void AppendTlvHeader(std::vector<uint8_t> &out, uint8_t type, uint16_t length);
void AppendOrgTlv(std::vector<uint8_t> &out, const Oui &oui, uint8_t subtype, const std::vector<uint8_t> &info);

// BER encoding of an object identifier (the form of the management address
// TLV's OID field) and back; DecodeOid returns nullopt on malformed input.
std::vector<uint8_t> EncodeOid(const std::vector<uint32_t> &subIds);
std::optional<std::vector<uint32_t>> DecodeOid(const std::vector<uint8_t> &ber);

// ---------------------------------------------------------------------------
// Decoding with receive validation

enum class DiscardReason {
    kNone = 0,
    kMissingChassisId,  // first TLV is not a chassis id (or the frame is empty)
    kMissingPortId,     // second TLV is not a port id
    kMissingTtl,        // third TLV is not a TTL
    kBadChassisId,      // chassis id TLV length outside 2..256
    kBadPortId,         // port id TLV length outside 2..256
    kBadTtl,            // TTL TLV length below 2
    kTruncatedMandatory,// a mandatory TLV runs past the end of the frame
    kDuplicateMandatory,// a second chassis id, port id or TTL TLV
};
const char *DiscardReasonName(DiscardReason reason);

struct DecodeResult {
    // False when the whole frame is discarded (then reason says why and pdu
    // holds what was read before the verdict).
    bool accepted = false;
    DiscardReason reason = DiscardReason::kNone;
    Lldpdu pdu;
    // Optional TLVs dropped for a bad length or content, a duplicate of a
    // TLV allowed only once, or a TLV that runs past the end of the frame.
    uint32_t tlvsDiscarded = 0;
    // TLVs of a reserved type and organizationally specific TLVs this codec
    // does not decode (both are still kept in the pdu).
    uint32_t tlvsUnrecognized = 0;
    bool sawEnd = false;  // an End TLV closed the stream
};

// Decodes the TLV stream of an LLDPDU (the bytes after the Ethernet header)
// with the IEEE 802.1AB receive rules:
// - the first three TLVs must be chassis id, port id and TTL, in that order,
//   each with a valid length and inside the frame, else the frame is discarded;
// - a later chassis id, port id or TTL TLV discards the frame;
// - an optional TLV with a bad length, a duplicate of a TLV allowed only once
//   (the first one is kept) or a known org TLV with bad content is discarded
//   and counted; processing goes on with the next TLV;
// - a TLV that runs past the end of the frame is discarded and counted and
//   ends processing; the TLVs before it are kept;
// - reserved TLV types and org TLVs not decoded are counted as unrecognized
//   and kept;
// - the End TLV (or the end of the bytes) ends processing; octets after the
//   End TLV (padding) are ignored.
// A TTL TLV longer than 2 octets is accepted; its first two octets count.
DecodeResult DecodeLldpdu(const uint8_t *data, size_t len);
inline DecodeResult DecodeLldpdu(const std::vector<uint8_t> &bytes) {
    return DecodeLldpdu(bytes.data(), bytes.size());
}

// ---------------------------------------------------------------------------
// Frames and captures

using MacAddress = std::array<uint8_t, 6>;
inline constexpr MacAddress kNearestBridge = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
inline constexpr MacAddress kNearestNonTpmrBridge = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x03};
inline constexpr MacAddress kNearestCustomerBridge = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x00};
inline constexpr uint16_t kLldpEthertype = 0x88CC;

// Destination address of an LLDP agent (1 nearest bridge, 2 nearest non-TPMR
// bridge, 3 nearest customer bridge); nullopt for another agent number.
std::optional<MacAddress> AgentDestination(uint32_t agent);

// An Ethernet II frame carrying lldpdu (padded to the 60-octet minimum, no FCS).
std::vector<uint8_t> BuildFrame(const MacAddress &dst, const MacAddress &src, const std::vector<uint8_t> &lldpdu);

// Writes a classic pcap file (link type Ethernet), one record per frame.
class PcapWriter {
public:
    PcapWriter() = default;
    ~PcapWriter();
    PcapWriter(const PcapWriter &) = delete;
    PcapWriter &operator=(const PcapWriter &) = delete;

    // Creates or truncates path and writes the file header; false on failure.
    bool Open(const std::string &path);
    // Appends one frame with the given time stamp; false on failure or when
    // the file is not open.
    bool Write(const std::vector<uint8_t> &frame, uint32_t seconds = 0, uint32_t micros = 0);
    bool Close();

private:
    std::FILE *file_ = nullptr;
};

}  // namespace lldpv2host::lldp
