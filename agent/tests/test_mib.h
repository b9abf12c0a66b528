// A small MIB and a module that serves it through MOR requests, shaped like
// the LLDP-V2 trees: a scalar group answered by get only, a table with an
// integer, a length-prefixed string and a fixed-size string index, a column
// without MOR id, a table without processor and a BITS scalar.
#pragma once

#include <map>

#include "codec.h"
#include "engine.h"
#include "fake_tree.h"

namespace lldpv2test {

using lldpv2agent::Oid;

// MOR ids of the test MIB (module 0x2320000).
enum : uint32_t {
    kTxInterval = 0x2320201,
    kMode = 0x2320202,
    kCounter = 0x2320203,
    kRowIfIndex = 0x2320301,
    kRowName = 0x2320302,
    kRowOui = 0x2320303,
    kRowValue = 0x2320304,
    kRowStatus = 0x2320305,
    kAbsentIfIndex = 0x2320401,
    kAbsentData = 0x2320402,
    kBits = 0x2320501,
};

// OID of the test subtree: iso.org.9
inline const Oid kTop = {1, 3, 9};

// a followed by b.
inline Oid Cat(Oid a, const Oid &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct TestMib {
    FakeTree tree;
    MIB_NODE_S *txInterval, *mode, *counter;
    MIB_NODE_S *entry, *ifIndex, *name, *oui, *value, *status, *cn;
    MIB_NODE_S *absentEntry, *bits;

    TestMib() {
        MIB_NODE_S *org = tree.Branch(tree.Root(), 3, "org");
        MIB_NODE_S *top = tree.Branch(org, 9, "test");
        MIB_NODE_S *scalars = tree.Branch(top, 1, "scalars", MIB_KIND_SCALAR_GROUP);
        txInterval = tree.Leaf(scalars, 1, "txInterval", MIB_KIND_SCALAR, MIB_SYNTAX_UNSIGNED32,
                               MIB_ACCESS_READ_WRITE, kTxInterval, {{5, 32768}});
        mode = tree.Leaf(scalars, 2, "mode", MIB_KIND_SCALAR, MIB_SYNTAX_ENUM, MIB_ACCESS_READ_WRITE, kMode, {},
                         {{"on", 1}, {"off", 2}});
        counter = tree.Leaf(scalars, 3, "counter", MIB_KIND_SCALAR, MIB_SYNTAX_COUNTER32, MIB_ACCESS_READ_ONLY,
                            kCounter);

        MIB_NODE_S *table = tree.Branch(top, 2, "rowTable", MIB_KIND_TABLE);
        entry = tree.Branch(table, 1, "rowEntry", MIB_KIND_ENTRY);
        ifIndex = tree.Leaf(entry, 1, "rowIfIndex", MIB_KIND_COLUMN, MIB_SYNTAX_INTEGER32,
                            MIB_ACCESS_NOT_ACCESSIBLE, kRowIfIndex, {{1, 100}});
        name = tree.Leaf(entry, 2, "rowName", MIB_KIND_COLUMN, MIB_SYNTAX_OCTET_STRING, MIB_ACCESS_NOT_ACCESSIBLE,
                         kRowName, {{1, 8}});
        oui = tree.Leaf(entry, 3, "rowOui", MIB_KIND_COLUMN, MIB_SYNTAX_OCTET_STRING, MIB_ACCESS_NOT_ACCESSIBLE,
                        kRowOui, {{3, 3}});
        value = tree.Leaf(entry, 4, "rowValue", MIB_KIND_COLUMN, MIB_SYNTAX_UNSIGNED32, MIB_ACCESS_READ_CREATE,
                          kRowValue);
        status = tree.Leaf(entry, 5, "rowStatus", MIB_KIND_COLUMN, MIB_SYNTAX_ENUM, MIB_ACCESS_READ_ONLY,
                           kRowStatus, {}, {{"up", 1}, {"down", 2}});
        cn = tree.Leaf(entry, 6, "rowCn", MIB_KIND_COLUMN, MIB_SYNTAX_ENUM, MIB_ACCESS_READ_ONLY, 0);
        tree.Index(entry, {ifIndex, name, oui});

        MIB_NODE_S *absent = tree.Branch(top, 3, "absentTable", MIB_KIND_TABLE);
        absentEntry = tree.Branch(absent, 1, "absentEntry", MIB_KIND_ENTRY);
        MIB_NODE_S *absentIndex = tree.Leaf(absentEntry, 1, "absentIfIndex", MIB_KIND_COLUMN, MIB_SYNTAX_INTEGER32,
                                            MIB_ACCESS_NOT_ACCESSIBLE, kAbsentIfIndex);
        tree.Leaf(absentEntry, 2, "absentData", MIB_KIND_COLUMN, MIB_SYNTAX_UNSIGNED32, MIB_ACCESS_READ_ONLY,
                  kAbsentData);
        tree.Index(absentEntry, {absentIndex});

        MIB_NODE_S *more = tree.Branch(top, 4, "moreScalars", MIB_KIND_SCALAR_GROUP);
        bits = tree.Leaf(more, 1, "bits", MIB_KIND_SCALAR, MIB_SYNTAX_BITS, MIB_ACCESS_READ_WRITE, kBits, {},
                         {{"x", 0}, {"y", 1}, {"z", 9}});
        tree.Finish();
    }
};

// Rows of the test table by their instance (which orders them as a walk does).
struct Row {
    uint32_t value = 0;
    uint32_t status = 1;
    lldpv2agent::Index index;  // as the module reports it
};

// A module answering the test MIB as the LLDP module answers its tables.
class FakeModule {
public:
    explicit FakeModule(const TestMib &mib) : mib_(mib) {}

    std::map<uint32_t, uint32_t> scalars = {{kTxInterval, 30}, {kMode, 1}, {kCounter, 7}};
    std::vector<uint8_t> bits = {0x80, 0x40};
    std::map<Oid, Row> rows;  // keyed by encoded instance
    std::vector<lldpv2host::MorMessage> requests;

    void AddRow(uint32_t ifIndex, const std::string &name, const std::vector<uint32_t> &oui, uint32_t value,
                uint32_t status) {
        lldpv2agent::Index index{{ifIndex, {}}, {0, {name.begin(), name.end()}}, {0, oui}};
        Oid instance;
        lldpv2agent::EncodeInstance(mib_.entry->indexList, index, instance);
        rows[instance] = Row{value, status, index};
    }

    lldpv2agent::DeliverFn Deliver() {
        return [this](uint32_t module, lldpv2host::MorMessage &req, lldpv2host::MorMessage &reply) {
            requests.push_back(req);
            reply = lldpv2host::MorMessage{};
            if (module != 0x2320000) return Fail(reply, 0x61010041);
            switch (req.tableId) {
                case 2: return Scalars(req, reply);
                case 3: return Table(req, reply);
                case 5: return Bits(req, reply);
                default: return Fail(reply, 0x61010041);
            }
        };
    }

private:
    static uint32_t Fail(lldpv2host::MorMessage &reply, uint32_t code, uint32_t at = MOR_PARA_INDEX_ALL) {
        reply.hasError = true;
        reply.errorCode = code;
        reply.errorIndex = at;
        return code;
    }

    uint32_t Scalars(lldpv2host::MorMessage &req, lldpv2host::MorMessage &reply) {
        if (req.opType == MOR_OP_GET) {
            const auto &p = req.params.back();
            if (!scalars.contains(p.morId)) return Fail(reply, 0x61010052, 0);
            lldpv2host::AddUint32(reply, p.morId, scalars[p.morId]);
            return 0;
        }
        if (req.opType == MOR_OP_SET) {
            const auto &p = req.params.front();
            uint32_t v = lldpv2host::ParamU32(p);
            if (v == 999) return Fail(reply, 0x61010049);
            scalars[p.morId] = v;
            return 0;
        }
        return Fail(reply, 0x61010052);
    }

    uint32_t Bits(lldpv2host::MorMessage &req, lldpv2host::MorMessage &reply) {
        if (req.opType != MOR_OP_GET) return Fail(reply, 0x61010052);
        lldpv2host::AddBytes(reply, kBits, bits.data(), bits.size());
        return 0;
    }

    // The index parameters of a request as the instance they start.
    Oid RequestInstance(const lldpv2host::MorMessage &req, size_t &count) {
        lldpv2agent::Index index;
        for (const auto &p : req.params) {
            if (p.morId == kRowIfIndex) index.push_back({lldpv2host::ParamU32(p), {}});
            if (p.morId == kRowName || p.morId == kRowOui) index.push_back({0, {p.value.begin(), p.value.end()}});
        }
        count = index.size();
        Oid instance;
        lldpv2agent::EncodeInstance(mib_.entry->indexList, index, instance);
        return instance;
    }

    uint32_t Table(lldpv2host::MorMessage &req, lldpv2host::MorMessage &reply) {
        size_t given = 0;
        Oid instance = RequestInstance(req, given);
        if (req.opType == MOR_OP_SET) {
            auto it = rows.find(instance);
            if (given != 3) return Fail(reply, 0x61010058, 0);
            for (size_t i = 0; i < req.params.size(); ++i) {
                if (req.params[i].morId == kRowValue) {
                    uint32_t v = lldpv2host::ParamU32(req.params[i]);
                    if (v == 999) return Fail(reply, 0x61010049, static_cast<uint32_t>(i));
                    if (it == rows.end()) it = rows.emplace(instance, Row{}).first;
                    it->second.value = v;
                } else if (req.params[i].morId == kRowStatus) {
                    return Fail(reply, 0x6101004F, static_cast<uint32_t>(i));
                }
            }
            return 0;
        }
        std::map<Oid, Row>::iterator it;
        if (req.opType == MOR_OP_GET) {
            it = given == 3 ? rows.find(instance) : rows.end();
            if (it == rows.end()) return Fail(reply, 0x61010058);
        } else if (req.opType == MOR_OP_GETNEXT) {
            // A whole index asks for the row after it; a partial one for the
            // first row it prefixes or that follows it.
            it = given == 3 ? rows.upper_bound(instance) : rows.lower_bound(instance);
            if (it == rows.end()) return Fail(reply, 0x61010059);
            const lldpv2agent::Index &index = it->second.index;
            lldpv2host::AddUint32(reply, kRowIfIndex, index[0].number, MOR_TYPE_ENUM);
            std::vector<uint8_t> n(index[1].elements.begin(), index[1].elements.end());
            std::vector<uint8_t> o(index[2].elements.begin(), index[2].elements.end());
            lldpv2host::AddBytes(reply, kRowName, n.data(), n.size());
            lldpv2host::AddBytes(reply, kRowOui, o.data(), o.size());
        } else {
            return Fail(reply, 0x61010052);
        }
        lldpv2host::AddUint32(reply, kRowValue, it->second.value);
        lldpv2host::AddUint32(reply, kRowStatus, it->second.status, MOR_TYPE_ENUM);
        return 0;
    }

    const TestMib &mib_;
};

}  // namespace lldpv2test
