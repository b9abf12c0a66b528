"""--pcap-out: what the agent transmits, recorded in a capture file, decodes
in tshark with the values the MIB shows in lldpV2LocSystemData and
lldpV2LocPortTable and the TTL txInterval x holdMultiplier + 1, each of the
port's three agents to its own group address; the file holds exactly the
frames seen on the wire, the received ones too, and each agent's frames end
with its shutdown LLDPDU."""

import ipaddress
import os
import subprocess
import time

from scapy.utils import rdpcap

import livenet
from livecase import AGENT_NAMES, BASIC_TLVS, FAST_START, LiveCase, TX_INTERVAL, scenario_text
from livenet import DEST_INDEX, NEAREST_BRIDGE, Port, is_lldp, mac_bytes, mac_text
from test_receive import FULL

IFINDEX = 7
A_MAC = mac_bytes("02:00:5e:aa:10:07")
PEER_MAC = mac_bytes("02:00:5e:cc:10:09")
MGMT = "192.0.2.7"

FIELDS = ["eth.src", "eth.dst", "lldp.chassis.subtype", "lldp.chassis.id.mac", "lldp.port.subtype", "lldp.port.id",
          "lldp.time_to_live", "lldp.port.desc", "lldp.tlv.system.name", "lldp.tlv.system.desc",
          "lldp.tlv.system_cap", "lldp.tlv.enable_system_cap", "lldp.mgn.addr.ip4", "lldp.mgn.interface.number",
          "_ws.malformed"]


def tshark_fields(path):
    """One {field: text} per LLDP frame of the capture, as tshark reads it."""
    cmd = [livenet.TSHARK, "-r", path, "-Y", "lldp", "-T", "fields", "-E", "separator=/t", "-E", "occurrence=f"]
    for f in FIELDS:
        cmd += ["-e", f]
    res = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60,
                         stdin=subprocess.DEVNULL, env=dict(os.environ, HOME=os.path.dirname(path)))
    if res.returncode != 0:
        raise AssertionError(f"tshark failed: {res.stderr}")
    return [dict(zip(FIELDS, line.split("\t"))) for line in res.stdout.splitlines()]


def caps_mask(bits):
    """The 16-bit capability field of a BITS value."""
    return sum(1 << b for b in bits)


class PcapOut(LiveCase):

    def test_transmitted_frames_decode_as_the_mib_shows(self):
        if not livenet.TSHARK:
            self.skipTest("tshark is not installed")
        ns_a, if_a, ns_p, if_p = self.link(mac_text(A_MAC), mac_text(PEER_MAC))
        text = scenario_text("lt-pcap", "02:00:5e:aa:00:01", [{
            "ifindex": IFINDEX, "name": "ge-1/0/7", "linux": if_a, "description": "recorded port",
            "agents": [(agent, BASIC_TLVS) for agent in AGENT_NAMES], "management": MGMT}],
            mgmt=(MGMT, IFINDEX), caps="{supported: [bridge, router], enabled: [router]}")
        wire = Port(ns_p, if_p)
        self.addCleanup(wire.stop)
        pcap = os.path.join(self.dir, "out.pcap")
        a = self.agent(ns_a, ["--scenario", self.write("out.yaml", text), "--pcap-out", pcap])

        def from_a(f):
            return is_lldp(f) and f[6:12] == A_MAC
        wire.wait_frame(from_a, 0, FAST_START + 2, "the agent's first LLDPDU on the wire")
        sent = time.monotonic()
        wire.send(FULL.frame(PEER_MAC))
        wire.wait_frame(from_a, sent + 0.01, TX_INTERVAL + 1, "an LLDPDU after the neighbour's")

        snmp = a.snmp
        mib = {name: snmp.get(name) for name in (
            "lldpV2LocChassisIdSubtype", "lldpV2LocChassisId", "lldpV2LocSysName", "lldpV2LocSysDesc",
            "lldpV2LocSysCapSupported", "lldpV2LocSysCapEnabled", "lldpV2MessageTxInterval",
            "lldpV2MessageTxHoldMultiplier")}
        for name in ("lldpV2LocPortIdSubtype", "lldpV2LocPortId", "lldpV2LocPortDesc"):
            mib[name] = snmp.get(name, (IFINDEX,))
        man = snmp.table("lldpV2LocManAddrTable", ["lldpV2LocManAddrIfId"])
        # Every frame counted went out (one per agent may be on its way).
        counted = sum(livenet.tx_frames(snmp, IFINDEX, dest) for dest in (1, 2, 3))
        on_wire = len([f for _, f in wire.frames() if from_a(f)])
        self.assertGreaterEqual(on_wire, counted)
        self.assertLessEqual(on_wire, counted + 3)
        self.assertEqual(a.terminate(), 0, a.log())
        time.sleep(0.2)

        ttl = min(65535, mib["lldpV2MessageTxInterval"] * mib["lldpV2MessageTxHoldMultiplier"] + 1)
        self.assertEqual(ttl, 11)
        decoded = tshark_fields(pcap)
        received = [d for d in decoded if d["eth.src"] == mac_text(PEER_MAC)]
        self.assertEqual([d["lldp.tlv.system.name"] for d in received], ["scapy-peer"])
        # Each of the three agents sends to its own group address: regular
        # LLDPDUs, then one shutdown LLDPDU.
        sent_by = {dst: [d for d in decoded if d["eth.src"] == mac_text(A_MAC) and d["eth.dst"] == mac_text(dst)]
                   for dst in DEST_INDEX}
        for dst, frames in sent_by.items():
            with self.subTest(dst=mac_text(dst)):
                self.assertGreaterEqual(len(frames), 2, decoded)
                self.assertEqual([d["lldp.time_to_live"] for d in frames], [str(ttl)] * (len(frames) - 1) + ["0"])
        self.assertEqual(sum(map(len, sent_by.values())), len([d for d in decoded if d not in received]))
        out = sent_by[NEAREST_BRIDGE]

        expected = {
            "eth.dst": mac_text(NEAREST_BRIDGE),
            "lldp.chassis.subtype": str(mib["lldpV2LocChassisIdSubtype"]),
            "lldp.chassis.id.mac": mac_text(mib["lldpV2LocChassisId"]),
            "lldp.port.subtype": str(mib["lldpV2LocPortIdSubtype"]),
            "lldp.port.id": mib["lldpV2LocPortId"].decode(),
            "lldp.port.desc": mib["lldpV2LocPortDesc"].decode(),
            "lldp.tlv.system.name": mib["lldpV2LocSysName"].decode(),
            "lldp.tlv.system.desc": mib["lldpV2LocSysDesc"].decode(),
            "lldp.tlv.system_cap": caps_mask(mib["lldpV2LocSysCapSupported"]),
            "lldp.tlv.enable_system_cap": caps_mask(mib["lldpV2LocSysCapEnabled"]),
            "lldp.mgn.addr.ip4": MGMT,
            "_ws.malformed": "",
        }
        self.assertEqual(expected["lldp.tlv.system.name"], "lt-pcap")
        self.assertEqual(expected["lldp.port.id"], "ge-1/0/7")
        self.assertEqual(expected["lldp.tlv.enable_system_cap"], 1 << 4)
        (man_index, man_row), = man.items()
        self.assertEqual(man_index[:2], (1, 4))
        self.assertEqual(bytes(man_index[2:]), ipaddress.ip_address(MGMT).packed)
        expected["lldp.mgn.interface.number"] = str(man_row["lldpV2LocManAddrIfId"])
        for d in out[:-1]:
            got = dict(d)
            for k in ("lldp.tlv.system_cap", "lldp.tlv.enable_system_cap"):
                got[k] = int(got[k], 0) if got[k] else None
            for field, value in expected.items():
                with self.subTest(field=field):
                    self.assertEqual(got[field], value)

        # The file holds the frames of the wire, byte for byte.
        recorded = [bytes(p) for p in rdpcap(pcap)]
        on_wire = [f for _, f in wire.frames() if from_a(f)]
        self.assertEqual([f for f in recorded if f[6:12] == A_MAC], on_wire)
