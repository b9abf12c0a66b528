// How lldpv2ctl shows the values of LLDP-V2-MIB: identifiers by their
// subtype, addresses by their family, BITS as names, enumerations as names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lldpv2ctl {

// "02:00:5e:10:00:01" style, lower case; empty for no bytes.
std::string Hex(const std::string &bytes);
// Printable ASCII, or UTF-8 without control characters.
bool IsPrintable(const std::string &bytes);
// The text when printable, else hex.
std::string TextOrHex(const std::string &bytes);

// IANA address family (AddressFamilyNumbers) and its address octets:
// dotted IPv4, IPv6 text, MAC for all802, hex for anything else.
std::string AddressText(int64_t family, const std::string &address);
std::string AddressFamilyName(int64_t family);  // "ipv4", "ipv6", "all802", else the number

// LldpV2ChassisIdSubtype / LldpV2PortIdSubtype names and rendered values.
std::string ChassisIdSubtypeName(int64_t subtype);
std::string ChassisIdText(int64_t subtype, const std::string &id);
std::string PortIdSubtypeName(int64_t subtype);
std::string PortIdText(int64_t subtype, const std::string &id);

// Names of the bits set in a BITS value (bit 0 is the high bit of the
// first octet); bits without a name show as "bit-N".
std::vector<std::string> BitNames(const std::string &bits, const std::vector<const char *> &names);
std::vector<std::string> CapabilityNames(const std::string &bits);

// The destination address of an agent by its MAC: "nearest-bridge",
// "nearest-non-tpmr-bridge", "nearest-customer-bridge", else the MAC.
std::string AgentName(const std::string &mac);

std::string ManAddrIfSubtypeName(int64_t subtype);  // unknown, if-index, system-port-number
std::string AdminStatusName(int64_t status);         // tx-only, rx-only, tx-and-rx, disabled
std::string TsaName(int64_t tsa);                    // strict-priority, credit-based-shaper, ets, vendor-specific
std::string AppSelectorName(int64_t selector);       // ethertype, tcp-sctp-port, udp-dccp-port, tcp-udp-port
std::string PowerPortClassName(int64_t c);           // pse, pd

// TimeTicks as "d:hh:mm:ss.cc" (days only when non-zero).
std::string TimeTicksText(int64_t ticks);
// A joined list: Join({"a","b"}, ", ") == "a, b".
std::string Join(const std::vector<std::string> &parts, const std::string &separator);

}  // namespace lldpv2ctl
