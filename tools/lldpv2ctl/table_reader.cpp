#include "table_reader.h"

#include <algorithm>

namespace lldpv2ctl {

namespace {

// Objects per GET request.
constexpr size_t kGetBatch = 40;

bool Less(const Oid &a, const Oid &b) { return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end()); }

}  // namespace

const VarBind *Table::Row::Column(unsigned long column) const {
    auto it = columns.find(column);
    return it == columns.end() ? nullptr : &it->second;
}

std::optional<int64_t> Table::Row::Number(unsigned long column) const {
    const VarBind *vb = Column(column);
    if (vb == nullptr || vb->type == asn::kOctetString || vb->type == asn::kObjectId || vb->type == asn::kNull)
        return std::nullopt;
    return vb->number;
}

std::optional<std::string> Table::Row::Bytes(unsigned long column) const {
    const VarBind *vb = Column(column);
    if (vb == nullptr || (vb->type != asn::kOctetString && vb->type != asn::kIpAddress && vb->type != asn::kOpaque))
        return std::nullopt;
    return vb->bytes;
}

Table TableReader::Read(const Oid &entry, const std::vector<unsigned long> &columns) {
    struct Cursor {
        unsigned long column;
        Oid prefix;  // entry.column
        Oid last;    // the last OID asked for or received in this column
    };
    std::vector<Cursor> active;
    for (unsigned long c : columns) active.push_back({c, entry + c, entry + c});
    Table table;
    while (!active.empty()) {
        std::vector<Oid> request;
        for (const Cursor &c : active) request.push_back(c.last);
        Response response =
            transport_.V1() ? transport_.GetNext(request) : transport_.GetBulk(request, maxRepetitions_);
        std::vector<bool> done(active.size(), false);
        if (response.errorStatus != 0) {
            // SNMPv1 ends a walk with noSuchName on the first variable that
            // has no successor; that column is finished, the others go on.
            if (transport_.V1() && response.errorStatus == kErrNoSuchName && response.errorIndex >= 1 &&
                static_cast<size_t>(response.errorIndex) <= active.size()) {
                active.erase(active.begin() + (response.errorIndex - 1));
                continue;
            }
            throw SnmpError(SnmpError::Kind::Error, "the agent answered with error-status " +
                                                        std::to_string(response.errorStatus));
        }
        if (response.varbinds.empty()) break;
        // Repetition r, column j is binding r * n + j (a response cut short
        // to fit the agent's message size ends early).
        const size_t n = active.size();
        for (size_t i = 0; i < response.varbinds.size(); ++i) {
            const size_t j = i % n;
            if (done[j]) continue;
            VarBind &vb = response.varbinds[i];
            Cursor &c = active[j];
            if (vb.type == asn::kEndOfMibView || vb.IsException() || !StartsWith(vb.name, c.prefix) ||
                vb.name.size() == c.prefix.size()) {
                done[j] = true;
                continue;
            }
            if (!Less(c.last, vb.name)) {
                throw SnmpError(SnmpError::Kind::Error,
                                "the agent's answers do not increase (" + OidText(vb.name) + " after " + OidText(c.last) + ")");
            }
            c.last = vb.name;
            Oid index(vb.name.begin() + static_cast<long>(c.prefix.size()), vb.name.end());
            table.rows[std::move(index)].columns[c.column] = std::move(vb);
        }
        std::vector<Cursor> next;
        for (size_t j = 0; j < n; ++j) {
            if (!done[j]) next.push_back(std::move(active[j]));
        }
        active = std::move(next);
    }
    return table;
}

std::vector<std::optional<VarBind>> TableReader::Get(const std::vector<Oid> &objects) {
    std::vector<std::optional<VarBind>> out(objects.size());
    for (size_t start = 0; start < objects.size(); start += kGetBatch) {
        std::vector<Oid> batch(objects.begin() + static_cast<long>(start),
                               objects.begin() + static_cast<long>(std::min(objects.size(), start + kGetBatch)));
        std::vector<size_t> positions(batch.size());
        for (size_t i = 0; i < batch.size(); ++i) positions[i] = start + i;
        while (!batch.empty()) {
            Response r = transport_.Get(batch);
            if (r.errorStatus != 0) {
                // SNMPv1 answers a GET of a missing object with noSuchName
                // for the whole request: ask again without it.
                if (r.errorStatus == kErrNoSuchName && r.errorIndex >= 1 &&
                    static_cast<size_t>(r.errorIndex) <= batch.size()) {
                    batch.erase(batch.begin() + (r.errorIndex - 1));
                    positions.erase(positions.begin() + (r.errorIndex - 1));
                    continue;
                }
                throw SnmpError(SnmpError::Kind::Error,
                                "the agent answered with error-status " + std::to_string(r.errorStatus));
            }
            for (size_t i = 0; i < r.varbinds.size() && i < positions.size(); ++i) {
                if (!r.varbinds[i].IsException() && r.varbinds[i].type != asn::kNull)
                    out[positions[i]] = std::move(r.varbinds[i]);
            }
            break;
        }
    }
    return out;
}

std::vector<std::optional<VarBind>> TableReader::Scalars(const Oid &group, const std::vector<unsigned long> &arcs) {
    std::vector<Oid> objects;
    for (unsigned long a : arcs) objects.push_back(group + Oid{a, 0});
    return Get(objects);
}

}  // namespace lldpv2ctl
