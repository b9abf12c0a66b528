// How the agent sets net-snmp up: a private configuration directory holding a
// generated configuration (communities, SNMPv3 user), no system configuration
// and no persistent state outside that directory, master or AgentX role.
#pragma once

#include <optional>
#include <string>

namespace lldpv2agent {

struct AccessConfig {
    std::string roCommunity = "public";
    std::optional<std::string> rwCommunity;  // none: sets only through the v3 user
    std::optional<std::string> v3User;       // read-write, authPriv (SHA, AES)
    std::string v3AuthPass;
    std::string v3PrivPass;
};

// A community or user name that a configuration line can carry as it is:
// one word, no quotes and no comment sign.
bool IsPlainWord(const std::string &s);
// s quoted for a net-snmp configuration line.
std::string ConfigQuoted(const std::string &s);

// The interval of the subagent's pings to the master, in seconds: after a
// master restart or stall it registers again within about this long.
constexpr unsigned kDefaultAgentxPingSeconds = 5;
constexpr unsigned kMaxAgentxPingSeconds = 3600;

// The --agentx-ping value: whole seconds, 1..kMaxAgentxPingSeconds. None
// (with error) when text is anything else.
std::optional<unsigned> ParseAgentxPing(const std::string &text, std::string &error);

// The configuration file text the agent runs with. Access control is the
// master agent's business: a subagent gets no access lines.
std::string AgentConfigText(const AccessConfig &access, bool master);

// Owns the private directory; removes it on destruction.
class PrivateConfig {
public:
    // Creates the directory and writes the configuration for `appName`.
    // Returns false (with error) when that fails.
    bool Create(const std::string &appName, const AccessConfig &access, bool master, std::string &error);
    ~PrivateConfig();
    const std::string &Dir() const { return dir_; }

private:
    std::string dir_;
};

// How the agent runs as AgentX subagent.
struct AgentxConfig {
    std::string socket;            // the master's socket
    unsigned pingSeconds = kDefaultAgentxPingSeconds;
};

// Points net-snmp at dir for configuration and persistent state, keeps it
// away from the system's files and MIB modules, and sets the role: master
// listening on `listen`, or AgentX subagent (agentx).
void ConfigureNetSnmp(const std::string &dir, const std::string &listen, const std::optional<AgentxConfig> &agentx);

// The subagent's ping interval and request timeout (net-snmp's defaults: a
// ping every 15 s, which init_agent sets; 1 s per request, resent 5 times).
// Call it after init_agent and before init_snmp, which opens the session.
void ConfigureAgentxTimers(const AgentxConfig &agentx);

// How long the subagent waits for the master's answer to one AgentX request
// (ping, open, registration, close), in seconds: the ping interval, within
// 2..5 s. A stalled master is noticed within a ping interval plus this, and
// no request blocks the agent's loop for longer.
unsigned AgentxRequestTimeoutSeconds(unsigned pingSeconds);

// Whether the subagent has a session with the master, and a line for the log
// when that changes: looked at after every pass of the loop.
class AgentxWatch {
public:
    explicit AgentxWatch(AgentxConfig config);
    // The text to log when the session was lost or is back since the last
    // call; empty when nothing changed.
    std::string Changed();

private:
    AgentxConfig config_;
    const void *session_;
};

// Ends the AgentX session with the master, if there is one: sends the close
// and forgets the session, so that nothing later (unloading the module,
// snmp_shutdown) talks to the master any more. Must run outside every
// net-snmp callback: the master may drop the connection meanwhile, and
// net-snmp's handling of that edits the callback lists.
void CloseAgentxSession();

// The commands that query an agent at `target`.
std::string UsageHints(const std::string &target, const std::string &mibsDir, const AccessConfig &access);

}  // namespace lldpv2agent
