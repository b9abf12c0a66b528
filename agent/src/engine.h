// Answers SNMP operations on one compiled tree by MOR requests to the module
// that owns each leaf: get, get-next (walking leaves and table rows) and the
// checks and grouping of a set.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "codec.h"
#include "lldpv2host/mor_host.h"
#include "mib_tree.h"
#include "row_cache.h"
#include "skip_log.h"

namespace lldpv2agent {

// MOR status codes the agent tells apart.
enum : uint32_t {
    kMorNoProcessor = 0x61010041,
    kMorBadRowStatus = 0x61010048,
    kMorSetRefused = 0x61010049,
    kMorRowNotUsable = 0x6101004A,
    kMorCreateRefused = 0x6101004B,
    kMorRowConflict = 0x6101004C,
    kMorReadOnly = 0x6101004F,
    kMorRowMissing = 0x61010050,
    kMorEndOfTable = 0x61010051,
    kMorNotServed = 0x61010052,
    kMorServiceDown = 0x61010057,
    kMorNoSuchInstance = 0x61010058,
    kMorNoNextInstance = 0x61010059,
    // Daemon statuses that processors pass on unchanged at the end of a
    // table or for a row that is not there.
    kDaemonNoEntry = 0x40010003,
    kDaemonNoSuchRow = 0x40010005,
};

// What a failed MOR get means for an SNMP get: an SNMP exception
// (SNMP_NOSUCHOBJECT or SNMP_NOSUCHINSTANCE), or 0 for genErr.
int GetExceptionOf(uint32_t code);
// What a failed MOR get-next (or the get of a scalar during a walk) means.
enum class WalkStep { NextLeaf, SkipTable, Fail };
WalkStep WalkStepOf(uint32_t code);
// The SNMP error a failed MOR set is reported as.
int SetErrorOf(uint32_t code);

using DeliverFn = std::function<uint32_t(uint32_t moduleId, lldpv2host::MorMessage &request,
                                         lldpv2host::MorMessage &reply)>;

struct GetResult {
    int exception = 0;    // SNMP_NOSUCHOBJECT / SNMP_NOSUCHINSTANCE, or 0
    bool failed = false;  // genErr
    SnmpValue value;
};

struct NextResult {
    enum Status { Found, End, Failed } status = End;
    Oid oid;
    SnmpValue value;
};

// One varbind of a set, resolved against the tree.
struct SetTarget {
    const MIB_NODE_S *leaf = nullptr;
    Index index;  // empty for a scalar
    SnmpValue value;
};

// The MOR set requests for a list of resolved varbinds: the columns of one
// row of one table go together (so that a row is created or changed by one
// request); every scalar goes alone, since a scalar group's processor may
// stop after the first value it writes.
struct SetGroup {
    uint32_t moduleId = 0;
    lldpv2host::MorMessage request;
    std::vector<size_t> members;  // positions in the target list, in parameter order
    size_t indexParams = 0;       // index parameters ahead of the values
    // The varbind to blame for a MOR error at a parameter position.
    size_t Blame(uint32_t paraIndex) const;
};
std::vector<SetGroup> GroupSets(const std::vector<SetTarget> &targets);

class Engine {
public:
    explicit Engine(DeliverFn deliver);

    GetResult Get(const MibTree &tree, std::span<const uint32_t> oid);
    // The same into result, whose buffers are reused: with the engine's own
    // request, reply and index buffers, a get allocates nothing once they
    // have grown to fit.
    void Get(const MibTree &tree, std::span<const uint32_t> oid, GetResult &result);

    // The first served instance after oid (at or after it when inclusive),
    // stopping before limit (empty: no limit).
    NextResult GetNext(const MibTree &tree, std::span<const uint32_t> oid, bool inclusive,
                       std::span<const uint32_t> limit);
    // The same into result, whose buffers are reused.
    void GetNext(const MibTree &tree, std::span<const uint32_t> oid, bool inclusive, std::span<const uint32_t> limit,
                 NextResult &result);

    // Resolves and checks one set varbind; 0 or the SNMP error.
    int ResolveSet(const MibTree &tree, std::span<const uint32_t> oid, const SnmpValue &value, SetTarget &target);

    // Reads the current value of a set target (for undo).
    GetResult Read(const SetTarget &target);

    // Every row of a column whose index begins with prefix, with the
    // column's value, in the module's order; at most limit rows. False when
    // a request fails or a reply is malformed.
    bool RowsWithPrefix(const MIB_NODE_S *leaf, const Index &prefix, size_t limit,
                        std::vector<std::pair<Index, SnmpValue>> &rows);

    // Delivers a set group; 0 or the MOR status.
    uint32_t Apply(SetGroup &group, uint32_t &paraIndex);

    // From now on, keeps the rows that get-next walks find in the tables
    // under subtrees, up to budgetBytes, while generation stays the same
    // (see RowCache).
    void KeepRows(RowCache::GenerationFn generation, RowCache::RefreshFn refresh, std::vector<Oid> subtrees,
                  size_t budgetBytes);
    // Forgets the kept rows: call when a tree is added or removed.
    void ForgetRows();
    // The kept rows, or null when none are kept.
    const RowCache *KeptRows() const { return rows_.get(); }

private:
    uint32_t Send(uint32_t moduleId, lldpv2host::MorMessage &request, lldpv2host::MorMessage &reply);
    void ReadLeaf(const MIB_NODE_S *leaf, const Index *index, GetResult &result);
    void NextInColumn(const MibTree &tree, const MIB_NODE_S *leaf, std::span<const uint32_t> instance,
                      WalkStep &step, NextResult &result);

    DeliverFn deliver_;
    SkipLog skips_;
    // The index buffers of one table: the decoded and replied indexes of a
    // get or get-next on it. Kept per table, so that a walk passing from one
    // table to another with more index columns does not grow them again.
    struct IndexBuffers {
        Index index;
        StartIndex start;
        Index found;
        Index check;
    };
    IndexBuffers &BuffersFor(const MIB_INDEX_LIST_S *list);

    // Reused by every get and get-next (one at a time): the MOR messages,
    // the index buffers and an exact read inside a get-next.
    lldpv2host::MorMessage request_;
    lldpv2host::MorMessage reply_;
    std::unordered_map<const MIB_INDEX_LIST_S *, IndexBuffers> indexBuffers_;
    const MIB_INDEX_LIST_S *lastList_ = nullptr;
    IndexBuffers *lastBuffers_ = nullptr;
    GetResult exact_;
    std::unique_ptr<RowCache> rows_;
};

}  // namespace lldpv2agent
