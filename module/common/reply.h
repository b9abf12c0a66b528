// Small helpers to walk a request's parameters and to write replies.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "common/codes.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2/mor.h"

namespace lldpv2 {

// One parameter of a request, with its 0-based position.
struct Param {
    MOR_PARA handle = nullptr;
    uint32_t morId = 0;
    uint32_t position = 0;

    uint32_t U32() const { return MOR_GetData32(handle); }
    uint32_t Len() const { return MOR_GetParaLen(handle); }
    uint32_t Copy(uint32_t capacity, void *dest) const { return MOR_GetDataFromPara(handle, capacity, dest); }
};

// Range over a request's parameters in request order:
//   for (const Param &p : Params(request)) { ... }
class Params {
public:
    explicit Params(MOR_MSG msg) : msg_(msg) {}

    class Iterator {
    public:
        Iterator(MOR_MSG msg, bool end) : msg_(msg) {
            if (!end) current_.handle = MOR_GetFirstParaFromMsg(msg_, 0, &current_.morId);
        }
        const Param &operator*() const { return current_; }
        const Param *operator->() const { return &current_; }
        Iterator &operator++() {
            current_.handle = MOR_GetNextParaFromMsg(msg_, 0, &current_.morId);
            ++current_.position;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return (current_.handle == nullptr) != (other.current_.handle == nullptr); }

    private:
        MOR_MSG msg_;
        Param current_;
    };

    Iterator begin() const { return Iterator(msg_, false); }
    Iterator end() const { return Iterator(msg_, true); }

private:
    MOR_MSG msg_;
};

// Whether the request has no parameter at all.
inline bool HasNoParams(MOR_MSG msg) {
    uint32_t morId = 0;
    return MOR_GetFirstParaFromMsg(msg, 0, &morId) == nullptr;
}

// The first failure of a run of reply writes, which all run, in order; kOk
// when every write succeeded.
[[nodiscard]] constexpr uint32_t FirstFailure(std::initializer_list<uint32_t> writes) {
    for (uint32_t rc : writes)
        if (rc != kOk) return rc;
    return kOk;
}

// Keeps the first failure: status, or rc while status is kOk.
[[nodiscard]] constexpr uint32_t KeepFirst(uint32_t status, uint32_t rc) { return status != kOk ? status : rc; }

// Records code at position on the reply and returns it.
[[nodiscard]] inline uint32_t Fail(MOR_MSG reply, uint32_t code, uint32_t position = kWholeRequest) {
    MOR_SetMsgError(reply, code, position);
    return code;
}

// kOk after reply writes that succeeded; otherwise their failure, recorded on
// the reply for the whole request.
[[nodiscard]] inline uint32_t Written(MOR_MSG reply, uint32_t rc) { return rc == kOk ? kOk : Fail(reply, rc); }

// Reply writers. Each returns the MOR layer's status, which the caller
// passes on: FirstFailure of a run of writes, Written to record it.
[[nodiscard]] inline uint32_t AppendNumber(MOR_MSG reply, uint32_t morId, uint32_t typeCode, uint32_t value) {
    return MOR_AppendPara2Msg(reply, 0, morId, typeCode, value, 4);
}
[[nodiscard]] inline uint32_t AppendEnum(MOR_MSG reply, uint32_t morId, uint32_t value) {
    return AppendNumber(reply, morId, MOR_TYPE_ENUM, value);
}
[[nodiscard]] inline uint32_t AppendUnsigned(MOR_MSG reply, uint32_t morId, uint32_t value) {
    return AppendNumber(reply, morId, MOR_TYPE_UNSIGNED, value);
}
[[nodiscard]] inline uint32_t AppendCounter(MOR_MSG reply, uint32_t morId, uint32_t value) {
    return AppendNumber(reply, morId, MOR_TYPE_COUNTER, value);
}
[[nodiscard]] inline uint32_t AppendTimeMark(MOR_MSG reply, uint32_t morId, uint32_t value) {
    return AppendNumber(reply, morId, MOR_TYPE_TIMEMARK, value);
}
[[nodiscard]] inline uint32_t AppendOctets(MOR_MSG reply, uint32_t morId, const void *bytes, uint32_t len) {
    return MOR_AppendPara2Msg(reply, 0, morId, MOR_TYPE_OCTETS, reinterpret_cast<uintptr_t>(bytes), len);
}
// The object identifier 0.0, which the management address OID columns always answer.
[[nodiscard]] inline uint32_t AppendNullOid(MOR_MSG reply, uint32_t morId) {
    static constexpr uint32_t kZeroZero[2] = {0, 0};
    return MOR_AppendPara2Msg(reply, 0, morId, MOR_TYPE_OID, reinterpret_cast<uintptr_t>(kZeroZero),
                              sizeof(kZeroZero));
}

}  // namespace lldpv2

namespace lldpv2 {

// A capability set (bit i = capability i) in SNMP BITS order: capability 0
// on the most significant bit of the first octet.
struct CapBits {
    uint8_t octets[2];
};
inline CapBits CapabilityBits(uint16_t caps) {
    const uint16_t reversed = LLDP_util_OverturnS(caps);
    return CapBits{{static_cast<uint8_t>(reversed >> 8), static_cast<uint8_t>(reversed & 0xFF)}};
}

// Outcome of reading a request's index: the first index error and its
// position. Every index walk stops at the first error; a get reports it, a
// get-next goes on from the index as far as it was read. An unknown column
// (kErrUnserved) ends every op type.
struct IndexWalk {
    uint32_t code = kOk;
    uint32_t position = kWholeRequest;

    bool Ends(uint32_t opType) const { return code == kErrUnserved || (code != kOk && opType == MOR_OP_GET); }
};

// Reads p into pair when it is the port or the agent index column of the
// request (by default those of lldpV2PortConfigTable, which the per-port
// configuration tables share) and returns checkPort(port) or
// checkAgent(agent); the value is stored before it is checked. nullopt for
// any other column.
template <typename Pair, typename CheckPort, typename CheckAgent>
[[nodiscard]] std::optional<uint32_t> ReadPairColumn(const Param &p, Pair *pair, CheckPort checkPort, CheckAgent checkAgent,
                                       uint32_t portColumn = mib::lldpV2PortConfigIfIndex,
                                       uint32_t agentColumn = mib::lldpV2PortConfigDestAddressIndex) {
    if (p.morId == portColumn) return checkPort(pair->port = p.U32());
    if (p.morId == agentColumn) return checkAgent(pair->agent = p.U32());
    return std::nullopt;
}

// The row of a get from exact(), of a get-next from next(); a failure is
// recorded at position.
template <typename Exact, typename Next>
[[nodiscard]] uint32_t ExactOrNext(uint32_t opType, MOR_MSG reply, uint32_t position, Exact exact, Next next) {
    const uint32_t rc = opType == MOR_OP_GET ? exact() : next();
    return rc == kOk ? kOk : Fail(reply, rc, position);
}

// Walks the parameters with column(param) -> status until the first error.
template <typename Column>
[[nodiscard]] IndexWalk WalkIndex(MOR_MSG request, Column column) {
    IndexWalk walk;
    for (const Param &p : Params(request)) {
        const uint32_t rc = column(p);
        if (rc != kOk) {
            walk.code = rc;
            walk.position = p.position;
            break;
        }
    }
    return walk;
}

// The op-type frame of a table: phases do nothing, get and get-next run
// read(), a set runs write(), anything else is not served.
template <typename Read, typename Write>
uint32_t ServeTable(uint32_t opType, MOR_MSG reply, Read read, Write write) {
    switch (ClassifyOp(opType)) {
        case Op::Phase: return kOk;
        case Op::Set: return write();
        case Op::Get:
        case Op::GetNext: return read();
        case Op::Unserved: break;
    }
    return Fail(reply, kErrUnserved);
}

// Processors made of functions: read(opType, request, reply) answers get
// and get-next, write(request, reply) a set; without write the table is
// read-only.
using ReadFn = uint32_t (*)(uint32_t opType, MOR_MSG request, MOR_MSG reply);
using WriteFn = uint32_t (*)(MOR_MSG request, MOR_MSG reply);
template <ReadFn Read, WriteFn Write>
uint32_t ServeReadWrite(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeTable(
        opType, reply, [&] { return Read(opType, request, reply); }, [&] { return Write(request, reply); });
}
template <ReadFn Read>
uint32_t ServeRead(uint32_t opType, MOR_MSG request, MOR_MSG reply);

// The op-type frame of a scalar group: get runs get(), a set runs set();
// the agent walks a scalar group itself, so get-next is not served.
template <typename Get, typename Set>
uint32_t ServeScalars(uint32_t opType, MOR_MSG reply, Get get, Set set) {
    switch (ClassifyOp(opType)) {
        case Op::Phase: return kOk;
        case Op::Get: return get();
        case Op::Set: return set();
        case Op::GetNext:
        case Op::Unserved: break;
    }
    return Fail(reply, kErrUnserved);
}

// The same for a read-only table, which refuses every set.
template <typename Read>
uint32_t ServeReadOnly(uint32_t opType, MOR_MSG reply, Read read) {
    return ServeTable(opType, reply, read, [reply] { return Fail(reply, kErrReadOnly); });
}

template <ReadFn Read>
uint32_t ServeRead(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return Read(opType, request, reply); });
}

}  // namespace lldpv2
