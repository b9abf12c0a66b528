// LLDP_mor_MibGetNext: the get-next queries that each node's daemon answers
// for its own ports (see lldpv2host/lldp.h for items, selectors and results).
#include <algorithm>
#include <cstring>
#include <tuple>

#include "lldp/daemon/buffers.h"
#include "lldp/daemon/sub_rows.h"
#include "lldp/daemon/wire.h"
#include "testing_hooks.h"

using namespace lldpv2host;
using namespace lldpv2host::daemon;

namespace {

// One row under a port or a neighbour: its sub-index and its result.
struct Row {
    uint32_t k2 = 0;
    uint32_t k3 = 0;
    std::vector<uint8_t> result;
};

std::vector<uint8_t> U32(uint32_t v) {
    std::vector<uint8_t> out;
    Append32(out, v);
    return out;
}

std::vector<uint8_t> U32s(std::initializer_list<uint32_t> values) {
    std::vector<uint8_t> out;
    for (uint32_t v : values) Append32(out, v);
    return out;
}

// A 16-bit value at byte 0 of a 4-byte result.
std::vector<uint8_t> Vid16(uint16_t v) {
    std::vector<uint8_t> out;
    Append16(out, v);
    out.push_back(0);
    out.push_back(0);
    return out;
}

std::vector<uint8_t> VlanNameResult(const lldp::VlanName &v) {
    std::vector<uint8_t> out(40, 0);
    const size_t n = std::min<size_t>(v.name.size(), 32);
    std::memcpy(out.data(), v.name.data(), n);
    PutU32(out.data() + 36, static_cast<uint32_t>(n));
    return out;
}

std::vector<uint8_t> ProtoVlanResult(const lldp::ProtoVlan &pv) {
    return U32s({(pv.flags & lldp::kPpvidSupported) ? 1u : 0u, (pv.flags & lldp::kPpvidEnabled) ? 1u : 0u});
}

void SortUnique(std::vector<Row> &rows) {
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row &a, const Row &b) { return std::tie(a.k2, a.k3) < std::tie(b.k2, b.k3); });
    rows.erase(std::unique(rows.begin(), rows.end(),
                           [](const Row &a, const Row &b) { return a.k2 == b.k2 && a.k3 == b.k3; }),
               rows.end());
}

std::vector<Row> ByIndex8(const std::array<uint8_t, 8> &values) {
    std::vector<Row> rows;
    for (uint32_t i = 0; i < 8; ++i) rows.push_back(Row{i, 0, U32(values[i])});
    return rows;
}

std::vector<Row> PfcEnableRows(uint8_t enable) {
    std::vector<Row> rows;
    for (uint32_t p = 0; p < 8; ++p) rows.push_back(Row{p, 0, U32((enable >> p) & 1u)});
    return rows;
}

std::vector<Row> AppRows(const std::vector<lldp::AppPriority> &apps) {
    std::vector<Row> rows;
    for (const lldp::AppPriority &a : apps) rows.push_back(Row{a.selector, a.protocol, U32(a.priority)});
    SortUnique(rows);
    return rows;
}

// 802.1 local rows (item 19) of a port, by kind.
std::vector<Row> Dot1LocalRows(uint32_t kind, const lldp::Lldpdu &pdu) {
    std::vector<Row> rows;
    switch (kind) {
        case LLDP_DOT1LOC_PORT_VLAN:
            if (pdu.portVlanId) rows.push_back(Row{0, 0, Vid16(*pdu.portVlanId)});
            break;
        case LLDP_DOT1LOC_PROTO_VLAN:
            for (const lldp::ProtoVlan &pv : pdu.protoVlans) rows.push_back(Row{pv.ppvid, 0, ProtoVlanResult(pv)});
            break;
        case LLDP_DOT1LOC_VLAN_NAME:
            for (const lldp::VlanName &v : pdu.vlanNames) rows.push_back(Row{v.vid, 0, VlanNameResult(v)});
            break;
        case LLDP_DOT1LOC_MAN_VID:
            if (pdu.managementVid) rows.push_back(Row{0, 0, Vid16(*pdu.managementVid)});
            break;
        case LLDP_DOT1LOC_LINK_AGG:
            if (pdu.linkAgg) {
                std::vector<uint8_t> r{pdu.linkAgg->status};
                Append32(r, pdu.linkAgg->portId);
                rows.push_back(Row{0, 0, r});
            }
            break;
        default:
            break;
    }
    SortUnique(rows);
    return rows;
}

// Local DCBX rows (item 24) of a port, by selector.
std::vector<Row> DcbxLocalRows(uint32_t selector, const lldp::Lldpdu &pdu) {
    const auto &ets = pdu.etsConfig;
    const auto &reco = pdu.etsRecommendation;
    const auto &pfc = pdu.pfc;
    switch (selector) {
        case LLDP_DCBXLOC_ETS_CBS: return ets ? std::vector<Row>{Row{0, 0, U32(ets->cbs ? 1 : 0)}} : std::vector<Row>{};
        case LLDP_DCBXLOC_ETS_TCS: return ets ? std::vector<Row>{Row{0, 0, U32(ets->maxTcs)}} : std::vector<Row>{};
        case LLDP_DCBXLOC_ETS_WILLING: return ets ? std::vector<Row>{Row{0, 0, U32(ets->willing ? 1 : 0)}} : std::vector<Row>{};
        case LLDP_DCBXLOC_ETS_PRIORITY: return ets ? ByIndex8(ets->priorityTc) : std::vector<Row>{};
        case LLDP_DCBXLOC_ETS_BANDWIDTH: return ets ? ByIndex8(ets->bandwidth) : std::vector<Row>{};
        case LLDP_DCBXLOC_ETS_TSA: return ets ? ByIndex8(ets->tsa) : std::vector<Row>{};
        case LLDP_DCBXLOC_RECO_BANDWIDTH: return reco ? ByIndex8(reco->bandwidth) : std::vector<Row>{};
        case LLDP_DCBXLOC_RECO_TSA: return reco ? ByIndex8(reco->tsa) : std::vector<Row>{};
        case LLDP_DCBXLOC_PFC_WILLING: return pfc ? std::vector<Row>{Row{0, 0, U32(pfc->willing ? 1 : 0)}} : std::vector<Row>{};
        case LLDP_DCBXLOC_PFC_MBC: return pfc ? std::vector<Row>{Row{0, 0, U32(pfc->mbc ? 1 : 0)}} : std::vector<Row>{};
        case LLDP_DCBXLOC_PFC_CAP: return pfc ? std::vector<Row>{Row{0, 0, U32(pfc->cap)}} : std::vector<Row>{};
        case LLDP_DCBXLOC_PFC_ENABLE: return pfc ? PfcEnableRows(pfc->enable) : std::vector<Row>{};
        case LLDP_DCBXLOC_APP_PRIORITY: return pdu.appPriority ? AppRows(*pdu.appPriority) : std::vector<Row>{};
        default: return {};
    }
}

// DCBX admin rows (item 23) of a port, by selector.
std::vector<Row> DcbxAdminRows(uint32_t selector, const DcbxAdmin &a) {
    switch (selector) {
        case LLDP_DCBXADM_ETS_BASIC:
            if (!a.etsValid) return {};
            return {Row{0, 0, U32s({a.ets.cbs ? 1u : 0u, uint32_t{a.ets.maxTcs}, a.ets.willing ? 1u : 0u})}};
        case LLDP_DCBXADM_ETS_PRIORITY: return a.etsValid ? ByIndex8(a.ets.priorityTc) : std::vector<Row>{};
        case LLDP_DCBXADM_ETS_BANDWIDTH: return a.etsValid ? ByIndex8(a.ets.bandwidth) : std::vector<Row>{};
        case LLDP_DCBXADM_ETS_TSA: return a.etsValid ? ByIndex8(a.ets.tsa) : std::vector<Row>{};
        case LLDP_DCBXADM_RECO_BANDWIDTH: return a.etsValid ? ByIndex8(a.reco.bandwidth) : std::vector<Row>{};
        // The recommendation TSA rows answer the configuration TSA bytes
        // (21..28 of the admin record): the management module reads the
        // recommendation TSA there, and a walk must show what a get reads.
        case LLDP_DCBXADM_RECO_TSA: return a.etsValid ? ByIndex8(a.ets.tsa) : std::vector<Row>{};
        case LLDP_DCBXADM_PFC_BASIC:
            if (!a.pfcValid) return {};
            return {Row{0, 0, U32s({a.pfc.willing ? 1u : 0u, a.pfc.mbc ? 1u : 0u, uint32_t{a.pfc.cap}})}};
        case LLDP_DCBXADM_PFC_ENABLE: return a.pfcValid ? PfcEnableRows(a.pfc.enable) : std::vector<Row>{};
        case LLDP_DCBXADM_APP_PRIORITY: return a.appValid ? AppRows(a.apps) : std::vector<Row>{};
        default: return {};
    }
}

bool SingleKey(uint32_t item, uint32_t selector) {
    switch (item) {
        case LLDP_ITEM_DOT1_LOC:
            return selector == LLDP_DOT1LOC_PORT_VLAN || selector == LLDP_DOT1LOC_MAN_VID || selector == LLDP_DOT1LOC_LINK_AGG;
        case LLDP_ITEM_DCBX_ADMIN: return selector == LLDP_DCBXADM_ETS_BASIC || selector == LLDP_DCBXADM_PFC_BASIC;
        case LLDP_ITEM_DCBX_LOC:
            return selector <= LLDP_DCBXLOC_ETS_WILLING ||
                   (selector >= LLDP_DCBXLOC_PFC_WILLING && selector <= LLDP_DCBXLOC_PFC_CAP);
        default: return false;
    }
}

bool KnownSelector(uint32_t item, uint32_t selector) {
    switch (item) {
        case LLDP_ITEM_DOT1_LOC: return selector >= LLDP_DOT1LOC_PORT_VLAN && selector <= LLDP_DOT1LOC_LINK_AGG;
        case LLDP_ITEM_DCBX_ADMIN: return selector <= LLDP_DCBXADM_APP_PRIORITY;
        case LLDP_ITEM_DCBX_LOC: return selector <= LLDP_DCBXLOC_APP_PRIORITY;
        default: return false;
    }
}

uint32_t Found(const std::vector<uint8_t> &result, uint16_t capacity, uint16_t *len, void *out) {
    if (result.size() > capacity || out == nullptr) return LLDP_ERR_GENERAL;
    std::memcpy(out, result.data(), result.size());
    *len = static_cast<uint16_t>(result.size());
    return 0;
}

// Whether a port of the interface type has rows of the item: DCBX runs on
// Ethernet ports only, and the 802.1 data on the port types that carry it
// (link aggregation on every ordinary LLDP port, the rest also on
// aggregates). A row the management module would refuse by its port type
// must not show up in a walk either, or the walk could not move past it.
bool CarriesRows(uint32_t item, uint32_t selector, uint32_t type) {
    static constexpr uint32_t kDcbxTypes[] = {18, 19, 21, 68, 69, 88};
    static constexpr uint32_t kDot1Types[] = {18, 19, 21, 88, 68, 69, 56};
    const auto in = [type](const auto &types) { return std::find(std::begin(types), std::end(types), type) != std::end(types); };
    if (item == LLDP_ITEM_DCBX_ADMIN || item == LLDP_ITEM_DCBX_LOC) return in(kDcbxTypes);
    if (item == LLDP_ITEM_DOT1_LOC && selector != LLDP_DOT1LOC_LINK_AGG) return in(kDot1Types);
    return true;
}

// Items 19, 23 and 24: rows keyed by (ifIndex, index2, index3) over the
// node's ports.
uint32_t PortRowsNext(uint32_t item, Daemon &d, LLDP_INDEX_PARA_S *para, uint16_t *len, void *out) {
    const uint32_t selector = para->selector;
    if (!KnownSelector(item, selector)) return LLDP_ERR_BAD_VALUE;
    const bool single = SingleKey(item, selector);
    const uint32_t start = Host32(para->ifIndex);
    const uint32_t s2 = single ? 0 : Host32(para->index2);
    const uint32_t s3 = single ? 0 : Host32(para->index3);
    const uint16_t capacity = *len;
    *len = 0;
    for (const Interface &intf : InterfacesOfNode(d.node)) {
        if (intf.ifIndex < start || !IsLldpPort(intf)) continue;
        if (item != LLDP_ITEM_DCBX_ADMIN && intf.lldpData == 0) continue;
        if (!CarriesRows(item, selector, intf.type)) continue;
        PortState *port = PortOf(intf.ifIndex);
        if (port == nullptr) continue;
        std::vector<Row> rows;
        if (item == LLDP_ITEM_DCBX_ADMIN) {
            rows = DcbxAdminRows(selector, port->dcbx);
        } else {
            const lldp::Lldpdu pdu = LocalPdu(d, *port, EffectiveAgent(*port, 1));
            rows = item == LLDP_ITEM_DOT1_LOC ? Dot1LocalRows(selector, pdu) : DcbxLocalRows(selector, pdu);
        }
        for (const Row &row : rows) {
            if (std::make_tuple(intf.ifIndex, row.k2, row.k3) <= std::make_tuple(start, s2, s3)) continue;
            if (uint32_t rc = Found(row.result, capacity, len, out); rc != 0) return rc;
            para->ifIndex = Net32(intf.ifIndex);
            para->index2 = Net32(row.k2);
            para->index3 = Net32(row.k3);
            return 0;
        }
    }
    return 0;
}

ManKey ManKeyOfPara(const LLDP_MANADDR_KEY_S &k) {
    const uint32_t n = std::min<uint32_t>(Host32(k.len), LLDP_MANADDR_CAPACITY);
    return ManKey{Host32(k.subtype), std::vector<uint8_t>(k.addr, k.addr + n)};
}

void PutManKey(LLDP_MANADDR_KEY_S &k, const ManKey &key) {
    std::memset(&k, 0, sizeof k);
    k.subtype = Net32(key.subtype);
    const size_t n = std::min<size_t>(key.addr.size(), LLDP_MANADDR_CAPACITY);
    std::memcpy(k.addr, key.addr.data(), n);
    k.len = Net32(static_cast<uint32_t>(n));
}

// Item 13: the node's local management addresses.
uint32_t LocalManAddrNext(Daemon &d, LLDP_INDEX_PARA_S *para, uint16_t *len, void *out) {
    const uint16_t capacity = *len;
    *len = 0;
    auto it = d.localManAddrs.upper_bound(ManKeyOfPara(para->manAddr));
    if (it == d.localManAddrs.end()) return 0;
    const LLDP_LOC_MANADDR_S rec = LocalManAddrRecord(it->second);
    const auto *p = reinterpret_cast<const uint8_t *>(&rec);
    if (uint32_t rc = Found(std::vector<uint8_t>(p, p + sizeof rec), capacity, len, out); rc != 0) return rc;
    PutManKey(para->manAddr, it->first);
    return 0;
}

// Item 25: management-address transmit entries of the node's ports.
uint32_t ManAddrTxNext(Daemon &d, LLDP_INDEX_PARA_S *para, uint16_t *len, void *out) {
    const uint16_t capacity = *len;
    *len = 0;
    const uint32_t start = Host32(para->ifIndex);
    const uint32_t startAgent = Host32(para->index2);
    const ManKey startKey = ManKeyOfPara(para->manAddr);
    for (const Interface &intf : InterfacesOfNode(d.node)) {
        if (intf.ifIndex < start || !IsLldpPort(intf)) continue;
        PortState *port = PortOf(intf.ifIndex);
        if (port == nullptr) continue;
        for (uint32_t agent = 1; agent <= 3; ++agent) {
            const AgentState &a = port->Agent(agent);
            if (!AgentAllowed(port->type, agent) || !a.manAddrTx) continue;
            const ManKey &key = a.manAddrTx->key;
            if (intf.ifIndex == start) {
                if (agent < startAgent) continue;
                if (agent == startAgent && !(startKey < key)) continue;
            }
            if (uint32_t rc = Found(U32s({a.manAddrTx->txEnable ? 1u : 0u, a.manAddrTx->rowStatus}), capacity, len,
                                    out);
                rc != 0) {
                return rc;
            }
            para->ifIndex = Net32(intf.ifIndex);
            para->index2 = Net32(agent);
            PutManKey(para->manAddr, key);
            return 0;
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------
// Item 21: remote sub-tables.

Feature FeatureOfSelector(uint32_t selector) {
    switch (selector) {
        case LLDP_REMSUB_MANADDR: return kFeatManAddr;
        case LLDP_REMSUB_UNKNOWN: return kFeatUnknown;
        case LLDP_REMSUB_ORGDEF: return kFeatOrgDef;
        case LLDP_REMSUB_ETS_BANDWIDTH: case LLDP_REMSUB_ETS_TSA: case LLDP_REMSUB_ETS_PRIORITY: return kFeatEtsConf;
        case LLDP_REMSUB_RECO_BANDWIDTH: case LLDP_REMSUB_RECO_TSA: return kFeatEtsReco;
        case LLDP_REMSUB_PFC_ENABLE: return kFeatPfc;
        case LLDP_REMSUB_APP_PRIORITY: return kFeatApp;
        case LLDP_REMSUB_PROTO_VLAN: return kFeatProtoVlan;
        case LLDP_REMSUB_VLAN_NAME: return kFeatVlanName;
        case LLDP_REMSUB_PROTOCOL: return kFeatProtocol;
        case LLDP_REMSUB_VID_USAGE_DIGEST: return kFeatVidDigest;
        case LLDP_REMSUB_MAN_VID: return kFeatManVid;
        default: return kFeatureCount;
    }
}

// The rows of a neighbour's sub-table are found through the sub-row entries
// it keeps (sub_rows.h): a lookup in its TLV stream, no decoding.
uint32_t RemoteSubNext(Daemon &d, LLDP_INDEX_PARA_S *para, uint16_t *len, void *out) {
    const uint32_t selector = para->selector;
    const Feature feature = FeatureOfSelector(selector);
    if (feature == kFeatureCount) return LLDP_ERR_BAD_VALUE;
    const uint16_t capacity = *len;
    *len = 0;
    const uint32_t timeMark = para->tfai.timeMark;
    const RemKey start{para->tfai.ifIndex, para->tfai.agent, para->tfai.remIndex};
    // The request's sub-index, kept apart from para, which the answer rewrites.
    LLDP_INDEX_PARA_S request = *para;
    const SubKey after = RequestKey(selector, request);

    auto answered = [&](const Neighbour &n) {
        para->tfai.ifIndex = n.key.ifIndex;
        para->tfai.agent = n.key.agent;
        para->tfai.remIndex = n.key.remIndex;
    };
    // The rest of the neighbour the key names, then the following neighbours.
    if (const Neighbour *n = d.index.Next(start, true, feature, timeMark); n != nullptr && n->key == start) {
        if (uint32_t rc = NextSubRow(*n, selector, &after, capacity, len, out, *para); rc != 0 || *len != 0) {
            if (rc == 0) answered(*n);
            return rc;
        }
    }
    for (const Neighbour *n = d.index.Next(start, false, feature, timeMark); n != nullptr;
         n = d.index.Next(n->key, false, feature, timeMark)) {
        if (uint32_t rc = NextSubRow(*n, selector, nullptr, capacity, len, out, *para); rc != 0 || *len != 0) {
            if (rc == 0) answered(*n);
            return rc;
        }
    }
    return 0;
}

// The answer of daemon d to one get-next.
uint32_t MibGetNextOf(uint32_t item, Daemon &d, LLDP_INDEX_PARA_S *para, uint16_t *len, void *result) {
    switch (item) {
        case LLDP_ITEM_LOC_MANADDR: return LocalManAddrNext(d, para, len, result);
        case LLDP_ITEM_DOT1_LOC:
        case LLDP_ITEM_DCBX_ADMIN:
        case LLDP_ITEM_DCBX_LOC: return PortRowsNext(item, d, para, len, result);
        case LLDP_ITEM_REM_SUBTABLE: return RemoteSubNext(d, para, len, result);
        case LLDP_ITEM_MANADDR_TX: return ManAddrTxNext(d, para, len, result);
        default:
            *len = 0;
            return LLDP_ERR_BAD_VALUE;
    }
}

}  // namespace

extern "C" uint32_t LLDP_mor_MibGetNext(uint32_t reserved, uint32_t item, uint16_t node, LLDP_INDEX_PARA_S *para,
                                        uint16_t *len, void *result) {
    (void)reserved;
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (para == nullptr || len == nullptr) return LLDP_ERR_BAD_VALUE;
    if (const std::optional<uint16_t> like = testing::hooks::AnswerLikeNode(node)) {
        // A node told to answer like another: that node's answer, altered.
        Daemon *other = DaemonOf(*like);
        if (UpDaemonOf(node) == nullptr || other == nullptr) {
            *len = 0;
            return LLDP_ERR_GENERAL;
        }
        const uint32_t selector = para->selector;
        const uint32_t rc = MibGetNextOf(item, *other, para, len, result);
        if (rc == 0) testing::hooks::AlterResult(node, item, selector, static_cast<uint8_t *>(result), *len);
        return rc;
    }
    Daemon *d = UpDaemonOf(node);
    if (d == nullptr) {
        *len = 0;
        return LLDP_ERR_GENERAL;
    }
    return MibGetNextOf(item, *d, para, len, result);
}
