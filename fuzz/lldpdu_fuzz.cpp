// LLDPDUs through the decoder and the receive rules of a daemon, then out
// again through the client library's decoders by the module's walks of the
// remote tables. Input: one octet choosing the agent, then the LLDPDU.
#include <string>
#include <vector>

#include "fuzz_common.h"
#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/mor_host.h"

namespace {

constexpr uint32_t kModuleId = 0x2320000;

// Tables holding what neighbours sent: base remote tables, 802.1, DCBX and
// 802.3 remote tables.
constexpr uint32_t kRemoteTables[] = {12, 13, 14, 15, 32, 33, 34, 35, 36, 37, 38, 39, 40,
                                      63, 64, 65, 66, 67, 68, 69, 70, 71, 72, 73, 74, 79, 80, 81};

void WalkRemoteTables() {
    for (uint32_t table : kRemoteTables) {
        lldpv2host::MorMessage request = lldpv2host::MakeRequest(3, table);
        // Up to a few rows of each table: get-next from the row found.
        for (int row = 0; row < 4; ++row) {
            lldpv2host::MorMessage reply;
            if (lldpv2host::Deliver(kModuleId, request, reply) != 0 || reply.hasError) break;
            lldpv2host::MorMessage next = lldpv2host::MakeRequest(3, table);
            for (const lldpv2host::MorParam &p : reply.params) {
                if ((p.morId & 0xFFu) > 4) break;  // the index columns come first
                lldpv2host::AddBytes(next, p.morId, p.value.data(), p.value.size(), p.type);
            }
            request = std::move(next);
        }
    }
}

}  // namespace

// One port with all three agents and no neighbours of its own: every row a
// walk reads is one the fuzzer's frames made.
constexpr char kSwitch[] = R"(
system:
  chassis-id: {subtype: mac-address, value: "02:00:5e:10:00:01"}
nodes:
  - id: 1
interfaces:
  - ifindex: 1
    name: ge-1/0/1
    node: 1
    type: gigabit-ethernet
    lldp:
      agents:
        - agent: nearest-bridge
        - agent: nearest-non-tpmr-bridge
        - agent: nearest-customer-bridge
)";

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    lldpv2fuzz::LoadModule();
    std::string error;
    if (!lldpv2host::LoadScenarioText(kSwitch, &error, "fuzz-switch.yaml")) lldpv2fuzz::Fault("switch: " + error);
    // At most a few neighbours per agent, whatever the inputs: the store
    // stays small and the walks short.
    lldpv2host::SetNeighbourLimit(1, 4);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    lldpv2fuzz::Bytes in(data, size);
    const uint32_t agent = 1 + in.U8() % 3;
    const std::span<const uint8_t> pdu = in.Rest();
    const std::vector<uint8_t> bytes(pdu.begin(), pdu.end());
    (void)lldpv2host::lldp::DecodeLldpdu(bytes);
    const lldpv2host::ReceiveResult r = lldpv2host::Receive(1, agent, bytes);
    // Only a stored or replaced neighbour brings new information to read
    // back; every other outcome leaves the tables as the last walk saw them.
    if (r.outcome == lldpv2host::ReceiveOutcome::Inserted || r.outcome == lldpv2host::ReceiveOutcome::Updated) {
        WalkRemoteTables();
    }
    return 0;
}
