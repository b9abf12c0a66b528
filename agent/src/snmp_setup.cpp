#include "snmp_setup.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

// The subagent's side of net-snmp's AgentX code, which has no installed
// header: its session with the master, and the functions that close it.
extern "C" {
extern netsnmp_session *main_session;
int agentx_close_session(netsnmp_session *session, int why);
void agentx_unregister_callbacks(netsnmp_session *session);
}

namespace lldpv2agent {

namespace {

// The reason code of an AgentX Close-PDU for a subagent that shuts down.
constexpr int kAgentxCloseShutdown = 5;

constexpr const char *kMibModules = "LLDP-V2-MIB:LLDP-EXT-DOT1-V2-MIB:LLDP-EXT-DOT3-V2-MIB";

}  // namespace

std::optional<unsigned> ParseAgentxPing(const std::string &text, std::string &error) {
    unsigned long long value = 0;
    const char *end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || ec != std::errc() || ptr != end || value < 1 || value > kMaxAgentxPingSeconds) {
        error = "--agentx-ping takes whole seconds from 1 to " + std::to_string(kMaxAgentxPingSeconds) + ", not \"" +
                text + "\"";
        return std::nullopt;
    }
    return static_cast<unsigned>(value);
}

unsigned AgentxRequestTimeoutSeconds(unsigned pingSeconds) { return std::clamp(pingSeconds, 2u, 5u); }

bool IsPlainWord(const std::string &s) {
    return !s.empty() && s.find_first_of(" \t\r\n\"'#") == std::string::npos;
}

std::string ConfigQuoted(const std::string &s) {
    std::string q = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\') q += '\\';
        q += c;
    }
    return q + "\"";
}

std::string AgentConfigText(const AccessConfig &access, bool master) {
    std::ostringstream out;
    out << "# Written by lldpv2-agent for this run only.\n";
    if (!master) return out.str();
    out << "rocommunity " << access.roCommunity << " default\n";
    out << "rocommunity6 " << access.roCommunity << " default\n";
    if (access.rwCommunity) {
        out << "rwcommunity " << *access.rwCommunity << " default\n";
        out << "rwcommunity6 " << *access.rwCommunity << " default\n";
    }
    if (access.v3User) {
        out << "createUser " << *access.v3User << " SHA " << ConfigQuoted(access.v3AuthPass) << " AES "
            << ConfigQuoted(access.v3PrivPass) << "\n";
        out << "rwuser " << *access.v3User << " priv\n";
    }
    return out.str();
}

bool PrivateConfig::Create(const std::string &appName, const AccessConfig &access, bool master, std::string &error) {
    std::string base = std::filesystem::temp_directory_path().string() + "/lldpv2-agent.XXXXXX";
    std::vector<char> path(base.begin(), base.end());
    path.push_back('\0');
    if (mkdtemp(path.data()) == nullptr) {
        error = "cannot create a private configuration directory under " + base;
        return false;
    }
    dir_ = path.data();
    // net-snmp keeps its certificate index here; made now so that it does
    // not announce creating it.
    mkdir((dir_ + "/cert_indexes").c_str(), 0700);
    std::string file = dir_ + "/" + appName + ".conf";
    std::ofstream out(file);
    out << AgentConfigText(access, master);
    out.close();
    if (!out) {
        error = "cannot write " + file;
        return false;
    }
    chmod(file.c_str(), 0600);
    return true;
}

PrivateConfig::~PrivateConfig() {
    if (dir_.empty()) return;
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
}

void ConfigureNetSnmp(const std::string &dir, const std::string &listen, const std::optional<AgentxConfig> &agentx) {
    // Configuration and persistent state only from the private directory.
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_CONFIGURATION_DIR, dir.c_str());
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, dir.c_str());
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
    // The agent answers from the node records and needs no MIB module text.
    setenv("MIBS", "", 1);
    setenv("MIBDIRS", dir.c_str(), 1);
    // Only this directory, read once: without SNMPCONFPATH net-snmp reads the
    // configuration directory and then the persistent one, the same here,
    // which would register every notification destination twice.
    setenv("SNMPCONFPATH", dir.c_str(), 1);
    unsetenv("SNMP_PERSISTENT_DIR");

    // The agent serves its own objects only: no SMUX peers.
    char noSmux[] = "-smux";
    add_to_init_list(noSmux);

    if (agentx) {
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
        netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, agentx->socket.c_str());
    } else {
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0);
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_MASTER, 0);
        netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, listen.c_str());
    }
}

void CloseAgentxSession() {
    netsnmp_session *session = main_session;
    if (session == nullptr) return;  // no master now: nothing to close
    // Left to itself, net-snmp sends the master an Unregister-PDU for each
    // registration that the module's unloading removes, and waits for the
    // answer from within its callback for removed registrations, with that
    // callback list locked (later the same from its shutdown callback). When
    // the master drops the connection meanwhile (it stops at the same time),
    // the disconnect handling unregisters the session's callbacks from that
    // very list: it waits 100 ms for the lock, then net-snmp fails its
    // "lock_holded < 100" assertion. Here no list is locked: the session's
    // callbacks go first, then its ping alarm (whose number net-snmp keeps
    // in securityModel), then the session itself, with one Close-PDU.
    agentx_unregister_callbacks(session);
    if (session->securityModel != SNMP_DEFAULT_SECMODEL) {
        snmp_alarm_unregister(static_cast<unsigned>(session->securityModel));
        session->securityModel = SNMP_DEFAULT_SECMODEL;
    }
    agentx_close_session(session, kAgentxCloseShutdown);
    // A master that dropped the connection meanwhile has had net-snmp forget
    // the session already (main_session is null then); snmp_shutdown closes
    // it with the others.
    if (main_session != session) return;
    remove_trap_session(session);
    main_session = nullptr;
    snmp_close(session);
}

AgentxWatch::AgentxWatch(AgentxConfig config) : config_(std::move(config)), session_(main_session) {}

std::string AgentxWatch::Changed() {
    // net-snmp's session with the master: null while there is none. A session
    // given up and opened anew within one pass of the loop (a ping left
    // unanswered, then the master answers the next open) may come back at
    // the same address and go unnoticed here; net-snmp logs that case.
    const void *now = main_session;
    if (now == session_) return {};
    session_ = now;
    if (now == nullptr) {
        return "lost the AgentX master at " + config_.socket + "; trying again every " +
               std::to_string(config_.pingSeconds) + " s";
    }
    return "registered with the AgentX master at " + config_.socket;
}

void ConfigureAgentxTimers(const AgentxConfig &agentx) {
    // The subagent pings the master every interval. A master that goes
    // away closes the connection; one that stalls leaves a ping
    // unanswered. Either way the subagent drops the session and tries to
    // open a new one and register again every interval until it works.
    netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL,
                       static_cast<int>(agentx.pingSeconds));
    // Every request to the master is synchronous: the loop waits for the
    // answer. One bounded wait and no resend (a stream loses nothing; a
    // resend only multiplies the wait on a master that does not read). The
    // subagent's session takes the library's defaults, and a subagent has no
    // other sessions that they would change.
    netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_TIMEOUT,
                       static_cast<int>(AgentxRequestTimeoutSeconds(agentx.pingSeconds)));
    netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_RETRIES, 0);
}

std::string UsageHints(const std::string &target, const std::string &mibsDir, const AccessConfig &access) {
    std::string mibs = (mibsDir.empty() ? std::string() : "-M " + mibsDir + " ") + "-m " + kMibModules;
    std::string ro = "-v2c -c " + access.roCommunity + " " + mibs + " " + target;
    std::ostringstream out;
    out << "Query the LLDP-V2 objects with net-snmp's tools:\n";
    out << "  snmpwalk " << ro << " lldpV2MIB\n";
    out << "  snmpbulkwalk " << ro << " lldpV2Configuration\n";
    out << "  snmpbulkwalk " << ro << " lldpV2Xdot1MIB\n";
    out << "  snmpbulkwalk " << ro << " lldpV2Xdot3MIB\n";
    out << "  snmptable -Ci " << ro << " lldpV2PortConfigTable\n";
    out << "  snmptable -Ci " << ro << " lldpV2RemTable\n";
    out << "  snmpget " << ro << " lldpV2MessageTxInterval.0\n";
    if (access.rwCommunity) {
        out << "  snmpset -v2c -c " << *access.rwCommunity << " " << mibs << " " << target
            << " lldpV2MessageTxInterval.0 = 40\n";
    }
    if (access.v3User) {
        out << "  snmpset -v3 -l authPriv -u " << *access.v3User << " -a SHA -A <auth pass> -x AES -X <priv pass> "
            << mibs << " " << target << " lldpV2MessageTxInterval.0 = 40\n";
    }
    if (!access.rwCommunity && !access.v3User) out << "  (read-only: start with --rwcommunity NAME to allow sets)\n";
    return out.str();
}

}  // namespace lldpv2agent
