// Instances skipped during walks are reported at most once a minute per
// table, with how many there were.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "skip_log.h"

namespace {

using lldpv2agent::SkipLog;
using std::chrono::seconds;

TEST(SkipLog, OneLinePerTableAndMinuteWithTheCount) {
    struct Skip {
        const char *table;
        int at;  // seconds
    };
    struct Case {
        const char *what;
        std::vector<Skip> skips;
        std::vector<std::string> lines;
    } cases[] = {
        {"first skip reported at once", {{"vlanName", 0}},
         {"skipped 1 instance of vlanName whose index lies outside the MIB's index syntax"}},
        {"a walk of many rows, then another walk within the minute",
         {{"vlanName", 0}, {"vlanName", 0}, {"vlanName", 1}, {"vlanName", 30}, {"vlanName", 59}},
         {"skipped 1 instance of vlanName whose index lies outside the MIB's index syntax"}},
        {"the count of the minute comes with the next skip after it",
         {{"vlanName", 0}, {"vlanName", 10}, {"vlanName", 20}, {"vlanName", 60}, {"vlanName", 61}},
         {"skipped 1 instance of vlanName whose index lies outside the MIB's index syntax",
          "skipped 3 instances of vlanName whose index lies outside the MIB's index syntax since the last report"}},
        {"tables counted apart", {{"vlanName", 0}, {"appPriority", 1}, {"vlanName", 2}, {"appPriority", 3}},
         {"skipped 1 instance of vlanName whose index lies outside the MIB's index syntax",
          "skipped 1 instance of appPriority whose index lies outside the MIB's index syntax"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::string> lines;
        SkipLog log([&](const std::string &line) { lines.push_back(line); });
        const SkipLog::Clock::time_point start{};
        for (const Skip &s : c.skips) log.Skipped(s.table, start + seconds(s.at));
        EXPECT_EQ(lines, c.lines);
    }
}

}  // namespace
