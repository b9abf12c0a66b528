// Call trace and fault table of the host platform.
#include "lldpv2host/trace.h"

#include "data_generation.h"

#include <cstdio>
#include <map>
#include <mutex>

namespace lldpv2host {

namespace {

struct TraceState {
    std::mutex lock;
    bool tracing = false;
    std::vector<std::string> entries;
    std::map<std::string, uint32_t, std::less<>> faults;
};

// Never destroyed: a module unloaded at process exit still calls the
// platform from its destructor after static objects have gone.
TraceState &State() {
    static TraceState *state = new TraceState;
    return *state;
}

// Caller holds the lock.
void UpdateActive(const TraceState &s) {
    trace_detail::g_active.store(s.tracing || !s.faults.empty(), std::memory_order_relaxed);
}

}  // namespace

namespace trace_detail {

std::atomic<bool> g_active{false};

uint32_t Record(const std::string &entry, std::string_view name) {
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    if (s.tracing) s.entries.push_back(entry);
    if (s.faults.empty()) return 0;
    if (auto it = s.faults.find(entry); it != s.faults.end()) return it->second;
    if (auto it = s.faults.find(name); it != s.faults.end()) return it->second;
    return 0;
}

void Append(std::string &s, TraceHex v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%X", static_cast<unsigned>(v.value));
    s += buf;
}

}  // namespace trace_detail

void StartTrace() {
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    s.entries.clear();
    s.tracing = true;
    UpdateActive(s);
}

std::vector<std::string> StopTrace() {
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    s.tracing = false;
    UpdateActive(s);
    return std::move(s.entries);
}

std::vector<std::string> TraceSoFar() {
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    return s.entries;
}

void SetFault(const std::string &call, uint32_t code) {
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    if (code == 0) {
        s.faults.erase(call);
    } else {
        s.faults[call] = code;
    }
    UpdateActive(s);
    NoteDataChange();  // a fault changes what reads answer
}

void ClearFaults() {
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    s.faults.clear();
    UpdateActive(s);
    NoteDataChange();
}

uint32_t Fault(const std::string &call) {
    if (!trace_detail::g_active.load(std::memory_order_relaxed)) return 0;
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    auto it = s.faults.find(call);
    return it == s.faults.end() ? 0 : it->second;
}

void Trace(const std::string &entry) {
    if (!trace_detail::g_active.load(std::memory_order_relaxed)) return;
    TraceState &s = State();
    std::lock_guard guard(s.lock);
    if (s.tracing) s.entries.push_back(entry);
}

}  // namespace lldpv2host
