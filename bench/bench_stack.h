// The stack the module benchmarks measure: four nodes of 48 ordinary ports
// (agents 1 to 3), the ports alternating between the nodes so that
// consecutive rows of a table live on different nodes' daemons, and N
// neighbours spread evenly over every (port, agent), each an LLDPDU handed
// to the receive rules.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace lldpv2bench {

constexpr uint32_t kNodes = 4;
constexpr uint32_t kPortsPerNode = 48;
constexpr uint32_t kOrdinaryPortType = 18;  // agents 1, 2 and 3
constexpr uint32_t kAgents = 3;
constexpr uint16_t kTtlSeconds = 3600;      // far beyond the clock moves of a run

// The basic information of neighbour i: chassis id (a MAC address), port id
// (an interface name), TTL, system name and description, capabilities.
inline lldpv2host::lldp::Lldpdu BasicNeighbourPdu(uint32_t i) {
    lldpv2host::lldp::Lldpdu pdu;
    pdu.chassisIdSubtype = 4;  // MAC address
    pdu.chassisId = {0x02, 0x42, uint8_t(i >> 24), uint8_t(i >> 16), uint8_t(i >> 8), uint8_t(i)};
    pdu.portIdSubtype = 5;     // interface name
    const std::string port = "eth" + std::to_string(i % 64);
    pdu.portId.assign(port.begin(), port.end());
    pdu.ttl = kTtlSeconds;
    pdu.sysName = "host-" + std::to_string(i);
    pdu.sysDesc = "benchmark neighbour";
    pdu.hasSysCap = true;
    pdu.capSupported = 0x0014;  // bridge, router
    pdu.capEnabled = 0x0004;    // bridge
    return pdu;
}

// How the neighbours' time marks come out.
enum class TimeMarks { AllEqual, Spread };

// Rebuilds the switch with n neighbours, neighbour i sending pdu(i). With
// TimeMarks::Spread the clock moves after every 1,024 neighbours, so that
// their time marks differ. Returns what went wrong, or nothing.
inline std::string BuildStack(uint32_t n, const std::function<lldpv2host::lldp::Lldpdu(uint32_t)> &pdu,
                              TimeMarks marks) {
    namespace host = lldpv2host;
    host::ResetSwitch();
    host::ResetLldp();
    std::vector<uint32_t> ports;
    for (uint32_t node = 1; node <= kNodes; ++node) host::AddNode(uint16_t(node));
    for (uint32_t k = 0; k < kNodes * kPortsPerNode; ++k) {
        host::Interface intf;
        intf.ifIndex = k + 1;
        intf.name = "port" + std::to_string(k + 1);
        intf.node = uint16_t(1 + k % kNodes);
        intf.type = kOrdinaryPortType;
        host::AddInterface(intf);
        ports.push_back(intf.ifIndex);
    }
    const uint32_t pairs = uint32_t(ports.size()) * kAgents;
    const uint32_t perAgent = (n + pairs - 1) / pairs;
    for (uint32_t ifIndex : ports) {
        if (host::SetNeighbourLimit(ifIndex, perAgent + 1) != 0) {
            return "SetNeighbourLimit failed on port " + std::to_string(ifIndex);
        }
    }
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t pair = i % pairs;
        const host::ReceiveResult r =
            host::Receive(ports[pair / kAgents], 1 + pair % kAgents, host::lldp::EncodeLldpdu(pdu(i)));
        if (r.outcome != host::ReceiveOutcome::Inserted) {
            return "neighbour " + std::to_string(i) + " was not inserted: " + host::ReceiveOutcomeName(r.outcome);
        }
        if (marks == TimeMarks::Spread && i % 1024 == 1023) host::AdvanceClock(1);
    }
    if (host::NeighbourCount() != n) {
        return "the daemons hold " + std::to_string(host::NeighbourCount()) + " neighbours";
    }
    return {};
}

// Google Benchmark's start with a short default run time per benchmark; a
// --benchmark_min_time given on the command line comes later and wins.
// False when the command line has arguments it does not know.
inline bool InitializeBenchmarks(int argc, char **argv) {
    std::vector<char *> args(argv, argv + argc);
    char defaultMinTime[] = "--benchmark_min_time=0.3";
    args.insert(args.begin() + 1, defaultMinTime);
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    return !benchmark::ReportUnrecognizedArguments(count, args.data());
}

}  // namespace lldpv2bench
