"""SNMP writes take effect on the wire at once: lldpV2PortConfigAdminStatus
disabled stops transmission after exactly one shutdown LLDPDU (and enabled
again restarts it), rxOnly and txOnly do what they say;
lldpV2MessageTxInterval changes the interval and the TTL (capped at 65535);
a TLV transmit switch removes its TLV from the next frame; lldpV2TxCreditMax
limits a burst of changes. The frames are captured on the peer end of the
veth."""

import math
import time

from livecase import BASIC_TLVS, FAST_START, HOLD, LiveCase, REINIT_DELAY, TTL, TX_INTERVAL, scenario_text
from livenet import NEAREST_BRIDGE, Frame, Port, is_lldp, mac_bytes, mac_text, remote_rows, tx_frames, wait_until
from test_receive import FULL

IFINDEX = 7
A_MAC = mac_bytes("02:00:5e:aa:10:07")
PEER_MAC = mac_bytes("02:00:5e:cc:10:09")


class SnmpWrites(LiveCase):

    def setUp(self):
        super().setUp()
        ns_a, if_a, ns_p, if_p = self.link(mac_text(A_MAC), mac_text(PEER_MAC))
        text = scenario_text("lt-writes", "02:00:5e:aa:00:01", [{
            "ifindex": IFINDEX, "name": "ge-1/0/7", "linux": if_a, "description": "written port",
            "agents": [("nearest-bridge", BASIC_TLVS)]}])
        self.wire = Port(ns_p, if_p)
        self.addCleanup(self.wire.stop)
        self.a = self.agent(ns_a, ["--scenario", self.write("w.yaml", text), "--rwcommunity", "private"])
        self.snmp = self.a.snmp
        self.first = self.next_frame(0, FAST_START + 2)

    def next_frame(self, since, timeout, pred=lambda fr: True, what="an LLDPDU from the agent"):
        """(time, Frame) of the first LLDPDU of the agent's nearest-bridge
        agent after since."""
        t, f = self.wire.wait_frame(lambda f: is_lldp(f, NEAREST_BRIDGE) and f[6:12] == A_MAC and pred(Frame(f)),
                                    since, timeout, what)
        return t, Frame(f)

    def frames_since(self, since):
        """Every LLDPDU from the agent (whichever agent sent it)."""
        return [(t, Frame(f)) for t, f in self.wire.frames(since) if is_lldp(f) and f[6:12] == A_MAC]

    def test_admin_disabled_sends_one_shutdown_lldpdu(self):
        self.wire.send(FULL.frame(PEER_MAC))
        wait_until(lambda: remote_rows(self.snmp), 3, what="the peer learned")
        _, regular = self.next_frame(0, 1)
        # Let the fast start the new neighbour caused run out.
        time.sleep(FAST_START + 0.5)

        before = time.monotonic()
        self.snmp.set("lldpV2PortConfigAdminStatus", (IFINDEX, 1), "i", 4)
        self.assertEqual(self.snmp.get("lldpV2PortConfigAdminStatus", (IFINDEX, 1)), 4)
        t_down, shutdown = self.next_frame(before, 2, lambda f: f.ttl == 0, "the shutdown LLDPDU")
        self.assertEqual(shutdown.types(), [1, 2, 3, 0])
        self.assertEqual(shutdown.tlv(1), regular.tlv(1))
        self.assertEqual(shutdown.tlv(2), regular.tlv(2))
        # Disabled, the agent also forgets what it received.
        wait_until(lambda: not remote_rows(self.snmp), 2, interval=0.1, what="the neighbour deleted")

        counted = tx_frames(self.snmp, IFINDEX)
        time.sleep(TX_INTERVAL + 1.5)
        frames = self.frames_since(before)
        # At most one regular frame may have left while the set was on its way.
        self.assertLessEqual(len([f for t, f in frames if t < t_down]), 1)
        self.assertEqual([f.ttl for t, f in frames if t >= t_down], [0], "one shutdown LLDPDU, then silence")
        self.assertEqual(tx_frames(self.snmp, IFINDEX), counted)

        # Enabled again: transmission restarts after the reinit delay.
        again = time.monotonic()
        self.snmp.set("lldpV2PortConfigAdminStatus", (IFINDEX, 1), "i", 3)
        _, f = self.next_frame(again, REINIT_DELAY + 2, what="an LLDPDU after enabling")
        self.assertEqual(f.ttl, TTL)
        self.assertGreater(tx_frames(self.snmp, IFINDEX), counted)

    def test_rx_only_and_tx_only(self):
        """rxOnly stops transmission (one shutdown LLDPDU) and still learns;
        txOnly transmits again after the reinit delay and keeps nothing it
        receives; txAndRx learns again."""
        peer = FULL.frame(PEER_MAC)
        self.wire.send(peer)
        wait_until(lambda: remote_rows(self.snmp), 3, what="the peer learned")
        time.sleep(FAST_START + 0.5)

        cases = [
            # (status, sends after it, shutdown LLDPDU, keeps neighbours)
            (2, False, True, True),
            (1, True, False, False),
            (3, True, False, True),
        ]
        for status, sends, shutdown, keeps in cases:
            with self.subTest(status=status):
                before = time.monotonic()
                self.snmp.set("lldpV2PortConfigAdminStatus", (IFINDEX, 1), "i", status)
                if shutdown:
                    self.next_frame(before, 2, lambda f: f.ttl == 0, "the shutdown LLDPDU")
                if sends:
                    self.next_frame(before, REINIT_DELAY + TX_INTERVAL + 1, lambda f: f.ttl == TTL, "an LLDPDU")
                self.wire.send(peer)
                if keeps:
                    wait_until(lambda: remote_rows(self.snmp), 2, interval=0.1, what="the peer known")
                else:
                    wait_until(lambda: not remote_rows(self.snmp), 2, interval=0.1, what="no neighbour kept")
                    time.sleep(0.3)
                    self.assertEqual(remote_rows(self.snmp), {}, "a txOnly agent stored a neighbour")
                if not sends:
                    time.sleep(1)
                    self.assertEqual([f.ttl for t, f in self.frames_since(before) if f.dst == NEAREST_BRIDGE],
                                     [0], "an rxOnly agent transmitted")

    def test_tx_interval_changes_interval_and_ttl(self):
        time.sleep(FAST_START + 0.5)
        new_interval = 8
        set_at = time.monotonic()
        self.snmp.set("lldpV2MessageTxInterval", (0,), "u", new_interval)
        self.assertEqual(self.snmp.get("lldpV2MessageTxInterval"), new_interval)
        new_ttl = new_interval * HOLD + 1
        # The next transmission decision uses it: at the latest when the old
        # interval runs out.
        t1, _ = self.next_frame(set_at, TX_INTERVAL + 1.5, lambda f: f.ttl == new_ttl,
                                f"an LLDPDU with TTL {new_ttl}")
        t2, f2 = self.next_frame(t1 + 0.01, new_interval + 1.5, what="the LLDPDU after it")
        self.assertEqual(f2.ttl, new_ttl)
        self.assertAlmostEqual(t2 - t1, new_interval, delta=0.7)
        self.assertEqual([f.ttl for t, f in self.frames_since(t1)], [new_ttl, new_ttl])

        # txInterval x holdMultiplier + 1 beyond 65535: the TTL stays 65535.
        set_at = time.monotonic()
        self.snmp.set("lldpV2MessageTxInterval", (0,), "u", 32768)
        self.next_frame(set_at, new_interval + 1.5, lambda f: f.ttl == 65535, "an LLDPDU with TTL 65535")

    def test_tlv_switch_removes_the_tlv_from_the_next_frame(self):
        _, first = self.first
        self.assertIn(5, first.types())
        self.assertEqual(first.tlv(5), self.snmp.get("lldpV2LocSysName"))

        # portDesc(0), sysDesc(2), sysCap(3): no sysName(1).
        self.snmp.set("lldpV2PortConfigTLVsTxEnable", (IFINDEX, 1), "b", "0 2 3")
        set_done = time.monotonic()
        self.assertEqual(self.snmp.get("lldpV2PortConfigTLVsTxEnable", (IFINDEX, 1)), {0, 2, 3})
        _, f = self.next_frame(set_done, TX_INTERVAL + 1.5, what="the next LLDPDU")
        self.assertEqual(f.types(), [1, 2, 3, 4, 6, 7, 0])

    def test_transmit_credit_limits_a_burst_of_changes(self):
        """Each local change asks for a frame; the transmit credit (2 here,
        one back per second) limits how many leave at once, and the last
        change still goes out."""
        self.snmp.set("lldpV2TxCreditMax", (0,), "u", 2)
        time.sleep(FAST_START + 2)  # fast start over, credit full again
        start = time.monotonic()
        for i in range(6):
            self.snmp.set("lldpV2PortConfigTLVsTxEnable", (IFINDEX, 1), "b", "0 2 3" if i % 2 == 0 else "0 1 2 3")
        self.snmp.set("lldpV2PortConfigTLVsTxEnable", (IFINDEX, 1), "b", "0 2")
        burst = time.monotonic() - start
        self.assertLess(burst, 2.5, "the SNMP sets were too slow to make a burst")
        in_burst = [f for t, f in self.frames_since(start) if t <= start + burst]
        print(f"7 changes in {burst:.2f} s: {len(in_burst)} frames")
        self.assertGreaterEqual(len(in_burst), 1, "a local change sends a frame")
        # The full credit, then one frame per second at most.
        self.assertLessEqual(len(in_burst), 2 + math.ceil(burst), [f.types() for f in in_burst])
        self.next_frame(start, 3, lambda f: f.types() == [1, 2, 3, 4, 6, 0], "the last change on the wire")
