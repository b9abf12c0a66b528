// In-memory form of one compiled MIB tree, built from libsmi and the MIB
// texts, before it is written out as C++ records.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mibgen {

using Oid = std::vector<uint32_t>;

std::string OidText(const Oid &oid);

// Node kinds, syntax codes, access and status codes as the agent reads them
// (they mirror the enums of lldpv2/mib_node.h).
enum Kind : uint32_t {
    kTable = 0,
    kEntry = 1,
    kColumn = 2,
    kScalar = 3,
    kBranch = 4,
    kNotification = 5,
    kScalarGroup = 6,
};

enum SyntaxCode : uint32_t {
    kInteger = 0,
    kInteger32 = 1,
    kEnum = 2,
    kUnsigned32 = 3,
    kZeroBasedCounter = 5,
    kCounter32 = 7,
    kTimeTicks = 9,
    kOctetString = 10,
    kObjectIdentifier = 11,
    kBits = 17,
};

enum Access : uint32_t {
    kNotAccessible = 0,
    kReadOnly = 2,
    kReadWrite = 3,
    kReadCreate = 4,
    kBranchAccess = 6,
};

enum Status : uint32_t {
    kStatusNone = 0,
    kStatusBorrowed = 1,
    kStatusCurrent = 5,
};

struct Range {
    int64_t min = 0;
    int64_t max = 0;
};

struct NamedValue {
    std::string label;
    int64_t value = 0;
};

struct Restriction {
    bool named = false;  // named values (enumeration, BITS) or ranges
    std::vector<Range> ranges;
    std::vector<NamedValue> values;
    std::string origin;  // the type or object the restriction is written on

    // Identifies equal restrictions, which the writer emits once.
    std::string Key() const;
};

struct Syntax {
    uint32_t code = 0;
    std::optional<Restriction> restriction;
    std::string typeName;  // for comments only
};

struct Node {
    std::string name;
    Oid oid;
    uint32_t kind = kBranch;
    uint32_t status = kStatusNone;
    uint32_t access = kBranchAccess;
    uint32_t morId = 0;
    std::string defaultValue;
    std::optional<Syntax> syntax;               // columns and scalars
    std::vector<std::string> index;             // entries: index columns, in index order
    std::string indexEntry;                     // entries and columns: entry whose index list applies
    std::vector<std::string> notificationObjects;

    bool IsLeaf() const { return kind == kColumn || kind == kScalar; }
};

// What goes into one tree.
struct TreeLayout {
    std::string prefix;          // record prefix, e.g. "lldpv2_tree"
    std::string registeredName;  // name the tree is registered under
    std::vector<std::string> modules;  // MIB modules whose objects the tree holds
};

struct Tree {
    TreeLayout layout;
    std::map<Oid, Node> nodes;  // in lexicographic OID order
    std::vector<std::string> sourceModules;  // the tree's modules and those it borrows from
};

// Loads the MIB modules from `mibDir` and builds the three trees. Throws
// std::runtime_error with a readable message on any inconsistency.
std::vector<Tree> BuildTrees(const std::string &mibDir);

}  // namespace mibgen
