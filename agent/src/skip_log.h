// Rows that a walk passes over because their index lies outside the MIB's
// index syntax: counted per table and reported at most once a minute per
// table, with the count, so that periodic polling does not grow the log.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace lldpv2agent {

class SkipLog {
public:
    using Clock = std::chrono::steady_clock;
    using Sink = std::function<void(const std::string &line)>;

    explicit SkipLog(Sink sink, Clock::duration period = std::chrono::minutes(1))
        : sink_(std::move(sink)), period_(period) {}

    // One instance of table skipped at now. The first skip of a table is
    // reported at once; later ones are added up and reported with the next
    // skip that comes a period or more after the last report.
    void Skipped(const std::string &table, Clock::time_point now = Clock::now());

private:
    struct Entry {
        uint64_t count = 0;
        Clock::time_point last;
        bool reported = false;
    };
    Sink sink_;
    Clock::duration period_;
    std::map<std::string, Entry> tables_;
};

}  // namespace lldpv2agent
