// Call trace and fault injection of the host platform, for tests that check
// the order in which a module uses the platform and how it copes with
// failures of platform calls.
//
// Trace entries are the call's name, followed for some calls by their main
// arguments separated by single spaces (integers in decimal unless shown as
// 0x...):
//   SNMP_RegisterMibTree <tree name>      SNMP_DeregMibTree <tree name>
//   MOR_RegCallBack                       MOR_DeregCallBack
//   MOR_AppendPara2Msg <morId 0x..>       MOR_SetMsgError <code 0x..> <index 0x..>
//   IF_GetDataByIfIndex <ifIndex> <attr>  IF_IsValidIfIndex <ifIndex>
//   IF_IsSubIf <ifIndex>                  IF_IsTempIf <ifIndex>
//   IF_IsNodeUp <node>                    IF_Select_Init <kind>
//   IF_SelectType_Set <type>              IF_SelectProperty_Set <property>
//   IF_SelectCondition_Set <condition>    IF_IteratorInitialize <ifIndex>
//   IF_GetNextIfIndexByIfSelect <ifIndex> IF_IteratorFinalize
//   DEV_GetAllNodes                       LIP_GetLocalLip
//   LLDP_util_IsServiceStarted <unit> <service>
//   LLDP_util_SetIfFirstAgentID <ifIndex>
//   LLDP_util_CreateFromTLVCfgBuf         LLDP_util_ClearTLVCfg
// The LLDP client library adds its own entries (LLDP_tlvmng_Init,
// LLDP_libbasic_Reg, ...). The reads of a MOR message (op type, table id,
// parameter walk and values) are not traced.
//
// A fault is keyed by a call name ("IF_GetDataByIfIndex") or by a whole trace
// entry ("SNMP_RegisterMibTree LLDPV2-EXT-DOT1-MIB"); the entry key wins. A
// faulted call does nothing and fails: calls with a status return the
// injected code, IF_IteratorInitialize and DEV_GetAllNodes return null.
// Calls that answer yes/no (IF_Is*, LLDP_util_IsServiceStarted) and the
// reads of a MOR message take no faults; set up the switch model instead.
#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace lldpv2host {

// Platform calls are recorded while tracing is on. StartTrace drops what an
// earlier trace recorded.
void StartTrace();
std::vector<std::string> StopTrace();
// What has been recorded since StartTrace, without stopping.
std::vector<std::string> TraceSoFar();

// Makes the named platform call (or trace entry) fail with code; code 0
// removes the fault.
void SetFault(const std::string &call, uint32_t code);
void ClearFaults();
// The injected code for exactly this key, or 0.
uint32_t Fault(const std::string &call);

// Records an entry if tracing is on.
void Trace(const std::string &entry);

// An integer that a trace entry shows as 0x... (upper-case hex digits).
struct TraceHex {
    uint32_t value;
};

namespace trace_detail {
// True while tracing is on or any fault is set: the only thing a platform
// call looks at when nobody traces or injects.
extern std::atomic<bool> g_active;
// Records entry and returns the fault for it (entry key first, then name).
uint32_t Record(const std::string &entry, std::string_view name);

inline void Append(std::string &s, std::string_view v) { s += v; }
inline void Append(std::string &s, const char *v) { s += (v != nullptr ? v : "(null)"); }
inline void Append(std::string &s, const std::string &v) { s += v; }
void Append(std::string &s, TraceHex v);
template <std::integral T>
void Append(std::string &s, T v) {
    s += std::to_string(v);
}
}  // namespace trace_detail

// The entry point of a traced platform call: records "name arg1 arg2 ..."
// while tracing and returns the injected fault code (0 when none). Costs one
// relaxed atomic load when tracing is off and no fault is set.
template <typename... Args>
uint32_t TraceCall(std::string_view name, const Args &...args) {
    if (!trace_detail::g_active.load(std::memory_order_relaxed)) return 0;
    std::string entry(name);
    ((entry += ' ', trace_detail::Append(entry, args)), ...);
    return trace_detail::Record(entry, name);
}

}  // namespace lldpv2host
