// Sends MOR requests to the loaded module through the host platform's MOR
// layer, as the agent does, and reads the replies.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "lldpv2host/mor_host.h"

namespace lldpv2test {

inline constexpr uint32_t kModuleId = 0x2320000;
inline constexpr uint32_t kAll = 0xFFFFFFFF;

constexpr uint32_t Mor(uint32_t table, uint32_t column) { return 0x02320000u | (table << 8) | column; }

// A request parameter: a MOR id with a 32-bit value, with bytes, or a bare column.
struct P {
    uint32_t morId;
    enum Kind { Number, Bytes, Column } kind = Column;
    uint32_t value = 0;
    std::vector<uint8_t> bytes;

    static P N(uint32_t morId, uint32_t value) { return P{morId, Number, value, {}}; }
    static P B(uint32_t morId, std::vector<uint8_t> bytes) { return P{morId, Bytes, 0, std::move(bytes)}; }
    static P C(uint32_t morId) { return P{morId, Column, 0, {}}; }
};

struct Result {
    uint32_t status = 0;
    lldpv2host::MorMessage reply;

    bool HasError() const { return reply.hasError; }
    uint32_t ErrorCode() const { return reply.errorCode; }
    uint32_t ErrorIndex() const { return reply.errorIndex; }
    size_t Count() const { return reply.params.size(); }
    const lldpv2host::MorParam &At(size_t i) const { return reply.params.at(i); }
    uint32_t U32(size_t i) const { return lldpv2host::ParamU32(reply.params.at(i)); }
    // MOR ids of the reply parameters, in order.
    std::vector<uint32_t> MorIds() const {
        std::vector<uint32_t> ids;
        for (const auto &p : reply.params) ids.push_back(p.morId);
        return ids;
    }
};

inline Result Send(uint32_t opType, uint32_t tableId, const std::vector<P> &params) {
    lldpv2host::MorMessage request = lldpv2host::MakeRequest(opType, tableId);
    for (const P &p : params) {
        switch (p.kind) {
            case P::Number: lldpv2host::AddUint32(request, p.morId, p.value); break;
            case P::Bytes: lldpv2host::AddBytes(request, p.morId, p.bytes.data(), p.bytes.size()); break;
            case P::Column: lldpv2host::AddColumn(request, p.morId); break;
        }
    }
    Result r;
    r.status = lldpv2host::Deliver(kModuleId, request, r.reply);
    return r;
}

inline Result Send(uint32_t opType, uint32_t tableId, std::initializer_list<P> params) {
    return Send(opType, tableId, std::vector<P>(params));
}

inline Result Get(uint32_t tableId, std::initializer_list<P> params) { return Send(1, tableId, params); }
inline Result Set(uint32_t tableId, std::initializer_list<P> params) { return Send(2, tableId, params); }
inline Result GetNext(uint32_t tableId, std::initializer_list<P> params) { return Send(3, tableId, params); }

}  // namespace lldpv2test
