// Instance decoding, set checks and reply conversion against the node
// records of a test MIB with the index forms of the LLDP-V2 tables.
#include <gtest/gtest.h>

#include "test_mib.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace lldpv2test {
namespace {

using lldpv2agent::Index;
using lldpv2agent::IndexValue;

IndexValue Num(uint32_t n) { return {n, {}}; }
IndexValue Str(const std::string &s) { return {0, {s.begin(), s.end()}}; }

TEST(InstanceDecode, WholeInstances) {
    TestMib mib;
    const MIB_INDEX_LIST_S *list = mib.entry->indexList;
    struct Case {
        const char *what;
        Oid instance;
        std::optional<Index> expected;
    } cases[] = {
        {"integer, length-prefixed and fixed-size string", {7, 2, 'a', 'b', 0, 0x80, 0xC2},
         Index{Num(7), Str("ab"), Index::value_type{0, {0, 0x80, 0xC2}}}},
        {"fixed-size string has no length", {1, 1, 'x', 3, 0, 0x80, 0xC2}, std::nullopt},
        {"integer below its range", {0, 1, 'x', 0, 0x80, 0xC2}, std::nullopt},
        {"integer above its range", {101, 1, 'x', 0, 0x80, 0xC2}, std::nullopt},
        {"string longer than its size", {1, 9, 'a', 'a', 'a', 'a', 'a', 'a', 'a', 'a', 'a', 0, 0, 0}, std::nullopt},
        {"empty string below its size", {1, 0, 0, 0x80, 0xC2}, std::nullopt},
        {"octet above 255", {1, 1, 256, 0, 0x80, 0xC2}, std::nullopt},
        {"cut short", {1, 2, 'a'}, std::nullopt},
        {"arcs left over", {1, 1, 'a', 0, 0x80, 0xC2, 5}, std::nullopt},
        {"empty", {}, std::nullopt},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(lldpv2agent::DecodeInstance(list, c.instance), c.expected) << c.what;
        if (c.expected) {
            Oid back;
            lldpv2agent::EncodeInstance(list, *c.expected, back);
            EXPECT_EQ(back, c.instance) << c.what;
        }
    }
}

TEST(InstanceDecode, GetNextStart) {
    TestMib mib;
    const MIB_INDEX_LIST_S *list = mib.entry->indexList;
    struct Case {
        const char *what;
        Oid instance;
        Index values;
        bool padded;
    } cases[] = {
        {"nothing", {}, {}, false},
        {"first column only", {5}, {Num(5)}, false},
        {"integer out of range stops", {200, 1, 'a'}, {}, false},
        {"string length out of range stops after the integer", {5, 20, 'a'}, {Num(5)}, false},
        {"string cut short is padded", {5, 3, 'a'}, {Num(5), Str(std::string("a\0\0", 3))}, true},
        {"fixed-size string cut short is padded", {5, 1, 'a', 0x11}, {Num(5), Str("a"), Index::value_type{0, {0x11, 0, 0}}}, true},
        {"whole index", {5, 1, 'a', 1, 2, 3}, {Num(5), Str("a"), Index::value_type{0, {1, 2, 3}}}, false},
    };
    for (const Case &c : cases) {
        lldpv2agent::StartIndex start = lldpv2agent::DecodeStart(list, c.instance);
        EXPECT_EQ(start.values, c.values) << c.what;
        EXPECT_EQ(start.padded, c.padded) << c.what;
    }
}

TEST(SetCheck, AccessTypeSizeAndRange) {
    TestMib mib;
    auto num = [](unsigned char type, int64_t n) {
        lldpv2agent::SnmpValue v;
        v.type = type;
        v.number = n;
        return v;
    };
    auto octets = [](std::vector<uint8_t> bytes) {
        lldpv2agent::SnmpValue v;
        v.type = ASN_OCTET_STR;
        v.octets = std::move(bytes);
        return v;
    };
    struct Case {
        const char *what;
        const MIB_NODE_S *leaf;
        lldpv2agent::SnmpValue value;
        int expected;
    } cases[] = {
        {"in range", mib.txInterval, num(ASN_UNSIGNED, 40), SNMP_ERR_NOERROR},
        {"range low edge", mib.txInterval, num(ASN_UNSIGNED, 5), SNMP_ERR_NOERROR},
        {"below range", mib.txInterval, num(ASN_UNSIGNED, 4), SNMP_ERR_WRONGVALUE},
        {"above range", mib.txInterval, num(ASN_UNSIGNED, 32769), SNMP_ERR_WRONGVALUE},
        {"INTEGER for Unsigned32", mib.txInterval, num(ASN_INTEGER, 40), SNMP_ERR_WRONGTYPE},
        {"string for Unsigned32", mib.txInterval, octets({1}), SNMP_ERR_WRONGTYPE},
        {"named value", mib.mode, num(ASN_INTEGER, 2), SNMP_ERR_NOERROR},
        {"unnamed value", mib.mode, num(ASN_INTEGER, 3), SNMP_ERR_WRONGVALUE},
        {"negative enumeration", mib.mode, num(ASN_INTEGER, -1), SNMP_ERR_WRONGVALUE},
        {"read-only", mib.counter, num(ASN_COUNTER, 1), SNMP_ERR_NOTWRITABLE},
        {"not-accessible index", mib.ifIndex, num(ASN_INTEGER, 1), SNMP_ERR_NOTWRITABLE},
        {"read-create column", mib.value, num(ASN_UNSIGNED, 1), SNMP_ERR_NOERROR},
        {"named bits", mib.bits, octets({0xC0, 0x40}), SNMP_ERR_NOERROR},
        {"unnamed bit", mib.bits, octets({0x20}), SNMP_ERR_WRONGVALUE},
        {"bits longer than the highest bit needs", mib.bits, octets({0, 0, 0}), SNMP_ERR_WRONGLENGTH},
    };
    for (const Case &c : cases) EXPECT_EQ(lldpv2agent::CheckSetValue(c.leaf, c.value), c.expected) << c.what;
}

TEST(ReplyValue, TypedBySyntax) {
    TestMib mib;
    lldpv2host::MorMessage reply;
    lldpv2host::AddUint32(reply, kTxInterval, 30);
    lldpv2host::AddUint32(reply, kCounter, 0xFFFFFFFF, MOR_TYPE_COUNTER);
    lldpv2host::AddUint32(reply, kMode, 2, MOR_TYPE_ENUM);
    uint8_t bits[] = {0x80, 0x40};
    lldpv2host::AddBytes(reply, kBits, bits, sizeof bits);
    uint8_t three[] = {1, 2, 3};
    lldpv2host::AddBytes(reply, kMode + 100, three, sizeof three);
    struct Case {
        const MIB_NODE_S *leaf;
        size_t param;
        std::optional<unsigned char> type;
        int64_t number;
    } cases[] = {
        {mib.txInterval, 0, ASN_UNSIGNED, 30},
        {mib.counter, 1, ASN_COUNTER, 0xFFFFFFFF},
        {mib.mode, 2, ASN_INTEGER, 2},
        {mib.bits, 3, ASN_OCTET_STR, 0},
        {mib.txInterval, 4, std::nullopt, 0},  // 3 bytes for a number
    };
    for (const Case &c : cases) {
        auto v = lldpv2agent::ValueFromParam(c.leaf, reply.params[c.param]);
        ASSERT_EQ(v.has_value(), c.type.has_value()) << c.leaf->name;
        if (!v) continue;
        EXPECT_EQ(v->type, *c.type) << c.leaf->name;
        EXPECT_EQ(v->number, c.number) << c.leaf->name;
    }
    EXPECT_EQ(lldpv2agent::ValueFromParam(mib.bits, reply.params[3])->octets, std::vector<uint8_t>(bits, bits + 2));
}

}  // namespace
}  // namespace lldpv2test
