#include "lldp/daemon/sub_rows.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "lldp/codec/tlv_format.h"
#include "lldp/daemon/wire.h"
#include "lldp/lldpdu.h"
#include "testing_hooks.h"

namespace lldpv2host::daemon {

namespace {

namespace detail = lldp::detail;

constexpr size_t kOrgBody = 2 + detail::kOrgHeaderLen;  // TLV header, OUI, subtype

size_t TlvLen(const uint8_t *tlv) { return (static_cast<size_t>(tlv[0] & 1u) << 8) | tlv[1]; }
uint32_t Oui24(const uint8_t *oui) { return (uint32_t{oui[0]} << 16) | (uint32_t{oui[1]} << 8) | oui[2]; }

// The sub-index of the row an entry of a one-row-per-entry family makes.
SubKey EntryKey(const uint8_t *tlvs, const SubEntry &e) {
    const uint8_t *t = tlvs + e.off;
    SubKey k;
    switch (e.family) {
        case kSubManAddr: {
            const uint8_t *info = t + 2;
            k.k[0] = info[1];
            k.nbytes = info[0] - 1u;
            k.k[1] = k.nbytes;
            k.bytes = info + 2;
            break;
        }
        case kSubUnknown: k.k[0] = t[0] >> 1; break;
        case kSubOrgDef:
            k.k[0] = Oui24(t + 2);
            k.k[1] = 3;
            k.k[2] = t[5];
            k.k[3] = e.ordinal;
            break;
        case kSubProtoVlan: k.k[0] = GetU16(t + kOrgBody + 1); break;
        case kSubVlanName: k.k[0] = GetU16(t + kOrgBody); break;
        case kSubProtocol: k.k[0] = e.ordinal; break;
        case kSubApp:  // e.off names the 3-octet entry itself
            k.k[0] = t[0] & 0x07u;
            k.k[1] = GetU16(t + 1);
            break;
        default: break;
    }
    return k;
}

// The family of an organizationally specific TLV of the 802.1 OUI that a
// daemon decodes, or 0.
uint8_t Dot1Family(uint8_t subtype) {
    switch (subtype) {
        case lldp::kDot1PortProtoVlanId: return kSubProtoVlan;
        case lldp::kDot1VlanName: return kSubVlanName;
        case lldp::kDot1ProtocolId: return kSubProtocol;
        case lldp::kDot1VidUsageDigest: return kSubVidDigest;
        case lldp::kDot1ManagementVid: return kSubManVid;
        case lldp::kDot1EtsConfig: return kSubEts;
        case lldp::kDot1EtsRecommendation: return kSubReco;
        case lldp::kDot1Pfc: return kSubPfc;
        case lldp::kDot1AppPriority: return kSubApp;
        default: return 0;
    }
}

uint8_t Ordinal(size_t n) { return static_cast<uint8_t>(std::min<size_t>(n, 255)); }

// A row's result: formatted into buf, then copied out.
struct Result {
    uint8_t buf[sizeof(LLDP_REM_UNKNOWN_REC_S)] = {};
    size_t size = 0;
};

void PutRow32(Result &r, uint32_t v) {
    PutU32(r.buf, v);
    r.size = 4;
}

// The result of row `row` (0..7 for eight-row families) of entry e.
void RowResult(const uint8_t *tlvs, const SubEntry &e, Result &r) {
    const uint8_t *t = tlvs + e.off;
    const uint8_t *body = t + kOrgBody;
    const size_t bodyLen = e.family == kSubApp ? 0 : TlvLen(t) - detail::kOrgHeaderLen;
    switch (e.family) {
        case kSubManAddr: {
            const uint8_t *info = t + 2;
            const size_t addrStrLen = info[0];
            const size_t oidLenPos = 1 + addrStrLen + 1 + 4;
            LLDP_REM_MANADDR_REC_S rec;
            std::memset(&rec, 0, sizeof rec);
            rec.ifSubtype = Net32(info[1 + addrStrLen]);
            rec.ifId = Net32(GetU32(info + 2 + addrStrLen));
            const size_t n = std::min<size_t>(info[oidLenPos], sizeof rec.reserved);
            if (n > 0) std::memcpy(rec.reserved, info + oidLenPos + 1, n);
            rec.tail = Net32(static_cast<uint32_t>(n));
            std::memcpy(r.buf, &rec, sizeof rec);
            r.size = sizeof rec;
            break;
        }
        case kSubUnknown:
        case kSubOrgDef: {
            const uint8_t *info = e.family == kSubUnknown ? t + 2 : body;
            const size_t infoLen = e.family == kSubUnknown ? TlvLen(t) : bodyLen;
            LLDP_REM_UNKNOWN_REC_S rec;  // the organizationally defined record is the same, 4 octets shorter
            std::memset(&rec, 0, sizeof rec);
            const size_t room = e.family == kSubUnknown ? sizeof rec.info : sizeof(LLDP_REM_ORGDEF_REC_S::info);
            size_t n = std::min(infoLen, room);
            if (n > 0) std::memcpy(rec.info, info, n);
            testing::hooks::FillInfo(rec.info, &n, room);
            rec.len = Net32(static_cast<uint32_t>(n));
            std::memcpy(r.buf, &rec, sizeof rec);
            r.size = e.family == kSubUnknown ? sizeof(LLDP_REM_UNKNOWN_REC_S) : sizeof(LLDP_REM_ORGDEF_REC_S);
            break;
        }
        case kSubProtoVlan:
            PutU32(r.buf, (body[0] & lldp::kPpvidSupported) ? 1u : 0u);
            PutU32(r.buf + 4, (body[0] & lldp::kPpvidEnabled) ? 1u : 0u);
            r.size = 8;
            break;
        case kSubVlanName: {
            const size_t n = std::min<size_t>(body[2], 32);
            std::memset(r.buf, 0, 40);
            std::memcpy(r.buf, body + 3, n);
            PutU32(r.buf + 36, static_cast<uint32_t>(n));
            r.size = 40;
            break;
        }
        case kSubProtocol: {
            const size_t n = std::min<size_t>(body[0], 256);
            std::memset(r.buf, 0, 260);
            PutU32(r.buf, static_cast<uint32_t>(n));
            std::memcpy(r.buf + 4, body + 1, n);
            r.size = 260;
            break;
        }
        case kSubApp: PutRow32(r, t[0] >> 5); break;
        case kSubVidDigest:
            std::memcpy(r.buf, body, 4);
            r.size = 4;
            break;
        case kSubManVid:
            PutU16(r.buf, GetU16(body));
            r.buf[2] = r.buf[3] = 0;
            r.size = 4;
            break;
        default: break;
    }
}

}  // namespace

std::strong_ordering Compare(const SubKey &a, const SubKey &b) {
    for (size_t i = 0; i < 4; ++i) {
        if (a.k[i] != b.k[i]) return a.k[i] <=> b.k[i];
    }
    const uint32_t n = std::min(a.nbytes, b.nbytes);
    for (uint32_t i = 0; i < n; ++i) {
        if (a.bytes[i] != b.bytes[i]) return a.bytes[i] <=> b.bytes[i];
    }
    return a.nbytes <=> b.nbytes;
}

std::vector<SubEntry> SubEntriesOf(std::span<const uint8_t> tlvs) {
    std::vector<SubEntry> out;
    // Ordinals of the organizationally defined TLVs per (OUI, subtype).
    std::vector<std::pair<uint32_t, size_t>> orgSeen;
    size_t protocols = 0;
    const uint8_t *b = tlvs.data();
    for (size_t off = 0; off + 2 <= tlvs.size() && off <= UINT16_MAX;) {
        const uint8_t type = b[off] >> 1;
        const size_t len = TlvLen(b + off);
        if (type == lldp::kTlvEnd || off + 2 + len > tlvs.size()) break;
        const auto at = static_cast<uint16_t>(off);
        if (type == lldp::kTlvManAddr) {
            out.push_back(SubEntry{at, kSubManAddr, 0});
        } else if (type >= 9 && type <= 126) {
            out.push_back(SubEntry{at, kSubUnknown, 0});
        } else if (type == lldp::kTlvOrgSpecific && len >= detail::kOrgHeaderLen) {
            const lldp::Oui oui{b[off + 2], b[off + 3], b[off + 4]};
            const uint8_t subtype = b[off + 5];
            if (!lldp::IsDecodedOrgTlv(oui, subtype)) {
                const uint32_t id = Oui24(b + off + 2) << 8 | subtype;
                auto it = std::find_if(orgSeen.begin(), orgSeen.end(), [&](const auto &s) { return s.first == id; });
                if (it == orgSeen.end()) it = orgSeen.insert(orgSeen.end(), {id, 0});
                out.push_back(SubEntry{at, kSubOrgDef, Ordinal(++it->second)});
            } else if (oui == lldp::kOuiDot1) {
                const uint8_t family = Dot1Family(subtype);
                if (family == kSubApp) {
                    // A reserved octet, then 3-octet entries.
                    for (size_t e = off + kOrgBody + 1; e + 3 <= off + 2 + len && e <= UINT16_MAX; e += 3) {
                        out.push_back(SubEntry{static_cast<uint16_t>(e), kSubApp, 0});
                    }
                } else if (family == kSubProtocol) {
                    out.push_back(SubEntry{at, family, Ordinal(++protocols)});
                } else if (family != 0) {
                    out.push_back(SubEntry{at, family, 0});
                }
            }
        }
        off += 2 + len;
    }
    std::stable_sort(out.begin(), out.end(), [&](const SubEntry &x, const SubEntry &y) {
        if (x.family != y.family) return x.family < y.family;
        return Compare(EntryKey(b, x), EntryKey(b, y)) < 0;
    });
    out.erase(std::unique(out.begin(), out.end(),
                          [&](const SubEntry &x, const SubEntry &y) {
                              return x.family == y.family && Compare(EntryKey(b, x), EntryKey(b, y)) == 0;
                          }),
              out.end());
    return out;
}

SubTable SubTableOf(uint32_t selector) {
    switch (selector) {
        case LLDP_REMSUB_MANADDR: return {kSubManAddr, 1};
        case LLDP_REMSUB_UNKNOWN: return {kSubUnknown, 1};
        case LLDP_REMSUB_ORGDEF: return {kSubOrgDef, 1};
        case LLDP_REMSUB_PROTO_VLAN: return {kSubProtoVlan, 1};
        case LLDP_REMSUB_VLAN_NAME: return {kSubVlanName, 1};
        case LLDP_REMSUB_PROTOCOL: return {kSubProtocol, 1};
        case LLDP_REMSUB_APP_PRIORITY: return {kSubApp, 1};
        case LLDP_REMSUB_ETS_BANDWIDTH: case LLDP_REMSUB_ETS_TSA: case LLDP_REMSUB_ETS_PRIORITY: return {kSubEts, 8};
        case LLDP_REMSUB_RECO_BANDWIDTH: case LLDP_REMSUB_RECO_TSA: return {kSubReco, 8};
        case LLDP_REMSUB_PFC_ENABLE: return {kSubPfc, 8};
        case LLDP_REMSUB_VID_USAGE_DIGEST: return {kSubVidDigest, 1};
        case LLDP_REMSUB_MAN_VID: return {kSubManVid, 1};
        default: return {};
    }
}

SubKey RequestKey(uint32_t selector, const LLDP_INDEX_PARA_S &para) {
    SubKey k;
    switch (selector) {
        case LLDP_REMSUB_MANADDR:
            k.k[0] = Host32(para.manAddr.subtype);
            k.nbytes = std::min<uint32_t>(Host32(para.manAddr.len), LLDP_MANADDR_CAPACITY);
            k.k[1] = k.nbytes;
            k.bytes = para.manAddr.addr;
            break;
        case LLDP_REMSUB_UNKNOWN: k.k[0] = Host32(para.tlvType); break;
        case LLDP_REMSUB_ORGDEF:
            k.k[0] = Oui24(para.orgDef.oui);
            k.k[1] = Host32(para.orgDef.ouiLen);
            k.k[2] = Host32(para.orgDef.subtype);
            k.k[3] = Host32(para.orgDef.index);
            break;
        case LLDP_REMSUB_VID_USAGE_DIGEST:
        case LLDP_REMSUB_MAN_VID: break;  // one row, index (0, 0)
        default:
            k.k[0] = Host32(para.index2);
            k.k[1] = Host32(para.index3);
            break;
    }
    return k;
}

uint32_t NextSubRow(const Neighbour &n, uint32_t selector, const SubKey *after, uint16_t capacity, uint16_t *len,
                    void *out, LLDP_INDEX_PARA_S &para) {
    *len = 0;
    const SubTable table = SubTableOf(selector);
    const std::span<const SubEntry> all = n.SubEntries();
    const auto first = std::lower_bound(all.begin(), all.end(), table.family,
                                        [](const SubEntry &e, uint8_t f) { return e.family < f; });
    const uint8_t *tlvs = n.Tlvs();
    for (auto it = first; it != all.end() && it->family == table.family; ++it) {
        SubKey key;
        uint32_t row = 0;
        if (table.rows == 8) {
            // Rows (i, 0) for i = 0..7: the first after the request.
            const uint64_t i = after == nullptr ? 0 : uint64_t{after->k[0]} + 1;
            if (i > 7) break;
            row = static_cast<uint32_t>(i);
            key.k[0] = row;
        } else {
            key = EntryKey(tlvs, *it);
            if (table.family == kSubVidDigest || table.family == kSubManVid) key = SubKey{};
            if (after != nullptr && Compare(*after, key) >= 0) continue;
        }
        Result r;
        if (table.rows == 8) {
            const uint8_t *t = tlvs + it->off;
            const uint8_t *body = t + kOrgBody;
            const size_t bodyLen = TlvLen(t) - detail::kOrgHeaderLen;
            uint8_t v = 0;
            if (table.family == kSubPfc) {
                lldp::Pfc p;
                if (!detail::ParsePfc(body, bodyLen, p)) return 0;
                v = static_cast<uint8_t>((p.enable >> row) & 1u);
            } else if (table.family == kSubEts) {
                lldp::EtsConfig c;
                if (!detail::ParseEtsConfig(body, bodyLen, c)) return 0;
                v = selector == LLDP_REMSUB_ETS_BANDWIDTH ? c.bandwidth[row]
                    : selector == LLDP_REMSUB_ETS_TSA     ? c.tsa[row]
                                                          : c.priorityTc[row];
            } else {
                lldp::EtsRecommendation c;
                if (!detail::ParseEtsRecommendation(body, bodyLen, c)) return 0;
                v = selector == LLDP_REMSUB_RECO_BANDWIDTH ? c.bandwidth[row] : c.tsa[row];
            }
            PutRow32(r, v);
        } else {
            RowResult(tlvs, *it, r);
        }
        if (r.size > capacity || out == nullptr) return LLDP_ERR_GENERAL;
        std::memcpy(out, r.buf, r.size);
        *len = static_cast<uint16_t>(r.size);
        // The sub-index of the row.
        switch (selector) {
            case LLDP_REMSUB_MANADDR:
                std::memset(&para.manAddr, 0, sizeof para.manAddr);
                para.manAddr.subtype = Net32(key.k[0]);
                std::memcpy(para.manAddr.addr, key.bytes, std::min<size_t>(key.nbytes, LLDP_MANADDR_CAPACITY));
                para.manAddr.len = Net32(std::min<uint32_t>(key.nbytes, LLDP_MANADDR_CAPACITY));
                break;
            case LLDP_REMSUB_UNKNOWN: para.tlvType = Net32(key.k[0]); break;
            case LLDP_REMSUB_ORGDEF:
                std::memset(&para.orgDef, 0, sizeof para.orgDef);
                para.orgDef.oui[0] = static_cast<uint8_t>(key.k[0] >> 16);
                para.orgDef.oui[1] = static_cast<uint8_t>(key.k[0] >> 8);
                para.orgDef.oui[2] = static_cast<uint8_t>(key.k[0]);
                para.orgDef.ouiLen = Net32(3);
                para.orgDef.subtype = Net32(key.k[2]);
                para.orgDef.index = Net32(key.k[3]);
                break;
            default:
                para.index2 = Net32(key.k[0]);
                para.index3 = Net32(key.k[1]);
                break;
        }
        return 0;
    }
    return 0;
}

}  // namespace lldpv2host::daemon
