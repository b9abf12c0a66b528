#include "views.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "values.h"

namespace lldpv2ctl {

namespace {

using namespace oids;

// ---------------------------------------------------------------------------
// Reading helpers

// Index of a remote systems row: time mark, local ifIndex, destination
// address index, remote index (the first four arcs of every remote table).
using RemoteKey = std::vector<unsigned long>;
// (local ifIndex, destination address index).
using PortAgentKey = std::pair<unsigned long, unsigned long>;

RemoteKey RemoteKeyOf(const Oid &index) {
    return RemoteKey(index.begin(), index.begin() + static_cast<long>(std::min<size_t>(4, index.size())));
}

// An OCTET STRING index component (length, then the octets) at pos;
// advances pos. Empty and pos at the end when malformed.
std::string StringIndex(const Oid &index, size_t &pos) {
    if (pos >= index.size()) return {};
    const size_t len = index[pos++];
    if (pos + len > index.size()) {
        pos = index.size();
        return {};
    }
    std::string s;
    for (size_t i = 0; i < len; ++i) s += static_cast<char>(index[pos + i] & 0xFF);
    pos += len;
    return s;
}

Json TruthValue(const std::optional<int64_t> &v) {
    if (!v) return {};
    return Json(*v == 1);
}

Json Number(const std::optional<int64_t> &v) { return v ? Json(static_cast<long long>(*v)) : Json(); }

Json StringList(const std::vector<std::string> &items) {
    Json a = Json::Array();
    for (const std::string &s : items) a.Push(s);
    return a;
}

Json Identifier(const std::optional<int64_t> &subtype, const std::optional<std::string> &id, bool chassis) {
    if (!subtype || !id) return {};
    Json j = Json::Object();
    j.Set("subtype", chassis ? ChassisIdSubtypeName(*subtype) : PortIdSubtypeName(*subtype));
    j.Set("value", chassis ? ChassisIdText(*subtype, *id) : PortIdText(*subtype, *id));
    return j;
}

// Names of the agents by destination address index.
std::map<unsigned long, std::string> ReadAgents(TableReader &reader) {
    std::map<unsigned long, std::string> agents;
    Table t = reader.Read(kDestAddressEntry, {kDestMacAddress});
    for (const auto &[index, row] : t.rows) {
        if (index.size() != 1) continue;
        if (auto mac = row.Bytes(kDestMacAddress)) agents[index[0]] = AgentName(*mac);
    }
    return agents;
}

std::string Agent(const std::map<unsigned long, std::string> &agents, unsigned long destIndex) {
    auto it = agents.find(destIndex);
    return it != agents.end() ? it->second : "agent-" + std::to_string(destIndex);
}

// The local ports: lldpV2LocPortTable, named by IF-MIB ifName where the
// agent serves it, else by a port id that is an interface name, alias or
// local text, else by the ifIndex.
struct LocalPorts {
    struct Port {
        std::string name;
        std::optional<int64_t> idSubtype;
        std::optional<std::string> id;
        std::optional<std::string> description;
    };
    std::map<unsigned long, Port> ports;

    Json Ref(unsigned long ifIndex) const {
        Json j = Json::Object();
        j.Set("ifindex", ifIndex);
        auto it = ports.find(ifIndex);
        j.Set("name", it != ports.end() ? it->second.name : std::to_string(ifIndex));
        return j;
    }
};

LocalPorts ReadLocalPorts(TableReader &reader, const std::set<unsigned long> *only = nullptr) {
    LocalPorts lp;
    Table t = reader.Read(kLocPortEntry, {kLocPortIdSubtype, kLocPortId, kLocPortDesc});
    std::vector<unsigned long> wanted;
    for (const auto &[index, row] : t.rows) {
        if (index.size() != 1) continue;
        LocalPorts::Port p;
        p.idSubtype = row.Number(kLocPortIdSubtype);
        p.id = row.Bytes(kLocPortId);
        p.description = row.Bytes(kLocPortDesc);
        lp.ports[index[0]] = p;
    }
    if (only != nullptr) {
        wanted.assign(only->begin(), only->end());
    } else {
        for (const auto &[ifIndex, p] : lp.ports) wanted.push_back(ifIndex);
    }
    std::vector<Oid> names;
    for (unsigned long ifIndex : wanted) names.push_back(kIfName + ifIndex);
    std::vector<std::optional<VarBind>> ifNames = reader.Get(names);
    for (size_t i = 0; i < wanted.size(); ++i) {
        LocalPorts::Port &p = lp.ports[wanted[i]];
        if (ifNames[i] && ifNames[i]->type == asn::kOctetString && !ifNames[i]->bytes.empty() &&
            IsPrintable(ifNames[i]->bytes)) {
            p.name = ifNames[i]->bytes;
        } else if (p.id && p.idSubtype && (*p.idSubtype == 1 || *p.idSubtype == 5 || *p.idSubtype == 7) &&
                   !p.id->empty() && IsPrintable(*p.id)) {
            p.name = *p.id;
        } else {
            p.name = std::to_string(wanted[i]);
        }
    }
    for (auto &[ifIndex, p] : lp.ports) {
        if (p.name.empty()) p.name = std::to_string(ifIndex);
    }
    return lp;
}

// A management address from (family, address) and the other columns.
Json ManagementAddress(int64_t family, const std::string &address, const std::optional<int64_t> &ifSubtype,
                       const std::optional<int64_t> &ifId, const VarBind *oidColumn) {
    Json a = Json::Object();
    a.Set("family", AddressFamilyName(family));
    a.Set("address", AddressText(family, address));
    if (ifSubtype) {
        Json i = Json::Object();
        i.Set("subtype", ManAddrIfSubtypeName(*ifSubtype));
        i.Set("id", Number(ifId));
        a.Set("interface", i);
    }
    if (oidColumn != nullptr && oidColumn->type == asn::kObjectId && !oidColumn->oid.empty() &&
        oidColumn->oid != Oid{0, 0}) {
        a.Set("oid", OidText(oidColumn->oid));
    }
    return a;
}

// Rows of a remote sub-table grouped by neighbour, with the index arcs
// after the neighbour's four.
template <typename F>
void ForEachRemoteRow(const Table &t, F f) {
    for (const auto &[index, row] : t.rows) {
        if (index.size() < 4) continue;
        Oid rest(index.begin() + 4, index.end());
        f(RemoteKeyOf(index), rest, row);
    }
}

// An array by a one-arc index (priority or traffic class), nulls for gaps.
Json IndexedArray(const std::map<unsigned long, Json> &values) {
    Json a = Json::Array();
    if (values.empty()) return a;
    const unsigned long last = values.rbegin()->first;
    if (last > 64) return a;
    for (unsigned long i = 0; i <= last; ++i) {
        auto it = values.find(i);
        a.Push(it != values.end() ? it->second : Json());
    }
    return a;
}

Json &Child(Json &parent, const std::string &key) {
    if (!parent.Has(key)) parent.Set(key, Json::Object());
    return parent.Get(key);
}

// The 802.1, 802.3 and DCBX data of every neighbour, added to the
// neighbour objects by key.
void ReadDetail(TableReader &reader, std::map<RemoteKey, Json> &neighbours) {
    auto find = [&](const RemoteKey &key) -> Json * {
        auto it = neighbours.find(key);
        return it == neighbours.end() ? nullptr : &it->second;
    };

    // IEEE 802.1
    ForEachRemoteRow(reader.Read(kXdot1RemEntry, {kXdot1RemPortVlanId}), [&](auto key, auto rest, auto &row) {
        Json *n = find(key);
        if (n == nullptr || !rest.empty()) return;
        if (auto v = row.Number(kXdot1RemPortVlanId); v && *v != 0) Child(*n, "dot1").Set("port_vlan", *v);
    });
    ForEachRemoteRow(reader.Read(kXdot1RemProtoVlanEntry, {kXdot1RemProtoVlanSupported, kXdot1RemProtoVlanEnabled}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || rest.size() != 1) return;
                         Json &dot1 = Child(*n, "dot1");
                         if (!dot1.Has("protocol_vlans")) dot1.Set("protocol_vlans", Json::Array());
                         Json p = Json::Object();
                         p.Set("vid", rest[0]);
                         p.Set("supported", TruthValue(row.Number(kXdot1RemProtoVlanSupported)));
                         p.Set("enabled", TruthValue(row.Number(kXdot1RemProtoVlanEnabled)));
                         dot1.Get("protocol_vlans").Push(p);
                     });
    ForEachRemoteRow(reader.Read(kXdot1RemVlanNameEntry, {kXdot1RemVlanName}), [&](auto key, auto rest, auto &row) {
        Json *n = find(key);
        if (n == nullptr || rest.size() != 1) return;
        Json &dot1 = Child(*n, "dot1");
        if (!dot1.Has("vlan_names")) dot1.Set("vlan_names", Json::Array());
        Json v = Json::Object();
        v.Set("vid", rest[0]);
        v.Set("name", TextOrHex(row.Bytes(kXdot1RemVlanName).value_or("")));
        dot1.Get("vlan_names").Push(v);
    });
    // The management VID table is indexed by the local port and agent only:
    // it belongs to every neighbour there.
    {
        Table t = reader.Read(kXdot1RemManVidEntry, {kXdot1RemManVid});
        for (const auto &[index, row] : t.rows) {
            if (index.size() != 3) continue;
            auto vid = row.Number(kXdot1RemManVid);
            if (!vid || *vid == 0) continue;
            for (auto &[key, n] : neighbours) {
                if (key[0] == index[0] && key[1] == index[1] && key[2] == index[2])
                    Child(n, "dot1").Set("management_vid", *vid);
            }
        }
    }
    ForEachRemoteRow(reader.Read(kXdot1RemLinkAggEntry, {kXdot1RemLinkAggStatus, kXdot1RemLinkAggPortId}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || !rest.empty()) return;
                         const std::string bits = row.Bytes(kXdot1RemLinkAggStatus).value_or("");
                         const auto names = BitNames(bits, {"capable", "enabled"});
                         Json la = Json::Object();
                         la.Set("capable", std::find(names.begin(), names.end(), "capable") != names.end());
                         la.Set("enabled", std::find(names.begin(), names.end(), "enabled") != names.end());
                         la.Set("port_id", Number(row.Number(kXdot1RemLinkAggPortId)));
                         Child(*n, "dot1").Set("link_aggregation", la);
                     });

    // IEEE 802.3
    ForEachRemoteRow(reader.Read(kXdot3RemPortEntry, {kXdot3RemAutoNegSupported, kXdot3RemAutoNegEnabled,
                                                      kXdot3RemAutoNegAdvertisedCap, kXdot3RemOperMauType}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || !rest.empty()) return;
                         Json m = Json::Object();
                         m.Set("autoneg_supported", TruthValue(row.Number(kXdot3RemAutoNegSupported)));
                         m.Set("autoneg_enabled", TruthValue(row.Number(kXdot3RemAutoNegEnabled)));
                         std::string cap = Hex(row.Bytes(kXdot3RemAutoNegAdvertisedCap).value_or(""));
                         cap.erase(std::remove(cap.begin(), cap.end(), ':'), cap.end());
                         m.Set("advertised_capabilities", cap);
                         m.Set("mau_type", Number(row.Number(kXdot3RemOperMauType)));
                         Child(*n, "dot3").Set("mac_phy", m);
                     });
    ForEachRemoteRow(reader.Read(kXdot3RemPowerEntry, {kXdot3RemPowerPortClass, kXdot3RemPowerMdiSupported,
                                                       kXdot3RemPowerMdiEnabled, kXdot3RemPowerPairControlable,
                                                       kXdot3RemPowerPairs, kXdot3RemPowerClass}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || !rest.empty()) return;
                         Json p = Json::Object();
                         auto portClass = row.Number(kXdot3RemPowerPortClass);
                         p.Set("port_class", portClass ? Json(PowerPortClassName(*portClass)) : Json());
                         p.Set("mdi_supported", TruthValue(row.Number(kXdot3RemPowerMdiSupported)));
                         p.Set("mdi_enabled", TruthValue(row.Number(kXdot3RemPowerMdiEnabled)));
                         p.Set("pair_control", TruthValue(row.Number(kXdot3RemPowerPairControlable)));
                         p.Set("pairs", Number(row.Number(kXdot3RemPowerPairs)));
                         p.Set("class", Number(row.Number(kXdot3RemPowerClass)));
                         Child(*n, "dot3").Set("power", p);
                     });
    ForEachRemoteRow(reader.Read(kXdot3RemMaxFrameSizeEntry, {kXdot3RemMaxFrameSize}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || !rest.empty()) return;
                         if (auto v = row.Number(kXdot3RemMaxFrameSize))
                             Child(*n, "dot3").Set("max_frame_size", *v);
                     });

    // DCBX: ETS configuration and recommendation, PFC, application priority.
    ForEachRemoteRow(reader.Read(kDcbxRemEtsBasicEntry, {kDcbxRemEtsCbs, kDcbxRemEtsTrafficClasses, kDcbxRemEtsWilling}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || !rest.empty()) return;
                         Json &ets = Child(Child(*n, "dcbx"), "ets");
                         ets.Set("willing", TruthValue(row.Number(kDcbxRemEtsWilling)));
                         ets.Set("cbs", TruthValue(row.Number(kDcbxRemEtsCbs)));
                         ets.Set("traffic_classes", Number(row.Number(kDcbxRemEtsTrafficClasses)));
                     });
    // Per-priority or per-class columns, collected then set as arrays.
    auto indexed = [&](const Oid &entry, unsigned long column, const char *parent, const char *field, bool tsa) {
        std::map<RemoteKey, std::map<unsigned long, Json>> values;
        ForEachRemoteRow(reader.Read(entry, {column}), [&](auto key, auto rest, auto &row) {
            if (rest.size() != 1) return;
            if (auto v = row.Number(column)) values[key][rest[0]] = tsa ? Json(TsaName(*v)) : Json(static_cast<long long>(*v));
        });
        for (auto &[key, v] : values) {
            Json *n = find(key);
            if (n != nullptr) Child(Child(*n, "dcbx"), parent).Set(field, IndexedArray(v));
        }
    };
    indexed(kDcbxRemEtsPriorityEntry, kDcbxRemEtsPriTrafficClass, "ets", "priority_tc", false);
    indexed(kDcbxRemEtsBandwidthEntry, kDcbxRemEtsBandwidth, "ets", "bandwidth", false);
    indexed(kDcbxRemEtsTsaEntry, kDcbxRemEtsTsa, "ets", "tsa", true);
    indexed(kDcbxRemEtsRecoBandwidthEntry, kDcbxRemEtsBandwidth, "ets_recommendation", "bandwidth", false);
    indexed(kDcbxRemEtsRecoTsaEntry, kDcbxRemEtsTsa, "ets_recommendation", "tsa", true);
    ForEachRemoteRow(reader.Read(kDcbxRemPfcBasicEntry, {kDcbxRemPfcWilling, kDcbxRemPfcMbc, kDcbxRemPfcCap}),
                     [&](auto key, auto rest, auto &row) {
                         Json *n = find(key);
                         if (n == nullptr || !rest.empty()) return;
                         Json &pfc = Child(Child(*n, "dcbx"), "pfc");
                         pfc.Set("willing", TruthValue(row.Number(kDcbxRemPfcWilling)));
                         pfc.Set("mbc", TruthValue(row.Number(kDcbxRemPfcMbc)));
                         pfc.Set("cap", Number(row.Number(kDcbxRemPfcCap)));
                         pfc.Set("enabled_priorities", Json::Array());
                     });
    ForEachRemoteRow(reader.Read(kDcbxRemPfcEnableEntry, {kDcbxRemPfcEnableEnabled}), [&](auto key, auto rest, auto &row) {
        Json *n = find(key);
        if (n == nullptr || rest.size() != 1 || row.Number(kDcbxRemPfcEnableEnabled) != 1) return;
        Json &pfc = Child(Child(*n, "dcbx"), "pfc");
        if (!pfc.Has("enabled_priorities")) pfc.Set("enabled_priorities", Json::Array());
        pfc.Get("enabled_priorities").Push(rest[0]);
    });
    ForEachRemoteRow(reader.Read(kDcbxRemAppPriorityEntry, {kDcbxRemAppPriority}), [&](auto key, auto rest, auto &row) {
        Json *n = find(key);
        if (n == nullptr || rest.size() != 2) return;
        Json &dcbx = Child(*n, "dcbx");
        if (!dcbx.Has("applications")) dcbx.Set("applications", Json::Array());
        Json a = Json::Object();
        a.Set("selector", AppSelectorName(static_cast<int64_t>(rest[0])));
        a.Set("protocol", rest[1]);
        a.Set("priority", Number(row.Number(kDcbxRemAppPriority)));
        dcbx.Get("applications").Push(a);
    });
}

std::optional<int64_t> ScalarNumber(const std::optional<VarBind> &vb) {
    if (!vb || vb->type == asn::kOctetString || vb->type == asn::kObjectId) return std::nullopt;
    return vb->number;
}

std::optional<std::string> ScalarBytes(const std::optional<VarBind> &vb) {
    if (!vb || vb->type != asn::kOctetString) return std::nullopt;
    return vb->bytes;
}

// ---------------------------------------------------------------------------
// Text helpers

std::string Str(const Json &j) {
    switch (j.type()) {
        case Json::Type::Null: return "-";
        case Json::Type::Bool: return j.AsBool() ? "yes" : "no";
        case Json::Type::Number: return std::to_string(j.AsInt());
        case Json::Type::String: return j.AsString().empty() ? "-" : j.AsString();
        case Json::Type::Array: {
            std::vector<std::string> parts;
            for (const Json &e : j.Elements()) parts.push_back(Str(e));
            return Join(parts, ",");
        }
        case Json::Type::Object: return "{...}";
    }
    return "";
}

std::string ListOrNone(const Json &j, const std::string &sep = ",") {
    if (j.Size() == 0) return "-";
    std::vector<std::string> parts;
    for (const Json &e : j.Elements()) parts.push_back(Str(e));
    return Join(parts, sep);
}

std::string ShortAgent(const std::string &agent) {
    if (agent == "nearest-bridge") return "bridge";
    if (agent == "nearest-non-tpmr-bridge") return "non-tpmr";
    if (agent == "nearest-customer-bridge") return "customer";
    return agent;
}

std::string IdentifierText(const Json &id) {
    if (id.IsNull()) return "-";
    return id["value"].AsString();
}

std::string AddressList(const Json &addresses) {
    std::vector<std::string> parts;
    for (const Json &a : addresses.Elements()) parts.push_back(a["address"].AsString());
    return parts.empty() ? "-" : Join(parts, ",");
}

std::string AddressDetail(const Json &a) {
    std::string s = a["address"].AsString() + " (" + a["family"].AsString();
    const Json &i = a["interface"];
    if (!i.IsNull()) s += ", " + i["subtype"].AsString() + " " + Str(i["id"]);
    if (a.Has("oid")) s += ", oid " + a["oid"].AsString();
    return s + ")";
}

void Line(std::string &out, int indent, const std::string &label, const std::string &value) {
    out.append(static_cast<size_t>(indent), ' ');
    out += label.empty() ? " " : label + ":";
    const size_t width = 24;
    const size_t used = static_cast<size_t>(indent) + label.size() + 1;
    if (!value.empty()) out.append(used < width ? width - used : 1, ' ');
    out += value + "\n";
}

// An application's protocol: an EtherType in hex, a port in decimal.
std::string ProtocolText(const Json &app) {
    if (app["selector"].AsString() != "ethertype") return Str(app["protocol"]);
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%04llx", static_cast<unsigned long long>(app["protocol"].AsInt()));
    return buf;
}

std::string YesNo(const Json &j) { return j.IsNull() ? "-" : (j.AsBool() ? "yes" : "no"); }

}  // namespace

// ---------------------------------------------------------------------------

TextTable::TextTable(std::vector<std::string> headers, std::vector<bool> numeric)
    : headers_(std::move(headers)), numeric_(std::move(numeric)) {
    numeric_.resize(headers_.size(), false);
}

void TextTable::Add(std::vector<std::string> row) {
    row.resize(headers_.size());
    rows_.push_back(std::move(row));
}

std::string TextTable::Render() const {
    std::vector<size_t> widths(headers_.size());
    for (size_t c = 0; c < headers_.size(); ++c) {
        widths[c] = headers_[c].size();
        for (const auto &r : rows_) widths[c] = std::max(widths[c], r[c].size());
    }
    std::string out;
    auto emit = [&](const std::vector<std::string> &cells) {
        std::string line;
        for (size_t c = 0; c < cells.size(); ++c) {
            const size_t pad = widths[c] - cells[c].size();
            if (numeric_[c]) line.append(pad, ' ');
            line += cells[c];
            if (!numeric_[c] && c + 1 < cells.size()) line.append(pad, ' ');
            if (c + 1 < cells.size()) line += "  ";
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        out += line + "\n";
    };
    emit(headers_);
    for (const auto &r : rows_) emit(r);
    return out;
}

Support CheckSupport(TableReader &reader) {
    auto firstAfter = [&](const Oid &subtree) {
        Response r = reader.transport().V1() ? reader.transport().GetNext({subtree})
                                             : reader.transport().GetBulk({subtree}, 1);
        return r.errorStatus == 0 && !r.varbinds.empty() && !r.varbinds[0].IsException() &&
               StartsWith(r.varbinds[0].name, subtree);
    };
    if (firstAfter(kLldpV2Objects)) return Support::Served;
    return firstAfter(kLldpV1Mib) ? Support::ServesV1Only : Support::NotServed;
}

Json ReadNeighbors(TableReader &reader, bool detail) {
    const auto agents = ReadAgents(reader);
    Table rem = reader.Read(kRemEntry, {kRemChassisIdSubtype, kRemChassisId, kRemPortIdSubtype, kRemPortId,
                                        kRemPortDesc, kRemSysName, kRemSysDesc, kRemSysCapSupported,
                                        kRemSysCapEnabled, kRemRemoteChanges, kRemTooManyNeighbors});
    Table man = reader.Read(kRemManAddrEntry, {kRemManAddrIfSubtype, kRemManAddrIfId, kRemManAddrOid});

    std::set<unsigned long> localIfIndexes;
    for (const auto &[index, row] : rem.rows) {
        if (index.size() == 4) localIfIndexes.insert(index[1]);
    }
    const LocalPorts ports = ReadLocalPorts(reader, &localIfIndexes);

    std::map<RemoteKey, Json> neighbours;
    for (const auto &[index, row] : rem.rows) {
        if (index.size() != 4) continue;
        Json n = Json::Object();
        n.Set("local_port", ports.Ref(index[1]));
        n.Set("agent", Agent(agents, index[2]));
        n.Set("remote_index", index[3]);
        n.Set("time_mark", index[0]);
        n.Set("chassis_id", Identifier(row.Number(kRemChassisIdSubtype), row.Bytes(kRemChassisId), true));
        n.Set("port_id", Identifier(row.Number(kRemPortIdSubtype), row.Bytes(kRemPortId), false));
        n.Set("port_description", row.Bytes(kRemPortDesc) ? Json(TextOrHex(*row.Bytes(kRemPortDesc))) : Json());
        n.Set("system_name", row.Bytes(kRemSysName) ? Json(TextOrHex(*row.Bytes(kRemSysName))) : Json());
        n.Set("system_description", row.Bytes(kRemSysDesc) ? Json(TextOrHex(*row.Bytes(kRemSysDesc))) : Json());
        Json caps = Json::Object();
        caps.Set("supported", StringList(CapabilityNames(row.Bytes(kRemSysCapSupported).value_or(""))));
        caps.Set("enabled", StringList(CapabilityNames(row.Bytes(kRemSysCapEnabled).value_or(""))));
        n.Set("capabilities", caps);
        n.Set("management_addresses", Json::Array());
        n.Set("remote_changes", TruthValue(row.Number(kRemRemoteChanges)));
        n.Set("too_many_neighbors", TruthValue(row.Number(kRemTooManyNeighbors)));
        neighbours[RemoteKeyOf(index)] = std::move(n);
    }
    ForEachRemoteRow(man, [&](auto key, auto rest, auto &row) {
        auto it = neighbours.find(key);
        if (it == neighbours.end() || rest.empty()) return;
        size_t pos = 1;
        const std::string address = StringIndex(rest, pos);
        Json a = ManagementAddress(static_cast<int64_t>(rest[0]), address, row.Number(kRemManAddrIfSubtype),
                                   row.Number(kRemManAddrIfId), row.Column(kRemManAddrOid));
        it->second.Get("management_addresses").Push(a);
    });
    if (detail) ReadDetail(reader, neighbours);

    // Ordered by local port, agent and remote index, as an operator reads them.
    std::vector<std::pair<RemoteKey, Json *>> order;
    for (auto &[key, n] : neighbours) order.emplace_back(key, &n);
    std::sort(order.begin(), order.end(), [](const auto &a, const auto &b) {
        return std::tie(a.first[1], a.first[2], a.first[3], a.first[0]) <
               std::tie(b.first[1], b.first[2], b.first[3], b.first[0]);
    });
    Json list = Json::Array();
    for (auto &[key, n] : order) list.Push(std::move(*n));
    Json doc = Json::Object();
    doc.Set("neighbors", list);
    return doc;
}

Json ReadStatistics(TableReader &reader) {
    auto s = reader.Scalars(kStatistics, {stats::kLastChangeTime, stats::kInserts, stats::kDeletes, stats::kDrops,
                                          stats::kAgeouts});
    Json remote = Json::Object();
    remote.Set("last_change_time", Number(ScalarNumber(s[0])));
    remote.Set("inserts", Number(ScalarNumber(s[1])));
    remote.Set("deletes", Number(ScalarNumber(s[2])));
    remote.Set("drops", Number(ScalarNumber(s[3])));
    remote.Set("ageouts", Number(ScalarNumber(s[4])));

    const auto agents = ReadAgents(reader);
    Table tx = reader.Read(kStatsTxPortEntry, {kStatsTxFramesTotal, kStatsTxLengthErrors});
    Table rx = reader.Read(kStatsRxPortEntry, {kStatsRxFramesDiscarded, kStatsRxFramesErrors, kStatsRxFramesTotal,
                                               kStatsRxTLVsDiscarded, kStatsRxTLVsUnrecognized, kStatsRxAgeouts});
    std::set<PortAgentKey> keys;
    for (const auto &[index, row] : tx.rows)
        if (index.size() == 2) keys.insert({index[0], index[1]});
    for (const auto &[index, row] : rx.rows)
        if (index.size() == 2) keys.insert({index[0], index[1]});
    std::set<unsigned long> ifIndexes;
    for (const auto &k : keys) ifIndexes.insert(k.first);
    const LocalPorts ports = ReadLocalPorts(reader, &ifIndexes);

    Json list = Json::Array();
    for (const auto &[ifIndex, dest] : keys) {
        Json p = Json::Object();
        p.Set("local_port", ports.Ref(ifIndex));
        p.Set("agent", Agent(agents, dest));
        const Oid index = {ifIndex, dest};
        Json t = Json::Object();
        if (auto it = tx.rows.find(index); it != tx.rows.end()) {
            t.Set("frames", Number(it->second.Number(kStatsTxFramesTotal)));
            t.Set("length_errors", Number(it->second.Number(kStatsTxLengthErrors)));
        }
        Json r = Json::Object();
        if (auto it = rx.rows.find(index); it != rx.rows.end()) {
            r.Set("frames", Number(it->second.Number(kStatsRxFramesTotal)));
            r.Set("frames_discarded", Number(it->second.Number(kStatsRxFramesDiscarded)));
            r.Set("frames_errors", Number(it->second.Number(kStatsRxFramesErrors)));
            r.Set("tlvs_discarded", Number(it->second.Number(kStatsRxTLVsDiscarded)));
            r.Set("tlvs_unrecognized", Number(it->second.Number(kStatsRxTLVsUnrecognized)));
            r.Set("ageouts", Number(it->second.Number(kStatsRxAgeouts)));
        }
        p.Set("tx", t);
        p.Set("rx", r);
        list.Push(p);
    }
    Json doc = Json::Object();
    doc.Set("remote_tables", remote);
    doc.Set("ports", list);
    return doc;
}

Json ReadLocal(TableReader &reader) {
    auto s = reader.Scalars(kLocalSystemData, {loc::kChassisIdSubtype, loc::kChassisId, loc::kSysName, loc::kSysDesc,
                                               loc::kSysCapSupported, loc::kSysCapEnabled});
    Json system = Json::Object();
    system.Set("chassis_id", Identifier(ScalarNumber(s[0]), ScalarBytes(s[1]), true));
    system.Set("system_name", ScalarBytes(s[2]) ? Json(TextOrHex(*ScalarBytes(s[2]))) : Json());
    system.Set("system_description", ScalarBytes(s[3]) ? Json(TextOrHex(*ScalarBytes(s[3]))) : Json());
    Json caps = Json::Object();
    caps.Set("supported", StringList(CapabilityNames(ScalarBytes(s[4]).value_or(""))));
    caps.Set("enabled", StringList(CapabilityNames(ScalarBytes(s[5]).value_or(""))));
    system.Set("capabilities", caps);

    Table man = reader.Read(kLocManAddrEntry, {kLocManAddrIfSubtype, kLocManAddrIfId, kLocManAddrOid});
    Json addresses = Json::Array();
    for (const auto &[index, row] : man.rows) {
        if (index.empty()) continue;
        size_t pos = 1;
        const std::string address = StringIndex(index, pos);
        addresses.Push(ManagementAddress(static_cast<int64_t>(index[0]), address, row.Number(kLocManAddrIfSubtype),
                                         row.Number(kLocManAddrIfId), row.Column(kLocManAddrOid)));
    }
    system.Set("management_addresses", addresses);

    const LocalPorts ports = ReadLocalPorts(reader);
    Json list = Json::Array();
    for (const auto &[ifIndex, p] : ports.ports) {
        Json j = Json::Object();
        j.Set("ifindex", ifIndex);
        j.Set("name", p.name);
        j.Set("port_id", Identifier(p.idSubtype, p.id, false));
        j.Set("description", p.description ? Json(TextOrHex(*p.description)) : Json());
        list.Push(j);
    }
    Json doc = Json::Object();
    doc.Set("system", system);
    doc.Set("ports", list);
    return doc;
}

Json ReadConfig(TableReader &reader) {
    auto s = reader.Scalars(kConfiguration, {cfg::kTxInterval, cfg::kTxHoldMultiplier, cfg::kReinitDelay,
                                             cfg::kNotificationInterval, cfg::kTxCreditMax, cfg::kMessageFastTx,
                                             cfg::kTxFastInit});
    Json global = Json::Object();
    const char *names[] = {"tx_interval",   "tx_hold_multiplier", "reinit_delay", "notification_interval",
                           "tx_credit_max", "message_fast_tx",    "tx_fast_init"};
    for (size_t i = 0; i < s.size(); ++i) global.Set(names[i], Number(ScalarNumber(s[i])));

    const auto agents = ReadAgents(reader);
    Table pc = reader.Read(kPortConfigEntry, {kPortConfigAdminStatus, kPortConfigNotificationEnable,
                                              kPortConfigTLVsTxEnable});
    // Switches of the extensions that augment the port configuration rows.
    Table dot1 = reader.Read(kXdot1ConfigPortVlanEntry, {kXdot1ConfigTxEnable});
    Table dot3 = reader.Read(kXdot3PortConfigEntry, {kXdot3PortConfigTLVsTxEnable});
    const std::pair<const char *, Table> dcbx[] = {
        {"ets-configuration", reader.Read(kDcbxConfigEtsConfigurationEntry, {kDcbxConfigTxEnable})},
        {"ets-recommendation", reader.Read(kDcbxConfigEtsRecommendationEntry, {kDcbxConfigTxEnable})},
        {"pfc", reader.Read(kDcbxConfigPfcEntry, {kDcbxConfigTxEnable})},
        {"application-priority", reader.Read(kDcbxConfigAppPriorityEntry, {kDcbxConfigTxEnable})},
    };
    Table manTx = reader.Read(kManAddrConfigTxPortsEntry, {kManAddrConfigTxEnable});
    std::map<PortAgentKey, std::vector<std::string>> manAddresses;
    for (const auto &[index, row] : manTx.rows) {
        if (index.size() < 4 || row.Number(kManAddrConfigTxEnable) != 1) continue;
        size_t pos = 3;
        const std::string address = StringIndex(index, pos);
        manAddresses[{index[0], index[1]}].push_back(AddressText(static_cast<int64_t>(index[2]), address));
    }
    // Per-port 802.1 switches (by VLAN, protocol VLAN, management VID).
    Table vlanNames = reader.Read(kXdot1ConfigVlanNameEntry, {kXdot1ConfigTxEnable});
    Table protoVlans = reader.Read(kXdot1ConfigProtoVlanEntry, {kXdot1ConfigTxEnable});
    Table manVid = reader.Read(kXdot1ConfigManVidEntry, {kXdot1ConfigTxEnable});

    std::set<unsigned long> ifIndexes;
    for (const auto &[index, row] : pc.rows)
        if (!index.empty()) ifIndexes.insert(index[0]);
    for (const Table *t : {&vlanNames, &protoVlans, &manVid})
        for (const auto &[index, row] : t->rows)
            if (!index.empty()) ifIndexes.insert(index[0]);
    const LocalPorts ports = ReadLocalPorts(reader, &ifIndexes);

    Json list = Json::Array();
    for (const auto &[index, row] : pc.rows) {
        if (index.size() != 2) continue;
        Json p = Json::Object();
        p.Set("local_port", ports.Ref(index[0]));
        p.Set("agent", Agent(agents, index[1]));
        auto admin = row.Number(kPortConfigAdminStatus);
        p.Set("admin_status", admin ? Json(AdminStatusName(*admin)) : Json());
        p.Set("notification", TruthValue(row.Number(kPortConfigNotificationEnable)));
        std::vector<std::string> tlvs =
            BitNames(row.Bytes(kPortConfigTLVsTxEnable).value_or(""), {"port-desc", "sys-name", "sys-desc", "sys-cap"});
        if (auto it = dot1.rows.find(index); it != dot1.rows.end() && it->second.Number(kXdot1ConfigTxEnable) == 1)
            tlvs.push_back("port-vlan");
        if (auto it = dot3.rows.find(index); it != dot3.rows.end()) {
            for (const std::string &n : BitNames(it->second.Bytes(kXdot3PortConfigTLVsTxEnable).value_or(""),
                                                 {"mac-phy", "power", "bit-2", "max-frame"}))
                tlvs.push_back(n);
        }
        for (const auto &[name, table] : dcbx) {
            if (auto it = table.rows.find(index); it != table.rows.end() && it->second.Number(kDcbxConfigTxEnable) == 1)
                tlvs.push_back(name);
        }
        p.Set("tlvs", StringList(tlvs));
        p.Set("management_addresses", StringList(manAddresses[{index[0], index[1]}]));
        list.Push(p);
    }

    // The 802.1 VLAN switches per port.
    std::map<unsigned long, Json> vlanPorts;
    auto vlanPort = [&](unsigned long ifIndex) -> Json & {
        auto it = vlanPorts.find(ifIndex);
        if (it != vlanPorts.end()) return it->second;
        Json j = Json::Object();
        j.Set("local_port", ports.Ref(ifIndex));
        j.Set("vlan_names", Json::Array());
        j.Set("protocol_vlans", Json::Array());
        j.Set("management_vid", Json());
        return vlanPorts.emplace(ifIndex, std::move(j)).first->second;
    };
    for (const auto &[index, row] : vlanNames.rows) {
        if (index.size() != 2) continue;
        Json &j = vlanPort(index[0]);
        if (row.Number(kXdot1ConfigTxEnable) == 1) j.Get("vlan_names").Push(index[1]);
    }
    for (const auto &[index, row] : protoVlans.rows) {
        if (index.size() != 2) continue;
        Json &j = vlanPort(index[0]);
        if (row.Number(kXdot1ConfigTxEnable) == 1) j.Get("protocol_vlans").Push(index[1]);
    }
    for (const auto &[index, row] : manVid.rows) {
        if (index.size() != 1) continue;
        vlanPort(index[0]).Set("management_vid", TruthValue(row.Number(kXdot1ConfigTxEnable)));
    }
    Json vlanList = Json::Array();
    for (auto &[ifIndex, j] : vlanPorts) vlanList.Push(std::move(j));

    Json doc = Json::Object();
    doc.Set("global", global);
    doc.Set("ports", list);
    doc.Set("vlan_tlvs", vlanList);
    return doc;
}

// ---------------------------------------------------------------------------

std::string NeighborsText(const Json &doc, bool detail) {
    const Json &list = doc["neighbors"];
    std::string out;
    if (!detail) {
        TextTable t({"LOCAL PORT", "AGENT", "CHASSIS ID", "PORT ID", "SYSTEM NAME", "CAPABILITIES", "MANAGEMENT"});
        for (const Json &n : list.Elements()) {
            t.Add({n["local_port"]["name"].AsString(), ShortAgent(n["agent"].AsString()), IdentifierText(n["chassis_id"]),
                   IdentifierText(n["port_id"]), Str(n["system_name"]), ListOrNone(n["capabilities"]["enabled"]),
                   AddressList(n["management_addresses"])});
        }
        out = t.Render();
    } else {
        for (const Json &n : list.Elements()) {
            out += n["local_port"]["name"].AsString() + " (ifIndex " + Str(n["local_port"]["ifindex"]) + "), " +
                   n["agent"].AsString() + ", remote index " + Str(n["remote_index"]) + "\n";
            const Json &c = n["chassis_id"], &p = n["port_id"];
            Line(out, 2, "chassis id", c.IsNull() ? "-" : c["value"].AsString() + " (" + c["subtype"].AsString() + ")");
            Line(out, 2, "port id", p.IsNull() ? "-" : p["value"].AsString() + " (" + p["subtype"].AsString() + ")");
            Line(out, 2, "port description", Str(n["port_description"]));
            Line(out, 2, "system name", Str(n["system_name"]));
            Line(out, 2, "system description", Str(n["system_description"]));
            Line(out, 2, "capabilities", ListOrNone(n["capabilities"]["enabled"], ", ") + " (supported: " +
                                             ListOrNone(n["capabilities"]["supported"], ", ") + ")");
            const Json &addresses = n["management_addresses"];
            if (addresses.Size() == 0) Line(out, 2, "management", "-");
            for (size_t i = 0; i < addresses.Size(); ++i)
                Line(out, 2, i == 0 ? "management" : "", AddressDetail(addresses.Elements()[i]));
            if (const Json &d = n["dot1"]; !d.IsNull()) {
                out += "  IEEE 802.1\n";
                if (d.Has("port_vlan")) Line(out, 4, "port VLAN", Str(d["port_vlan"]));
                if (d.Has("vlan_names")) {
                    std::vector<std::string> parts;
                    for (const Json &v : d["vlan_names"].Elements()) parts.push_back(Str(v["vid"]) + " " + v["name"].AsString());
                    Line(out, 4, "VLAN names", Join(parts, ", "));
                }
                if (d.Has("protocol_vlans")) {
                    std::vector<std::string> parts;
                    for (const Json &v : d["protocol_vlans"].Elements())
                        parts.push_back(Str(v["vid"]) + " (supported " + YesNo(v["supported"]) + ", enabled " +
                                        YesNo(v["enabled"]) + ")");
                    Line(out, 4, "protocol VLANs", Join(parts, ", "));
                }
                if (d.Has("management_vid")) Line(out, 4, "management VID", Str(d["management_vid"]));
                if (const Json &la = d["link_aggregation"]; !la.IsNull())
                    Line(out, 4, "link aggregation", "capable " + YesNo(la["capable"]) + ", enabled " +
                                                         YesNo(la["enabled"]) + ", port " + Str(la["port_id"]));
            }
            if (const Json &d = n["dot3"]; !d.IsNull()) {
                out += "  IEEE 802.3\n";
                if (const Json &m = d["mac_phy"]; !m.IsNull())
                    Line(out, 4, "MAC/PHY", "autoneg supported " + YesNo(m["autoneg_supported"]) + ", enabled " +
                                                YesNo(m["autoneg_enabled"]) + ", advertised " +
                                                Str(m["advertised_capabilities"]) + ", MAU type " + Str(m["mau_type"]));
                if (const Json &pw = d["power"]; !pw.IsNull())
                    Line(out, 4, "power", Str(pw["port_class"]) + ", MDI supported " + YesNo(pw["mdi_supported"]) +
                                              ", enabled " + YesNo(pw["mdi_enabled"]) + ", pair control " +
                                              YesNo(pw["pair_control"]) + ", pairs " + Str(pw["pairs"]) + ", class " +
                                              Str(pw["class"]));
                if (d.Has("max_frame_size")) Line(out, 4, "max frame size", Str(d["max_frame_size"]));
            }
            if (const Json &d = n["dcbx"]; !d.IsNull()) {
                out += "  DCBX\n";
                if (const Json &e = d["ets"]; !e.IsNull()) {
                    Line(out, 4, "ETS", "willing " + YesNo(e["willing"]) + ", CBS " + YesNo(e["cbs"]) +
                                            ", traffic classes " + Str(e["traffic_classes"]));
                    if (e.Has("priority_tc")) Line(out, 6, "priority TC", Str(e["priority_tc"]));
                    if (e.Has("bandwidth")) Line(out, 6, "bandwidth %", Str(e["bandwidth"]));
                    if (e.Has("tsa")) Line(out, 6, "TSA", Str(e["tsa"]));
                }
                if (const Json &e = d["ets_recommendation"]; !e.IsNull()) {
                    Line(out, 4, "ETS recommendation", "");
                    if (e.Has("bandwidth")) Line(out, 6, "bandwidth %", Str(e["bandwidth"]));
                    if (e.Has("tsa")) Line(out, 6, "TSA", Str(e["tsa"]));
                }
                if (const Json &f = d["pfc"]; !f.IsNull())
                    Line(out, 4, "PFC", "willing " + YesNo(f["willing"]) + ", MBC " + YesNo(f["mbc"]) + ", cap " +
                                            Str(f["cap"]) + ", enabled on " + ListOrNone(f["enabled_priorities"]));
                if (const Json &a = d["applications"]; !a.IsNull()) {
                    std::vector<std::string> parts;
                    for (const Json &app : a.Elements())
                        parts.push_back(app["selector"].AsString() + " " + ProtocolText(app) + " -> priority " +
                                        Str(app["priority"]));
                    Line(out, 4, "applications", Join(parts, "; "));
                }
            }
            out += "\n";
        }
    }
    out += std::to_string(list.Size()) + (list.Size() == 1 ? " neighbour\n" : " neighbours\n");
    return out;
}

std::string StatisticsText(const Json &doc) {
    const Json &r = doc["remote_tables"];
    std::string out = "remote tables: inserts " + Str(r["inserts"]) + ", deletes " + Str(r["deletes"]) + ", drops " +
                      Str(r["drops"]) + ", ageouts " + Str(r["ageouts"]) + ", last change at " +
                      (r["last_change_time"].IsNull() ? "-" : TimeTicksText(r["last_change_time"].AsInt())) + "\n\n";
    TextTable t({"LOCAL PORT", "AGENT", "TX FRAMES", "TX LEN ERR", "RX FRAMES", "RX DISCARD", "RX ERRORS",
                 "TLV DISCARD", "TLV UNKNOWN", "AGEOUTS"},
                {false, false, true, true, true, true, true, true, true, true});
    for (const Json &p : doc["ports"].Elements()) {
        const Json &tx = p["tx"], &rx = p["rx"];
        t.Add({p["local_port"]["name"].AsString(), ShortAgent(p["agent"].AsString()), Str(tx["frames"]),
               Str(tx["length_errors"]), Str(rx["frames"]), Str(rx["frames_discarded"]), Str(rx["frames_errors"]),
               Str(rx["tlvs_discarded"]), Str(rx["tlvs_unrecognized"]), Str(rx["ageouts"])});
    }
    return out + t.Render();
}

std::string LocalText(const Json &doc) {
    const Json &s = doc["system"];
    std::string out;
    const Json &c = s["chassis_id"];
    Line(out, 0, "chassis id", c.IsNull() ? "-" : c["value"].AsString() + " (" + c["subtype"].AsString() + ")");
    Line(out, 0, "system name", Str(s["system_name"]));
    Line(out, 0, "system description", Str(s["system_description"]));
    Line(out, 0, "capabilities", ListOrNone(s["capabilities"]["enabled"], ", ") + " (supported: " +
                                     ListOrNone(s["capabilities"]["supported"], ", ") + ")");
    const Json &addresses = s["management_addresses"];
    if (addresses.Size() == 0) Line(out, 0, "management", "-");
    for (size_t i = 0; i < addresses.Size(); ++i)
        Line(out, 0, i == 0 ? "management" : "", AddressDetail(addresses.Elements()[i]));
    out += "\n";
    TextTable t({"IFINDEX", "NAME", "PORT ID", "SUBTYPE", "DESCRIPTION"}, {true, false, false, false, false});
    for (const Json &p : doc["ports"].Elements()) {
        t.Add({Str(p["ifindex"]), p["name"].AsString(), IdentifierText(p["port_id"]),
               p["port_id"].IsNull() ? "-" : p["port_id"]["subtype"].AsString(), Str(p["description"])});
    }
    return out + t.Render();
}

std::string ConfigText(const Json &doc) {
    const Json &g = doc["global"];
    std::string out;
    Line(out, 0, "tx interval", Str(g["tx_interval"]) + " s");
    Line(out, 0, "tx hold multiplier", Str(g["tx_hold_multiplier"]));
    Line(out, 0, "reinit delay", Str(g["reinit_delay"]) + " s");
    Line(out, 0, "notification interval", Str(g["notification_interval"]) + " s");
    Line(out, 0, "tx credit max", Str(g["tx_credit_max"]));
    Line(out, 0, "fast tx interval", Str(g["message_fast_tx"]) + " s");
    Line(out, 0, "tx fast init", Str(g["tx_fast_init"]));
    out += "\n";
    TextTable t({"LOCAL PORT", "AGENT", "ADMIN", "NOTIFY", "MANAGEMENT", "TLVS"});
    for (const Json &p : doc["ports"].Elements()) {
        t.Add({p["local_port"]["name"].AsString(), ShortAgent(p["agent"].AsString()), Str(p["admin_status"]),
               YesNo(p["notification"]), ListOrNone(p["management_addresses"]), ListOrNone(p["tlvs"])});
    }
    out += t.Render();
    if (doc["vlan_tlvs"].Size() > 0) {
        out += "\n";
        TextTable v({"LOCAL PORT", "VLAN NAMES", "PROTOCOL VLANS", "MANAGEMENT VID"});
        for (const Json &p : doc["vlan_tlvs"].Elements()) {
            v.Add({p["local_port"]["name"].AsString(), ListOrNone(p["vlan_names"]), ListOrNone(p["protocol_vlans"]),
                   YesNo(p["management_vid"])});
        }
        out += v.Render();
    }
    return out;
}

}  // namespace lldpv2ctl
