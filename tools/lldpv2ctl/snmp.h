// The SNMP side of lldpv2ctl: variable bindings as plain values, the
// requests the table reader needs (an interface, so tests can stand in for
// an agent), and its implementation on net-snmp's single-session API.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "oids.h"

struct snmp_session;

namespace lldpv2ctl {

// ASN.1 tags of the values an agent sends back.
namespace asn {
constexpr unsigned char kInteger = 0x02, kOctetString = 0x04, kNull = 0x05, kObjectId = 0x06, kIpAddress = 0x40,
                        kCounter32 = 0x41, kGauge32 = 0x42, kTimeTicks = 0x43, kOpaque = 0x44, kCounter64 = 0x46,
                        kNoSuchObject = 0x80, kNoSuchInstance = 0x81, kEndOfMibView = 0x82;
}

struct VarBind {
    Oid name;
    unsigned char type = asn::kNull;
    int64_t number = 0;   // INTEGER, Counter32, Gauge32, TimeTicks, Counter64
    std::string bytes;    // OCTET STRING, IpAddress, Opaque
    Oid oid;              // OBJECT IDENTIFIER

    bool IsException() const { return type == asn::kNoSuchObject || type == asn::kNoSuchInstance || type == asn::kEndOfMibView; }
};

// A failed exchange. Timeout: no answer at all (in SNMPv1/v2c also what a
// wrong community looks like); Error: anything else the library or agent
// reported.
class SnmpError : public std::runtime_error {
public:
    enum class Kind { Timeout, Error };
    SnmpError(Kind kind, const std::string &what) : std::runtime_error(what), kind_(kind) {}
    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

// The answer to one request: error-status and error-index as the agent set
// them (0 when it had no error), and the bindings.
struct Response {
    long errorStatus = 0;
    long errorIndex = 0;
    std::vector<VarBind> varbinds;
};

constexpr long kErrNoSuchName = 2;  // SNMPv1 error-status noSuchName

class Transport {
public:
    virtual ~Transport() = default;
    // true for SNMPv1, which has no GETBULK.
    virtual bool V1() const = 0;
    virtual Response Get(const std::vector<Oid> &oids) = 0;
    virtual Response GetNext(const std::vector<Oid> &oids) = 0;
    virtual Response GetBulk(const std::vector<Oid> &oids, int maxRepetitions) = 0;
    // Number of requests sent so far.
    virtual unsigned long Requests() const = 0;
};

// A net-snmp session opened from the settings snmp_parse_args filled in.
class NetSnmpTransport : public Transport {
public:
    // Throws SnmpError when the session cannot be opened (for SNMPv3 this
    // includes the engine discovery, which is a first exchange).
    explicit NetSnmpTransport(snmp_session *settings);
    ~NetSnmpTransport() override;
    NetSnmpTransport(const NetSnmpTransport &) = delete;
    NetSnmpTransport &operator=(const NetSnmpTransport &) = delete;

    bool V1() const override { return v1_; }
    Response Get(const std::vector<Oid> &oids) override;
    Response GetNext(const std::vector<Oid> &oids) override;
    Response GetBulk(const std::vector<Oid> &oids, int maxRepetitions) override;
    unsigned long Requests() const override { return requests_; }

private:
    Response Send(int command, const std::vector<Oid> &oids, int maxRepetitions);

    void *session_ = nullptr;
    bool v1_ = false;
    unsigned long requests_ = 0;
};

}  // namespace lldpv2ctl
