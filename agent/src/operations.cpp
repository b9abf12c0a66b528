#include "operations.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <filesystem>

namespace lldpv2agent {

void AddOperationsOptions(CLI::App &app, OperationsOptions &o) {
    const char *group = "Notifications";
    app.add_option("--trap-sink", o.traps.trapSinks, "send lldpV2RemTablesChange as SNMPv2c trap to HOST[:PORT] (repeatable)")
        ->group(group);
    app.add_option("--inform-sink", o.traps.informSinks, "send it as SNMPv2c inform to HOST[:PORT] (repeatable)")
        ->group(group);
    app.add_option("--trap-community", o.traps.community, "community of the traps and informs")
        ->capture_default_str()
        ->group(group);
    auto *user = app.add_option("--trap-v3-user", o.traps.v3User,
                                "send to the sinks as this SNMPv3 user instead (authPriv, SHA/AES)")
                     ->group(group);
    app.add_option("--trap-v3-auth-pass", o.traps.v3AuthPass, "authentication pass phrase of --trap-v3-user")
        ->needs(user)
        ->group(group);
    app.add_option("--trap-v3-priv-pass", o.traps.v3PrivPass, "privacy pass phrase of --trap-v3-user")
        ->needs(user)
        ->group(group);
    app.add_option("--trapsess", o.traps.trapsess,
                   "a notification destination in net-snmp's trapsess syntax, e.g. \"-v 3 -u U -l authPriv ... HOST\" "
                   "(repeatable)")
        ->group(group);
    const char *sys = "System group (standalone)";
    app.add_option("--sys-contact", o.system.contact, "sysContact")->group(sys);
    app.add_option("--sys-location", o.system.location, "sysLocation")->group(sys);
    app.add_option("--sys-object-id", o.sysObjectId, "sysObjectID (default 1.3.6.1.4.1.8072.3.2.10)")->group(sys);
}

std::optional<std::string> NextToExecutable(const std::string &relative) {
    std::error_code ec;
    const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) return std::nullopt;
    const std::filesystem::path p = (exe.parent_path() / relative).lexically_normal();
    if (!std::filesystem::exists(p, ec)) return std::nullopt;
    return p.string();
}

std::vector<uint32_t> ParseDottedOid(const std::string &text) {
    std::vector<uint32_t> arcs;
    std::string_view s = text;
    if (!s.empty() && s.front() == '.') s.remove_prefix(1);
    while (!s.empty()) {
        uint32_t v = 0;
        auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
        if (ec != std::errc() || p == s.data()) return {};
        arcs.push_back(v);
        s.remove_prefix(static_cast<size_t>(p - s.data()));
        if (s.empty()) break;
        if (s.front() != '.' || s.size() == 1) return {};
        s.remove_prefix(1);
    }
    if (arcs.size() < 2 || arcs[0] > 2 || arcs.size() > 128) return {};
    return arcs;
}

std::string PrepareOperations(OperationsOptions &o, const std::string &configDir, const std::string &appName,
                              bool standalone) {
    if (!o.sysObjectId.empty()) {
        o.system.objectId = ParseDottedOid(o.sysObjectId);
        if (o.system.objectId.empty()) return "--sys-object-id " + o.sysObjectId + " is not an object identifier";
    }
    if (std::string e = CheckTrapTargets(o.traps); !e.empty()) return e;
    if (!standalone) {
        if (!o.traps.Empty())
            return "as AgentX subagent the notifications go through the master agent: configure its sinks "
                   "(trap2sink, informsink, trapsess in snmpd.conf) instead";
        return "";
    }
    std::string error;
    if (!o.traps.Empty() && !WriteTrapConfig(configDir, appName, o.traps, error)) return error;
    return "";
}

OperationsServices::OperationsServices(const OperationsOptions &o, bool standalone) {
    if (standalone) system_ = std::make_unique<SystemMib>(o.system);
}

OperationsServices::~OperationsServices() = default;

}  // namespace lldpv2agent
