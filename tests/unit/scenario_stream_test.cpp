// Scenario files read as they are parsed: the neighbours list is taken item
// by item, whether it comes after the sections it refers to or before them,
// and the mistakes come in the same order and with the same lines as from a
// reading of the whole document.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;

const std::string kNodes = "nodes: [{id: 1}]\n";
const std::string kInterfaces =
    "interfaces:\n"
    "  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p1}\n"
    "  - {ifindex: 2, node: 1, type: gigabit-ethernet, name: p2}\n";

std::string Neighbour(const std::string &port, const std::string &chassis) {
    return "  - {port: " + port + ", chassis-id: {subtype: local, value: " + chassis +
           "}, port-id: {subtype: local, value: x}}\n";
}

TEST(ScenarioStream, NeighboursLoadWhereverTheListStands) {
    const std::string list = "neighbours:\n" + Neighbour("p1", "a") + Neighbour("p2", "b") + Neighbour("p1", "c");
    struct Case {
        const char *what;
        std::string yaml;
    } cases[] = {
        {"after nodes and interfaces", kNodes + kInterfaces + list},
        {"first of all", list + kNodes + kInterfaces},
        {"between nodes and interfaces", kNodes + list + kInterfaces},
        {"flow style", kNodes + kInterfaces + "neighbours: [{port: p1, chassis-id: {subtype: local, value: a}, "
                                               "port-id: {subtype: local, value: x}}, {port: p2, chassis-id: "
                                               "{subtype: local, value: b}, port-id: {subtype: local, value: x}}, "
                                               "{port: p1, chassis-id: {subtype: local, value: c}, port-id: "
                                               "{subtype: local, value: x}}]\n"},
        {"fields shared through anchors", kNodes + kInterfaces +
                                              "neighbours:\n"
                                              "  - {port: &p p1, chassis-id: {subtype: local, value: a}, port-id: &id {subtype: local, value: x}}\n"
                                              "  - {port: p2, chassis-id: {subtype: local, value: b}, port-id: *id}\n"
                                              "  - {port: *p, chassis-id: {subtype: local, value: c}, port-id: *id}\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string error;
        ASSERT_TRUE(LoadScenarioText(c.yaml, &error, "lab.yaml")) << error;
        EXPECT_EQ(NeighbourCount(), 3u);
        EXPECT_EQ(CheckScenarioText(c.yaml, "lab.yaml").neighbours, 3u);
    }
}

TEST(ScenarioStream, MistakesKeepTheirLinesAndOrder) {
    struct Case {
        const char *what;
        std::string yaml;
        std::vector<std::string> errors;
    } cases[] = {
        {"an empty list", kNodes + kInterfaces + "neighbours: []\n", {}},
        {"a mapping for the list", kNodes + kInterfaces + "neighbours: {port: p1}\n",
         {"lab.yaml:5: neighbours: expected a list, found a mapping"}},
        {"a mistake in the third item", kNodes + kInterfaces + "neighbours:\n" + Neighbour("p1", "a") +
                                            Neighbour("p2", "b") + Neighbour("p9", "c"),
         {"lab.yaml:8: port: no interface 'p9'"}},
        {"block items name the line of their first key",
         kNodes + kInterfaces + "neighbours:\n" + Neighbour("p1", "a") +
             "  -\n    chassis-id: {subtype: local, value: b}\n    port-id: {subtype: local, value: x}\n" +
             "  - port: p2\n    agent: 4\n",
         {"lab.yaml:8: neighbour: 'port' is required", "lab.yaml:11: agent: 4 is outside 1..3"}},
        {"the list given twice", kNodes + kInterfaces + "neighbours:\n" + Neighbour("p1", "a") + "neighbours:\n" +
                                     Neighbour("p9", "b"),
         {"lab.yaml:7: key 'neighbours' given twice (lines 5 and 7)"}},
        {"shape mistakes before reading mistakes, each in document order",
         kNodes + "system: {name: [a]}\n" + kInterfaces + "neighbours:\n" +
             "  - {port: p1, port: p2, chassis-id: {subtype: local, value: a}, port-id: {subtype: local, value: x}}\n" +
             "  - {port: p1, chassis-id: {subtype: local, value: [[[[[[[[[[[[[[[b]]]]]]]]]]]]]]]}, port-id: {subtype: local, value: x}}\n" +
             "clock: 1\nclock: 2\n",
         {"lab.yaml:7: neighbours[0]: key 'port' given twice (lines 7 and 7)",
          "lab.yaml:8: neighbours[1].chassis-id.value[0][0][0][0][0][0][0][0][0][0][0][0][0]: nested 17 levels deep "
          "(a scenario nests at most 16)",
          "lab.yaml:10: key 'clock' given twice (lines 9 and 10)", "lab.yaml:2: system name: expected a text value, found a list",
          "lab.yaml:8: chassis-id value: expected a text value, found a list"}},
        {"neighbours before the nodes they need, nodes missing", "neighbours:\n" + Neighbour("p9", "a") + kInterfaces,
         {"lab.yaml:1: scenario: 'nodes' is required"}},
        {"a syntax error inside the list", kNodes + kInterfaces + "neighbours:\n" + Neighbour("p1", "a") +
                                               "  - {port: p2, chassis-id: [\n",
         {"lab.yaml:8: end of sequence flow not found"}},
        {"a YAML mistake after a neighbour the reader refuses", kNodes + kInterfaces + "neighbours:\n" +
                                                                    "  - {port: p1, [a]: b}\n  - {port: p2\n",
         {"lab.yaml:8: end of map flow not found"}},
        {"an empty value at the end of the text", kNodes + "interfaces:", {"lab.yaml:2: interfaces: expected a list, found nothing"}},
        {"an empty value before the next key", kNodes + "interfaces:\nneighbours: []\n",
         {"lab.yaml:3: interfaces: expected a list, found nothing"}},
        {"the clock before the last neighbour's time", kNodes + "clock: 5\n" + kInterfaces + "neighbours:\n" +
                                                           "  - {port: p1, at: 9, chassis-id: {subtype: local, value: a}, port-id: {subtype: local, value: x}}\n",
         {"lab.yaml:2: clock: 5 lies before the last neighbour's 'at' (9)"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const ScenarioCheck check = CheckScenarioText(c.yaml, "lab.yaml");
        EXPECT_EQ(check.errors, c.errors);
    }
}

}  // namespace
