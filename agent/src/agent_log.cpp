#include "agent_log.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <syslog.h>
#include <time.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace lldpv2agent {

namespace {

LogTarget g_target = LogTarget::Stderr;
int g_threshold = LOG_NOTICE;

std::string Timestamp() {
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    tm local{};
    localtime_r(&ts.tv_sec, &local);
    char buf[40];
    const size_t n = strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%S", &local);
    std::snprintf(buf + n, sizeof buf - n, ".%03ld", ts.tv_nsec / 1000000L);
    return buf;
}

}  // namespace

void SetUpLog(LogTarget target, int verbosity, const char *ident) {
    g_target = target;
    g_threshold = verbosity <= 0 ? LOG_NOTICE : verbosity == 1 ? LOG_INFO : LOG_DEBUG;
    if (target == LogTarget::Syslog) {
        netsnmp_log_handler *logh = netsnmp_register_loghandler(NETSNMP_LOGHANDLER_SYSLOG, g_threshold);
        if (logh != nullptr) {
            // What net-snmp's own syslog set-up does: the facility in magic,
            // the identity in token, imagic once the log is open.
            logh->magic = reinterpret_cast<void *>(static_cast<intptr_t>(LOG_DAEMON));
            logh->token = strdup(ident);
            openlog(logh->token, LOG_PID, LOG_DAEMON);
            logh->imagic = 1;
        }
        return;
    }
    netsnmp_log_handler *logh = netsnmp_register_loghandler(NETSNMP_LOGHANDLER_STDERR, g_threshold);
    if (logh != nullptr) logh->token = strdup("stderr");
}

bool LogEnabled(int priority) { return priority <= g_threshold; }

void Log(int priority, const std::string &text) {
    if (!LogEnabled(priority)) return;
    if (g_target == LogTarget::Stderr) {
        snmp_log(priority, "%s %s\n", Timestamp().c_str(), text.c_str());
    } else {
        snmp_log(priority, "%s\n", text.c_str());
    }
}

}  // namespace lldpv2agent
