"""LLDPDUs built with scapy's LLDP layer, an encoder independent of ours,
and the malformed variants made from them by editing the TLV bytes."""

from scapy.config import conf
from scapy.contrib import lldp as L
from scapy.layers.l2 import Ether

from livenet import NEAREST_BRIDGE, mac_text

# TLVs are built one by one and put together here, so scapy must not insist
# on an Ethernet layer under each of them.
conf.contribs["LLDP"].strict_mode_disable()

# Capability bits of the System Capabilities TLV: bit n of the 16-bit field
# is bit n of LldpV2SystemCapabilitiesMap.
CAP_BRIDGE = 1 << 2
CAP_ROUTER = 1 << 4


class Neighbour:
    """The fields of one LLDPDU a test peer sends."""

    def __init__(self, chassis, port, sys_name, chassis_subtype=4, port_subtype=5, ttl=120, port_desc=None,
                 sys_desc=None, caps=None, mgmt=None, extra=b""):
        self.chassis, self.chassis_subtype = chassis, chassis_subtype
        self.port, self.port_subtype = port, port_subtype
        self.sys_name, self.ttl = sys_name, ttl
        self.port_desc, self.sys_desc = port_desc, sys_desc
        self.caps = caps          # (supported, enabled) bit masks
        self.mgmt = mgmt          # (subtype, address bytes, if subtype, if number, oid bytes)
        self.extra = extra        # raw TLVs appended before the End TLV

    def mandatory(self, ttl=None):
        """The chassis id, port id and TTL TLVs, each as bytes."""
        return [bytes(L.LLDPDUChassisID(subtype=self.chassis_subtype, id=self.chassis)),
                bytes(L.LLDPDUPortID(subtype=self.port_subtype, id=self.port)),
                bytes(L.LLDPDUTimeToLive(ttl=self.ttl if ttl is None else ttl))]

    def optional(self, sys_name=None):
        tlvs = []
        if self.port_desc is not None:
            tlvs.append(bytes(L.LLDPDUPortDescription(description=self.port_desc)))
        name = self.sys_name if sys_name is None else sys_name
        if name is not None:
            tlvs.append(bytes(L.LLDPDUSystemName(system_name=name)))
        if self.sys_desc is not None:
            tlvs.append(bytes(L.LLDPDUSystemDescription(description=self.sys_desc)))
        if self.caps is not None:
            tlvs.append(bytes(system_capabilities(*self.caps)))
        if self.mgmt is not None:
            subtype, address, if_subtype, if_number, oid = self.mgmt
            tlvs.append(bytes(L.LLDPDUManagementAddress(
                management_address_subtype=subtype, management_address=address,
                interface_numbering_subtype=if_subtype, interface_number=if_number, object_id=oid)))
        if self.extra:
            tlvs.append(self.extra)
        return tlvs

    def tlvs(self, ttl=None, sys_name=None):
        """The TLV stream, End TLV included."""
        return b"".join(self.mandatory(ttl) + self.optional(sys_name)) + END

    def frame(self, src, dst=NEAREST_BRIDGE, ttl=None, sys_name=None):
        return ethernet(src, dst, self.tlvs(ttl, sys_name))


END = bytes(L.LLDPDUEndOfLLDPDU())


def ethernet(src, dst, payload):
    """An LLDP frame padded with zeros to the 60-octet minimum, as on a wire."""
    frame = bytes(Ether(src=mac_text(src), dst=mac_text(dst), type=0x88CC)) + payload
    if len(frame) < 60:
        frame += bytes(60 - len(frame))
    return frame


def system_capabilities(supported, enabled):
    fields = {}
    names = {CAP_BRIDGE: "mac_bridge", CAP_ROUTER: "router"}
    for bit, name in names.items():
        fields[f"{name}_available"] = 1 if supported & bit else 0
        fields[f"{name}_enabled"] = 1 if enabled & bit else 0
    return L.LLDPDUSystemCapabilities(**fields)


def tlv(tlv_type, value):
    """A TLV of any type, by hand."""
    return ((tlv_type << 9) | len(value)).to_bytes(2, "big") + value


def with_length(tlv_bytes, length):
    """The TLV with its length field replaced (the value kept as it is)."""
    t = tlv_bytes[0] >> 1
    return ((t << 9) | length).to_bytes(2, "big") + tlv_bytes[2:]


def caps_bits(mask):
    """The BITS value (bit numbers) of a capability mask."""
    return {i for i in range(16) if mask & (1 << i)}
