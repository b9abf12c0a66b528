// Get, get-next and set on a test MIB through a module that answers like
// the LLDP module: walks visit every served instance once and in order,
// module codes become the right SNMP answers, sets are grouped by row.
#include <gtest/gtest.h>

#include "test_mib.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace lldpv2test {
namespace {

using lldpv2agent::Engine;
using lldpv2agent::MibTree;
using lldpv2agent::NextResult;

class EngineTest : public ::testing::Test {
protected:
    EngineTest() : tree("TEST-MIB", mib.tree.Root()), module(mib), engine(module.Deliver()) {
        module.AddRow(1, "a", {0x00, 0x80, 0xC2}, 10, 1);
        module.AddRow(1, "bb", {0x00, 0x80, 0xC2}, 11, 2);
        module.AddRow(2, "a", {0x00, 0x12, 0x0F}, 20, 1);
        // Rows whose index the index columns' syntax refuses (ifIndex above
        // its range, a name longer than its size) are never shown.
        module.AddRow(1, "waytoolongname", {0x00, 0x80, 0xC2}, 12, 1);
        module.AddRow(150, "a", {0x00, 0x80, 0xC2}, 13, 1);
    }

    // Every OID a walk from `from` visits.
    std::vector<std::pair<Oid, lldpv2agent::SnmpValue>> Walk(Oid from) {
        std::vector<std::pair<Oid, lldpv2agent::SnmpValue>> seen;
        for (int guard = 0; guard < 1000; ++guard) {
            NextResult r = engine.GetNext(tree, from, false, {});
            EXPECT_NE(r.status, NextResult::Failed);
            if (r.status != NextResult::Found) break;
            seen.emplace_back(r.oid, r.value);
            from = r.oid;
        }
        return seen;
    }

    TestMib mib;
    MibTree tree;
    FakeModule module;
    Engine engine;
};

TEST_F(EngineTest, WalkVisitsEveryServedInstanceInOrder) {
    auto seen = Walk({1});
    std::vector<Oid> oids;
    for (auto &[oid, value] : seen) oids.push_back(oid);
    const Oid value = Cat(kTop, {2, 1, 4}), status = Cat(kTop, {2, 1, 5});
    std::vector<Oid> expected = {
        Cat(kTop, {1, 1, 0}), Cat(kTop, {1, 2, 0}), Cat(kTop, {1, 3, 0}),
        // Index columns, the column without MOR id and the table without a
        // processor are passed by.
        Cat(value, {1, 1, 'a', 0, 0x80, 0xC2}), Cat(value, {1, 2, 'b', 'b', 0, 0x80, 0xC2}),
        Cat(value, {2, 1, 'a', 0, 0x12, 0x0F}),
        Cat(status, {1, 1, 'a', 0, 0x80, 0xC2}), Cat(status, {1, 2, 'b', 'b', 0, 0x80, 0xC2}),
        Cat(status, {2, 1, 'a', 0, 0x12, 0x0F}),
        Cat(kTop, {4, 1, 0}),
    };
    EXPECT_EQ(oids, expected);
    ASSERT_EQ(seen.size(), expected.size());
    EXPECT_EQ(seen[0].second.type, ASN_UNSIGNED);
    EXPECT_EQ(seen[0].second.number, 30);
    EXPECT_EQ(seen[2].second.type, ASN_COUNTER);
    EXPECT_EQ(seen[4].second.number, 11);
    EXPECT_EQ(seen[7].second.type, ASN_INTEGER);
    EXPECT_EQ(seen[7].second.number, 2);
    EXPECT_EQ(seen[9].second.type, ASN_OCTET_STR);
    for (size_t i = 1; i < oids.size(); ++i) EXPECT_LT(lldpv2agent::CompareOid(oids[i - 1], oids[i]), 0);
}

TEST_F(EngineTest, GetNextFromArbitraryPoints) {
    const Oid value = Cat(kTop, {2, 1, 4});
    const Oid row1a = {1, 1, 'a', 0, 0x80, 0xC2}, row1bb = {1, 2, 'b', 'b', 0, 0x80, 0xC2},
              row2a = {2, 1, 'a', 0, 0x12, 0x0F};
    struct Case {
        const char *what;
        Oid from;
        Oid expected;  // empty: end of the tree
    } cases[] = {
        {"before the tree", {0, 5}, Cat(kTop, {1, 1, 0})},
        {"bare scalar", Cat(kTop, {1, 2}), Cat(kTop, {1, 2, 0})},
        {"scalar instance", Cat(kTop, {1, 2, 0}), Cat(kTop, {1, 3, 0})},
        {"past a scalar instance", Cat(kTop, {1, 2, 7, 7}), Cat(kTop, {1, 3, 0})},
        {"between branches", Cat(kTop, {1, 9}), Cat(value, row1a)},
        {"index column", Cat(kTop, {2, 1, 2, 77}), Cat(value, row1a)},
        {"column start", value, Cat(value, row1a)},
        {"inside first row", Cat(value, {1, 1, 'a', 0}), Cat(value, row1a)},
        {"after first row", Cat(value, row1a), Cat(value, row1bb)},
        {"integer only", Cat(value, {2}), Cat(value, row2a)},
        {"integer above range", Cat(value, {500}), Cat(kTop, {2, 1, 5, 1, 1, 'a', 0, 0x80, 0xC2})},
        {"string length above range", Cat(value, {1, 50}), Cat(value, row2a)},
        {"last row", Cat(value, row2a), Cat(kTop, {2, 1, 5, 1, 1, 'a', 0, 0x80, 0xC2})},
        {"table without processor", Cat(kTop, {3}), Cat(kTop, {4, 1, 0})},
        {"last leaf", Cat(kTop, {4, 1, 0}), {}},
        {"after the tree", {2}, {}},
    };
    for (const Case &c : cases) {
        NextResult r = engine.GetNext(tree, c.from, false, {});
        ASSERT_NE(r.status, NextResult::Failed) << c.what;
        if (c.expected.empty()) {
            EXPECT_EQ(r.status, NextResult::End) << c.what;
        } else {
            EXPECT_EQ(r.oid, c.expected) << c.what << ": got " << lldpv2agent::OidToString(r.oid);
        }
    }
}

TEST_F(EngineTest, GetNextHonoursLimitAndInclusive) {
    const Oid row = Cat(kTop, {2, 1, 4, 1, 1, 'a', 0, 0x80, 0xC2});
    NextResult r = engine.GetNext(tree, row, true, {});
    EXPECT_EQ(r.oid, row);
    // A walk stops at the end of the registered range without asking the
    // module about what lies beyond it.
    module.requests.clear();
    r = engine.GetNext(tree, Cat(kTop, {1, 3, 0}), false, Cat(kTop, {2}));
    EXPECT_EQ(r.status, NextResult::End);
    EXPECT_TRUE(module.requests.empty());
}

TEST_F(EngineTest, GetAnswers) {
    const Oid value = Cat(kTop, {2, 1, 4});
    struct Case {
        const char *what;
        Oid oid;
        int exception;
        int64_t number;
    } cases[] = {
        {"scalar", Cat(kTop, {1, 1, 0}), 0, 30},
        {"scalar without .0", Cat(kTop, {1, 1}), SNMP_NOSUCHINSTANCE, 0},
        {"scalar with .1", Cat(kTop, {1, 1, 1}), SNMP_NOSUCHINSTANCE, 0},
        {"row", Cat(value, {1, 2, 'b', 'b', 0, 0x80, 0xC2}), 0, 11},
        {"missing row", Cat(value, {3, 1, 'a', 0, 0x80, 0xC2}), SNMP_NOSUCHINSTANCE, 0},
        {"malformed instance", Cat(value, {1, 2, 'b'}), SNMP_NOSUCHINSTANCE, 0},
        {"index column", Cat(kTop, {2, 1, 1, 1, 1, 'a', 0, 0x80, 0xC2}), SNMP_NOSUCHOBJECT, 0},
        {"column without MOR id", Cat(kTop, {2, 1, 6, 1, 1, 'a', 0, 0x80, 0xC2}), SNMP_NOSUCHOBJECT, 0},
        {"table without processor", Cat(kTop, {3, 1, 2, 1}), SNMP_NOSUCHOBJECT, 0},
        {"no such object", Cat(kTop, {9, 1, 0}), SNMP_NOSUCHOBJECT, 0},
        {"branch", kTop, SNMP_NOSUCHOBJECT, 0},
    };
    for (const Case &c : cases) {
        lldpv2agent::GetResult r = engine.Get(tree, c.oid);
        EXPECT_FALSE(r.failed) << c.what;
        EXPECT_EQ(r.exception, c.exception) << c.what;
        if (c.exception == 0) {
            EXPECT_EQ(r.value.number, c.number) << c.what;
        }
    }
}

TEST_F(EngineTest, ReusedResultsAnswerAsFreshOnes) {
    // One result carried through a whole walk and the gets of what it
    // found, as the agent's handlers reuse theirs: nothing of the instance
    // before (a number, octets) is left in the next answer.
    auto expectSame = [](const lldpv2agent::SnmpValue &a, const lldpv2agent::SnmpValue &b, const Oid &at) {
        EXPECT_EQ(a.type, b.type) << lldpv2agent::OidToString(at);
        EXPECT_EQ(a.number, b.number) << lldpv2agent::OidToString(at);
        EXPECT_EQ(a.octets, b.octets) << lldpv2agent::OidToString(at);
        EXPECT_EQ(a.objectId, b.objectId) << lldpv2agent::OidToString(at);
    };
    NextResult next;
    lldpv2agent::GetResult got;
    Oid from = {1};
    size_t found = 0;
    for (int guard = 0; guard < 100; ++guard) {
        const NextResult fresh = engine.GetNext(tree, from, false, {});
        engine.GetNext(tree, from, false, {}, next);
        ASSERT_EQ(next.status, fresh.status);
        if (fresh.status != NextResult::Found) break;
        ++found;
        EXPECT_EQ(next.oid, fresh.oid);
        expectSame(next.value, fresh.value, fresh.oid);
        const lldpv2agent::GetResult freshGot = engine.Get(tree, fresh.oid);
        engine.Get(tree, fresh.oid, got);
        EXPECT_EQ(got.exception, freshGot.exception);
        EXPECT_EQ(got.failed, freshGot.failed);
        expectSame(got.value, fresh.value, fresh.oid);
        from = fresh.oid;
    }
    EXPECT_EQ(found, 10u);
}

TEST(MorCodes, MappedToSnmp) {
    struct Case {
        uint32_t code;
        int get;
        lldpv2agent::WalkStep walk;
        int set;
    } cases[] = {
        {0x61010058, SNMP_NOSUCHINSTANCE, lldpv2agent::WalkStep::NextLeaf, SNMP_ERR_NOCREATION},
        {0x61010059, SNMP_NOSUCHINSTANCE, lldpv2agent::WalkStep::NextLeaf, SNMP_ERR_GENERR},
        {0x61010051, SNMP_NOSUCHINSTANCE, lldpv2agent::WalkStep::NextLeaf, SNMP_ERR_GENERR},
        {0x61010057, SNMP_NOSUCHINSTANCE, lldpv2agent::WalkStep::NextLeaf, SNMP_ERR_RESOURCEUNAVAILABLE},
        {0x61010041, SNMP_NOSUCHOBJECT, lldpv2agent::WalkStep::SkipTable, SNMP_ERR_NOTWRITABLE},
        {0x61010052, SNMP_NOSUCHOBJECT, lldpv2agent::WalkStep::SkipTable, SNMP_ERR_NOTWRITABLE},
        {0x61010049, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_WRONGVALUE},
        {0x61010048, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_WRONGVALUE},
        {0x6101004A, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_INCONSISTENTVALUE},
        {0x6101004B, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_RESOURCEUNAVAILABLE},
        {0x6101004C, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_INCONSISTENTVALUE},
        {0x61010050, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_NOCREATION},
        {0x6101004F, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_NOTWRITABLE},
        {0x40010003, SNMP_NOSUCHINSTANCE, lldpv2agent::WalkStep::NextLeaf, SNMP_ERR_GENERR},
        {0x40010005, SNMP_NOSUCHINSTANCE, lldpv2agent::WalkStep::NextLeaf, SNMP_ERR_GENERR},
        {0x40010001, 0, lldpv2agent::WalkStep::Fail, SNMP_ERR_GENERR},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(lldpv2agent::GetExceptionOf(c.code), c.get) << std::hex << c.code;
        EXPECT_EQ(lldpv2agent::WalkStepOf(c.code), c.walk) << std::hex << c.code;
        EXPECT_EQ(lldpv2agent::SetErrorOf(c.code), c.set) << std::hex << c.code;
    }
}

TEST_F(EngineTest, SetResolvesChecksGroupsAndBlames) {
    auto unsignedValue = [](uint32_t n) {
        lldpv2agent::SnmpValue v;
        v.type = ASN_UNSIGNED;
        v.number = n;
        return v;
    };
    const Oid row = {1, 1, 'a', 0, 0x80, 0xC2};
    lldpv2agent::SetTarget t;
    struct Case {
        const char *what;
        Oid oid;
        int expected;
    } refusals[] = {
        {"scalar without .0", Cat(kTop, {1, 1}), SNMP_ERR_NOCREATION},
        {"bad instance", Cat(kTop, {2, 1, 4, 0, 1, 'a', 0, 0x80, 0xC2}), SNMP_ERR_NOCREATION},
        {"read-only column", Cat(kTop, {2, 1, 5}), SNMP_ERR_NOTWRITABLE},
        {"unknown object", Cat(kTop, {7, 0}), SNMP_ERR_NOTWRITABLE},
    };
    for (const Case &c : refusals) EXPECT_EQ(engine.ResolveSet(tree, c.oid, unsignedValue(40), t), c.expected) << c.what;

    // Two columns of one row and two scalars: one row request, one per scalar.
    std::vector<lldpv2agent::SetTarget> targets(4);
    ASSERT_EQ(engine.ResolveSet(tree, Cat(kTop, {1, 1, 0}), unsignedValue(40), targets[0]), 0);
    ASSERT_EQ(engine.ResolveSet(tree, Cat(kTop, {2, 1, 4}), unsignedValue(1), targets[1]), SNMP_ERR_NOCREATION);
    ASSERT_EQ(engine.ResolveSet(tree, Cat(Cat(kTop, {2, 1, 4}), row), unsignedValue(77), targets[1]), 0);
    lldpv2agent::SnmpValue on;
    on.type = ASN_INTEGER;
    on.number = 2;
    ASSERT_EQ(engine.ResolveSet(tree, Cat(kTop, {1, 2, 0}), on, targets[2]), 0);
    ASSERT_EQ(engine.ResolveSet(tree, Cat(Cat(kTop, {2, 1, 4}), {2, 1, 'z', 1, 2, 3}), unsignedValue(999), targets[3]), 0);
    auto groups = lldpv2agent::GroupSets(targets);
    ASSERT_EQ(groups.size(), 4u);
    EXPECT_EQ(groups[1].indexParams, 3u);
    EXPECT_EQ(groups[1].request.params.size(), 4u);
    EXPECT_EQ(groups[1].request.opType, static_cast<uint32_t>(MOR_OP_SET));
    EXPECT_EQ(groups[1].request.tableId, 3u);

    uint32_t at = 0;
    EXPECT_EQ(engine.Apply(groups[0], at), 0u);
    EXPECT_EQ(module.scalars[kTxInterval], 40u);
    EXPECT_EQ(engine.Apply(groups[1], at), 0u);
    EXPECT_EQ(engine.Get(tree, Cat(Cat(kTop, {2, 1, 4}), row)).value.number, 77);
    EXPECT_EQ(engine.Apply(groups[3], at), 0x61010049u);
    EXPECT_EQ(groups[3].Blame(at), 3u);
    EXPECT_EQ(groups[3].Blame(MOR_PARA_INDEX_ALL), 3u);
    EXPECT_EQ(groups[1].Blame(0), 1u);  // an index parameter blames the row's first varbind
}

TEST(ServedSubtrees, LaterTreesAddOnlyWhatEarlierOnesLack) {
    TestMib base, extended;
    // The extension tree repeats the base tree and adds a subtree of its own.
    MIB_NODE_S *ext = extended.tree.Branch(const_cast<MIB_NODE_S *>(extended.tree.Root()->firstChild->firstChild),
                                           7, "extension");
    extended.tree.Leaf(ext, 1, "extScalar", MIB_KIND_SCALAR, MIB_SYNTAX_UNSIGNED32, MIB_ACCESS_READ_ONLY, 0x2321001);
    extended.tree.Finish();
    MibTree a("BASE", base.tree.Root()), b("EXT", extended.tree.Root());

    // The base tree keeps what it has; the extension tree gets only its own
    // subtree, and no registration lies inside another.
    auto plan = lldpv2agent::PlanServedSubtrees({&a, &b});
    std::vector<std::pair<Oid, const MibTree *>> got, expected = {
        {Cat(kTop, {1}), &a}, {Cat(kTop, {2}), &a}, {Cat(kTop, {3}), &a}, {Cat(kTop, {4}), &a}, {Cat(kTop, {7}), &b}};
    for (const auto &s : plan) got.emplace_back(s.prefix, s.tree);
    EXPECT_EQ(got, expected);

    // The same trees the other way round: the extension tree serves all.
    plan = lldpv2agent::PlanServedSubtrees({&b, &a});
    ASSERT_EQ(plan.size(), 1u);
    EXPECT_EQ(plan[0].prefix, kTop);
    EXPECT_EQ(plan[0].tree, &b);

    // Without the base tree the extension tree serves everything it has.
    plan = lldpv2agent::PlanServedSubtrees({&b});
    ASSERT_EQ(plan.size(), 1u);
    EXPECT_EQ(plan[0].prefix, kTop);
    EXPECT_EQ(plan[0].tree, &b);
}

}  // namespace
}  // namespace lldpv2test
