// Churn soak: the resident set of the host library while its neighbours come,
// change and go for ten minutes of the daemons' clock.
//
// A stack of four nodes with 48 ordinary ports each (agents 1 to 3) holds a
// moving window of neighbours: every second of the clock, kArrivals new ones
// start sending and as many stop; each sends every 30 s (its TTL is 120 s,
// so a neighbour that stops ages out two minutes later) and every tenth
// transmission carries a changed system description. After a warm-up long
// enough for arrivals and ageing to balance, the resident set is sampled
// every simulated minute; the drift is the last sample against the first.
//
//   churn_soak [--window N] [--minutes M]
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace {

namespace host = lldpv2host;
namespace lldp = lldpv2host::lldp;

constexpr uint32_t kNodes = 4;
constexpr uint32_t kPorts = 48;
constexpr uint32_t kArrivals = 50;  // neighbours per second that start (and stop) sending
constexpr uint32_t kPeriod = 30;    // seconds between two frames of one neighbour
constexpr uint16_t kTtl = 120;

long StatusKb(const char *key) {
    std::ifstream in("/proc/self/status");
    std::string line;
    const size_t n = std::strlen(key);
    while (std::getline(in, line)) {
        if (line.compare(0, n, key) == 0 && line.size() > n && line[n] == ':') return std::atol(line.c_str() + n + 1);
    }
    return -1;
}

struct Port {
    uint32_t ifIndex;
    uint32_t agent;
};

Port PortOf(uint32_t id) {
    const uint32_t slot = id % (kNodes * kPorts * 3);
    const uint32_t port = slot / 3;
    return Port{(port / kPorts + 1) * 1000 + port % kPorts + 1, slot % 3 + 1};
}

std::vector<uint8_t> Frame(uint32_t id, uint32_t version) {
    lldp::Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x02, 0x20, static_cast<uint8_t>(id >> 24), static_cast<uint8_t>(id >> 16),
                   static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)};
    p.portIdSubtype = 5;
    const std::string port = "Eth1/" + std::to_string(id % 48 + 1);
    p.portId.assign(port.begin(), port.end());
    p.ttl = kTtl;
    p.portDesc = "uplink " + std::to_string(id);
    p.sysName = "neighbour-" + std::to_string(id);
    p.sysDesc = "Access switch, configuration " + std::to_string(version);
    p.hasSysCap = true;
    p.capSupported = 0x14;
    p.capEnabled = 0x04;
    lldp::ManagementAddress m;
    m.address = {10, static_cast<uint8_t>(id >> 16), static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)};
    m.ifId = id % 64;
    p.manAddrs.push_back(m);
    return lldp::EncodeLldpdu(p);
}

}  // namespace

int main(int argc, char **argv) {
    uint32_t window = 50000;  // neighbours sending at any time
    uint32_t minutes = 10;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--window") == 0) window = static_cast<uint32_t>(std::atol(argv[i + 1]));
        else if (std::strcmp(argv[i], "--minutes") == 0) minutes = static_cast<uint32_t>(std::atol(argv[i + 1]));
        else {
            std::fprintf(stderr, "usage: churn_soak [--window N] [--minutes M]\n");
            return 2;
        }
    }
    host::ResetSwitch();
    host::ResetLldp();
    for (uint32_t node = 1; node <= kNodes; ++node) {
        host::AddNode(static_cast<uint16_t>(node));
        for (uint32_t p = 1; p <= kPorts; ++p) {
            const uint32_t ifIndex = node * 1000 + p;
            host::AddInterface(host::Interface{ifIndex, "ge-" + std::to_string(node) + "/0/" + std::to_string(p),
                                               static_cast<uint16_t>(node), 18});
            host::SetNeighbourLimit(ifIndex, 1000);
        }
    }
    // Every second a kPeriod-th of the window [start, start + window) sends,
    // each neighbour every kPeriod seconds; the window moves on by kArrivals
    // a second.
    const uint32_t warmup = 2 * kTtl + kPeriod;  // seconds
    const uint32_t total = warmup + minutes * 60;
    uint64_t frames = 0;
    long first = -1;
    long last = 0;
    long highest = 0;
    std::printf("churn soak: %u neighbours sending, %u arrive and %u stop per second, frames every %u s, TTL %u s\n",
                window, kArrivals, kArrivals, kPeriod, kTtl);
    std::printf("| minute | neighbours held | RSS MB |\n|---:|---:|---:|\n");
    for (uint32_t t = 0; t < total; ++t) {
        host::AdvanceClock(100);
        const uint32_t start = t * kArrivals;
        // The neighbours whose turn it is: (id + t) % kPeriod == 0.
        for (uint32_t id = start + (kPeriod - (start + t) % kPeriod) % kPeriod; id < start + window; id += kPeriod) {
            const Port port = PortOf(id);
            const uint32_t version = (t / kPeriod + id) / 10;  // changes every tenth frame
            host::Receive(port.ifIndex, port.agent, Frame(id, version));
            ++frames;
        }
        if (t >= warmup && (t - warmup) % 60 == 0) {
            const long rss = StatusKb("VmRSS");
            if (first < 0) first = rss;
            last = rss;
            highest = std::max(highest, rss);
            std::printf("| %u | %zu | %.1f |\n", (t - warmup) / 60, host::NeighbourCount(), rss / 1024.0);
        }
    }
    last = StatusKb("VmRSS");
    highest = std::max(highest, last);
    std::printf("| %u | %zu | %.1f |\n", minutes, host::NeighbourCount(), last / 1024.0);
    std::printf("frames received: %llu; RSS drift over %u minutes: %+.2f %% (highest %+.2f %%)\n",
                static_cast<unsigned long long>(frames), minutes, 100.0 * (last - first) / first,
                100.0 * (highest - first) / first);
    return 0;
}
