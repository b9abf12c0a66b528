// lldpV2RemTablesChange: the agent tells managers that the remote tables
// changed. A change counts when it is an insert, update, delete, age-out or
// drop on a (port, agent) whose notification switch
// (lldpV2PortConfigNotificationEnable) is on. The first change after a quiet
// interval is notified at once; further changes within lldpV2NotificationInterval
// of the last notification are gathered into one notification sent when that
// interval ends. Both switches are read from the daemons when a change or the
// end of an interval happens, so SNMP writes take effect at once.
//
// The notification goes with send_v2trap: to the trap and inform sinks of the
// agent's configuration when standalone, through the master when AgentX
// subagent.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lldpv2host/lldp.h"

struct variable_list;

namespace lldpv2agent {

// When notifications go out, on a millisecond clock.
class NotificationPacer {
public:
    // A change to notify happened.
    void Change() { pending_ = true; }
    bool Pending() const { return pending_; }
    // Milliseconds until the pending notification is due (0: now) under the
    // current interval; nullopt when nothing is pending.
    std::optional<uint64_t> Wait(uint64_t nowMs, uint64_t intervalMs) const;
    // The notification went out.
    void Sent(uint64_t nowMs) {
        pending_ = false;
        lastSent_ = nowMs;
    }

private:
    bool pending_ = false;
    std::optional<uint64_t> lastSent_;
};

// Whether an event of this kind changes the remote tables.
bool ChangesRemoteTables(lldpv2host::LldpEvent::Kind kind);

// The four counters the notification carries, summed over the nodes that
// are up, as lldpV2StatsRemTables* show them.
struct RemTablesCounts {
    uint32_t inserts = 0;
    uint32_t deletes = 0;
    uint32_t drops = 0;
    uint32_t ageouts = 0;
    bool operator==(const RemTablesCounts &) const = default;
};
RemTablesCounts CurrentRemTablesCounts();

// The notification's varbinds: snmpTrapOID.0 = lldpV2RemTablesChange, then
// the four counters (Gauge32, instance 0). The caller frees the list with
// snmp_free_varbind.
variable_list *RemTablesChangeVarbinds(const RemTablesCounts &counts);

// Where notifications go (standalone agent).
struct TrapTargets {
    std::vector<std::string> trapSinks;    // HOST[:PORT], SNMPv2c traps (or v3 with v3User)
    std::vector<std::string> informSinks;  // HOST[:PORT], informs
    std::string community = "public";
    std::optional<std::string> v3User;     // the sinks above get authPriv SHA/AES SNMPv3 instead of v2c
    std::string v3AuthPass;
    std::string v3PrivPass;
    std::vector<std::string> trapsess;     // net-snmp "trapsess" arguments, as given
    bool Empty() const { return trapSinks.empty() && informSinks.empty() && trapsess.empty(); }
};

// Checks the targets: "" when usable, else what is wrong.
std::string CheckTrapTargets(const TrapTargets &targets);
// The net-snmp configuration lines (trap2sink, informsink, trapsess).
std::string TrapConfigText(const TrapTargets &targets);
// Writes them to <dir>/<appName>.local.conf, read with the agent's own file.
bool WriteTrapConfig(const std::string &dir, const std::string &appName, const TrapTargets &targets,
                     std::string &error);

// Follows the daemons' events and sends the notifications from net-snmp
// alarms. Lives on the thread that runs net-snmp's loop and the daemons (the
// agent's one thread): no alarm is set while nothing is pending.
class Notifier {
public:
    Notifier();
    ~Notifier();
    Notifier(const Notifier &) = delete;
    Notifier &operator=(const Notifier &) = delete;

    void OnEvent(const lldpv2host::LldpEvent &event);
    uint64_t SentCount() const { return sent_; }

private:
    static void OnAlarm(unsigned int reg, void *self);
    void Arm(uint64_t delayMs);
    void Fire();

    NotificationPacer pacer_;
    unsigned int alarm_ = 0;
    uint64_t sink_ = 0;
    uint64_t sent_ = 0;
};

}  // namespace lldpv2agent
