// Test abilities of the host platform (lldpv2host/testing.h).
#include "lldpv2host/testing.h"

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

#include "data_generation.h"
#include "lldp/daemon/daemon.h"
#include "lldpv2/lldp_client.h"
#include "testing_hooks.h"

namespace lldpv2host::testing {

namespace {

struct Shadow {
    uint16_t like = 0;
    ResultAlter alter;
};

struct TestingState {
    std::mutex lock;
    std::map<uint16_t, Shadow> shadows;
    bool recording = false;
    std::vector<TlvCfgRequest> requests;
};

// Never destroyed, like the trace state: a module unloaded at process exit
// may still call the platform.
TestingState &State() {
    static TestingState *state = new TestingState;
    return *state;
}

std::atomic<bool> g_slotPerAddress{false};
std::atomic<uint32_t> g_filler{0};
std::atomic<bool> g_dcbxAbsent{false};
std::atomic<bool> g_shadows{false};
std::atomic<bool> g_recording{false};

}  // namespace

void ResetTesting() {
    g_slotPerAddress = false;
    g_filler = 0;
    g_dcbxAbsent = false;
    TestingState &s = State();
    std::lock_guard guard(s.lock);
    s.shadows.clear();
    g_shadows = false;
    s.recording = false;
    g_recording = false;
    s.requests.clear();
    NoteDataChange();
}

// Each hook changes what reads answer.
void SetManAddrSlotPerAddress(bool on) {
    g_slotPerAddress = on;
    NoteDataChange();
}
void SetTlvInfoFiller(uint32_t octets) {
    g_filler = octets;
    NoteDataChange();
}
void SetDcbxOptionalFieldsAbsent(bool on) {
    g_dcbxAbsent = on;
    NoteDataChange();
}

void AnswerLike(uint16_t node, uint16_t like, ResultAlter alter) {
    TestingState &s = State();
    std::lock_guard guard(s.lock);
    s.shadows[node] = Shadow{like, std::move(alter)};
    g_shadows = true;
    NoteDataChange();
}

uint32_t TlvCfgRequest::Word(size_t i) const {
    uint32_t v = 0;
    if ((i + 1) * 4 <= block.size()) std::memcpy(&v, block.data() + i * 4, 4);
    return v;
}

uint16_t TlvCfgRequest::Half(size_t octet) const {
    uint16_t v = 0;
    if (octet + 2 <= block.size()) std::memcpy(&v, block.data() + octet, 2);
    return v;
}

void RecordTlvCfgRequests() {
    TestingState &s = State();
    std::lock_guard guard(s.lock);
    s.requests.clear();
    s.recording = true;
    g_recording = true;
}

std::vector<TlvCfgRequest> TlvCfgRequests() {
    TestingState &s = State();
    std::lock_guard guard(s.lock);
    return s.requests;
}

uint32_t SetCounters(uint32_t ifIndex, uint32_t agent, const AgentCounters &counters) {
    std::lock_guard<std::recursive_mutex> guard(daemon::StateLock());
    daemon::AgentState *a = daemon::AgentOf(ifIndex, agent);
    if (a == nullptr) return LLDP_ERR_NO_ENTRY;
    a->counters = counters;
    return 0;
}

uint32_t SetNodeStats(uint16_t node, const RemoteTableStats &stats) {
    std::lock_guard<std::recursive_mutex> guard(daemon::StateLock());
    daemon::Daemon *d = daemon::DaemonOf(node);
    if (d == nullptr) return LLDP_ERR_NO_ENTRY;
    d->stats = daemon::NodeStats{stats.inserts, stats.deletes, stats.drops, stats.ageouts, stats.lastChangeTime};
    return 0;
}

namespace hooks {

bool ManAddrSlotPerAddress() { return g_slotPerAddress.load(std::memory_order_relaxed); }
uint32_t TlvInfoFiller() { return g_filler.load(std::memory_order_relaxed); }
bool DcbxOptionalFieldsAbsent() { return g_dcbxAbsent.load(std::memory_order_relaxed); }

std::optional<uint16_t> AnswerLikeNode(uint16_t node) {
    if (!g_shadows.load(std::memory_order_relaxed)) return std::nullopt;
    TestingState &s = State();
    std::lock_guard guard(s.lock);
    auto it = s.shadows.find(node);
    if (it == s.shadows.end()) return std::nullopt;
    return it->second.like;
}

void AlterResult(uint16_t node, uint32_t item, uint32_t selector, uint8_t *result, uint16_t len) {
    ResultAlter alter;
    {
        TestingState &s = State();
        std::lock_guard guard(s.lock);
        auto it = s.shadows.find(node);
        if (it == s.shadows.end()) return;
        alter = it->second.alter;
    }
    if (alter && result != nullptr && len != 0) alter(item, selector, result, len);
}

void RecordTlvCfg(uint32_t ifIndex, uint32_t agent, uint32_t enable, const void *request) {
    if (!g_recording.load(std::memory_order_relaxed) || request == nullptr) return;
    TestingState &s = State();
    std::lock_guard guard(s.lock);
    if (!s.recording) return;
    const auto *p = static_cast<const uint8_t *>(request);
    s.requests.push_back(TlvCfgRequest{ifIndex, agent, enable, std::vector<uint8_t>(p, p + LLDP_TLV_CFG_REQ_SIZE)});
}

}  // namespace hooks

}  // namespace lldpv2host::testing
