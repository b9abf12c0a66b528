// Cost of one get-next in the remote sub-tables against one in lldpV2RemTable,
// through the module's MOR callback, as the number of neighbours grows.
//
// A four-node stack with 48 ordinary ports per node holds N neighbours
// (N = 1,000, 10,000, 100,000; agents 1 to 3), each an LLDPDU handed to the
// receiving agent with two management addresses, two TLVs of reserved types
// and two organizationally specific TLVs that no codec decodes, given in
// descending order. Each table is first walked once, which checks that every
// neighbour answers its rows in order; then each benchmark times get-next
// requests from 4096 rows of its table drawn at random (fixed seed):
//   RemTable_GetNext        lldpV2RemTable (table 12)
//   RemManAddr_GetNext      lldpV2RemManAddrTable (13)
//   RemUnknownTLV_GetNext   lldpV2RemUnknownTLVTable (14)
//   RemOrgDefInfo_GetNext   lldpV2RemOrgDefInfoTable (15)
// At the end it prints, for each N, each table's cost over the cost of
// RemTable_GetNext (target: at most 1.5).
#include <benchmark/benchmark.h>

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
constexpr uint32_t kOpGetNext = 3;
constexpr uint32_t kSamples = 4096;
constexpr uint32_t kSeed = 20251123;

struct Table {
    const char *name;
    uint32_t id;
    std::vector<uint32_t> index;  // MOR ids of its index columns
    uint32_t rowsPerNeighbour;
};

const Table kTables[] = {
    {"RemTable_GetNext", 12, {0x2320C01, 0x2320C02, 0x2320C03, 0x2320C04}, 1},
    {"RemManAddr_GetNext", 13, {0x2320C01, 0x2320C02, 0x2320C03, 0x2320C04, 0x2320D01, 0x2320D02}, 2},
    {"RemUnknownTLV_GetNext", 14, {0x2320C01, 0x2320C02, 0x2320C03, 0x2320C04, 0x2320E01}, 2},
    {"RemOrgDefInfo_GetNext", 15, {0x2320C01, 0x2320C02, 0x2320C03, 0x2320C04, 0x2320F01, 0x2320F02, 0x2320F03}, 2},
};

struct Stack {
    uint32_t neighbours = 0;
    std::map<uint32_t, std::vector<host::MorMessage>> requests;  // by table: get-next from random rows
    std::string error;
};

std::unique_ptr<lldpv2test::Module> g_module;
Stack g_stack;

// Two management addresses, unknown TLVs and organizationally defined TLVs
// each, given out of order so that the daemons sort them.
lldp::Lldpdu NeighbourPdu(uint32_t i) {
    lldp::Lldpdu pdu = lldpv2bench::BasicNeighbourPdu(i);
    for (uint8_t k : {2, 1}) {
        pdu.manAddrs.push_back({1, {10, k, uint8_t(i >> 8), uint8_t(i)}, 2, i % 1000 + 1, {0x2B, 6, 1, 4, 1}});
        pdu.unknownTlvs.push_back({uint8_t(100 + k), {k, 0xAA, 0xBB, 0xCC}});
        pdu.orgTlvs.push_back({lldp::Oui{0xAC, 0xDE, 0x48}, uint8_t(k), {k, 1, 2, 3, 4, 5, 6, 7}});
    }
    return pdu;
}

// A get-next request from the row whose index a reply gives.
host::MorMessage RequestFrom(const Table &t, const host::MorMessage &reply) {
    host::MorMessage request = host::MakeRequest(kOpGetNext, t.id);
    for (uint32_t id : t.index) {
        const host::MorParam *p = host::FindParam(reply, id);
        if (p != nullptr) request.params.push_back(*p);
    }
    return request;
}

const Stack &StackWith(uint32_t n) {
    if (g_stack.neighbours == n && g_module != nullptr) return g_stack;
    g_stack = Stack{};
    g_stack.neighbours = n;
    if (g_module == nullptr) g_module = std::make_unique<lldpv2test::Module>();
    g_stack.error = lldpv2bench::BuildStack(n, NeighbourPdu, lldpv2bench::TimeMarks::AllEqual);
    if (!g_stack.error.empty()) return g_stack;
    std::mt19937 rng(kSeed + n);
    for (const Table &t : kTables) {
        // The whole table, each row's get-next request; then random ones.
        std::vector<host::MorMessage> rows;
        host::MorMessage request = host::MakeRequest(kOpGetNext, t.id);
        host::MorMessage reply;
        while (host::Deliver(kModuleId, request, reply) == 0 && rows.size() <= size_t{n} * t.rowsPerNeighbour) {
            request = RequestFrom(t, reply);
            rows.push_back(request);
        }
        if (rows.size() != size_t{n} * t.rowsPerNeighbour) {
            g_stack.error = std::string(t.name) + ": a walk found " + std::to_string(rows.size()) + " rows";
            return g_stack;
        }
        std::uniform_int_distribution<size_t> pick(0, rows.size() - 2);  // each with a next row
        std::vector<host::MorMessage> &out = g_stack.requests[t.id];
        for (uint32_t s = 0; s < kSamples; ++s) out.push_back(rows[pick(rng)]);
    }
    std::fprintf(stderr, "built %u neighbours\n", n);
    return g_stack;
}

void BM_GetNext(benchmark::State &state, uint32_t table) {
    const Stack &stack = StackWith(uint32_t(state.range(0)));
    if (!stack.error.empty()) {
        state.SkipWithError(stack.error.c_str());
        return;
    }
    std::vector<host::MorMessage> requests = stack.requests.at(table);
    host::MorMessage reply;
    uint32_t failures = 0;
    uint32_t s = 0;
    for (auto _ : state) {
        const uint32_t rc = host::Deliver(kModuleId, requests[s++ & (kSamples - 1)], reply);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(reply.params.data());
        failures += rc != 0;
    }
    if (failures != 0) state.SkipWithError("a get-next failed");
}

// Prints each table's cost over the remote table's at the same N.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            const int64_t n = std::stoll(run.run_name.args);
            double &cost = costs_[n][run.run_name.function_name];
            if (cost == 0 || run.GetAdjustedCPUTime() < cost) cost = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        auto &out = GetOutputStream();
        char line[256];
        std::snprintf(line, sizeof line, "\n%-28s %8s %10s %12s\n", "cost / RemTable_GetNext", "N", "ns/call", "ratio");
        out << line;
        for (const auto &[n, byName] : costs_) {
            auto base = byName.find(kTables[0].name);
            if (base == byName.end()) continue;
            for (const Table &t : kTables) {
                auto it = byName.find(t.name);
                if (it == byName.end()) continue;
                const double ratio = it->second / base->second;
                std::snprintf(line, sizeof line, "%-28s %8lld %10.0f %12.2f  %s\n", t.name, static_cast<long long>(n),
                              it->second, ratio, t.id == 12 ? "" : ratio <= 1.5 ? "ok (target <= 1.5)" : "ABOVE TARGET (<= 1.5)");
                out << line;
            }
        }
        out.flush();
    }

private:
    std::map<int64_t, std::map<std::string, double>> costs_;
};

}  // namespace

int main(int argc, char **argv) {
    if (!lldpv2bench::InitializeBenchmarks(argc, argv)) return 1;
    // N is the outer loop: the stack is one process-wide model, built once per N.
    for (int64_t n : {1000, 10000, 100000}) {
        for (const Table &t : kTables) benchmark::RegisterBenchmark(t.name, BM_GetNext, t.id)->Arg(n);
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    g_module.reset();
    return 0;
}
