// Cost of one lldpV2RemTable lookup as the number of neighbours grows.
//
// A four-node stack with 48 ordinary ports per node is filled with N
// neighbours (N = 1,000, 10,000, 100,000), spread evenly over every port and
// all three agents. Neighbours enter the way they do on a switch: each one is
// an LLDPDU handed to the receiving agent. Four lookups are timed, each from a
// random existing neighbour (4096 of them, drawn with a fixed seed):
//   RemTable_GetNext_Mor       a get-next of table 12 through the module's MOR
//                              callback (one request per call);
//   RemTable_Get_Mor           an exact get of one row through the callback;
//   Daemon_GetRemTableByTFAI   LLDP_mor_GetRemTableByTFAI called directly;
//   Daemon_GetNextRemTableByTFAI
//                              LLDP_mor_GetNextRemTableByTFAI(0, 1308, ...)
//                              called directly (it asks every node's daemon).
// Diagnostics, without a target of their own:
//   Diag_Hot_*                 the same four lookups cycling through 16 rows,
//                              so that their data stay in the caches;
//   Diag_RemTable_Walk_Mor     get-next from the row the previous call
//                              answered, the access pattern of an SNMP walk;
//   Diag_Reference_MapFind     a random find in a std::map of N keys, the
//                              machine's own penalty for a large ordered index.
// At the end, the cost at each N over the cost at the smallest N is printed
// for each of them; a lookup that scales with the logarithm of the table size
// stays close to 1.
//
// The stack is one process-wide model, so the benchmarks are registered with
// N as the outer loop: each N is built once and every lookup runs on it
// before the next N is built.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/mor_host.h"
#include "lldpv2host/switch.h"
#include "bench_stack.h"
#include "module_loader.h"

namespace {

namespace host = lldpv2host;
namespace lldp = lldpv2host::lldp;

constexpr uint32_t kModuleId = 0x2320000;
constexpr uint32_t kOpGet = 1;
constexpr uint32_t kOpGetNext = 3;
constexpr uint32_t kRemTable = 12;
constexpr uint32_t kSamples = 4096;         // random starting rows, cycled by the timed loops
constexpr uint32_t kHotSamples = 16;        // the first few of them, for the warm-cache runs
static_assert((kSamples & (kSamples - 1)) == 0 && (kHotSamples & (kHotSamples - 1)) == 0 && kHotSamples <= kSamples,
              "the timed loops cycle through the rows with a mask");
constexpr uint32_t kSeed = 20240601;

constexpr uint32_t RemTableMor(uint32_t column) { return 0x02320000u | (kRemTable << 8) | column; }

struct Row {
    uint32_t timeMark, ifIndex, agent, remIndex;
    bool operator==(const Row &) const = default;
};

// The neighbours of the current stack and the random rows the lookups start
// from, with the MOR requests for them built in advance.
struct Stack {
    uint32_t neighbours = 0;
    double buildSeconds = 0;
    std::vector<Row> rows;           // every neighbour, in table order
    std::vector<uint32_t> picks;     // positions in rows, kSamples of them
    std::vector<host::MorMessage> getNextRequests;
    std::vector<host::MorMessage> getRequests;
    std::string error;               // why the stack cannot be measured
};

std::unique_ptr<lldpv2test::Module> g_module;
Stack g_stack;

lldp::Lldpdu NeighbourPdu(uint32_t i) {
    lldp::Lldpdu pdu = lldpv2bench::BasicNeighbourPdu(i);
    pdu.portDesc = "uplink " + std::to_string(i % 64);
    pdu.manAddrs.push_back({1, {10, uint8_t(i >> 16), uint8_t(i >> 8), uint8_t(i)}, 2, i % 1000 + 1, {}});
    return pdu;
}

host::MorMessage RowRequest(uint32_t op, const Row &row) {
    host::MorMessage request = host::MakeRequest(op, kRemTable);
    host::AddUint32(request, RemTableMor(1), row.timeMark, MOR_TYPE_TIMEMARK);
    host::AddUint32(request, RemTableMor(2), row.ifIndex);
    host::AddUint32(request, RemTableMor(3), row.agent);
    host::AddUint32(request, RemTableMor(4), row.remIndex);
    return request;
}

Row ReplyRow(const host::MorMessage &reply) {
    auto at = [&](uint32_t column) {
        const host::MorParam *p = host::FindParam(reply, RemTableMor(column));
        return p == nullptr ? 0xFFFFFFFFu : host::ParamU32(*p);
    };
    return Row{at(1), at(2), at(3), at(4)};
}

// The resident set of the process, from /proc.
size_t ResidentMegabytes() {
    std::FILE *f = std::fopen("/proc/self/statm", "r");
    if (f == nullptr) return 0;
    unsigned long pages = 0, resident = 0;
    const int got = std::fscanf(f, "%lu %lu", &pages, &resident);
    std::fclose(f);
    return got == 2 ? resident * size_t(sysconf(_SC_PAGESIZE)) / (1024 * 1024) : 0;
}

// Rebuilds the switch with n neighbours (nothing when it already has them).
const Stack &StackWith(uint32_t n) {
    if (g_stack.neighbours == n && g_module != nullptr) return g_stack;
    g_stack = Stack{};
    g_stack.neighbours = n;
    const auto start = std::chrono::steady_clock::now();

    if (g_module == nullptr) g_module = std::make_unique<lldpv2test::Module>();
    g_stack.error = lldpv2bench::BuildStack(n, NeighbourPdu, lldpv2bench::TimeMarks::Spread);
    if (!g_stack.error.empty()) return g_stack;

    // A walk without a time mark lists every neighbour under time mark 0, in
    // (port, agent, remote index) order: the order Neighbours() gives.
    for (const host::NeighbourView &v : host::Neighbours()) g_stack.rows.push_back({0, v.ifIndex, v.agent, v.remIndex});

    std::mt19937 rng(kSeed + n);
    // Get-next starts from any row but the last, which has no successor.
    std::uniform_int_distribution<uint32_t> pick(0, n - 2);
    for (uint32_t s = 0; s < kSamples; ++s) {
        const uint32_t at = pick(rng);
        g_stack.picks.push_back(at);
        g_stack.getNextRequests.push_back(RowRequest(kOpGetNext, g_stack.rows[at]));
        g_stack.getRequests.push_back(RowRequest(kOpGet, g_stack.rows[at]));
    }

    // The answers must be right before their speed means anything.
    for (uint32_t s = 0; s < 16; ++s) {
        const uint32_t at = g_stack.picks[s];
        host::MorMessage reply;
        uint32_t rc = host::Deliver(kModuleId, g_stack.getNextRequests[s], reply);
        if (rc != 0 || !(ReplyRow(reply) == g_stack.rows[at + 1])) {
            g_stack.error = "get-next from row " + std::to_string(at) + " answered " + std::to_string(rc) + ": " +
                            host::Describe(reply);
            return g_stack;
        }
        rc = host::Deliver(kModuleId, g_stack.getRequests[s], reply);
        if (rc != 0 || reply.params.size() != 11) {
            g_stack.error = "get of row " + std::to_string(at) + " answered " + std::to_string(rc) + ": " +
                            host::Describe(reply);
            return g_stack;
        }
    }

    g_stack.buildSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::fprintf(stderr, "built %u neighbours in %.2f s (resident set %zu MB)\n", n, g_stack.buildSeconds,
                 ResidentMegabytes());
    return g_stack;
}

// The stack for the benchmark's N; null (and the run skipped with the
// reason) when it cannot be measured.
const Stack *Prepare(benchmark::State &state) {
    const Stack &stack = StackWith(uint32_t(state.range(0)));
    if (!stack.error.empty()) {
        state.SkipWithError(stack.error.c_str());
        return nullptr;
    }
    return &stack;
}

void BM_RemTableGetNextMor(benchmark::State &state, uint32_t rows) {
    const Stack *stack = Prepare(state);
    if (stack == nullptr) return;
    // Deliver only rewinds the request's cursor, so the requests are reused.
    std::vector<host::MorMessage> requests = stack->getNextRequests;
    host::MorMessage reply;
    uint32_t failures = 0;
    uint32_t s = 0;
    for (auto _ : state) {
        const uint32_t rc = host::Deliver(kModuleId, requests[s++ & (rows - 1)], reply);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(reply.params.data());
        failures += rc != 0;
    }
    if (failures != 0) state.SkipWithError("a get-next failed");
}

void BM_RemTableGetMor(benchmark::State &state, uint32_t rows) {
    const Stack *stack = Prepare(state);
    if (stack == nullptr) return;
    std::vector<host::MorMessage> requests = stack->getRequests;
    host::MorMessage reply;
    uint32_t failures = 0;
    uint32_t s = 0;
    for (auto _ : state) {
        const uint32_t rc = host::Deliver(kModuleId, requests[s++ & (rows - 1)], reply);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(reply.params.data());
        failures += rc != 0;
    }
    if (failures != 0) state.SkipWithError("a get failed");
}

void BM_DaemonGetRemTableByTFAI(benchmark::State &state, uint32_t rows) {
    const Stack *stack = Prepare(state);
    if (stack == nullptr) return;
    std::vector<LLDP_TFAI_S> keys;
    for (uint32_t at : stack->picks) {
        const Row &r = stack->rows[at];
        keys.push_back(LLDP_TFAI_S{r.timeMark, r.ifIndex, r.agent, r.remIndex});
    }
    static uint8_t buf[8192];
    uint32_t failures = 0;
    uint32_t s = 0;
    for (auto _ : state) {
        uint16_t len = 0;
        const uint32_t rc = LLDP_mor_GetRemTableByTFAI(&keys[s++ & (rows - 1)], sizeof(buf), buf, &len);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(len);
        benchmark::ClobberMemory();
        failures += rc != 0;
    }
    if (failures != 0) state.SkipWithError("LLDP_mor_GetRemTableByTFAI failed");
}

void BM_DaemonGetNextRemTableByTFAI(benchmark::State &state, uint32_t rows) {
    const Stack *stack = Prepare(state);
    if (stack == nullptr) return;
    std::vector<LLDP_TFAI_S> keys;
    for (uint32_t at : stack->picks) {
        const Row &r = stack->rows[at];
        keys.push_back(LLDP_TFAI_S{r.timeMark, r.ifIndex, r.agent, r.remIndex});
    }
    static LLDP_REM_SYSTEM_S record;
    static_assert(sizeof(record) == 1308);
    uint32_t failures = 0;
    uint32_t s = 0;
    for (auto _ : state) {
        LLDP_TFAI_S tfai = keys[s++ & (rows - 1)];
        const uint32_t rc = LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_SYSTEM, sizeof(record), &tfai, &record);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(tfai);
        benchmark::ClobberMemory();
        failures += rc != 0;
    }
    if (failures != 0) state.SkipWithError("LLDP_mor_GetNextRemTableByTFAI failed");
}

// Diagnostic: a get-next through the callback from the row the previous call
// answered, as an SNMP walk runs (back to the first row at the end of the
// table). Consecutive rows are neighbours in the daemons' indexes, so this
// shows the cost of the lookups with the memory caches warm.
void BM_RemTableWalkMor(benchmark::State &state) {
    const Stack *stack = Prepare(state);
    if (stack == nullptr) return;
    Row at = stack->rows[stack->picks[0]];
    host::MorMessage reply;
    benchmark::IterationCount wraps = 0;
    for (auto _ : state) {
        host::MorMessage request = RowRequest(kOpGetNext, at);
        uint32_t rc = host::Deliver(kModuleId, request, reply);
        if (rc != 0) {  // past the last row: start again without an index
            ++wraps;
            request = host::MakeRequest(kOpGetNext, kRemTable);
            rc = host::Deliver(kModuleId, request, reply);
        }
        at = ReplyRow(reply);
        benchmark::DoNotOptimize(rc);
    }
    if (wraps > state.iterations() / 2) state.SkipWithError("the walk does not advance");
}

// Diagnostic: a random find in a std::map of N (port, agent, remote index)
// keys, the reference cost of any pointer-based ordered index of that size on
// this machine (its growth with N comes from cache and TLB misses).
void BM_ReferenceMapFind(benchmark::State &state) {
    const Stack *stack = Prepare(state);
    if (stack == nullptr) return;
    struct Key {
        uint32_t ifIndex, agent, remIndex;
        auto operator<=>(const Key &) const = default;
    };
    // Every entry owns a separate allocation, as the daemons' neighbours do.
    // Built once per N: the function runs several times per benchmark.
    using Map = std::map<Key, std::unique_ptr<std::array<uint8_t, 512>>>;
    static Map map;
    static uint32_t mapSize = 0;
    if (mapSize != stack->neighbours) {
        map.clear();
        for (const Row &r : stack->rows)
            map.emplace(Key{r.ifIndex, r.agent, r.remIndex}, std::make_unique<std::array<uint8_t, 512>>());
        mapSize = stack->neighbours;
    }
    std::vector<Key> keys;
    for (uint32_t at : stack->picks) {
        const Row &r = stack->rows[at];
        keys.push_back(Key{r.ifIndex, r.agent, r.remIndex});
    }
    uint32_t s = 0;
    for (auto _ : state) {
        auto it = map.find(keys[s++ & (kSamples - 1)]);
        benchmark::DoNotOptimize((*it->second)[0]);
    }
}

// Prints the usual console table, then for each lookup its cost at every N
// over its cost at the smallest N (CPU time per call; the fastest repetition
// when --benchmark_repetitions is given).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            const double cost = run.GetAdjustedCPUTime();
            auto &byN = costs_[run.run_name.function_name];
            const int64_t n = std::stoll(run.run_name.args);
            auto it = byN.find(n);
            if (it == byN.end() || cost < it->second) byN[n] = cost;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        auto &out = GetOutputStream();
        char line[256];
        std::snprintf(line, sizeof(line), "\n%-40s %10s %10s %10s  %s\n", "cost(N) / cost(smallest N)", "N", "ns/call",
                      "ratio", "");
        out << line;
        for (const auto &[name, byN] : costs_) {
            if (byN.empty()) continue;
            const double base = byN.begin()->second;
            for (const auto &[n, cost] : byN) {
                const double ratio = cost / base;
                const bool last = n == byN.rbegin()->first && byN.size() > 1;
                const char *verdict = "";
                if (last) {
                    if (name.rfind("Diag_", 0) == 0)
                        verdict = "(diagnostic, no target)";
                    else
                        verdict = ratio <= 1.5 ? "ok (target <= 1.5)" : "ABOVE TARGET (<= 1.5)";
                }
                std::snprintf(line, sizeof(line), "%-40s %10lld %10.0f %10.2f  %s\n", name.c_str(),
                              static_cast<long long>(n), cost, ratio, verdict);
                out << line;
            }
        }
        out.flush();
    }

private:
    std::map<std::string, std::map<int64_t, double>> costs_;
};

}  // namespace

int main(int argc, char **argv) {
    if (!lldpv2bench::InitializeBenchmarks(argc, argv)) return 1;

    // N is the outer loop: see the top of the file.
    for (int64_t n : {1000, 10000, 100000}) {
        benchmark::RegisterBenchmark("RemTable_GetNext_Mor", BM_RemTableGetNextMor, kSamples)->Arg(n);
        benchmark::RegisterBenchmark("RemTable_Get_Mor", BM_RemTableGetMor, kSamples)->Arg(n);
        benchmark::RegisterBenchmark("Daemon_GetRemTableByTFAI", BM_DaemonGetRemTableByTFAI, kSamples)->Arg(n);
        benchmark::RegisterBenchmark("Daemon_GetNextRemTableByTFAI", BM_DaemonGetNextRemTableByTFAI, kSamples)->Arg(n);
        // The same lookups cycling through a few rows only, whose data stay in
        // the caches: what is left of the growth with N is the algorithm's.
        benchmark::RegisterBenchmark("Diag_Hot_RemTable_GetNext_Mor", BM_RemTableGetNextMor, kHotSamples)->Arg(n);
        benchmark::RegisterBenchmark("Diag_Hot_RemTable_Get_Mor", BM_RemTableGetMor, kHotSamples)->Arg(n);
        benchmark::RegisterBenchmark("Diag_Hot_Daemon_GetRemTableByTFAI", BM_DaemonGetRemTableByTFAI, kHotSamples)
            ->Arg(n);
        benchmark::RegisterBenchmark("Diag_Hot_Daemon_GetNextRemTableByTFAI", BM_DaemonGetNextRemTableByTFAI,
                                     kHotSamples)
            ->Arg(n);
        benchmark::RegisterBenchmark("Diag_RemTable_Walk_Mor", BM_RemTableWalkMor)->Arg(n);
        benchmark::RegisterBenchmark("Diag_Reference_MapFind", BM_ReferenceMapFind)->Arg(n);
    }

    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    g_module.reset();
    return 0;
}
