// Frames received per second into a daemon that holds 10,000 neighbours.
//
// One node with 48 ordinary ports (agents 1 to 3, up to 128 neighbours each)
// is filled with 10,000 neighbours, each an LLDPDU of about 130 octets
// (chassis id, port id, TTL, port description, system name and
// description, capabilities, one management address, port VLAN, MAC/PHY)
// handed to lldpv2host::Receive. Then, cycling through the neighbours in a
// shuffled order:
//   Receive_Refresh   the same LLDPDU again: a known neighbour whose TTL
//                     restarts (what every neighbour sends every txInterval);
//   Receive_Update    an LLDPDU whose system description changed, the two
//                     versions alternating: the stored information is
//                     replaced and the change recorded;
//   Receive_Refresh_WithTime
//                     as Receive_Refresh, with the clock moved by one
//                     hundredth every 64 frames and NextDeadline asked after
//                     each move, as the agent's event loop does.
// Each reports frames per second as items/s.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace {

namespace host = lldpv2host;
namespace lldp = lldpv2host::lldp;

constexpr uint32_t kPorts = 48;
constexpr uint32_t kNeighbours = 10000;

struct Frame {
    uint32_t ifIndex;
    uint32_t agent;
    std::vector<uint8_t> bytes[2];  // two versions: the system description differs
};

lldp::Lldpdu NeighbourPdu(uint32_t i, char version) {
    lldp::Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x02, 0x10, static_cast<uint8_t>(i >> 16), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i), 0};
    p.portIdSubtype = 5;
    const std::string port = "Eth1/" + std::to_string(i % 64);
    p.portId.assign(port.begin(), port.end());
    p.ttl = 120;
    p.portDesc = "uplink " + std::to_string(i);
    p.sysName = "neighbour-" + std::to_string(i);
    p.sysDesc = std::string("Access switch, release 4.") + version;
    p.hasSysCap = true;
    p.capSupported = 0x14;
    p.capEnabled = 0x04;
    lldp::ManagementAddress m;
    m.subtype = 1;
    m.address = {10, static_cast<uint8_t>(i >> 16), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)};
    m.ifSubtype = 2;
    m.ifId = i % 64;
    p.manAddrs.push_back(m);
    p.portVlanId = 10;
    p.macPhy = lldp::MacPhy{0x03, 0x6C01, 30};
    return p;
}

// The stack with its neighbours, built once.
const std::vector<Frame> &Stack() {
    static const std::vector<Frame> frames = [] {
        host::ResetSwitch();
        host::ResetLldp();
        host::AddNode(1);
        for (uint32_t port = 1; port <= kPorts; ++port) {
            host::AddInterface(host::Interface{port, "ge-1/0/" + std::to_string(port), 1, 18});
            host::SetNeighbourLimit(port, 128);
        }
        std::vector<Frame> out;
        for (uint32_t i = 0; i < kNeighbours; ++i) {
            Frame f;
            f.ifIndex = 1 + i % kPorts;
            f.agent = 1 + (i / kPorts) % 3;
            f.bytes[0] = lldp::EncodeLldpdu(NeighbourPdu(i, 'a'));
            f.bytes[1] = lldp::EncodeLldpdu(NeighbourPdu(i, 'b'));
            host::Receive(f.ifIndex, f.agent, f.bytes[0]);
            out.push_back(std::move(f));
        }
        std::shuffle(out.begin(), out.end(), std::mt19937(7));
        host::AdvanceClock(1);
        return out;
    }();
    return frames;
}

void Receive_Refresh(benchmark::State &state) {
    const std::vector<Frame> &frames = Stack();
    size_t i = 0;
    for (auto _ : state) {
        const Frame &f = frames[i];
        benchmark::DoNotOptimize(host::Receive(f.ifIndex, f.agent, f.bytes[0]));
        if (++i == frames.size()) i = 0;
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
    if (host::NeighbourCount() != kNeighbours) state.SkipWithError("neighbours lost");
}

void Receive_Update(benchmark::State &state) {
    const std::vector<Frame> &frames = Stack();
    size_t i = 0;
    int version = 1;
    for (auto _ : state) {
        const Frame &f = frames[i];
        benchmark::DoNotOptimize(host::Receive(f.ifIndex, f.agent, f.bytes[version]));
        if (++i == frames.size()) {
            i = 0;
            version ^= 1;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
    // Every neighbour back to the first version for the next benchmark
    // (outside the timed loop).
    for (const Frame &f : frames) host::Receive(f.ifIndex, f.agent, f.bytes[0]);
    if (host::NeighbourCount() != kNeighbours) state.SkipWithError("neighbours lost");
}

void Receive_Refresh_WithTime(benchmark::State &state) {
    const std::vector<Frame> &frames = Stack();
    size_t i = 0;
    uint32_t n = 0;
    for (auto _ : state) {
        const Frame &f = frames[i];
        benchmark::DoNotOptimize(host::Receive(f.ifIndex, f.agent, f.bytes[0]));
        if (++i == frames.size()) i = 0;
        if (++n % 64 == 0) {
            host::AdvanceClock(1);
            benchmark::DoNotOptimize(host::NextDeadline());
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
    if (host::NeighbourCount() != kNeighbours) state.SkipWithError("neighbours lost");
}

BENCHMARK(Receive_Refresh);
BENCHMARK(Receive_Update);
BENCHMARK(Receive_Refresh_WithTime);

}  // namespace

BENCHMARK_MAIN();
