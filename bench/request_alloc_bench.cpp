// Heap allocations per varbind on the request path.
//
//   request_alloc_bench [--scenario FILE] [--passes N]
//
// Loads a scenario (default: the built-in one) and the module (dlopen, as the
// agent does), then answers every instance of every registered tree twice:
//   MOR requests    a get-next request per row of each table column, and a
//                   get of the row it answered, with one request and one
//                   reply message reused throughout (as the agent keeps
//                   them), delivered to the module;
//   agent engine    the agent's get-next walk of each tree (Engine::GetNext)
//                   and a get of every instance it returned (Engine::Get),
//                   into reused results.
// The first pass lets the reused buffers grow to their working size; the
// allocations of the later passes are counted by this program's own
// operator new / malloc and reported per varbind, split by where they were
// made: the platform services the module calls (the daemons' LLDP_* queries,
// the interface and device manager), the module, the MOR layer, the agent.
// The remote systems data subtree (lldpV2RemoteSystemsData) is also reported
// on its own.
#include <dlfcn.h>
#include <execinfo.h>
#include <stdio.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "engine.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/mor_host.h"
#include "lldpv2host/registry.h"
#include "lldpv2host/scenario.h"
#include "mib_tree.h"
#include "module_loader.h"

// The counting allocator: every operator new and every malloc family call of
// the process (the shared libraries' too) while counting is on, each charged
// to a part of the request path by its call stack (see Part). With
// LLDPV2_ALLOC_TRACE=N in the environment, the call stacks of the first N
// allocations charged to the MOR layer or the agent also go to standard error
// (addresses in this program: addr2line -f -C -e request_alloc_bench ADDR).
namespace {

// Where an allocation was made, by the innermost frame that tells:
enum Part {
    kPlatformServices,  // a platform call the module makes (daemon queries
                        // LLDP_*, interface and device manager IF_* / DEV_*)
    kModule,            // the module's own code (liblldpv2mib)
    kMorLayer,          // the MOR layer (MOR_* and lldpv2host:: in liblldpv2host)
    kAgent,             // anything else: the agent's code in this program
    kParts
};
constexpr const char *kPartNames[kParts] = {"platform services", "module", "MOR layer", "agent"};

std::atomic<bool> g_counting{false};
std::atomic<uint64_t> g_allocations{0};
std::atomic<uint64_t> g_byPart[kParts];
uint64_t g_traceLimit = 0;

bool StartsWith(const char *s, const char *prefix) { return std::strncmp(s, prefix, std::strlen(prefix)) == 0; }

// The MOR layer's own functions (liblldpv2host exports them; the rest of
// that library is the platform the module calls).
bool IsMorFunction(const char *name) {
    static const char *const kNames[] = {"MOR_", "_ZN10lldpv2host6Deliver", "_ZN10lldpv2host8AddBytes",
                                         "_ZN10lldpv2host9AddUint32", "_ZN10lldpv2host9AddColumn",
                                         "_ZN10lldpv2host5Reuse", "_ZN10lldpv2host11MakeRequest"};
    for (const char *prefix : kNames) {
        if (StartsWith(name, prefix)) return true;
    }
    return false;
}

Part PartOf(void *const *frames, int depth) {
    for (int i = 2; i < depth; ++i) {  // past Count and the allocation function
        Dl_info info{};
        if (dladdr(frames[i], &info) == 0 || info.dli_fname == nullptr) continue;
        const char *file = std::strrchr(info.dli_fname, '/');
        file = file != nullptr ? file + 1 : info.dli_fname;
        if (StartsWith(file, "liblldpv2mib")) return kModule;
        if (!StartsWith(file, "liblldpv2host")) continue;
        // Functions without an exported name are inside the one that calls them.
        if (info.dli_sname == nullptr) continue;
        return IsMorFunction(info.dli_sname) ? kMorLayer : kPlatformServices;
    }
    return kAgent;
}

inline void Count() {
    if (!g_counting.load(std::memory_order_relaxed)) return;
    g_counting = false;  // what follows may allocate
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    void *frames[48];
    const int depth = backtrace(frames, 48);
    const Part part = PartOf(frames, depth);
    g_byPart[part].fetch_add(1, std::memory_order_relaxed);
    static uint64_t traced = 0;
    if ((part == kMorLayer || part == kAgent) && traced < g_traceLimit) {
        dprintf(2, "allocation in the %s:\n", kPartNames[part]);
        backtrace_symbols_fd(frames, depth, 2);
        ++traced;
    }
    g_counting = true;
}

}  // namespace

extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void *__libc_memalign(size_t, size_t);
void __libc_free(void *);

void *malloc(size_t n) noexcept {
    Count();
    return __libc_malloc(n);
}
void *calloc(size_t n, size_t size) noexcept {
    Count();
    return __libc_calloc(n, size);
}
void *realloc(void *p, size_t n) noexcept {
    Count();
    return __libc_realloc(p, n);
}
void *memalign(size_t align, size_t n) noexcept {
    Count();
    return __libc_memalign(align, n);
}
void *aligned_alloc(size_t align, size_t n) noexcept {
    Count();
    return __libc_memalign(align, n);
}
int posix_memalign(void **out, size_t align, size_t n) noexcept {
    Count();
    void *p = __libc_memalign(align, n);
    if (p == nullptr) return ENOMEM;
    *out = p;
    return 0;
}
void free(void *p) noexcept { __libc_free(p); }
}

void *operator new(size_t n) {
    Count();
    if (void *p = __libc_malloc(n == 0 ? 1 : n)) return p;
    throw std::bad_alloc();
}
void *operator new[](size_t n) { return operator new(n); }
void *operator new(size_t n, std::align_val_t a) {
    Count();
    if (void *p = __libc_memalign(static_cast<size_t>(a), n == 0 ? 1 : n)) return p;
    throw std::bad_alloc();
}
void *operator new[](size_t n, std::align_val_t a) { return operator new(n, a); }
void operator delete(void *p) noexcept { __libc_free(p); }
void operator delete[](void *p) noexcept { __libc_free(p); }
void operator delete(void *p, size_t) noexcept { __libc_free(p); }
void operator delete[](void *p, size_t) noexcept { __libc_free(p); }
void operator delete(void *p, std::align_val_t) noexcept { __libc_free(p); }
void operator delete[](void *p, std::align_val_t) noexcept { __libc_free(p); }
void operator delete(void *p, size_t, std::align_val_t) noexcept { __libc_free(p); }
void operator delete[](void *p, size_t, std::align_val_t) noexcept { __libc_free(p); }

namespace {

namespace host = lldpv2host;
using lldpv2agent::Engine;
using lldpv2agent::MibTree;
using lldpv2agent::Oid;

// The remote systems data subtree of the LLDP-V2-MIB.
const Oid kRemoteSystemsData = {1, 3, 111, 2, 802, 1, 1, 13, 1, 4};

struct Tally {
    uint64_t varbinds = 0;
    uint64_t allocations[kParts] = {};
    void Add(const Tally &t) {
        varbinds += t.varbinds;
        for (int p = 0; p < kParts; ++p) allocations[p] += t.allocations[p];
    }
    void Print(const char *what) const {
        std::printf("  %-40s %9llu", what, static_cast<unsigned long long>(varbinds));
        for (int p = 0; p < kParts; ++p) {
            std::printf(" %12.4f", varbinds == 0 ? 0.0 : static_cast<double>(allocations[p]) / static_cast<double>(varbinds));
        }
        std::printf("\n");
    }
};

// Counts the allocations of fn, which returns the varbinds it answered
// (counting only when count is true).
template <typename Fn>
void Measure(bool count, Tally &tally, Fn &&fn) {
    uint64_t before[kParts];
    for (int p = 0; p < kParts; ++p) before[p] = g_byPart[p].load();
    g_counting = count;
    tally.varbinds += fn();
    g_counting = false;
    for (int p = 0; p < kParts; ++p) tally.allocations[p] += g_byPart[p].load() - before[p];
}

// Bound on the rows of one column a walk takes (a loop guard).
constexpr uint64_t kMaxRowsPerColumn = 10'000'000;

// Every row of one table column through the MOR layer: get-next from the
// previous row's index, then a get of that row. Returns the varbinds.
uint64_t WalkColumn(const MIB_NODE_S *leaf, host::MorMessage &request, host::MorMessage &reply,
                    host::MorMessage &index, bool &broken) {
    const MIB_INDEX_LIST_S *list = leaf->indexList;
    const uint32_t module = lldpv2agent::ModuleOf(leaf->morId);
    const uint32_t table = lldpv2agent::TableOf(leaf->morId);
    uint64_t varbinds = 0;
    host::Reuse(index, 0, 0);
    for (uint64_t row = 0; row < kMaxRowsPerColumn; ++row) {
        host::Reuse(request, MOR_OP_GETNEXT, table);
        for (const host::MorParam &p : index.params) host::AddBytes(request, p.morId, p.value.data(), p.value.size(), p.type);
        host::AddColumn(request, leaf->morId);
        uint32_t status = host::Deliver(module, request, reply);
        if (status != 0 || reply.hasError || host::FindParam(reply, leaf->morId) == nullptr) break;
        ++varbinds;
        // The row's index, for the get and the next get-next.
        host::Reuse(index, 0, 0);
        bool whole = true;
        for (uint32_t i = 0; i < list->count; ++i) {
            const host::MorParam *p = host::FindParam(reply, list->columns[i]->morId);
            if (p == nullptr) {
                whole = false;
                break;
            }
            host::AddBytes(index, p->morId, p->value.data(), p->value.size(), p->type);
        }
        if (!whole) {
            broken = true;
            break;
        }
        host::Reuse(request, MOR_OP_GET, table);
        for (const host::MorParam &p : index.params) host::AddBytes(request, p.morId, p.value.data(), p.value.size(), p.type);
        host::AddColumn(request, leaf->morId);
        status = host::Deliver(module, request, reply);
        if (status == 0 && !reply.hasError && host::FindParam(reply, leaf->morId) != nullptr) ++varbinds;
    }
    return varbinds;
}

// Every column of every table of the tree through the MOR layer.
uint64_t WalkTreeMor(const MibTree &tree, const Oid *within, host::MorMessage &request, host::MorMessage &reply,
                     host::MorMessage &index, bool &broken) {
    uint64_t varbinds = 0;
    for (const MIB_NODE_S *leaf = MibTree::FirstLeafFrom(tree.Root()); leaf != nullptr; leaf = leaf->nextLeaf) {
        if (!lldpv2agent::IsServedLeaf(leaf) || leaf->kind != MIB_KIND_COLUMN || leaf->indexList == nullptr) continue;
        if (within != nullptr && !lldpv2agent::IsPrefix(*within, tree.OidOf(leaf))) continue;
        varbinds += WalkColumn(leaf, request, reply, index, broken);
    }
    return varbinds;
}

// The agent's walk of the tree (or of the part under within) and, when
// gets, a get of every instance it answers.
uint64_t WalkTreeEngine(Engine &engine, const MibTree &tree, const Oid *within, lldpv2agent::NextResult &next,
                        lldpv2agent::GetResult &got, Oid &at, bool &broken, bool gets = true) {
    uint64_t varbinds = 0;
    if (within != nullptr) {
        at = *within;
    } else {
        at = tree.OidOf(tree.Root());
    }
    Oid limit;  // empty: the whole tree; the walk stops when it leaves `within`
    for (uint64_t n = 0; n < kMaxRowsPerColumn; ++n) {
        engine.GetNext(tree, at, false, limit, next);
        if (next.status != lldpv2agent::NextResult::Found) {
            broken = next.status == lldpv2agent::NextResult::Failed;
            break;
        }
        if (within != nullptr && !lldpv2agent::IsPrefix(*within, next.oid)) break;
        ++varbinds;
        if (!gets) {
            at.swap(next.oid);
            continue;
        }
        engine.Get(tree, next.oid, got);
        if (got.failed) {
            broken = true;
            break;
        }
        if (got.exception == 0) ++varbinds;
        at.swap(next.oid);
    }
    return varbinds;
}

}  // namespace

int main(int argc, char **argv) {
    std::string scenario;
    int passes = 2;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--scenario" && i + 1 < argc) {
            scenario = argv[++i];
        } else if (arg == "--passes" && i + 1 < argc) {
            passes = std::max(2, std::atoi(argv[++i]));
        } else {
            std::fprintf(stderr, "usage: request_alloc_bench [--scenario FILE] [--passes N]\n");
            return 2;
        }
    }

    if (const char *trace = std::getenv("LLDPV2_ALLOC_TRACE")) g_traceLimit = std::strtoull(trace, nullptr, 10);
    {
        void *frames[4];
        backtrace(frames, 4);  // loads what backtrace needs before anything is counted
    }
    std::string error;
    bool loaded = scenario.empty() ? host::LoadDefaultScenario(&error) : host::LoadScenarioFile(scenario, &error);
    if (!loaded) {
        std::fprintf(stderr, "cannot load the scenario: %s\n", error.c_str());
        return 1;
    }
    auto module = std::make_unique<lldpv2test::Module>();
    std::vector<std::unique_ptr<MibTree>> trees;
    for (const host::RegisteredTree &t : host::RegisteredTrees()) {
        if (t.root != nullptr) trees.push_back(std::make_unique<MibTree>(t.name, t.root));
    }
    if (trees.empty()) {
        std::fprintf(stderr, "the module registered no tree\n");
        return 1;
    }

    host::MorMessage request, reply, index;
    Engine engine([](uint32_t moduleId, host::MorMessage &req, host::MorMessage &rep) {
        return host::Deliver(moduleId, req, rep);
    });
    // The agent as it runs: walks of the remote systems data answered from
    // the rows it kept.
    Engine keeping([](uint32_t moduleId, host::MorMessage &req, host::MorMessage &rep) {
        return host::Deliver(moduleId, req, rep);
    });
    keeping.KeepRows(host::DataGeneration, nullptr, lldpv2agent::RemoteDataSubtrees(), lldpv2agent::kDefaultRowCacheBytes);
    lldpv2agent::NextResult next;
    lldpv2agent::GetResult got;
    Oid at;
    bool broken = false;

    Tally morAll, morRemote, engineAll, engineRemote, keptRemote;
    for (int pass = 0; pass < passes; ++pass) {
        Tally mor, morRem, eng, engRem, kept;
        for (const auto &tree : trees) {
            const bool count = pass > 0;  // the first pass lets the buffers grow
            Measure(count, mor, [&] { return WalkTreeMor(*tree, nullptr, request, reply, index, broken); });
            Measure(count, morRem, [&] { return WalkTreeMor(*tree, &kRemoteSystemsData, request, reply, index, broken); });
            Measure(count, eng, [&] { return WalkTreeEngine(engine, *tree, nullptr, next, got, at, broken); });
            Measure(count, engRem, [&] { return WalkTreeEngine(engine, *tree, &kRemoteSystemsData, next, got, at, broken); });
            // Only the tree that holds the remote systems data: a walk of
            // another would ask the module once for where it ends.
            if (tree->Locate(kRemoteSystemsData).depth == kRemoteSystemsData.size()) {
                Measure(count, kept, [&] {
                    return WalkTreeEngine(keeping, *tree, &kRemoteSystemsData, next, got, at, broken, false);
                });
            }
        }
        if (pass == 0) continue;
        morAll.Add(mor);
        morRemote.Add(morRem);
        engineAll.Add(eng);
        engineRemote.Add(engRem);
        keptRemote.Add(kept);
    }
    if (broken) {
        std::fprintf(stderr, "a walk ended on a malformed or failed reply\n");
        return 1;
    }
    std::printf("heap allocations per varbind on the request path, %d counted pass(es) after one warm-up pass\n",
                passes - 1);
    std::printf("  %-40s %9s", "requests", "varbinds");
    for (int p = 0; p < kParts; ++p) std::printf(" %12s", kPartNames[p]);
    std::printf("\n");
    morAll.Print("MOR requests, every table column");
    morRemote.Print("MOR requests, remote systems data");
    engineAll.Print("agent engine, every tree");
    engineRemote.Print("agent engine, remote systems data");
    keptRemote.Print("agent engine, kept rows, remote walk");
    return 0;
}
