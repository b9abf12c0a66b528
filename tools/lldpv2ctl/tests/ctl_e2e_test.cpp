// lldpv2ctl end to end: against lldpv2-agent on the test scenario (every
// view in text and JSON against a golden file), against a UDP port that
// never answers, and against net-snmp's own snmpd, which has no LLDP-V2-MIB.
//
// LLDPV2CTL_UPDATE_GOLDEN=1 rewrites the golden files from what the tool
// prints (to be reviewed by eye before they are committed).
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <thread>

#include "snmp_tools.h"

namespace lldpv2e2e {
namespace {

const std::string kGoldenDir = std::string(LLDPV2CTL_TEST_DIR) + "/golden";
const std::string kScenario = std::string(LLDPV2CTL_TEST_DIR) + "/ctl_scenario.yaml";

struct CtlRun {
    int exitCode = -1;
    std::string out;
    std::string err;
    double seconds = 0;
};

std::string Slurp(const std::string &path) {
    std::ifstream in(path);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string Quote(const std::string &s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

// Runs lldpv2ctl with a private client configuration, at most 60 s.
CtlRun Ctl(const TempDir &dir, const std::vector<std::string> &args) {
    std::string cmd = "env SNMPCONFPATH=" + Quote(dir.Path()) + " SNMP_PERSISTENT_DIR=" + Quote(dir.Path()) +
                      " timeout 60 " + Quote(LLDPV2CTL_PATH);
    for (const std::string &a : args) cmd += " " + Quote(a);
    cmd += " >" + Quote(dir.Path() + "/out") + " 2>" + Quote(dir.Path() + "/err");
    const auto start = std::chrono::steady_clock::now();
    const int status = std::system(cmd.c_str());
    CtlRun run;
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = Slurp(dir.Path() + "/out");
    // net-snmp notes once that it created its state directory.
    std::stringstream err(Slurp(dir.Path() + "/err"));
    std::string line;
    while (std::getline(err, line)) {
        if (line.rfind("Created directory:", 0) != 0) run.err += line + "\n";
    }
    return run;
}

// Replaces what depends on time: the time marks of remote rows, the time
// of the last change of the remote tables, and the frames sent (the
// daemons transmit as time goes by).
// The number after each match of `prefix` becomes 0.
std::string ZeroAfter(const std::string &s, const std::regex &prefix) {
    std::string out;
    auto begin = s.cbegin();
    std::smatch m;
    while (std::regex_search(begin, s.cend(), m, prefix)) {
        out.append(begin, m[0].second);
        auto digits = m[0].second;
        while (digits != s.cend() && std::isdigit(static_cast<unsigned char>(*digits))) ++digits;
        out += "0";
        begin = digits;
    }
    out.append(begin, s.cend());
    return out;
}

std::string Normalise(std::string s) {
    s = ZeroAfter(s, std::regex(R"re("(time_mark|last_change_time)": )re"));
    s = ZeroAfter(s, std::regex(R"re("tx": \{\n\s*"frames": )re"));
    s = std::regex_replace(s, std::regex(R"(last change at [0-9:.]+)"), "last change at TIME");
    // The TX FRAMES column of the statistics table: right-aligned under
    // its header.
    const std::string header = "TX FRAMES";
    const size_t h = s.find(header);
    if (h != std::string::npos) {
        const size_t lineStart = s.rfind('\n', h) == std::string::npos ? 0 : s.rfind('\n', h) + 1;
        const size_t end = h - lineStart + header.size();
        std::stringstream in(s.substr(lineStart)), out;
        std::string line;
        bool first = true;
        while (std::getline(in, line)) {
            if (!first && line.size() >= end) line.replace(end - header.size(), header.size(), "        N");
            first = false;
            out << line << "\n";
        }
        s = s.substr(0, lineStart) + out.str();
    }
    return s;
}

void CheckGolden(const std::string &name, const std::string &output) {
    const std::string path = kGoldenDir + "/" + name;
    const std::string actual = Normalise(output);
    if (std::getenv("LLDPV2CTL_UPDATE_GOLDEN") != nullptr) {
        std::filesystem::create_directories(kGoldenDir);
        std::ofstream(path) << actual;
        return;
    }
    ASSERT_TRUE(std::filesystem::exists(path)) << "no golden file " << path;
    const std::string expected = Slurp(path);
    if (expected == actual) return;
    // The first differing line, then everything.
    std::stringstream e(expected), a(actual);
    std::string el, al;
    int line = 1;
    while (std::getline(e, el) && std::getline(a, al) && el == al) ++line;
    ADD_FAILURE() << name << " differs from the golden file at line " << line << ":\n  golden: " << el
                  << "\n  actual: " << al << "\n--- actual output ---\n"
                  << actual;
}

// Waits until target answers an snmpget of `object`; false after 20 s or
// when the process ends.
bool WaitForAgent(Process &p, const SnmpTools &tools, const std::string &object) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        ToolRun r = tools.Run("snmpget", {"-v2c", "-c", "public", "-t", "1", "-r", "0", tools.Target(), object}, 10);
        if (r.exitCode == 0 && r.output.find("No Such") == std::string::npos) return true;
        if (!p.Running()) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

// One agent on the test scenario for all tests of the suite, with an
// SNMPv3 user besides the community.
class CtlE2E : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir_ = new TempDir();
        for (int attempt = 0; attempt < 3 && agent_ == nullptr; ++attempt) {
            target_ = "udp:127.0.0.1:" + std::to_string(FreeUdpPort());
            auto agent = std::make_unique<Process>(
                std::vector<std::string>{LLDPV2_AGENT_PATH, "--module", LLDPV2_MODULE_PATH, "--scenario", kScenario,
                                         "--listen", target_, "--v3-user", "ctl", "--v3-auth-pass", "ctl-auth-pass",
                                         "--v3-priv-pass", "ctl-priv-pass"},
                dir_->Path() + "/agent.log");
            SnmpTools tools(target_, LLDPV2_MIBS_DIR, dir_->Path());
            if (WaitForAgent(*agent, tools, ".1.3.111.2.802.1.1.13.1.1.1.0")) agent_ = agent.release();
        }
    }
    static void TearDownTestSuite() {
        delete agent_;
        agent_ = nullptr;
        delete dir_;
        dir_ = nullptr;
    }
    void SetUp() override { ASSERT_NE(agent_, nullptr) << "the agent did not start"; }

    CtlRun V2(std::vector<std::string> args) {
        std::vector<std::string> all = {"-v2c", "-c", "public", "-t", "3", "-r", "1", target_};
        all.insert(all.end(), args.begin(), args.end());
        return Ctl(client_, all);
    }

    static TempDir *dir_;
    static Process *agent_;
    static std::string target_;
    TempDir client_;
};

TempDir *CtlE2E::dir_ = nullptr;
Process *CtlE2E::agent_ = nullptr;
std::string CtlE2E::target_;

TEST_F(CtlE2E, EveryViewMatchesItsGoldenFile) {
    struct Case {
        std::vector<std::string> args;
        const char *golden;
    } cases[] = {
        {{"neighbors"}, "neighbors.txt"},
        {{"neighbors", "--detail"}, "neighbors-detail.txt"},
        {{"statistics"}, "statistics.txt"},
        {{"local"}, "local.txt"},
        {{"config"}, "config.txt"},
        {{"--json", "neighbors"}, "neighbors.json"},
        {{"neighbors", "--detail", "--json"}, "neighbors-detail.json"},
        {{"statistics", "--json"}, "statistics.json"},
        {{"local", "--json"}, "local.json"},
        {{"config", "--json"}, "config.json"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.golden);
        CtlRun r = V2(c.args);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(r.err, "");
        CheckGolden(c.golden, r.out);
    }
}

// SNMPv3 with authentication and privacy gives the same view.
TEST_F(CtlE2E, SnmpV3GivesTheSameNeighbours) {
    CtlRun v2 = V2({"neighbors", "--json"});
    CtlRun v3 = Ctl(client_, {"-v3", "-u", "ctl", "-l", "authPriv", "-a", "SHA", "-A", "ctl-auth-pass", "-x", "AES",
                              "-X", "ctl-priv-pass", "-t", "3", "-r", "1", target_, "neighbors", "--json"});
    EXPECT_EQ(v3.exitCode, 0) << v3.err;
    EXPECT_EQ(Normalise(v3.out), Normalise(v2.out));
}

TEST_F(CtlE2E, WatchPrintsOnlyWhenSomethingChanged) {
    // Three reads a second apart of a view that does not change: one print.
    CtlRun text = V2({"watch", "local", "--interval", "1", "--count", "3"});
    EXPECT_EQ(text.exitCode, 0) << text.err;
    size_t headers = 0;
    for (size_t p = text.out.find("--- "); p != std::string::npos; p = text.out.find("--- ", p + 1)) ++headers;
    EXPECT_EQ(headers, 1u) << text.out;
    EXPECT_NE(text.out.find("stack-sw-1"), std::string::npos);
    EXPECT_GE(text.seconds, 1.5);

    CtlRun json = V2({"--json", "watch", "--count", "2", "--interval", "1"});
    EXPECT_EQ(json.exitCode, 0) << json.err;
    ASSERT_FALSE(json.out.empty());
    EXPECT_EQ(json.out.find('\n'), json.out.size() - 1) << "one document on one line";
    EXPECT_EQ(json.out.rfind("{\"schema\":1,\"view\":\"neighbors\",\"neighbors\":[", 0), 0u) << json.out;
}

TEST_F(CtlE2E, WrongCommunityIsReportedAsNoAnswer) {
    CtlRun r = Ctl(client_, {"-v2c", "-c", "not-the-community", "-t", "1", "-r", "0", target_, "neighbors"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "lldpv2ctl: no answer from " + target_ + ": timeout or wrong community\n");
}

// Usage errors exit 2 with one line (and a hint); --version and --help 0.
TEST_F(CtlE2E, UsageAndVersion) {
    struct Case {
        std::vector<std::string> args;
        int exitCode;
        const char *inOutput;
    } cases[] = {
        {{"--version"}, 0, "lldpv2ctl "},
        {{"--help"}, 0, "exit status: 0 ok, 1 SNMP error or no answer, 2 usage error, 3 the agent"},
        {{}, 2, "no HOST given"},
        {{"-v2c", "-c", "public", target_}, 2, "no command after HOST"},
        {{"-v2c", "-c", "public", target_, "frobnicate"}, 2, "frobnicate"},
        {{"-v2c", "-c", "public", target_, "neighbors", "--bogus"}, 2, "--bogus"},
        {{"-v2c", "-c", "public", target_, "watch", "--interval", "0"}, 2, "--interval"},
        {{"--max-repetitions", "0", target_, "neighbors"}, 2, "--max-repetitions"},
        {{"-v", "7", target_, "neighbors"}, 2, ""},
    };
    for (const Case &c : cases) {
        std::string joined;
        for (const auto &a : c.args) joined += a + " ";
        SCOPED_TRACE(joined);
        CtlRun r = Ctl(client_, c.args);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.out << r.err;
        EXPECT_NE((r.out + r.err).find(c.inOutput), std::string::npos) << r.out << r.err;
    }
}

// A UDP port that is bound but never answers.
class SilentPort {
public:
    SilentPort() {
        fd_ = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof addr;
        if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
            getsockname(fd_, reinterpret_cast<sockaddr *>(&addr), &len) != 0)
            throw std::runtime_error("cannot bind a UDP port");
        port_ = ntohs(addr.sin_port);
    }
    ~SilentPort() { close(fd_); }
    int Port() const { return port_; }

private:
    int fd_ = -1;
    int port_ = 0;
};

TEST(CtlNoAnswer, TimeoutIsOneLineAndExitOne) {
    SilentPort silent;
    TempDir client;
    const std::string target = "udp:127.0.0.1:" + std::to_string(silent.Port());
    struct Case {
        std::vector<std::string> version;
        std::string message;
    } cases[] = {
        {{"-v2c", "-c", "public"}, "lldpv2ctl: no answer from " + target + ": timeout or wrong community\n"},
        {{"-v1", "-c", "public"}, "lldpv2ctl: no answer from " + target + ": timeout or wrong community\n"},
        {{"-v3", "-u", "someone", "-l", "noAuthNoPriv"}, "lldpv2ctl: no answer from " + target + " (timeout)\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.version[0]);
        std::vector<std::string> args = c.version;
        for (const char *a : {"-t", "1", "-r", "0"}) args.push_back(a);
        args.push_back(target);
        args.push_back("neighbors");
        CtlRun r = Ctl(client, args);
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, c.message);
        EXPECT_LT(r.seconds, 5.0);
    }
}

// net-snmp's snmpd with a private configuration: it answers, but has no
// LLDP-V2-MIB.
TEST(CtlWithoutLldpMib, SaysSoAndExitsThree) {
    TempDir dir;
    const std::string target = "udp:127.0.0.1:" + std::to_string(FreeUdpPort());
    const std::string conf = dir.Path() + "/snmpd.conf";
    std::ofstream(conf) << "agentaddress " << target << "\nrocommunity public 127.0.0.1\n";
    Process snmpd({LLDPV2_SNMPD_PATH, "-f", "-Lo", "-C", "-c", conf, "-p", dir.Path() + "/snmpd.pid", "-I", "-smux"},
                  dir.Path() + "/snmpd.log",
                  {"SNMP_PERSISTENT_DIR=" + dir.Path(), "SNMPCONFPATH=" + dir.Path(), "MIBS="});
    SnmpTools tools(target, LLDPV2_MIBS_DIR, dir.Path());
    ASSERT_TRUE(WaitForAgent(snmpd, tools, ".1.3.6.1.2.1.1.1.0")) << snmpd.Log();
    for (const char *view : {"neighbors", "statistics", "local", "config"}) {
        SCOPED_TRACE(view);
        CtlRun r = Ctl(dir, {"-v2c", "-c", "public", "-t", "3", "-r", "1", target, view, "--json"});
        EXPECT_EQ(r.exitCode, 3);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "lldpv2ctl: " + target + " does not serve LLDP-V2-MIB\n");
    }
}

}  // namespace
}  // namespace lldpv2e2e
