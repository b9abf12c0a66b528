// The agent's log: net-snmp's log handlers (stderr or syslog) at the chosen
// verbosity, with a timestamp on each line written to stderr.
#pragma once

#include <string>

namespace lldpv2agent {

enum class LogTarget { Stderr, Syslog };

// verbosity 0: notices, warnings and errors; 1: LLDP events as well;
// 2 and more: debug, one line per request and per frame.
void SetUpLog(LogTarget target, int verbosity, const char *ident);
// priority is a syslog priority (LOG_ERR ... LOG_DEBUG).
void Log(int priority, const std::string &text);
bool LogEnabled(int priority);

}  // namespace lldpv2agent
