#include "set_undo.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <string_view>

namespace lldpv2agent {

namespace {

bool IsWritable(const MIB_NODE_S *n) {
    return n->access == MIB_ACCESS_READ_WRITE || n->access == MIB_ACCESS_READ_CREATE;
}

// Bound on the rows of one port read for one column (a port has at most one
// row per VLAN id).
constexpr size_t kMaxSiblings = 8192;

enum class Presence { Present, Absent, Unknown };

// Reads one column of a row into value.
Presence ReadColumn(Engine &engine, const MIB_NODE_S *leaf, const Index &index, SnmpValue &value) {
    SetTarget t;
    t.leaf = leaf;
    t.index = index;
    GetResult r = engine.Read(t);
    if (r.failed) return Presence::Unknown;
    if (r.exception != 0) return Presence::Absent;
    value = std::move(r.value);
    return Presence::Present;
}

SetTarget Target(const MIB_NODE_S *leaf, const Index &index, SnmpValue value) {
    SetTarget t;
    t.leaf = leaf;
    t.index = index;
    t.value = std::move(value);
    return t;
}

SnmpValue Integer(int64_t n) {
    SnmpValue v;
    v.type = ASN_INTEGER;
    v.number = n;
    return v;
}

// Writes targets as one set would (a row's columns in one request); false
// when one request fails.
bool Write(Engine &engine, const std::vector<SetTarget> &targets) {
    if (targets.empty()) return true;
    bool ok = true;
    for (SetGroup &group : GroupSets(targets)) {
        uint32_t paraIndex = MOR_PARA_INDEX_ALL;
        uint32_t status = engine.Apply(group, paraIndex);
        if (status != 0) {
            snmp_log(LOG_ERR, "undo of a failed set: write of %s refused: 0x%X\n",
                     targets[group.Blame(paraIndex)].leaf->name, status);
            ok = false;
        }
    }
    return ok;
}

}  // namespace

bool SameValue(const SnmpValue &a, const SnmpValue &b) {
    return a.type == b.type && a.number == b.number && a.octets == b.octets && a.objectId == b.objectId;
}

const MIB_NODE_S *RowStatusColumnOf(const MIB_NODE_S *column) {
    if (column == nullptr || column->kind != MIB_KIND_COLUMN || column->parent == nullptr) return nullptr;
    for (const MIB_NODE_S *c = column->parent->firstChild; c != nullptr; c = c->nextSibling) {
        std::string_view name = c->name != nullptr ? c->name : "";
        if (c->kind == MIB_KIND_COLUMN && c->access == MIB_ACCESS_READ_CREATE && name.ends_with("RowStatus")) return c;
    }
    return nullptr;
}

bool TakeSnapshot(Engine &engine, const std::vector<SetTarget> &targets, const SetGroup &group, RowSnapshot &out) {
    out = RowSnapshot{};
    const SetTarget &first = targets.at(group.members.front());
    out.index = first.index;
    out.rowStatus = RowStatusColumnOf(first.leaf);

    std::vector<const MIB_NODE_S *> columns;
    if (out.rowStatus != nullptr) {
        SnmpValue status;
        Presence p = ReadColumn(engine, out.rowStatus, out.index, status);
        if (p == Presence::Unknown) return false;
        out.existed = p == Presence::Present;
        if (!out.existed) return true;
        // Every column the row would have to be created again with.
        for (const MIB_NODE_S *c = out.rowStatus->parent->firstChild; c != nullptr; c = c->nextSibling) {
            if (c != out.rowStatus && c->kind == MIB_KIND_COLUMN && IsWritable(c)) columns.push_back(c);
        }
    } else {
        for (size_t m : group.members) {
            const MIB_NODE_S *leaf = targets[m].leaf;
            if (IsWritable(leaf) && std::find(columns.begin(), columns.end(), leaf) == columns.end()) {
                columns.push_back(leaf);
            }
        }
    }
    for (const MIB_NODE_S *c : columns) {
        SnmpValue v;
        Presence p = ReadColumn(engine, c, out.index, v);
        if (p == Presence::Unknown) return false;
        // A column that is not there now cannot have been written: a set
        // of it fails in the module.
        if (p == Presence::Present) out.columns.push_back(Target(c, out.index, std::move(v)));
    }
    if (out.rowStatus == nullptr && out.index.size() > 1) {
        const Index port(out.index.begin(), out.index.begin() + 1);
        for (const MIB_NODE_S *c : columns) {
            std::vector<std::pair<Index, SnmpValue>> rows;
            if (!engine.RowsWithPrefix(c, port, kMaxSiblings, rows)) return false;
            for (auto &[index, value] : rows) {
                if (index != out.index) out.siblings.push_back(Target(c, index, std::move(value)));
            }
        }
    }
    return true;
}

bool Restore(Engine &engine, const RowSnapshot &snapshot) {
    bool exists = true;
    if (snapshot.rowStatus != nullptr) {
        SnmpValue status;
        Presence p = ReadColumn(engine, snapshot.rowStatus, snapshot.index, status);
        if (p == Presence::Unknown) return false;
        exists = p == Presence::Present;
        if (!snapshot.existed) {
            // Created by the set: destroyed again.
            if (!exists) return true;
            return Write(engine, {Target(snapshot.rowStatus, snapshot.index, Integer(kRowStatusDestroy))});
        }
        if (!exists) {
            // Destroyed by the set: created again with its previous columns.
            std::vector<SetTarget> row = snapshot.columns;
            row.push_back(Target(snapshot.rowStatus, snapshot.index, Integer(kRowStatusCreateAndGo)));
            return Write(engine, row);
        }
    }
    // Changed columns take their previous values; those that hold them
    // already are left alone (a column the module keeps read-only among them).
    // Then the other rows of the port, which the first writes may have moved.
    for (const std::vector<SetTarget> *targets : {&snapshot.columns, &snapshot.siblings}) {
        std::vector<SetTarget> changed;
        for (const SetTarget &before : *targets) {
            SnmpValue now;
            Presence p = ReadColumn(engine, before.leaf, before.index, now);
            if (p == Presence::Unknown) return false;
            if (p == Presence::Absent || !SameValue(now, before.value)) changed.push_back(before);
        }
        if (!Write(engine, changed)) return false;
    }
    return true;
}

}  // namespace lldpv2agent
