"""--pcap-in: a capture written by scapy (pcap and pcapng), with valid,
malformed and non-LLDP frames, replayed into a scenario port shows the
neighbours and counts the discards; at the recorded pace the frames arrive
as far apart as they were recorded, or a given factor faster. No network
namespace is needed: the scenario's ports are simulated, nothing is sent
anywhere."""

import os
import time

from scapy.layers.inet import IP, UDP
from scapy.layers.l2 import ARP, Ether
from scapy.utils import wrpcap, wrpcapng

from livecase import BASIC_TLVS, LiveCase, scenario_text
from livenet import (NEAREST_BRIDGE, NEAREST_NON_TPMR_BRIDGE, free_udp_port, remote_rows, remote_table_stats,
                     rx_stats, wait_until)
from lldpframes import ethernet
from test_receive import CUSTOMER, FULL, LOCAL_IDS, PEER_MAC, malformed

IFINDEX = 7


def packets(frames, gap=0.001):
    """scapy packets of the frames, `gap` seconds apart."""
    out = []
    t0 = 1_700_000_000.0
    for i, f in enumerate(frames):
        p = Ether(f)
        p.time = t0 + i * gap
        out.append(p)
    return out


class PcapIn(LiveCase):
    needs_namespaces = False

    def replay(self, frames, writer=wrpcap, suffix=".pcap", speed="max", gap=0.001):
        path = os.path.join(self.dir, "in" + suffix)
        writer(path, packets(frames, gap))
        text = scenario_text("lt-replay", "02:00:5e:aa:00:01", [{
            "ifindex": IFINDEX, "name": "ge-1/0/7", "description": "replayed port",
            "agents": [("nearest-bridge", BASIC_TLVS), ("nearest-non-tpmr-bridge", BASIC_TLVS)]}])
        return self.agent(None, ["--scenario", self.write("in.yaml", text), "--pcap-in", f"{path}:{IFINDEX}",
                                 "--pcap-speed", speed], port=free_udp_port(), name=f"replay{suffix}")

    def test_replay_at_full_speed(self):
        bad = dict(malformed(FULL))
        frames = [
            FULL.frame(PEER_MAC),
            bytes(Ether(src="02:00:5e:cc:10:09", dst="ff:ff:ff:ff:ff:ff") / ARP(pdst="192.0.2.1")),
            bytes(Ether(src="02:00:5e:cc:10:09", dst="02:00:5e:aa:10:07") / IP(dst="192.0.2.1") / UDP(dport=9)),
            ethernet(PEER_MAC, NEAREST_BRIDGE, bad["TTL TLV running past the end of the frame"]),
            LOCAL_IDS.frame(PEER_MAC, NEAREST_NON_TPMR_BRIDGE),
            ethernet(PEER_MAC, NEAREST_BRIDGE, bad["TTL TLV missing"]),
            CUSTOMER.frame(PEER_MAC),
        ]
        for writer, suffix in ((wrpcap, ".pcap"), (wrpcapng, ".pcapng")):
            with self.subTest(suffix):
                a = self.replay(frames, writer, suffix)

                def names():
                    return sorted((k[:2], r["lldpV2RemSysName"]) for k, r in remote_rows(a.snmp).items())
                expected = [((IFINDEX, 1), b"scapy-peer"), ((IFINDEX, 1), b"scapy-three"),
                            ((IFINDEX, 2), b"scapy-two")]
                wait_until(lambda: names() == expected, 5, what=f"the replayed neighbours {expected}")
                rx = rx_stats(a.snmp, IFINDEX, 1)
                self.assertEqual((rx["FramesTotal"], rx["FramesDiscardedTotal"], rx["FramesErrors"]), (2, 2, 2), rx)
                rx = rx_stats(a.snmp, IFINDEX, 2)
                self.assertEqual((rx["FramesTotal"], rx["FramesDiscardedTotal"]), (1, 0), rx)
                self.assertEqual(remote_table_stats(a.snmp)["inserts"], 3)
                self.assertTrue(a.running())
                self.assertEqual(a.terminate(), 0, a.log())

    def test_replay_at_recorded_pace(self):
        """Two frames recorded 3 s apart come 3 s apart at the recorded
        pace; recorded 6 s apart, 2 s apart three times faster."""
        for speed, factor, gap in (("recorded", 1.0, 3.0), ("3", 3.0, 6.0)):
            with self.subTest(speed=speed):
                started = time.monotonic()
                a = self.replay([FULL.frame(PEER_MAC), CUSTOMER.frame(PEER_MAC)], speed=speed, gap=gap)

                def names():
                    return {r["lldpV2RemSysName"] for r in remote_rows(a.snmp).values()}
                wait_until(lambda: b"scapy-peer" in names(), 2, interval=0.1, what="the first frame replayed")
                self.assertNotIn(b"scapy-three", names(), "the second frame came before its time")
                wait_until(lambda: b"scapy-three" in names(), gap / factor + 2, interval=0.1,
                           what="the second frame replayed")
                self.assertGreater(time.monotonic() - started, gap / factor)
                self.assertEqual(a.terminate(), 0, a.log())
