// Walk-and-get checks over the MIB trees the module registered: every
// served column is walked with get-next from an empty index, as the agent
// walks it, and every instance found is read back with a get, which must
// answer the same value with the same type code.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "lldpv2host/registry.h"
#include "mor_client.h"

namespace lldpv2test {

// Rows walked per column at most: far above any scenario here, so that a
// walk that does not end fails instead of hanging.
inline constexpr size_t kMaxRows = 50000;

// Codes that end a walk of a column (no further instance).
inline const std::set<uint32_t> kEndCodes = {0x61010059, 0x61010051, 0x61010058, 0x40010003, 0x40010005};

// A served column: a leaf with a MOR id below a table entry.
struct Column {
    const MIB_NODE_S *node;
    std::string tree;
};

inline void CollectColumns(const MIB_NODE_S *node, const std::string &tree, std::map<uint32_t, Column> &out) {
    for (; node != nullptr; node = node->nextSibling) {
        // Served as the agent serves them: not the objects a tree borrows
        // from the interfaces group.
        if (node->kind == MIB_KIND_COLUMN && node->morId != 0 && node->access != MIB_ACCESS_NOT_ACCESSIBLE &&
            node->status != MIB_NODE_STATUS_BORROWED && node->indexList != nullptr) {
            out.emplace(node->morId, Column{node, tree});  // the first tree that has it
        }
        CollectColumns(node->firstChild, tree, out);
    }
}

inline std::map<uint32_t, Column> ServedColumns() {
    std::map<uint32_t, Column> columns;
    for (const lldpv2host::RegisteredTree &t : lldpv2host::RegisteredTrees()) CollectColumns(t.root, t.name, columns);
    return columns;
}

inline std::string Hex(const std::vector<uint8_t> &bytes) {
    std::ostringstream s;
    s << std::hex;
    for (uint8_t b : bytes) s << (b < 16 ? "0" : "") << static_cast<int>(b);
    return s.str();
}

inline std::string Show(const lldpv2host::MorParam &p) {
    std::ostringstream s;
    s << "type " << p.type << " value " << Hex(p.value);
    return s.str();
}

// The index parameters of a found row, copied from a get-next reply; empty
// when the reply lacks one of them.
inline std::vector<lldpv2host::MorParam> IndexOf(const MIB_INDEX_LIST_S &list, const lldpv2host::MorMessage &reply) {
    std::vector<lldpv2host::MorParam> index;
    for (uint32_t i = 0; i < list.count; ++i) {
        const lldpv2host::MorParam *p = lldpv2host::FindParam(reply, list.columns[i]->morId);
        if (p == nullptr) return {};
        index.push_back(*p);
    }
    return index;
}

inline lldpv2host::MorMessage Request(uint32_t opType, uint32_t morId, const std::vector<lldpv2host::MorParam> &index) {
    lldpv2host::MorMessage request = lldpv2host::MakeRequest(opType, lldpv2host::MorTableOf(morId));
    request.params = index;
    lldpv2host::AddColumn(request, morId);
    return request;
}

// What one column's walk found and where it disagreed with the gets.
struct ColumnReport {
    size_t rows = 0;
    std::vector<std::string> problems;
};

inline ColumnReport WalkAndGet(const MIB_NODE_S &column) {
    ColumnReport report;
    std::vector<lldpv2host::MorParam> from;
    std::set<std::vector<std::vector<uint8_t>>> seen;
    for (;;) {
        lldpv2host::MorMessage request = Request(MOR_OP_GETNEXT, column.morId, from);
        lldpv2host::MorMessage next;
        const uint32_t status = lldpv2host::Deliver(kModuleId, request, next);
        if (status != 0) {
            if (kEndCodes.count(status) == 0) {
                std::ostringstream s;
                s << "walk ended with 0x" << std::hex << status << " after " << std::dec << report.rows << " rows";
                report.problems.push_back(s.str());
            }
            return report;
        }
        const std::vector<lldpv2host::MorParam> index = IndexOf(*column.indexList, next);
        const lldpv2host::MorParam *walked = lldpv2host::FindParam(next, column.morId);
        if (index.empty() || walked == nullptr) {
            report.problems.push_back("get-next reply without its index or column: " + lldpv2host::Describe(next));
            return report;
        }
        std::vector<std::vector<uint8_t>> key;
        for (const auto &p : index) key.push_back(p.value);
        if (!seen.insert(key).second || ++report.rows > kMaxRows) {
            report.problems.push_back("the walk does not end; it repeats " + lldpv2host::Describe(next));
            return report;
        }

        lldpv2host::MorMessage get = Request(MOR_OP_GET, column.morId, index);
        lldpv2host::MorMessage got;
        const uint32_t getStatus = lldpv2host::Deliver(kModuleId, get, got);
        const lldpv2host::MorParam *read = lldpv2host::FindParam(got, column.morId);
        if (getStatus != 0 || read == nullptr) {
            std::ostringstream s;
            s << "walked " << lldpv2host::Describe(next) << " but get " << lldpv2host::Describe(get) << " answers 0x" << std::hex << getStatus << " "
              << lldpv2host::Describe(got);
            report.problems.push_back(s.str());
        } else if (read->type != walked->type || read->value != walked->value) {
            report.problems.push_back("instance " + lldpv2host::Describe(next) + ": walk " + Show(*walked) +
                                      ", get " + Show(*read));
        }
        from = index;
    }
}

}  // namespace lldpv2test
