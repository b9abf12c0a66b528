// Unit tests of lldpv2ctl: the value rendering and the table reader against
// an in-memory agent that answers GETNEXT and GETBULK as an SNMP agent does.
#include <gtest/gtest.h>

#include <map>

#include "json.h"
#include "table_reader.h"
#include "values.h"

namespace lldpv2ctl {
namespace {

std::string Bytes(std::initializer_list<int> octets) {
    std::string s;
    for (int o : octets) s += static_cast<char>(o);
    return s;
}

struct IdCase {
    bool chassis;
    int subtype;
    std::string id;
    std::string text;
};

TEST(Values, IdentifiersAreRenderedByTheirSubtype) {
    const IdCase cases[] = {
        {true, 4, Bytes({0x02, 0x00, 0x5e, 0x10, 0x00, 0x01}), "02:00:5e:10:00:01"},
        {true, 4, Bytes({0x02, 0x00, 0x5e}), "02:00:5e"},  // not a MAC: hex
        {true, 5, Bytes({1, 192, 0, 2, 77}), "192.0.2.77"},
        {true, 5, Bytes({2, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2}), "2001:db8::2"},
        {true, 5, Bytes({1, 192, 0, 2}), "01:c0:00:02"},  // IPv4 of three octets: hex
        {true, 5, Bytes({6, 1, 2}), "06:01:02"},          // other families: hex
        {true, 6, "ge-1/0/1", "ge-1/0/1"},
        {true, 7, "storage-srv-2", "storage-srv-2"},
        {true, 7, Bytes({0x00, 0x41}), "00:41"},  // control character: hex
        {true, 1, "chassis \xc3\xa9t\xc3\xa9", "chassis \xc3\xa9t\xc3\xa9"},  // UTF-8 text
        {true, 1, "bad \xc3", "62:61:64:20:c3"},                          // cut UTF-8: hex
        {false, 3, Bytes({0x02, 0x00, 0x5e, 0x30, 0x00, 0x07}), "02:00:5e:30:00:07"},
        {false, 4, Bytes({1, 10, 0, 0, 1}), "10.0.0.1"},
        {false, 5, "Eth1/17", "Eth1/17"},
        {false, 6, Bytes({0x01, 0x04, 0xff}), "01:04:ff"},
        {false, 7, "uni-12", "uni-12"},
        {false, 4, Bytes({0x02, 0x00, 0x5e, 0x30, 0x00, 0x07}), "02:00:5e:30:00:07"},  // port MAC subtype is 3
    };
    for (const IdCase &c : cases) {
        const std::string text = c.chassis ? ChassisIdText(c.subtype, c.id) : PortIdText(c.subtype, c.id);
        EXPECT_EQ(text, c.text) << (c.chassis ? "chassis" : "port") << " subtype " << c.subtype;
    }
    EXPECT_EQ(ChassisIdSubtypeName(4), "mac-address");
    EXPECT_EQ(PortIdSubtypeName(3), "mac-address");
    EXPECT_EQ(PortIdSubtypeName(6), "agent-circuit-id");
    EXPECT_EQ(ChassisIdSubtypeName(9), "9");
}

TEST(Values, CapabilityBitsAreNamedAcrossOctets) {
    struct Case {
        std::string bits;
        std::vector<std::string> names;
    } cases[] = {
        {"", {}},
        {Bytes({0x28}), {"bridge", "router"}},
        {Bytes({0x80, 0x00}), {"other"}},
        {Bytes({0x01, 0x00}), {"station"}},
        {Bytes({0x04, 0x00}), {"telephone"}},
        {Bytes({0x00, 0xE0}), {"cvlan", "svlan", "tpmr"}},
        {Bytes({0x00, 0x10}), {"bit-11"}},
    };
    for (const Case &c : cases) EXPECT_EQ(CapabilityNames(c.bits), c.names) << Hex(c.bits);
}

TEST(Values, AddressesAgentsAndTimes) {
    EXPECT_EQ(AddressText(1, Bytes({198, 51, 100, 2})), "198.51.100.2");
    EXPECT_EQ(AddressText(2, Bytes({0x20, 0x01, 0x0d, 0xb8, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2})),
              "2001:db8:100::2");
    EXPECT_EQ(AddressText(1, Bytes({1, 2})), "01:02");
    EXPECT_EQ(AddressText(6, Bytes({0x02, 0, 0x5e, 0, 0, 1})), "02:00:5e:00:00:01");
    EXPECT_EQ(AddressFamilyName(2), "ipv6");
    EXPECT_EQ(AgentName(Bytes({0x01, 0x80, 0xc2, 0, 0, 0x0e})), "nearest-bridge");
    EXPECT_EQ(AgentName(Bytes({0x01, 0x80, 0xc2, 0, 0, 0x03})), "nearest-non-tpmr-bridge");
    EXPECT_EQ(AgentName(Bytes({0x01, 0x80, 0xc2, 0, 0, 0x00})), "nearest-customer-bridge");
    EXPECT_EQ(AgentName(Bytes({0x01, 0x80, 0xc2, 0, 0, 0x21})), "01:80:c2:00:00:21");
    EXPECT_EQ(TimeTicksText(0), "0:00:00.00");
    EXPECT_EQ(TimeTicksText(8640000 + 366101), "1:01:01:01.01");
}

TEST(JsonTest, DumpEscapesAndKeepsKeyOrder) {
    Json j = Json::Object();
    j.Set("b", "x\"y\\\n\x01");
    j.Set("a", Json::Array());
    j.Get("a").Push(1);
    j.Get("a").Push(true);
    j.Get("a").Push(Json());
    j.Set("b", "z");  // replaced in place
    EXPECT_EQ(j.Dump(-1), "{\"b\":\"z\",\"a\":[1,true,null]}");
    Json s = Json::Object();
    s.Set("s", "x\"y\\\n\x01");
    EXPECT_EQ(s.Dump(-1), "{\"s\":\"x\\\"y\\\\\\n\\u0001\"}");
}

// An agent in memory: a sorted set of objects answering GET, GETNEXT and
// GETBULK. maxVarbinds cuts responses short as an agent does when the
// answer would not fit its message size. In SNMPv1 mode the end of the MIB
// and missing objects are noSuchName errors.
class FakeAgent : public Transport {
public:
    std::map<Oid, VarBind> objects;
    bool v1 = false;
    size_t maxVarbinds = 1000000;
    unsigned long requests = 0;
    // When set, GETNEXT/GETBULK answer this OID for everything (a broken agent).
    std::optional<Oid> stuckAt;

    void Add(const Oid &name, int64_t number) {
        VarBind vb;
        vb.name = name;
        vb.type = asn::kGauge32;
        vb.number = number;
        objects[name] = vb;
    }

    bool V1() const override { return v1; }
    unsigned long Requests() const override { return requests; }

    Response Get(const std::vector<Oid> &oids) override {
        ++requests;
        Response r;
        for (size_t i = 0; i < oids.size(); ++i) {
            auto it = objects.find(oids[i]);
            if (it != objects.end()) {
                r.varbinds.push_back(it->second);
            } else if (v1) {
                return NoSuchName(i);
            } else {
                VarBind vb;
                vb.name = oids[i];
                vb.type = asn::kNoSuchObject;
                r.varbinds.push_back(vb);
            }
        }
        return r;
    }

    Response GetNext(const std::vector<Oid> &oids) override {
        ++requests;
        Response r;
        for (size_t i = 0; i < oids.size(); ++i) {
            VarBind vb = Next(oids[i]);
            if (vb.type == asn::kEndOfMibView && v1) return NoSuchName(i);
            r.varbinds.push_back(vb);
        }
        return r;
    }

    Response GetBulk(const std::vector<Oid> &oids, int maxRepetitions) override {
        ++requests;
        Response r;
        std::vector<Oid> cursor = oids;
        for (int rep = 0; rep < maxRepetitions; ++rep) {
            for (Oid &c : cursor) {
                if (r.varbinds.size() == maxVarbinds) return r;
                VarBind vb = Next(c);
                c = vb.name;
                r.varbinds.push_back(vb);
            }
        }
        return r;
    }

private:
    VarBind Next(const Oid &after) {
        VarBind vb;
        if (stuckAt) {
            vb.name = *stuckAt;
            vb.type = asn::kInteger;
            return vb;
        }
        auto it = objects.upper_bound(after);
        if (it == objects.end()) {
            vb.name = after;
            vb.type = asn::kEndOfMibView;
            return vb;
        }
        return it->second;
    }

    Response NoSuchName(size_t i) {
        Response r;
        r.errorStatus = kErrNoSuchName;
        r.errorIndex = static_cast<long>(i + 1);
        return r;
    }
};

const Oid kEntry = {1, 3, 6, 1, 4, 1, 99, 1, 1};

// A table of `rows` rows, index {row, 7}, columns 2..4; column 3 has a hole
// in every fifth row. A scalar before and a second table after it.
void Populate(FakeAgent &agent, unsigned long rows) {
    agent.Add({1, 3, 6, 1, 4, 1, 99, 0, 0}, 1);
    for (unsigned long col = 2; col <= 4; ++col) {
        for (unsigned long row = 1; row <= rows; ++row) {
            if (col == 3 && row % 5 == 0) continue;
            agent.Add(kEntry + Oid{col, row, 7}, static_cast<int64_t>(col * 1000 + row));
        }
    }
    agent.Add({1, 3, 6, 1, 4, 1, 99, 2, 1, 2, 1}, 5);
}

void ExpectTable(const Table &t, unsigned long rows) {
    ASSERT_EQ(t.rows.size(), rows);
    for (unsigned long row = 1; row <= rows; ++row) {
        auto it = t.rows.find(Oid{row, 7});
        ASSERT_NE(it, t.rows.end()) << row;
        EXPECT_EQ(it->second.Number(2), static_cast<int64_t>(2000 + row));
        EXPECT_EQ(it->second.Number(3).has_value(), row % 5 != 0) << row;
        EXPECT_EQ(it->second.Number(4), static_cast<int64_t>(4000 + row));
    }
}

TEST(TableReaderTest, ReadsColumnsSideBySideInBulkRequests) {
    struct Case {
        const char *name;
        unsigned long rows;
        int maxRepetitions;
        bool v1;
        size_t maxVarbinds;
        unsigned long requests;  // what the walk may cost at most
    } cases[] = {
        // 120 rows, 50 per column and request: 3 requests (column 3 with
        // its holes reaches the next column within them).
        {"bulk", 120, 50, false, 1000000, 3},
        {"bulk, one row", 1, 50, false, 1000000, 1},
        {"bulk, empty table", 0, 50, false, 1000000, 1},
        {"bulk, answers cut short", 120, 50, false, 40, 12},
        {"bulk, one repetition", 10, 1, false, 1000000, 11},
        {"SNMPv1 getnext", 12, 50, true, 1000000, 16},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        FakeAgent agent;
        agent.v1 = c.v1;
        agent.maxVarbinds = c.maxVarbinds;
        Populate(agent, c.rows);
        TableReader reader(agent, c.maxRepetitions);
        ExpectTable(reader.Read(kEntry, {2, 3, 4}), c.rows);
        EXPECT_LE(agent.requests, c.requests);
    }
}

TEST(TableReaderTest, ColumnsNotAskedForAndNeighbouringTablesStayOut) {
    FakeAgent agent;
    Populate(agent, 3);
    TableReader reader(agent);
    Table t = reader.Read(kEntry, {4});
    ASSERT_EQ(t.rows.size(), 3u);
    for (const auto &[index, row] : t.rows) {
        EXPECT_EQ(row.columns.size(), 1u);
        EXPECT_TRUE(row.Number(4).has_value());
    }
    // A column that does not exist ends at once.
    EXPECT_TRUE(reader.Read(kEntry, {9}).rows.empty());
}

TEST(TableReaderTest, AnAgentThatDoesNotMoveOnIsAnError) {
    FakeAgent agent;
    Populate(agent, 3);
    agent.stuckAt = kEntry + Oid{2, 1, 7};
    TableReader reader(agent);
    EXPECT_THROW(reader.Read(kEntry, {2}), SnmpError);
    EXPECT_LE(agent.requests, 2u);
}

TEST(TableReaderTest, GetLeavesMissingObjectsUnset) {
    for (bool v1 : {false, true}) {
        SCOPED_TRACE(v1 ? "SNMPv1" : "SNMPv2c");
        FakeAgent agent;
        agent.v1 = v1;
        Populate(agent, 3);
        TableReader reader(agent);
        auto got = reader.Get({kEntry + Oid{2, 1, 7}, kEntry + Oid{2, 9, 7}, kEntry + Oid{4, 3, 7}});
        ASSERT_EQ(got.size(), 3u);
        ASSERT_TRUE(got[0].has_value());
        EXPECT_EQ(got[0]->number, 2001);
        EXPECT_FALSE(got[1].has_value());
        ASSERT_TRUE(got[2].has_value());
        EXPECT_EQ(got[2]->number, 4003);
    }
}

}  // namespace
}  // namespace lldpv2ctl
