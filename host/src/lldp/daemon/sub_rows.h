// The rows of a neighbour's remote sub-tables (management addresses, unknown
// and organizationally defined TLVs, the 802.1 and DCBX tables), found in its
// TLV stream through the sorted SubEntry values it keeps (remote.h): a
// get-next compares sub-indexes read from the stream and formats the one row
// it answers, without decoding the neighbour's information.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lldp/daemon/remote.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host::daemon {

enum SubFamily : uint8_t {
    kSubManAddr = 1,   // one row per management address TLV
    kSubUnknown,       // one row per TLV of a reserved type
    kSubOrgDef,        // one row per organizationally specific TLV not decoded
    kSubProtoVlan,     // one row per port and protocol VLAN TLV
    kSubVlanName,      // one row per VLAN name TLV
    kSubProtocol,      // one row per protocol identity TLV
    kSubApp,           // one row per application priority entry
    kSubEts,           // eight rows of the ETS configuration TLV
    kSubReco,          // eight rows of the ETS recommendation TLV
    kSubPfc,           // eight rows of the PFC TLV
    kSubVidDigest,     // one row
    kSubManVid,        // one row
};

// A sub-index in a form that compares like the sub-index: up to four
// numbers, then (management addresses) the address octets.
struct SubKey {
    uint32_t k[4] = {};
    const uint8_t *bytes = nullptr;
    uint32_t nbytes = 0;
};
std::strong_ordering Compare(const SubKey &a, const SubKey &b);

// The sub-row entries of tlvs, a TLV stream as a daemon stores it (valid
// TLVs only), sorted by family and sub-index, equal sub-indexes left out.
std::vector<SubEntry> SubEntriesOf(std::span<const uint8_t> tlvs);

// How the rows of a sub-table (a LLDP_REMSUB_* selector) come from entries.
struct SubTable {
    uint8_t family = 0;  // 0: not a remote sub-table
    uint8_t rows = 0;    // per entry: 1 (keyed by the entry) or 8 (index 0..7)
};
SubTable SubTableOf(uint32_t selector);

// The sub-index that a request names for the table of selector.
SubKey RequestKey(uint32_t selector, const LLDP_INDEX_PARA_S &para);

// The row after `after` of neighbour n in the table of selector, if any:
// its result is written to out (at most capacity octets; LLDP_ERR_GENERAL
// when it does not fit), its sub-index to para. after == nullptr: the
// first row. Returns 0 and sets *len (0 when there is no such row).
uint32_t NextSubRow(const Neighbour &n, uint32_t selector, const SubKey *after, uint16_t capacity, uint16_t *len,
                    void *out, LLDP_INDEX_PARA_S &para);

}  // namespace lldpv2host::daemon
