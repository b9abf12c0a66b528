// Arbitrary MOR requests to the module on a switch with neighbours: any op
// type, table id and parameters of any MOR id, type and length. Every reply
// is either an answer whose parameters are well formed, or an error whose
// position names a parameter of the request (or the whole request).
#include <string>

#include "fuzz_common.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/mor_host.h"

namespace {

constexpr uint32_t kModuleId = 0x2320000;
constexpr uint32_t kAll = 0xFFFFFFFF;

void CheckReply(const lldpv2host::MorMessage &request, const lldpv2host::MorMessage &reply, uint32_t status) {
    if (reply.hasError) {
        // Position 0 stands for the whole request in several tables, even
        // one without parameters.
        if (reply.errorIndex != kAll && reply.errorIndex != 0 && reply.errorIndex >= request.params.size()) {
            lldpv2fuzz::Fault("error position " + std::to_string(reply.errorIndex) + " beyond " +
                              std::to_string(request.params.size()) + " parameters: " + lldpv2host::Describe(reply));
        }
        if (reply.errorCode == 0) lldpv2fuzz::Fault("error without a code");
        return;
    }
    if (status != 0) lldpv2fuzz::Fault("failure without an error in the reply: " + std::to_string(status));
    for (const lldpv2host::MorParam &p : reply.params) {
        // An empty get of the configuration scalars is answered with one
        // placeholder parameter of MOR id 0xFFFFFFFF.
        const bool placeholder = p.morId == kAll && request.params.empty();
        if ((p.morId >> 16) != 0x0232 && !placeholder) {
            lldpv2fuzz::Fault("reply parameter of another module: " + lldpv2host::Describe(reply));
        }
        switch (p.type) {
            case 0: case 1: case 2: case 3:
            case 16:  // an index echoed by the power tables before any column
                if (p.value.size() != 4) lldpv2fuzz::Fault("32-bit value of " + std::to_string(p.value.size()) + " octets");
                break;
            case 5:
                if (p.value.size() > 4096) lldpv2fuzz::Fault("octet string of " + std::to_string(p.value.size()) + " octets");
                break;
            case 7:
                if (p.value.size() % 4 != 0 || p.value.size() > 128 * 4) lldpv2fuzz::Fault("malformed object identifier");
                break;
            default:
                lldpv2fuzz::Fault("reply type " + std::to_string(p.type));
        }
    }
    // Only get, set, get-next and the phases with nothing to do succeed;
    // the phases append nothing.
    if (request.opType >= 5 && request.opType <= 9 && !reply.params.empty()) lldpv2fuzz::Fault("a phase answered data");
    if (request.opType == 0 || request.opType == 4 || request.opType > 9) lldpv2fuzz::Fault("op type accepted");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    lldpv2fuzz::LoadModule();
    lldpv2fuzz::LoadDefaultScenarioOrDie();
    return 0;
}

// Input: requests, each an op type octet, a table id octet, a parameter
// count octet, then per parameter a column octet, a table octet (0: the
// request's table), a type octet, a length octet and that many value octets.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    lldpv2fuzz::Bytes in(data, size);
    for (int n = 0; n < 8 && !in.Empty(); ++n) {
        const uint8_t op = in.U8();
        const uint32_t opType = op < 240 ? op % 11 : op;  // mostly 0..10, sometimes far out
        const uint32_t table = in.U8();
        lldpv2host::MorMessage request = lldpv2host::MakeRequest(opType, table);
        const size_t count = in.U8() % 17;
        for (size_t i = 0; i < count && !in.Empty(); ++i) {
            const uint32_t column = in.U8();
            const uint32_t other = in.U8();
            const uint32_t paramTable = other == 0 ? table : other;
            const uint8_t type = in.U8();
            const std::span<const uint8_t> value = in.Take(in.U8() % 48);
            const uint32_t morId = 0x02320000u | (paramTable << 8) | column;
            lldpv2host::AddBytes(request, morId, value.data(), value.size(), type % 9);
        }
        lldpv2host::MorMessage reply;
        const uint32_t status = lldpv2host::Deliver(kModuleId, request, reply);
        CheckReply(request, reply, status);
    }
    // Sets change the switch; start the next input from the same one.
    static unsigned runs = 0;
    if (++runs % 64 == 0) lldpv2fuzz::LoadDefaultScenarioOrDie();
    return 0;
}
