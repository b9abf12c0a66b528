"""LLDPDUs from an independent encoder (scapy's LLDP layer) sent from the
peer end of a veth into an agent's namespace: valid ones appear in the
remote tables field by field, on the agent their destination address names;
malformed ones are counted as discarded and in error and change nothing."""

import contextlib
import ipaddress
import time

from livecase import BASIC_TLVS, LiveCase, scenario_text
from livenet import (NEAREST_BRIDGE, NEAREST_CUSTOMER_BRIDGE, NEAREST_NON_TPMR_BRIDGE, Port, mac_bytes,
                     mac_text, remote_rows, remote_table_stats, rows_named, rx_stats, wait_until)
from lldpframes import CAP_BRIDGE, CAP_ROUTER, END, Neighbour, caps_bits, ethernet, tlv, with_length

IFINDEX = 7
NEIGHBOUR_LIMIT = 4
PEER_MAC = mac_bytes("02:00:5e:cc:10:09")
A_MAC = mac_bytes("02:00:5e:aa:10:07")
OID_BER = bytes([0x2B, 6, 1, 4, 1, 99, 1])

FULL = Neighbour(mac_bytes("02:00:5e:cc:00:01"), b"eth9", b"scapy-peer", port_desc=b"scapy port 9",
                 sys_desc=b"LLDPDUs from scapy", caps=(CAP_BRIDGE | CAP_ROUTER, CAP_BRIDGE),
                 mgmt=(1, ipaddress.ip_address("192.0.2.99").packed, 2, 9, OID_BER))
LOCAL_IDS = Neighbour(b"peer-two", b"p2", b"scapy-two", chassis_subtype=7, port_subtype=7,
                      mgmt=(2, ipaddress.ip_address("2001:db8::99").packed, 3, 4, b""))
CUSTOMER = Neighbour(mac_bytes("02:00:5e:cc:00:03"), b"eth3", b"scapy-three")


def malformed(n):
    """(what, LLDPDU) pairs, each with n's identifiers and another system
    name, so that a wrongly accepted one would show as an update."""
    ch, port, ttl = n.mandatory()
    opt = b"".join(n.optional(sys_name=b"bad"))
    return [
        ("no TLV before the End TLV", b""),
        ("port id TLV running past the end of the frame", ch + with_length(port, 300)),
        ("TTL TLV running past the end of the frame", ch + port + with_length(ttl, 300)),
        ("chassis id TLV of length 1", with_length(ch[:3], 1) + port + ttl + opt + END),
        ("chassis id of 299 octets", tlv(1, b"\x07" + b"x" * 299) + port + ttl + opt + END),
        ("TTL TLV of length 1", ch + port + with_length(ttl[:3], 1) + opt + END),
        ("chassis id TLV missing", port + ttl + opt + END),
        ("port id TLV missing", ch + ttl + opt + END),
        ("TTL TLV missing", ch + port + opt + END),
        ("port id before chassis id", port + ch + ttl + opt + END),
        ("TTL before port id", ch + ttl + port + opt + END),
        ("a second chassis id TLV", ch + port + ttl + ch + opt + END),
    ]


class ReceiveFromScapy(LiveCase):

    def setUp(self):
        super().setUp()
        self.ns_a, self.if_a, self.ns_p, self.if_p = self.link(mac_text(A_MAC), mac_text(PEER_MAC))
        text = scenario_text("lt-rx", "02:00:5e:aa:00:01", [{
            "ifindex": IFINDEX, "name": "ge-1/0/7", "linux": self.if_a, "description": "to scapy",
            "neighbour_limit": NEIGHBOUR_LIMIT,
            "agents": [("nearest-bridge", BASIC_TLVS), ("nearest-non-tpmr-bridge", BASIC_TLVS)]}])
        self.a = self.agent(self.ns_a, ["--scenario", self.write("rx.yaml", text), "-v"])
        self.peer = Port(self.ns_p, self.if_p, capture=False)
        self.addCleanup(self.peer.stop)

    def send(self, frame):
        self.peer.send(frame)

    def row_of(self, sys_name, dest=1, timeout=3):
        def find():
            for key, row in remote_rows(self.a.snmp).items():
                if key[:2] == (IFINDEX, dest) and row.get("lldpV2RemSysName") == sys_name:
                    return key, row
            return None
        return wait_until(find, timeout, interval=0.1, what=f"{sys_name!r} on ({IFINDEX}, {dest})")

    def man_addrs(self):
        """{(ifIndex, dest, remIndex): {(subtype, address): row}}."""
        cols = ["lldpV2RemManAddrIfSubtype", "lldpV2RemManAddrIfId"]
        out = {}
        for idx, row in self.a.snmp.table("lldpV2RemManAddrTable", cols).items():
            key, subtype, length = idx[1:4], idx[4], idx[5]
            out.setdefault(key, {})[(subtype, bytes(idx[6:6 + length]))] = row
        return out

    def test_valid_lldpdus_field_by_field(self):
        # To an agent that does not run on the port, to the port's own MAC,
        # to another reserved group address: no agent receives them.
        self.send(CUSTOMER.frame(PEER_MAC, NEAREST_CUSTOMER_BRIDGE))
        self.send(CUSTOMER.frame(PEER_MAC, A_MAC))
        self.send(CUSTOMER.frame(PEER_MAC, mac_bytes("01:80:c2:00:00:02")))
        self.send(FULL.frame(PEER_MAC, NEAREST_BRIDGE))
        self.send(LOCAL_IDS.frame(PEER_MAC, NEAREST_NON_TPMR_BRIDGE))

        key1, row = self.row_of(b"scapy-peer", dest=1)
        expected = {
            "lldpV2RemChassisIdSubtype": 4, "lldpV2RemChassisId": FULL.chassis,
            "lldpV2RemPortIdSubtype": 5, "lldpV2RemPortId": b"eth9", "lldpV2RemPortDesc": b"scapy port 9",
            "lldpV2RemSysName": b"scapy-peer", "lldpV2RemSysDesc": b"LLDPDUs from scapy",
            "lldpV2RemSysCapSupported": caps_bits(CAP_BRIDGE | CAP_ROUTER),
            "lldpV2RemSysCapEnabled": caps_bits(CAP_BRIDGE)}
        for column, value in expected.items():
            with self.subTest(column=column):
                self.assertEqual(row[column], value)
        key2, row = self.row_of(b"scapy-two", dest=2)
        self.assertEqual((row["lldpV2RemChassisIdSubtype"], row["lldpV2RemChassisId"]), (7, b"peer-two"))
        self.assertEqual((row["lldpV2RemPortIdSubtype"], row["lldpV2RemPortId"]), (7, b"p2"))
        self.assertFalse(row.get("lldpV2RemPortDesc"))

        addrs = self.man_addrs()
        v4 = addrs[key1][(1, bytes([192, 0, 2, 99]))]
        self.assertEqual((v4["lldpV2RemManAddrIfSubtype"], v4["lldpV2RemManAddrIfId"]), (2, 9))
        self.assertEqual(len(addrs[key1]), 1)
        v6 = addrs[key2][(2, ipaddress.ip_address("2001:db8::99").packed)]
        self.assertEqual((v6["lldpV2RemManAddrIfSubtype"], v6["lldpV2RemManAddrIfId"]), (3, 4))

        rows = remote_rows(self.a.snmp)
        self.assertEqual(sorted(k[:2] for k in rows), [(IFINDEX, 1), (IFINDEX, 2)], rows)
        for dest in (1, 2):
            rx = rx_stats(self.a.snmp, IFINDEX, dest)
            self.assertEqual((rx["FramesTotal"], rx["FramesDiscardedTotal"]), (1, 0), f"agent {dest}: {rx}")
        stats = remote_table_stats(self.a.snmp)
        self.assertEqual(stats["inserts"], 2)

        # The same MSAP with another system name: the same row, updated.
        self.send(FULL.frame(PEER_MAC, sys_name=b"scapy-peer-renamed"))
        key, row = self.row_of(b"scapy-peer-renamed")
        self.assertEqual(key, key1)
        self.assertEqual(remote_table_stats(self.a.snmp)["inserts"], 2)

        # TTL 0: deleted at once.
        self.send(FULL.frame(PEER_MAC, ttl=0))
        wait_until(lambda: key1 not in remote_rows(self.a.snmp), 2, interval=0.1, what="the row deleted")
        self.assertEqual(remote_table_stats(self.a.snmp)["deletes"], stats["deletes"] + 1)

    def test_bad_optional_tlvs_are_discarded_alone(self):
        # System capabilities need 4 octets.
        bad_caps = tlv(7, bytes.fromhex("0014"))
        n = Neighbour(mac_bytes("02:00:5e:cc:00:04"), b"eth4", b"scapy-four",
                      extra=bad_caps + tlv(20, b"abc"))
        before = rx_stats(self.a.snmp, IFINDEX)
        self.send(n.frame(PEER_MAC))
        key, row = self.row_of(b"scapy-four")
        self.assertFalse(row.get("lldpV2RemSysCapSupported"))
        rx = rx_stats(self.a.snmp, IFINDEX)
        self.assertEqual(rx["FramesTotal"], before["FramesTotal"] + 1)
        self.assertEqual(rx["FramesDiscardedTotal"], before["FramesDiscardedTotal"])
        self.assertEqual(rx["TLVsDiscardedTotal"], before["TLVsDiscardedTotal"] + 1)
        self.assertEqual(rx["TLVsUnrecognizedTotal"], before["TLVsUnrecognizedTotal"] + 1)
        unknown = self.a.snmp.table("lldpV2RemUnknownTLVTable", ["lldpV2RemUnknownTLVInfo"])
        self.assertEqual({idx[1:]: r["lldpV2RemUnknownTLVInfo"] for idx, r in unknown.items()},
                         {key + (20,): b"abc"})

    def test_malformed_lldpdus_change_nothing(self):
        self.send(FULL.frame(PEER_MAC))
        self.row_of(b"scapy-peer")
        for what, tlvs in malformed(FULL):
            with self.subTest(what):
                rows = remote_rows(self.a.snmp)
                before = rx_stats(self.a.snmp, IFINDEX)
                self.send(ethernet(PEER_MAC, NEAREST_BRIDGE, tlvs))
                with contextlib.suppress(AssertionError):
                    wait_until(lambda: rx_stats(self.a.snmp, IFINDEX)["FramesDiscardedTotal"] >
                               before["FramesDiscardedTotal"], 2, interval=0.05, what="the discard counted")
                after = rx_stats(self.a.snmp, IFINDEX)
                self.assertEqual(after["FramesDiscardedTotal"], before["FramesDiscardedTotal"] + 1)
                self.assertEqual(after["FramesErrors"], before["FramesErrors"] + 1)
                self.assertEqual(after["FramesTotal"], before["FramesTotal"])
                self.assertEqual(remote_rows(self.a.snmp), rows)
        time.sleep(0.2)
        self.row_of(b"scapy-peer")
        # -v names each discarded frame, with a reason.
        discarded = [line for line in self.a.log().splitlines() if "discarded" in line]
        self.assertEqual(len(discarded), len(malformed(FULL)), "\n".join(discarded))
        # Hundreds of SNMP requests above, and no log line for any of them.
        self.assertLess(len(self.a.log().splitlines()), len(discarded) + 30, self.a.log())

    def test_short_ttl_ages_out_on_time(self):
        ttl = 2
        n = Neighbour(mac_bytes("02:00:5e:cc:00:05"), b"eth5", b"scapy-five", ttl=ttl)
        before = remote_table_stats(self.a.snmp)
        self.send(n.frame(PEER_MAC))
        sent = time.monotonic()
        self.row_of(b"scapy-five")
        wait_until(lambda: not rows_named(self.a.snmp, b"scapy-five"), ttl + 1.5, interval=0.1,
                   what=f"the neighbour aged out after its TTL of {ttl} s")
        gone = time.monotonic() - sent
        self.assertGreater(gone, ttl - 0.5, "aged out before its TTL")
        after = remote_table_stats(self.a.snmp)
        self.assertEqual(after["ageouts"], before["ageouts"] + 1)
        self.assertEqual(rx_stats(self.a.snmp, IFINDEX)["AgeoutsTotal"], 1)

    def test_neighbours_beyond_the_limit_are_dropped(self):
        """A new MSAP beyond the port's neighbour limit is dropped and
        counted; the agent's rows say too many neighbours."""
        for i in range(NEIGHBOUR_LIMIT + 1):
            n = Neighbour(mac_bytes(f"02:00:5e:dd:00:{i:02x}"), b"eth1", f"many-{i}".encode())
            self.send(n.frame(PEER_MAC))
        wait_until(lambda: remote_table_stats(self.a.snmp)["drops"] == 1, 2, interval=0.1, what="one drop")
        rows = [r for k, r in remote_rows(self.a.snmp, True).items() if k[:2] == (IFINDEX, 1)]
        self.assertEqual(sorted(r["lldpV2RemSysName"] for r in rows),
                         [f"many-{i}".encode() for i in range(NEIGHBOUR_LIMIT)])
        self.assertEqual({r["lldpV2RemTooManyNeighbors"] for r in rows}, {1})  # true
        self.assertEqual(remote_table_stats(self.a.snmp)["inserts"], NEIGHBOUR_LIMIT)
