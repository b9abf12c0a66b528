// lldpV2Configuration scalars through the dispatcher.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "module_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;

class GlobalConfigTest : public ModuleTest {};

struct Scalar {
    const char *name;
    uint32_t column;
    uint32_t defaultValue;
    uint32_t inRange;
    uint32_t tooLow;
    uint32_t tooHigh;
    uint32_t (*daemon)(const lldpv2host::LldpGlobalConfig &);
};

const Scalar kScalars[] = {
    {"lldpV2MessageTxInterval", 1, 30, 40, 4, 32769, [](const auto &c) -> uint32_t { return c.txInterval; }},
    {"lldpV2MessageTxHoldMultiplier", 2, 4, 10, 1, 11, [](const auto &c) -> uint32_t { return c.holdMultiplier; }},
    {"lldpV2ReinitDelay", 3, 2, 10, 0, 11, [](const auto &c) -> uint32_t { return c.reinitDelay; }},
    {"lldpV2NotificationInterval", 4, 30, 3600, 4, 3601,
     [](const auto &c) -> uint32_t { return c.notificationInterval; }},
    {"lldpV2TxCreditMax", 5, 5, 100, 0, 101, [](const auto &c) -> uint32_t { return c.txCreditMax; }},
    {"lldpV2MessageFastTx", 6, 1, 3600, 0, 3601, [](const auto &c) -> uint32_t { return c.msgFastTx; }},
    {"lldpV2TxFastInit", 7, 4, 8, 0, 9, [](const auto &c) -> uint32_t { return c.txFastInit; }},
};

TEST_F(GlobalConfigTest, EveryScalarReadsAndWritesEndToEnd) {
    for (const Scalar &s : kScalars) {
        SCOPED_TRACE(s.name);
        const uint32_t mor = Mor(2, s.column);
        Result r = Get(2, {P::C(mor)});
        ASSERT_EQ(r.status, 0u);
        ASSERT_EQ(r.Count(), 1u);
        EXPECT_EQ(r.At(0).morId, mor);
        EXPECT_EQ(r.At(0).type, 2u);
        EXPECT_EQ(r.At(0).value.size(), 4u);
        EXPECT_EQ(r.U32(0), s.defaultValue);

        EXPECT_EQ(Set(2, {P::N(mor, s.inRange)}).status, 0u);
        EXPECT_EQ(s.daemon(lldpv2host::GlobalConfig()), s.inRange);
        EXPECT_EQ(Get(2, {P::C(mor)}).U32(0), s.inRange);

        // The processor makes no range check; the daemon refuses and the
        // refusal comes back as a refused set for the whole request.
        for (uint32_t bad : {s.tooLow, s.tooHigh}) {
            Result refused = Set(2, {P::N(mor, bad)});
            EXPECT_EQ(refused.status, 0x61010049u);
            EXPECT_EQ(refused.ErrorIndex(), kAll);
            EXPECT_EQ(s.daemon(lldpv2host::GlobalConfig()), s.inRange);
        }
    }
}

TEST_F(GlobalConfigTest, GetAnswersOnlyTheLastScalarNamed) {
    Result r = Get(2, {P::C(Mor(2, 1)), P::C(Mor(2, 7))});
    ASSERT_EQ(r.status, 0u);
    EXPECT_THAT(r.MorIds(), ElementsAre(Mor(2, 7)));
    EXPECT_EQ(r.U32(0), 4u);
}

TEST_F(GlobalConfigTest, EmptyGetAnswersOnePlaceholder) {
    Result r = Get(2, {});
    ASSERT_EQ(r.status, 0u);
    ASSERT_EQ(r.Count(), 1u);
    EXPECT_EQ(r.At(0).morId, kAll);
    EXPECT_EQ(r.At(0).type, 2u);
    EXPECT_EQ(r.U32(0), 0u);
}

TEST_F(GlobalConfigTest, UnknownColumnOnGetIsReportedAtItsPosition) {
    Result r = Get(2, {P::C(Mor(2, 1)), P::C(Mor(2, 8))});
    EXPECT_EQ(r.status, 0x61010052u);
    EXPECT_EQ(r.ErrorIndex(), 1u);
    EXPECT_EQ(r.Count(), 0u);
}

TEST_F(GlobalConfigTest, FirstSuccessfulWriteEndsTheSet) {
    Result r = Set(2, {P::N(Mor(2, 1), 40), P::N(Mor(2, 2), 6)});
    EXPECT_EQ(r.status, 0u);
    EXPECT_EQ(r.Count(), 0u);
    EXPECT_EQ(lldpv2host::GlobalConfig().txInterval, 40);
    EXPECT_EQ(lldpv2host::GlobalConfig().holdMultiplier, 4);
}

struct SetOutcome {
    const char *name;
    std::vector<P> params;
    uint32_t status;
};

TEST_F(GlobalConfigTest, FailedSetReportsWhatTheLastParameterWas) {
    const SetOutcome cases[] = {
        {"unknown then failing write", {P::N(Mor(2, 9), 1), P::N(Mor(2, 3), 11)}, 0x61010049},
        {"failing write then unknown", {P::N(Mor(2, 3), 11), P::N(Mor(2, 9), 1)}, 0x61010052},
        {"only unknown", {P::N(0x2320301, 1)}, 0x61010052},
        {"failing write then good write", {P::N(Mor(2, 3), 11), P::N(Mor(2, 3), 5)}, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(2, 2, c.params);
        EXPECT_EQ(r.status, c.status);
        if (c.status != 0) {
            EXPECT_EQ(r.ErrorCode(), c.status);
            EXPECT_EQ(r.ErrorIndex(), kAll);
        }
    }
    EXPECT_EQ(lldpv2host::GlobalConfig().reinitDelay, 5);
}

TEST_F(GlobalConfigTest, EmptySetWritesNothing) {
    Result r = Set(2, {});
    EXPECT_EQ(r.status, 0u);
    EXPECT_FALSE(r.HasError());
}

TEST_F(GlobalConfigTest, GetNextAndUnservedOpTypesAreRefused) {
    for (uint32_t op : {3u, 4u, 0u, 10u}) {
        SCOPED_TRACE(op);
        Result r = Send(op, 2, {P::C(Mor(2, 1))});
        EXPECT_EQ(r.status, 0x61010052u);
        EXPECT_EQ(r.ErrorIndex(), kAll);
    }
}

TEST_F(GlobalConfigTest, ExportedGetterFillsTheWholeView) {
    // A distinct value in every field, so that no two fields can be swapped
    // unnoticed (reinit delay and transmit delay are both 2 by default).
    lldpv2host::LldpGlobalConfig cfg;
    cfg.txInterval = 31;
    cfg.holdMultiplier = 5;
    cfg.reinitDelay = 6;
    cfg.txDelay = 3;
    cfg.notificationInterval = 33;
    cfg.txCreditMax = 9;
    cfg.msgFastTx = 11;
    cfg.txFastInit = 7;
    ASSERT_EQ(lldpv2host::SetGlobalConfig(cfg), 0u);
    uint32_t view[8] = {};
    auto get = module().Function<uint32_t(uint32_t *)>("LLDP_mibpub_GetGlbCfg");
    ASSERT_EQ(get(view), 0u);
    EXPECT_THAT(view, ElementsAre(31u, 5u, 6u, 3u, 33u, 9u, 11u, 7u));
    // The scalars serve their own fields of the view.
    const std::pair<uint32_t, uint32_t> scalars[] = {{1, 31}, {2, 5}, {3, 6}, {4, 33}, {5, 9}, {6, 11}, {7, 7}};
    for (const auto &[column, value] : scalars) EXPECT_EQ(Get(2, {P::C(Mor(2, column))}).U32(0), value) << column;
}

}  // namespace
}  // namespace lldpv2test
