// Host side of the MOR layer: how an SNMP agent (or a test) builds request
// messages, delivers them to the module registered for their module id, and
// reads the reply. Modules see only the C interface of lldpv2/mor.h.
//
// What the C interface does with these records:
// - MOR_AppendPara2Msg copies the value: for the integer type codes (0, 1, 2,
//   3) the number is kept as its 4 bytes in host order and the length
//   argument is ignored; for octets (5) and object identifiers (7) the
//   length bytes at the given address are copied (an object identifier must
//   be a whole number of 32-bit sub-identifiers). Other type codes, a null
//   address with a non-zero length and a null message are refused with
//   kMorBadArgument and append nothing.
// - MOR_GetFirstParaFromMsg rewinds the message's walk cursor and returns the
//   first parameter; MOR_GetNextParaFromMsg returns the one at the cursor and
//   advances it (without a First it starts at the first parameter).
//   MOR_GetParaFromMsgByMOR returns the first parameter with that MOR id and
//   leaves the cursor alone.
// - MOR_GetData32 reads the first 4 bytes of the value in host order; a
//   shorter value is zero-extended (its bytes fill the low-addressed bytes
//   of the number). MOR_GetDataFromPara copies min(capacity, length) bytes
//   and returns that count.
// - MOR_GetTableId is the explicit table id of the message when one was set
//   (MakeRequest), else bits 8..15 of the first parameter's MOR id, else 0.
// - MOR_SetMsgError records the code and parameter index; a later call
//   replaces them, and every call is counted.
// Parameter handles point into the message: appending to a message may move
// its parameters, so handles are valid only while the message is not grown.
//
// A message is meant to be reused: Reuse empties it but keeps its parameter
// array and the value buffers of its parameters, which the next parameters
// take over in the same order. A request and its reply kept across requests
// therefore stop allocating once they have carried their largest messages
// (Deliver empties the reply in the same way).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lldpv2/mor.h"

// A parameter of a request or reply: a MOR id, a type code and the value
// bytes (a 32-bit number is kept as its 4 bytes in host order).
struct MOR_PARA_S {
    uint32_t morId = 0;
    uint32_t type = 0;
    std::vector<uint8_t> value;
};

// Value buffers of the parameters a message dropped, held for the parameters
// it takes next. A copy of a message starts without any.
struct MorSpareValues {
    std::vector<std::vector<uint8_t>> buffers;  // the first parameter's last
    MorSpareValues() = default;
    MorSpareValues(const MorSpareValues &) {}
    MorSpareValues &operator=(const MorSpareValues &) { return *this; }
    MorSpareValues(MorSpareValues &&) noexcept = default;
    MorSpareValues &operator=(MorSpareValues &&) noexcept = default;
};

// A request or reply message.
struct MOR_MSG_S {
    uint32_t opType = 0;
    uint32_t tableId = 0;       // used by MOR_GetTableId when tableIdSet
    bool tableIdSet = false;    // else the table id comes from the first parameter
    std::vector<MOR_PARA_S> params;
    uint32_t errorCode = 0;
    uint32_t errorIndex = 0;
    bool hasError = false;
    uint32_t errorCount = 0;    // how many times MOR_SetMsgError was called
    size_t cursor = 0;          // position of the parameter walk
    MorSpareValues spare;       // see Reuse
};

namespace lldpv2host {

using MorMessage = MOR_MSG_S;
using MorParam = MOR_PARA_S;

// Status of MOR calls given a null message or a value they cannot take.
constexpr uint32_t kMorBadArgument = 0x40010001;
// Status of Deliver (and the reply's error) when no callback is registered
// for the module id.
constexpr uint32_t kMorNoModule = 0x61010041;

// The MOR id layout: 0xMMMMTTCC (module, table id, column).
constexpr uint32_t MorTableOf(uint32_t morId) { return (morId >> 8) & 0xFFu; }

// Builders for requests. MakeRequest sets the table id explicitly.
MorMessage MakeRequest(uint32_t opType, uint32_t tableId);
// Empties msg for a new request of that op type and table id (as
// MakeRequest builds it), keeping its buffers.
void Reuse(MorMessage &msg, uint32_t opType, uint32_t tableId);
void AddUint32(MorMessage &msg, uint32_t morId, uint32_t value, uint32_t type = MOR_TYPE_UNSIGNED);
void AddBytes(MorMessage &msg, uint32_t morId, const void *data, size_t len, uint32_t type = MOR_TYPE_OCTETS);
// A parameter that names a column without a value (as a get asks for it):
// type 0, empty value.
void AddColumn(MorMessage &msg, uint32_t morId);

// Reads a parameter's value as MOR_GetData32 does.
uint32_t ParamU32(const MorParam &p);
// The first parameter of msg with that MOR id, or null.
const MorParam *FindParam(const MorMessage &msg, uint32_t morId);
// A one-line description of a message, for logs and test failure messages.
std::string Describe(const MorMessage &msg);

// Delivers request to the callback registered for moduleId and fills reply.
// The reply is emptied first (keeping its buffers, as Reuse does) and takes
// the request's op type and table id;
// the request's walk cursor is rewound. Returns the callback's status, or
// kMorNoModule (also recorded as the reply's error, at index 0xFFFFFFFF) when
// no callback is registered.
uint32_t Deliver(uint32_t moduleId, MorMessage &request, MorMessage &reply);

// Whether a callback is registered for moduleId.
bool HasCallback(uint32_t moduleId);

// What MOR_RegCallBack was given for a module id.
struct CallbackInfo {
    MOR_CALLBACK_PF callback = nullptr;
    void *context = nullptr;
    uint32_t flags = 0;
};
std::optional<CallbackInfo> RegisteredCallback(uint32_t moduleId);

// Forgets every registered callback (for test fixtures that must not see a
// callback left behind by an unloaded module).
void ClearCallbacks();

}  // namespace lldpv2host
