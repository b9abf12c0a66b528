#include "row_cache.h"

#include <algorithm>
#include <cstring>

namespace lldpv2agent {

namespace {

// Each column of a kept row: its value length in two octets (kAbsent when
// the reply did not carry the column), then the value bytes as the reply
// carried them, so that a kept value is converted exactly as a fresh one.
constexpr uint16_t kAbsent = 0xFFFF;
constexpr size_t kLengthSize = sizeof(uint16_t);

uint16_t LengthAt(const uint8_t *p) {
    uint16_t len = 0;
    std::memcpy(&len, p, sizeof len);
    return len;
}

// Fixed cost of a row besides its arcs and values: the two start offsets.
constexpr size_t kRowOverhead = 2 * sizeof(uint32_t);

// Only a step that continues the chain is kept: from the start of a column
// into an empty table, or from the last kept row.
bool ContinuesChain(size_t rows, std::span<const uint32_t> instance, std::span<const uint32_t> last) {
    if (instance.empty()) return rows == 0;
    return rows != 0 && CompareOid(last, instance) == 0;
}

bool SameIndex(const MIB_INDEX_LIST_S *a, const MIB_INDEX_LIST_S *b) {
    if (a == b) return true;
    if (a == nullptr || b == nullptr || a->count != b->count) return false;
    return std::equal(a->columns, a->columns + a->count, b->columns);
}

}  // namespace

const std::vector<Oid> &RemoteDataSubtrees() {
    static const std::vector<Oid> subtrees = {
        {1, 3, 111, 2, 802, 1, 1, 13, 1, 4},  // lldpV2RemoteSystemsData
    };
    return subtrees;
}

RowCache::RowCache(GenerationFn generation, RefreshFn refresh, std::vector<Oid> subtrees, size_t budgetBytes)
    : generation_(std::move(generation)),
      refresh_(std::move(refresh)),
      subtrees_(std::move(subtrees)),
      // Rows are found by 32-bit offsets.
      budget_(std::min<size_t>(budgetBytes, UINT32_MAX)) {}

int RowCache::Table::ColumnOf(const MIB_NODE_S *leaf) const {
    for (size_t i = 0; i < columns.size(); ++i) {
        if (columns[i] == leaf) return static_cast<int>(i);
    }
    return -1;
}

std::span<const uint32_t> RowCache::Table::InstanceOf(size_t row) const {
    return std::span<const uint32_t>(arcs).subspan(arcStart_[row], arcStart_[row + 1] - arcStart_[row]);
}

size_t RowCache::Table::Find(std::span<const uint32_t> instance) const {
    const size_t rows = Rows();
    // A walk asks from the row it was answered last; while the rows grow,
    // from the last one.
    for (size_t guess : {hint, rows - 1}) {
        if (guess < rows && CompareOid(InstanceOf(guess), instance) == 0) return guess;
    }
    size_t lo = 0;
    size_t hi = rows;
    while (lo < hi) {
        size_t mid = lo + (hi - lo) / 2;
        if (CompareOid(InstanceOf(mid), instance) < 0) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    return lo < rows && CompareOid(InstanceOf(lo), instance) == 0 ? lo : rows;
}

void RowCache::Table::Reset() {
    arcs.clear();
    arcStart_.assign(1, 0);
    values.clear();
    valueStart_.assign(1, 0);
    complete = false;
    full = false;
    hint = 0;
}

bool RowCache::Kept(const MibTree &tree, const MIB_NODE_S *entry) const {
    const Oid &oid = tree.OidOf(entry);
    return std::any_of(subtrees_.begin(), subtrees_.end(), [&](const Oid &s) { return IsPrefix(s, oid); });
}

RowCache::Table *RowCache::TableOf(const MibTree &tree, const MIB_NODE_S *leaf) {
    const MIB_NODE_S *entry = leaf->parent;
    if (entry == nullptr || entry->kind != MIB_KIND_ENTRY) return nullptr;
    if (entry == lastEntry_) return lastTable_->kept && lastTable_->ColumnOf(leaf) >= 0 ? lastTable_ : nullptr;
    auto [it, added] = tables_.try_emplace(entry);
    Table &table = it->second;
    if (added && Kept(tree, entry)) {
        // The columns that one get-next reply of the table's MOR table
        // answers together.
        uint32_t morTable = 0;
        for (const MIB_NODE_S *c = entry->firstChild; c != nullptr; c = c->nextSibling) {
            if (c->kind != MIB_KIND_COLUMN || !IsServedLeaf(c)) continue;
            uint32_t t = ModuleOf(c->morId) | lldpv2agent::TableOf(c->morId);
            if (table.columns.empty()) morTable = t;
            if (t == morTable && SameIndex(c->indexList, leaf->indexList)) table.columns.push_back(c);
        }
        table.kept = !table.columns.empty();
    }
    lastEntry_ = entry;
    lastTable_ = &table;
    return table.kept && table.ColumnOf(leaf) >= 0 ? &table : nullptr;
}

void RowCache::Sync() {
    uint64_t now = generation_();
    if (now == seen_) return;
    seen_ = now;
    for (auto &[entry, table] : tables_) table.Reset();
    bytes_ = 0;
}

RowCache::Hit RowCache::Next(Table &table, const MIB_NODE_S *leaf, const Oid &leafOid,
                             std::span<const uint32_t> instance, Oid &oid, SnmpValue &value) {
    if (refresh_) refresh_();
    Sync();
    const size_t rows = table.Rows();
    size_t next = 0;
    if (!instance.empty()) {
        size_t at = table.Find(instance);
        if (at == rows) return Hit::Miss;
        next = at + 1;
    }
    if (next == rows) return table.complete ? Hit::End : Hit::Miss;
    int column = table.ColumnOf(leaf);
    if (column < 0) return Hit::Miss;
    const uint8_t *p = table.values.data() + table.valueStart_[next];
    for (int i = 0; i < column; ++i) {
        uint16_t len = LengthAt(p);
        p += kLengthSize + (len == kAbsent ? 0 : len);
    }
    uint16_t len = LengthAt(p);
    if (len == kAbsent) return Hit::Miss;
    // A value its syntax refuses is the module's to answer again (as a
    // failure).
    if (!ValueFromBytesInto(leaf, std::span<const uint8_t>(p + kLengthSize, len), value)) return Hit::Miss;
    std::span<const uint32_t> found = table.InstanceOf(next);
    oid.assign(leafOid.begin(), leafOid.end());
    oid.insert(oid.end(), found.begin(), found.end());
    table.hint = next;
    return Hit::Found;
}


void RowCache::Found(Table &table, std::span<const uint32_t> instance, std::span<const uint32_t> found,
                     const lldpv2host::MorMessage &reply) {
    // A change while the module answered: its answer may be of either side.
    if (!Unchanged()) return;
    const size_t rows = table.Rows();
    if (table.complete || table.full) return;
    std::span<const uint32_t> last = rows == 0 ? std::span<const uint32_t>() : table.InstanceOf(rows - 1);
    if (!ContinuesChain(rows, instance, last)) return;
    // Kept rows are in the order of their instances; a module that answers
    // otherwise is not kept.
    if (rows != 0 && CompareOid(found, last) <= 0) {
        table.full = true;
        return;
    }
    Append(table, found, reply);
}

void RowCache::End(Table &table, std::span<const uint32_t> instance) {
    if (!Unchanged()) return;
    const size_t rows = table.Rows();
    if (table.complete || table.full) return;
    std::span<const uint32_t> last = rows == 0 ? std::span<const uint32_t>() : table.InstanceOf(rows - 1);
    if (ContinuesChain(rows, instance, last)) table.complete = true;
}

void RowCache::Append(Table &table, std::span<const uint32_t> found, const lldpv2host::MorMessage &reply) {
    size_t size = found.size() * sizeof(uint32_t) + kRowOverhead;
    for (const MIB_NODE_S *c : table.columns) {
        const lldpv2host::MorParam *param = lldpv2host::FindParam(reply, c->morId);
        size += kLengthSize + (param != nullptr && param->value.size() < kAbsent ? param->value.size() : 0);
    }
    if (bytes_ + size > budget_) {
        table.full = true;
        return;
    }
    bytes_ += size;
    table.arcs.insert(table.arcs.end(), found.begin(), found.end());
    table.arcStart_.push_back(static_cast<uint32_t>(table.arcs.size()));
    for (const MIB_NODE_S *c : table.columns) {
        const lldpv2host::MorParam *param = lldpv2host::FindParam(reply, c->morId);
        uint16_t len = param != nullptr && param->value.size() < kAbsent ? static_cast<uint16_t>(param->value.size())
                                                                          : kAbsent;
        const auto *l = reinterpret_cast<const uint8_t *>(&len);
        table.values.insert(table.values.end(), l, l + sizeof len);
        if (len != kAbsent) table.values.insert(table.values.end(), param->value.begin(), param->value.end());
    }
    table.valueStart_.push_back(static_cast<uint32_t>(table.values.size()));
}

void RowCache::Clear() {
    tables_.clear();
    lastEntry_ = nullptr;
    lastTable_ = nullptr;
    bytes_ = 0;
}

}  // namespace lldpv2agent
