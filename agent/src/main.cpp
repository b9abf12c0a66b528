// lldpv2-agent: an SNMP agent on net-snmp that loads the LLDP-V2 management
// module the way the switch's agent does and serves the MIB trees the module
// registers, answering every request through the module's MOR callback.
// The node records' declarations come before net-snmp's headers, whose
// macros reuse some of their names.
#include "lldpv2host/live.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/mor_host.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"
#include "operations.h"
#include "agent_log.h"
#include "event_loop.h"
#include "server.h"
#include "snmp_setup.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

namespace {

constexpr const char *kAppName = "lldpv2-agent";

volatile sig_atomic_t g_stop = 0;
volatile sig_atomic_t g_reload = 0;
// Written by the signal handlers so that the loop wakes up at once.
int g_wakeWrite = -1;

void Wake() {
    if (g_wakeWrite >= 0) {
        const char c = 1;
        [[maybe_unused]] ssize_t n = write(g_wakeWrite, &c, 1);
    }
}

void OnStopSignal(int) {
    g_stop = 1;
    Wake();
}

void OnReloadSignal(int) {
    g_reload = 1;
    Wake();
}

void InstallSignals() {
    struct sigaction sa {};
    sa.sa_handler = OnStopSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = 0;  // no SA_RESTART: the agent's select() returns at once
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    sa.sa_handler = OnReloadSignal;
    sigaction(SIGHUP, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

// The self-pipe of the signal handlers; the read end, or -1.
int OpenWakePipe() {
    int fds[2];
    if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) != 0) return -1;
    g_wakeWrite = fds[1];
    return fds[0];
}

void DrainWakePipe(int fd) {
    char buf[64];
    while (read(fd, buf, sizeof buf) > 0) {
    }
}

int SyslogPriority(lldpv2host::live::LiveSwitch::Level level) {
    using Level = lldpv2host::live::LiveSwitch::Level;
    switch (level) {
        case Level::Error: return LOG_ERR;
        case Level::Warning: return LOG_WARNING;
        case Level::Notice: return LOG_NOTICE;
        case Level::Info: return LOG_INFO;
        case Level::Debug: return LOG_DEBUG;
    }
    return LOG_INFO;
}

// The installed module next to the installed agent (wherever the tree was
// installed), else the one built with it, else its install location.
std::string DefaultModulePath() {
    if (auto installed = lldpv2agent::NextToExecutable(LLDPV2_MODULE_FROM_BIN)) return *installed;
    std::error_code ec;
    if (std::filesystem::exists(LLDPV2_MODULE_BUILD_PATH, ec)) return LLDPV2_MODULE_BUILD_PATH;
    return LLDPV2_MODULE_INSTALL_PATH;
}

// The scenario of the host's interfaces (--interfaces).
bool LoadHost(const std::string &interfaces, std::string &error) {
    namespace live = lldpv2host::live;
    std::optional<live::InterfaceSelection> sel = live::InterfaceSelection::Parse(interfaces, &error);
    if (!sel) return false;
    live::HostInfo host;
    std::vector<live::LinkInfo> ports;
    std::vector<std::string> missing;
    if (!live::DescribeHost(host, &error) || !live::SelectLinks(host.links, *sel, ports, &missing, &error)) return false;
    for (const std::string &name : missing) std::cerr << kAppName << ": interface " << name << " does not exist\n";
    return lldpv2host::LoadScenarioText(live::HostScenarioText(host, ports), &error, "host interfaces");
}

bool LoadScenario(const std::optional<std::string> &path, const std::optional<std::string> &interfaces,
                  std::string &error) {
    if (interfaces) return LoadHost(*interfaces, error);
    return path ? lldpv2host::LoadScenarioFile(*path, &error) : lldpv2host::LoadDefaultScenario(&error);
}

// --check: loads the scenario and reports what it describes.
int RunCheck(const std::optional<std::string> &path, const std::optional<std::string> &interfaces) {
    std::string error;
    const std::string what = interfaces ? "of interfaces " + *interfaces : path.value_or("(default)");
    if (path && !interfaces) {
        // Every mistake of the file (up to the first few), then what it
        // would load.
        const lldpv2host::ScenarioCheck c = lldpv2host::CheckScenarioFile(*path);
        for (const std::string &e : c.errors) std::cerr << e << "\n";
        if (c.moreErrors) std::cerr << "(more mistakes follow; the first " << c.errors.size() << " are shown)\n";
        std::cout << "scenario " << what << ": would load " << c.neighbours << " neighbours, " << c.addresses
                  << " management addresses, " << c.agents << " agents\n";
        if (!c.errors.empty()) {
            std::cerr << kAppName << ": scenario " << what << " is not valid: " << c.errors.size()
                      << (c.moreErrors ? " or more mistakes" : c.errors.size() == 1 ? " mistake" : " mistakes") << "\n";
            return 1;
        }
    }
    if (!LoadScenario(path, interfaces, error)) {
        std::cerr << kAppName << ": scenario " << what << " is not valid: " << error << "\n";
        return 1;
    }
    size_t up = 0;
    std::vector<uint16_t> nodes = lldpv2host::Nodes();
    for (uint16_t n : nodes) up += lldpv2host::NodeUp(n) ? 1 : 0;
    std::cout << "scenario " << what << ": valid, " << nodes.size() << " nodes (" << up
              << " up), " << lldpv2host::Interfaces().size() << " interfaces\n";
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    namespace live = lldpv2host::live;
    CLI::App app{"SNMP agent serving the LLDP-V2 MIB module of a switch: simulated, or the host's own interfaces"};
    std::string listen = "udp:127.0.0.1:1161";
    std::optional<std::string> scenario;
    std::optional<std::string> interfaces;
    std::vector<std::string> pcapIn;
    std::string pcapSpeed = "recorded";
    std::optional<std::string> pcapOut;
    std::string logTarget = "stderr";
    bool check = false;
    lldpv2agent::AccessConfig access;
    std::optional<std::string> agentx;
    std::string agentxPing = std::to_string(lldpv2agent::kDefaultAgentxPingSeconds);
    std::string modulePath = DefaultModulePath();
    std::string mibsDir = lldpv2agent::NextToExecutable(LLDPV2_MIBS_FROM_BIN).value_or(LLDPV2_MIBS_DIR);
    bool hints = false;
    int verbosity = 0;

    app.add_option("--listen", listen, "net-snmp transport address to listen on")->capture_default_str();
    auto *scenarioOpt = app.add_option("--scenario", scenario, "switch scenario file (default: the built-in scenario)");
    app.add_option("--interfaces", interfaces,
                   "run LLDP on these Linux interfaces (names separated by commas, or all): the switch is the host")
        ->excludes(scenarioOpt);
    app.add_option("--pcap-in", pcapIn, "replay the LLDP frames of a pcap/pcapng file into a port (FILE[:PORT])");
    app.add_option("--pcap-speed", pcapSpeed, "replay pace: recorded, max, or a factor of the recorded pace")
        ->capture_default_str();
    app.add_option("--pcap-out", pcapOut, "record every LLDPDU sent and received in this pcap file");
    app.add_option("--log", logTarget, "where the log goes: stderr or syslog")
        ->check(CLI::IsMember({"stderr", "syslog"}))
        ->capture_default_str();
    app.add_flag("--check", check, "load and validate the scenario, report, and exit");
    uint64_t maxScenarioSize = lldpv2host::kDefaultScenarioSizeLimit;
    app.add_option("--max-scenario-size", maxScenarioSize, "largest scenario file read, in bytes (suffixes: KiB, MiB)")
        ->transform(CLI::AsSizeValue(false))
        ->capture_default_str();
    app.add_option("--community", access.roCommunity, "read-only community")->capture_default_str();
    app.add_option("--rwcommunity", access.rwCommunity, "read-write community (none: sets are refused)");
    auto *user = app.add_option("--v3-user", access.v3User, "SNMPv3 user with read-write access (authPriv, SHA/AES)");
    app.add_option("--v3-auth-pass", access.v3AuthPass, "authentication pass phrase of the SNMPv3 user")->needs(user);
    app.add_option("--v3-priv-pass", access.v3PrivPass, "privacy pass phrase of the SNMPv3 user")->needs(user);
    auto *agentxOpt = app.add_option("--agentx", agentx, "run as AgentX subagent of the master at this socket");
    app.add_option("--agentx-ping", agentxPing,
                   "seconds between pings to the AgentX master: after a master restart or stall the agent "
                   "registers again within about this long")
        ->needs(agentxOpt)
        ->capture_default_str();
    uint64_t rowCache = lldpv2agent::kDefaultRowCacheBytes;
    app.add_option("--row-cache", rowCache,
                   "memory for remote table rows kept between walks until the neighbours change "
                   "(suffixes: KiB, MiB; 0: ask the module for every row)")
        ->transform(CLI::AsSizeValue(false))
        ->capture_default_str();
    app.add_option("--module", modulePath, "the LLDP-V2 module to load")->capture_default_str();
    app.add_option("--mibs", mibsDir, "directory of the MIB modules (for the usage hints)")->capture_default_str();
    app.add_flag("--print-usage-hints", hints, "print commands that query the agent before serving");
    app.add_flag("-v,--verbose", verbosity, "log LLDP events (neighbours, discarded frames); twice: debug");
    app.set_version_flag("--version", std::string(kAppName) + " " + LLDPV2_VERSION);
    lldpv2agent::OperationsOptions operations;
    lldpv2agent::AddOperationsOptions(app, operations);
    CLI11_PARSE(app, argc, argv);

    lldpv2host::SetScenarioSizeLimit(maxScenarioSize);
    if (check) return RunCheck(scenario, interfaces);

    using lldpv2agent::IsPlainWord;
    if (!IsPlainWord(access.roCommunity) || (access.rwCommunity && !IsPlainWord(*access.rwCommunity)) ||
        (access.v3User && !IsPlainWord(*access.v3User))) {
        std::cerr << kAppName << ": communities and user names are single words\n";
        return 2;
    }
    if (access.v3User && (access.v3AuthPass.size() < 8 || access.v3PrivPass.size() < 8)) {
        std::cerr << kAppName << ": --v3-user needs --v3-auth-pass and --v3-priv-pass of at least 8 characters\n";
        return 2;
    }
    std::optional<lldpv2agent::AgentxConfig> agentxConfig;
    if (agentx) {
        std::string why;
        std::optional<unsigned> ping = lldpv2agent::ParseAgentxPing(agentxPing, why);
        if (!ping) {
            std::cerr << kAppName << ": " << why << "\n";
            return 2;
        }
        agentxConfig = lldpv2agent::AgentxConfig{*agentx, *ping};
    }
    live::LiveOptions options;
    options.interfaces = interfaces;
    options.scenario = scenario;
    options.pcapOut = pcapOut;
    for (const std::string &in : pcapIn) options.pcapIn.push_back(live::PcapInput::Parse(in));
    if (auto speed = live::PcapSpeed::Parse(pcapSpeed)) {
        options.pcapSpeed = *speed;
    } else {
        std::cerr << kAppName << ": --pcap-speed is recorded, max or a positive factor\n";
        return 2;
    }

    lldpv2agent::SetUpLog(logTarget == "syslog" ? lldpv2agent::LogTarget::Syslog : lldpv2agent::LogTarget::Stderr,
                          verbosity, kAppName);
    InstallSignals();

    // One thread: every socket and the daemons' timer live in net-snmp's loop.
    live::LiveSwitch *liveSwitch = nullptr;
    const int wakeFd = OpenWakePipe();
    lldpv2agent::EventLoop loop(
        [&](int fd) {
            if (fd == wakeFd) {
                DrainWakePipe(fd);
            } else if (liveSwitch != nullptr) {
                liveSwitch->OnReadable(fd);
            }
        },
        [&] {
            if (liveSwitch != nullptr) liveSwitch->RunDue();
        });
    if (wakeFd >= 0) loop.Watch(wakeFd);
    live::LiveSwitch::Hooks hooks;
    hooks.watch = [&loop](int fd) { loop.Watch(fd); };
    hooks.unwatch = [&loop](int fd) { loop.Unwatch(fd); };
    hooks.log = [](live::LiveSwitch::Level level, const std::string &text) {
        lldpv2agent::Log(SyslogPriority(level), text);
    };
    live::LiveSwitch sw(hooks);
    liveSwitch = &sw;

    std::string error;
    switch (sw.Start(options, &error)) {
        case live::LiveSwitch::StartError::None:
            break;
        case live::LiveSwitch::StartError::NoPermission:
            std::cerr << kAppName << ": " << error << "\n";
            return 1;
        case live::LiveSwitch::StartError::Refused:
            std::cerr << kAppName << ": "
                      << (interfaces ? "interfaces " + *interfaces : "scenario " + scenario.value_or("(default)"))
                      << ": " << error << "\n";
            return 1;
        case live::LiveSwitch::StartError::Io:
            std::cerr << kAppName << ": " << error << "\n";
            return 1;
    }
    // The daemons' clock runs from the value the switch was loaded with.
    loop.clock().Rebase(lldpv2host::Now());

    lldpv2agent::PrivateConfig config;
    if (!config.Create(kAppName, access, !agentx, error)) {
        std::cerr << kAppName << ": " << error << "\n";
        return 1;
    }
    if (std::string e = lldpv2agent::PrepareOperations(operations, config.Dir(), kAppName, !agentx); !e.empty()) {
        std::cerr << kAppName << ": " << e << "\n";
        return 2;
    }
    lldpv2agent::ConfigureNetSnmp(config.Dir(), listen, agentxConfig);
    // No log line per SNMP request ("Connection from ...").
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
    if (init_agent(kAppName) != 0) {
        std::cerr << kAppName << ": net-snmp agent initialisation failed\n";
        return 1;
    }
    if (agentxConfig) lldpv2agent::ConfigureAgentxTimers(*agentxConfig);

    // The observer must be in place before the module's constructor adds
    // its trees. Every request sees the daemons' clock of its own moment.
    lldpv2agent::Server server([&loop](uint32_t moduleId, lldpv2host::MorMessage &request,
                                       lldpv2host::MorMessage &reply) {
        loop.Sync();
        if (lldpv2agent::LogEnabled(LOG_DEBUG)) lldpv2agent::Log(LOG_DEBUG, "request " + lldpv2host::Describe(request));
        return lldpv2host::Deliver(moduleId, request, reply);
    });
    if (rowCache > 0) {
        server.engine().KeepRows(lldpv2host::DataGeneration, [&loop] { loop.CatchUp(); },
                                 lldpv2agent::RemoteDataSubtrees(), rowCache);
    }
    server.Attach();
    void *module = dlopen(modulePath.c_str(), RTLD_NOW);
    if (module == nullptr) {
        std::cerr << kAppName << ": cannot load " << modulePath << ": " << dlerror() << "\n";
        server.Detach();
        snmp_shutdown(kAppName);
        return 1;
    }

    init_snmp(kAppName);
    int status = 0;
    if (!agentx && init_master_agent() != 0) {
        std::cerr << kAppName << ": cannot listen on " << listen << "\n";
        status = 1;
        sw.Shutdown();
    } else {
        if (hints) {
            std::string target = agentx ? "<address of the master agent>" : listen.substr(0, listen.find(','));
            std::cout << lldpv2agent::UsageHints(target, mibsDir, access) << std::flush;
        }
        std::string where = agentx ? "as AgentX subagent of " + *agentx : "on " + listen;
        std::string switchText = interfaces ? "interfaces " + *interfaces : "scenario " + scenario.value_or("(default)");
        lldpv2agent::Log(LOG_NOTICE, std::string(kAppName) + ": serving " + modulePath + " " + where + ", " + switchText);
        lldpv2agent::OperationsServices services(operations, !agentx);
        std::optional<lldpv2agent::AgentxWatch> master;
        if (agentxConfig) master.emplace(*agentxConfig);
        while (!g_stop) {
            loop.Sync();
            sw.RunDue();
            if (g_reload) {
                g_reload = 0;
                std::string why;
                if (sw.Reload(&why)) {
                    loop.clock().Rebase(lldpv2host::Now());
                    lldpv2agent::Log(LOG_NOTICE, std::string(kAppName) + ": reloaded " + switchText);
                } else {
                    lldpv2agent::Log(LOG_ERR, std::string(kAppName) + ": reload refused, the running switch is kept: " + why);
                }
                continue;
            }
            loop.Rearm(sw.NextReplayMicros());
            loop.RunOnce();
            if (master) {
                if (std::string change = master->Changed(); !change.empty()) {
                    lldpv2agent::Log(LOG_NOTICE, std::string(kAppName) + ": " + change);
                }
            }
        }
        lldpv2agent::Log(LOG_NOTICE, std::string(kAppName) + ": stopping");
        // Shutdown LLDPDUs go out before the sockets close.
        loop.Sync();
        sw.Shutdown();
    }

    // The master forgets the subagent's registrations with its session; the
    // session goes first so that unloading the module does not ask the
    // master to drop each of them.
    if (agentx) lldpv2agent::CloseAgentxSession();
    // Unloading runs the module's destructor, which removes its trees: their
    // registrations go with them.
    dlclose(module);
    server.Detach();
    snmp_shutdown(kAppName);
    return status;
}
