// One answer of a get-next walk in a form that compares whole answers, for
// tests that check two engines answer alike.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "engine.h"

namespace lldpv2test {

struct WalkStep {
    lldpv2agent::NextResult::Status status;
    lldpv2agent::Oid oid;
    unsigned char type;
    int64_t number;
    std::vector<uint8_t> octets;
    std::vector<uint32_t> objectId;
    bool operator==(const WalkStep &) const = default;

    static WalkStep Of(const lldpv2agent::NextResult &r) {
        return {r.status, r.oid, r.value.type, r.value.number, r.value.octets, r.value.objectId};
    }
};

inline void PrintTo(const WalkStep &s, std::ostream *os) {
    *os << s.status << " " << lldpv2agent::OidToString(s.oid) << " = " << s.number << "/" << s.octets.size()
        << " octets";
}

}  // namespace lldpv2test
