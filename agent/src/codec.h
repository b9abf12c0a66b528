// Conversions between SNMP and MOR forms, driven by the node records:
// instance indexes in object identifiers, reply parameters to SNMP values,
// SNMP values of a set to request parameters, and the checks a set value
// must pass before it reaches a module.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "lldpv2/mib_node.h"
#include "lldpv2host/mor_host.h"
#include "mib_tree.h"

namespace lldpv2agent {

// How one index column is written in an instance identifier.
enum class IndexForm {
    Number,       // one sub-identifier
    Octets,       // a length sub-identifier, then one per octet
    FixedOctets,  // exactly `size` octets, no length (SIZE(n) with one fixed size)
    ObjectId,     // a length sub-identifier, then the sub-identifiers
};
struct IndexShape {
    IndexForm form = IndexForm::Number;
    size_t size = 0;  // FixedOctets only
};
IndexShape ShapeOf(const MIB_NODE_S *column);

// The value of one index column: a number, or the octets (or sub-identifiers)
// of a string-like column.
struct IndexValue {
    uint32_t number = 0;
    std::vector<uint32_t> elements;
    bool operator==(const IndexValue &) const = default;
};
using Index = std::vector<IndexValue>;

// Decodes a whole instance: every index column present, valid for its
// syntax, and nothing left over. Nullopt otherwise.
std::optional<Index> DecodeInstance(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance);
// The same into out, whose buffers are reused; false (out unspecified) where
// DecodeInstance answers nullopt.
bool DecodeInstanceInto(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance, Index &out);

// Where a get-next starts inside a table: the index columns as far as the
// instance gives valid values. A string cut short is completed with zero
// octets (the smallest string it prefixes); `padded` says so, since then the
// completed index itself, when whole, follows the instance and is a candidate.
struct StartIndex {
    Index values;
    bool padded = false;
};
StartIndex DecodeStart(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance);
// The same into out, whose buffers are reused.
void DecodeStartInto(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance, StartIndex &out);

// Appends the instance arcs of index to out (index must hold every column).
void EncodeInstance(const MIB_INDEX_LIST_S *list, const Index &index, Oid &out);

// The MOR type code the agent uses for a parameter of a column with this
// syntax.
uint32_t MorTypeOf(const MIB_NODE_S *leaf);

// Appends the index columns' parameters (MOR id and value) to a request.
void AddIndexParams(lldpv2host::MorMessage &msg, const MIB_INDEX_LIST_S *list, const Index &index);

// Reads the index of the row a get-next reply names from the reply's index
// parameters. Nullopt when one is missing or malformed.
std::optional<Index> IndexFromReply(const MIB_INDEX_LIST_S *list, const lldpv2host::MorMessage &reply);
// The same into out, whose buffers are reused; false where IndexFromReply
// answers nullopt.
bool IndexFromReplyInto(const MIB_INDEX_LIST_S *list, const lldpv2host::MorMessage &reply, Index &out);

// An SNMP value as net-snmp takes it.
struct SnmpValue {
    unsigned char type = 0;  // ASN_* of net-snmp
    int64_t number = 0;      // integer types (INTEGER signed, the others unsigned)
    std::vector<uint8_t> octets;
    std::vector<uint32_t> objectId;
};

// The SNMP type that a leaf's syntax is served as.
unsigned char AsnTypeOf(const MIB_NODE_S *leaf);

// Converts a reply parameter to the leaf's SNMP value. Nullopt when the
// parameter does not fit the syntax (an integer that is not 4 bytes, an
// object identifier that is not whole sub-identifiers).
std::optional<SnmpValue> ValueFromParam(const MIB_NODE_S *leaf, const lldpv2host::MorParam &param);
// The same into out, whose buffers are reused; false where ValueFromParam
// answers nullopt.
bool ValueFromParamInto(const MIB_NODE_S *leaf, const lldpv2host::MorParam &param, SnmpValue &out);
// The same from a parameter's value bytes.
bool ValueFromBytesInto(const MIB_NODE_S *leaf, std::span<const uint8_t> bytes, SnmpValue &out);

// Checks a set value against the leaf's access, type, size and range.
// Returns 0 (SNMP_ERR_NOERROR) or the SNMP error: notWritable, wrongType,
// wrongLength or wrongValue.
int CheckSetValue(const MIB_NODE_S *leaf, const SnmpValue &value);

// Appends the set value as the leaf's request parameter.
void AddValueParam(lldpv2host::MorMessage &msg, const MIB_NODE_S *leaf, const SnmpValue &value);

}  // namespace lldpv2agent
