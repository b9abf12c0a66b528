// The three compiled MIB trees, read through the records that the module
// exports: shape, walk order, MOR ids, syntaxes, restrictions and defaults.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "lldpv2/mib_node.h"
#include "module_loader.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;
using Oid = std::vector<uint32_t>;

// One compiled tree, indexed by walking it from its root.
class TreeView {
public:
    TreeView(std::string prefix, const MIB_NODE_S *root) : prefix_(std::move(prefix)), root_(root) {
        Walk(root_, 0);
        for (const MIB_NODE_S *n : preorder_) {
            byName_.emplace(n->name, n);
            members_.insert(n);
        }
    }

    const std::string &prefix() const { return prefix_; }
    const MIB_NODE_S *root() const { return root_; }
    const std::vector<const MIB_NODE_S *> &nodes() const { return preorder_; }
    bool Contains(const MIB_NODE_S *n) const { return members_.count(n) != 0; }

    // The node of that name; fails the test and returns the root when absent.
    const MIB_NODE_S &At(const std::string &name) const {
        auto it = byName_.find(name);
        if (it == byName_.end()) {
            ADD_FAILURE() << prefix_ << " has no node " << name;
            return *root_;
        }
        return *it->second;
    }
    bool Has(const std::string &name) const { return byName_.count(name) != 0; }

    static Oid OidOf(const MIB_NODE_S *n) {
        Oid oid;
        for (; n != nullptr; n = n->parent) oid.insert(oid.begin(), n->arc);
        return oid;
    }

    // Leaves (columns and scalars) in lexicographic OID order.
    std::vector<const MIB_NODE_S *> SortedLeaves() const {
        std::vector<std::pair<Oid, const MIB_NODE_S *>> leaves;
        for (const MIB_NODE_S *n : preorder_)
            if (IsLeaf(n)) leaves.emplace_back(OidOf(n), n);
        std::sort(leaves.begin(), leaves.end());
        std::vector<const MIB_NODE_S *> out;
        for (const auto &l : leaves) out.push_back(l.second);
        return out;
    }

    // Whether `n` lies in the subtree of the node named `ancestor`.
    static bool Below(const MIB_NODE_S *n, const std::string &ancestor) {
        for (; n != nullptr; n = n->parent)
            if (ancestor == n->name) return true;
        return false;
    }

    static bool IsLeaf(const MIB_NODE_S *n) { return n->kind == MIB_KIND_COLUMN || n->kind == MIB_KIND_SCALAR; }

private:
    void Walk(const MIB_NODE_S *n, int depth) {
        if (depth > 64 || preorder_.size() > 5000) {
            ADD_FAILURE() << prefix_ << ": runaway walk at " << n->name;
            return;
        }
        preorder_.push_back(n);
        for (const MIB_NODE_S *c = n->firstChild; c != nullptr; c = c->nextSibling) Walk(c, depth + 1);
    }

    std::string prefix_;
    const MIB_NODE_S *root_;
    std::vector<const MIB_NODE_S *> preorder_;
    std::map<std::string, const MIB_NODE_S *> byName_;
    std::set<const MIB_NODE_S *> members_;
};

std::string OidText(const Oid &oid) {
    std::string s;
    for (uint32_t a : oid) {
        if (!s.empty()) s += '.';
        s += std::to_string(a);
    }
    return s;
}

struct TreeFigures {
    const char *prefix;
    size_t nodes;
    size_t leavesWithMorId;
};

const TreeFigures kTrees[] = {
    {"lldpv2_tree", 135, 80},
    {"lldpv2_dot1_tree", 379, 177},
    {"lldpv2_dot3_tree", 180, 103},
};

// The module, loaded once for all tests of this file, and its three trees.
class MibTrees {
public:
    MibTrees() {
        for (const TreeFigures &t : kTrees) {
            const std::string prefix = t.prefix;
            views_[prefix] =
                std::make_unique<TreeView>(prefix, module_.Symbol<const MIB_NODE_S>((prefix + "_node_iso").c_str()));
        }
    }
    const TreeView &View(const std::string &prefix) const { return *views_.at(prefix); }
    // The record exported under `symbol`, or null.
    const MIB_NODE_S *Exported(const std::string &symbol) const {
        try {
            return module_.Symbol<const MIB_NODE_S>(symbol.c_str());
        } catch (const std::runtime_error &) {
            return nullptr;
        }
    }

private:
    Module module_;
    std::map<std::string, std::unique_ptr<TreeView>> views_;
};

class MibTreeTest : public ::testing::TestWithParam<TreeFigures> {
protected:
    static void SetUpTestSuite() { trees_ = std::make_unique<MibTrees>(); }
    static void TearDownTestSuite() { trees_.reset(); }

    static const MibTrees &trees() { return *trees_; }
    const TreeView &tree() const { return trees_->View(GetParam().prefix); }
    const TreeView &base() const { return trees_->View("lldpv2_tree"); }
    bool IsDot1() const { return std::string(GetParam().prefix) == "lldpv2_dot1_tree"; }
    bool IsDot3() const { return std::string(GetParam().prefix) == "lldpv2_dot3_tree"; }

private:
    static std::unique_ptr<MibTrees> trees_;
};

std::unique_ptr<MibTrees> MibTreeTest::trees_;

std::string TreeName(const ::testing::TestParamInfo<TreeFigures> &info) { return info.param.prefix; }

void PrintTo(const TreeFigures &t, std::ostream *os) { *os << t.prefix; }

TEST_P(MibTreeTest, CountsOfNodesAndServedLeaves) {
    size_t served = 0;
    for (const MIB_NODE_S *n : tree().nodes()) served += n->morId != 0 ? 1 : 0;
    EXPECT_EQ(tree().nodes().size(), GetParam().nodes);
    EXPECT_EQ(served, GetParam().leavesWithMorId);
}

// Every record reachable from the root is exported under
// <tree>_node_<name>, '-' written as '_', and names are unique in a tree.
TEST_P(MibTreeTest, EveryNodeIsExportedUnderItsName) {
    std::set<std::string> names;
    for (const MIB_NODE_S *n : tree().nodes()) {
        EXPECT_TRUE(names.insert(n->name).second) << "duplicate " << n->name;
        std::string symbol = tree().prefix() + "_node_" + n->name;
        std::replace(symbol.begin(), symbol.end(), '-', '_');
        EXPECT_EQ(trees().Exported(symbol), n) << symbol;
    }
    EXPECT_NE(trees().Exported(tree().prefix() + "_node_lan_man_stds"), nullptr);
}

TEST_P(MibTreeTest, ParentChildAndSiblingLinksAgree) {
    EXPECT_STREQ(tree().root()->name, "iso");
    EXPECT_EQ(tree().root()->parent, nullptr);
    EXPECT_EQ(tree().root()->arc, 1u);
    for (const MIB_NODE_S *n : tree().nodes()) {
        uint32_t lastArc = 0;
        bool first = true;
        for (const MIB_NODE_S *c = n->firstChild; c != nullptr; c = c->nextSibling) {
            EXPECT_EQ(c->parent, n) << c->name;
            if (!first) {
                EXPECT_GT(c->arc, lastArc) << "siblings out of arc order at " << c->name;
            }
            lastArc = c->arc;
            first = false;
        }
        if (TreeView::IsLeaf(n) || n->kind == MIB_KIND_NOTIFICATION) {
            EXPECT_EQ(n->firstChild, nullptr) << n->name;
        }
        EXPECT_EQ(n->reserved0, 0u) << n->name;
        EXPECT_EQ(n->reserved1, nullptr) << n->name;
    }
}

// The fixed path of every tree: OID, name, kind, status, access.
TEST_P(MibTreeTest, CommonPathNodes) {
    struct Expected {
        const char *oid;
        const char *name;
        uint32_t kind, status, access;
    };
    const Expected kPath[] = {
        {"1", "iso", MIB_KIND_BRANCH, 0, 6},
        {"1.3", "org", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6", "dod", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1", "internet", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.2", "mgmt", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.2.1", "mib-2", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.2.1.2", "interfaces", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.2.1.2.2", "ifTable", MIB_KIND_TABLE, 1, 0},
        {"1.3.6.1.2.1.2.2.1", "ifEntry", MIB_KIND_ENTRY, 1, 0},
        {"1.3.6.1.2.1.2.2.1.1", "ifIndex", MIB_KIND_COLUMN, 1, 2},
        {"1.3.6.1.6", "snmpV2", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.6.3", "snmpModules", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.6.3.1", "snmpMIB", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.6.3.1.1", "snmpMIBObjects", MIB_KIND_BRANCH, 0, 6},
        {"1.3.6.1.6.3.1.1.5", "snmpTraps", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111", "ieee", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2", "standards-association-numbers-series-standards", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802", "lan-man-stds", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1", "ieee802dot1", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1", "ieee802dot1mibs", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.12", "lldpV2TcMIB", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13", "lldpV2MIB", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13.0", "lldpV2Notifications", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13.0.0", "lldpV2NotificationPrefix", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13.0.0.1", "lldpV2RemTablesChange", MIB_KIND_NOTIFICATION, 0, 0},
        {"1.3.111.2.802.1.1.13.1.1", "lldpV2Configuration", MIB_KIND_SCALAR_GROUP, 0, 6},
        {"1.3.111.2.802.1.1.13.1.2", "lldpV2Statistics", MIB_KIND_SCALAR_GROUP, 0, 6},
        {"1.3.111.2.802.1.1.13.1.3", "lldpV2LocalSystemData", MIB_KIND_SCALAR_GROUP, 0, 6},
        {"1.3.111.2.802.1.1.13.1.4", "lldpV2RemoteSystemsData", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13.1.5", "lldpV2Extensions", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13.2.1", "lldpV2Compliances", MIB_KIND_BRANCH, 0, 6},
        {"1.3.111.2.802.1.1.13.2.2", "lldpV2Groups", MIB_KIND_BRANCH, 0, 6},
    };
    for (const Expected &e : kPath) {
        SCOPED_TRACE(e.name);
        const MIB_NODE_S &n = tree().At(e.name);
        EXPECT_EQ(OidText(TreeView::OidOf(&n)), e.oid);
        EXPECT_EQ(n.kind, e.kind);
        EXPECT_EQ(n.status, e.status);
        EXPECT_EQ(n.access, e.access);
    }
    // Conformance is carried as its two branches only.
    EXPECT_EQ(tree().At("lldpV2Compliances").firstChild, nullptr);
    EXPECT_EQ(tree().At("lldpV2Groups").firstChild, nullptr);
    EXPECT_EQ(tree().At("snmpTraps").firstChild, nullptr);
    EXPECT_EQ(tree().At("lldpV2TcMIB").firstChild, nullptr);
}

TEST_P(MibTreeTest, ExtensionSubtree) {
    const MIB_NODE_S *ext = tree().At("lldpV2Extensions").firstChild;
    if (IsDot1()) {
        ASSERT_NE(ext, nullptr);
        EXPECT_STREQ(ext->name, "lldpV2Xdot1MIB");
        EXPECT_EQ(ext->arc, 32962u);
        EXPECT_EQ(ext->nextSibling, nullptr);
        std::vector<std::pair<std::string, uint32_t>> children;
        for (const MIB_NODE_S *c = ext->firstChild; c != nullptr; c = c->nextSibling) children.emplace_back(c->name, c->arc);
        EXPECT_THAT(children, ElementsAre(std::pair<std::string, uint32_t>{"lldpV2Xdot1Objects", 1},
                                          std::pair<std::string, uint32_t>{"lldpV2Xdot1Conformance", 2},
                                          std::pair<std::string, uint32_t>{"lldpXdot1CnMIB", 3},
                                          std::pair<std::string, uint32_t>{"lldpXdot1CnConformance", 4},
                                          std::pair<std::string, uint32_t>{"lldpXdot1dcbxMIB", 5},
                                          std::pair<std::string, uint32_t>{"lldpXdot1dcbxConformance", 6}));
        // Local, remote and administrative DCBX data: ETS configuration,
        // ETS recommendation and PFC branches, then the application table.
        for (const char *group : {"Loc", "Rem", "Admin"}) {
            SCOPED_TRACE(group);
            const std::string data = std::string("lldpXdot1dcbx") +
                                     (std::string(group) == "Loc"   ? "LocalData"
                                      : std::string(group) == "Rem" ? "RemoteData"
                                                                    : "AdminData");
            std::vector<std::string> names;
            for (const MIB_NODE_S *c = tree().At(data).firstChild; c != nullptr; c = c->nextSibling) names.push_back(c->name);
            const std::string p = std::string("lldpXdot1dcbx") + group;
            EXPECT_THAT(names, ElementsAre(p + "ETSConfiguration", p + "ETSReco", p + "PFC",
                                           p + "ApplicationPriorityAppTable"));
        }
    } else if (IsDot3()) {
        ASSERT_NE(ext, nullptr);
        EXPECT_STREQ(ext->name, "lldpV2Xdot3MIB");
        EXPECT_EQ(ext->arc, 4623u);
        EXPECT_EQ(ext->nextSibling, nullptr);
    } else {
        EXPECT_EQ(ext, nullptr);
    }
}

// The next-leaf chain visits every column and scalar once, in OID order,
// starting at ifIndex; a non-leaf points at the first leaf after it.
TEST_P(MibTreeTest, NextLeafChainIsTheLexicographicWalk) {
    const std::vector<const MIB_NODE_S *> sorted = tree().SortedLeaves();
    ASSERT_FALSE(sorted.empty());
    std::vector<const MIB_NODE_S *> chain;
    for (const MIB_NODE_S *n = tree().root()->nextLeaf; n != nullptr && chain.size() <= sorted.size();
         n = n->nextLeaf)
        chain.push_back(n);
    EXPECT_EQ(chain, sorted);
    ASSERT_GE(chain.size(), 2u);
    EXPECT_STREQ(chain[0]->name, "ifIndex");
    EXPECT_STREQ(chain[1]->name, "lldpV2MessageTxInterval");

    for (const MIB_NODE_S *n : tree().nodes()) {
        if (TreeView::IsLeaf(n)) continue;
        const Oid oid = TreeView::OidOf(n);
        const MIB_NODE_S *expected = nullptr;
        for (const MIB_NODE_S *l : sorted) {
            if (TreeView::OidOf(l) > oid) {
                expected = l;
                break;
            }
        }
        EXPECT_EQ(n->nextLeaf, expected) << n->name;
    }
    EXPECT_EQ(tree().At("lldpV2TcMIB").nextLeaf, &tree().At("lldpV2MessageTxInterval"));
    EXPECT_EQ(tree().At("snmpTraps").nextLeaf, &tree().At("lldpV2MessageTxInterval"));
    EXPECT_EQ(tree().At("lldpV2Groups").nextLeaf, nullptr);
}

// No record points outside its own tree, and no two trees share a record.
TEST_P(MibTreeTest, NoPointerLeavesTheTree) {
    for (const MIB_NODE_S *n : tree().nodes()) {
        SCOPED_TRACE(n->name);
        for (const MIB_NODE_S *p : {n->parent, n->firstChild, n->nextLeaf, n->nextSibling}) {
            if (p != nullptr) {
                EXPECT_TRUE(tree().Contains(p));
            }
        }
        for (uint32_t i = 0; n->indexList != nullptr && i < n->indexList->count; ++i) {
            EXPECT_TRUE(tree().Contains(n->indexList->columns[i]));
        }
    }
    for (const TreeFigures &other : kTrees) {
        if (other.prefix == std::string(GetParam().prefix)) continue;
        const TreeView &o = trees().View(other.prefix);
        for (const MIB_NODE_S *n : tree().nodes()) EXPECT_FALSE(o.Contains(n)) << n->name << " shared with " << other.prefix;
    }
}

// The dot1 and dot3 trees hold the base tree node for node, with the same
// names, arcs, kinds, MOR ids and data.
TEST_P(MibTreeTest, BasePartMatchesTheBaseTree) {
    for (const MIB_NODE_S *b : base().nodes()) {
        SCOPED_TRACE(b->name);
        if (!tree().Has(b->name)) {
            ADD_FAILURE() << "missing";
            continue;
        }
        const MIB_NODE_S &n = tree().At(b->name);
        EXPECT_EQ(TreeView::OidOf(&n), TreeView::OidOf(b));
        EXPECT_EQ(n.kind, b->kind);
        EXPECT_EQ(n.morId, b->morId);
        EXPECT_EQ(n.status, b->status);
        EXPECT_EQ(n.access, b->access);
        EXPECT_STREQ(n.defaultValue, b->defaultValue);
        ASSERT_EQ(n.syntax == nullptr, b->syntax == nullptr);
        if (n.syntax != nullptr) {
            EXPECT_EQ(n.syntax->code, b->syntax->code);
        }
        ASSERT_EQ(n.indexList == nullptr, b->indexList == nullptr);
        if (n.indexList != nullptr) {
            EXPECT_EQ(n.indexList->count, b->indexList->count);
        }
    }
}

// MOR ids: module 0x0232, the table id of the entry or scalar group, and
// the leaf's own arc; ifIndex carries the interfaces module's id.
TEST_P(MibTreeTest, MorIdsFollowTheTableIdTable) {
    struct Table {
        uint32_t id;
        std::string owner;
        uint32_t columns;
    };
    std::vector<Table> tables = {
        {2, "lldpV2Configuration", 7},     {3, "lldpV2PortConfigEntry", 5},
        {4, "lldpV2DestAddressTableEntry", 2}, {5, "lldpV2ManAddrConfigTxPortsEntry", 6},
        {6, "lldpV2Statistics", 5},        {7, "lldpV2StatsTxPortEntry", 4},
        {8, "lldpV2StatsRxPortEntry", 8},  {9, "lldpV2LocalSystemData", 6},
        {10, "lldpV2LocPortEntry", 4},     {11, "lldpV2LocManAddrEntry", 6},
        {12, "lldpV2RemEntry", 15},        {13, "lldpV2RemManAddrEntry", 5},
        {14, "lldpV2RemUnknownTLVEntry", 2}, {15, "lldpV2RemOrgDefInfoEntry", 4},
    };
    if (IsDot1()) {
        const std::vector<Table> dot1 = {
            {21, "lldpV2Xdot1ConfigPortVlanEntry", 1},   {22, "lldpV2Xdot1ConfigVlanNameEntry", 1},
            {23, "lldpV2Xdot1ConfigProtoVlanEntry", 1},  {24, "lldpV2Xdot1ConfigProtocolEntry", 1},
            {25, "lldpV2Xdot1ConfigVidUsageDigestEntry", 1}, {26, "lldpV2Xdot1ConfigManVidEntry", 1},
            {27, "lldpV2Xdot1LocEntry", 1},              {28, "lldpV2Xdot1LocProtoVlanEntry", 3},
            {29, "lldpV2Xdot1LocVlanNameEntry", 2},      {30, "lldpV2Xdot1LocProtocolEntry", 2},
            {31, "lldpV2Xdot1LocVidUsageDigestEntry", 1}, {32, "lldpV2Xdot1LocManVidEntry", 1},
            {33, "lldpV2Xdot1LocLinkAggEntry", 2},       {34, "lldpV2Xdot1RemEntry", 1},
            {35, "lldpV2Xdot1RemProtoVlanEntry", 3},     {36, "lldpV2Xdot1RemVlanNameEntry", 2},
            {37, "lldpV2Xdot1RemProtocolEntry", 2},      {38, "lldpV2Xdot1RemVidUsageDigestEntry", 1},
            {39, "lldpV2Xdot1RemManVidEntry", 1},        {40, "lldpV2Xdot1RemLinkAggEntry", 2},
            {44, "lldpXdot1dcbxConfigETSConfigurationEntry", 1},
            {45, "lldpXdot1dcbxConfigETSRecommendationEntry", 1},
            {46, "lldpXdot1dcbxConfigPFCEntry", 1},
            {47, "lldpXdot1dcbxConfigApplicationPriorityEntry", 1},
        };
        tables.insert(tables.end(), dot1.begin(), dot1.end());
        const char *const dcbx[] = {"ETSBasicConfiguration",          "ETSConPriorityAssignment",
                                    "ETSConTrafficClassBandwidth",    "ETSConTrafficSelectionAlgorithm",
                                    "ETSRecoTrafficClassBandwidth",   "ETSRecoTrafficSelectionAlgorithm",
                                    "PFCBasic",                       "PFCEnable",
                                    "ApplicationPriorityApp"};
        const uint32_t dcbxColumns[] = {3, 2, 2, 2, 2, 2, 3, 2, 3};
        uint32_t id = 48;
        for (const char *group : {"Loc", "Rem", "Admin"}) {
            for (size_t i = 0; i < 9; ++i)
                tables.push_back({id++, std::string("lldpXdot1dcbx") + group + dcbx[i] + "Entry", dcbxColumns[i]});
        }
    }
    if (IsDot3()) {
        const std::vector<Table> dot3 = {
            {75, "lldpV2Xdot3PortConfigEntry", 1},    {76, "lldpV2Xdot3LocPortEntry", 4},
            {77, "lldpV2Xdot3LocPowerEntry", 6},      {78, "lldpV2Xdot3LocMaxFrameSizeEntry", 1},
            {79, "lldpV2Xdot3RemPortEntry", 4},       {80, "lldpV2Xdot3RemPowerEntry", 6},
            {81, "lldpV2Xdot3RemMaxFrameSizeEntry", 1},
        };
        tables.insert(tables.end(), dot3.begin(), dot3.end());
    }

    std::map<uint32_t, std::pair<std::string, uint32_t>> seen;  // table id -> owner, leaves
    for (const MIB_NODE_S *n : tree().nodes()) {
        SCOPED_TRACE(n->name);
        if (!TreeView::IsLeaf(n)) {
            EXPECT_EQ(n->morId, 0u);
            continue;
        }
        if (std::string(n->name) == "ifIndex") {
            EXPECT_EQ(n->morId, 0x1080201u);
            continue;
        }
        if (TreeView::Below(n, "lldpXdot1CnMIB")) {
            EXPECT_EQ(n->morId, 0u);
            continue;
        }
        ASSERT_NE(n->morId, 0u);
        EXPECT_EQ(n->morId >> 16, 0x0232u);
        EXPECT_EQ(n->morId & 0xFFu, n->arc);
        auto &entry = seen[(n->morId >> 8) & 0xFFu];
        if (entry.first.empty()) entry.first = n->parent->name;
        EXPECT_EQ(entry.first, n->parent->name) << "table id shared by two entries";
        ++entry.second;
    }
    std::map<uint32_t, std::pair<std::string, uint32_t>> expected;
    for (const Table &t : tables) expected[t.id] = {t.owner, t.columns};
    EXPECT_EQ(seen, expected);

    EXPECT_EQ(tree().At("lldpV2PortConfigIfIndex").morId, 0x2320301u);
    EXPECT_EQ(tree().At("lldpV2PortConfigDestAddressIndex").morId, 0x2320302u);
}

TEST_P(MibTreeTest, CongestionNotificationSubtreeIsNeverServed) {
    if (!IsDot1()) {
        EXPECT_FALSE(tree().Has("lldpXdot1CnMIB"));
        return;
    }
    size_t leaves = 0;
    for (const MIB_NODE_S *n : tree().nodes()) {
        if (!TreeView::Below(n, "lldpXdot1CnMIB")) continue;
        EXPECT_EQ(n->morId, 0u) << n->name;
        leaves += TreeView::IsLeaf(n) ? 1 : 0;
    }
    EXPECT_EQ(leaves, 5u);
    EXPECT_EQ(tree().At("lldpXdot1CnConfigCnTable").kind, static_cast<uint32_t>(MIB_KIND_TABLE));
    EXPECT_EQ(tree().At("lldpV2Xdot1RemCnEntry").kind, static_cast<uint32_t>(MIB_KIND_ENTRY));
    EXPECT_EQ(tree().At("lldpXdot1CnConfigCnTxEnable").access, static_cast<uint32_t>(MIB_ACCESS_READ_WRITE));
    EXPECT_EQ(tree().At("lldpV2Xdot1LocCNPVIndicators").access, static_cast<uint32_t>(MIB_ACCESS_READ_ONLY));
}

// Kinds fix which of syntax, status, access and index list a node carries.
TEST_P(MibTreeTest, FieldsFollowTheNodeKind) {
    for (const MIB_NODE_S *n : tree().nodes()) {
        SCOPED_TRACE(n->name);
        const bool borrowed = n->status == MIB_NODE_STATUS_BORROWED;
        switch (n->kind) {
            case MIB_KIND_BRANCH:
            case MIB_KIND_SCALAR_GROUP:
                EXPECT_EQ(n->access, static_cast<uint32_t>(MIB_ACCESS_BRANCH));
                EXPECT_EQ(n->status, 0u);
                EXPECT_EQ(n->indexList, nullptr);
                break;
            case MIB_KIND_NOTIFICATION:
                EXPECT_EQ(n->access, 0u);
                EXPECT_EQ(n->status, 0u);
                break;
            case MIB_KIND_TABLE:
                EXPECT_EQ(n->access, 0u);
                EXPECT_EQ(n->indexList, nullptr);
                ASSERT_NE(n->firstChild, nullptr);
                EXPECT_EQ(n->firstChild->kind, static_cast<uint32_t>(MIB_KIND_ENTRY));
                break;
            case MIB_KIND_ENTRY:
                EXPECT_EQ(n->access, 0u);
                EXPECT_NE(n->indexList, nullptr);
                break;
            case MIB_KIND_COLUMN:
                EXPECT_NE(n->indexList, nullptr);
                break;
            case MIB_KIND_SCALAR:
                EXPECT_EQ(n->indexList, nullptr);
                EXPECT_EQ(n->parent->kind, static_cast<uint32_t>(MIB_KIND_SCALAR_GROUP));
                break;
            default:
                ADD_FAILURE() << "kind " << n->kind;
        }
        const bool object = n->kind <= MIB_KIND_SCALAR;
        if (object && !borrowed) {
            EXPECT_EQ(n->status, static_cast<uint32_t>(MIB_NODE_STATUS_CURRENT));
        }
        EXPECT_EQ(n->syntax != nullptr, TreeView::IsLeaf(n));
        EXPECT_NE(n->defaultValue, nullptr);
        if (n->kind != MIB_KIND_NOTIFICATION) {
            EXPECT_EQ(n->notificationObjectCount, 0u);
            EXPECT_EQ(n->notificationObjects, nullptr);
        }
    }
}

TEST_P(MibTreeTest, AccessOfLeaves) {
    const std::pair<const char *, uint32_t> kAccess[] = {
        {"ifIndex", MIB_ACCESS_READ_ONLY},
        {"lldpV2MessageTxInterval", MIB_ACCESS_READ_WRITE},
        {"lldpV2PortConfigIfIndex", MIB_ACCESS_NOT_ACCESSIBLE},
        {"lldpV2PortConfigTLVsTxEnable", MIB_ACCESS_READ_WRITE},
        {"lldpV2DestMacAddress", MIB_ACCESS_READ_ONLY},
        {"lldpV2ManAddrConfigLocManAddr", MIB_ACCESS_NOT_ACCESSIBLE},
        {"lldpV2ManAddrConfigTxEnable", MIB_ACCESS_READ_CREATE},
        {"lldpV2ManAddrConfigRowStatus", MIB_ACCESS_READ_CREATE},
        {"lldpV2RemIndex", MIB_ACCESS_NOT_ACCESSIBLE},
        {"lldpV2RemSysDesc", MIB_ACCESS_READ_ONLY},
    };
    for (const auto &[name, access] : kAccess) EXPECT_EQ(tree().At(name).access, access) << name;
    if (IsDot1()) {
        EXPECT_EQ(tree().At("lldpXdot1dcbxAdminApplicationPriorityAEPriority").access,
                  static_cast<uint32_t>(MIB_ACCESS_READ_CREATE));
        EXPECT_EQ(tree().At("lldpXdot1dcbxAdminETSConWilling").access, static_cast<uint32_t>(MIB_ACCESS_READ_WRITE));
        EXPECT_EQ(tree().At("lldpXdot1dcbxAdminPFCMBC").access, static_cast<uint32_t>(MIB_ACCESS_READ_ONLY));
    }
}

std::vector<std::string> IndexNames(const MIB_NODE_S &n) {
    std::vector<std::string> names;
    if (n.indexList == nullptr) return names;
    for (uint32_t i = 0; i < n.indexList->count; ++i) names.push_back(n.indexList->columns[i]->name);
    return names;
}

// An entry and its columns share one index list record; augmenting entries
// list the augmented entry's columns, as records of their own tree.
TEST_P(MibTreeTest, IndexLists) {
    for (const MIB_NODE_S *n : tree().nodes()) {
        if (n->kind != MIB_KIND_ENTRY) continue;
        SCOPED_TRACE(n->name);
        EXPECT_EQ(n->indexList->flags, 0u);
        EXPECT_GT(n->indexList->count, 0u);
        for (const MIB_NODE_S *c = n->firstChild; c != nullptr; c = c->nextSibling) EXPECT_EQ(c->indexList, n->indexList);
        for (uint32_t i = 0; i < n->indexList->count; ++i)
            EXPECT_EQ(n->indexList->columns[i]->kind, static_cast<uint32_t>(MIB_KIND_COLUMN));
    }
    const std::vector<std::string> portConfig = {"lldpV2PortConfigIfIndex", "lldpV2PortConfigDestAddressIndex"};
    const std::vector<std::string> rem = {"lldpV2RemTimeMark", "lldpV2RemLocalIfIndex", "lldpV2RemLocalDestMACAddress",
                                          "lldpV2RemIndex"};
    std::vector<std::string> remManAddr = rem;
    remManAddr.insert(remManAddr.end(), {"lldpV2RemManAddrSubtype", "lldpV2RemManAddr"});
    std::vector<std::pair<const char *, std::vector<std::string>>> cases = {
        {"ifEntry", {"ifIndex"}},
        {"lldpV2PortConfigEntry", portConfig},
        {"lldpV2RemEntry", rem},
        {"lldpV2RemManAddrEntry", remManAddr},
        {"lldpV2LocPortEntry", {"lldpV2LocPortIfIndex"}},
    };
    if (IsDot1()) {
        cases.push_back({"lldpV2Xdot1ConfigPortVlanEntry", portConfig});
        cases.push_back({"lldpXdot1dcbxConfigPFCEntry", portConfig});
        cases.push_back({"lldpV2Xdot1ConfigVlanNameEntry", {"lldpV2LocPortIfIndex", "lldpV2Xdot1LocVlanId"}});
        cases.push_back({"lldpV2Xdot1RemEntry", rem});
    }
    if (IsDot3()) cases.push_back({"lldpV2Xdot3PortConfigEntry", portConfig});
    for (const auto &[entry, columns] : cases) {
        EXPECT_EQ(IndexNames(tree().At(entry)), columns) << entry;
        const MIB_NODE_S &e = tree().At(entry);
        for (uint32_t i = 0; e.indexList != nullptr && i < e.indexList->count; ++i)
            EXPECT_EQ(e.indexList->columns[i], &tree().At(columns[i])) << entry << " " << columns[i];
    }
}

TEST_P(MibTreeTest, NotificationCarriesTheRemoteTableCounters) {
    const MIB_NODE_S &n = tree().At("lldpV2RemTablesChange");
    EXPECT_EQ(n.kind, static_cast<uint32_t>(MIB_KIND_NOTIFICATION));
    EXPECT_EQ(n.arc, 1u);
    EXPECT_EQ(n.parent, &tree().At("lldpV2NotificationPrefix"));
    EXPECT_EQ(n.syntax, nullptr);
    ASSERT_EQ(n.notificationObjectCount, 4u);
    ASSERT_NE(n.notificationObjects, nullptr);
    EXPECT_THAT(std::vector<std::string>(n.notificationObjects, n.notificationObjects + 4),
                ElementsAre("lldpV2StatsRemTablesInserts", "lldpV2StatsRemTablesDeletes", "lldpV2StatsRemTablesDrops",
                            "lldpV2StatsRemTablesAgeouts"));
    size_t notifications = 0;
    for (const MIB_NODE_S *x : tree().nodes()) notifications += x->kind == MIB_KIND_NOTIFICATION ? 1 : 0;
    EXPECT_EQ(notifications, 1u);
}

TEST_P(MibTreeTest, SyntaxCodes) {
    const std::pair<const char *, uint32_t> kCodes[] = {
        {"ifIndex", 0},
        {"lldpV2PortConfigIfIndex", MIB_SYNTAX_INTEGER32},
        {"lldpV2PortConfigAdminStatus", MIB_SYNTAX_ENUM},
        {"lldpV2PortConfigNotificationEnable", MIB_SYNTAX_ENUM},
        {"lldpV2ManAddrConfigRowStatus", MIB_SYNTAX_ENUM},
        {"lldpV2LocManAddrSubtype", MIB_SYNTAX_ENUM},
        {"lldpV2MessageTxInterval", MIB_SYNTAX_UNSIGNED32},
        {"lldpV2PortConfigDestAddressIndex", MIB_SYNTAX_UNSIGNED32},
        {"lldpV2RemIndex", MIB_SYNTAX_UNSIGNED32},
        {"lldpV2StatsTxPortFramesTotal", MIB_SYNTAX_COUNTER32},
        {"lldpV2RemTimeMark", MIB_SYNTAX_TIMETICKS},
        {"lldpV2StatsRemTablesLastChangeTime", MIB_SYNTAX_TIMETICKS},
        {"lldpV2LocSysName", MIB_SYNTAX_OCTET_STRING},
        {"lldpV2DestMacAddress", MIB_SYNTAX_OCTET_STRING},
        {"lldpV2LocManAddrOID", MIB_SYNTAX_OID},
        {"lldpV2PortConfigTLVsTxEnable", MIB_SYNTAX_BITS},
        {"lldpV2LocSysCapEnabled", MIB_SYNTAX_BITS},
    };
    for (const auto &[name, code] : kCodes) EXPECT_EQ(tree().At(name).syntax->code, code) << name;
    if (IsDot1()) {
        EXPECT_EQ(tree().At("lldpV2Xdot1LocPortVlanId").syntax->code, static_cast<uint32_t>(MIB_SYNTAX_UNSIGNED32));
    }

    // Only the zero-based counters have code 5, and only the VLAN id
    // columns have the plain INTEGER code besides the blank ifIndex.
    std::set<std::string> zeroBased, integer;
    for (const MIB_NODE_S *n : tree().SortedLeaves()) {
        EXPECT_EQ(n->syntax->reserved, 0u) << n->name;
        if (n->syntax->code == MIB_SYNTAX_ZERO_BASED_COUNTER) zeroBased.insert(n->name);
        if (n->syntax->code == MIB_SYNTAX_INTEGER && std::string(n->name) != "ifIndex") integer.insert(n->name);
    }
    EXPECT_EQ(zeroBased, (std::set<std::string>{"lldpV2StatsRemTablesInserts", "lldpV2StatsRemTablesDeletes",
                                                "lldpV2StatsRemTablesDrops", "lldpV2StatsRemTablesAgeouts",
                                                "lldpV2StatsRxPortAgeoutsTotal"}));
    if (IsDot1()) {
        EXPECT_EQ(integer, (std::set<std::string>{"lldpV2Xdot1LocVlanId", "lldpV2Xdot1RemVlanId"}));
    } else {
        EXPECT_TRUE(integer.empty());
    }
    EXPECT_EQ(tree().At("ifIndex").syntax->restriction, nullptr);
}

using Ranges = std::vector<std::pair<int64_t, uint64_t>>;

Ranges RangesOf(const MIB_NODE_S &n) {
    Ranges out;
    const MIB_RESTRICTION_S *r = n.syntax != nullptr ? n.syntax->restriction : nullptr;
    if (r == nullptr || r->kind != MIB_RESTRICT_RANGES) return out;
    for (uint32_t i = 0; i < r->count; ++i) out.emplace_back(r->ranges[i]->min, r->ranges[i]->max);
    return out;
}

TEST_P(MibTreeTest, Ranges) {
    const Ranges destIndex = {{1, 4096}}, manAddr = {{1, 31}}, id = {{1, 255}}, text = {{0, 255}};
    std::vector<std::pair<const char *, Ranges>> cases = {
        {"lldpV2MessageTxInterval", {{5, 32768}}},
        {"lldpV2MessageTxHoldMultiplier", {{2, 10}}},
        {"lldpV2ReinitDelay", {{1, 10}}},
        {"lldpV2NotificationInterval", {{5, 3600}}},
        {"lldpV2TxCreditMax", {{1, 100}}},
        {"lldpV2MessageFastTx", {{1, 3600}}},
        {"lldpV2TxFastInit", {{1, 8}}},
        {"lldpV2PortConfigDestAddressIndex", destIndex},
        {"lldpV2AddressTableIndex", destIndex},
        {"lldpV2RemLocalDestMACAddress", destIndex},
        {"lldpV2DestMacAddress", {{6, 6}}},
        {"lldpV2LocManAddr", manAddr},
        {"lldpV2RemManAddr", manAddr},
        {"lldpV2ManAddrConfigLocManAddr", manAddr},
        {"lldpV2RemUnknownTLVType", {{9, 126}}},
        {"lldpV2RemUnknownTLVInfo", {{0, 511}}},
        {"lldpV2RemOrgDefInfoOUI", {{3, 3}}},
        {"lldpV2RemOrgDefInfoSubtype", {{1, 255}}},
        {"lldpV2RemOrgDefInfo", {{0, 507}}},
        {"lldpV2LocChassisId", id},
        {"lldpV2RemChassisId", id},
        {"lldpV2LocPortId", id},
        {"lldpV2RemPortId", id},
        {"lldpV2LocSysName", text},
        {"lldpV2LocSysDesc", text},
        {"lldpV2LocPortDesc", text},
        {"lldpV2RemPortDesc", text},
        {"lldpV2RemSysName", text},
        {"lldpV2RemSysDesc", text},
        {"lldpV2PortConfigIfIndex", {{1, 2147483647}}},
        {"lldpV2StatsTxPortFramesTotal", {}},
        {"lldpV2StatsRemTablesInserts", {}},
        {"lldpV2LocManAddrIfId", {}},
        {"lldpV2RemTimeMark", {}},
    };
    if (IsDot1()) {
        cases.push_back({"lldpV2Xdot1LocPortVlanId", {{0, 0}, {1, 4094}}});
        cases.push_back({"lldpV2Xdot1RemPortVlanId", {{0, 0}, {1, 4094}}});
        cases.push_back({"lldpV2Xdot1LocVlanId", {{1, 4094}}});
        cases.push_back({"lldpV2Xdot1RemVlanId", {{1, 4094}}});
    }
    for (const auto &[name, ranges] : cases) EXPECT_EQ(RangesOf(tree().At(name)), ranges) << name;
    EXPECT_EQ(tree().At("lldpV2StatsTxPortFramesTotal").syntax->restriction, nullptr);
}

TEST_P(MibTreeTest, Defaults) {
    std::vector<std::pair<const char *, const char *>> cases = {
        {"lldpV2MessageTxInterval", "{ 30 }"},
        {"lldpV2MessageTxHoldMultiplier", "{ 4 }"},
        {"lldpV2ReinitDelay", "{ 2 }"},
        {"lldpV2NotificationInterval", "{ 30 }"},
        {"lldpV2TxCreditMax", "{ 5 }"},
        {"lldpV2MessageFastTx", "{ 1 }"},
        {"lldpV2TxFastInit", "{ 4 }"},
        {"lldpV2PortConfigAdminStatus", "{ txAndRx }"},
        {"lldpV2PortConfigNotificationEnable", "{ false }"},
        {"lldpV2PortConfigTLVsTxEnable", "{ { } }"},
        {"lldpV2ManAddrConfigTxEnable", "{ false }"},
        {"lldpV2RemSysDesc", ""},
        {"ifIndex", ""},
        {"iso", ""},
        {"lldpV2PortConfigTable", ""},
    };
    if (IsDot1()) {
        cases.push_back({"lldpV2Xdot1ConfigPortVlanTxEnable", "{ false }"});
        cases.push_back({"lldpXdot1dcbxAdminETSConPriTrafficClass", "{ 0 }"});
    }
    if (IsDot3()) cases.push_back({"lldpV2Xdot3PortConfigTLVsTxEnable", "{ { } }"});
    for (const auto &[name, text] : cases) EXPECT_STREQ(tree().At(name).defaultValue, text) << name;
}

using Labels = std::vector<std::pair<std::string, uint64_t>>;

Labels LabelsOf(const MIB_NODE_S &n) {
    Labels out;
    const MIB_RESTRICTION_S *r = n.syntax != nullptr ? n.syntax->restriction : nullptr;
    if (r == nullptr || r->kind != MIB_RESTRICT_NAMED) return out;
    for (uint32_t i = 0; i < r->count; ++i) out.emplace_back(r->named[i].label, r->named[i].value);
    return out;
}

TEST_P(MibTreeTest, NamedValuesInModuleOrder) {
    const Labels truth = {{"true", 1}, {"false", 2}};
    const std::pair<const char *, Labels> cases[] = {
        {"lldpV2PortConfigAdminStatus", {{"txOnly", 1}, {"rxOnly", 2}, {"txAndRx", 3}, {"disabled", 4}}},
        {"lldpV2PortConfigNotificationEnable", truth},
        {"lldpV2RemTooManyNeighbors", truth},
        {"lldpV2PortConfigTLVsTxEnable", {{"portDesc", 0}, {"sysName", 1}, {"sysDesc", 2}, {"sysCap", 3}}},
        {"lldpV2ManAddrConfigRowStatus",
         {{"active", 1}, {"notInService", 2}, {"notReady", 3}, {"createAndGo", 4}, {"createAndWait", 5}, {"destroy", 6}}},
    };
    for (const auto &[name, labels] : cases) EXPECT_EQ(LabelsOf(tree().At(name)), labels) << name;

    // The management-address subtypes: other(0) .. gwid(24), then reserved.
    for (const char *name : {"lldpV2LocManAddrSubtype", "lldpV2RemManAddrSubtype", "lldpV2ManAddrConfigLocManAddrSubtype"}) {
        SCOPED_TRACE(name);
        const Labels subtypes = LabelsOf(tree().At(name));
        ASSERT_EQ(subtypes.size(), 26u);
        for (uint64_t i = 0; i < 25; ++i) EXPECT_EQ(subtypes[i].second, i);
        EXPECT_EQ(subtypes[0].first, "other");
        EXPECT_EQ(subtypes[2].first, "ipV6");
        EXPECT_EQ(subtypes[24].first, "gwid");
        EXPECT_EQ(subtypes[25], (std::pair<std::string, uint64_t>{"reserved", 65535}));
    }
    const Labels caps = LabelsOf(tree().At("lldpV2LocSysCapSupported"));
    ASSERT_EQ(caps.size(), 11u);
    EXPECT_EQ(caps.front(), (std::pair<std::string, uint64_t>{"other", 0}));
    EXPECT_EQ(caps.back(), (std::pair<std::string, uint64_t>{"twoPortMACRelay", 10}));
}

INSTANTIATE_TEST_SUITE_P(Trees, MibTreeTest, ::testing::ValuesIn(kTrees), TreeName);

}  // namespace
}  // namespace lldpv2test
