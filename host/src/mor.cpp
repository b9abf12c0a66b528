// The MOR layer: messages, their parameters, and the callbacks of the
// management modules by module id.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

#include "lldpv2host/mor_host.h"
#include "lldpv2host/trace.h"

namespace lldpv2host {

namespace {

struct CallbackTable {
    std::mutex lock;
    std::map<uint32_t, CallbackInfo> byModule;
};

// Never destroyed: modules deregister from their destructors, which may run
// after static objects are gone.
CallbackTable &Callbacks() {
    static CallbackTable *table = new CallbackTable;
    return *table;
}

// Type code 16 carries a 32-bit value too: the 802.3 power column writer
// uses it for an index parameter it echoes before any column.
constexpr uint32_t kMorTypeEchoedIndex = 16;

bool IsIntegerType(uint32_t type) {
    return type == MOR_TYPE_ENUM || type == MOR_TYPE_COUNTER || type == MOR_TYPE_UNSIGNED ||
           type == MOR_TYPE_TIMEMARK || type == kMorTypeEchoedIndex;
}

// Smallest value buffer a parameter gets when no spare one is left: room
// for a number, an address or a short string, so that a reused message
// rarely grows a buffer again.
constexpr size_t kMinValueCapacity = 64;

// Appends a parameter with an empty value, its value buffer taken from the
// message's spares when it has any.
MorParam &NewParam(MorMessage &msg, uint32_t morId, uint32_t type, size_t len) {
    MorParam &p = msg.params.emplace_back();
    p.morId = morId;
    p.type = type;
    auto &spare = msg.spare.buffers;
    if (!spare.empty()) {
        p.value = std::move(spare.back());
        spare.pop_back();
        p.value.clear();
    }
    if (p.value.capacity() < len) p.value.reserve(std::max(len, kMinValueCapacity));
    return p;
}

// Empties msg, keeping its parameters' value buffers as spares (in reverse,
// so that the next first parameter takes the last first parameter's).
void Empty(MorMessage &msg) {
    auto &spare = msg.spare.buffers;
    for (auto it = msg.params.rbegin(); it != msg.params.rend(); ++it) {
        if (it->value.capacity() != 0) spare.push_back(std::move(it->value));
    }
    msg.params.clear();
    msg.opType = 0;
    msg.tableId = 0;
    msg.tableIdSet = false;
    msg.errorCode = 0;
    msg.errorIndex = 0;
    msg.hasError = false;
    msg.errorCount = 0;
    msg.cursor = 0;
}

}  // namespace

MorMessage MakeRequest(uint32_t opType, uint32_t tableId) {
    MorMessage msg;
    Reuse(msg, opType, tableId);
    return msg;
}

void Reuse(MorMessage &msg, uint32_t opType, uint32_t tableId) {
    Empty(msg);
    msg.opType = opType;
    msg.tableId = tableId;
    msg.tableIdSet = true;
}

void AddUint32(MorMessage &msg, uint32_t morId, uint32_t value, uint32_t type) {
    MorParam &p = NewParam(msg, morId, type, sizeof value);
    uint8_t bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    p.value.assign(bytes, bytes + sizeof value);
}

void AddBytes(MorMessage &msg, uint32_t morId, const void *data, size_t len, uint32_t type) {
    MorParam &p = NewParam(msg, morId, type, len);
    if (len > 0) {
        const auto *bytes = static_cast<const uint8_t *>(data);
        p.value.assign(bytes, bytes + len);
    }
}

void AddColumn(MorMessage &msg, uint32_t morId) { NewParam(msg, morId, 0, 0); }

uint32_t ParamU32(const MorParam &p) {
    uint32_t v = 0;
    if (!p.value.empty()) std::memcpy(&v, p.value.data(), std::min(p.value.size(), sizeof v));
    return v;
}

const MorParam *FindParam(const MorMessage &msg, uint32_t morId) {
    for (const MorParam &p : msg.params) {
        if (p.morId == morId) return &p;
    }
    return nullptr;
}

std::string Describe(const MorMessage &msg) {
    std::string s;
    char buf[64];
    std::snprintf(buf, sizeof buf, "op %u table %u", msg.opType,
                  msg.tableIdSet ? msg.tableId
                                 : (msg.params.empty() ? 0u : MorTableOf(msg.params.front().morId)));
    s += buf;
    if (msg.hasError) {
        std::snprintf(buf, sizeof buf, " error 0x%X at 0x%X", msg.errorCode, msg.errorIndex);
        s += buf;
    }
    for (const MorParam &p : msg.params) {
        std::snprintf(buf, sizeof buf, " [0x%X t%u ", p.morId, p.type);
        s += buf;
        if (IsIntegerType(p.type) && p.value.size() == 4) {
            s += std::to_string(ParamU32(p));
        } else {
            for (uint8_t b : p.value) {
                std::snprintf(buf, sizeof buf, "%02X", b);
                s += buf;
            }
        }
        s += ']';
    }
    return s;
}

uint32_t Deliver(uint32_t moduleId, MorMessage &request, MorMessage &reply) {
    Empty(reply);
    reply.opType = request.opType;
    reply.tableId = request.tableId;
    reply.tableIdSet = request.tableIdSet;
    request.cursor = 0;

    MOR_CALLBACK_PF callback = nullptr;
    {
        CallbackTable &t = Callbacks();
        std::lock_guard guard(t.lock);
        auto it = t.byModule.find(moduleId);
        if (it != t.byModule.end()) callback = it->second.callback;
    }
    if (callback == nullptr) {
        reply.errorCode = kMorNoModule;
        reply.errorIndex = MOR_PARA_INDEX_ALL;
        reply.hasError = true;
        reply.errorCount = 1;
        return kMorNoModule;
    }
    return callback(&request, &reply);
}

bool HasCallback(uint32_t moduleId) { return RegisteredCallback(moduleId).has_value(); }

std::optional<CallbackInfo> RegisteredCallback(uint32_t moduleId) {
    CallbackTable &t = Callbacks();
    std::lock_guard guard(t.lock);
    auto it = t.byModule.find(moduleId);
    if (it == t.byModule.end()) return std::nullopt;
    return it->second;
}

void ClearCallbacks() {
    CallbackTable &t = Callbacks();
    std::lock_guard guard(t.lock);
    t.byModule.clear();
}

}  // namespace lldpv2host

using lldpv2host::CallbackInfo;
using lldpv2host::TraceCall;
using lldpv2host::TraceHex;

extern "C" {

uint32_t MOR_RegCallBack(uint32_t moduleId, MOR_CALLBACK_PF callback, void *context, uint32_t flags) {
    if (uint32_t fault = TraceCall("MOR_RegCallBack")) return fault;
    if (callback == nullptr) return lldpv2host::kMorBadArgument;
    auto &t = lldpv2host::Callbacks();
    std::lock_guard guard(t.lock);
    auto [it, added] = t.byModule.try_emplace(moduleId, CallbackInfo{callback, context, flags});
    return added ? 0 : lldpv2host::kMorBadArgument;
}

uint32_t MOR_DeregCallBack(uint32_t moduleId) {
    if (uint32_t fault = TraceCall("MOR_DeregCallBack")) return fault;
    auto &t = lldpv2host::Callbacks();
    std::lock_guard guard(t.lock);
    return t.byModule.erase(moduleId) == 1 ? 0 : lldpv2host::kMorBadArgument;
}

uint32_t MOR_GetMsgOpType(MOR_MSG msg) { return msg == nullptr ? 0 : msg->opType; }

uint32_t MOR_GetTableId(MOR_MSG msg) {
    if (msg == nullptr) return 0;
    if (msg->tableIdSet) return msg->tableId;
    return msg->params.empty() ? 0 : lldpv2host::MorTableOf(msg->params.front().morId);
}

uint32_t MOR_SetMsgError(MOR_MSG msg, uint32_t errorCode, uint32_t paraIndex) {
    if (uint32_t fault = TraceCall("MOR_SetMsgError", TraceHex{errorCode}, TraceHex{paraIndex})) return fault;
    if (msg == nullptr) return lldpv2host::kMorBadArgument;
    msg->errorCode = errorCode;
    msg->errorIndex = paraIndex;
    msg->hasError = true;
    ++msg->errorCount;
    return 0;
}

MOR_PARA MOR_GetFirstParaFromMsg(MOR_MSG msg, uint32_t /*reserved*/, uint32_t *morId) {
    if (msg == nullptr) return nullptr;
    msg->cursor = 0;
    return MOR_GetNextParaFromMsg(msg, 0, morId);
}

MOR_PARA MOR_GetNextParaFromMsg(MOR_MSG msg, uint32_t /*reserved*/, uint32_t *morId) {
    if (msg == nullptr || msg->cursor >= msg->params.size()) return nullptr;
    MOR_PARA p = &msg->params[msg->cursor++];
    if (morId != nullptr) *morId = p->morId;
    return p;
}

MOR_PARA MOR_GetParaFromMsgByMOR(MOR_MSG msg, uint32_t /*reserved*/, uint32_t morId) {
    if (msg == nullptr) return nullptr;
    return const_cast<MOR_PARA>(lldpv2host::FindParam(*msg, morId));
}

uint32_t MOR_GetData32(MOR_PARA para) { return para == nullptr ? 0 : lldpv2host::ParamU32(*para); }

uint32_t MOR_GetParaLen(MOR_PARA para) { return para == nullptr ? 0 : static_cast<uint32_t>(para->value.size()); }

uint32_t MOR_GetDataFromPara(MOR_PARA para, uint32_t capacity, void *dest) {
    if (para == nullptr || dest == nullptr) return 0;
    size_t n = std::min<size_t>(capacity, para->value.size());
    if (n > 0) std::memcpy(dest, para->value.data(), n);
    return static_cast<uint32_t>(n);
}

uint32_t MOR_AppendPara2Msg(MOR_MSG msg, uint32_t /*reserved*/, uint32_t morId, uint32_t typeCode, uintptr_t value,
                            uint32_t length) {
    if (uint32_t fault = TraceCall("MOR_AppendPara2Msg", TraceHex{morId})) return fault;
    if (msg == nullptr) return lldpv2host::kMorBadArgument;
    if (lldpv2host::IsIntegerType(typeCode)) {
        lldpv2host::AddUint32(*msg, morId, static_cast<uint32_t>(value), typeCode);
        return 0;
    }
    if (typeCode != MOR_TYPE_OCTETS && typeCode != MOR_TYPE_OID) return lldpv2host::kMorBadArgument;
    if (value == 0 && length != 0) return lldpv2host::kMorBadArgument;
    if (typeCode == MOR_TYPE_OID && length % sizeof(uint32_t) != 0) return lldpv2host::kMorBadArgument;
    lldpv2host::AddBytes(*msg, morId, reinterpret_cast<const void *>(value), length, typeCode);
    return 0;
}

}  // extern "C"
