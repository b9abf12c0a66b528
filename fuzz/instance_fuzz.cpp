// Instance identifiers decoded into index values by the agent, with the
// index lists of every table of the three trees: a whole instance decodes
// only when it encodes back to itself; a get-next start never fails.
#include <vector>

#include "codec.h"
#include "fuzz_common.h"
#include "lldpv2host/registry.h"

namespace {

std::vector<const MIB_INDEX_LIST_S *> g_lists;

void Collect(const MIB_NODE_S *n) {
    for (; n != nullptr; n = n->nextSibling) {
        if (n->kind == MIB_KIND_ENTRY && n->indexList != nullptr) g_lists.push_back(n->indexList);
        Collect(n->firstChild);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    lldpv2fuzz::LoadModule();
    for (const lldpv2host::RegisteredTree &t : lldpv2host::RegisteredTrees()) Collect(t.root);
    if (g_lists.empty()) lldpv2fuzz::Fault("no table in the trees");
    return 0;
}

// Input: an octet choosing the table, then sub-identifiers, each one octet
// (below 0xF0) or 0xF0..0xFF followed by four octets.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    lldpv2fuzz::Bytes in(data, size);
    const MIB_INDEX_LIST_S *list = g_lists[in.U8() % g_lists.size()];
    std::vector<uint32_t> arcs;
    while (!in.Empty() && arcs.size() < 300) {
        const uint8_t b = in.U8();
        arcs.push_back(b < 0xF0 ? b : in.U32());
    }
    const std::optional<lldpv2agent::Index> index = lldpv2agent::DecodeInstance(list, arcs);
    if (index) {
        lldpv2agent::Oid back;
        lldpv2agent::EncodeInstance(list, *index, back);
        if (back != arcs) lldpv2fuzz::Fault("a decoded instance encodes to another one");
    }
    const lldpv2agent::StartIndex start = lldpv2agent::DecodeStart(list, arcs);
    if (start.values.size() > list->count) lldpv2fuzz::Fault("more index values than columns");
    if (!start.values.empty()) {
        // A whole start index, when its instance is valid, decodes back to itself.
        lldpv2agent::Oid prefix;
        if (start.values.size() == list->count) {
            lldpv2agent::EncodeInstance(list, start.values, prefix);
            (void)lldpv2agent::DecodeInstance(list, prefix);
        }
    }
    return 0;
}
