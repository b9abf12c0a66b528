// What the test abilities of lldpv2host/testing.h change inside the host
// platform: the few places that consult them ask here. Each query costs one
// relaxed atomic load while no ability is on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "lldpv2host/testing.h"

namespace lldpv2host::testing::hooks {

bool ManAddrSlotPerAddress();
uint32_t TlvInfoFiller();
// Appends the filler to information of *len octets in a record of capacity
// octets; *len grows, up to capacity.
template <typename Len>
void FillInfo(uint8_t *info, Len *len, size_t capacity);
bool DcbxOptionalFieldsAbsent();

// The node whose data `node` answers LLDP_mor_MibGetNext with, when told.
std::optional<uint16_t> AnswerLikeNode(uint16_t node);
// Alters a result `node` gives under AnswerLike.
void AlterResult(uint16_t node, uint32_t item, uint32_t selector, uint8_t *result, uint16_t len);

// Records one LLDP_mor_SetTlvCfg call while recording is on.
void RecordTlvCfg(uint32_t ifIndex, uint32_t agent, uint32_t enable, const void *request);

template <typename Len>
void FillInfo(uint8_t *info, Len *len, size_t capacity) {
    const uint32_t filler = TlvInfoFiller();
    for (uint32_t i = 0; i < filler && static_cast<size_t>(*len) < capacity; ++i) info[(*len)++] = kTlvInfoFillerOctet;
}

}  // namespace lldpv2host::testing::hooks
