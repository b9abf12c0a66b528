// The exported index and reply helpers and the interface walk.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lldpv2/platform.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;

struct PortAgent {
    uint32_t port;
    uint32_t agent;
};

class RequestHelpersTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        // One interface of every type class, plus odd ones.
        AddPort(1, 18);    // ordinary
        AddPort(2, 56);    // second class
        AddPort(3, 82);    // customer-bridge-only
        AddPort(4, 31);    // nearest-bridge-only
        AddPort(5, 7);     // not an LLDP port
        AddPort(6, 19, [](lldpv2host::Interface &i) { i.temporary = true; });
        AddPort(7, 21, [](lldpv2host::Interface &i) { i.subInterface = true; });
        AddPort(8, 22, [](lldpv2host::Interface &i) { i.typeReadable = false; });
        AddPort(9, 28);
    }
    template <typename F = void (*)(lldpv2host::Interface &)>
    void AddPort(uint32_t ifIndex, uint32_t type, F tweak = [](lldpv2host::Interface &) {}) {
        lldpv2host::Interface i;
        i.ifIndex = ifIndex;
        i.name = "port" + std::to_string(ifIndex);
        i.node = 1;
        i.type = type;
        tweak(i);
        lldpv2host::AddInterface(i);
    }
};

TEST_F(RequestHelpersTest, AgentChecksDependOnModeAndAgent) {
    auto checkAgent = module().Function<uint32_t(uint32_t, uint16_t)>("LLDP_mibpub_CheckAgent");
    auto checkAgentCfg = module().Function<uint32_t(uint32_t, uint16_t)>("LLDP_mibpub_CheckAgentCfg");
    struct Case {
        uint32_t agent;
        uint16_t mode;
        uint32_t agentResult;
        uint32_t cfgResult;
    };
    const Case cases[] = {
        {1, 0, 0, 0},
        {2, 0, 0, 0x61010058},
        {3, 0, 0, 0x61010058},
        {0, 0, 0x61010058, 0x61010058},
        {4, 0, 0x61010058, 0x61010058},
        {4, 1, 0x61010049, 0x61010049},
        {2, 1, 0, 0x61010049},
        {0, 2, 0x61010058, 0x61010058},
        {0xFFFFFFFF, 1, 0x61010049, 0x61010049},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "agent " << c.agent << " mode " << c.mode);
        EXPECT_EQ(checkAgent(c.agent, c.mode), c.agentResult);
        EXPECT_EQ(checkAgentCfg(c.agent, c.mode), c.cfgResult);
    }
}

TEST_F(RequestHelpersTest, PortCheckAndPortType) {
    auto checkPort = module().Function<uint32_t(uint32_t)>("LLDP_mibpub_CheckPort");
    auto getPortType = module().Function<uint32_t(uint32_t, uint32_t *)>("LLDP_mibpub_GetPortType");
    struct Case {
        uint32_t ifIndex;
        uint32_t check;
        uint32_t typeResult;
        uint32_t type;
    };
    const Case cases[] = {
        {1, 0, 0, 18},
        {2, 0, 0, 56},
        {5, 0, 0, 7},
        {6, 0x61010058, 0x40010001, 128},  // temporary
        {7, 0x61010058, 0x40010001, 128},  // sub-interface
        {99, 0x61010058, 0x40010001, 128}, // no such interface
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.ifIndex);
        EXPECT_EQ(checkPort(c.ifIndex), c.check);
        uint32_t type = 0;
        EXPECT_EQ(getPortType(c.ifIndex, &type), c.typeResult);
        EXPECT_EQ(type, c.type);
    }
    // A type that cannot be read leaves 128 and passes the platform's error on.
    uint32_t type = 0;
    EXPECT_EQ(getPortType(8, &type), lldpv2host::kIfAttributeUnreadable);
    EXPECT_EQ(type, 128u);
}

TEST_F(RequestHelpersTest, ReplyIndexWritersUseFixedTypesAndOrder) {
    auto setIndex = module().Function<uint32_t(MOR_MSG, uint32_t, uint32_t, const PortAgent *)>(
        "LLDP_mibpub_SetIndexToReplyMsg");
    auto setTfai = module().Function<uint32_t(MOR_MSG, uint32_t, uint32_t, uint32_t, uint32_t, const LLDP_TFAI_S *)>(
        "LLDP_mibpub_SetTfaiToReplyMsg");
    lldpv2host::MorMessage reply;
    const PortAgent pair{7, 3};
    EXPECT_EQ(setIndex(&reply, 0x2320301, 0x2320302, &pair), 0u);
    const LLDP_TFAI_S tfai{500, 9, 2, 17};
    EXPECT_EQ(setTfai(&reply, 0x2320c01, 0x2320c02, 0x2320c03, 0x2320c04, &tfai), 0u);
    std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> got;
    for (const auto &p : reply.params) {
        EXPECT_EQ(p.value.size(), 4u);
        got.emplace_back(p.morId, p.type, lldpv2host::ParamU32(p));
    }
    using T = std::tuple<uint32_t, uint32_t, uint32_t>;
    EXPECT_THAT(got, ElementsAre(T{0x2320301, 0, 7}, T{0x2320302, 2, 3}, T{0x2320c01, 3, 500}, T{0x2320c02, 0, 9},
                                 T{0x2320c03, 2, 2}, T{0x2320c04, 2, 17}));
}

TEST_F(RequestHelpersTest, IndexRecordInitialisersZero) {
    auto initTfai = module().Function<void(LLDP_TFAI_S *)>("LLDP_mibpub_InitTfai");
    auto initPair = module().Function<void(PortAgent *)>("LLDP_mibpub_InitPortAgent");
    LLDP_TFAI_S tfai{1, 2, 3, 4};
    initTfai(&tfai);
    EXPECT_EQ(tfai.timeMark | tfai.ifIndex | tfai.agent | tfai.remIndex, 0u);
    PortAgent pair{5, 6};
    initPair(&pair);
    EXPECT_EQ(pair.port | pair.agent, 0u);
}

TEST_F(RequestHelpersTest, LackIndexTellsWhetherAColumnIsMissing) {
    auto lack = module().Function<uint32_t(MOR_MSG, uint32_t)>("LLDP_mibpub_CheckLackIndex");
    lldpv2host::MorMessage request = lldpv2host::MakeRequest(1, 3);
    lldpv2host::AddUint32(request, 0x2320301, 5);
    EXPECT_EQ(lack(&request, 0x2320301), 0u);
    EXPECT_EQ(lack(&request, 0x2320302), 1u);
}

TEST_F(RequestHelpersTest, TlvListsSkipTheInformationHeaders) {
    auto locCreate = module().Function<uint32_t(const uint8_t *, uint16_t, LLDP_TLV_LIST_S *)>(
        "LLDP_mibpub_LocInfoCreateTLVList");
    auto remCreate = module().Function<uint32_t(const uint8_t *, uint16_t, LLDP_TLV_LIST_S *)>(
        "LLDP_mibpub_RemInfoToTLVList");
    auto freeList = module().Function<uint32_t(LLDP_TLV_LIST_S *)>("LLDP_mibpub_LocInfoFreeTLVList");
    // A port description TLV (type 4, length 2) after each header.
    const uint8_t local[] = {0xAA, 0xBB, 0xCC, 0xDD, 0x08, 0x02, 'p', '1', 0x00, 0x00};
    const uint8_t remote[] = {0xEE, 0x08, 0x02, 'p', '2', 0x00, 0x00};

    LLDP_TLV_LIST_S list{};
    ASSERT_EQ(locCreate(local, sizeof(local), &list), 0u);
    ASSERT_NE(list.head, nullptr);
    EXPECT_EQ(list.head->type, 4);
    EXPECT_EQ(list.head->len, 2);
    EXPECT_EQ(list.head->value[1], '1');
    freeList(&list);

    LLDP_TLV_LIST_S remList{};
    remCreate(remote, sizeof(remote), &remList);
    ASSERT_NE(remList.head, nullptr);
    EXPECT_EQ(remList.head->type, 4);
    EXPECT_EQ(remList.head->value[1], '2');
    freeList(&remList);

    // Too short for the local header: refused, the list untouched.
    LLDP_TLV_LIST_S untouched{};
    untouched.count = 77;
    EXPECT_EQ(locCreate(local, 3, &untouched), 0x61010058u);
    EXPECT_EQ(untouched.count, 77u);
    EXPECT_EQ(untouched.head, nullptr);
}

TEST_F(RequestHelpersTest, InterfaceWalkFollowsTheStandardSelection) {
    auto next = module().Function<uint32_t(uint32_t)>("GetNextIfIndexByIfIndex");
    // Only ordinary LLDP ports that are valid, not temporary and not
    // sub-interfaces, in ifIndex order (8, whose type attribute cannot be
    // read, is the interface manager's call).
    std::vector<uint32_t> seen;
    for (uint32_t i = next(0); i != 0 && seen.size() < 20; i = next(i)) seen.push_back(i);
    std::erase(seen, 8u);
    EXPECT_THAT(seen, ElementsAre(1u, 9u));
    EXPECT_EQ(next(9), 0u);

    auto nextSel = module().Function<uint32_t(uint32_t, IF_SELECT_S *)>("LLDP_mibpub_GetNextIfIndexByIfIndex");
    IF_SELECT_S sel{};
    IF_Select_Init(5, &sel);
    IF_SelectType_Set(56, &sel);
    IF_SelectType_Set(31, &sel);
    EXPECT_EQ(nextSel(0, &sel), 2u);
    EXPECT_EQ(nextSel(2, &sel), 4u);
    EXPECT_EQ(nextSel(4, &sel), 0u);
    // A failed iterator looks like the end.
    lldpv2host::SetFault("IF_IteratorInitialize", 1);
    EXPECT_EQ(nextSel(0, &sel), 0u);
}

}  // namespace
}  // namespace lldpv2test
