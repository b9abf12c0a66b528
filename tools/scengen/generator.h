// Scenario generator: a YAML scenario (lldpv2host/scenario.h) of a stack of
// any size, with neighbours spread over its ports, for load and benchmark
// runs.
#pragma once

#include <cstdint>
#include <string>

namespace scengen {

struct Options {
    uint32_t nodes = 2;
    uint32_t portsPerNode = 48;
    uint32_t neighbours = 1000;   // in all
    uint32_t agents = 1;          // agents 1..agents receive neighbours (1..3)
    bool raw = false;             // neighbours as raw LLDPDU hex instead of fields
    uint32_t dcbxEvery = 10;      // every n-th neighbour carries DCBX TLVs (0: none)
    bool extraTlvs = false;       // every neighbour carries an unknown TLV and an
                                  // organizationally defined TLV no decoder knows
    uint32_t timeSpread = 100;    // neighbours arrive at times 0, 10, ... (timeSpread - 1) * 10
    uint32_t seed = 1;
};

// Empty when the options are inconsistent (then *error says why).
std::string Generate(const Options &options, std::string *error);

}  // namespace scengen
