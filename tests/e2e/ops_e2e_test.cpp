// What an operator's tools see of lldpv2-agent beside the LLDP tables:
// lldpV2RemTablesChange received by snmptrapd (standalone and through an
// snmpd master), the system group and IF-MIB, and the installed agent.
// Neighbours appear at run time by replaying a capture into a port.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "snmp_tools.h"

namespace lldpv2e2e {
namespace {

using Oid = std::vector<unsigned long>;
using Clock = std::chrono::steady_clock;

const Oid kSnmpTrapOid = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
const Oid kRemTablesChange = {1, 3, 111, 2, 802, 1, 1, 13, 0, 0, 1};
const Oid kStats = {1, 3, 111, 2, 802, 1, 1, 13, 1, 2};

std::string Dotted(const Oid &oid) {
    std::string s;
    for (unsigned long a : oid) s.append(".").append(std::to_string(a));
    return s;
}

Oid Cat(Oid a, const Oid &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// ---- Captures ---------------------------------------------------------------

void Put16(std::vector<uint8_t> &v, uint16_t x) {
    v.push_back(static_cast<uint8_t>(x >> 8));
    v.push_back(static_cast<uint8_t>(x));
}

void PutTlv(std::vector<uint8_t> &v, unsigned type, const std::vector<uint8_t> &info) {
    Put16(v, static_cast<uint16_t>((type << 9) | info.size()));
    v.insert(v.end(), info.begin(), info.end());
}

// An LLDPDU to the nearest-bridge address from neighbour `n` (its own MAC as
// chassis id, a local port id) with the given TTL.
std::vector<uint8_t> Frame(unsigned n, uint16_t ttl) {
    const std::vector<uint8_t> mac = {0x02, 0x00, 0x5e, 0x77, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
    std::vector<uint8_t> f = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
    f.insert(f.end(), mac.begin(), mac.end());
    Put16(f, 0x88CC);
    std::vector<uint8_t> chassis = {4};
    chassis.insert(chassis.end(), mac.begin(), mac.end());
    PutTlv(f, 1, chassis);
    const std::string port = std::string("p").append(std::to_string(n));
    std::vector<uint8_t> portId = {7};
    portId.insert(portId.end(), port.begin(), port.end());
    PutTlv(f, 2, portId);
    PutTlv(f, 3, {static_cast<uint8_t>(ttl >> 8), static_cast<uint8_t>(ttl)});
    PutTlv(f, 0, {});
    return f;
}

// A classic pcap file of the frames, each at its offset in milliseconds
// (default: 1 ms apart).
void WritePcap(const std::string &path, const std::vector<std::vector<uint8_t>> &frames,
               std::vector<uint32_t> offsetsMs = {}) {
    std::ofstream out(path, std::ios::binary);
    auto u32 = [&](uint32_t x) { out.write(reinterpret_cast<const char *>(&x), 4); };
    auto u16 = [&](uint16_t x) { out.write(reinterpret_cast<const char *>(&x), 2); };
    u32(0xa1b2c3d4);
    u16(2);
    u16(4);
    u32(0);
    u32(0);
    u32(65535);
    u32(1);  // Ethernet
    for (size_t i = 0; i < frames.size(); ++i) {
        const uint32_t ms = i < offsetsMs.size() ? offsetsMs[i] : static_cast<uint32_t>(i);
        u32(1000 + ms / 1000);
        u32((ms % 1000) * 1000);
        u32(static_cast<uint32_t>(frames[i].size()));
        u32(static_cast<uint32_t>(frames[i].size()));
        out.write(reinterpret_cast<const char *>(frames[i].data()), static_cast<std::streamsize>(frames[i].size()));
    }
}

// One node; ifIndex 1 notifies changes on its nearest-bridge agent, ifIndex 2
// does not. Notifications at most every 5 s.
constexpr const char *kScenario = R"yaml(
system:
  name: ops-sw
  description: "switch of the operations tests"
  capabilities: {supported: [bridge, router], enabled: [bridge]}
lldp:
  notification-interval: 5
nodes:
  - id: 1
interfaces:
  - {ifindex: 1, name: ge-1/0/1, node: 1, type: gigabit-ethernet,
     lldp: {agents: [{agent: nearest-bridge, notification: true}]}}
  - {ifindex: 2, name: ge-1/0/2, node: 1, type: gigabit-ethernet,
     lldp: {agents: [{agent: nearest-bridge, notification: false}]}}
  - {ifindex: 50, name: agg-1, node: 1, type: aggregate}
)yaml";

// The number in a printed value: "7", "ethernetCsmacd(6)", "(1234) 0:00:12.34".
unsigned long Number(const std::string &value) {
    const size_t open = value.find('(');
    const std::string digits = open == std::string::npos ? value : value.substr(open + 1);
    try {
        return std::stoul(digits);
    } catch (const std::exception &) {
        return ~0ul;
    }
}

// ---- Processes ------------------------------------------------------------------

// A received lldpV2RemTablesChange: its varbinds by OID.
struct Trap {
    std::map<Oid, Varbind> vbs;
    unsigned long Counter(unsigned column) const {
        auto it = vbs.find(Cat(kStats, {column, 0}));
        return it == vbs.end() ? ~0ul : Number(it->second.value);
    }
};

// snmptrapd on a loopback port, one line per notification.
class TrapReceiver {
public:
    explicit TrapReceiver(const std::string &dir) : dir_(dir) {
        std::ofstream(dir + "/snmptrapd.conf") << "authCommunity log public\n";
        for (int attempt = 0; attempt < 3; ++attempt) {
            port_ = FreeUdpPort();
            proc_ = std::make_unique<Process>(
                std::vector<std::string>{LLDPV2_SNMPTRAPD_PATH, "-f", "-C", "-c", dir + "/snmptrapd.conf", "-n", "-On", "-m", "",
                                         "-Lf", dir + "/traps.log", "-p", dir + "/snmptrapd.pid", "-F",
                                         "TRAP\t%v\n", "udp:127.0.0.1:" + std::to_string(port_)},
                dir + "/snmptrapd.out", std::vector<std::string>{"SNMPCONFPATH=" + dir, "SNMP_PERSISTENT_DIR=" + dir});
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            if (proc_->Running()) return;
        }
        throw std::runtime_error("snmptrapd did not start");
    }
    int Port() const { return port_; }

    std::vector<Trap> Traps() const {
        std::ifstream in(dir_ + "/traps.log");
        std::vector<Trap> traps;
        for (std::string line; std::getline(in, line);) {
            if (line.rfind("TRAP\t", 0) != 0) continue;
            std::string text = line.substr(5);
            for (char &c : text) {
                if (c == '\t') c = '\n';
            }
            Trap t;
            for (const Varbind &vb : ParseVarbinds(text)) t.vbs[vb.oid] = vb;
            // Only ours: a master agent sends its own (coldStart) too.
            auto trapOid = t.vbs.find(kSnmpTrapOid);
            if (trapOid != t.vbs.end() && ParseOid(trapOid->second.value) == kRemTablesChange)
                traps.push_back(std::move(t));
        }
        return traps;
    }

    // Waits until at least n notifications arrived (or timeout).
    std::vector<Trap> WaitFor(size_t n, std::chrono::milliseconds timeout) const {
        const auto end = Clock::now() + timeout;
        std::vector<Trap> t = Traps();
        while (t.size() < n && Clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            t = Traps();
        }
        return t;
    }

private:
    std::string dir_;
    int port_ = 0;
    std::unique_ptr<Process> proc_;
};

enum class Mode { Standalone, AgentX };

// The agent on the test scenario (standalone, or under a private snmpd that
// forwards notifications to the receiver), replaying `pcapIn` if given.
class Agent {
public:
    Agent(TempDir &dir, Mode mode, const TrapReceiver *receiver, const std::string &pcapIn,
          std::vector<std::string> extra = {})
        : dir_(dir) {
        std::ofstream(dir.Path() + "/scenario.yaml") << kScenario;
        for (int attempt = 0; attempt < 3; ++attempt) {
            if (Start(mode, receiver, pcapIn, extra, FreeUdpPort())) return;
        }
        throw std::runtime_error("the agent did not start\n" + Logs());
    }
    ~Agent() {
        if (agent_) agent_->Stop();
        if (master_) master_->Stop();
    }
    const SnmpTools &Tools() const { return *tools_; }
    std::string Logs() const {
        return "--- agent ---\n" + (agent_ ? agent_->Log() : "") + (master_ ? "--- snmpd ---\n" + master_->Log() : "");
    }
    unsigned long Get(const Oid &oid) const {
        auto vbs = ParseVarbinds(tools_->V2("snmpget", "public", {}, {Dotted(oid)}).output);
        return vbs.size() == 1 && !vbs[0].type.empty() ? Number(vbs[0].value) : ~0ul;
    }

private:
    bool Start(Mode mode, const TrapReceiver *receiver, const std::string &pcapIn,
               const std::vector<std::string> &extra, int port) {
        agent_.reset();
        master_.reset();
        const std::string target = "udp:127.0.0.1:" + std::to_string(port);
        std::vector<std::string> args = {LLDPV2_AGENT_PATH, "--module", LLDPV2_MODULE_PATH, "--scenario",
                                         dir_.Path() + "/scenario.yaml", "-v"};
        if (!pcapIn.empty()) {
            args.push_back("--pcap-in");
            args.push_back(pcapIn);
        }
        args.insert(args.end(), extra.begin(), extra.end());
        if (mode == Mode::AgentX) {
            const std::string socket = dir_.Path() + "/agentx.sock";
            std::filesystem::remove(socket);
            std::ofstream conf(dir_.Path() + "/snmpd.conf");
            conf << "agentaddress " << target << "\nmaster agentx\nagentXSocket " << socket
                 << "\nagentXTimeout 5\nrocommunity public 127.0.0.1\n";
            if (receiver != nullptr) conf << "trap2sink 127.0.0.1:" << receiver->Port() << " public\n";
            conf.close();
            master_ = std::make_unique<Process>(
                std::vector<std::string>{LLDPV2_SNMPD_PATH, "-f", "-Lo", "-C", "-c", dir_.Path() + "/snmpd.conf", "-p",
                                         dir_.Path() + "/snmpd.pid", "-I", "-smux"},
                dir_.Path() + "/snmpd.log",
                std::vector<std::string>{"SNMP_PERSISTENT_DIR=" + dir_.Path(), "SNMPCONFPATH=" + dir_.Path(), "MIBS=",
                                         "MIBDIRS=" + std::string(LLDPV2_MIBS_DIR)});
            const auto end = Clock::now() + std::chrono::seconds(10);
            while (!std::filesystem::exists(socket) && Clock::now() < end && master_->Running())
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            args.push_back("--agentx");
            args.push_back(socket);
        } else {
            args.push_back("--listen");
            args.push_back(target);
            if (receiver != nullptr) {
                args.push_back("--trap-sink");
                args.push_back("127.0.0.1:" + std::to_string(receiver->Port()));
            }
        }
        agent_ = std::make_unique<Process>(args, dir_.Path() + "/agent.log");
        tools_ = std::make_unique<SnmpTools>(target, LLDPV2_MIBS_DIR, dir_.Path());
        const auto end = Clock::now() + std::chrono::seconds(15);
        while (Clock::now() < end) {
            if (!agent_->Running() || (master_ && !master_->Running())) return false;
            ToolRun r = tools_->V2("snmpget", "public", {"-t", "1", "-r", "0"}, {"lldpV2MessageTxInterval.0"}, 5);
            auto vbs = ParseVarbinds(r.output);
            if (r.exitCode == 0 && vbs.size() == 1 && vbs[0].type == "Gauge32") return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    TempDir &dir_;
    std::unique_ptr<Process> master_;
    std::unique_ptr<Process> agent_;
    std::unique_ptr<SnmpTools> tools_;
};

std::string ModeName(const ::testing::TestParamInfo<Mode> &info) {
    return info.param == Mode::Standalone ? "Standalone" : "AgentX";
}

void ExpectRemTablesChange(const Trap &t, unsigned long inserts, unsigned long deletes, unsigned long drops,
                           unsigned long ageouts) {
    auto trapOid = t.vbs.find(kSnmpTrapOid);
    ASSERT_NE(trapOid, t.vbs.end());
    EXPECT_EQ(ParseOid(trapOid->second.value), kRemTablesChange);
    for (unsigned column = 2; column <= 5; ++column) {
        auto it = t.vbs.find(Cat(kStats, {column, 0}));
        ASSERT_NE(it, t.vbs.end()) << "column " << column;
        EXPECT_EQ(it->second.type, "Gauge32");
    }
    EXPECT_EQ(t.Counter(2), inserts);
    EXPECT_EQ(t.Counter(3), deletes);
    EXPECT_EQ(t.Counter(4), drops);
    EXPECT_EQ(t.Counter(5), ageouts);
}

class Notifications : public ::testing::TestWithParam<Mode> {};

// A neighbour with a TTL of 1 s comes and ages out: one notification at
// once for the insert, one at the end of the interval for the age-out.
TEST_P(Notifications, NeighbourAddedThenAgedOut) {
    TempDir dir;
    TrapReceiver receiver(dir.Path());
    WritePcap(dir.Path() + "/one.pcap", {Frame(1, 1)});
    const auto start = Clock::now();
    Agent agent(dir, GetParam(), &receiver, dir.Path() + "/one.pcap:1");
    std::vector<Trap> traps = receiver.WaitFor(1, std::chrono::seconds(3));
    ASSERT_GE(traps.size(), 1u) << agent.Logs();
    ExpectRemTablesChange(traps[0], 1, 0, 0, 0);
    traps = receiver.WaitFor(2, std::chrono::seconds(8));
    ASSERT_EQ(traps.size(), 2u) << agent.Logs();
    ExpectRemTablesChange(traps[1], 1, 0, 0, 1);
    // Not before the interval since the first ended.
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(4500));
}

// The same on a port whose notification switch is off: the tables change,
// nothing is sent.
TEST_P(Notifications, NoneWhenThePortSwitchIsOff) {
    TempDir dir;
    TrapReceiver receiver(dir.Path());
    WritePcap(dir.Path() + "/one.pcap", {Frame(1, 1)});
    Agent agent(dir, GetParam(), &receiver, dir.Path() + "/one.pcap:2");
    const auto end = Clock::now() + std::chrono::seconds(3);
    while (agent.Get(Cat(kStats, {5, 0})) != 1 && Clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(agent.Get(Cat(kStats, {2, 0})), 1u) << agent.Logs();
    EXPECT_EQ(agent.Get(Cat(kStats, {5, 0})), 1u) << agent.Logs();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_TRUE(receiver.Traps().empty());
}

// 100 new neighbours over 2 s (64 kept, 36 dropped): one notification at
// the first, nothing more until the interval ends, then one with the rest.
TEST_P(Notifications, AtMostOnePerIntervalUnderABurst) {
    TempDir dir;
    TrapReceiver receiver(dir.Path());
    std::vector<std::vector<uint8_t>> frames;
    std::vector<uint32_t> offsets;
    for (unsigned n = 1; n <= 100; ++n) {
        frames.push_back(Frame(n, 120));
        offsets.push_back((n - 1) * 20);
    }
    WritePcap(dir.Path() + "/burst.pcap", frames, offsets);
    Agent agent(dir, GetParam(), &receiver, dir.Path() + "/burst.pcap:1");
    std::vector<Trap> traps = receiver.WaitFor(1, std::chrono::seconds(3));
    ASSERT_GE(traps.size(), 1u) << agent.Logs();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    traps = receiver.Traps();
    ASSERT_EQ(traps.size(), 1u);
    // The rest of the burst goes in the notification at the interval's end.
    traps = receiver.WaitFor(2, std::chrono::seconds(5));
    ASSERT_EQ(traps.size(), 2u) << agent.Logs();
    ExpectRemTablesChange(traps[1], 64, 0, 36, 0);
}

INSTANTIATE_TEST_SUITE_P(Modes, Notifications, ::testing::Values(Mode::Standalone, Mode::AgentX), ModeName);

// A shorter interval written over SNMP applies to the pending notification.
TEST(NotificationsConfig, IntervalWrittenOverSnmpAppliesAtOnce) {
    TempDir dir;
    TrapReceiver receiver(dir.Path());
    // Neighbour 1 at once, neighbour 2 three seconds later.
    WritePcap(dir.Path() + "/two.pcap", {Frame(1, 120), Frame(2, 120)}, {0, 3000});
    Agent agent(dir, Mode::Standalone, &receiver, dir.Path() + "/two.pcap:1",
                {"--rwcommunity", "private"});
    ASSERT_EQ(receiver.WaitFor(1, std::chrono::seconds(3)).size(), 1u) << agent.Logs();
    ToolRun set = agent.Tools().V2("snmpset", "private", {}, {"lldpV2NotificationInterval.0", "u", "3600"});
    ASSERT_EQ(set.exitCode, 0) << set.output;
    // Neighbour 2 arrives; with 3600 s nothing may go for an hour.
    const auto end = Clock::now() + std::chrono::seconds(6);
    while (agent.Get(Cat(kStats, {2, 0})) != 2 && Clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(agent.Get(Cat(kStats, {2, 0})), 2u) << agent.Logs();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    EXPECT_EQ(receiver.Traps().size(), 1u);
    set = agent.Tools().V2("snmpset", "private", {}, {"lldpV2NotificationInterval.0", "u", "5"});
    ASSERT_EQ(set.exitCode, 0) << set.output;
    const std::vector<Trap> traps = receiver.WaitFor(2, std::chrono::seconds(4));
    ASSERT_EQ(traps.size(), 2u) << agent.Logs();
    ExpectRemTablesChange(traps[1], 2, 0, 0, 0);
}

// ---- System group and IF-MIB ---------------------------------------------------

const Oid kSystem = {1, 3, 6, 1, 2, 1, 1};
const Oid kIfName = {1, 3, 6, 1, 2, 1, 31, 1, 1, 1, 1};
const Oid kIfTable = {1, 3, 6, 1, 2, 1, 2, 2};
// lldpV2LocPortTable's lldpV2LocPortIdSubtype column: one instance per local port,
// indexed by lldpV2LocPortIfIndex.
const Oid kLocPortIdSubtype = {1, 3, 111, 2, 802, 1, 1, 13, 1, 3, 7, 1, 2};

std::vector<Varbind> Walk(const SnmpTools &tools, const Oid &oid) {
    ToolRun r = tools.V2("snmpbulkwalk", "public", {}, {Dotted(oid)});
    EXPECT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(OutputProblems(r.output).empty()) << r.output;
    return ParseVarbinds(r.output);
}

TEST(SystemAndInterfaces, SystemGroupFromTheScenario) {
    TempDir dir;
    Agent agent(dir, Mode::Standalone, nullptr, "", {"--sys-contact", "noc@example.net", "--sys-location", "rack 4"});
    std::map<Oid, Varbind> sys;
    for (const Varbind &vb : Walk(agent.Tools(), kSystem)) sys[vb.oid] = vb;
    const std::vector<std::pair<unsigned, std::string>> expected = {
        {1, "switch of the operations tests"}, {2, ".1.3.6.1.4.1.8072.3.2.10"}, {4, "noc@example.net"},
        {5, "ops-sw"}, {6, "rack 4"}, {7, "2"}};
    for (const auto &[arc, value] : expected) {
        auto it = sys.find(Cat(kSystem, {arc, 0}));
        ASSERT_NE(it, sys.end()) << arc;
        EXPECT_EQ(it->second.value, value) << arc;
    }
    const unsigned long up1 = agent.Get(Cat(kSystem, {3, 0}));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const unsigned long up2 = agent.Get(Cat(kSystem, {3, 0}));
    EXPECT_NE(up1, ~0ul);
    EXPECT_GE(up2, up1 + 20);  // time ticks are hundredths
}

TEST(SystemAndInterfaces, EveryLocalPortIfIndexHasAnIfName) {
    TempDir dir;
    Agent agent(dir, Mode::Standalone, nullptr, "");
    std::map<unsigned long, std::string> names;
    for (const Varbind &vb : Walk(agent.Tools(), kIfName)) names[vb.oid.back()] = vb.value;
    const std::vector<Varbind> ports = Walk(agent.Tools(), kLocPortIdSubtype);
    ASSERT_FALSE(ports.empty());
    for (const Varbind &vb : ports) {
        auto it = names.find(vb.oid.back());
        ASSERT_NE(it, names.end()) << "lldpV2LocPortIfIndex " << vb.oid.back();
        EXPECT_NE(it->second, "");
    }
    EXPECT_EQ(names[1], "ge-1/0/1");
    EXPECT_EQ(names[50], "agg-1");
    // ifNumber counts the rows; ifType tells Ethernet from aggregates.
    EXPECT_EQ(agent.Get({1, 3, 6, 1, 2, 1, 2, 1, 0}), names.size());
    EXPECT_EQ(agent.Get(Cat(kIfTable, {1, 3, 1})), 6u);
    EXPECT_EQ(agent.Get(Cat(kIfTable, {1, 3, 50})), 161u);
    // A walk of the whole tables stays in order and within them.
    EXPECT_EQ(Walk(agent.Tools(), kIfTable).size(), 22u * names.size());
}

// ---- Installed tree ---------------------------------------------------------------

TEST(Install, InstalledAgentFindsItsLibrariesAndModule) {
    TempDir dir;
    const std::string root = dir.Path() + "/root";
    ToolRun r;
    {
        Process install({LLDPV2_CMAKE_COMMAND, "--install", LLDPV2_BUILD_DIR}, dir.Path() + "/install.log",
                        {"DESTDIR=" + root});
        const auto end = Clock::now() + std::chrono::seconds(60);
        while (install.Running() && Clock::now() < end) std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ASSERT_EQ(install.Stop(), 0) << install.Log();
    }
    const std::string agentPath = root + LLDPV2_INSTALL_BINDIR + "/lldpv2-agent";
    ASSERT_TRUE(std::filesystem::exists(agentPath));
    // Moved out of the build tree's reach: no build paths, no LD_LIBRARY_PATH.
    const int port = FreeUdpPort();
    Process agent({"/usr/bin/env", "-u", "LD_LIBRARY_PATH", agentPath, "--listen",
                   "udp:127.0.0.1:" + std::to_string(port), "-v"},
                  dir.Path() + "/agent.log");
    SnmpTools tools("udp:127.0.0.1:" + std::to_string(port), LLDPV2_MIBS_DIR, dir.Path());
    bool answered = false;
    for (int i = 0; i < 50 && agent.Running() && !answered; ++i) {
        auto vbs = ParseVarbinds(tools.V2("snmpget", "public", {"-t", "1", "-r", "0"}, {"sysName.0"}, 5).output);
        answered = vbs.size() == 1 && vbs[0].value == "stack-sw-1";
        if (!answered) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_TRUE(answered) << agent.Log();
    // The module it loaded is the installed one.
    EXPECT_NE(agent.Log().find("serving " + root), std::string::npos) << agent.Log();
    EXPECT_EQ(agent.Stop(), 0);
    for (const char *f : {"/share/man/man8/lldpv2-agent.8", "/share/lldpv2mib/mibs/LLDP-V2-MIB.txt",
                          "/share/lldpv2mib/scenarios/default.yaml"}) {
        EXPECT_TRUE(std::filesystem::exists(root + LLDPV2_INSTALL_PREFIX + f)) << f;
    }
    EXPECT_TRUE(std::filesystem::exists(root + LLDPV2_UNIT_DIR + "/lldpv2-agent.service"));
}

}  // namespace
}  // namespace lldpv2e2e
