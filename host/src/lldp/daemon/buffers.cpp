#include "lldp/daemon/buffers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "lldp/daemon/wire.h"
#include "lldpv2host/trace.h"

namespace lldpv2host::daemon {

bool CopyOut(const void *data, size_t n, uint32_t capacity, void *buf, uint16_t *len) {
    if (n > capacity || n > 0xFFFF || (n > 0 && buf == nullptr)) return false;
    if (n > 0) std::memcpy(buf, data, n);
    if (len != nullptr) *len = static_cast<uint16_t>(n);
    return true;
}

bool CopyOut(const std::vector<uint8_t> &bytes, uint32_t capacity, void *buf, uint16_t *len) {
    return CopyOut(bytes.data(), bytes.size(), capacity, buf, len);
}

// Interface status: magic, version, admin status, notification, too many
// neighbours, one reserved octet, the number of neighbours (32 bits).
std::vector<uint8_t> StatusBuffer(const AgentState &agent, uint32_t neighbours) {
    std::vector<uint8_t> out{kStatusBufMagic, kBufVersion, agent.adminStatus,
                             static_cast<uint8_t>(agent.notification ? 1 : 0),
                             static_cast<uint8_t>(TooMany(agent) ? 1 : 0), 0};
    Append32(out, neighbours);
    return out;
}

// Interface statistics: magic, version, then the twelve 32-bit fields of
// LLDP_IF_STATS_S in its order (the four unused ones zero).
std::vector<uint8_t> StatsBuffer(const AgentCounters &c) {
    std::vector<uint8_t> out{kStatsBufMagic, kBufVersion};
    for (uint32_t v : {c.framesOut, c.framesIn, c.framesDiscarded, c.framesInError, c.tlvsDiscarded, 0u, 0u, 0u,
                       0u, c.tlvsUnrecognized, c.ageouts, c.lengthErrors}) {
        Append32(out, v);
    }
    return out;
}

// Remote-table statistics of a node: magic, version, inserts, deletes,
// drops, ageouts, last change time.
std::vector<uint8_t> NodeStatsBuffer(const NodeStats &s) {
    std::vector<uint8_t> out{kGStatsBufMagic, kBufVersion};
    for (uint32_t v : {s.inserts, s.deletes, s.drops, s.ageouts, s.lastChangeTime}) Append32(out, v);
    return out;
}

LLDP_MANADDR_REC_S ManAddrRecordOf(const ManKey &key) {
    LLDP_MANADDR_REC_S rec;
    std::memset(&rec, 0, sizeof rec);
    if (key.subtype == 1 && key.addr.size() == 4) {
        rec.family = 0;
        rec.ipv4 = GetU32(key.addr.data());
    } else if (key.subtype == 2 && key.addr.size() == 16) {
        rec.family = 2;
        std::memcpy(rec.ipv6, key.addr.data(), 16);
    } else {
        rec.family = 3;  // an address of another family: not carried in the record
    }
    return rec;
}

std::optional<ManKey> ManKeyOf(const LLDP_MANADDR_REC_S &rec) {
    ManKey key;
    if (rec.family == 0) {
        key.subtype = 1;
        key.addr.resize(4);
        PutU32(key.addr.data(), rec.ipv4);
        return key;
    }
    if (rec.family == 2) {
        key.subtype = 2;
        key.addr.assign(rec.ipv6, rec.ipv6 + 16);
        return key;
    }
    return std::nullopt;
}

// TLV transmit configuration: magic, version, transmit mask (32 bits), the
// configured VLAN name VLAN (flag, 16 bits), the configured port and protocol
// VLAN id (flag, 16 bits), then the management-address transmit entry:
// present, transmit flag, and its LLDP_MANADDR_REC_S family (32 bits), IPv4
// word (32 bits) and IPv6 octets.
std::vector<uint8_t> TlvCfgBuffer(const AgentState &agent) {
    std::vector<uint8_t> out{kTlvCfgBufMagic, kBufVersion};
    Append32(out, agent.tlvMask);
    out.push_back(agent.vlanNameId ? 1 : 0);
    Append16(out, agent.vlanNameId.value_or(0));
    out.push_back(agent.protoVlanId ? 1 : 0);
    Append16(out, agent.protoVlanId.value_or(0));
    LLDP_MANADDR_REC_S rec;
    std::memset(&rec, 0, sizeof rec);
    if (agent.manAddrTx) rec = ManAddrRecordOf(agent.manAddrTx->key);
    out.push_back(agent.manAddrTx ? 1 : 0);
    out.push_back(agent.manAddrTx && agent.manAddrTx->txEnable ? 1 : 0);
    Append32(out, rec.family);
    Append32(out, rec.ipv4);
    out.insert(out.end(), rec.ipv6, rec.ipv6 + 16);
    return out;
}

// Local system information: magic, version, capabilities supported and
// enabled (16 bits each), chassis id subtype, chassis id length, chassis id,
// then system name and description, each as a 16-bit length and its octets.
std::vector<uint8_t> SysInfoBuffer(const LocalSystemData &sys) {
    std::vector<uint8_t> out{kSysInfoBufMagic, kBufVersion};
    Append16(out, sys.capSupported);
    Append16(out, sys.capEnabled);
    out.push_back(sys.chassisIdSubtype);
    const size_t chassisLen = std::min<size_t>(sys.chassisId.size(), 255);
    out.push_back(static_cast<uint8_t>(chassisLen));
    out.insert(out.end(), sys.chassisId.begin(), sys.chassisId.begin() + static_cast<long>(chassisLen));
    for (const std::string *text : {&sys.sysName, &sys.sysDesc}) {
        const size_t n = std::min<size_t>(text->size(), 255);
        Append16(out, static_cast<uint16_t>(n));
        out.insert(out.end(), text->begin(), text->begin() + static_cast<long>(n));
    }
    return out;
}

std::vector<uint8_t> LocalPortBuffer(const Daemon &d, const PortState &port, uint32_t agent) {
    const uint32_t used = EffectiveAgent(port, agent);
    const std::vector<uint8_t> tlvs = lldp::EncodeLldpdu(LocalPdu(d, port, used));
    std::vector<uint8_t> out;
    // Reserved at once: a growing insert is reported by g++ 12 at -O3 as an
    // out-of-bounds copy, which it is not.
    out.reserve(4 + tlvs.size());
    Append16(out, static_cast<uint16_t>(tlvs.size()));
    out.push_back(static_cast<uint8_t>(used));
    out.push_back(port.agents[used - 1].adminStatus);
    out.insert(out.end(), tlvs.begin(), tlvs.end());
    return out;
}

bool CopyRemoteInfo(const Neighbour &n, uint32_t capacity, void *buf, uint16_t *len) {
    const size_t size = 1 + size_t{n.tlvLen};
    if (size > capacity || size > 0xFFFF || buf == nullptr) return false;
    auto *out = static_cast<uint8_t *>(buf);
    out[0] = n.manAddrCount;
    if (n.tlvLen > 0) std::memcpy(out + 1, n.Tlvs(), n.tlvLen);
    if (len != nullptr) *len = static_cast<uint16_t>(size);
    return true;
}

DCBX_ADMIN_S AdminRecord(const DcbxAdmin &a) {
    DCBX_ADMIN_S r;
    std::memset(&r, 0, sizeof r);
    r.etsStatus = Net16(a.etsValid ? 1 : 0);
    r.pfcStatus = Net16(a.pfcValid ? 1 : 0);
    r.appStatus = Net16(a.appValid ? 1 : 0);
    r.etsFirst = static_cast<uint8_t>((a.ets.willing ? 0x80 : 0) | (a.ets.cbs ? 0x40 : 0) | (a.ets.maxTcs & 0x07));
    for (int p = 0; p < 8; ++p) {
        const uint8_t tc = a.ets.priorityTc[p] & 0x0F;
        r.priorityTc[p / 2] |= static_cast<uint8_t>(p % 2 == 0 ? tc << 4 : tc);
    }
    std::memcpy(r.confBandwidth, a.ets.bandwidth.data(), 8);
    std::memcpy(r.confTsa, a.ets.tsa.data(), 8);
    std::memcpy(r.recoBandwidth, a.reco.bandwidth.data(), 8);
    std::memcpy(r.recoTsa, a.reco.tsa.data(), 8);
    r.pfcFirst = static_cast<uint8_t>((a.pfc.willing ? 0x80 : 0) | (a.pfc.mbc ? 0x40 : 0) | (a.pfc.cap & 0x0F));
    r.pfcEnable = a.pfc.enable;
    const size_t count = std::min<size_t>(a.apps.size(), DCBX_APP_MAX);
    for (size_t i = 0; i < count; ++i) {
        r.app[i].protocol = Net16(a.apps[i].protocol);
        r.app[i].priority = a.apps[i].priority;
        r.app[i].selector = a.apps[i].selector;
    }
    r.appCount = Net32(static_cast<uint32_t>(count));
    return r;
}

LLDP_LOC_MANADDR_S LocalManAddrRecord(const LocalManAddr &m) {
    LLDP_LOC_MANADDR_S r;
    std::memset(&r, 0, sizeof r);
    r.addrLen = Net32(static_cast<uint32_t>(m.key.addr.size() + 1));
    r.ifSubtype = Net32(m.ifSubtype);
    r.ifId = Net32(m.ifId);
    const size_t oidLen = std::min<size_t>(m.oid.size(), sizeof r.reserved);
    if (oidLen > 0) std::memcpy(r.reserved, m.oid.data(), oidLen);
    r.tail = Net32(static_cast<uint32_t>(oidLen));
    return r;
}

}  // namespace lldpv2host::daemon

using namespace lldpv2host::daemon;

extern "C" {

uint32_t LLDP_msg_CreateFromIfStatusBuf(const void *buf, uint16_t len, LLDP_IF_STATUS_S *out) {
    const auto *p = static_cast<const uint8_t *>(buf);
    if (p == nullptr || out == nullptr || len < 10 || p[0] != kStatusBufMagic || p[1] != kBufVersion) {
        return LLDP_ERR_GENERAL;
    }
    LLDP_IF_STATUS_S s;
    std::memset(&s, 0, sizeof s);
    s.adminStatus = p[2];
    s.notification = p[3];
    std::memcpy(out, &s, sizeof s);
    return 0;
}

uint32_t LLDP_msg_CreateFromIfStatBuf(const void *buf, uint16_t len, LLDP_IF_STATS_S *out) {
    const auto *p = static_cast<const uint8_t *>(buf);
    if (p == nullptr || out == nullptr || len < 2 + 48 || p[0] != kStatsBufMagic || p[1] != kBufVersion) {
        return LLDP_ERR_GENERAL;
    }
    uint32_t v[12];
    for (int i = 0; i < 12; ++i) v[i] = GetU32(p + 2 + 4 * i);
    std::memcpy(out, v, sizeof v);
    return 0;
}

uint32_t LLDP_msg_CreateFromGStatBuf(const void *buf, uint16_t len, LLDP_GLOBAL_STATS_S *out) {
    const auto *p = static_cast<const uint8_t *>(buf);
    if (p == nullptr || out == nullptr || len < 2 + 20 || p[0] != kGStatsBufMagic || p[1] != kBufVersion) {
        return LLDP_ERR_GENERAL;
    }
    out->inserts = GetU32(p + 2);
    out->deletes = GetU32(p + 6);
    out->drops = GetU32(p + 10);
    out->ageouts = GetU32(p + 14);
    out->lastChangeTime = GetU32(p + 18);
    return 0;
}

uint32_t LLDP_util_CreateFromTLVCfgBuf(const void *buf, uint16_t len, LLDP_TLV_CFG_S *out) {
    if (uint32_t fault = lldpv2host::TraceCall("LLDP_util_CreateFromTLVCfgBuf")) return fault;
    const auto *p = static_cast<const uint8_t *>(buf);
    constexpr uint16_t kLen = 2 + 4 + 3 + 3 + 2 + 4 + 4 + 16;
    if (p == nullptr || out == nullptr || len < kLen || p[0] != kTlvCfgBufMagic || p[1] != kBufVersion) {
        return LLDP_ERR_GENERAL;
    }
    std::memset(out, 0, sizeof *out);
    const uint32_t mask = GetU32(p + 2);
    for (uint32_t bit = 0; bit < LLDP_TLV_CFG_ENTRIES; ++bit) {
        if (bit == LLDP_TLVBIT_MAN_ADDR || bit == LLDP_TLVBIT_DCBX) continue;
        out->entry[bit].enable = (mask >> bit) & 1u;
    }
    // The DCBX transmit flag is read as 32 bits.
    const uint32_t dcbx = (mask >> LLDP_TLVBIT_DCBX) & 1u;
    std::memcpy(&out->entry[LLDP_TLVBIT_DCBX], &dcbx, sizeof dcbx);
    if (p[6] != 0) {
        out->entry[LLDP_TLVBIT_VLAN_NAME].hasId = 1;
        out->entry[LLDP_TLVBIT_VLAN_NAME].id = GetU16(p + 7);
    }
    if (p[9] != 0) {
        out->entry[LLDP_TLVBIT_PROTO_VLAN].hasId = 1;
        out->entry[LLDP_TLVBIT_PROTO_VLAN].id = GetU16(p + 10);
    }
    if (p[12] != 0) {
        auto *rec = static_cast<LLDP_MANADDR_REC_S *>(std::calloc(1, sizeof(LLDP_MANADDR_REC_S)));
        if (rec == nullptr) return LLDP_ERR_GENERAL;
        rec->family = GetU32(p + 14);
        rec->ipv4 = GetU32(p + 18);
        std::memcpy(rec->ipv6, p + 22, 16);
        out->entry[LLDP_TLVBIT_MAN_ADDR].data = rec;
        out->entry[LLDP_TLVBIT_MAN_ADDR].count = 1;
        out->entry[LLDP_TLVBIT_MAN_ADDR].enable = p[13] != 0 ? 1 : 0;
    }
    return 0;
}

void LLDP_util_ClearTLVCfg(LLDP_TLV_CFG_S *cfg) {
    lldpv2host::TraceCall("LLDP_util_ClearTLVCfg");
    if (cfg == nullptr) return;
    for (LLDP_TLV_CFG_ENTRY_S &e : cfg->entry) {
        std::free(e.data);
        e.data = nullptr;
    }
    std::memset(cfg, 0, sizeof *cfg);
}

uint32_t LLDP_util_CreateFromSysInfoBuf(const void *buf, uint16_t len, LLDP_LOC_SYSTEM_S *out) {
    const auto *p = static_cast<const uint8_t *>(buf);
    if (p == nullptr || out == nullptr || len < 8 || p[0] != kSysInfoBufMagic || p[1] != kBufVersion) {
        return LLDP_ERR_GENERAL;
    }
    LLDP_LOC_SYSTEM_S s;
    std::memset(&s, 0, sizeof s);
    s.capSupported = GetU16(p + 2);
    s.capEnabled = GetU16(p + 4);
    s.chassisIdSubtype = p[6];
    s.chassisIdLen = p[7];
    size_t at = 8;
    if (at + s.chassisIdLen > len) return LLDP_ERR_GENERAL;
    std::memcpy(s.chassisId, p + at, s.chassisIdLen);
    at += s.chassisIdLen;
    for (char *text : {s.sysName, s.sysDesc}) {
        if (at + 2 > len) return LLDP_ERR_GENERAL;
        const size_t n = GetU16(p + at);
        at += 2;
        if (n > 255 || at + n > len) return LLDP_ERR_GENERAL;
        std::memcpy(text, p + at, n);
        text[n] = '\0';
        at += n;
    }
    std::memcpy(out, &s, sizeof s);
    return 0;
}

}  // extern "C"
