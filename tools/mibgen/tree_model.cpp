#include "tree_model.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>

#include "mib_source.h"
#include "smi_api.h"

namespace mibgen {
namespace {

// ---------------------------------------------------------------------------
// What the three trees hold.

const TreeLayout kLayouts[] = {
    {"lldpv2_tree", "LLDPV2-MIB", {"LLDP-V2-TC-MIB", "LLDP-V2-MIB"}},
    {"lldpv2_dot1_tree", "LLDPV2-EXT-DOT1-MIB", {"LLDP-V2-TC-MIB", "LLDP-V2-MIB", "LLDP-EXT-DOT1-V2-MIB"}},
    {"lldpv2_dot3_tree", "LLDPV2-EXT-DOT3-MIB", {"LLDP-V2-TC-MIB", "LLDP-V2-MIB", "LLDP-EXT-DOT3-V2-MIB"}},
};

// Objects of other modules that every tree carries, with the path to them:
// the interface index that the port tables are indexed by, and snmpTraps,
// the notification root of SNMPv2-MIB.
struct Borrowed {
    const char *module;
    const char *name;
    uint32_t morId;
};
const Borrowed kBorrowed[] = {
    {"IF-MIB", "ifIndex", 0x01080201u},
    {"SNMPv2-MIB", "snmpTraps", 0},
};

// Module part of every MOR id of the LLDP objects.
constexpr uint32_t kMorModule = 0x02320000u;

// Table ids: the entry or scalar group whose columns or scalars carry them.
struct TableId {
    std::string owner;
    uint32_t id;
};

std::vector<TableId> TableIds() {
    std::vector<TableId> ids = {
        {"lldpV2Configuration", 2},
        {"lldpV2PortConfigEntry", 3},
        {"lldpV2DestAddressTableEntry", 4},
        {"lldpV2ManAddrConfigTxPortsEntry", 5},
        {"lldpV2Statistics", 6},
        {"lldpV2StatsTxPortEntry", 7},
        {"lldpV2StatsRxPortEntry", 8},
        {"lldpV2LocalSystemData", 9},
        {"lldpV2LocPortEntry", 10},
        {"lldpV2LocManAddrEntry", 11},
        {"lldpV2RemEntry", 12},
        {"lldpV2RemManAddrEntry", 13},
        {"lldpV2RemUnknownTLVEntry", 14},
        {"lldpV2RemOrgDefInfoEntry", 15},
        {"lldpV2Xdot1ConfigPortVlanEntry", 21},
        {"lldpV2Xdot1ConfigVlanNameEntry", 22},
        {"lldpV2Xdot1ConfigProtoVlanEntry", 23},
        {"lldpV2Xdot1ConfigProtocolEntry", 24},
        {"lldpV2Xdot1ConfigVidUsageDigestEntry", 25},
        {"lldpV2Xdot1ConfigManVidEntry", 26},
        {"lldpV2Xdot1LocEntry", 27},
        {"lldpV2Xdot1LocProtoVlanEntry", 28},
        {"lldpV2Xdot1LocVlanNameEntry", 29},
        {"lldpV2Xdot1LocProtocolEntry", 30},
        {"lldpV2Xdot1LocVidUsageDigestEntry", 31},
        {"lldpV2Xdot1LocManVidEntry", 32},
        {"lldpV2Xdot1LocLinkAggEntry", 33},
        {"lldpV2Xdot1RemEntry", 34},
        {"lldpV2Xdot1RemProtoVlanEntry", 35},
        {"lldpV2Xdot1RemVlanNameEntry", 36},
        {"lldpV2Xdot1RemProtocolEntry", 37},
        {"lldpV2Xdot1RemVidUsageDigestEntry", 38},
        {"lldpV2Xdot1RemManVidEntry", 39},
        {"lldpV2Xdot1RemLinkAggEntry", 40},
        {"lldpXdot1dcbxConfigETSConfigurationEntry", 44},
        {"lldpXdot1dcbxConfigETSRecommendationEntry", 45},
        {"lldpXdot1dcbxConfigPFCEntry", 46},
        {"lldpXdot1dcbxConfigApplicationPriorityEntry", 47},
        {"lldpV2Xdot3PortConfigEntry", 75},
        {"lldpV2Xdot3LocPortEntry", 76},
        {"lldpV2Xdot3LocPowerEntry", 77},
        {"lldpV2Xdot3LocMaxFrameSizeEntry", 78},
        {"lldpV2Xdot3RemPortEntry", 79},
        {"lldpV2Xdot3RemPowerEntry", 80},
        {"lldpV2Xdot3RemMaxFrameSizeEntry", 81},
    };
    // The DCBX local, remote and administrative tables: the same nine
    // entries in each group, ids 48..56, 57..65 and 66..74.
    const char *const groups[] = {"Loc", "Rem", "Admin"};
    const char *const entries[] = {
        "ETSBasicConfiguration",         "ETSConPriorityAssignment",        "ETSConTrafficClassBandwidth",
        "ETSConTrafficSelectionAlgorithm", "ETSRecoTrafficClassBandwidth", "ETSRecoTrafficSelectionAlgorithm",
        "PFCBasic",                      "PFCEnable",                       "ApplicationPriorityApp",
    };
    uint32_t id = 48;
    for (const char *group : groups) {
        for (const char *entry : entries) {
            ids.push_back({std::string("lldpXdot1dcbx") + group + entry + "Entry", id++});
        }
    }
    return ids;
}

// Subtrees that are present as nodes but never served: their leaves carry
// no MOR id.
const char *const kUnserved[] = {"lldpXdot1CnMIB"};

// Named-value lists that the trees carry narrower than the module that
// defines them. The management-address subtypes offered are the address
// families up to gwid(24) and reserved(65535); later additions to the IANA
// registry are not taken into the trees.
struct LabelSet {
    const char *type;
    std::vector<Range> keep;
};
const LabelSet kLabelSets[] = {
    {"AddressFamilyNumbers", {{0, 24}, {65535, 65535}}},
};

// Types whose base syntax the trees state differently from the module text.
// VLAN ids keep the INTEGER base syntax of their first definition; the
// Q-BRIDGE-MIB revision at hand restates VlanId as Integer32 with the same
// range.
struct SyntaxOverride {
    const char *type;
    uint32_t code;
};
const SyntaxOverride kSyntaxOverrides[] = {
    {"VlanId", kInteger},
};

// ---------------------------------------------------------------------------

[[noreturn]] void Fail(const std::string &what) { throw std::runtime_error(what); }

std::string SmiName(const char *s) { return s != nullptr ? s : ""; }

Oid NodeOid(const SmiNode *n) { return Oid(n->oid, n->oid + n->oidlen); }

std::string ModuleName(SmiNode *n) {
    SmiModule *m = smiGetNodeModule(n);
    return m != nullptr ? SmiName(m->name) : "";
}

bool IsSmiBaseType(SmiType *t) {
    SmiModule *m = smiGetTypeModule(t);
    const std::string mod = m != nullptr ? SmiName(m->name) : "";
    return mod.empty() || mod == "SNMPv2-SMI";
}

std::vector<SmiType *> TypeChain(SmiNode *n) {
    std::vector<SmiType *> chain;
    for (SmiType *t = smiGetNodeType(n); t != nullptr; t = smiGetParentType(t)) chain.push_back(t);
    return chain;
}

int64_t SmiNumber(const SmiValue &v) {
    switch (v.basetype) {
        case SMI_BASETYPE_INTEGER32:
        case SMI_BASETYPE_ENUM:
            return v.value.integer32;
        case SMI_BASETYPE_UNSIGNED32:
            return v.value.unsigned32;
        case SMI_BASETYPE_INTEGER64:
            return v.value.integer64;
        case SMI_BASETYPE_UNSIGNED64:
            return static_cast<int64_t>(v.value.unsigned64);
        default:
            Fail("unexpected value base type in a range or named value");
    }
}

// Merges touching ranges, the way libsmi stores them.
std::vector<Range> Merged(std::vector<Range> ranges) {
    std::sort(ranges.begin(), ranges.end(), [](const Range &a, const Range &b) { return a.min < b.min; });
    std::vector<Range> out;
    for (const Range &r : ranges) {
        if (!out.empty() && r.min <= out.back().max + 1) {
            out.back().max = std::max(out.back().max, r.max);
        } else {
            out.push_back(r);
        }
    }
    return out;
}

int64_t ParseNumber(const std::string &t, const std::string &where) {
    try {
        if (t.size() >= 3 && t.front() == '\'') {
            const char radix = static_cast<char>(t.back());
            const std::string digits = t.substr(1, t.size() - 3);
            if (radix == 'H' || radix == 'h') return static_cast<int64_t>(std::stoull(digits, nullptr, 16));
            if (radix == 'B' || radix == 'b') return static_cast<int64_t>(std::stoull(digits, nullptr, 2));
        }
        size_t used = 0;
        const int64_t v = std::stoll(t, &used, 10);
        if (used == t.size()) return v;
    } catch (const std::exception &) {
    }
    Fail(where + ": bad number '" + t + "' in a range");
}

// Ranges of a SYNTAX clause as written: "Unsigned32 (0|1..4094)",
// "OCTET STRING (SIZE(1..31))".
std::vector<Range> ParseRanges(const std::vector<Token> &syntax, const std::string &where) {
    size_t i = 0;
    while (i < syntax.size() && syntax[i].text != "(") ++i;
    if (i == syntax.size()) Fail(where + ": no range in '" + JoinTokens(syntax) + "'");
    ++i;
    if (i < syntax.size() && syntax[i].text == "SIZE") {
        i += 2;  // SIZE (
    }
    std::vector<Range> ranges;
    while (i < syntax.size() && syntax[i].text != ")") {
        Range r;
        r.min = r.max = ParseNumber(syntax[i++].text, where);
        if (i < syntax.size() && syntax[i].text == "..") {
            r.max = ParseNumber(syntax[i + 1].text, where);
            i += 2;
        }
        ranges.push_back(r);
        if (i < syntax.size() && syntax[i].text == "|") ++i;
    }
    if (ranges.empty()) Fail(where + ": empty range in '" + JoinTokens(syntax) + "'");
    return ranges;
}

class Builder {
public:
    Builder() : tableIds_(TableIds()) {}

    Tree Build(const TreeLayout &layout);

private:
    Node MakeNode(SmiNode *n, const TreeLayout &layout, const std::set<Oid> &unservedRoots);
    Syntax MakeSyntax(SmiNode *n);
    uint32_t SyntaxCode(SmiNode *n, const std::vector<SmiType *> &chain);
    std::optional<Restriction> MakeRestriction(SmiNode *n, const std::vector<SmiType *> &chain, uint32_t code);
    uint32_t LeafAccess(SmiNode *n);
    std::string DefaultValue(SmiNode *n);
    std::vector<Token> SyntaxText(SmiNode *n, SmiType *t);
    uint32_t TableIdOf(const std::string &owner) const;

    MibSource source_;
    std::vector<TableId> tableIds_;
};

std::string NodePath(SmiNode *n) {
    SmiModule *m = smiGetNodeModule(n);
    if (m == nullptr || m->path == nullptr) Fail(SmiName(n->name) + ": no module file");
    return m->path;
}

// The SYNTAX clause that defines type `t` as written: the object's own
// clause for a type written inline, the type assignment's otherwise.
std::vector<Token> Builder::SyntaxText(SmiNode *n, SmiType *t) {
    std::optional<std::vector<Token>> clause;
    if (t == nullptr || t->name == nullptr) {
        clause = source_.Clause(NodePath(n), smiGetNodeLine(n), "SYNTAX");
    } else {
        SmiModule *m = smiGetTypeModule(t);
        if (m == nullptr || m->path == nullptr) Fail(SmiName(t->name) + ": no module file");
        clause = source_.Clause(m->path, smiGetTypeLine(t), "SYNTAX");
    }
    if (!clause || clause->empty()) Fail(SmiName(n->name) + ": SYNTAX clause not found");
    return *clause;
}

uint32_t Builder::SyntaxCode(SmiNode *n, const std::vector<SmiType *> &chain) {
    const std::string where = SmiName(n->name);
    SmiType *base = chain.back();
    switch (base->basetype) {
        case SMI_BASETYPE_ENUM:
            return kEnum;
        case SMI_BASETYPE_BITS:
            return kBits;
        case SMI_BASETYPE_OCTETSTRING:
            return kOctetString;
        case SMI_BASETYPE_OBJECTIDENTIFIER:
            return kObjectIdentifier;
        case SMI_BASETYPE_UNSIGNED32:
            for (SmiType *t : chain) {
                const std::string name = SmiName(t->name);
                if (name == "ZeroBasedCounter32") return kZeroBasedCounter;
                if (name == "Counter32") return kCounter32;
                if (name == "TimeTicks") return kTimeTicks;
                if (name == "Gauge32" || name == "Unsigned32") return kUnsigned32;
            }
            Fail(where + ": unknown unsigned type");
        case SMI_BASETYPE_INTEGER32: {
            for (SmiType *t : chain) {
                for (const SyntaxOverride &o : kSyntaxOverrides) {
                    if (SmiName(t->name) == o.type) return o.code;
                }
            }
            // libsmi gives INTEGER and Integer32 one base type; the clause
            // that names the base type tells them apart.
            SmiType *named = chain.size() >= 2 ? chain[chain.size() - 2] : nullptr;
            const std::vector<Token> text = SyntaxText(n, named);
            if (text.front().text == "INTEGER") return kInteger;
            if (text.front().text == "Integer32") return kInteger32;
            Fail(where + ": cannot tell INTEGER from Integer32 in '" + JoinTokens(text) + "'");
        }
        default:
            Fail(where + ": base type " + std::to_string(base->basetype) + " has no syntax code");
    }
}

std::optional<Restriction> Builder::MakeRestriction(SmiNode *n, const std::vector<SmiType *> &chain,
                                                    uint32_t code) {
    const std::string where = SmiName(n->name);
    if (code == kEnum || code == kBits) {
        for (SmiType *t : chain) {
            SmiNamedNumber *nn = smiGetFirstNamedNumber(t);
            if (nn == nullptr) continue;
            Restriction r;
            r.named = true;
            r.origin = t->name != nullptr ? SmiName(t->name) : where;
            const LabelSet *set = nullptr;
            for (const LabelSet &s : kLabelSets) {
                if (t->name != nullptr && r.origin == s.type) set = &s;
            }
            for (; nn != nullptr; nn = smiGetNextNamedNumber(nn)) {
                const int64_t v = SmiNumber(nn->value);
                if (set != nullptr &&
                    std::none_of(set->keep.begin(), set->keep.end(),
                                 [v](const Range &k) { return v >= k.min && v <= k.max; })) {
                    continue;
                }
                r.values.push_back({SmiName(nn->name), v});
            }
            return r;
        }
        Fail(where + ": enumeration without named values");
    }
    for (SmiType *t : chain) {
        if (IsSmiBaseType(t)) break;  // the base syntax itself is no restriction
        SmiRange *sr = smiGetFirstRange(t);
        if (sr == nullptr) continue;
        Restriction r;
        r.origin = t->name != nullptr ? SmiName(t->name) : where;
        r.ranges = ParseRanges(SyntaxText(n, t), where);
        // Cross-check the ranges as written against libsmi's reading.
        std::vector<Range> fromSmi;
        for (; sr != nullptr; sr = smiGetNextRange(sr)) {
            fromSmi.push_back({SmiNumber(sr->minValue), SmiNumber(sr->maxValue)});
        }
        const std::vector<Range> a = Merged(r.ranges), b = Merged(fromSmi);
        const bool same = a.size() == b.size() &&
                          std::equal(a.begin(), a.end(), b.begin(), [](const Range &x, const Range &y) {
                              return x.min == y.min && x.max == y.max;
                          });
        if (!same) Fail(where + ": ranges read from the text differ from libsmi's");
        for (const Range &x : r.ranges) {
            if (x.min < INT32_MIN || x.min > INT32_MAX || x.max < 0 || x.max > UINT32_MAX) {
                Fail(where + ": range does not fit the record");
            }
        }
        return r;
    }
    return std::nullopt;
}

Syntax Builder::MakeSyntax(SmiNode *n) {
    const std::vector<SmiType *> chain = TypeChain(n);
    if (chain.empty()) Fail(SmiName(n->name) + ": leaf without type");
    Syntax s;
    s.code = SyntaxCode(n, chain);
    s.restriction = MakeRestriction(n, chain, s.code);
    for (SmiType *t : chain) {
        if (t->name != nullptr) {
            s.typeName = t->name;
            break;
        }
    }
    return s;
}

uint32_t Builder::LeafAccess(SmiNode *n) {
    // libsmi reports read-create as read-write; the clause tells them apart.
    const auto clause = source_.Clause(NodePath(n), smiGetNodeLine(n), "MAX-ACCESS");
    const std::string text = clause && !clause->empty() ? clause->front().text : "";
    uint32_t access;
    SmiAccess expected;
    if (text == "not-accessible") {
        access = kNotAccessible;
        expected = SMI_ACCESS_NOT_ACCESSIBLE;
    } else if (text == "read-only") {
        access = kReadOnly;
        expected = SMI_ACCESS_READ_ONLY;
    } else if (text == "read-write") {
        access = kReadWrite;
        expected = SMI_ACCESS_READ_WRITE;
    } else if (text == "read-create") {
        access = kReadCreate;
        expected = SMI_ACCESS_READ_WRITE;
    } else {
        Fail(SmiName(n->name) + ": unsupported MAX-ACCESS '" + text + "'");
    }
    if (n->access != expected) Fail(SmiName(n->name) + ": MAX-ACCESS text and libsmi disagree");
    return access;
}

std::string Builder::DefaultValue(SmiNode *n) {
    const auto clause = source_.Clause(NodePath(n), smiGetNodeLine(n), "DEFVAL");
    const bool smiHasDefault = n->value.basetype != SMI_BASETYPE_UNKNOWN;
    if (clause.has_value() != smiHasDefault) Fail(SmiName(n->name) + ": DEFVAL text and libsmi disagree");
    return clause ? JoinTokens(*clause) : "";
}

uint32_t Builder::TableIdOf(const std::string &owner) const {
    for (const TableId &t : tableIds_) {
        if (t.owner == owner) return t.id;
    }
    return 0;
}

bool HasPrefix(const Oid &oid, const Oid &prefix) {
    return oid.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

Node Builder::MakeNode(SmiNode *n, const TreeLayout &layout, const std::set<Oid> &unservedRoots) {
    Node node;
    node.name = SmiName(n->name);
    node.oid = NodeOid(n);
    const std::string module = ModuleName(n);
    const bool own = std::find(layout.modules.begin(), layout.modules.end(), module) != layout.modules.end();

    switch (n->nodekind) {
        case SMI_NODEKIND_TABLE:
            node.kind = kTable;
            break;
        case SMI_NODEKIND_ROW:
            node.kind = kEntry;
            break;
        case SMI_NODEKIND_COLUMN:
            node.kind = kColumn;
            break;
        case SMI_NODEKIND_SCALAR:
            node.kind = kScalar;
            break;
        case SMI_NODEKIND_NOTIFICATION:
            node.kind = kNotification;
            break;
        case SMI_NODEKIND_NODE:
        case SMI_NODEKIND_UNKNOWN:
            node.kind = kBranch;
            break;
        default:
            Fail(node.name + ": node kind " + std::to_string(n->nodekind) + " does not belong in a tree");
    }

    switch (node.kind) {
        case kBranch:
            node.status = kStatusNone;
            node.access = kBranchAccess;
            return node;
        case kNotification:
            node.status = kStatusNone;
            node.access = kNotAccessible;
            for (SmiElement *e = smiGetFirstElement(n); e != nullptr; e = smiGetNextElement(e)) {
                node.notificationObjects.push_back(SmiName(smiGetElementNode(e)->name));
            }
            return node;
        default:
            break;
    }

    node.status = own ? kStatusCurrent : kStatusBorrowed;
    if (node.kind == kTable) {
        node.access = kNotAccessible;
        return node;
    }
    if (node.kind == kEntry) {
        node.access = kNotAccessible;
        node.indexEntry = node.name;
        SmiNode *row = n;
        while (row->indexkind == SMI_INDEX_AUGMENT) {
            row = smiGetRelatedNode(row);
            if (row == nullptr) Fail(node.name + ": augmented entry not found");
        }
        if (row->indexkind != SMI_INDEX_INDEX) Fail(node.name + ": unsupported index kind");
        for (SmiElement *e = smiGetFirstElement(row); e != nullptr; e = smiGetNextElement(e)) {
            node.index.push_back(SmiName(smiGetElementNode(e)->name));
        }
        if (node.index.empty()) Fail(node.name + ": entry without index");
        return node;
    }

    // Columns and scalars.
    SmiNode *parent = smiGetParentNode(n);
    if (parent == nullptr) Fail(node.name + ": leaf without parent");
    if (node.kind == kColumn) node.indexEntry = SmiName(parent->name);
    node.access = LeafAccess(n);
    if (!own) {
        // Borrowed leaves carry a blank syntax and the MOR id of their module.
        node.syntax = Syntax{};
        for (const Borrowed &b : kBorrowed) {
            if (node.name == b.name) node.morId = b.morId;
        }
        return node;
    }
    node.syntax = MakeSyntax(n);
    node.defaultValue = DefaultValue(n);
    const bool unserved = std::any_of(unservedRoots.begin(), unservedRoots.end(),
                                      [&](const Oid &root) { return HasPrefix(node.oid, root); });
    if (!unserved) {
        const uint32_t table = TableIdOf(SmiName(parent->name));
        if (table == 0) Fail(node.name + ": no table id for " + SmiName(parent->name));
        const uint32_t arc = node.oid.back();
        if (arc > 0xFF) Fail(node.name + ": arc does not fit a MOR id");
        node.morId = kMorModule | (table << 8) | arc;
    }
    return node;
}

Tree Builder::Build(const TreeLayout &layout) {
    std::map<Oid, SmiNode *> smiNodes;
    const unsigned kinds = SMI_NODEKIND_NODE | SMI_NODEKIND_SCALAR | SMI_NODEKIND_TABLE | SMI_NODEKIND_ROW |
                           SMI_NODEKIND_COLUMN | SMI_NODEKIND_NOTIFICATION;
    for (const std::string &name : layout.modules) {
        SmiModule *m = smiGetModule(name.c_str());
        if (m == nullptr) Fail("module " + name + " not loaded");
        for (SmiNode *n = smiGetFirstNode(m, kinds); n != nullptr; n = smiGetNextNode(n, kinds)) {
            smiNodes[NodeOid(n)] = n;
        }
    }
    for (const Borrowed &b : kBorrowed) {
        SmiModule *m = smiGetModule(b.module);
        SmiNode *n = m != nullptr ? smiGetNode(m, b.name) : nullptr;
        if (n == nullptr) Fail(std::string(b.module) + "::" + b.name + " not found");
        smiNodes[NodeOid(n)] = n;
    }
    // Every node on the path to an object.
    std::vector<Oid> oids;
    for (const auto &entry : smiNodes) oids.push_back(entry.first);
    for (const Oid &oid : oids) {
        for (size_t len = 1; len < oid.size(); ++len) {
            Oid prefix(oid.begin(), oid.begin() + static_cast<std::ptrdiff_t>(len));
            if (smiNodes.count(prefix) != 0) continue;
            SmiNode *n = smiGetNodeByOID(static_cast<unsigned>(len), prefix.data());
            if (n == nullptr || n->oidlen != len || n->name == nullptr) {
                Fail("no named node at " + OidText(prefix));
            }
            smiNodes[prefix] = n;
        }
    }

    std::set<Oid> unservedRoots;
    for (const char *name : kUnserved) {
        for (const auto &[oid, n] : smiNodes) {
            if (SmiName(n->name) == name) unservedRoots.insert(oid);
        }
    }

    Tree tree;
    tree.layout = layout;
    for (const auto &[oid, n] : smiNodes) tree.nodes.emplace(oid, MakeNode(n, layout, unservedRoots));

    // Branches that hold scalars directly, and consistency of the shape.
    std::set<std::string> names;
    for (auto &[oid, node] : tree.nodes) {
        if (!names.insert(node.name).second) Fail("name " + node.name + " occurs twice");
        if (oid.size() > 1) {
            auto parent = tree.nodes.find(Oid(oid.begin(), oid.end() - 1));
            if (parent == tree.nodes.end()) Fail(node.name + ": parent missing");
            if (node.kind == kScalar) {
                if (parent->second.kind != kBranch && parent->second.kind != kScalarGroup) {
                    Fail(node.name + ": scalar outside a branch");
                }
                parent->second.kind = kScalarGroup;
            }
        }
    }
    for (const auto &[oid, node] : tree.nodes) {
        for (const std::string &col : node.index) {
            if (names.count(col) == 0) Fail(node.name + ": index column " + col + " not in the tree");
        }
        for (const std::string &obj : node.notificationObjects) {
            if (names.count(obj) == 0) Fail(node.name + ": object " + obj + " not in the tree");
        }
    }

    tree.sourceModules = layout.modules;
    for (const Borrowed &b : kBorrowed) tree.sourceModules.push_back(b.module);
    return tree;
}

std::vector<std::string> g_smiErrors;

void OnSmiError(char *path, int line, int severity, char *msg, char * /*tag*/) {
    // Severities 0..2 are errors that make the module unusable.
    if (severity <= 2) {
        g_smiErrors.push_back(SmiName(path) + ":" + std::to_string(line) + ": " + SmiName(msg));
    }
}

}  // namespace

std::string OidText(const Oid &oid) {
    std::string s;
    for (uint32_t arc : oid) {
        if (!s.empty()) s += '.';
        s += std::to_string(arc);
    }
    return s;
}

std::string Restriction::Key() const {
    std::string k = named ? "N" : "R";
    for (const Range &r : ranges) k += " " + std::to_string(r.min) + ".." + std::to_string(r.max);
    for (const NamedValue &v : values) k += " " + v.label + "(" + std::to_string(v.value) + ")";
    return k;
}

std::vector<Tree> BuildTrees(const std::string &mibDir) {
    smiInit(nullptr);  // no configuration files: only the given directory counts
    smiSetErrorHandler(OnSmiError);
    smiSetPath(mibDir.c_str());

    std::set<std::string> toLoad;
    for (const TreeLayout &layout : kLayouts) toLoad.insert(layout.modules.begin(), layout.modules.end());
    for (const Borrowed &b : kBorrowed) toLoad.insert(b.module);
    for (const std::string &name : toLoad) {
        if (smiLoadModule(name.c_str()) == nullptr) g_smiErrors.push_back("cannot load " + name);
    }
    if (!g_smiErrors.empty()) {
        std::string all;
        for (const std::string &e : g_smiErrors) all += e + "\n";
        smiExit();
        Fail("MIB modules in " + mibDir + " have errors:\n" + all);
    }

    Builder builder;
    std::vector<Tree> trees;
    try {
        for (const TreeLayout &layout : kLayouts) trees.push_back(builder.Build(layout));
    } catch (...) {
        smiExit();
        throw;
    }
    smiExit();
    return trees;
}

}  // namespace mibgen
