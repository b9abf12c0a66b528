// Broken scenario files: every mistake is reported with the file, the line
// and what was expected (duplicate keys with both lines, text that is not
// UTF-8 with its byte offset, numbers with their range), up to the first
// twenty of a file in one run; a file above the size limit is not read.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;

std::string Nested(int depth) {
    std::string s = "nodes: [{id: 1}]\nsystem:\n  description: ";
    s += std::string(static_cast<size_t>(depth), '[') + "x" + std::string(static_cast<size_t>(depth), ']') + "\n";
    return s;
}

std::string ManyBadInterfaces(int count) {
    std::string s = "nodes: [{id: 1}]\ninterfaces:\n";
    for (int i = 0; i < count; ++i) s += "  - {ifindex: 0, node: 1, type: gigabit-ethernet}\n";
    return s;
}

TEST(ScenarioCheck, BrokenFilesGiveEveryMistakeWithWhatWasExpected) {
    struct Case {
        const char *what;
        std::string yaml;
        std::vector<std::string> errors;
    } cases[] = {
        {"duplicate key, both lines", "nodes:\n  - id: 1\n    id: 2\n",
         {"lab.yaml:3: nodes[0]: key 'id' given twice (lines 2 and 3)"}},
        {"duplicate section", "nodes: [{id: 1}]\nclock: 5\nclock: 6\n",
         {"lab.yaml:3: key 'clock' given twice (lines 2 and 3)"}},
        {"system name not UTF-8", "nodes: [{id: 1}]\nsystem: {name: \"sw\xC3\x28\"}\n",
         {"lab.yaml:2: system name: not UTF-8 at byte 2"}},
        {"overlong UTF-8 in a port description",
         "nodes: [{id: 1}]\ninterfaces:\n  - {ifindex: 1, node: 1, type: gigabit-ethernet,\n"
         "     lldp: {description: \"ab\xC0\xAF\"}}\n",
         {"lab.yaml:4: description: not UTF-8 at byte 2"}},
        {"neighbour system name cut inside a character",
         "nodes: [{id: 1}]\ninterfaces: [{ifindex: 1, node: 1, type: gigabit-ethernet, name: p}]\nneighbours:\n"
         "  - {port: p, chassis-id: {subtype: local, value: a}, port-id: {subtype: local, value: b},\n"
         "     system-name: \"caf\xC3\"}\n",
         {"lab.yaml:5: system-name: not UTF-8 at byte 3"}},
        {"UTF-8 is accepted", "nodes: [{id: 1}]\nsystem: {name: \"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x93\xA1\"}\n", {}},
        {"number above its range", "nodes: [{id: 70000}]\n", {"lab.yaml:1: node id: 70000 is outside 0..65535"}},
        {"negative number", "nodes: [{id: -1}]\n", {"lab.yaml:1: node id: -1 is negative (expected 0..65535)"}},
        {"not a number", "nodes: [{id: one}]\n", {"lab.yaml:1: node id: 'one' is not a number (expected 0..65535)"}},
        {"global setting with its range", "nodes: [{id: 1}]\nlldp: {tx-interval: 4, hold-multiplier: 11}\n",
         {"lab.yaml:2: tx-interval: 4 is out of range (expected 5..32768)",
          "lab.yaml:2: hold-multiplier: 11 is out of range (expected 2..10)"}},
        {"a list where a mapping belongs", "nodes: [{id: 1}]\nsystem: [a, b]\n",
         {"lab.yaml:2: system: expected a mapping, found a list"}},
        {"a mapping where a list belongs", "nodes: {id: 1}\n", {"lab.yaml:1: nodes: expected a list, found a mapping"}},
        {"a list where text belongs", "nodes: [{id: 1}]\nsystem: {name: [a]}\n",
         {"lab.yaml:2: system name: expected a text value, found a list"}},
        {"the document is not a mapping", "- a\n- b\n", {"lab.yaml:1: scenario: expected a mapping, found a list"}},
        {"nesting deeper than any field", Nested(20),
         {"lab.yaml:3: system.description[0][0][0][0][0][0][0][0][0][0][0][0][0][0][0]: nested 17 levels deep (a "
          "scenario nests at most 16)",
          "lab.yaml:3: system description: expected a text value, found a list"}},
        {"nesting deeper than the parser goes", Nested(3000),
         {"lab.yaml:3: nested 500 or more levels deep (a scenario nests at most 16)"}},
        {"mistakes in several items are all reported",
         "nodes: [{id: 1}]\ninterfaces:\n  - {ifindex: 0, node: 1, type: gigabit-ethernet}\n"
         "  - {ifindex: 2, node: 9, type: gigabit-ethernet}\n  - {ifindex: 3, node: 1, type: token-bus}\n",
         {"lab.yaml:3: ifindex: 0 is outside 1..4294967295", "lab.yaml:4: node 9 is not in 'nodes'",
          "lab.yaml:5: type: unknown interface type 'token-bus'"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const ScenarioCheck check = CheckScenarioText(c.yaml, "lab.yaml");
        EXPECT_EQ(check.errors, c.errors);
        EXPECT_FALSE(check.moreErrors);
        // Loading gives the same mistakes, one per line.
        std::string error;
        EXPECT_EQ(LoadScenarioText(c.yaml, &error, "lab.yaml"), c.errors.empty());
        std::string joined;
        for (const std::string &e : c.errors) joined += (joined.empty() ? "" : "\n") + e;
        if (!c.errors.empty()) {
            EXPECT_EQ(error, joined);
        }
    }
}

TEST(ScenarioCheck, AtMostTwentyMistakesAreReported) {
    const ScenarioCheck check = CheckScenarioText(ManyBadInterfaces(25), "lab.yaml");
    ASSERT_EQ(check.errors.size(), kMaxScenarioErrors);
    EXPECT_TRUE(check.moreErrors);
    EXPECT_EQ(check.errors.front(), "lab.yaml:3: ifindex: 0 is outside 1..4294967295");
    EXPECT_EQ(check.errors.back(), "lab.yaml:22: ifindex: 0 is outside 1..4294967295");
    std::string error;
    EXPECT_FALSE(LoadScenarioText(ManyBadInterfaces(25), &error, "lab.yaml"));
    EXPECT_NE(error.find("\n(more mistakes follow; the first 20 are shown)"), std::string::npos) << error;
}

TEST(ScenarioCheck, CountsWhatAScenarioWouldLoad) {
    const ScenarioCheck check = CheckScenarioText(DefaultScenarioText(), "default");
    EXPECT_TRUE(check.errors.empty());
    EXPECT_EQ(check.nodes, 2u);
    EXPECT_EQ(check.neighbours, 11u);
    EXPECT_EQ(check.addresses, 2u);
    EXPECT_GE(check.agents, check.interfaces);
}

TEST(ScenarioCheck, FilesAboveTheSizeLimitAreNotRead) {
    const std::filesystem::path file = std::filesystem::temp_directory_path() / "lldpv2-size-limit-test.yaml";
    const std::string text = "nodes: [{id: 1}]\n# " + std::string(200, 'x') + "\n";
    std::ofstream(file) << text;
    struct Case {
        uint64_t limit;
        std::string error;  // empty: loads
    } cases[] = {
        {text.size(), ""},
        {text.size() - 1, file.string() + ": " + std::to_string(text.size()) +
                              " bytes, more than the scenario size limit of " + std::to_string(text.size() - 1) +
                              " bytes"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.limit);
        SetScenarioSizeLimit(c.limit);
        std::string error;
        EXPECT_EQ(LoadScenarioFile(file.string(), &error), c.error.empty());
        EXPECT_EQ(error, c.error);
        const ScenarioCheck check = CheckScenarioFile(file.string());
        EXPECT_EQ(check.errors, c.error.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.error});
        error.clear();
        EXPECT_EQ(LoadScenarioText(text, &error, "lab.yaml"), c.error.empty()) << error;
    }
    SetScenarioSizeLimit(kDefaultScenarioSizeLimit);
    std::filesystem::remove(file);
    ResetSwitch();
    ResetLldp();
}

}  // namespace
