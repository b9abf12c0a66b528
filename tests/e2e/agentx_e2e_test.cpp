// The agent as AgentX subagent of an snmpd started here, when that master is
// killed and replaced, when it stalls, and when both stop together: how long
// until a walk of lldpV2RemTable through the master works again, and that the
// agent always exits cleanly.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

#include "snmp_tools.h"

namespace lldpv2e2e {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// A short ping interval keeps the tests fast; the agent must be back within
// it plus this margin.
constexpr int kPingSeconds = 1;
constexpr auto kMargin = 3s;
// How long the agent waits for each answer of the master with that interval.
constexpr int kRequestTimeoutSeconds = 2;
const std::vector<unsigned long> kRemTable = {1, 3, 111, 2, 802, 1, 1, 13, 1, 4, 1};

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

// What an agent's log must never show after it stopped.
std::vector<std::string> ExitProblems(const std::string &log) {
    static const char *kBad[] = {"netsnmp_assert", "_callback_lock", "Segmentation", "core dumped", "Aborted",
                                 "terminate called"};
    std::vector<std::string> problems;
    for (const char *bad : kBad) {
        if (log.find(bad) != std::string::npos) problems.push_back(bad);
    }
    return problems;
}

// The agent's log tells the operator that it lost the master, then that it
// registered again.
bool LoggedLossAndReturn(const std::string &log) {
    const size_t lost = log.find("lost the AgentX master");
    return lost != std::string::npos && log.find("registered with the AgentX master", lost) != std::string::npos;
}

// A private snmpd with an AgentX socket and the agent as its subagent. The
// master may be killed, stopped and started again on the same socket and
// port; every process goes with the object.
class Subagent {
public:
    Subagent() : socket_(dir_.Path() + "/agentx.sock") {
        std::filesystem::create_directory(dir_.Path() + "/state");
        port_ = FreeUdpPort();
        tools_ = std::make_unique<SnmpTools>("udp:127.0.0.1:" + std::to_string(port_), LLDPV2_MIBS_DIR,
                                             clientDir_.Path());
        std::ofstream conf(dir_.Path() + "/snmpd.conf");
        conf << "agentaddress udp:127.0.0.1:" << port_ << "\n"
             << "master agentx\n"
             << "agentXSocket " << socket_ << "\n"
             << "agentXTimeout 5\n"
             << "rocommunity public 127.0.0.1\n";
    }

    ~Subagent() {
        agent_.reset();
        master_.reset();
    }

    // Starts a master; true once it answers for its own objects.
    bool StartMaster() {
        // The state directory is not the one of the configuration: snmpd
        // writes a snmpd.conf of its own there when it stops.
        const std::string state = dir_.Path() + "/state";
        master_ = std::make_unique<Process>(
            std::vector<std::string>{LLDPV2_SNMPD_PATH, "-f", "-Lo", "-C", "-c", dir_.Path() + "/snmpd.conf", "-p",
                                     dir_.Path() + "/snmpd.pid", "-I", "-smux"},
            dir_.Path() + "/snmpd-" + std::to_string(++masterRuns_) + ".log",
            std::vector<std::string>{"SNMP_PERSISTENT_DIR=" + state, "SNMPCONFPATH=" + state, "MIBS=",
                                     "MIBDIRS=" + std::string(LLDPV2_MIBS_DIR)});
        return WaitFor(20s, [&] {
            ToolRun r = tools_->V2("snmpget", "public", {"-t", "1", "-r", "0"}, {"1.3.6.1.2.1.1.3.0"}, 10);
            return r.exitCode == 0 && r.output.find("Timeticks") != std::string::npos;
        });
    }

    // Starts the agent; true once the master serves its objects.
    bool StartAgent() {
        agent_ = std::make_unique<Process>(
            std::vector<std::string>{LLDPV2_AGENT_PATH, "--module", LLDPV2_MODULE_PATH, "--agentx", socket_,
                                     "--agentx-ping", std::to_string(kPingSeconds)},
            dir_.Path() + "/agent-" + std::to_string(++agentRuns_) + ".log");
        return WaitFor(20s, [&] { return RemTableWalks(); });
    }

    bool Start() { return StartMaster() && StartAgent(); }

    // A walk of lldpV2RemTable through the master gives rows.
    bool RemTableWalks() const {
        ToolRun r = tools_->V2("snmpwalk", "public", {"-t", "1", "-r", "0"}, {"lldpV2RemTable"}, 10);
        if (r.exitCode != 0 || !OutputProblems(r.output).empty()) return false;
        std::vector<Varbind> vbs = ParseVarbinds(r.output);
        return !vbs.empty() && vbs.front().oid.size() > kRemTable.size() &&
               std::equal(kRemTable.begin(), kRemTable.end(), vbs.front().oid.begin());
    }

    // Seconds from now until the walk works; none after `limit`.
    std::optional<double> SecondsUntilWalks(Clock::duration limit) const {
        const Clock::time_point start = Clock::now();
        while (Clock::now() - start < limit) {
            if (RemTableWalks()) return Seconds(Clock::now() - start);
            std::this_thread::sleep_for(50ms);
        }
        return std::nullopt;
    }

    Process &Master() { return *master_; }
    Process &Agent() { return *agent_; }

    std::string Logs() const {
        std::string s = "--- agent log ---\n" + (agent_ ? agent_->Log() : std::string());
        if (master_) s += "--- snmpd log ---\n" + master_->Log();
        return s;
    }

private:
    // Polls ready until limit; false early when a started process exits.
    template <typename F>
    bool WaitFor(Clock::duration limit, F ready) {
        const Clock::time_point deadline = Clock::now() + limit;
        while (Clock::now() < deadline) {
            if (ready()) return true;
            if ((master_ && !master_->Running()) || (agent_ && !agent_->Running())) return false;
            std::this_thread::sleep_for(50ms);
        }
        return false;
    }

    TempDir dir_;
    TempDir clientDir_;
    std::string socket_;
    int port_ = 0;
    int masterRuns_ = 0;
    int agentRuns_ = 0;
    std::unique_ptr<SnmpTools> tools_;
    std::unique_ptr<Process> master_;
    std::unique_ptr<Process> agent_;
};

TEST(AgentxRecovery, MasterKilledAndStartedAgainOnTheSameSocket) {
    Subagent s;
    ASSERT_TRUE(s.Start()) << s.Logs();
    s.Master().Signal(SIGKILL);
    s.Master().Stop();
    // The agent has noticed the lost connection by now and tries to open a
    // new session every ping interval.
    std::this_thread::sleep_for(std::chrono::seconds(kPingSeconds));
    const Clock::time_point started = Clock::now();
    ASSERT_TRUE(s.StartMaster()) << s.Logs();
    const double masterUp = Seconds(Clock::now() - started);
    std::optional<double> seconds = s.SecondsUntilWalks(std::chrono::seconds(kPingSeconds) + kMargin);
    ASSERT_TRUE(seconds) << s.Logs();
    std::cout << "walks work again " << *seconds << " s after the new master answers for itself ("
              << masterUp + *seconds << " s after it started; ping interval " << kPingSeconds << " s)\n";
    EXPECT_TRUE(LoggedLossAndReturn(s.Agent().Log())) << s.Logs();
    EXPECT_EQ(s.Agent().Stop(), 0) << s.Logs();
}

TEST(AgentxRecovery, MasterStoppedLongerThanThePingIntervalThenContinued) {
    Subagent s;
    ASSERT_TRUE(s.Start()) << s.Logs();
    s.Master().Signal(SIGSTOP);
    // Long enough for a ping to go unanswered (up to a ping interval and a
    // request timeout), for the close to go unanswered and for an attempt at
    // a new session to fail (a request timeout each).
    std::this_thread::sleep_for(std::chrono::seconds(kPingSeconds + 3 * kRequestTimeoutSeconds + 2));
    s.Master().Signal(SIGCONT);
    std::optional<double> seconds = s.SecondsUntilWalks(std::chrono::seconds(kPingSeconds) + kMargin);
    ASSERT_TRUE(seconds) << s.Logs();
    std::cout << "walks work again " << *seconds << " s after the master continues (ping interval "
              << kPingSeconds << " s)\n";
    // The stall was noticed: the session was given up and opened anew.
    EXPECT_TRUE(LoggedLossAndReturn(s.Agent().Log())) << s.Logs();
    EXPECT_EQ(s.Agent().Stop(), 0) << s.Logs();
}

TEST(AgentxShutdown, MasterAndAgentStoppedTogetherInEitherOrder) {
    constexpr int kRuns = 10;
    enum class Way { MasterFirst, AgentFirst, MasterDiesWhileTheAgentStops };
    struct Order {
        const char *name;
        Way way;
    };
    const Order orders[] = {
        {"master first", Way::MasterFirst},
        {"agent first", Way::AgentFirst},
        // The master stalls, the agent is told to stop and waits for the
        // master's answers, then the master dies under it: what a close race
        // of the two stops does at random, every time.
        {"master stalls and dies while the agent stops", Way::MasterDiesWhileTheAgentStops},
    };
    for (const Order &order : orders) {
        SCOPED_TRACE(order.name);
        int clean = 0;
        for (int run = 0; run < kRuns; ++run) {
            SCOPED_TRACE(run);
            Subagent s;
            ASSERT_TRUE(s.Start()) << s.Logs();
            switch (order.way) {
                case Way::MasterFirst:
                    // Both signals go out back to back; neither waits for
                    // the other.
                    s.Master().Signal(SIGTERM);
                    s.Agent().Signal(SIGTERM);
                    break;
                case Way::AgentFirst:
                    s.Agent().Signal(SIGTERM);
                    s.Master().Signal(SIGTERM);
                    break;
                case Way::MasterDiesWhileTheAgentStops:
                    s.Master().Signal(SIGSTOP);
                    s.Agent().Signal(SIGTERM);
                    std::this_thread::sleep_for(300ms);
                    s.Master().Signal(SIGKILL);
                    break;
            }
            const int status = s.Agent().Stop();
            s.Master().Stop();
            const std::vector<std::string> problems = ExitProblems(s.Agent().Log());
            EXPECT_EQ(status, 0) << s.Logs();
            EXPECT_TRUE(problems.empty()) << problems.front() << "\n" << s.Logs();
            if (status == 0 && problems.empty()) ++clean;
        }
        std::cout << order.name << ": " << clean << " of " << kRuns << " stops clean\n";
    }
}

}  // namespace
}  // namespace lldpv2e2e
