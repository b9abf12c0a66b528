// A two-node stack with ports of every type class, for the table tests.
#pragma once

#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/lldp_client.h"
#include "module_fixture.h"

namespace lldpv2test {

namespace lldp = lldpv2host::lldp;

// Ports of the stack: node 1 holds one port of each type class, node 2 two
// ordinary ports.
inline constexpr uint32_t kOrdinary = 1;       // type 18
inline constexpr uint32_t kSecondClass = 2;    // type 56: agents 2, 3
inline constexpr uint32_t kCustomerOnly = 3;   // type 82: agent 3
inline constexpr uint32_t kNearestOnly = 4;    // type 31: agent 1
inline constexpr uint32_t kNotLldp = 5;        // type 7
inline constexpr uint32_t kNode2First = 101;   // type 19
inline constexpr uint32_t kNode2Second = 102;  // type 18

class StackTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        lldpv2host::AddNode(2);
        Port(kOrdinary, 1, 18);
        Port(kSecondClass, 1, 56);
        Port(kCustomerOnly, 1, 82);
        Port(kNearestOnly, 1, 31);
        Port(kNotLldp, 1, 7);
        Port(kNode2First, 2, 19);
        Port(kNode2Second, 2, 18);
    }

    static void Port(uint32_t ifIndex, uint16_t node, uint32_t type) {
        lldpv2host::Interface i;
        i.ifIndex = ifIndex;
        i.name = "port" + std::to_string(ifIndex);
        i.node = node;
        i.type = type;
        lldpv2host::AddInterface(i);
    }

    // A neighbour's LLDPDU with a MAC chassis id and an interface-name port id.
    static lldp::Lldpdu Neighbour(uint8_t id, const std::string &portName) {
        lldp::Lldpdu pdu;
        pdu.chassisId = {0x02, 0x00, 0x00, 0x00, 0x00, id};
        pdu.portId.assign(portName.begin(), portName.end());
        return pdu;
    }

    static lldpv2host::ReceiveResult Receive(uint32_t ifIndex, uint32_t agent, const lldp::Lldpdu &pdu) {
        return lldpv2host::Receive(ifIndex, agent, lldp::EncodeLldpdu(pdu));
    }
};

}  // namespace lldpv2test
