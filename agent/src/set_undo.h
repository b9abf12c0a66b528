// What a failed set puts back. Before anything of a set is written, the agent
// reads, for every row (or scalar) the set writes, what its writable columns
// hold and, in a table with a RowStatus column, whether the row exists. When
// a later write of the same set fails, every row that was written goes back
// to that: a row the set created is destroyed, a row it destroyed is created
// again with its previous columns, and changed columns take their previous
// values.
#pragma once

#include <cstddef>
#include <vector>

#include "engine.h"

namespace lldpv2agent {

// RowStatus values a set sends to undo a creation or a destruction.
enum : int64_t { kRowStatusActive = 1, kRowStatusCreateAndGo = 4, kRowStatusDestroy = 6 };

struct RowSnapshot {
    // The RowStatus column of the row's table, null for scalars and tables
    // without one.
    const MIB_NODE_S *rowStatus = nullptr;
    Index index;               // the row's index (empty for a scalar)
    bool existed = true;       // the row was there before the set
    std::vector<SetTarget> columns;  // writable columns and the values they held
    // The same columns in the other rows of the same port (first index):
    // a write may change them too, as when a port transmits one VLAN name
    // and enabling another one disables the first.
    std::vector<SetTarget> siblings;
};

// The RowStatus column of the table a column belongs to, or null.
const MIB_NODE_S *RowStatusColumnOf(const MIB_NODE_S *column);

// Reads what the group's row holds before the set. False when it cannot be
// read (a failed read, as opposed to a row that is not there): such a set
// could not be undone and is refused before anything is written.
bool TakeSnapshot(Engine &engine, const std::vector<SetTarget> &targets, const SetGroup &group, RowSnapshot &out);

// Brings the row back to the snapshot; false when a write needed for that
// fails (the set then answers undoFailed).
bool Restore(Engine &engine, const RowSnapshot &snapshot);

bool SameValue(const SnmpValue &a, const SnmpValue &b);

}  // namespace lldpv2agent
