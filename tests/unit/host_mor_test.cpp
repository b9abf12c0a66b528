// The host platform's MOR layer: message parameters, the parameter walk,
// value reads, table ids, errors, module callbacks and delivery.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include "lldpv2/mor.h"
#include "lldpv2host/mor_host.h"
#include "lldpv2host/trace.h"

namespace {

using lldpv2host::MorMessage;

std::vector<uint8_t> U32Bytes(uint32_t v) {
    std::vector<uint8_t> b(4);
    std::memcpy(b.data(), &v, 4);
    return b;
}

std::vector<uint8_t> Concat(std::vector<uint8_t> a, const std::vector<uint8_t> &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

class HostMorTest : public ::testing::Test {
protected:
    void SetUp() override {
        lldpv2host::ClearFaults();
        lldpv2host::ClearCallbacks();
    }
    void TearDown() override {
        lldpv2host::ClearFaults();
        lldpv2host::ClearCallbacks();
    }
};

// ---------------------------------------------------------------------------
// MOR_AppendPara2Msg

struct AppendCase {
    const char *name;
    uint32_t type;
    std::vector<uint8_t> source;  // bytes behind the address (types 5, 7)
    uint32_t number;              // the value (integer types)
    uint32_t length;
    std::vector<uint8_t> stored;
};

TEST_F(HostMorTest, AppendCopiesTheValue) {
    const std::vector<uint8_t> oid = Concat(Concat(U32Bytes(1), U32Bytes(3)), U32Bytes(6));
    const std::vector<AppendCase> cases = {
        {"enum", MOR_TYPE_ENUM, {}, 0x01020304, 4, U32Bytes(0x01020304)},
        {"counter ignores length", MOR_TYPE_COUNTER, {}, 7, 99, U32Bytes(7)},
        {"unsigned", MOR_TYPE_UNSIGNED, {}, 0xFFFFFFFF, 4, U32Bytes(0xFFFFFFFF)},
        {"timemark, length 0", MOR_TYPE_TIMEMARK, {}, 12345, 0, U32Bytes(12345)},
        {"octets", MOR_TYPE_OCTETS, {0xDE, 0xAD, 0xBE, 0xEF, 0x01}, 0, 5, {0xDE, 0xAD, 0xBE, 0xEF, 0x01}},
        {"octets prefix", MOR_TYPE_OCTETS, {1, 2, 3, 4}, 0, 2, {1, 2}},
        {"empty octets", MOR_TYPE_OCTETS, {9}, 0, 0, {}},
        {"oid", MOR_TYPE_OID, oid, 0, 12, oid},
    };
    for (const AppendCase &c : cases) {
        SCOPED_TRACE(c.name);
        MorMessage msg;
        std::vector<uint8_t> source = c.source;
        uintptr_t value = source.empty() ? c.number : reinterpret_cast<uintptr_t>(source.data());
        ASSERT_EQ(MOR_AppendPara2Msg(&msg, 0, 0x2320C05, c.type, value, c.length), 0u);
        // The message owns a copy: changing the caller's buffer afterwards
        // must not show in the message.
        for (uint8_t &b : source) b ^= 0xFF;
        ASSERT_EQ(msg.params.size(), 1u);
        EXPECT_EQ(msg.params[0].morId, 0x2320C05u);
        EXPECT_EQ(msg.params[0].type, c.type);
        EXPECT_EQ(msg.params[0].value, c.stored);
    }
}

TEST_F(HostMorTest, AppendRefusesWhatItCannotCopy) {
    const uint8_t bytes[8] = {};
    const struct {
        const char *name;
        bool nullMsg;
        uint32_t type;
        uintptr_t value;
        uint32_t length;
    } cases[] = {
        {"null message", true, MOR_TYPE_ENUM, 1, 4},
        {"type 4", false, 4, 1, 4},
        {"type 6", false, 6, reinterpret_cast<uintptr_t>(bytes), 4},
        {"type 8", false, 8, 1, 4},
        {"null octets with length", false, MOR_TYPE_OCTETS, 0, 3},
        {"oid not whole sub-identifiers", false, MOR_TYPE_OID, reinterpret_cast<uintptr_t>(bytes), 6},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        MorMessage msg;
        EXPECT_NE(MOR_AppendPara2Msg(c.nullMsg ? nullptr : &msg, 0, 0x2320C05, c.type, c.value, c.length), 0u);
        EXPECT_TRUE(msg.params.empty());
    }
}

TEST_F(HostMorTest, AppendKeepsOrder) {
    MorMessage msg;
    const char text[] = "abc";
    ASSERT_EQ(MOR_AppendPara2Msg(&msg, 0, 0x2320C01, MOR_TYPE_TIMEMARK, 5, 4), 0u);
    ASSERT_EQ(MOR_AppendPara2Msg(&msg, 0, 0x2320C02, MOR_TYPE_ENUM, 6, 4), 0u);
    ASSERT_EQ(MOR_AppendPara2Msg(&msg, 0, 0x2320C05, MOR_TYPE_OCTETS, reinterpret_cast<uintptr_t>(text), 3), 0u);
    ASSERT_EQ(msg.params.size(), 3u);
    EXPECT_EQ(msg.params[0].morId, 0x2320C01u);
    EXPECT_EQ(msg.params[1].morId, 0x2320C02u);
    EXPECT_EQ(msg.params[2].morId, 0x2320C05u);
    EXPECT_EQ(lldpv2host::ParamU32(msg.params[0]), 5u);
    EXPECT_EQ(lldpv2host::ParamU32(msg.params[1]), 6u);
}

// ---------------------------------------------------------------------------
// Parameter walk and lookup

TEST_F(HostMorTest, WalkVisitsParametersInOrderAndRewinds) {
    MorMessage msg = lldpv2host::MakeRequest(MOR_OP_GETNEXT, 12);
    lldpv2host::AddUint32(msg, 0x2320C01, 10);
    lldpv2host::AddUint32(msg, 0x2320C02, 20);
    lldpv2host::AddColumn(msg, 0x2320C06);

    for (int pass = 0; pass < 2; ++pass) {
        SCOPED_TRACE(pass);
        std::vector<uint32_t> ids;
        std::vector<uint32_t> values;
        uint32_t id = 0;
        for (MOR_PARA p = MOR_GetFirstParaFromMsg(&msg, 0, &id); p != nullptr;
             p = MOR_GetNextParaFromMsg(&msg, 0, &id)) {
            ids.push_back(id);
            values.push_back(MOR_GetData32(p));
        }
        EXPECT_EQ(ids, (std::vector<uint32_t>{0x2320C01, 0x2320C02, 0x2320C06}));
        EXPECT_EQ(values, (std::vector<uint32_t>{10, 20, 0}));
        // Past the end the walk stays at the end and leaves the id alone.
        id = 77;
        EXPECT_EQ(MOR_GetNextParaFromMsg(&msg, 0, &id), nullptr);
        EXPECT_EQ(id, 77u);
    }
}

TEST_F(HostMorTest, WalkWithoutFirstStartsAtTheFirstParameter) {
    MorMessage msg;
    lldpv2host::AddUint32(msg, 0x2320C01, 1);
    uint32_t id = 0;
    ASSERT_NE(MOR_GetNextParaFromMsg(&msg, 0, &id), nullptr);
    EXPECT_EQ(id, 0x2320C01u);
}

TEST_F(HostMorTest, EmptyMessageHasNoFirstParameter) {
    MorMessage msg;
    uint32_t id = 55;
    EXPECT_EQ(MOR_GetFirstParaFromMsg(&msg, 0, &id), nullptr);
    EXPECT_EQ(id, 55u);
    EXPECT_EQ(MOR_GetFirstParaFromMsg(nullptr, 0, &id), nullptr);
}

TEST_F(HostMorTest, LookupByMorFindsTheFirstMatchAndKeepsTheWalk) {
    MorMessage msg;
    lldpv2host::AddUint32(msg, 0x2320C01, 1);
    lldpv2host::AddUint32(msg, 0x2320C02, 2);
    lldpv2host::AddUint32(msg, 0x2320C03, 3);
    lldpv2host::AddUint32(msg, 0x2320C02, 4);

    uint32_t id = 0;
    ASSERT_NE(MOR_GetFirstParaFromMsg(&msg, 0, &id), nullptr);

    const struct {
        uint32_t morId;
        bool found;
        uint32_t value;
    } cases[] = {{0x2320C03, true, 3}, {0x2320C02, true, 2}, {0x2320C01, true, 1}, {0x2320C04, false, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.morId);
        MOR_PARA p = MOR_GetParaFromMsgByMOR(&msg, 0, c.morId);
        EXPECT_EQ(p != nullptr, c.found);
        if (p != nullptr) {
            EXPECT_EQ(MOR_GetData32(p), c.value);
        }
    }
    // The lookups did not move the walk: the next parameter is the second.
    ASSERT_NE(MOR_GetNextParaFromMsg(&msg, 0, &id), nullptr);
    EXPECT_EQ(id, 0x2320C02u);
}

// ---------------------------------------------------------------------------
// Reading values

// Short values fill the low-addressed bytes of the number: on this
// little-endian host, its low-order bytes.
static_assert(std::endian::native == std::endian::little);

TEST_F(HostMorTest, ValueReads) {
    const struct {
        const char *name;
        std::vector<uint8_t> value;
        uint32_t capacity;
        uint32_t copied;
        uint32_t data32;
    } cases[] = {
        {"empty", {}, 32, 0, 0},
        {"one byte", {0x7F}, 32, 1, 0x7F},
        {"two bytes", {0x34, 0x12}, 32, 2, 0x1234},
        {"four bytes", U32Bytes(0xA1B2C3D4), 32, 4, 0xA1B2C3D4},
        {"six bytes, first four count", Concat(U32Bytes(0x11223344), {5, 6}), 32, 6, 0x11223344},
        {"capacity below length", Concat(U32Bytes(0x11223344), {5, 6}), 4, 4, 0x11223344},
        {"capacity 0", {0x03, 0x02, 0x01}, 0, 0, 0x010203},
        {"thirty-three bytes, capacity 32", std::vector<uint8_t>(33, 0xAB), 32, 32, 0xABABABAB},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        MorMessage msg;
        lldpv2host::AddBytes(msg, 0x2320A01, c.value.data(), c.value.size());
        MOR_PARA p = MOR_GetParaFromMsgByMOR(&msg, 0, 0x2320A01);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(MOR_GetParaLen(p), c.value.size());
        EXPECT_EQ(MOR_GetData32(p), c.data32);

        std::array<uint8_t, 40> dest;
        dest.fill(0xEE);
        EXPECT_EQ(MOR_GetDataFromPara(p, c.capacity, dest.data()), c.copied);
        for (size_t i = 0; i < dest.size(); ++i) {
            uint8_t want = i < c.copied ? c.value[i] : 0xEE;
            ASSERT_EQ(dest[i], want) << "byte " << i;
        }
    }
}

TEST_F(HostMorTest, NullParameterReadsAsEmpty) {
    uint8_t dest[4] = {9, 9, 9, 9};
    EXPECT_EQ(MOR_GetData32(nullptr), 0u);
    EXPECT_EQ(MOR_GetParaLen(nullptr), 0u);
    EXPECT_EQ(MOR_GetDataFromPara(nullptr, 4, dest), 0u);
    EXPECT_EQ(dest[0], 9);
}

// ---------------------------------------------------------------------------
// Op type, table id, error

TEST_F(HostMorTest, TableId) {
    const struct {
        const char *name;
        bool explicitId;
        uint32_t tableId;
        std::vector<uint32_t> morIds;
        uint32_t expected;
    } cases[] = {
        {"explicit wins over parameters", true, 12, {0x2320501}, 12},
        {"explicit 0", true, 0, {0x2320C01}, 0},
        {"from the first parameter", false, 0, {0x2324B02, 0x2320C01}, 0x4B},
        {"no parameter", false, 0, {}, 0},
        {"table byte only", false, 0, {0xFFFF51FF}, 0x51},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        MorMessage msg = c.explicitId ? lldpv2host::MakeRequest(MOR_OP_GET, c.tableId) : MorMessage{};
        for (uint32_t id : c.morIds) lldpv2host::AddColumn(msg, id);
        EXPECT_EQ(MOR_GetTableId(&msg), c.expected);
    }
    EXPECT_EQ(MOR_GetTableId(nullptr), 0u);
}

TEST_F(HostMorTest, OpType) {
    for (uint32_t op : {0u, 1u, 3u, 9u, 10u, 0xFFFFFFFFu}) {
        MorMessage msg = lldpv2host::MakeRequest(op, 2);
        EXPECT_EQ(MOR_GetMsgOpType(&msg), op);
    }
    EXPECT_EQ(MOR_GetMsgOpType(nullptr), 0u);
}

TEST_F(HostMorTest, SetMsgErrorRecordsTheLastErrorAndCountsCalls) {
    MorMessage msg;
    EXPECT_FALSE(msg.hasError);
    ASSERT_EQ(MOR_SetMsgError(&msg, 0x61010058, 2), 0u);
    EXPECT_TRUE(msg.hasError);
    EXPECT_EQ(msg.errorCode, 0x61010058u);
    EXPECT_EQ(msg.errorIndex, 2u);
    ASSERT_EQ(MOR_SetMsgError(&msg, 0x61010052, MOR_PARA_INDEX_ALL), 0u);
    EXPECT_EQ(msg.errorCode, 0x61010052u);
    EXPECT_EQ(msg.errorIndex, 0xFFFFFFFFu);
    EXPECT_EQ(msg.errorCount, 2u);
    EXPECT_TRUE(msg.params.empty());
    EXPECT_NE(MOR_SetMsgError(nullptr, 1, 1), 0u);
}

// ---------------------------------------------------------------------------
// Callbacks and delivery

// What the test callbacks saw.
struct Seen {
    int calls = 0;
    MOR_MSG request = nullptr;
    MOR_MSG reply = nullptr;
    uint32_t firstId = 0;
};
Seen g_seen;

uint32_t EchoCallback(MOR_MSG request, MOR_MSG reply) {
    ++g_seen.calls;
    g_seen.request = request;
    g_seen.reply = reply;
    // Walks with Next only, so that a cursor left by an earlier walk shows.
    uint32_t id = 0;
    for (MOR_PARA p = MOR_GetNextParaFromMsg(request, 0, &id); p != nullptr;
         p = MOR_GetNextParaFromMsg(request, 0, &id)) {
        if (g_seen.firstId == 0) g_seen.firstId = id;
        MOR_AppendPara2Msg(reply, 0, id, MOR_TYPE_UNSIGNED, MOR_GetData32(p) + 1, 4);
    }
    return 0x1234;
}

uint32_t OtherCallback(MOR_MSG, MOR_MSG) { return 0x5678; }

TEST_F(HostMorTest, RegistrationOfCallbacks) {
    int context = 0;
    constexpr uint32_t kModule = 0x2320000;
    constexpr uint32_t kOther = 0x2330000;
    ASSERT_EQ(MOR_RegCallBack(kModule, EchoCallback, &context, 3), 0u);
    auto info = lldpv2host::RegisteredCallback(kModule);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->callback, &EchoCallback);
    EXPECT_EQ(info->context, &context);
    EXPECT_EQ(info->flags, 3u);

    const struct {
        const char *name;
        uint32_t (*call)();
        bool ok;
    } steps[] = {
        {"second callback for the same id", [] { return MOR_RegCallBack(kModule, OtherCallback, nullptr, 0); }, false},
        {"null callback", [] { return MOR_RegCallBack(kOther, nullptr, nullptr, 0); }, false},
        {"another id", [] { return MOR_RegCallBack(kOther, OtherCallback, nullptr, 0); }, true},
        {"deregister unknown id", [] { return MOR_DeregCallBack(0x2340000); }, false},
        {"deregister", [] { return MOR_DeregCallBack(kOther); }, true},
        {"deregister twice", [] { return MOR_DeregCallBack(kOther); }, false},
        {"register again after deregistering", [] { return MOR_RegCallBack(kOther, OtherCallback, nullptr, 0); }, true},
    };
    for (const auto &s : steps) {
        SCOPED_TRACE(s.name);
        EXPECT_EQ(s.call() == 0, s.ok);
    }
    // The refused registration did not replace the first callback.
    EXPECT_EQ(lldpv2host::RegisteredCallback(kModule)->callback, &EchoCallback);
    EXPECT_TRUE(lldpv2host::HasCallback(kOther));
    EXPECT_FALSE(lldpv2host::HasCallback(0x2340000));
}

TEST_F(HostMorTest, InjectedFaultsOfRegistration) {
    lldpv2host::SetFault("MOR_RegCallBack", 0x99);
    EXPECT_EQ(MOR_RegCallBack(0x2320000, EchoCallback, nullptr, 0), 0x99u);
    EXPECT_FALSE(lldpv2host::HasCallback(0x2320000));

    lldpv2host::ClearFaults();
    ASSERT_EQ(MOR_RegCallBack(0x2320000, EchoCallback, nullptr, 0), 0u);
    lldpv2host::SetFault("MOR_DeregCallBack", 0x98);
    EXPECT_EQ(MOR_DeregCallBack(0x2320000), 0x98u);
    EXPECT_TRUE(lldpv2host::HasCallback(0x2320000));
}

TEST_F(HostMorTest, DeliverCallsTheModuleWithAFreshReply) {
    g_seen = {};
    ASSERT_EQ(MOR_RegCallBack(0x2320000, EchoCallback, nullptr, 0), 0u);
    MorMessage request = lldpv2host::MakeRequest(MOR_OP_GETNEXT, 12);
    lldpv2host::AddUint32(request, 0x2320C01, 10);
    lldpv2host::AddUint32(request, 0x2320C02, 20);
    request.cursor = 2;  // left over from an earlier walk

    MorMessage reply;
    lldpv2host::AddUint32(reply, 0x1, 1);  // left over from an earlier request
    reply.hasError = true;
    reply.errorCount = 1;

    EXPECT_EQ(lldpv2host::Deliver(0x2320000, request, reply), 0x1234u);
    EXPECT_EQ(g_seen.calls, 1);
    EXPECT_EQ(g_seen.request, &request);
    EXPECT_EQ(g_seen.reply, &reply);
    EXPECT_EQ(g_seen.firstId, 0x2320C01u);
    EXPECT_FALSE(reply.hasError);
    EXPECT_EQ(reply.errorCount, 0u);
    EXPECT_EQ(reply.opType, 3u);
    EXPECT_EQ(MOR_GetTableId(&reply), 12u);
    ASSERT_EQ(reply.params.size(), 2u);
    EXPECT_EQ(lldpv2host::ParamU32(reply.params[0]), 11u);
    EXPECT_EQ(lldpv2host::ParamU32(reply.params[1]), 21u);
}

TEST_F(HostMorTest, DeliverToAModuleWithoutCallback) {
    g_seen = {};
    ASSERT_EQ(MOR_RegCallBack(0x2330000, EchoCallback, nullptr, 0), 0u);
    MorMessage request = lldpv2host::MakeRequest(MOR_OP_GET, 2);
    MorMessage reply;
    EXPECT_EQ(lldpv2host::Deliver(0x2320000, request, reply), lldpv2host::kMorNoModule);
    EXPECT_TRUE(reply.hasError);
    EXPECT_EQ(reply.errorCode, lldpv2host::kMorNoModule);
    EXPECT_EQ(reply.errorIndex, MOR_PARA_INDEX_ALL);
    EXPECT_EQ(g_seen.calls, 0);
}

TEST_F(HostMorTest, InjectedAppendFaultAppendsNothing) {
    MorMessage msg;
    lldpv2host::SetFault("MOR_AppendPara2Msg 0x2320C02", 0x77);
    EXPECT_EQ(MOR_AppendPara2Msg(&msg, 0, 0x2320C01, MOR_TYPE_ENUM, 1, 4), 0u);
    EXPECT_EQ(MOR_AppendPara2Msg(&msg, 0, 0x2320C02, MOR_TYPE_ENUM, 2, 4), 0x77u);
    ASSERT_EQ(msg.params.size(), 1u);
    EXPECT_EQ(msg.params[0].morId, 0x2320C01u);
}


// ---------------------------------------------------------------------------
// Reuse of a message across requests

struct ShapeParam {
    uint32_t morId;
    uint32_t type;
    std::vector<uint8_t> value;
};

// Builds msg (reused) or a fresh message of the given shape.
void Fill(MorMessage &msg, uint32_t op, uint32_t table, const std::vector<ShapeParam> &shape) {
    lldpv2host::Reuse(msg, op, table);
    for (const ShapeParam &p : shape) {
        if (p.type == 0) {
            lldpv2host::AddColumn(msg, p.morId);
        } else {
            lldpv2host::AddBytes(msg, p.morId, p.value.data(), p.value.size(), p.type);
        }
    }
}

TEST_F(HostMorTest, ReusedMessageEqualsAFreshOneAndKeepsItsBuffers) {
    const std::vector<uint8_t> longText(300, 0x41);
    // One message carries these requests in turn: more, fewer, longer and
    // shorter parameters than the one before.
    const std::vector<std::vector<ShapeParam>> shapes = {
        {{0x2320C01, MOR_TYPE_TIMEMARK, U32Bytes(5)}, {0x2320C05, 0, {}}},
        {{0x2320C01, MOR_TYPE_TIMEMARK, U32Bytes(6)}, {0x2320C02, MOR_TYPE_UNSIGNED, U32Bytes(7)},
         {0x2320C06, MOR_TYPE_OCTETS, longText}},
        {{0x2320C06, MOR_TYPE_OCTETS, {1, 2, 3}}},
        {},
        {{0x2320C01, MOR_TYPE_TIMEMARK, U32Bytes(8)}, {0x2320C02, MOR_TYPE_UNSIGNED, U32Bytes(9)},
         {0x2320C06, MOR_TYPE_OCTETS, {}}},
    };
    MorMessage reused;
    for (size_t i = 0; i < shapes.size(); ++i) {
        SCOPED_TRACE(i);
        reused.hasError = true;  // left over from the last reply it was
        reused.errorCount = 3;
        reused.cursor = 1;
        const uint8_t *firstBuffer = reused.params.empty() ? nullptr : reused.params[0].value.data();
        const size_t firstCapacity = reused.params.empty() ? 0 : reused.params[0].value.capacity();
        Fill(reused, MOR_OP_GETNEXT, static_cast<uint32_t>(i), shapes[i]);
        MorMessage fresh = lldpv2host::MakeRequest(MOR_OP_GETNEXT, static_cast<uint32_t>(i));
        Fill(fresh, MOR_OP_GETNEXT, static_cast<uint32_t>(i), shapes[i]);

        EXPECT_EQ(lldpv2host::Describe(reused), lldpv2host::Describe(fresh));
        EXPECT_FALSE(reused.hasError);
        EXPECT_EQ(reused.errorCount, 0u);
        EXPECT_EQ(reused.cursor, 0u);
        EXPECT_EQ(MOR_GetTableId(&reused), i);
        ASSERT_EQ(reused.params.size(), shapes[i].size());
        for (size_t k = 0; k < shapes[i].size(); ++k) EXPECT_EQ(reused.params[k].value, shapes[i][k].value);
        // The first parameter writes into the buffer the last first
        // parameter had, when it fits.
        if (firstBuffer != nullptr && !shapes[i].empty() && shapes[i][0].value.size() <= firstCapacity) {
            EXPECT_EQ(reused.params[0].value.data(), firstBuffer);
        }
    }
    // A copy holds the same parameters.
    const MorMessage copy = reused;
    EXPECT_EQ(lldpv2host::Describe(copy), lldpv2host::Describe(reused));
}

TEST_F(HostMorTest, DeliverReusesTheReplyBuffers) {
    g_seen = {};
    ASSERT_EQ(MOR_RegCallBack(0x2320000, EchoCallback, nullptr, 0), 0u);
    MorMessage request = lldpv2host::MakeRequest(MOR_OP_GETNEXT, 12);
    lldpv2host::AddUint32(request, 0x2320C01, 10);
    MorMessage reply;
    ASSERT_EQ(lldpv2host::Deliver(0x2320000, request, reply), 0x1234u);
    ASSERT_EQ(reply.params.size(), 1u);
    const uint8_t *buffer = reply.params[0].value.data();
    lldpv2host::Reuse(request, MOR_OP_GETNEXT, 12);
    lldpv2host::AddUint32(request, 0x2320C01, 30);
    ASSERT_EQ(lldpv2host::Deliver(0x2320000, request, reply), 0x1234u);
    ASSERT_EQ(reply.params.size(), 1u);
    EXPECT_EQ(lldpv2host::ParamU32(reply.params[0]), 31u);
    EXPECT_EQ(reply.params[0].value.data(), buffer);
}

}  // namespace
