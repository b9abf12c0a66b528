// The table-processor registry, the MOR callback that routes each request to
// the processor of its table, and the LLDP service check.
#include <array>

#include "common/export.h"
#include "common/mibpub.h"
#include "common/reply.h"

namespace lldpv2 {
namespace {

// The only process-wide mutable state of the module: written by the
// constructor and the destructor, read by the dispatcher.
std::array<LLDP_TABLE_PROC_PF, kTableSlots> g_tableProcs{};

// What a request may do while the LLDP service is not running, by op type
// minus one: get and get-next are refused, a set and the phases 5..9 go on
// to their processor.
constexpr std::array<uint64_t, 9> kStoppedServiceResult = {
    kErrStoppedGet, kOk, kErrStoppedGetNext, kErrUnserved, kOk, kOk, kOk, kOk, kOk,
};

constexpr char kServiceName[] = "LLDP";

uint32_t Dispatch(MOR_MSG request, MOR_MSG reply) {
    const uint32_t opType = MOR_GetMsgOpType(request);
    const uint32_t check = LLDP_mibpub_CheckToStartService(opType);
    if (check != kOk) return Fail(reply, check);
    const uint32_t tableId = MOR_GetTableId(request);
    if (tableId < kTableSlots && g_tableProcs[tableId] != nullptr) return g_tableProcs[tableId](opType, request, reply);
    return Fail(reply, kErrNoProcessor);
}

}  // namespace
}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckToStartService(uint32_t opType) {
    const uint16_t unit = static_cast<uint16_t>(LIP_GetLocalLip() & 0xFFFF);
    if ((LLDP_util_IsServiceStarted(unit, kServiceName, 0) & 0xFFFF) == 1) return kOk;
    if (opType == 0 || opType > kStoppedServiceResult.size()) return kErrUnserved;
    return static_cast<uint32_t>(kStoppedServiceResult[opType - 1]);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_V2MibMorInit(void) {
    g_tableProcs.fill(nullptr);
    if (MOR_RegCallBack(kModuleId, Dispatch, g_tableProcs.data(), 0) != 0) return kErrGeneral;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_V2MibMorFini(void) {
    g_tableProcs.fill(nullptr);
    MOR_DeregCallBack(kModuleId);
    return kOk;
}

// Only the ids of the module's tables (2..81) are passed by its initialisers.
LLDPV2_EXPORT uint32_t LLDP_mibpub_V2MIBRegisterTableProc(uint32_t tableId, LLDP_TABLE_PROC_PF proc) {
    g_tableProcs[tableId & 0xFF] = proc;
    return kOk;
}

}  // extern "C"
