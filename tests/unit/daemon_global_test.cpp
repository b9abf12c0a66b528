// The daemons' global configuration: the global buffer and its parser, and
// LLDP_mor_SetGlobalCfg accepting in-range values on every node and refusing
// the rest without changing anything.
#include <gtest/gtest.h>

#include <cstring>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace {

using lldpv2host::LldpGlobalConfig;

class DaemonGlobal : public ::testing::Test {
protected:
    void SetUp() override {
        lldpv2host::ResetSwitch();
        lldpv2host::ResetLldp();
        lldpv2host::AddNode(1);
        lldpv2host::AddNode(2);
    }
};

LLDP_GLOBAL_CFG_S ReadGlobal() {
    uint8_t buf[4096];
    uint16_t len = 0;
    EXPECT_EQ(LLDP_mor_MibGet(0, 0, LLDP_ITEM_GLOBAL_CFG, sizeof buf, buf, &len), 0u);
    LLDP_GLOBAL_CFG_S cfg;
    std::memset(&cfg, 0xAB, sizeof cfg);
    EXPECT_EQ(LLDP_util_CreateFromGBuf(buf, len, &cfg), 0u);
    return cfg;
}

TEST_F(DaemonGlobal, DefaultsAreTheMibDefaults) {
    LLDP_GLOBAL_CFG_S cfg = ReadGlobal();
    EXPECT_EQ(cfg.txInterval, 30);
    EXPECT_EQ(cfg.notificationInterval, 30);
    EXPECT_EQ(cfg.reinitDelay, 2);
    EXPECT_EQ(cfg.txFastInit, 4);
    EXPECT_EQ(cfg.holdMultiplier, 4);
    EXPECT_EQ(cfg.txCreditMax, 5);
    EXPECT_EQ(cfg.msgFastTx, 1);
}

// Reads the parsed field that an id of LLDP_mor_SetGlobalCfg writes.
uint32_t FieldOf(const LLDP_GLOBAL_CFG_S &c, uint32_t id) {
    switch (id) {
        case LLDP_GLB_TX_INTERVAL: return c.txInterval;
        case LLDP_GLB_HOLD_MULTIPLIER: return c.holdMultiplier;
        case LLDP_GLB_REINIT_DELAY: return c.reinitDelay;
        case LLDP_GLB_TX_FAST_INIT: return c.txFastInit;
        case LLDP_GLB_NOTIFICATION_INTERVAL: return c.notificationInterval;
        case LLDP_GLB_TX_CREDIT_MAX: return c.txCreditMax;
        case LLDP_GLB_MSG_FAST_TX: return c.msgFastTx;
    }
    return 0xFFFFFFFF;
}

struct RangeCase {
    uint32_t id;
    uint32_t min;
    uint32_t max;
};

TEST_F(DaemonGlobal, SetAcceptsBoundsAndRefusesOutsideRange) {
    const RangeCase cases[] = {
        {LLDP_GLB_TX_INTERVAL, 5, 32768}, {LLDP_GLB_HOLD_MULTIPLIER, 2, 10},
        {LLDP_GLB_REINIT_DELAY, 1, 10},   {LLDP_GLB_TX_FAST_INIT, 1, 8},
        {LLDP_GLB_NOTIFICATION_INTERVAL, 5, 3600}, {LLDP_GLB_TX_CREDIT_MAX, 1, 100},
        {LLDP_GLB_MSG_FAST_TX, 1, 3600},
    };
    for (const RangeCase &c : cases) {
        SCOPED_TRACE(c.id);
        for (uint32_t v : {c.min, c.max}) {
            EXPECT_EQ(LLDP_mor_SetGlobalCfg(1, c.id, v), 0u);
            EXPECT_EQ(FieldOf(ReadGlobal(), c.id), v);
        }
        const uint32_t before = FieldOf(ReadGlobal(), c.id);
        for (uint32_t v : {c.min - 1, c.max + 1, 0x10000u + c.min, 0xFFFFFFFFu}) {
            EXPECT_NE(LLDP_mor_SetGlobalCfg(1, c.id, v), 0u) << v;
            EXPECT_EQ(FieldOf(ReadGlobal(), c.id), before) << v;
        }
    }
}

TEST_F(DaemonGlobal, UnknownIdsAndScopesAreRefused) {
    for (uint32_t id : {0u, 1u, 5u, 8u, 11u, 0xFFFFFFFFu}) {
        EXPECT_EQ(LLDP_mor_SetGlobalCfg(1, id, 10), LLDP_ERR_BAD_VALUE) << id;
    }
    EXPECT_NE(LLDP_mor_SetGlobalCfg(0, LLDP_GLB_TX_INTERVAL, 40), 0u);
    EXPECT_EQ(ReadGlobal().txInterval, 30);
}

TEST_F(DaemonGlobal, SetReachesEveryNodeAndResetRestoresDefaults) {
    ASSERT_EQ(LLDP_mor_SetGlobalCfg(1, LLDP_GLB_TX_INTERVAL, 40), 0u);
    EXPECT_EQ(lldpv2host::GlobalConfig().txInterval, 40);
    EXPECT_EQ(lldpv2host::DaemonNodes(), (std::vector<uint16_t>{1, 2}));
    lldpv2host::ResetLldp();
    EXPECT_EQ(ReadGlobal().txInterval, 30);
}

TEST_F(DaemonGlobal, WholeConfigIsCheckedBeforeAnythingChanges) {
    LldpGlobalConfig cfg;
    cfg.txInterval = 100;
    cfg.holdMultiplier = 11;  // out of range
    EXPECT_EQ(lldpv2host::SetGlobalConfig(cfg), LLDP_ERR_BAD_VALUE);
    EXPECT_EQ(ReadGlobal().txInterval, 30);
    cfg.holdMultiplier = 10;
    EXPECT_EQ(lldpv2host::SetGlobalConfig(cfg), 0u);
    EXPECT_EQ(ReadGlobal().holdMultiplier, 10);
}

TEST_F(DaemonGlobal, ParserRefusesShortOrForeignBuffers) {
    uint8_t buf[64];
    uint16_t len = 0;
    ASSERT_EQ(LLDP_mor_MibGet(0, 0, LLDP_ITEM_GLOBAL_CFG, sizeof buf, buf, &len), 0u);
    LLDP_GLOBAL_CFG_S cfg;
    EXPECT_NE(LLDP_util_CreateFromGBuf(buf, static_cast<uint16_t>(len - 1), &cfg), 0u);
    buf[0] ^= 0xFF;
    EXPECT_NE(LLDP_util_CreateFromGBuf(buf, len, &cfg), 0u);
    // An answer that does not fit the caller's capacity is refused.
    EXPECT_NE(LLDP_mor_MibGet(0, 0, LLDP_ITEM_GLOBAL_CFG, 4, buf, &len), 0u);
}

}  // namespace

namespace {

TEST(DaemonGlobalReset, ResetSwitchRestoresTheDefaults) {
    lldpv2host::ResetSwitch();
    ASSERT_EQ(LLDP_mor_SetGlobalCfg(1, LLDP_GLB_TX_CREDIT_MAX, 9), 0u);  // no node yet
    lldpv2host::SetClock(500);
    lldpv2host::ResetSwitch();
    EXPECT_EQ(lldpv2host::GlobalConfig().txCreditMax, 5);
    EXPECT_EQ(lldpv2host::Now(), 0u);
}

}  // namespace
