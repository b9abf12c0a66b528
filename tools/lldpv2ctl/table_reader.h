// The one way lldpv2ctl reads an agent: whole tables, several columns side
// by side, with GETBULK (GETNEXT in SNMPv1), and scalars with one GET.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "snmp.h"

namespace lldpv2ctl {

// The rows read from one table: index (the OID arcs after the column) to
// the columns that answered for it.
struct Table {
    struct Row {
        std::map<unsigned long, VarBind> columns;
        const VarBind *Column(unsigned long column) const;
        std::optional<int64_t> Number(unsigned long column) const;
        std::optional<std::string> Bytes(unsigned long column) const;
    };
    std::map<Oid, Row> rows;
};

class TableReader {
public:
    explicit TableReader(Transport &transport, int maxRepetitions = 50)
        : transport_(transport), maxRepetitions_(maxRepetitions < 1 ? 1 : maxRepetitions) {}

    // Reads the given columns of the table whose entry OID is `entry`, all
    // in the same requests: each request carries the next OID of every
    // column not yet finished; a column ends where the agent's answer
    // leaves it (another column, another table, endOfMibView, or in SNMPv1
    // noSuchName). Throws SnmpError on failure, including an agent that
    // answers with OIDs that do not increase.
    Table Read(const Oid &entry, const std::vector<unsigned long> &columns);

    // Gets objects by full OID in as few GETs as fit; a missing object
    // (noSuchObject, noSuchInstance, or in SNMPv1 noSuchName) comes back
    // as an unset optional.
    std::vector<std::optional<VarBind>> Get(const std::vector<Oid> &objects);

    // Instance .0 of the scalars group.arc for each arc.
    std::vector<std::optional<VarBind>> Scalars(const Oid &group, const std::vector<unsigned long> &arcs);

    Transport &transport() { return transport_; }

private:
    Transport &transport_;
    int maxRepetitions_;
};

}  // namespace lldpv2ctl
