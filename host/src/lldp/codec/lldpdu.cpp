// Encoder, validating decoder and capture writer of the LLDPDU data model.
#include "lldp/lldpdu.h"

#include <algorithm>
#include <set>
#include <utility>

#include "lldp/codec/tlv_format.h"

namespace lldpv2host::lldp {

using namespace detail;

bool IsDecodedOrgTlv(const Oui &oui, uint8_t subtype) {
    if (oui == kOuiDot1) {
        return (subtype >= kDot1PortVlanId && subtype <= kDot1LinkAgg) ||
               (subtype >= kDot1EtsConfig && subtype <= kDot1AppPriority);
    }
    if (oui == kOuiDot3) {
        return subtype == kDot3MacPhy || subtype == kDot3PowerMdi || subtype == kDot3MaxFrameSize;
    }
    return false;
}

bool IsSingleOrgTlv(const Oui &oui, uint8_t subtype) {
    if (!IsDecodedOrgTlv(oui, subtype)) return false;
    // Port-and-protocol VLAN ids, VLAN names and protocol identities repeat.
    if (oui == kOuiDot1) {
        return subtype != kDot1PortProtoVlanId && subtype != kDot1VlanName && subtype != kDot1ProtocolId;
    }
    return true;
}

// ---------------------------------------------------------------------------
// Encoding

namespace {

void Put16(std::vector<uint8_t> &out, uint16_t v) {
    out.push_back(static_cast<uint8_t>(v >> 8));
    out.push_back(static_cast<uint8_t>(v));
}
void Put32(std::vector<uint8_t> &out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

template <typename It>
void PutRange(std::vector<uint8_t> &out, It first, It last, size_t maxLen) {
    const auto n = std::min(static_cast<size_t>(std::distance(first, last)), maxLen);
    // Reserved first: the growing insert of g++ 12 at -O3 is reported as an
    // out-of-bounds copy of the old elements, which it is not.
    out.reserve(out.size() + n);
    out.insert(out.end(), first, first + static_cast<std::ptrdiff_t>(n));
}

void PutText(std::vector<uint8_t> &out, uint8_t type, const std::string &text) {
    std::vector<uint8_t> info;
    PutRange(info, text.begin(), text.end(), kMaxTextLen);
    AppendTlv(out, type, info);
}

void PutId(std::vector<uint8_t> &out, uint8_t type, uint8_t subtype, const std::vector<uint8_t> &id) {
    std::vector<uint8_t> info{subtype};
    PutRange(info, id.begin(), id.end(), kMaxIdLen);
    AppendTlv(out, type, info);
}

void PutEtsTables(std::vector<uint8_t> &info, const std::array<uint8_t, 8> &priorityTc,
                  const std::array<uint8_t, 8> &bandwidth, const std::array<uint8_t, 8> &tsa) {
    for (size_t prio = 0; prio < 8; prio += 2) {
        info.push_back(static_cast<uint8_t>(((priorityTc[prio] & 0x0F) << 4) | (priorityTc[prio + 1] & 0x0F)));
    }
    info.insert(info.end(), bandwidth.begin(), bandwidth.end());
    info.insert(info.end(), tsa.begin(), tsa.end());
}

}  // namespace

void AppendTlvHeader(std::vector<uint8_t> &out, uint8_t type, uint16_t length) {
    out.push_back(static_cast<uint8_t>(((type & 0x7F) << 1) | ((length >> 8) & 0x01)));
    out.push_back(static_cast<uint8_t>(length));
}

void AppendTlv(std::vector<uint8_t> &out, uint8_t type, const std::vector<uint8_t> &info) {
    AppendTlvHeader(out, type, static_cast<uint16_t>(info.size()));
    out.insert(out.end(), info.begin(), info.end());
}

void AppendOrgTlv(std::vector<uint8_t> &out, const Oui &oui, uint8_t subtype, const std::vector<uint8_t> &info) {
    std::vector<uint8_t> full(oui.begin(), oui.end());
    full.push_back(subtype);
    full.insert(full.end(), info.begin(), info.end());
    AppendTlv(out, kTlvOrgSpecific, full);
}

std::vector<uint8_t> EncodeLldpdu(const Lldpdu &pdu) {
    std::vector<uint8_t> out;
    PutId(out, kTlvChassisId, pdu.chassisIdSubtype, pdu.chassisId);
    PutId(out, kTlvPortId, pdu.portIdSubtype, pdu.portId);
    {
        std::vector<uint8_t> info;
        Put16(info, pdu.ttl);
        AppendTlv(out, kTlvTtl, info);
    }
    if (pdu.portDesc) PutText(out, kTlvPortDesc, *pdu.portDesc);
    if (pdu.sysName) PutText(out, kTlvSysName, *pdu.sysName);
    if (pdu.sysDesc) PutText(out, kTlvSysDesc, *pdu.sysDesc);
    if (pdu.hasSysCap) {
        std::vector<uint8_t> info;
        Put16(info, pdu.capSupported);
        Put16(info, pdu.capEnabled);
        AppendTlv(out, kTlvSysCap, info);
    }
    for (const ManagementAddress &m : pdu.manAddrs) {
        const size_t addrLen = std::min(m.address.size(), kMaxManAddrLen);
        const size_t oidLen = std::min(m.oid.size(), kMaxOidLen);
        std::vector<uint8_t> info;
        info.push_back(static_cast<uint8_t>(addrLen + 1));
        info.push_back(m.subtype);
        PutRange(info, m.address.begin(), m.address.end(), addrLen);
        info.push_back(m.ifSubtype);
        Put32(info, m.ifId);
        info.push_back(static_cast<uint8_t>(oidLen));
        PutRange(info, m.oid.begin(), m.oid.end(), oidLen);
        AppendTlv(out, kTlvManAddr, info);
    }

    // IEEE 802.1
    if (pdu.portVlanId) {
        std::vector<uint8_t> info;
        Put16(info, *pdu.portVlanId);
        AppendOrgTlv(out, kOuiDot1, kDot1PortVlanId, info);
    }
    for (const ProtoVlan &p : pdu.protoVlans) {
        std::vector<uint8_t> info{p.flags};
        Put16(info, p.ppvid);
        AppendOrgTlv(out, kOuiDot1, kDot1PortProtoVlanId, info);
    }
    for (const VlanName &v : pdu.vlanNames) {
        const size_t nameLen = std::min(v.name.size(), kMaxVlanNameLen);
        std::vector<uint8_t> info;
        Put16(info, v.vid);
        info.push_back(static_cast<uint8_t>(nameLen));
        PutRange(info, v.name.begin(), v.name.end(), nameLen);
        AppendOrgTlv(out, kOuiDot1, kDot1VlanName, info);
    }
    for (const std::vector<uint8_t> &id : pdu.protocolIds) {
        const size_t idLen = std::min<size_t>(id.size(), 255);
        std::vector<uint8_t> info{static_cast<uint8_t>(idLen)};
        PutRange(info, id.begin(), id.end(), idLen);
        AppendOrgTlv(out, kOuiDot1, kDot1ProtocolId, info);
    }
    if (pdu.vidUsageDigest) {
        AppendOrgTlv(out, kOuiDot1, kDot1VidUsageDigest,
                     std::vector<uint8_t>(pdu.vidUsageDigest->begin(), pdu.vidUsageDigest->end()));
    }
    if (pdu.managementVid) {
        std::vector<uint8_t> info;
        Put16(info, *pdu.managementVid);
        AppendOrgTlv(out, kOuiDot1, kDot1ManagementVid, info);
    }
    if (pdu.linkAgg) {
        std::vector<uint8_t> info{pdu.linkAgg->status};
        Put32(info, pdu.linkAgg->portId);
        AppendOrgTlv(out, kOuiDot1, kDot1LinkAgg, info);
    }

    // DCBX
    if (pdu.etsConfig) {
        const EtsConfig &e = *pdu.etsConfig;
        std::vector<uint8_t> info{static_cast<uint8_t>((e.willing ? 0x80 : 0) | (e.cbs ? 0x40 : 0) | (e.maxTcs & 0x07))};
        PutEtsTables(info, e.priorityTc, e.bandwidth, e.tsa);
        AppendOrgTlv(out, kOuiDot1, kDot1EtsConfig, info);
    }
    if (pdu.etsRecommendation) {
        const EtsRecommendation &e = *pdu.etsRecommendation;
        std::vector<uint8_t> info{0};
        PutEtsTables(info, e.priorityTc, e.bandwidth, e.tsa);
        AppendOrgTlv(out, kOuiDot1, kDot1EtsRecommendation, info);
    }
    if (pdu.pfc) {
        const Pfc &p = *pdu.pfc;
        std::vector<uint8_t> info{static_cast<uint8_t>((p.willing ? 0x80 : 0) | (p.mbc ? 0x40 : 0) | (p.cap & 0x0F)),
                                  p.enable};
        AppendOrgTlv(out, kOuiDot1, kDot1Pfc, info);
    }
    if (pdu.appPriority) {
        std::vector<uint8_t> info{0};
        const size_t n = std::min(pdu.appPriority->size(), kMaxAppEntries);
        for (size_t i = 0; i < n; ++i) {
            const AppPriority &a = (*pdu.appPriority)[i];
            info.push_back(static_cast<uint8_t>(((a.priority & 0x07) << 5) | (a.selector & 0x07)));
            Put16(info, a.protocol);
        }
        AppendOrgTlv(out, kOuiDot1, kDot1AppPriority, info);
    }

    // IEEE 802.3
    if (pdu.macPhy) {
        std::vector<uint8_t> info{pdu.macPhy->autoNeg};
        Put16(info, pdu.macPhy->advertisedCap);
        Put16(info, pdu.macPhy->mauType);
        AppendOrgTlv(out, kOuiDot3, kDot3MacPhy, info);
    }
    if (pdu.powerMdi) {
        const PowerMdi &p = *pdu.powerMdi;
        std::vector<uint8_t> info{p.support, p.pair, p.powerClass};
        PutRange(info, p.extension.begin(), p.extension.end(), kMaxOrgInfoLen - 3);
        AppendOrgTlv(out, kOuiDot3, kDot3PowerMdi, info);
    }
    if (pdu.maxFrameSize) {
        std::vector<uint8_t> info;
        Put16(info, *pdu.maxFrameSize);
        AppendOrgTlv(out, kOuiDot3, kDot3MaxFrameSize, info);
    }

    for (const OrgTlv &o : pdu.orgTlvs) {
        std::vector<uint8_t> info;
        PutRange(info, o.info.begin(), o.info.end(), kMaxOrgInfoLen);
        AppendOrgTlv(out, o.oui, o.subtype, info);
    }
    for (const UnknownTlv &u : pdu.unknownTlvs) {
        std::vector<uint8_t> info;
        PutRange(info, u.info.begin(), u.info.end(), kMaxTlvInfoLen);
        AppendTlv(out, u.type, info);
    }
    AppendTlvHeader(out, kTlvEnd, 0);
    return out;
}

// ---------------------------------------------------------------------------
// Object identifiers

std::vector<uint8_t> EncodeOid(const std::vector<uint32_t> &subIds) {
    std::vector<uint8_t> out;
    auto putSubId = [&out](uint64_t v) {
        uint8_t tmp[10];
        size_t n = 0;
        do {
            tmp[n++] = static_cast<uint8_t>(v & 0x7F);
            v >>= 7;
        } while (v != 0);
        while (n > 0) {
            --n;
            out.push_back(static_cast<uint8_t>(tmp[n] | (n > 0 ? 0x80 : 0)));
        }
    };
    if (subIds.empty()) return out;
    const uint64_t first = static_cast<uint64_t>(subIds[0]) * 40 + (subIds.size() > 1 ? subIds[1] : 0);
    putSubId(first);
    for (size_t i = 2; i < subIds.size(); ++i) putSubId(subIds[i]);
    return out;
}

std::optional<std::vector<uint32_t>> DecodeOid(const std::vector<uint8_t> &ber) {
    std::vector<uint32_t> out;
    uint64_t v = 0;
    bool inSubId = false;
    for (uint8_t b : ber) {
        if (!inSubId && b == 0x80) return std::nullopt;  // leading zero septet
        v = (v << 7) | (b & 0x7F);
        if (v > 0xFFFFFFFFull + 80) return std::nullopt;
        inSubId = (b & 0x80) != 0;
        if (inSubId) continue;
        if (out.empty()) {
            const uint32_t arc = v < 40 ? 0 : (v < 80 ? 1 : 2);
            out.push_back(arc);
            out.push_back(static_cast<uint32_t>(v - 40ull * arc));
        } else {
            if (v > 0xFFFFFFFFull) return std::nullopt;
            out.push_back(static_cast<uint32_t>(v));
        }
        v = 0;
    }
    if (inSubId) return std::nullopt;
    return out;
}

// ---------------------------------------------------------------------------
// Decoding

const char *DiscardReasonName(DiscardReason reason) {
    switch (reason) {
    case DiscardReason::kNone: return "none";
    case DiscardReason::kMissingChassisId: return "missing chassis id";
    case DiscardReason::kMissingPortId: return "missing port id";
    case DiscardReason::kMissingTtl: return "missing TTL";
    case DiscardReason::kBadChassisId: return "bad chassis id";
    case DiscardReason::kBadPortId: return "bad port id";
    case DiscardReason::kBadTtl: return "bad TTL";
    case DiscardReason::kTruncatedMandatory: return "truncated mandatory TLV";
    case DiscardReason::kDuplicateMandatory: return "duplicate mandatory TLV";
    }
    return "?";
}

namespace {

struct TlvView {
    uint8_t type = 0;
    size_t len = 0;
    const uint8_t *info = nullptr;
};

enum class Next { kTlv, kEndOfData, kPartialHeader, kOverrun };

// Reads the TLV at pos; on kTlv advances pos past it.
Next ReadTlv(const uint8_t *data, size_t len, size_t &pos, TlvView &tlv) {
    if (pos >= len) return Next::kEndOfData;
    if (len - pos < 2) return Next::kPartialHeader;
    tlv.type = static_cast<uint8_t>(data[pos] >> 1);
    tlv.len = (static_cast<size_t>(data[pos] & 0x01) << 8) | data[pos + 1];
    if (tlv.len > len - pos - 2) return Next::kOverrun;
    tlv.info = data + pos + 2;
    pos += 2 + tlv.len;
    return Next::kTlv;
}

// Applies one decoded-family org TLV; false when its body is malformed.
bool ApplyOrgTlv(Lldpdu &pdu, const Oui &oui, uint8_t subtype, const uint8_t *body, size_t n) {
    if (oui == kOuiDot1) {
        switch (subtype) {
        case kDot1PortVlanId: {
            uint16_t v = 0;
            if (!ParsePortVlanId(body, n, v)) return false;
            pdu.portVlanId = v;
            return true;
        }
        case kDot1PortProtoVlanId: {
            ProtoVlan p;
            if (!ParseProtoVlan(body, n, p)) return false;
            pdu.protoVlans.push_back(p);
            return true;
        }
        case kDot1VlanName: {
            VlanName v;
            if (!ParseVlanName(body, n, v)) return false;
            pdu.vlanNames.push_back(std::move(v));
            return true;
        }
        case kDot1ProtocolId: {
            std::vector<uint8_t> id;
            if (!ParseProtocolId(body, n, id)) return false;
            pdu.protocolIds.push_back(std::move(id));
            return true;
        }
        case kDot1VidUsageDigest: {
            std::array<uint8_t, 4> d{};
            if (!ParseVidUsage(body, n, d)) return false;
            pdu.vidUsageDigest = d;
            return true;
        }
        case kDot1ManagementVid: {
            uint16_t v = 0;
            if (!ParseManagementVid(body, n, v)) return false;
            pdu.managementVid = v;
            return true;
        }
        case kDot1LinkAgg: {
            LinkAggregation l;
            if (!ParseLinkAgg(body, n, l)) return false;
            pdu.linkAgg = l;
            return true;
        }
        case kDot1EtsConfig: {
            EtsConfig e;
            if (!ParseEtsConfig(body, n, e)) return false;
            pdu.etsConfig = e;
            return true;
        }
        case kDot1EtsRecommendation: {
            EtsRecommendation e;
            if (!ParseEtsRecommendation(body, n, e)) return false;
            pdu.etsRecommendation = e;
            return true;
        }
        case kDot1Pfc: {
            Pfc p;
            if (!ParsePfc(body, n, p)) return false;
            pdu.pfc = p;
            return true;
        }
        case kDot1AppPriority: {
            std::vector<AppPriority> a;
            if (!ParseAppPriority(body, n, a)) return false;
            pdu.appPriority = std::move(a);
            return true;
        }
        default: return false;
        }
    }
    switch (subtype) {
    case kDot3MacPhy: {
        MacPhy m;
        if (!ParseMacPhy(body, n, m)) return false;
        pdu.macPhy = m;
        return true;
    }
    case kDot3PowerMdi: {
        PowerMdi p;
        if (!ParsePowerMdi(body, n, p)) return false;
        pdu.powerMdi = std::move(p);
        return true;
    }
    case kDot3MaxFrameSize: {
        uint16_t v = 0;
        if (!ParseMaxFrameSize(body, n, v)) return false;
        pdu.maxFrameSize = v;
        return true;
    }
    default: return false;
    }
}

}  // namespace

DecodeResult DecodeLldpdu(const uint8_t *data, size_t len) {
    DecodeResult r;
    if (data == nullptr) len = 0;
    size_t pos = 0;
    TlvView tlv;

    // The three mandatory TLVs, first and in this order.
    static constexpr struct {
        uint8_t type;
        DiscardReason missing;
        DiscardReason bad;
    } kMandatory[] = {
        {kTlvChassisId, DiscardReason::kMissingChassisId, DiscardReason::kBadChassisId},
        {kTlvPortId, DiscardReason::kMissingPortId, DiscardReason::kBadPortId},
        {kTlvTtl, DiscardReason::kMissingTtl, DiscardReason::kBadTtl},
    };
    for (const auto &m : kMandatory) {
        const size_t start = pos;
        const Next next = ReadTlv(data, len, pos, tlv);
        if (next == Next::kEndOfData || next == Next::kPartialHeader) {
            r.reason = m.missing;
            return r;
        }
        const uint8_t type = static_cast<uint8_t>(data[start] >> 1);
        if (type != m.type) {
            r.reason = m.missing;
            return r;
        }
        if (next == Next::kOverrun) {
            r.reason = DiscardReason::kTruncatedMandatory;
            return r;
        }
        if (m.type == kTlvTtl) {
            // Octets beyond the first two are ignored.
            if (tlv.len < 2) {
                r.reason = m.bad;
                return r;
            }
            r.pdu.ttl = Get16(tlv.info);
        } else {
            if (tlv.len < 2 || tlv.len > kMaxIdLen + 1) {
                r.reason = m.bad;
                return r;
            }
            if (m.type == kTlvChassisId) {
                r.pdu.chassisIdSubtype = tlv.info[0];
                r.pdu.chassisId.assign(tlv.info + 1, tlv.info + tlv.len);
            } else {
                r.pdu.portIdSubtype = tlv.info[0];
                r.pdu.portId.assign(tlv.info + 1, tlv.info + tlv.len);
            }
        }
    }

    // Optional TLVs, in any order.
    std::set<uint8_t> seenBasic;
    std::set<std::pair<Oui, uint8_t>> seenOrg;
    for (;;) {
        const Next next = ReadTlv(data, len, pos, tlv);
        if (next == Next::kEndOfData) break;
        if (next != Next::kTlv) {
            ++r.tlvsDiscarded;  // runs past the end of the frame
            break;
        }
        switch (tlv.type) {
        case kTlvEnd:
            r.sawEnd = true;
            break;
        case kTlvChassisId:
        case kTlvPortId:
        case kTlvTtl:
            r.reason = DiscardReason::kDuplicateMandatory;
            return r;
        case kTlvPortDesc:
        case kTlvSysName:
        case kTlvSysDesc: {
            if (tlv.len > kMaxTextLen || seenBasic.count(tlv.type) != 0) {
                ++r.tlvsDiscarded;
                break;
            }
            seenBasic.insert(tlv.type);
            std::string text(reinterpret_cast<const char *>(tlv.info), tlv.len);
            if (tlv.type == kTlvPortDesc) r.pdu.portDesc = std::move(text);
            else if (tlv.type == kTlvSysName) r.pdu.sysName = std::move(text);
            else r.pdu.sysDesc = std::move(text);
            break;
        }
        case kTlvSysCap:
            if (seenBasic.count(tlv.type) != 0 || !ParseSysCap(tlv.info, tlv.len, r.pdu.capSupported, r.pdu.capEnabled)) {
                ++r.tlvsDiscarded;
                break;
            }
            seenBasic.insert(tlv.type);
            r.pdu.hasSysCap = true;
            break;
        case kTlvManAddr: {
            ManagementAddress m;
            if (!ParseManAddr(tlv.info, tlv.len, m)) {
                ++r.tlvsDiscarded;
                break;
            }
            r.pdu.manAddrs.push_back(std::move(m));
            break;
        }
        case kTlvOrgSpecific: {
            Oui oui{};
            uint8_t subtype = 0;
            if (!SplitOrgHeader(tlv.info, tlv.len, oui, subtype)) {
                ++r.tlvsDiscarded;
                break;
            }
            const uint8_t *body = tlv.info + kOrgHeaderLen;
            const size_t n = tlv.len - kOrgHeaderLen;
            if (!IsDecodedOrgTlv(oui, subtype)) {
                ++r.tlvsUnrecognized;
                r.pdu.orgTlvs.push_back(OrgTlv{oui, subtype, std::vector<uint8_t>(body, body + n)});
                break;
            }
            const bool single = IsSingleOrgTlv(oui, subtype);
            if (single && seenOrg.count({oui, subtype}) != 0) {
                ++r.tlvsDiscarded;
                break;
            }
            if (!ApplyOrgTlv(r.pdu, oui, subtype, body, n)) {
                ++r.tlvsDiscarded;
                break;
            }
            if (single) seenOrg.insert({oui, subtype});
            break;
        }
        default:  // reserved types 9..126
            ++r.tlvsUnrecognized;
            r.pdu.unknownTlvs.push_back(UnknownTlv{tlv.type, std::vector<uint8_t>(tlv.info, tlv.info + tlv.len)});
            break;
        }
        if (r.sawEnd) break;
    }
    r.accepted = true;
    return r;
}

// ---------------------------------------------------------------------------
// Frames and captures

std::optional<MacAddress> AgentDestination(uint32_t agent) {
    switch (agent) {
    case 1: return kNearestBridge;
    case 2: return kNearestNonTpmrBridge;
    case 3: return kNearestCustomerBridge;
    default: return std::nullopt;
    }
}

std::vector<uint8_t> BuildFrame(const MacAddress &dst, const MacAddress &src, const std::vector<uint8_t> &lldpdu) {
    std::vector<uint8_t> frame(dst.begin(), dst.end());
    frame.insert(frame.end(), src.begin(), src.end());
    Put16(frame, kLldpEthertype);
    frame.insert(frame.end(), lldpdu.begin(), lldpdu.end());
    if (frame.size() < 60) frame.resize(60, 0);
    return frame;
}

namespace {

bool WriteLe(std::FILE *f, uint32_t v, size_t bytes) {
    uint8_t b[4];
    for (size_t i = 0; i < bytes; ++i) b[i] = static_cast<uint8_t>(v >> (8 * i));
    return std::fwrite(b, 1, bytes, f) == bytes;
}

}  // namespace

PcapWriter::~PcapWriter() { Close(); }

bool PcapWriter::Open(const std::string &path) {
    Close();
    file_ = std::fopen(path.c_str(), "wb");
    if (file_ == nullptr) return false;
    // Classic pcap header, little endian: magic, version 2.4, zone, sigfigs,
    // snap length, link type 1 (Ethernet).
    const bool ok = WriteLe(file_, 0xA1B2C3D4u, 4) && WriteLe(file_, 2, 2) && WriteLe(file_, 4, 2) &&
                    WriteLe(file_, 0, 4) && WriteLe(file_, 0, 4) && WriteLe(file_, 65535, 4) && WriteLe(file_, 1, 4);
    if (!ok) Close();
    return ok;
}

bool PcapWriter::Write(const std::vector<uint8_t> &frame, uint32_t seconds, uint32_t micros) {
    if (file_ == nullptr) return false;
    const auto n = static_cast<uint32_t>(frame.size());
    return WriteLe(file_, seconds, 4) && WriteLe(file_, micros, 4) && WriteLe(file_, n, 4) && WriteLe(file_, n, 4) &&
           std::fwrite(frame.data(), 1, frame.size(), file_) == frame.size();
}

bool PcapWriter::Close() {
    if (file_ == nullptr) return true;
    const bool ok = std::fclose(file_) == 0;
    file_ = nullptr;
    return ok;
}

}  // namespace lldpv2host::lldp
