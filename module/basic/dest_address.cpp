// lldpV2DestAddressTable (table id 4): the three fixed destination MAC
// addresses that name the agents. Computed here; every error of this table
// is reported at parameter position 0.
#include "basic/basic_tables.h"
#include "common/reply.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kPosition = 0;
constexpr uint32_t kLastAgent = 3;

uint32_t AppendMac(MOR_MSG reply, uint32_t agent) {
    DestMac mac{};
    const uint32_t rc = GetDestMacAddress(agent, &mac);
    if (rc != kOk) return Fail(reply, rc, kPosition);
    return Written(reply, AppendOctets(reply, mib::lldpV2DestMacAddress, mac.addr, mac.len));
}

}  // namespace

uint32_t DestAddressProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    const Op op = ClassifyOp(opType);
    if (op == Op::Phase) return kOk;
    if (op == Op::Set) return Fail(reply, kErrReadOnly, kPosition);
    if (op == Op::Unserved) return Fail(reply, kErrUnserved, kPosition);

    MOR_PARA para = MOR_GetParaFromMsgByMOR(request, 0, mib::lldpV2AddressTableIndex);
    const uint32_t index = para != nullptr ? MOR_GetData32(para) : 0;
    if (op == Op::Get) {
        if (LLDP_mibpub_CheckAgent(index, 0) != kOk) return Fail(reply, kErrNoInstance, kPosition);
        return AppendMac(reply, index);
    }
    // Get-next, whatever the index check would say.
    if (index >= kLastAgent) return Fail(reply, kErrNoNext, kPosition);
    const uint32_t next = index + 1;
    if (const uint32_t written = AppendUnsigned(reply, mib::lldpV2AddressTableIndex, next); written != kOk) return Fail(reply, written);
    return AppendMac(reply, next);
}

}  // namespace lldpv2
