// Rows of tables that get-next walks found, kept while the platform's data
// generation stays the same, so that a walk of the next column (or the same
// walk again) is answered without asking the module.
//
// Only what a walk has seen is kept: for each table, the chain of rows a
// get-next from the start of a column and then from each row found in turn
// answered, with every column the module's reply carried. A get-next is
// answered from the cache only where it repeats a step of that chain: from
// the start of a column, or from the instance of a kept row (the next kept
// row, or the end of the table once the chain reached it). Anything else
// goes to the module. Rows are kept in the order the walk found them, which
// is the order of their instances, so a kept row is found by binary search.
//
// Only tables whose answers change with nothing but the data generation may
// be kept: the platform changes the generation whenever what a read of them
// could answer may have changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <unordered_map>
#include <vector>

#include "codec.h"
#include "lldpv2/mib_node.h"
#include "lldpv2host/mor_host.h"
#include "mib_tree.h"

namespace lldpv2agent {

// The subtrees whose tables the agent keeps: the remote data, whose rows
// change only with what the daemons receive, age or are told.
const std::vector<Oid> &RemoteDataSubtrees();

// The budget of kept rows when none is configured.
constexpr size_t kDefaultRowCacheBytes = size_t{64} << 20;

class RowCache {
public:
    // The platform's data generation.
    using GenerationFn = std::function<uint64_t()>;
    // Brings the platform up to date before a get-next is answered (the
    // agent moves the daemons' clock to now, so that what is due by now has
    // happened, as it does before each request to the module).
    using RefreshFn = std::function<void()>;

    // Tables under one of subtrees are kept, up to budgetBytes of rows in all.
    RowCache(GenerationFn generation, RefreshFn refresh, std::vector<Oid> subtrees, size_t budgetBytes);

    class Table;
    // The kept table of a column, or null when its table is not kept.
    Table *TableOf(const MibTree &tree, const MIB_NODE_S *leaf);

    enum class Hit { Miss, Found, End };
    // Answers a get-next of leaf from instance when the walk has taken that
    // step before: Found (oid and value hold the instance found) or End.
    Hit Next(Table &table, const MIB_NODE_S *leaf, const Oid &leafOid, std::span<const uint32_t> instance,
             Oid &oid, SnmpValue &value);
    // What the module answered for a get-next from instance that Next could
    // not answer: the row with the instance found, whose columns reply
    // holds, or the end of the table. Kept only if the generation is still
    // the one Next saw.
    void Found(Table &table, std::span<const uint32_t> instance, std::span<const uint32_t> found,
               const lldpv2host::MorMessage &reply);
    void End(Table &table, std::span<const uint32_t> instance);

    // Forgets every table (their node records may go with a tree).
    void Clear();

    size_t Bytes() const { return bytes_; }

    class Table {
    public:
        size_t Rows() const { return arcStart_.size() - 1; }

    private:
        friend class RowCache;
        // The column's position among the kept columns, or -1.
        int ColumnOf(const MIB_NODE_S *leaf) const;
        std::span<const uint32_t> InstanceOf(size_t row) const;
        // The kept row with this instance, or Rows().
        size_t Find(std::span<const uint32_t> instance) const;
        void Reset();

        bool kept = false;
        std::vector<const MIB_NODE_S *> columns;  // served columns of the table's own MOR table
        std::vector<uint32_t> arcs;               // instances, one after the other
        std::vector<uint32_t> arcStart_{0};       // per row, and one past the last
        std::vector<uint8_t> values;              // per row, every column's value
        std::vector<uint32_t> valueStart_{0};
        bool complete = false;  // the chain reached the end of the table
        bool full = false;      // no more rows fit the budget
        mutable size_t hint = 0;  // the row a walk is likely to go on from
    };

private:
    // Forgets every kept row when the generation changed.
    void Sync();
    // Nothing changed since Next looked.
    bool Unchanged() const { return generation_() == seen_; }
    bool Kept(const MibTree &tree, const MIB_NODE_S *entry) const;
    void Append(Table &table, std::span<const uint32_t> found, const lldpv2host::MorMessage &reply);

    GenerationFn generation_;
    RefreshFn refresh_;
    std::vector<Oid> subtrees_;
    size_t budget_;
    size_t bytes_ = 0;
    uint64_t seen_ = 0;
    std::unordered_map<const MIB_NODE_S *, Table> tables_;  // by entry node
    const MIB_NODE_S *lastEntry_ = nullptr;
    Table *lastTable_ = nullptr;
};

}  // namespace lldpv2agent
