// The kinds of table the module serves, as concepts: each names the members
// a table's traits provide to the shared template that serves the kind.
#pragma once

#include <concepts>
#include <cstdint>

#include "lldpv2/platform.h"

namespace lldpv2 {

// Port-keyed: one row per port (lldpV2LocPortIfIndex), read as a whole.
//   Row                     the row in MIB form
//   kKind                   what the daemon's get-next over the ports is asked for
//   Get(ifIndex, Row *)     the row of one port; 0 or the error to answer
template <typename T>
concept PortKeyedTable = requires(uint32_t ifIndex, typename T::Row *row) {
    { T::kKind } -> std::convertible_to<uint32_t>;
    { T::Get(ifIndex, row) } -> std::same_as<uint32_t>;
};

// TFAI-keyed: one row per neighbour, from the neighbour's stored LLDPDU on a
// get and from LLDP_mor_GetNextRemTableByTFAI on a get-next.
//   Row, Result             the row in MIB form; what the get-next answers
//   kKind                   the LLDP_REM_KIND_ of the get-next
//   FromResult(Result, Row *)
template <typename T>
concept TfaiKeyedTable = requires(const typename T::Result &result, typename T::Row *row) {
    { T::kKind } -> std::convertible_to<uint32_t>;
    T::FromResult(result, row);
};

// Remote sub-table: rows below a neighbour, spread over the stack's nodes
// and read by the cross-node get-next NextSubRow (item 21).
//   kSelector               the LLDP_REMSUB_ selector
//   Result                  the record one node's get-next answers
template <typename T>
concept RemoteSubTable = requires {
    { T::kSelector } -> std::convertible_to<uint32_t>;
    typename T::Result;
};

// Configuration switch: a TLV transmit flag per (port, id, agent).
//   kColumn                 the MOR id of the switch column
//   Read(ifIndex, id, agent, uint32_t *)   the flag as a TruthValue
//   Write(ifIndex, id, agent, value)
template <typename T>
concept ConfigSwitchTable = requires(uint32_t n, uint32_t *value) {
    { T::kColumn } -> std::convertible_to<uint32_t>;
    { T::Read(n, n, n, value) } -> std::same_as<uint32_t>;
    { T::Write(n, n, n, n) } -> std::same_as<uint32_t>;
};

}  // namespace lldpv2
