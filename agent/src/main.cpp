// lldpv2-agent: an SNMP agent on net-snmp that loads the LLDP-V2 management
// module the way the switch's agent does and serves the MIB trees the module
// registers, answering every request through the module's MOR callback.
// The node records' declarations come before net-snmp's headers, whose
// macros reuse some of their names.
#include "lldpv2host/mor_host.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"
#include "operations.h"
#include "server.h"
#include "snmp_setup.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <dlfcn.h>
#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

namespace {

constexpr const char *kAppName = "lldpv2-agent";

volatile sig_atomic_t g_stop = 0;

void OnStopSignal(int) { g_stop = 1; }

void InstallSignals() {
    struct sigaction sa {};
    sa.sa_handler = OnStopSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = 0;  // no SA_RESTART: the agent's select() returns at once
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

// The installed module next to the installed agent (wherever the tree was
// installed), else the one built with it, else its install location.
std::string DefaultModulePath() {
    if (auto installed = lldpv2agent::NextToExecutable(LLDPV2_MODULE_FROM_BIN)) return *installed;
    std::error_code ec;
    if (std::filesystem::exists(LLDPV2_MODULE_BUILD_PATH, ec)) return LLDPV2_MODULE_BUILD_PATH;
    return LLDPV2_MODULE_INSTALL_PATH;
}

bool LoadScenario(const std::optional<std::string> &path, std::string &error) {
    return path ? lldpv2host::LoadScenarioFile(*path, &error) : lldpv2host::LoadDefaultScenario(&error);
}

// --check: loads the scenario and reports what it describes.
int RunCheck(const std::optional<std::string> &path) {
    std::string error;
    if (!LoadScenario(path, error)) {
        std::cerr << kAppName << ": scenario " << path.value_or("(default)") << " is not valid: " << error << "\n";
        return 1;
    }
    size_t up = 0;
    std::vector<uint16_t> nodes = lldpv2host::Nodes();
    for (uint16_t n : nodes) up += lldpv2host::NodeUp(n) ? 1 : 0;
    std::cout << "scenario " << path.value_or("(default)") << ": valid, " << nodes.size() << " nodes (" << up
              << " up), " << lldpv2host::Interfaces().size() << " interfaces\n";
    return 0;
}

void EnableStderrLog(bool verbose) {
    netsnmp_log_handler *logh = netsnmp_register_loghandler(NETSNMP_LOGHANDLER_STDERR, verbose ? LOG_DEBUG : LOG_NOTICE);
    if (logh != nullptr) logh->token = strdup("stderr");
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app{"SNMP agent serving the LLDP-V2 MIB module on a simulated switch"};
    std::string listen = "udp:127.0.0.1:1161";
    std::optional<std::string> scenario;
    bool check = false;
    lldpv2agent::AccessConfig access;
    std::optional<std::string> agentx;
    std::string modulePath = DefaultModulePath();
    std::string mibsDir = lldpv2agent::NextToExecutable(LLDPV2_MIBS_FROM_BIN).value_or(LLDPV2_MIBS_DIR);
    bool hints = false;
    bool verbose = false;

    app.add_option("--listen", listen, "net-snmp transport address to listen on")->capture_default_str();
    app.add_option("--scenario", scenario, "switch scenario file (default: the built-in scenario)");
    app.add_flag("--check", check, "load and validate the scenario, report, and exit");
    app.add_option("--community", access.roCommunity, "read-only community")->capture_default_str();
    app.add_option("--rwcommunity", access.rwCommunity, "read-write community (none: sets are refused)");
    auto *user = app.add_option("--v3-user", access.v3User, "SNMPv3 user with read-write access (authPriv, SHA/AES)");
    app.add_option("--v3-auth-pass", access.v3AuthPass, "authentication pass phrase of the SNMPv3 user")->needs(user);
    app.add_option("--v3-priv-pass", access.v3PrivPass, "privacy pass phrase of the SNMPv3 user")->needs(user);
    app.add_option("--agentx", agentx, "run as AgentX subagent of the master at this socket");
    app.add_option("--module", modulePath, "the LLDP-V2 module to load")->capture_default_str();
    app.add_option("--mibs", mibsDir, "directory of the MIB modules (for the usage hints)")->capture_default_str();
    app.add_flag("--print-usage-hints", hints, "print commands that query the agent before serving");
    app.add_flag("-v,--verbose", verbose, "log informational messages");
    app.set_version_flag("--version", std::string(kAppName) + " " + LLDPV2_VERSION);
    lldpv2agent::OperationsOptions operations;
    lldpv2agent::AddOperationsOptions(app, operations);
    CLI11_PARSE(app, argc, argv);

    if (check) return RunCheck(scenario);

    auto plainWord = [](const std::string &s) {
        return !s.empty() && s.find_first_of(" \t\r\n\"'#") == std::string::npos;
    };
    if (!plainWord(access.roCommunity) || (access.rwCommunity && !plainWord(*access.rwCommunity)) ||
        (access.v3User && !plainWord(*access.v3User))) {
        std::cerr << kAppName << ": communities and user names are single words\n";
        return 2;
    }
    if (access.v3User && (access.v3AuthPass.size() < 8 || access.v3PrivPass.size() < 8)) {
        std::cerr << kAppName << ": --v3-user needs --v3-auth-pass and --v3-priv-pass of at least 8 characters\n";
        return 2;
    }

    EnableStderrLog(verbose);
    InstallSignals();

    std::string error;
    if (!LoadScenario(scenario, error)) {
        std::cerr << kAppName << ": scenario " << scenario.value_or("(default)") << ": " << error << "\n";
        return 1;
    }

    lldpv2agent::PrivateConfig config;
    if (!config.Create(kAppName, access, !agentx, error)) {
        std::cerr << kAppName << ": " << error << "\n";
        return 1;
    }
    if (std::string e = lldpv2agent::PrepareOperations(operations, config.Dir(), kAppName, !agentx); !e.empty()) {
        std::cerr << kAppName << ": " << e << "\n";
        return 2;
    }
    lldpv2agent::ConfigureNetSnmp(config.Dir(), listen, agentx);
    if (init_agent(kAppName) != 0) {
        std::cerr << kAppName << ": net-snmp agent initialisation failed\n";
        return 1;
    }

    // The observer must be in place before the module's constructor adds
    // its trees.
    lldpv2agent::Server server(lldpv2host::Deliver);
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
    } else {
        if (hints) {
            std::string target = agentx ? "<address of the master agent>" : listen.substr(0, listen.find(','));
            std::cout << lldpv2agent::UsageHints(target, mibsDir, access) << std::flush;
        }
        std::string where = agentx ? "as AgentX subagent of " + *agentx : "on " + listen;
        snmp_log(LOG_NOTICE, "%s: serving %s %s\n", kAppName, modulePath.c_str(), where.c_str());
        lldpv2agent::OperationsServices services(operations, !agentx);
        while (!g_stop) agent_check_and_process(1);
        snmp_log(LOG_NOTICE, "%s: stopping\n", kAppName);
    }

    // Unloading runs the module's destructor, which removes its trees: their
    // registrations go with them.
    dlclose(module);
    server.Detach();
    snmp_shutdown(kAppName);
    return status;
}
