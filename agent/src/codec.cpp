#include "codec.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace lldpv2agent {

namespace {

constexpr uint32_t kMaxOctets = 255;     // longest string index the agent decodes
constexpr uint32_t kMaxSubIds = 128;     // MAX_OID_LEN
constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();
constexpr int64_t kUint32Max = std::numeric_limits<uint32_t>::max();

uint32_t SyntaxCode(const MIB_NODE_S *n) {
    return n->syntax != nullptr ? n->syntax->code : static_cast<uint32_t>(MIB_SYNTAX_INTEGER);
}

const MIB_RESTRICTION_S *Restriction(const MIB_NODE_S *n) {
    return n->syntax != nullptr ? n->syntax->restriction : nullptr;
}

bool IsSigned(uint32_t code) {
    return code == MIB_SYNTAX_INTEGER || code == MIB_SYNTAX_INTEGER32 || code == MIB_SYNTAX_ENUM;
}

bool IsStringLike(uint32_t code) {
    return code == MIB_SYNTAX_OCTET_STRING || code == MIB_SYNTAX_BITS || code == MIB_SYNTAX_OID;
}

// Whether v lies in one of the ranges of a range restriction (true when the
// syntax has no range restriction).
bool InRanges(const MIB_RESTRICTION_S *r, int64_t v) {
    if (r == nullptr || r->kind != MIB_RESTRICT_RANGES || r->count == 0) return true;
    for (uint32_t i = 0; i < r->count; ++i) {
        const MIB_RANGE_S *range = r->ranges[i];
        if (range != nullptr && v >= range->min && v <= static_cast<int64_t>(range->max)) return true;
    }
    return false;
}

bool IsNamedValue(const MIB_RESTRICTION_S *r, int64_t v) {
    if (r == nullptr || r->kind != MIB_RESTRICT_NAMED || r->count == 0) return true;
    for (uint32_t i = 0; i < r->count; ++i) {
        if (static_cast<int64_t>(r->named[i].value) == v) return true;
    }
    return false;
}

bool ValidNumber(const MIB_NODE_S *col, int64_t v) {
    uint32_t code = SyntaxCode(col);
    bool fits = IsSigned(code) ? (v >= kInt32Min && v <= kInt32Max) : (v >= 0 && v <= kUint32Max);
    return fits && InRanges(Restriction(col), v);
}

// An index sub-identifier read as a number of the column's syntax (index
// values of signed syntaxes are never negative); an enumerated index takes
// only its named values.
bool ValidIndexNumber(const MIB_NODE_S *col, uint32_t arc) {
    return ValidNumber(col, arc) && (SyntaxCode(col) != MIB_SYNTAX_ENUM || IsNamedValue(Restriction(col), arc));
}

bool ValidLength(const MIB_NODE_S *col, uint32_t len) {
    uint32_t limit = SyntaxCode(col) == MIB_SYNTAX_OID ? kMaxSubIds : kMaxOctets;
    return len <= limit && InRanges(Restriction(col), len);
}

// Reads one index column from arcs at pos. Returns false when the arcs do
// not hold a whole valid value; `truncated` tells that they ran out inside
// an otherwise valid string (its present elements are then in value).
bool ReadIndexColumn(const MIB_NODE_S *col, std::span<const uint32_t> arcs, size_t &pos, IndexValue &value,
                     bool &truncated) {
    truncated = false;
    IndexShape shape = ShapeOf(col);
    if (pos >= arcs.size()) return false;
    if (shape.form == IndexForm::Number) {
        if (!ValidIndexNumber(col, arcs[pos])) return false;
        value.number = arcs[pos++];
        value.elements.clear();
        return true;
    }
    size_t len = shape.size;
    if (shape.form != IndexForm::FixedOctets) {
        if (!ValidLength(col, arcs[pos])) return false;
        len = arcs[pos++];
    }
    bool octets = shape.form != IndexForm::ObjectId;
    value.number = 0;
    value.elements.clear();
    while (value.elements.size() < len) {
        if (pos >= arcs.size()) {
            truncated = true;
            return false;
        }
        if (octets && arcs[pos] > 0xFF) return false;
        value.elements.push_back(arcs[pos++]);
    }
    return true;
}

}  // namespace

IndexShape ShapeOf(const MIB_NODE_S *column) {
    uint32_t code = SyntaxCode(column);
    if (code == MIB_SYNTAX_OID) return {IndexForm::ObjectId, 0};
    if (code != MIB_SYNTAX_OCTET_STRING && code != MIB_SYNTAX_BITS) return {IndexForm::Number, 0};
    const MIB_RESTRICTION_S *r = Restriction(column);
    if (r != nullptr && r->kind == MIB_RESTRICT_RANGES && r->count == 1 && r->ranges[0] != nullptr &&
        r->ranges[0]->min >= 0 && static_cast<uint32_t>(r->ranges[0]->min) == r->ranges[0]->max) {
        return {IndexForm::FixedOctets, r->ranges[0]->max};
    }
    return {IndexForm::Octets, 0};
}

bool DecodeInstanceInto(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance, Index &out) {
    if (list == nullptr) return false;
    out.resize(list->count);
    size_t pos = 0;
    for (uint32_t i = 0; i < list->count; ++i) {
        bool truncated = false;
        if (!ReadIndexColumn(list->columns[i], instance, pos, out[i], truncated)) return false;
    }
    return pos == instance.size();
}

std::optional<Index> DecodeInstance(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance) {
    Index index;
    if (!DecodeInstanceInto(list, instance, index)) return std::nullopt;
    return index;
}

void DecodeStartInto(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance, StartIndex &out) {
    out.padded = false;
    size_t used = 0;  // columns of out.values filled
    if (list != nullptr) {
        size_t pos = 0;
        for (uint32_t i = 0; i < list->count; ++i) {
            if (out.values.size() <= used) out.values.resize(used + 1);
            IndexValue &v = out.values[used];
            v.number = 0;
            bool truncated = false;
            if (ReadIndexColumn(list->columns[i], instance, pos, v, truncated)) {
                ++used;
                continue;
            }
            if (truncated) {
                IndexShape shape = ShapeOf(list->columns[i]);
                size_t len = shape.form == IndexForm::FixedOctets ? shape.size : instance[pos - v.elements.size() - 1];
                v.elements.resize(len, 0);
                ++used;
                out.padded = true;
            }
            break;
        }
    }
    out.values.resize(used);
}

StartIndex DecodeStart(const MIB_INDEX_LIST_S *list, std::span<const uint32_t> instance) {
    StartIndex start;
    DecodeStartInto(list, instance, start);
    return start;
}

void EncodeInstance(const MIB_INDEX_LIST_S *list, const Index &index, Oid &out) {
    for (uint32_t i = 0; i < list->count && i < index.size(); ++i) {
        IndexShape shape = ShapeOf(list->columns[i]);
        const IndexValue &v = index[i];
        if (shape.form == IndexForm::Number) {
            out.push_back(v.number);
            continue;
        }
        if (shape.form != IndexForm::FixedOctets) out.push_back(static_cast<uint32_t>(v.elements.size()));
        out.insert(out.end(), v.elements.begin(), v.elements.end());
    }
}

uint32_t MorTypeOf(const MIB_NODE_S *leaf) {
    switch (SyntaxCode(leaf)) {
        case MIB_SYNTAX_ENUM:
        case MIB_SYNTAX_INTEGER32:
            return MOR_TYPE_ENUM;
        case MIB_SYNTAX_COUNTER32:
            return MOR_TYPE_COUNTER;
        case MIB_SYNTAX_TIMETICKS:
            return MOR_TYPE_TIMEMARK;
        case MIB_SYNTAX_OCTET_STRING:
        case MIB_SYNTAX_BITS:
            return MOR_TYPE_OCTETS;
        case MIB_SYNTAX_OID:
            return MOR_TYPE_OID;
        default:
            return MOR_TYPE_UNSIGNED;
    }
}

namespace {

void AddElements(lldpv2host::MorMessage &msg, const MIB_NODE_S *leaf, const std::vector<uint32_t> &elements) {
    if (SyntaxCode(leaf) == MIB_SYNTAX_OID) {
        lldpv2host::AddBytes(msg, leaf->morId, elements.data(), elements.size() * sizeof(uint32_t), MOR_TYPE_OID);
        return;
    }
    // Octets narrowed from their sub-identifiers; on the stack for any index
    // string the agent decodes.
    std::array<uint8_t, kMaxOctets> shortBytes;
    std::vector<uint8_t> longBytes;
    uint8_t *bytes = shortBytes.data();
    if (elements.size() > shortBytes.size()) {
        longBytes.resize(elements.size());
        bytes = longBytes.data();
    }
    std::copy(elements.begin(), elements.end(), bytes);
    lldpv2host::AddBytes(msg, leaf->morId, bytes, elements.size(), MorTypeOf(leaf));
}

}  // namespace

void AddIndexParams(lldpv2host::MorMessage &msg, const MIB_INDEX_LIST_S *list, const Index &index) {
    for (uint32_t i = 0; i < list->count && i < index.size(); ++i) {
        const MIB_NODE_S *col = list->columns[i];
        if (ShapeOf(col).form == IndexForm::Number) {
            lldpv2host::AddUint32(msg, col->morId, index[i].number, MorTypeOf(col));
        } else {
            AddElements(msg, col, index[i].elements);
        }
    }
}

bool IndexFromReplyInto(const MIB_INDEX_LIST_S *list, const lldpv2host::MorMessage &reply, Index &out) {
    if (list == nullptr) return false;
    out.resize(list->count);
    for (uint32_t i = 0; i < list->count; ++i) {
        const MIB_NODE_S *col = list->columns[i];
        const lldpv2host::MorParam *p = lldpv2host::FindParam(reply, col->morId);
        if (p == nullptr) return false;
        IndexShape shape = ShapeOf(col);
        IndexValue &v = out[i];
        v.number = 0;
        if (shape.form == IndexForm::Number) {
            if (p->value.size() != sizeof(uint32_t)) return false;
            v.number = lldpv2host::ParamU32(*p);
            v.elements.clear();
        } else if (shape.form == IndexForm::ObjectId) {
            if (p->value.size() % sizeof(uint32_t) != 0) return false;
            v.elements.resize(p->value.size() / sizeof(uint32_t));
            if (!p->value.empty()) std::memcpy(v.elements.data(), p->value.data(), p->value.size());
        } else {
            if (shape.form == IndexForm::FixedOctets && p->value.size() != shape.size) return false;
            v.elements.assign(p->value.begin(), p->value.end());
        }
    }
    return true;
}

std::optional<Index> IndexFromReply(const MIB_INDEX_LIST_S *list, const lldpv2host::MorMessage &reply) {
    Index index;
    if (!IndexFromReplyInto(list, reply, index)) return std::nullopt;
    return index;
}

unsigned char AsnTypeOf(const MIB_NODE_S *leaf) {
    switch (SyntaxCode(leaf)) {
        case MIB_SYNTAX_UNSIGNED32:
            return ASN_UNSIGNED;
        case MIB_SYNTAX_ZERO_BASED_COUNTER:
            return ASN_GAUGE;
        case MIB_SYNTAX_COUNTER32:
            return ASN_COUNTER;
        case MIB_SYNTAX_TIMETICKS:
            return ASN_TIMETICKS;
        case MIB_SYNTAX_OCTET_STRING:
        case MIB_SYNTAX_BITS:
            return ASN_OCTET_STR;
        case MIB_SYNTAX_OID:
            return ASN_OBJECT_ID;
        default:
            return ASN_INTEGER;
    }
}

bool ValueFromParamInto(const MIB_NODE_S *leaf, const lldpv2host::MorParam &param, SnmpValue &out) {
    return ValueFromBytesInto(leaf, param.value, out);
}

bool ValueFromBytesInto(const MIB_NODE_S *leaf, std::span<const uint8_t> bytes, SnmpValue &out) {
    out.type = AsnTypeOf(leaf);
    out.number = 0;
    out.octets.clear();
    out.objectId.clear();
    uint32_t code = SyntaxCode(leaf);
    if (code == MIB_SYNTAX_OID) {
        if (bytes.size() % sizeof(uint32_t) != 0 || bytes.size() / sizeof(uint32_t) > kMaxSubIds) return false;
        out.objectId.resize(bytes.size() / sizeof(uint32_t));
        if (!bytes.empty()) std::memcpy(out.objectId.data(), bytes.data(), bytes.size());
    } else if (IsStringLike(code)) {
        out.octets.assign(bytes.begin(), bytes.end());
    } else {
        if (bytes.size() != sizeof(uint32_t)) return false;
        uint32_t raw = 0;
        std::memcpy(&raw, bytes.data(), sizeof raw);
        out.number = IsSigned(code) ? static_cast<int64_t>(static_cast<int32_t>(raw)) : raw;
    }
    return true;
}

std::optional<SnmpValue> ValueFromParam(const MIB_NODE_S *leaf, const lldpv2host::MorParam &param) {
    SnmpValue v;
    if (!ValueFromParamInto(leaf, param, v)) return std::nullopt;
    return v;
}

int CheckSetValue(const MIB_NODE_S *leaf, const SnmpValue &value) {
    if (leaf->access != MIB_ACCESS_READ_WRITE && leaf->access != MIB_ACCESS_READ_CREATE) return SNMP_ERR_NOTWRITABLE;
    if (value.type != AsnTypeOf(leaf)) return SNMP_ERR_WRONGTYPE;
    const MIB_RESTRICTION_S *r = Restriction(leaf);
    switch (SyntaxCode(leaf)) {
        case MIB_SYNTAX_OID:
            return value.objectId.size() <= kMaxSubIds ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGLENGTH;
        case MIB_SYNTAX_OCTET_STRING:
            return InRanges(r, static_cast<int64_t>(value.octets.size())) ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGLENGTH;
        case MIB_SYNTAX_BITS: {
            if (r == nullptr || r->kind != MIB_RESTRICT_NAMED || r->count == 0) return SNMP_ERR_NOERROR;
            uint64_t highest = 0;
            for (uint32_t i = 0; i < r->count; ++i) highest = std::max(highest, r->named[i].value);
            if (value.octets.size() > highest / 8 + 1) return SNMP_ERR_WRONGLENGTH;
            // Bit n is bit (7 - n % 8) of octet n / 8; every set bit must be named.
            for (size_t octet = 0; octet < value.octets.size(); ++octet) {
                for (unsigned bit = 0; bit < 8; ++bit) {
                    if ((value.octets[octet] & (0x80u >> bit)) != 0 && !IsNamedValue(r, static_cast<int64_t>(octet * 8 + bit))) {
                        return SNMP_ERR_WRONGVALUE;
                    }
                }
            }
            return SNMP_ERR_NOERROR;
        }
        default:
            if (!ValidNumber(leaf, value.number) || !IsNamedValue(r, value.number)) return SNMP_ERR_WRONGVALUE;
            return SNMP_ERR_NOERROR;
    }
}

void AddValueParam(lldpv2host::MorMessage &msg, const MIB_NODE_S *leaf, const SnmpValue &value) {
    uint32_t code = SyntaxCode(leaf);
    if (code == MIB_SYNTAX_OID) {
        AddElements(msg, leaf, value.objectId);
    } else if (IsStringLike(code)) {
        lldpv2host::AddBytes(msg, leaf->morId, value.octets.data(), value.octets.size(), MorTypeOf(leaf));
    } else {
        lldpv2host::AddUint32(msg, leaf->morId, static_cast<uint32_t>(value.number), MorTypeOf(leaf));
    }
}

}  // namespace lldpv2agent
