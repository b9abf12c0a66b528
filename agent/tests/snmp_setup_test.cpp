// The --agentx-ping value as the command line gives it.
#include <gtest/gtest.h>

#include "snmp_setup.h"

namespace lldpv2test {
namespace {

TEST(AgentxPing, WholeSecondsWithinTheRangeOnly) {
    struct Case {
        const char *text;
        std::optional<unsigned> seconds;
    };
    const Case cases[] = {
        {"1", 1u},
        {"5", 5u},
        {"3600", 3600u},
        {"0", std::nullopt},
        {"-1", std::nullopt},
        {"3601", std::nullopt},
        {"18446744073709551616", std::nullopt},  // beyond 64 bits
        {"4294967297", std::nullopt},            // 2^32 + 1: must not wrap to 1
        {"", std::nullopt},
        {"five", std::nullopt},
        {"1.5", std::nullopt},
        {"5s", std::nullopt},
        {" 5", std::nullopt},
        {"+5", std::nullopt},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string("\"") + c.text + "\"");
        std::string error;
        EXPECT_EQ(lldpv2agent::ParseAgentxPing(c.text, error), c.seconds);
        if (c.seconds) {
            EXPECT_TRUE(error.empty()) << error;
        } else {
            // The message names the option, the range and what was given.
            EXPECT_NE(error.find("--agentx-ping"), std::string::npos) << error;
            EXPECT_NE(error.find("1 to 3600"), std::string::npos) << error;
            EXPECT_NE(error.find(std::string("\"") + c.text + "\""), std::string::npos) << error;
        }
    }
}

}  // namespace
}  // namespace lldpv2test
