// What the agent offers around the LLDP-V2 objects for operating it:
// notifications (notify.h) and, when standalone, the system group and
// IF-MIB (system_mib.h). Command line options, their checks, and the
// services' lifetime.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "notify.h"
#include "system_mib.h"

namespace CLI {
class App;
}

namespace lldpv2agent {

struct OperationsOptions {
    TrapTargets traps;
    SystemInfo system;
    std::string sysObjectId;  // dotted; empty: the default
};

void AddOperationsOptions(CLI::App &app, OperationsOptions &options);

// Checks the options and writes the notification destinations into the
// agent's configuration directory (before init_snmp reads it). "" when all
// is well, else the error. AgentX subagents send through the master and take
// no destinations.
std::string PrepareOperations(OperationsOptions &options, const std::string &configDir, const std::string &appName,
                              bool standalone);

// Runs while the agent serves: after init_snmp, destroyed before
// snmp_shutdown.
class OperationsServices {
public:
    OperationsServices(const OperationsOptions &options, bool standalone);
    ~OperationsServices();

private:
    Notifier notifier_;
    std::unique_ptr<SystemMib> system_;
};

// The path `relative` to the directory of the running executable, when it
// exists there.
std::optional<std::string> NextToExecutable(const std::string &relative);

// "1.3.6.1..." as arcs; empty when it is not an object identifier.
std::vector<uint32_t> ParseDottedOid(const std::string &text);

}  // namespace lldpv2agent
