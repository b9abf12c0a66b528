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

// Points net-snmp at dir for configuration and persistent state, keeps it
// away from the system's files and MIB modules, and sets the role: master
// listening on `listen`, or AgentX subagent of the master at agentxSocket.
void ConfigureNetSnmp(const std::string &dir, const std::string &listen, const std::optional<std::string> &agentxSocket);

// The commands that query an agent at `target`.
std::string UsageHints(const std::string &target, const std::string &mibsDir, const AccessConfig &access);

}  // namespace lldpv2agent
