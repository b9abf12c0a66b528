#include "engine.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <map>

#include "agent_log.h"
#include <tuple>

namespace lldpv2agent {

namespace {

// Bound on the rows a get-next skips when a module's row order disagrees
// with the order of the encoded instances (or the start index was beyond a
// column's range): a walk never loops.
constexpr int kMaxSkippedRows = 100000;

bool IsScalar(const MIB_NODE_S *leaf) { return leaf->kind == MIB_KIND_SCALAR; }

}  // namespace

int GetExceptionOf(uint32_t code) {
    switch (code) {
        case kMorNoProcessor:
        case kMorNotServed:
            return SNMP_NOSUCHOBJECT;
        case kMorNoSuchInstance:
        case kMorNoNextInstance:
        case kMorEndOfTable:
        case kMorServiceDown:
        case kDaemonNoEntry:
        case kDaemonNoSuchRow:
            return SNMP_NOSUCHINSTANCE;
        default:
            return 0;
    }
}

WalkStep WalkStepOf(uint32_t code) {
    switch (code) {
        case kMorNoNextInstance:
        case kMorEndOfTable:
        case kMorNoSuchInstance:
        case kMorServiceDown:
        case kDaemonNoEntry:
        case kDaemonNoSuchRow:
            return WalkStep::NextLeaf;
        case kMorNoProcessor:
        case kMorNotServed:
            return WalkStep::SkipTable;
        default:
            return WalkStep::Fail;
    }
}

int SetErrorOf(uint32_t code) {
    switch (code) {
        case kMorSetRefused:
        case kMorBadRowStatus:
            return SNMP_ERR_WRONGVALUE;
        case kMorRowNotUsable:
        case kMorRowConflict:
            return SNMP_ERR_INCONSISTENTVALUE;
        case kMorCreateRefused:
        case kMorServiceDown:
            return SNMP_ERR_RESOURCEUNAVAILABLE;
        case kMorRowMissing:
        case kMorNoSuchInstance:
            return SNMP_ERR_NOCREATION;
        case kMorReadOnly:
        case kMorNoProcessor:
        case kMorNotServed:
            return SNMP_ERR_NOTWRITABLE;
        default:
            return SNMP_ERR_GENERR;
    }
}

size_t SetGroup::Blame(uint32_t paraIndex) const {
    if (paraIndex == MOR_PARA_INDEX_ALL || paraIndex < indexParams) return members.front();
    size_t pos = paraIndex - indexParams;
    return pos < members.size() ? members[pos] : members.front();
}

std::vector<SetGroup> GroupSets(const std::vector<SetTarget> &targets) {
    std::vector<SetGroup> groups;
    // Rows by (module, table, instance) -> group position.
    std::map<std::tuple<uint32_t, uint32_t, Oid>, size_t> rows;
    for (size_t i = 0; i < targets.size(); ++i) {
        const SetTarget &t = targets[i];
        uint32_t module = ModuleOf(t.leaf->morId);
        uint32_t table = TableOf(t.leaf->morId);
        size_t g = groups.size();
        if (!IsScalar(t.leaf)) {
            Oid instance;
            EncodeInstance(t.leaf->indexList, t.index, instance);
            auto [it, added] = rows.emplace(std::make_tuple(module, table, std::move(instance)), g);
            g = it->second;
            if (added) groups.emplace_back();
        } else {
            groups.emplace_back();
        }
        SetGroup &group = groups[g];
        if (group.members.empty()) {
            group.moduleId = module;
            group.request = lldpv2host::MakeRequest(MOR_OP_SET, table);
            if (!IsScalar(t.leaf)) {
                AddIndexParams(group.request, t.leaf->indexList, t.index);
                group.indexParams = group.request.params.size();
            }
        }
        AddValueParam(group.request, t.leaf, t.value);
        group.members.push_back(i);
    }
    return groups;
}

Engine::Engine(DeliverFn deliver)
    : deliver_(std::move(deliver)), skips_([](const std::string &line) { Log(LOG_WARNING, line); }) {}

uint32_t Engine::Send(uint32_t moduleId, lldpv2host::MorMessage &request, lldpv2host::MorMessage &reply) {
    uint32_t status = deliver_(moduleId, request, reply);
    if (status == 0 && reply.hasError) status = reply.errorCode != 0 ? reply.errorCode : kMorNotServed;
    return status;
}

Engine::IndexBuffers &Engine::BuffersFor(const MIB_INDEX_LIST_S *list) {
    if (list != lastList_ || lastBuffers_ == nullptr) {
        lastBuffers_ = &indexBuffers_[list];
        lastList_ = list;
    }
    return *lastBuffers_;
}

void Engine::ReadLeaf(const MIB_NODE_S *leaf, const Index *index, GetResult &result) {
    result.exception = 0;
    result.failed = false;
    lldpv2host::Reuse(request_, MOR_OP_GET, TableOf(leaf->morId));
    if (index != nullptr) AddIndexParams(request_, leaf->indexList, *index);
    lldpv2host::AddColumn(request_, leaf->morId);
    uint32_t status = Send(ModuleOf(leaf->morId), request_, reply_);
    if (status != 0) {
        result.exception = GetExceptionOf(status);
        result.failed = result.exception == 0;
        if (result.failed) snmp_log(LOG_WARNING, "get of %s failed: 0x%X\n", leaf->name, status);
        return;
    }
    const lldpv2host::MorParam *param = lldpv2host::FindParam(reply_, leaf->morId);
    if (param == nullptr) {
        result.exception = SNMP_NOSUCHINSTANCE;
        return;
    }
    if (!ValueFromParamInto(leaf, *param, result.value)) {
        snmp_log(LOG_WARNING, "reply for %s does not fit its syntax: %s\n", leaf->name,
                 lldpv2host::Describe(reply_).c_str());
        result.failed = true;
    }
}

GetResult Engine::Get(const MibTree &tree, std::span<const uint32_t> oid) {
    GetResult result;
    Get(tree, oid, result);
    return result;
}

void Engine::Get(const MibTree &tree, std::span<const uint32_t> oid, GetResult &result) {
    result.exception = 0;
    result.failed = false;
    Location loc = tree.Locate(oid);
    if (!loc.inTree || !IsServedLeaf(loc.node)) {
        result.exception = SNMP_NOSUCHOBJECT;
        return;
    }
    const MIB_NODE_S *leaf = loc.node;
    std::span<const uint32_t> instance = oid.subspan(loc.depth);
    if (IsScalar(leaf)) {
        if (instance.size() != 1 || instance[0] != 0) {
            result.exception = SNMP_NOSUCHINSTANCE;
            return;
        }
        ReadLeaf(leaf, nullptr, result);
        return;
    }
    if (leaf->indexList == nullptr) {
        result.exception = SNMP_NOSUCHOBJECT;
        return;
    }
    Index &index = BuffersFor(leaf->indexList).index;
    if (!DecodeInstanceInto(leaf->indexList, instance, index)) {
        result.exception = SNMP_NOSUCHINSTANCE;
        return;
    }
    ReadLeaf(leaf, &index, result);
}

void Engine::NextInColumn(const MibTree &tree, const MIB_NODE_S *leaf, std::span<const uint32_t> instance,
                          WalkStep &step, NextResult &result) {
    result.status = NextResult::End;
    const MIB_INDEX_LIST_S *list = leaf->indexList;
    if (list == nullptr) {
        step = WalkStep::NextLeaf;
        return;
    }
    const Oid &leafOid = tree.OidOf(leaf);
    IndexBuffers &buffers = BuffersFor(list);
    StartIndex &start = buffers.start;
    Index &found = buffers.found;

    RowCache::Table *kept = rows_ != nullptr ? rows_->TableOf(tree, leaf) : nullptr;
    if (kept != nullptr) {
        switch (rows_->Next(*kept, leaf, leafOid, instance, result.oid, result.value)) {
            case RowCache::Hit::Found:
                result.status = NextResult::Found;
                return;
            case RowCache::Hit::End:
                step = WalkStep::NextLeaf;
                return;
            case RowCache::Hit::Miss:
                break;
        }
    }

    DecodeStartInto(list, instance, start);
    if (start.padded && start.values.size() == list->count) {
        // The smallest index that the cut-short instance prefixes follows
        // the instance itself, and a get-next from it would pass it by.
        ReadLeaf(leaf, &start.values, exact_);
        if (!exact_.failed && exact_.exception == 0) {
            result.status = NextResult::Found;
            result.oid = leafOid;
            EncodeInstance(list, start.values, result.oid);
            std::swap(result.value, exact_.value);
            return;
        }
    }

    Index &from = start.values;
    for (int skipped = 0; skipped < kMaxSkippedRows; ++skipped) {
        lldpv2host::Reuse(request_, MOR_OP_GETNEXT, TableOf(leaf->morId));
        AddIndexParams(request_, list, from);
        lldpv2host::AddColumn(request_, leaf->morId);
        uint32_t status = Send(ModuleOf(leaf->morId), request_, reply_);
        if (status != 0) {
            step = WalkStepOf(status);
            if (step == WalkStep::Fail) {
                snmp_log(LOG_WARNING, "get-next of %s failed: 0x%X\n", leaf->name, status);
                result.status = NextResult::Failed;
            } else if (step == WalkStep::NextLeaf && kept != nullptr) {
                rows_->End(*kept, instance);
            }
            return;
        }
        bool indexed = IndexFromReplyInto(list, reply_, found);
        const lldpv2host::MorParam *param = lldpv2host::FindParam(reply_, leaf->morId);
        bool value = indexed && param != nullptr && ValueFromParamInto(leaf, *param, result.value);
        if (!indexed || !value) {
            snmp_log(LOG_WARNING, "get-next reply for %s lacks its index or value: %s\n", leaf->name,
                     lldpv2host::Describe(reply_).c_str());
            result.status = NextResult::Failed;
            return;
        }
        result.oid = leafOid;
        EncodeInstance(list, found, result.oid);
        std::span<const uint32_t> foundInstance = std::span<const uint32_t>(result.oid).subspan(leafOid.size());
        if (!DecodeInstanceInto(list, foundInstance, buffers.check)) {
            // An index its own syntax refuses could not be asked for by get:
            // the row is passed over so that walk and get agree (the VLAN id
            // 0 rows of the VLAN transmit tables, DCBX application rows of
            // the reserved selector 0).
            const MIB_NODE_S *table = leaf->parent != nullptr ? leaf->parent->parent : nullptr;
            skips_.Skipped(table != nullptr ? table->name : leaf->name);
            if (LogEnabled(LOG_DEBUG)) {
                snmp_log(LOG_DEBUG, "get-next reply for %s names an instance outside its index syntax: %s\n",
                         leaf->name, lldpv2host::Describe(reply_).c_str());
            }
        } else if (CompareOid(foundInstance, instance) > 0) {
            // Both instances follow the leaf's OID: comparing them compares
            // the whole OIDs.
            result.status = NextResult::Found;
            if (kept != nullptr) rows_->Found(*kept, instance, foundInstance, reply_);
            return;
        }
        if (found == from) break;  // no progress: the module repeats itself
        std::swap(from, found);
    }
    step = WalkStep::NextLeaf;
    if (kept != nullptr) rows_->End(*kept, instance);
}

NextResult Engine::GetNext(const MibTree &tree, std::span<const uint32_t> oid, bool inclusive,
                           std::span<const uint32_t> limit) {
    NextResult result;
    GetNext(tree, oid, inclusive, limit, result);
    return result;
}

void Engine::GetNext(const MibTree &tree, std::span<const uint32_t> oid, bool inclusive,
                     std::span<const uint32_t> limit, NextResult &result) {
    result.status = NextResult::End;
    MibTree::Start start = tree.StartOf(oid);
    if (inclusive && start.leaf != nullptr && !start.instance.empty()) {
        Get(tree, oid, exact_);
        if (exact_.exception == 0 && !exact_.failed) {
            result.status = NextResult::Found;
            result.oid.assign(oid.begin(), oid.end());
            std::swap(result.value, exact_.value);
            return;
        }
    }
    const MIB_NODE_S *leaf = start.leaf;
    std::span<const uint32_t> instance = start.instance;
    while (leaf != nullptr) {
        const Oid &leafOid = tree.OidOf(leaf);
        if (!limit.empty() && CompareOid(leafOid, limit) >= 0) break;
        WalkStep step = WalkStep::NextLeaf;
        if (!IsServedLeaf(leaf)) {
            step = WalkStep::NextLeaf;
        } else if (IsScalar(leaf)) {
            // A scalar has the one instance .0, which follows only the bare
            // scalar OID.
            if (instance.empty()) {
                ReadLeaf(leaf, nullptr, exact_);
                if (exact_.failed) {
                    result.status = NextResult::Failed;
                    return;
                }
                if (exact_.exception == 0) {
                    result.status = NextResult::Found;
                    result.oid = leafOid;
                    result.oid.push_back(0);
                    std::swap(result.value, exact_.value);
                    return;
                }
                if (exact_.exception == SNMP_NOSUCHOBJECT) step = WalkStep::SkipTable;
            }
        } else {
            NextInColumn(tree, leaf, instance, step, result);
            if (result.status != NextResult::End) return;
        }
        const MIB_NODE_S *next = leaf->nextLeaf;
        if (step == WalkStep::SkipTable) {
            // Every leaf of a table (or scalar group) without a processor
            // gives the same answer: pass them all.
            uint32_t morId = leaf->morId;
            while (next != nullptr && next->morId != 0 && ModuleOf(next->morId) == ModuleOf(morId) &&
                   TableOf(next->morId) == TableOf(morId) && next->parent == leaf->parent) {
                next = next->nextLeaf;
            }
        }
        leaf = next;
        instance = {};
    }
}

int Engine::ResolveSet(const MibTree &tree, std::span<const uint32_t> oid, const SnmpValue &value,
                       SetTarget &target) {
    Location loc = tree.Locate(oid);
    if (!loc.inTree || !IsServedLeaf(loc.node)) return SNMP_ERR_NOTWRITABLE;
    const MIB_NODE_S *leaf = loc.node;
    if (int err = CheckSetValue(leaf, value)) return err;
    std::span<const uint32_t> instance = oid.subspan(loc.depth);
    target.leaf = leaf;
    target.value = value;
    target.index.clear();
    if (IsScalar(leaf)) return instance.size() == 1 && instance[0] == 0 ? SNMP_ERR_NOERROR : SNMP_ERR_NOCREATION;
    std::optional<Index> index = DecodeInstance(leaf->indexList, instance);
    if (!index) return SNMP_ERR_NOCREATION;
    target.index = std::move(*index);
    return SNMP_ERR_NOERROR;
}

GetResult Engine::Read(const SetTarget &target) {
    GetResult result;
    ReadLeaf(target.leaf, IsScalar(target.leaf) ? nullptr : &target.index, result);
    return result;
}

bool Engine::RowsWithPrefix(const MIB_NODE_S *leaf, const Index &prefix, size_t limit,
                            std::vector<std::pair<Index, SnmpValue>> &rows) {
    const MIB_INDEX_LIST_S *list = leaf->indexList;
    if (list == nullptr || prefix.size() > list->count) return false;
    Index from = prefix;
    while (rows.size() < limit) {
        lldpv2host::MorMessage request = lldpv2host::MakeRequest(MOR_OP_GETNEXT, TableOf(leaf->morId));
        AddIndexParams(request, list, from);
        lldpv2host::AddColumn(request, leaf->morId);
        lldpv2host::MorMessage reply;
        uint32_t status = Send(ModuleOf(leaf->morId), request, reply);
        if (status != 0) return WalkStepOf(status) != WalkStep::Fail;
        std::optional<Index> found = IndexFromReply(list, reply);
        const lldpv2host::MorParam *param = lldpv2host::FindParam(reply, leaf->morId);
        std::optional<SnmpValue> value;
        if (param != nullptr) value = ValueFromParam(leaf, *param);
        if (!found || !value) return false;
        if (!std::equal(prefix.begin(), prefix.end(), found->begin()) || *found == from) return true;
        rows.emplace_back(*found, std::move(*value));
        from = std::move(*found);
    }
    return true;
}

void Engine::KeepRows(RowCache::GenerationFn generation, RowCache::RefreshFn refresh, std::vector<Oid> subtrees,
                      size_t budgetBytes) {
    rows_ = std::make_unique<RowCache>(std::move(generation), std::move(refresh), std::move(subtrees), budgetBytes);
}

void Engine::ForgetRows() {
    if (rows_ != nullptr) rows_->Clear();
}

uint32_t Engine::Apply(SetGroup &group, uint32_t &paraIndex) {
    lldpv2host::MorMessage reply;
    uint32_t status = deliver_(group.moduleId, group.request, reply);
    paraIndex = MOR_PARA_INDEX_ALL;
    if (status != 0 || reply.hasError) {
        if (reply.hasError) paraIndex = reply.errorIndex;
        if (status == 0) status = reply.errorCode != 0 ? reply.errorCode : kMorNotServed;
    }
    return status;
}

}  // namespace lldpv2agent
