#include "skip_log.h"

namespace lldpv2agent {

void SkipLog::Skipped(const std::string &table, Clock::time_point now) {
    Entry &e = tables_[table];
    ++e.count;
    if (e.reported && now - e.last < period_) return;
    std::string line = "skipped " + std::to_string(e.count) + (e.count == 1 ? " instance" : " instances") + " of " +
                       table + " whose index lies outside the MIB's index syntax";
    if (e.reported) line += " since the last report";
    e.count = 0;
    e.last = now;
    e.reported = true;
    if (sink_) sink_(line);
}

}  // namespace lldpv2agent
