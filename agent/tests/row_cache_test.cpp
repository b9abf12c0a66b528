// Kept rows on the test MIB: a walk repeated, or of the next column, asks
// the module nothing and answers what the module would; a new generation,
// a step off the walked chain, a budget too small and a tree change all go
// back to the module.
#include <gtest/gtest.h>

#include "test_mib.h"
#include "walk_step.h"

namespace lldpv2test {
namespace {

using lldpv2agent::Engine;
using lldpv2agent::MibTree;
using lldpv2agent::NextResult;

using Step = WalkStep;

// Get-next requests of one walk of a column of the test table.
constexpr size_t kFirstColumnRequests = 6;

class RowCacheTest : public ::testing::Test {
protected:
    RowCacheTest() : tree("TEST-MIB", mib.tree.Root()), module(mib), cached(module.Deliver()), plain(module.Deliver()) {
        module.AddRow(1, "a", {0x00, 0x80, 0xC2}, 10, 1);
        module.AddRow(1, "bb", {0x00, 0x80, 0xC2}, 11, 2);
        module.AddRow(2, "a", {0x00, 0x12, 0x0F}, 20, 1);
        // Rows whose index the syntax refuses are never shown, kept or not.
        module.AddRow(1, "waytoolongname", {0x00, 0x80, 0xC2}, 12, 1);
        module.AddRow(150, "a", {0x00, 0x80, 0xC2}, 13, 1);
        KeepRows(1 << 20);
    }

    void KeepRows(size_t budget) {
        cached.KeepRows([this] { return generation; }, nullptr, {Cat(kTop, {2})}, budget);
    }

    static std::vector<Step> Walk(Engine &engine, const MibTree &tree, Oid from, int limit = 1000) {
        std::vector<Step> steps;
        for (int i = 0; i < limit; ++i) {
            NextResult r = engine.GetNext(tree, from, false, {});
            steps.push_back(WalkStep::Of(r));
            if (r.status != NextResult::Found) break;
            from = r.oid;
        }
        return steps;
    }

    // Requests of the row table since the last call.
    size_t TableRequests() {
        size_t n = 0;
        for (const auto &r : module.requests) n += r.tableId == 3 ? 1 : 0;
        module.requests.clear();
        return n;
    }

    TestMib mib;
    MibTree tree;
    FakeModule module;
    Engine cached;
    Engine plain;
    uint64_t generation = 1;
};

TEST_F(RowCacheTest, RepeatedWalksAnswerAsTheModuleWithoutAskingIt) {
    const std::vector<Step> expected = Walk(plain, tree, {1});
    ASSERT_EQ(expected.size(), 11u);  // ten instances, then the end
    TableRequests();

    // The first walk asks for each row of the first column; the second
    // column is walked over the same rows from the kept chain.
    EXPECT_EQ(Walk(cached, tree, {1}), expected);
    // Three rows of the first column, the two refused rows passed over on
    // the way, and the end.
    EXPECT_EQ(TableRequests(), kFirstColumnRequests);
    for (int again = 0; again < 3; ++again) {
        EXPECT_EQ(Walk(cached, tree, {1}), expected);
        EXPECT_EQ(TableRequests(), 0u);
    }
    ASSERT_NE(cached.KeptRows(), nullptr);
    EXPECT_GT(cached.KeptRows()->Bytes(), 0u);
}

TEST_F(RowCacheTest, NewGenerationAsksTheModuleAgain) {
    Walk(cached, tree, {1});
    struct Change {
        const char *what;
        std::function<void()> apply;
    } changes[] = {
        {"row added", [&] { module.AddRow(1, "c", {0x00, 0x80, 0xC2}, 14, 1); }},
        {"row removed", [&] { module.rows.erase(module.rows.begin()); }},
        {"value changed", [&] { std::prev(module.rows.end(), 2)->second.value = 99; }},  // row (2, "a")
        {"every row gone", [&] { module.rows.clear(); }},
    };
    for (const Change &c : changes) {
        c.apply();
        // Unchanged generation: the kept rows still answer (and so differ).
        EXPECT_NE(Walk(cached, tree, {1}), Walk(plain, tree, {1})) << c.what;
        ++generation;
        TableRequests();
        EXPECT_EQ(Walk(cached, tree, {1}), Walk(plain, tree, {1})) << c.what;
        EXPECT_GT(TableRequests(), 0u) << c.what;
    }
}

TEST_F(RowCacheTest, StepsOffTheChainGoToTheModule) {
    Walk(cached, tree, {1});
    const Oid value = Cat(kTop, {2, 1, 4});
    const Oid inside[] = {
        Cat(value, {1, 1, 'a', 0}),            // cut short
        Cat(value, {2}),                       // first index column only
        Cat(value, {1, 1, 'a', 0, 0x80, 0xC3}), // between two rows
        Cat(value, {500}),                     // past every row
    };
    for (const Oid &from : inside) {
        TableRequests();
        EXPECT_EQ(Walk(cached, tree, from, 1), Walk(plain, tree, from, 1)) << lldpv2agent::OidToString(from);
        EXPECT_GT(TableRequests(), 0u) << lldpv2agent::OidToString(from);
    }
    // From a kept row: answered from the chain.
    TableRequests();
    const Oid row = Cat(value, {1, 1, 'a', 0, 0x80, 0xC2});
    EXPECT_EQ(Walk(cached, tree, row, 1), Walk(plain, tree, row, 1));
    EXPECT_EQ(TableRequests(), 1u);  // the plain engine's
}

TEST_F(RowCacheTest, BudgetKeepsWhatFitsAndAsksForTheRest) {
    // A row of the test table takes 44 bytes.
    for (size_t budget : {size_t{0}, size_t{50}, size_t{100}}) {
        KeepRows(budget);
        const std::vector<Step> expected = Walk(plain, tree, {1});
        Walk(cached, tree, {1});
        EXPECT_LE(cached.KeptRows()->Bytes(), budget);
        TableRequests();
        EXPECT_EQ(Walk(cached, tree, {1}), expected) << budget;
        // Rows beyond the budget, and the end after them, are asked for again.
        EXPECT_GT(TableRequests(), 0u) << budget;
    }
}

TEST_F(RowCacheTest, PartialWalkIsContinuedByTheNext) {
    // A walk cut short (a bulk request's last repetition) keeps what it
    // found; the next walk goes on from there.
    const std::vector<Step> expected = Walk(plain, tree, {1});
    Walk(cached, tree, {1}, 5);
    TableRequests();
    EXPECT_EQ(Walk(cached, tree, {1}), expected);
    EXPECT_EQ(TableRequests(), 4u);  // the third row and the end, each after a refused row
}

TEST_F(RowCacheTest, ForgottenWhenTreesChange) {
    Walk(cached, tree, {1});
    cached.ForgetRows();
    EXPECT_EQ(cached.KeptRows()->Bytes(), 0u);
    TableRequests();
    Walk(cached, tree, {1});
    EXPECT_EQ(TableRequests(), kFirstColumnRequests);
}

TEST_F(RowCacheTest, RefreshRunsBeforeEveryAnswer) {
    // What falls due by now (a neighbour ageing out) happens in the refresh,
    // before a kept row could answer for it.
    bool ageOut = false;
    cached.KeepRows([this] { return generation; },
                    [&] {
                        if (!ageOut) return;
                        ageOut = false;
                        module.rows.erase(module.rows.begin());
                        ++generation;
                    },
                    {Cat(kTop, {2})}, 1 << 20);
    Walk(cached, tree, {1});
    ageOut = true;
    const std::vector<Step> walked = Walk(cached, tree, {1});
    EXPECT_FALSE(ageOut);
    EXPECT_EQ(walked, Walk(plain, tree, {1}));
}

TEST_F(RowCacheTest, AnswerAcrossAChangeIsNotKept) {
    // The generation moves while the module answers (the agent brings the
    // clock up to date with each request): the answer may be of either side
    // of the change, so nothing of it is kept.
    Engine engine([this, deliver = module.Deliver()](uint32_t id, lldpv2host::MorMessage &req,
                                                      lldpv2host::MorMessage &reply) {
        ++generation;
        return deliver(id, req, reply);
    });
    engine.KeepRows([this] { return generation; }, nullptr, {Cat(kTop, {2})}, 1 << 20);
    Walk(engine, tree, {1});
    EXPECT_EQ(engine.KeptRows()->Bytes(), 0u);
}

TEST_F(RowCacheTest, TablesOutsideTheSubtreesAreNotKept) {
    cached.KeepRows([this] { return generation; }, nullptr, {Cat(kTop, {3})}, 1 << 20);
    Walk(cached, tree, {1});
    TableRequests();
    Walk(cached, tree, {1});
    EXPECT_EQ(TableRequests(), 2 * kFirstColumnRequests);
    EXPECT_EQ(cached.KeptRows()->Bytes(), 0u);
}

}  // namespace
}  // namespace lldpv2test
