// End-to-end tests of lldpv2-agent with net-snmp's command line tools: the
// agent listening on its own, and the agent as AgentX subagent of an snmpd
// started here with a private configuration. Every test runs in both modes.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <memory>
#include <thread>

#include "snmp_tools.h"

namespace lldpv2e2e {
namespace {

using Oid = std::vector<unsigned long>;

const Oid kLldpV2Mib = {1, 3, 111, 2, 802, 1, 1, 13};
const Oid kConfiguration = {1, 3, 111, 2, 802, 1, 1, 13, 1, 1};
const Oid kXdot1Mib = {1, 3, 111, 2, 802, 1, 1, 13, 1, 5, 32962};
const Oid kXdot3Mib = {1, 3, 111, 2, 802, 1, 1, 13, 1, 5, 4623};

// The lldpV2Configuration scalars with their defaults.
struct Scalar {
    const char *name;
    unsigned arc;
    unsigned long defaultValue;
};
const Scalar kScalars[] = {
    {"lldpV2MessageTxInterval", 1, 30}, {"lldpV2MessageTxHoldMultiplier", 2, 4}, {"lldpV2ReinitDelay", 3, 2},
    {"lldpV2NotificationInterval", 4, 30}, {"lldpV2TxCreditMax", 5, 5}, {"lldpV2MessageFastTx", 6, 1},
    {"lldpV2TxFastInit", 7, 4},
};

Oid Cat(Oid a, const Oid &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

bool StartsWith(const Oid &oid, const Oid &prefix) {
    return oid.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

std::string Text(const Oid &oid) {
    std::string s;
    for (unsigned long a : oid) s.append(".").append(std::to_string(a));
    return s;
}

// The number a -On line carries, e.g. "40 seconds" -> 40.
unsigned long Number(const Varbind &vb) { return std::stoul(vb.value); }

enum class Mode { Standalone, AgentX };

std::string ModeName(const ::testing::TestParamInfo<Mode> &info) {
    return info.param == Mode::Standalone ? "Standalone" : "AgentX";
}

// A running agent (and, for AgentX, its master) with the tools that reach it.
class Deployment {
public:
    Deployment(Mode mode, bool readWrite, std::vector<std::string> extraArgs = {}) : extraArgs_(std::move(extraArgs)) {
        clientDir_ = std::make_unique<TempDir>();
        // The free port may be taken by another test before the listener
        // binds it: then the listener exits and the start is tried again.
        for (int attempt = 0;; ++attempt) {
            if (Start(mode, readWrite, FreeUdpPort())) return;
            if (attempt == 2) throw std::runtime_error("the agent did not start\n" + Logs());
        }
    }

    ~Deployment() {
        if (agent_) agent_->Stop();
        if (master_) master_->Stop();
    }

    const SnmpTools &Tools() const { return *tools_; }

    // Stops the agent; its exit status.
    int StopAgent() { return agent_->Stop(); }

    // What the agent logged about replies of the module that do not fit the
    // node records (malformed values or indexes, failed requests).
    std::string ModuleFaults() const {
        std::stringstream log(agent_->Log());
        std::string line, faults;
        while (std::getline(log, line)) {
            if (line.find("reply for") != std::string::npos || line.find(" failed: 0x") != std::string::npos) {
                faults += line + "\n";
            }
        }
        return faults;
    }

    std::string AgentLog() const { return agent_ ? agent_->Log() : std::string(); }

    std::string Logs() const {
        std::string s = "--- agent log ---\n" + (agent_ ? agent_->Log() : std::string());
        if (master_) s += "--- snmpd log ---\n" + master_->Log();
        return s;
    }

private:
    // Starts the agent (and for AgentX its master) on port; false when a
    // process exits before the agent answers.
    bool Start(Mode mode, bool readWrite, int port) {
        agent_.reset();
        master_.reset();
        std::string target = "udp:127.0.0.1:" + std::to_string(port);
        std::vector<std::string> agentArgs = {LLDPV2_AGENT_PATH, "--module", LLDPV2_MODULE_PATH, "--mibs",
                                              LLDPV2_MIBS_DIR};
        agentArgs.insert(agentArgs.end(), extraArgs_.begin(), extraArgs_.end());
        if (mode == Mode::AgentX) {
            std::string socket = dir_.Path() + "/agentx.sock";
            std::string conf = dir_.Path() + "/snmpd.conf";
            std::filesystem::remove(socket);
            std::ofstream out(conf);
            out << "agentaddress " << target << "\n"
                << "master agentx\n"
                << "agentXSocket " << socket << "\n"
                << "agentXTimeout 5\n"
                << "rocommunity public 127.0.0.1\n";
            if (readWrite) out << "rwcommunity private 127.0.0.1\n";
            out.close();
            std::vector<std::string> env = {"SNMP_PERSISTENT_DIR=" + dir_.Path(), "SNMPCONFPATH=" + dir_.Path(),
                                            "MIBS=", "MIBDIRS=" + std::string(LLDPV2_MIBS_DIR)};
            master_ = std::make_unique<Process>(
                std::vector<std::string>{LLDPV2_SNMPD_PATH, "-f", "-Lo", "-C", "-c", conf, "-p",
                                         dir_.Path() + "/snmpd.pid", "-I", "-smux"},
                dir_.Path() + "/snmpd.log", env);
            if (!WaitFor([&] { return std::filesystem::exists(socket); })) return false;
            agentArgs.push_back("--agentx");
            agentArgs.push_back(socket);
        } else {
            agentArgs.push_back("--listen");
            agentArgs.push_back(target);
            if (readWrite) {
                agentArgs.push_back("--rwcommunity");
                agentArgs.push_back("private");
            }
        }
        agent_ = std::make_unique<Process>(agentArgs, dir_.Path() + "/agent.log");
        tools_ = std::make_unique<SnmpTools>(target, LLDPV2_MIBS_DIR, clientDir_->Path());
        return WaitFor([&] {
            ToolRun r = tools_->V2("snmpget", "public", {"-t", "1", "-r", "0"}, {"lldpV2MessageTxInterval.0"}, 10);
            auto vbs = ParseVarbinds(r.output);
            return r.exitCode == 0 && vbs.size() == 1 && vbs[0].type == "Gauge32";
        });
    }

    // Polls ready for up to 20 s; false early when a started process exits.
    template <typename F>
    bool WaitFor(F ready) {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            if (ready()) return true;
            if ((master_ && !master_->Running()) || (agent_ && !agent_->Running())) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    std::vector<std::string> extraArgs_;
    TempDir dir_;
    std::unique_ptr<TempDir> clientDir_;
    std::unique_ptr<Process> master_;
    std::unique_ptr<Process> agent_;
    std::unique_ptr<SnmpTools> tools_;
};

class AgentE2E : public ::testing::TestWithParam<Mode> {
protected:
    void SetUp() override { deployment_ = std::make_unique<Deployment>(GetParam(), true); }
    void TearDown() override {
        if (HasFailure()) std::cerr << deployment_->Logs();
        deployment_.reset();
    }

    const SnmpTools &Tools() const { return deployment_->Tools(); }

    // Gets one object with the read-only community.
    Varbind Get(const std::string &object) {
        ToolRun r = Tools().V2("snmpget", "public", {}, {object});
        auto vbs = ParseVarbinds(r.output);
        EXPECT_EQ(vbs.size(), 1u) << r.output;
        return vbs.empty() ? Varbind{} : vbs[0];
    }

    // Walks a subtree with a tool and checks the generic properties of the
    // result: the tool succeeded without complaints, every OID lies in the
    // subtree, OIDs strictly increase, every binding has a value of the
    // type the MIB module gives it.
    std::vector<Varbind> CheckedWalk(const std::string &tool, const std::string &subtree, const Oid &prefix,
                                     std::vector<std::string> options = {}) {
        ToolRun r = Tools().V2(tool, "public", options, {subtree}, 120);
        EXPECT_EQ(r.exitCode, 0) << tool << " " << subtree << "\n" << r.output;
        auto problems = OutputProblems(r.output);
        EXPECT_TRUE(problems.empty()) << tool << " " << subtree << ": " << problems.front() << "\n" << r.output;
        auto vbs = ParseVarbinds(r.output);
        // A walk that reaches the end of everything the agent serves ends
        // with endOfMibView.
        if (!vbs.empty() && vbs.back().value.starts_with("No more variables left in this MIB View")) vbs.pop_back();
        for (size_t i = 0; i < vbs.size(); ++i) {
            EXPECT_TRUE(StartsWith(vbs[i].oid, prefix)) << vbs[i].line;
            EXPECT_FALSE(vbs[i].type.empty()) << "no value: " << vbs[i].line;
            if (i > 0) {
                EXPECT_LT(vbs[i - 1].oid, vbs[i].oid) << "not increasing at " << vbs[i].line;
            }
        }
        return vbs;
    }

    std::unique_ptr<Deployment> deployment_;
};

TEST_P(AgentE2E, ConfigurationScalarsAnswerGetWithTheirDefaults) {
    std::vector<std::string> names;
    for (const Scalar &s : kScalars) names.push_back(std::string(s.name) + ".0");
    ToolRun r = Tools().V2("snmpget", "public", {}, names);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(OutputProblems(r.output).empty()) << r.output;
    auto vbs = ParseVarbinds(r.output);
    ASSERT_EQ(vbs.size(), std::size(kScalars)) << r.output;
    for (size_t i = 0; i < vbs.size(); ++i) {
        EXPECT_EQ(vbs[i].oid, Cat(kConfiguration, {kScalars[i].arc, 0})) << vbs[i].line;
        EXPECT_EQ(vbs[i].type, "Gauge32") << vbs[i].line;
        EXPECT_EQ(Number(vbs[i]), kScalars[i].defaultValue) << vbs[i].line;
    }
}

TEST_P(AgentE2E, GetOfWhatIsNotThereAnswersExceptions) {
    struct Case {
        std::string object;
        std::string expected;
    } cases[] = {
        {"lldpV2MessageTxInterval", "No Such Instance"},
        {"lldpV2MessageTxInterval.1", "No Such Instance"},
        {"lldpV2MessageTxInterval.0.0", "No Such Instance"},
        // Congestion notification objects are in the tree but never served.
        {"lldpXdot1CnConfigCnTxEnable.1.1", "No Such Object"},
        {Text(Cat(kLldpV2Mib, {1, 1, 99, 0})), "No Such Object"},
    };
    for (const Case &c : cases) {
        Varbind vb = Get(c.object);
        EXPECT_NE(vb.value.find(c.expected), std::string::npos) << c.object << ": " << vb.line;
    }
}

TEST_P(AgentE2E, GetNextStepsThroughTheScalars) {
    struct Case {
        std::string from;
        Oid expected;
    } cases[] = {
        {Text(kLldpV2Mib), Cat(kConfiguration, {1, 0})},
        {"lldpV2Configuration", Cat(kConfiguration, {1, 0})},
        {"lldpV2MessageTxInterval", Cat(kConfiguration, {1, 0})},
        {"lldpV2MessageTxInterval.0", Cat(kConfiguration, {2, 0})},
        {"lldpV2ReinitDelay.0", Cat(kConfiguration, {4, 0})},
        {Text(Cat(kConfiguration, {3, 7, 7})), Cat(kConfiguration, {4, 0})},
    };
    for (const Case &c : cases) {
        ToolRun r = Tools().V2("snmpgetnext", "public", {}, {c.from});
        auto vbs = ParseVarbinds(r.output);
        ASSERT_EQ(vbs.size(), 1u) << c.from << "\n" << r.output;
        EXPECT_EQ(vbs[0].oid, c.expected) << c.from << ": " << vbs[0].line;
        EXPECT_EQ(vbs[0].type, "Gauge32") << vbs[0].line;
    }
    // After the last scalar comes something later, never something earlier.
    ToolRun r = Tools().V2("snmpgetnext", "public", {}, {"lldpV2TxFastInit.0"});
    auto vbs = ParseVarbinds(r.output);
    ASSERT_EQ(vbs.size(), 1u) << r.output;
    EXPECT_GT(vbs[0].oid, Cat(kConfiguration, {7, 0})) << vbs[0].line;
}

TEST_P(AgentE2E, WalksOfEveryTreeAreOrderedTypedAndAgree) {
    struct Tree {
        const char *name;
        Oid prefix;
    } trees[] = {{"lldpV2MIB", kLldpV2Mib}, {"lldpV2Xdot1MIB", kXdot1Mib}, {"lldpV2Xdot3MIB", kXdot3Mib}};
    for (const Tree &t : trees) {
        SCOPED_TRACE(t.name);
        auto walk = CheckedWalk("snmpwalk", t.name, t.prefix);
        auto bulk = CheckedWalk("snmpbulkwalk", t.name, t.prefix, {"-Cr7"});
        auto bulk1 = CheckedWalk("snmpbulkwalk", t.name, t.prefix, {"-Cr1"});
        std::vector<Oid> a, b, c;
        for (auto &vb : walk) a.push_back(vb.oid);
        for (auto &vb : bulk) b.push_back(vb.oid);
        for (auto &vb : bulk1) c.push_back(vb.oid);
        EXPECT_EQ(a, b) << "snmpwalk and snmpbulkwalk disagree";
        EXPECT_EQ(a, c) << "bulk walks with different repetitions disagree";
    }
    EXPECT_EQ(deployment_->ModuleFaults(), "");
    // The base walk holds the seven configuration scalars, in order.
    auto walk = CheckedWalk("snmpwalk", "lldpV2Configuration", kConfiguration);
    std::vector<Oid> scalars;
    for (auto &vb : walk) {
        if (vb.oid.size() == kConfiguration.size() + 2) scalars.push_back(vb.oid);
    }
    ASSERT_EQ(scalars.size(), std::size(kScalars));
    for (size_t i = 0; i < scalars.size(); ++i) EXPECT_EQ(scalars[i], Cat(kConfiguration, {kScalars[i].arc, 0}));
}

// A varbind line as far as it stays put while the switch runs: counters and
// time ticks keep only their type.
std::string Moving(const std::string &line) {
    for (const char *type : {"= Counter32: ", "= Timeticks: "}) {
        const size_t at = line.find(type);
        if (at != std::string::npos) return line.substr(0, at + std::strlen(type));
    }
    return line;
}

TEST_P(AgentE2E, GetsReadWhatTheWalksShowed) {
    // Every instance a walk shows answers a get with the same type and
    // value. Of a run of instances that differ only in their last arc (the
    // 4095 VLAN ids of a port, say) the first three and the last are read.
    constexpr size_t kPerGet = 50;
    struct Tree {
        const char *name;
        Oid prefix;
    } trees[] = {{"lldpV2MIB", kLldpV2Mib}, {"lldpV2Xdot1MIB", kXdot1Mib}, {"lldpV2Xdot3MIB", kXdot3Mib}};
    size_t read = 0;
    for (const Tree &t : trees) {
        SCOPED_TRACE(t.name);
        const std::vector<Varbind> walk = CheckedWalk("snmpbulkwalk", t.name, t.prefix, {"-Cr25"});
        std::vector<const Varbind *> picked;
        size_t run = 0;
        for (size_t i = 0; i < walk.size(); ++i) {
            const Oid &oid = walk[i].oid;
            const bool sameRun =
                i > 0 && walk[i - 1].oid.size() == oid.size() && std::equal(oid.begin(), oid.end() - 1, walk[i - 1].oid.begin());
            run = sameRun ? run + 1 : 0;
            const bool lastOfRun = i + 1 == walk.size() || walk[i + 1].oid.size() != oid.size() ||
                                   !std::equal(oid.begin(), oid.end() - 1, walk[i + 1].oid.begin());
            if (run < 3 || lastOfRun) picked.push_back(&walk[i]);
        }
        for (size_t at = 0; at < picked.size(); at += kPerGet) {
            std::vector<std::string> oids;
            const size_t end = std::min(picked.size(), at + kPerGet);
            for (size_t i = at; i < end; ++i) oids.push_back(Text(picked[i]->oid));
            ToolRun r = Tools().V2("snmpget", "public", {}, oids);
            ASSERT_EQ(r.exitCode, 0) << r.output;
            const std::vector<Varbind> got = ParseVarbinds(r.output);
            ASSERT_EQ(got.size(), end - at) << r.output;
            for (size_t i = at; i < end; ++i) {
                // The switch runs in real time: frame counters and the
                // last-change time may move between the walk and the get, so
                // of those only the type must agree.
                EXPECT_EQ(Moving(got[i - at].line), Moving(picked[i]->line));
                ++read;
            }
        }
    }
    EXPECT_GT(read, 100u);
    EXPECT_EQ(deployment_->ModuleFaults(), "");
}

TEST_P(AgentE2E, GetBulkReturnsIncreasingBindings) {
    ToolRun r = Tools().V2("snmpbulkget", "public", {"-Cn0", "-Cr12"}, {"lldpV2Configuration"});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(OutputProblems(r.output).empty()) << r.output;
    auto vbs = ParseVarbinds(r.output);
    ASSERT_FALSE(vbs.empty()) << r.output;
    for (size_t i = 0; i < std::min<size_t>(7, vbs.size()); ++i) {
        EXPECT_EQ(vbs[i].oid, Cat(kConfiguration, {kScalars[i].arc, 0})) << vbs[i].line;
    }
    for (size_t i = 1; i < vbs.size(); ++i) {
        if (vbs[i].value.find("End of MIB") != std::string::npos) break;
        EXPECT_LT(vbs[i - 1].oid, vbs[i].oid) << vbs[i].line;
    }
}

TEST_P(AgentE2E, SetsAreCheckedBeforeTheModuleAndApplied) {
    // -Ir: the tool sends values as given, so that the agent does the checking.
    struct Case {
        const char *what;
        std::string community;
        std::vector<std::string> varbinds;
        std::string error;  // empty: success
    } cases[] = {
        {"read-only community", "public", {"lldpV2MessageTxInterval.0", "u", "41"}, "noAccess"},
        {"below range", "private", {"lldpV2MessageTxInterval.0", "u", "4"}, "wrongValue"},
        {"above range", "private", {"lldpV2MessageTxInterval.0", "u", "32769"}, "wrongValue"},
        {"wrong type", "private", {"lldpV2MessageTxInterval.0", "i", "40"}, "wrongType"},
        {"string for a number", "private", {"lldpV2MessageTxInterval.0", "s", "40"}, "wrongType"},
        {"read-only object", "private", {"lldpV2StatsRemTablesInserts.0", "u", "1"}, "notWritable"},
        {"no such instance", "private", {"lldpV2MessageTxInterval.1", "u", "40"}, "noCreation"},
        {"one bad value refuses all", "private",
         {"lldpV2MessageTxInterval.0", "u", "50", "lldpV2TxFastInit.0", "u", "9"}, "wrongValue"},
    };
    for (const Case &c : cases) {
        ToolRun r = Tools().V2("snmpset", c.community, {"-Ir"}, c.varbinds);
        EXPECT_NE(r.exitCode, 0) << c.what << "\n" << r.output;
        EXPECT_NE(r.output.find(c.error), std::string::npos) << c.what << "\n" << r.output;
        // Nothing changed.
        EXPECT_EQ(Number(Get("lldpV2MessageTxInterval.0")), 30u) << c.what;
        EXPECT_EQ(Number(Get("lldpV2TxFastInit.0")), 4u) << c.what;
    }

    ToolRun r = Tools().V2("snmpset", "private", {}, {"lldpV2MessageTxInterval.0", "u", "40"});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    auto vbs = ParseVarbinds(r.output);
    ASSERT_EQ(vbs.size(), 1u) << r.output;
    EXPECT_EQ(Number(vbs[0]), 40u) << r.output;
    EXPECT_EQ(Number(Get("lldpV2MessageTxInterval.0")), 40u);

    // Several scalars in one request are all written.
    r = Tools().V2("snmpset", "private", {},
                   {"lldpV2MessageTxHoldMultiplier.0", "u", "10", "lldpV2ReinitDelay.0", "u", "1", "lldpV2TxFastInit.0",
                    "u", "8"});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_EQ(Number(Get("lldpV2MessageTxHoldMultiplier.0")), 10u);
    EXPECT_EQ(Number(Get("lldpV2ReinitDelay.0")), 1u);
    EXPECT_EQ(Number(Get("lldpV2TxFastInit.0")), 8u);
}

// The objects of the LLDP modules that a set may write, from the MIB
// modules themselves (snmptranslate's tree with access flags): OID -> the
// type snmpset is given ('i' or 'u'; BITS are left out).
std::map<Oid, char> WritableNumericObjects(const SnmpTools &tools) {
    ToolRun r = tools.Run("snmptranslate", {"-Tp", Text(kLldpV2Mib)});
    std::map<Oid, char> writable;
    std::vector<Oid> stack;  // OID of the last node at each depth
    std::stringstream ss(r.output);
    std::string line;
    while (std::getline(ss, line)) {
        size_t plus = line.find("+--");
        size_t open = line.rfind('(');
        if (plus == std::string::npos || open == std::string::npos || line.back() != ')') continue;
        size_t depth = plus / 3;
        unsigned long arc = std::stoul(line.substr(open + 1));
        Oid oid = depth == 0 ? kLldpV2Mib : Cat(stack.at(depth - 1), {arc});
        stack.resize(depth + 1);
        stack[depth] = oid;
        std::string rest = line.substr(plus + 3);
        bool canWrite = rest.starts_with(" -RW- ") || rest.starts_with(" CR-- ") || rest.starts_with(" CRW- ");
        if (!canWrite) continue;
        if (rest.find(" EnumVal ") != std::string::npos) writable[oid] = 'i';
        if (rest.find(" Unsigned ") != std::string::npos || rest.find(" Integer32 ") != std::string::npos) {
            writable[oid] = rest.find(" Unsigned ") != std::string::npos ? 'u' : 'i';
        }
    }
    return writable;
}

// Objects the MIB declares writable that the switch keeps read-only: the
// protocol and VID usage digest transmit switches and the DCBX admin data.
bool IsKeptReadOnly(const Oid &oid) {
    const Oid prefixes[] = {Cat(kXdot1Mib, {1, 1, 4}), Cat(kXdot1Mib, {1, 1, 5}), Cat(kXdot1Mib, {5, 1, 4})};
    for (const Oid &p : prefixes)
        if (oid.size() > p.size() && std::equal(p.begin(), p.end(), oid.begin())) return true;
    return false;
}

// Every writable instance the agent shows takes back the value it has: the
// set path decodes the same instances and values that get and get-next
// encode, and reaches the same row.
TEST_P(AgentE2E, WritableInstancesTakeBackTheirOwnValues) {
    std::map<Oid, char> writable = WritableNumericObjects(Tools());
    ASSERT_GE(writable.size(), std::size(kScalars));
    auto walk = CheckedWalk("snmpbulkwalk", "lldpV2MIB", kLldpV2Mib, {"-Oe"});
    std::map<Oid, int> triedPerObject;
    size_t tried = 0;
    for (const Varbind &vb : walk) {
        // The object is the longest writable OID that prefixes the instance.
        auto it = writable.end();
        for (size_t len = vb.oid.size() - 1; len > kLldpV2Mib.size() && it == writable.end(); --len) {
            it = writable.find(Oid(vb.oid.begin(), vb.oid.begin() + static_cast<ptrdiff_t>(len)));
        }
        if (it == writable.end()) continue;
        if (triedPerObject[it->first]++ >= 2) continue;  // two instances per object are enough
        std::string value = std::to_string(Number(vb));
        ToolRun r = Tools().V2("snmpset", "private", {}, {Text(vb.oid), std::string(1, it->second), value});
        if (IsKeptReadOnly(vb.oid)) {
            EXPECT_NE(r.output.find("notWritable"), std::string::npos) << vb.line << "\n" << r.output;
        } else {
            EXPECT_EQ(r.exitCode, 0) << "set of " << vb.line << " to its own value\n" << r.output;
        }
        ToolRun g = Tools().V2("snmpget", "public", {"-Oe"}, {Text(vb.oid)});
        auto after = ParseVarbinds(g.output);
        ASSERT_EQ(after.size(), 1u) << g.output;
        EXPECT_EQ(after[0].value, vb.value) << vb.line;
        ++tried;
    }
    EXPECT_GE(tried, std::size(kScalars));
}

// The first line where two tool outputs differ.
std::string FirstDifference(const std::string &a, const std::string &b) {
    std::stringstream sa(a), sb(b);
    std::string la, lb;
    for (int line = 1;; ++line) {
        bool moreA = static_cast<bool>(std::getline(sa, la));
        bool moreB = static_cast<bool>(std::getline(sb, lb));
        if (!moreA && !moreB) return "no difference";
        if (!moreA || !moreB || la != lb) {
            return "line " + std::to_string(line) + ":\n  before: " + (moreA ? la : "(end)") +
                   "\n  after:  " + (moreB ? lb : "(end)");
        }
    }
}

// A set is all or nothing: in every writable table, good varbinds followed
// by one that the module refuses (after every varbind has passed the agent's
// own checks) leave every object as it was, rows created or destroyed by the
// good ones included. The good varbinds alone are then applied, which shows
// that they would have changed something. The cases run in order, each on
// what the one before left.
TEST_P(AgentE2E, FailedSetsChangeNothing) {
    const std::string createRefused = "lldpV2ManAddrConfigRowStatus.1.3.1.4.224.0.0.1";
    const std::string portRefused = "lldpV2PortConfigAdminStatus.9999.1";
    const std::string kLldpConfig = "lldpV2Configuration";
    // The DCBX transmit switches of a port go together.
    const std::vector<std::string> kDcbxConfig = {
        "lldpXdot1dcbxConfigETSConfigurationTable", "lldpXdot1dcbxConfigETSRecommendationTable",
        "lldpXdot1dcbxConfigPFCTable", "lldpXdot1dcbxConfigApplicationPriorityTable"};
    struct Case {
        const char *what;
        std::vector<std::string> good;     // object, type, value, ...
        std::vector<std::string> refused;  // one varbind
        std::vector<std::string> watched;  // subtrees compared before and after
    } cases[] = {
        {"configuration scalars",
         {"lldpV2MessageTxInterval.0", "u", "40", "lldpV2TxFastInit.0", "u", "8"},
         {createRefused, "i", "4"},
         {kLldpConfig}},
        {"port configuration",
         {"lldpV2PortConfigAdminStatus.1.1", "i", "4", "lldpV2PortConfigNotificationEnable.1.1", "i", "1",
          "lldpV2PortConfigTLVsTxEnable.1.1", "x", "00"},
         {portRefused, "i", "2"},
         {kLldpConfig}},
        {"management address row created",
         {"lldpV2ManAddrConfigRowStatus.1.2.1.4.192.0.2.1", "i", "4", "lldpV2ManAddrConfigTxEnable.1.2.1.4.192.0.2.1",
          "i", "1"},
         {createRefused, "i", "4"},
         {kLldpConfig}},
        {"management address row destroyed",
         {"lldpV2ManAddrConfigRowStatus.1.1.1.4.192.0.2.1", "i", "6"},
         {portRefused, "i", "2"},
         {kLldpConfig}},
        {"management address row changed, refused in another tree",
         {"lldpV2ManAddrConfigTxEnable.1.2.1.4.192.0.2.1", "i", "2"},
         {"lldpXdot1dcbxAdminETSConWilling.4", "i", "1"},
         {kLldpConfig, "lldpXdot1dcbxAdminETSBasicConfigurationTable"}},
        {"port VLAN",
         {"lldpV2Xdot1ConfigPortVlanTxEnable.1.1", "i", "2"},
         {"lldpV2Xdot1ConfigPortVlanTxEnable.9999.1", "i", "1"},
         {"lldpV2Xdot1ConfigPortVlanTable"}},
        {"VLAN name",
         {"lldpV2Xdot1ConfigVlanNameTxEnable.1.10", "i", "1"},
         {"lldpV2Xdot1ConfigVlanNameTxEnable.9999.1", "i", "1"},
         {"lldpV2Xdot1ConfigVlanNameTable"}},
        {"protocol VLAN",
         {"lldpV2Xdot1ConfigProtoVlanTxEnable.1.100", "i", "2"},
         {"lldpV2Xdot1ConfigProtoVlanTxEnable.9999.1", "i", "1"},
         {"lldpV2Xdot1ConfigProtoVlanTable"}},
        {"management VID",
         {"lldpV2Xdot1ConfigManVidTxEnable.1", "i", "2"},
         {"lldpV2Xdot1ConfigManVidTxEnable.9999", "i", "1"},
         {"lldpV2Xdot1ConfigManVidTable"}},
        {"DCBX ETS configuration",
         {"lldpXdot1dcbxConfigETSConfigurationTxEnable.4.1", "i", "2"},
         {"lldpXdot1dcbxConfigETSConfigurationTxEnable.9999.1", "i", "1"},
         kDcbxConfig},
        {"DCBX ETS recommendation",
         {"lldpXdot1dcbxConfigETSRecommendationTxEnable.4.1", "i", "1"},
         {"lldpXdot1dcbxConfigETSRecommendationTxEnable.9999.1", "i", "1"},
         kDcbxConfig},
        {"DCBX PFC",
         {"lldpXdot1dcbxConfigPFCTxEnable.4.1", "i", "2"},
         {"lldpXdot1dcbxConfigPFCTxEnable.9999.1", "i", "1"},
         kDcbxConfig},
        {"DCBX application priority",
         {"lldpXdot1dcbxConfigApplicationPriorityTxEnable.4.1", "i", "1"},
         {"lldpXdot1dcbxConfigApplicationPriorityTxEnable.9999.1", "i", "1"},
         kDcbxConfig},
        {"802.3 port configuration",
         {"lldpV2Xdot3PortConfigTLVsTxEnable.1.1", "x", "80"},
         {"lldpV2Xdot3PortConfigTLVsTxEnable.9999.1", "x", "00"},
         {"lldpV2Xdot3PortConfigTable"}},
        {"every table at once",
         {"lldpV2MessageTxInterval.0", "u", "50", "lldpV2PortConfigAdminStatus.1.2", "i", "4",
          "lldpV2ManAddrConfigRowStatus.1.2.1.4.192.0.2.1", "i", "6", "lldpV2Xdot1ConfigPortVlanTxEnable.1.1", "i", "1",
          "lldpXdot1dcbxConfigPFCTxEnable.4.1", "i", "2", "lldpV2Xdot3PortConfigTLVsTxEnable.1.1", "x", "90"},
         {createRefused, "i", "4"},
         {kLldpConfig, "lldpV2Xdot1ConfigPortVlanTable", "lldpXdot1dcbxConfigPFCTable", "lldpV2Xdot3PortConfigTable"}},
    };
    const auto snapshot = [&](const std::vector<std::string> &subtrees) {
        std::string text;
        for (const std::string &s : subtrees) {
            ToolRun r = Tools().V2("snmpbulkwalk", "public", {"-Cr50"}, {s});
            EXPECT_EQ(r.exitCode, 0) << s << "\n" << r.output;
            EXPECT_FALSE(ParseVarbinds(r.output).empty()) << s;
            text += r.output;
        }
        return text;
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const std::string before = snapshot(c.watched);
        std::vector<std::string> varbinds = c.good;
        varbinds.insert(varbinds.end(), c.refused.begin(), c.refused.end());
        ToolRun r = Tools().V2("snmpset", "private", {}, varbinds);
        EXPECT_NE(r.exitCode, 0) << r.output;
        // The refused varbind is the one blamed.
        ToolRun oid = Tools().Run("snmptranslate", {"-IR", c.refused.front()});
        std::string refusedOid = oid.output.substr(0, oid.output.find('\n'));
        EXPECT_NE(r.output.find("Failed object: " + refusedOid), std::string::npos) << refusedOid << "\n" << r.output;
        const std::string after = snapshot(c.watched);
        EXPECT_TRUE(after == before) << FirstDifference(before, after);

        r = Tools().V2("snmpset", "private", {}, c.good);
        EXPECT_EQ(r.exitCode, 0) << r.output;
        EXPECT_TRUE(snapshot(c.watched) != before) << "the good varbinds alone change nothing";
    }
}

TEST_P(AgentE2E, StopsCleanlyOnSigterm) { EXPECT_EQ(deployment_->StopAgent(), 0) << deployment_->Logs(); }

INSTANTIATE_TEST_SUITE_P(Modes, AgentE2E, ::testing::Values(Mode::Standalone, Mode::AgentX), ModeName);

// Without a read-write community every set is refused, whatever community
// it names.
TEST(AgentE2EReadOnly, WithoutReadWriteAccessEverySetIsRefused) {
    Deployment d(Mode::Standalone, false);
    for (const char *community : {"public", "private"}) {
        ToolRun r = d.Tools().V2("snmpset", community, {"-t", "1", "-r", "0"}, {"lldpV2MessageTxInterval.0", "u", "40"});
        EXPECT_NE(r.exitCode, 0) << community << "\n" << r.output;
    }
    ToolRun r = d.Tools().V2("snmpget", "public", {}, {"lldpV2MessageTxInterval.0"});
    auto vbs = ParseVarbinds(r.output);
    ASSERT_EQ(vbs.size(), 1u) << r.output;
    EXPECT_EQ(Number(vbs[0]), 30u);
}

// Rows whose index lies outside the MIB's index syntax are passed over by
// walks (VLAN id 0 of the VLAN name transmit table, a DCBX application of
// the reserved selector 0) and reported once per table, however often they
// are walked; requests themselves leave no line in the log.
TEST(AgentE2ELog, SkippedRowsAreCountedNotLoggedPerRequest) {
    TempDir dir;
    const std::string scenario = dir.Path() + "/scenario.yaml";
    // The neighbour's application priority TLV: selector 0 (priority 3,
    // FCoE) and selector 1 (priority 2, EAPOL).
    std::ofstream(scenario) << "nodes: [{id: 1}]\n"
                               "interfaces:\n"
                               "  - ifindex: 1\n"
                               "    name: ge-1\n"
                               "    node: 1\n"
                               "    type: gigabit-ethernet\n"
                               "    lldp: {vlans: [{id: 10, name: users}]}\n"
                               "neighbours:\n"
                               "  - port: ge-1\n"
                               "    refresh: true\n"
                               "    lldpdu: \"02070402005e00530a0406056769302f3106020078"
                               "fe0b0080c20c0060890641888e0000\"\n";
    Deployment d(Mode::Standalone, false, {"--scenario", scenario});
    const std::string startLog = d.AgentLog();
    const size_t linesAtStart = std::count(startLog.begin(), startLog.end(), '\n');

    const std::string apps = "lldpXdot1dcbxRemApplicationPriorityAEPriority";
    for (int walk = 0; walk < 2; ++walk) {
        for (const char *tool : {"snmpwalk", "snmpbulkwalk"}) {
            for (const std::string &table : {std::string("lldpV2Xdot1ConfigVlanNameTable"), apps}) {
                ToolRun r = d.Tools().V2(tool, "public", {}, {table});
                EXPECT_EQ(r.exitCode, 0) << r.output;
            }
        }
    }
    // Only the selector 1 application is served, by walk and by get.
    ToolRun r = d.Tools().V2("snmpwalk", "public", {}, {apps});
    auto vbs = ParseVarbinds(r.output);
    if (!vbs.empty() && vbs.back().type.empty()) vbs.pop_back();  // end of the MIB view
    ASSERT_EQ(vbs.size(), 1u) << r.output;
    EXPECT_EQ(vbs[0].value, "2") << r.output;
    Oid selectorZero = vbs[0].oid;
    selectorZero[selectorZero.size() - 2] = 0;
    selectorZero.back() = 0x8906;
    ToolRun get = d.Tools().V2("snmpget", "public", {}, {Text(selectorZero)});
    EXPECT_NE(get.output.find("No Such Instance"), std::string::npos) << get.output;

    const std::string log = d.AgentLog();
    size_t lines = std::count(log.begin(), log.end(), '\n');
    const auto count = [&](const std::string &what) {
        size_t n = 0;
        for (size_t at = log.find(what); at != std::string::npos; at = log.find(what, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count("of lldpV2Xdot1ConfigVlanNameTable whose index lies outside"), 1u) << log;
    EXPECT_EQ(count("of lldpXdot1dcbxRemApplicationPriorityAppTable whose index lies outside"), 1u) << log;
    EXPECT_EQ(lines, linesAtStart + 2) << log;
}

// --check validates a scenario without serving: 0 for a valid one, non-zero
// with the reason for a broken one.
TEST(AgentE2ECheck, ValidatesScenarios) {
    TempDir dir;
    std::string broken = dir.Path() + "/broken.yaml";
    std::ofstream(broken) << "nodes:\n  - id: [not a number\n";
    struct Case {
        std::vector<std::string> args;
        bool valid;
    } cases[] = {
        {{"--check"}, true},
        {{"--check", "--scenario", broken}, false},
        {{"--check", "--scenario", dir.Path() + "/missing.yaml"}, false},
    };
    for (const Case &c : cases) {
        std::vector<std::string> argv = {LLDPV2_AGENT_PATH};
        argv.insert(argv.end(), c.args.begin(), c.args.end());
        Process p(argv, dir.Path() + "/check.log");
        for (int i = 0; i < 200 && p.Running(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        int status = p.Stop();
        if (c.valid) {
            EXPECT_EQ(status, 0) << p.Log();
            EXPECT_NE(p.Log().find("valid"), std::string::npos) << p.Log();
        } else {
            EXPECT_NE(status, 0) << p.Log();
        }
    }
}

}  // namespace
}  // namespace lldpv2e2e
