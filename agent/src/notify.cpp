#include "notify.h"
#include "snmp_setup.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <sstream>

#include "agent_log.h"
#include "lldpv2host/switch.h"

namespace lldpv2agent {

namespace {

constexpr std::array<oid, 11> kSnmpTrapOid = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
// lldpV2RemTablesChange ::= { lldpV2NotificationPrefix 1 }, under lldpV2MIB 1.3.111.2.802.1.1.13.
constexpr std::array<oid, 11> kRemTablesChange = {1, 3, 111, 2, 802, 1, 1, 13, 0, 0, 1};
// lldpV2Statistics, whose scalars 2..5 are the inserts, deletes, drops and ageouts.
constexpr std::array<oid, 10> kStatistics = {1, 3, 111, 2, 802, 1, 1, 13, 1, 2};

// Longest wait between two looks at a pending notification, so that a
// shorter lldpV2NotificationInterval written meanwhile is honoured promptly.
constexpr uint64_t kRecheckMs = 1000;

uint64_t NowMs() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
}

uint64_t IntervalMs() { return uint64_t{lldpv2host::GlobalConfig().notificationInterval} * 1000; }

// HOST[:PORT], HOST an address or name, an IPv6 address in brackets when a
// port follows.
bool ValidSink(const std::string &s) {
    if (s.empty() || s.find_first_of(" \t\r\n\"'#") != std::string::npos) return false;
    std::string host = s;
    std::string port;
    if (s.front() == '[') {
        const size_t close = s.find(']');
        if (close == std::string::npos) return false;
        host = s.substr(1, close - 1);
        if (close + 1 < s.size()) {
            if (s[close + 1] != ':') return false;
            port = s.substr(close + 2);
            if (port.empty()) return false;
        }
    } else if (std::count(s.begin(), s.end(), ':') == 1) {
        host = s.substr(0, s.find(':'));
        port = s.substr(s.find(':') + 1);
        if (port.empty()) return false;
    }
    if (host.empty()) return false;
    if (!port.empty()) {
        if (port.size() > 5 || !std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; }))
            return false;
        const int n = std::stoi(port);
        if (n < 1 || n > 65535) return false;
    }
    return true;
}

// The sink with net-snmp's default notification port when none is given.
std::string WithPort(const std::string &s) {
    if (s.front() == '[') return s.find("]:") == std::string::npos ? s + ":162" : s;
    if (std::count(s.begin(), s.end(), ':') == 1) return s;
    if (std::count(s.begin(), s.end(), ':') > 1) return "[" + s + "]:162";  // bare IPv6 address
    return s + ":162";
}

}  // namespace

std::optional<uint64_t> NotificationPacer::Wait(uint64_t nowMs, uint64_t intervalMs) const {
    if (!pending_) return std::nullopt;
    if (!lastSent_ || nowMs >= *lastSent_ + intervalMs) return 0;
    return *lastSent_ + intervalMs - nowMs;
}

bool ChangesRemoteTables(lldpv2host::LldpEvent::Kind kind) {
    using K = lldpv2host::LldpEvent::Kind;
    switch (kind) {
        case K::Inserted:
        case K::Updated:
        case K::AgedOut:
        case K::Deleted:
        case K::Dropped: return true;
        case K::Discarded: return false;
    }
    return false;
}

RemTablesCounts CurrentRemTablesCounts() {
    RemTablesCounts sum;
    for (uint16_t node : lldpv2host::Nodes()) {
        if (!lldpv2host::NodeUp(node)) continue;
        const lldpv2host::RemoteTableStats s = lldpv2host::NodeStats(node);
        sum.inserts += s.inserts;
        sum.deletes += s.deletes;
        sum.drops += s.drops;
        sum.ageouts += s.ageouts;
    }
    return sum;
}

variable_list *RemTablesChangeVarbinds(const RemTablesCounts &counts) {
    netsnmp_variable_list *vars = nullptr;
    snmp_varlist_add_variable(&vars, kSnmpTrapOid.data(), kSnmpTrapOid.size(), ASN_OBJECT_ID,
                              kRemTablesChange.data(), kRemTablesChange.size() * sizeof(oid));
    const std::array<uint32_t, 4> values = {counts.inserts, counts.deletes, counts.drops, counts.ageouts};
    for (size_t i = 0; i < values.size(); ++i) {
        std::array<oid, kStatistics.size() + 2> name{};
        std::copy(kStatistics.begin(), kStatistics.end(), name.begin());
        name[kStatistics.size()] = 2 + i;
        name[kStatistics.size() + 1] = 0;
        const u_long v = values[i];
        snmp_varlist_add_variable(&vars, name.data(), name.size(), ASN_GAUGE, &v, sizeof(v));
    }
    return vars;
}

std::string CheckTrapTargets(const TrapTargets &t) {
    for (const auto *list : {&t.trapSinks, &t.informSinks}) {
        for (const std::string &s : *list) {
            if (!ValidSink(s)) return "notification sink '" + s + "' is not HOST[:PORT]";
        }
    }
    if (!IsPlainWord(t.community)) return "the trap community is a single word";
    if (t.v3User) {
        if (!IsPlainWord(*t.v3User)) return "the trap SNMPv3 user name is a single word";
        if (t.v3AuthPass.size() < 8 || t.v3PrivPass.size() < 8)
            return "the trap SNMPv3 user needs auth and priv pass phrases of at least 8 characters";
    }
    for (const std::string &s : t.trapsess) {
        if (s.empty() || s.find_first_of("\r\n") != std::string::npos) return "a --trapsess value is one line";
    }
    return "";
}

std::string TrapConfigText(const TrapTargets &t) {
    std::ostringstream out;
    out << "# Notification destinations of this run.\n";
    auto v3 = [&](const char *kind, const std::string &sink) {
        out << "trapsess " << kind << "-v 3 -u " << *t.v3User << " -l authPriv -a SHA -A " << ConfigQuoted(t.v3AuthPass)
            << " -x AES -X " << ConfigQuoted(t.v3PrivPass) << " " << WithPort(sink) << "\n";
    };
    for (const std::string &s : t.trapSinks) {
        if (t.v3User)
            v3("", s);
        else
            out << "trap2sink " << WithPort(s) << " " << t.community << "\n";
    }
    for (const std::string &s : t.informSinks) {
        if (t.v3User)
            v3("-Ci ", s);
        else
            out << "informsink " << WithPort(s) << " " << t.community << "\n";
    }
    for (const std::string &s : t.trapsess) out << "trapsess " << s << "\n";
    return out.str();
}

bool WriteTrapConfig(const std::string &dir, const std::string &appName, const TrapTargets &targets,
                     std::string &error) {
    const std::string file = dir + "/" + appName + ".local.conf";
    // Pass phrases may be in it.
    const mode_t old = umask(077);
    std::ofstream out(file);
    umask(old);
    out << TrapConfigText(targets);
    out.close();
    if (!out) {
        error = "cannot write " + file;
        return false;
    }
    return true;
}

Notifier::Notifier() {
    sink_ = lldpv2host::AddEventSink([this](const lldpv2host::LldpEvent &e) { OnEvent(e); });
}

Notifier::~Notifier() {
    lldpv2host::RemoveEventSink(sink_);
    if (alarm_ != 0) snmp_alarm_unregister(alarm_);
}

void Notifier::OnEvent(const lldpv2host::LldpEvent &event) {
    if (!ChangesRemoteTables(event.kind)) return;
    // Event sinks run with the daemons' lock held, so this reads the switch
    // as it is at the change.
    if (!lldpv2host::Notification(event.ifIndex, event.agent)) return;
    pacer_.Change();
    // Sent from an alarm rather than from inside the daemons: the counters
    // are complete then.
    Arm(*pacer_.Wait(NowMs(), IntervalMs()));
}

void Notifier::Arm(uint64_t delayMs) {
    if (alarm_ != 0) return;  // the alarm set looks again when it fires
    delayMs = std::min(delayMs, kRecheckMs);
    struct timeval tv {};
    tv.tv_sec = static_cast<time_t>(delayMs / 1000);
    tv.tv_usec = static_cast<suseconds_t>((delayMs % 1000) * 1000 + 1);
    alarm_ = snmp_alarm_register_hr(tv, 0, &Notifier::OnAlarm, this);
}

void Notifier::OnAlarm(unsigned int, void *self) {
    auto *n = static_cast<Notifier *>(self);
    n->alarm_ = 0;
    n->Fire();
}

void Notifier::Fire() {
    const std::optional<uint64_t> wait = pacer_.Wait(NowMs(), IntervalMs());
    if (!wait) return;
    if (*wait > 0) {
        Arm(*wait);
        return;
    }
    pacer_.Sent(NowMs());
    const RemTablesCounts c = CurrentRemTablesCounts();
    netsnmp_variable_list *vars = RemTablesChangeVarbinds(c);
    send_v2trap(vars);
    snmp_free_varbind(vars);
    ++sent_;
    Log(LOG_INFO, "lldpV2RemTablesChange sent: inserts " + std::to_string(c.inserts) + ", deletes " +
                      std::to_string(c.deletes) + ", drops " + std::to_string(c.drops) + ", ageouts " +
                      std::to_string(c.ageouts));
}

}  // namespace lldpv2agent
