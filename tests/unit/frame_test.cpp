// Loading and unloading of the module, and the routing of requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "lldpv2host/registry.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

// The platform calls of the constructor and destructor, in trace order.
std::vector<std::string> LifecycleCalls(const std::vector<std::string> &trace) {
    static const char *kPrefixes[] = {"SNMP_", "MOR_RegCallBack", "MOR_DeregCallBack", "LLDP_tlvmng_", "LLDP_lib"};
    std::vector<std::string> out;
    for (const auto &e : trace)
        for (const char *p : kPrefixes)
            if (e.rfind(p, 0) == 0) {
                out.push_back(e);
                break;
            }
    return out;
}

TEST(ModuleLifecycle, ConstructorAndDestructorRunInOrder) {
    lldpv2host::ResetSwitch();
    lldpv2host::ClearFaults();
    lldpv2host::StartTrace();
    auto module = std::make_unique<Module>();
    EXPECT_THAT(LifecycleCalls(lldpv2host::StopTrace()),
                ElementsAre("SNMP_RegisterMibTree LLDPV2-MIB", "SNMP_RegisterMibTree LLDPV2-EXT-DOT1-MIB",
                            "SNMP_RegisterMibTree LLDPV2-EXT-DOT3-MIB", "MOR_RegCallBack", "LLDP_tlvmng_Init",
                            "LLDP_libbasic_Reg", "LLDP_libdot1_Reg", "LLDP_libdot3_Reg", "LLDP_libDcbx_Reg"));

    std::vector<std::string> names;
    for (const auto &t : lldpv2host::RegisteredTrees()) {
        names.push_back(t.name);
        EXPECT_EQ(t.context, 0u);
        EXPECT_EQ(t.version, 1u);
        ASSERT_NE(t.root, nullptr);
        EXPECT_STREQ(t.root->name, "iso");
    }
    EXPECT_THAT(names, ElementsAre("LLDPV2-MIB", "LLDPV2-EXT-DOT1-MIB", "LLDPV2-EXT-DOT3-MIB"));
    EXPECT_TRUE(lldpv2host::HasCallback(kModuleId));

    lldpv2host::StartTrace();
    module.reset();
    EXPECT_THAT(LifecycleCalls(lldpv2host::StopTrace()),
                ElementsAre("SNMP_DeregMibTree LLDPV2-EXT-DOT3-MIB", "SNMP_DeregMibTree LLDPV2-EXT-DOT1-MIB",
                            "SNMP_DeregMibTree LLDPV2-MIB", "MOR_DeregCallBack", "LLDP_tlvmng_Exit",
                            "LLDP_libbasic_UnReg", "LLDP_libdot1_UnReg", "LLDP_libdot3_UnReg",
                            "LLDP_libDcbx_UnReg"));
    EXPECT_TRUE(lldpv2host::RegisteredTrees().empty());
    EXPECT_FALSE(lldpv2host::HasCallback(kModuleId));
}

TEST(ModuleLifecycle, FailedCallbackRegistrationLeavesModuleWithoutRequests) {
    lldpv2host::ResetSwitch();
    lldpv2host::SetFault("MOR_RegCallBack", 1);
    Module module;
    EXPECT_FALSE(lldpv2host::HasCallback(kModuleId));
    EXPECT_EQ(module.Function<uint32_t()>("LLDP_mibpub_V2MibMorInit")(), 0x40010001u);
    lldpv2host::ClearFaults();
    Result r = Get(2, {P::C(Mor(2, 1))});
    EXPECT_EQ(r.status, 0x61010041u);
}

class FrameTest : public ModuleTest {};

TEST_F(FrameTest, CodecRegistrationTriesAllFourAndCombinesFailures) {
    auto regTlv = module().Function<uint32_t()>("_mib_RegTLV");
    auto unregTlv = module().Function<uint32_t()>("_mib_UnRegTLV");
    EXPECT_EQ(regTlv(), 0u);

    lldpv2host::SetFault("LLDP_libdot1_Reg", 7);
    lldpv2host::StartTrace();
    EXPECT_EQ(regTlv(), 0x40010001u);
    EXPECT_THAT(LifecycleCalls(lldpv2host::StopTrace()),
                ElementsAre("LLDP_libbasic_Reg", "LLDP_libdot1_Reg", "LLDP_libdot3_Reg", "LLDP_libDcbx_Reg"));
    lldpv2host::ClearFaults();

    // Unregistration answers with the DCBX codec's result alone.
    for (const char *call : {"LLDP_libbasic_UnReg", "LLDP_libdot1_UnReg", "LLDP_libdot3_UnReg"})
        lldpv2host::SetFault(call, 9);
    EXPECT_EQ(unregTlv(), 0u);
    lldpv2host::SetFault("LLDP_libDcbx_UnReg", 0x1234);
    EXPECT_EQ(unregTlv(), 0x1234u);
}

TEST_F(FrameTest, TablesWithoutProcessorAreRefusedAfterTheServiceCheck) {
    for (uint32_t table : {0u, 1u, 16u, 17u, 18u, 19u, 20u, 41u, 42u, 43u, 82u, 99u, 255u, 0x12345u}) {
        SCOPED_TRACE(table);
        Result r = Get(table, {});
        EXPECT_EQ(r.status, 0x61010041u);
        EXPECT_EQ(r.ErrorCode(), 0x61010041u);
        EXPECT_EQ(r.ErrorIndex(), kAll);
        EXPECT_EQ(r.Count(), 0u);
    }
}

struct StoppedCase {
    uint32_t opType;
    uint32_t expected;  // 0: the request reaches the processor
};

TEST_F(FrameTest, StoppedServiceRefusesReadsButLetsSetsThrough) {
    lldpv2host::SetServiceStarted(static_cast<uint16_t>(lldpv2host::LocalUnit()), false);
    const StoppedCase cases[] = {{1, 0x61010057}, {3, 0x61010051}, {4, 0x61010052}, {0, 0x61010052},
                                 {10, 0x61010052}, {0xFFFFFFFF, 0x61010052}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.opType);
        // A table without a processor shows that the table id is not looked at.
        Result r = Send(c.opType, 17, {});
        EXPECT_EQ(r.status, c.expected);
        EXPECT_EQ(r.ErrorCode(), c.expected);
        EXPECT_EQ(r.ErrorIndex(), kAll);
    }
    // A set still reaches the processor and writes.
    Result set = Set(2, {P::N(Mor(2, 1), 45)});
    EXPECT_EQ(set.status, 0u);
    EXPECT_EQ(lldpv2host::GlobalConfig().txInterval, 45);
    // So do the phases 5..9.
    for (uint32_t op = 5; op <= 9; ++op) EXPECT_EQ(Send(op, 2, {P::N(Mor(2, 1), 50)}).status, 0u);
}

TEST_F(FrameTest, PhasesFiveToNineDoNothing) {
    for (uint32_t op = 5; op <= 9; ++op) {
        SCOPED_TRACE(op);
        Result r = Send(op, 2, {P::N(Mor(2, 1), 50)});
        EXPECT_EQ(r.status, 0u);
        EXPECT_FALSE(r.HasError());
        EXPECT_EQ(r.Count(), 0u);
    }
    EXPECT_EQ(lldpv2host::GlobalConfig().txInterval, 30);
}

uint32_t g_procCalls[2];
uint32_t FirstProc(uint32_t, MOR_MSG, MOR_MSG) { return ++g_procCalls[0], 0x11; }
uint32_t SecondProc(uint32_t opType, MOR_MSG, MOR_MSG reply) {
    ++g_procCalls[1];
    MOR_AppendPara2Msg(reply, 0, 0x2321001, 2, opType, 4);
    return 0x22;
}

TEST_F(FrameTest, RegisteringAgainReplacesTheProcessor) {
    using RegisterFn = uint32_t(uint32_t, uint32_t (*)(uint32_t, MOR_MSG, MOR_MSG));
    auto reg = module().Function<RegisterFn>("LLDP_mibpub_V2MIBRegisterTableProc");
    g_procCalls[0] = g_procCalls[1] = 0;
    reg(16, FirstProc);
    EXPECT_EQ(Get(16, {}).status, 0x11u);
    reg(16, SecondProc);
    Result r = Send(3, 16, {});
    // The dispatcher returns the processor's status and adds nothing itself.
    EXPECT_EQ(r.status, 0x22u);
    EXPECT_FALSE(r.HasError());
    EXPECT_THAT(r.MorIds(), ElementsAre(0x2321001u));
    EXPECT_EQ(r.U32(0), 3u);
    EXPECT_EQ(g_procCalls[0], 1u);
    EXPECT_EQ(g_procCalls[1], 1u);
}

TEST_F(FrameTest, ServiceCheckIsExported) {
    auto check = module().Function<uint32_t(uint32_t)>("LLDP_mibpub_CheckToStartService");
    for (uint32_t op = 0; op <= 11; ++op) EXPECT_EQ(check(op), 0u) << op;
    lldpv2host::SetServiceStarted(static_cast<uint16_t>(lldpv2host::LocalUnit()), false);
    const uint32_t expected[] = {0x61010052, 0x61010057, 0, 0x61010051, 0x61010052, 0, 0, 0, 0, 0, 0x61010052};
    for (uint32_t op = 0; op <= 10; ++op) EXPECT_EQ(check(op), expected[op]) << op;
}

}  // namespace
}  // namespace lldpv2test
