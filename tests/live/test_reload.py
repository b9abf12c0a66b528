"""SIGHUP reloads the scenario: a changed system name shows in the MIB and
on the wire; a scenario with a mistake is refused whole and the running
switch goes on as it was."""

import signal
import time

from livecase import BASIC_TLVS, LiveCase, TX_INTERVAL, lldp_config, scenario_text
from livenet import NEAREST_BRIDGE, Frame, Port, is_lldp, mac_bytes, mac_text, wait_until

A_MAC = mac_bytes("02:00:5e:aa:10:07")


def text(sys_name, linux_if, tx_interval=TX_INTERVAL):
    return scenario_text(sys_name, "02:00:5e:aa:00:01", [{
        "ifindex": 7, "name": "ge-1/0/7", "linux": linux_if, "description": "reloaded port",
        "agents": [("nearest-bridge", BASIC_TLVS)]}], lldp=lldp_config(tx_interval=tx_interval))


class Reload(LiveCase):

    def test_sighup_applies_a_valid_scenario_and_refuses_a_broken_one(self):
        ns_a, if_a, ns_p, if_p = self.link(mac_text(A_MAC))
        wire = Port(ns_p, if_p)
        self.addCleanup(wire.stop)
        path = self.write("reload.yaml", text("lt-before", if_a))
        # -v -v: every frame sent is in the log a failure shows.
        a = self.agent(ns_a, ["--scenario", path, "-v", "-v"])

        def named(name):
            return lambda f: (is_lldp(f, NEAREST_BRIDGE) and f[6:12] == A_MAC and
                              Frame(f).tlv(5) == name.encode() and Frame(f).ttl != 0)
        wire.wait_frame(named("lt-before"), 0, 3, "an LLDPDU of lt-before")

        self.write("reload.yaml", text("lt-after", if_a))
        hup = time.monotonic()
        a.proc.send_signal(signal.SIGHUP)
        wait_until(lambda: a.snmp.get("lldpV2LocSysName") == b"lt-after", 2, interval=0.1,
                   what="the new system name in lldpV2LocSysName")
        wire.wait_frame(named("lt-after"), hup, TX_INTERVAL + 1.5, "an LLDPDU of lt-after")

        # tx-interval 1 is out of range: the whole file is refused.
        self.write("reload.yaml", text("lt-broken", if_a, tx_interval=1))
        hup = time.monotonic()
        a.proc.send_signal(signal.SIGHUP)
        wait_until(lambda: "refused" in a.log(), 2, interval=0.1, what="the reload refused in the log")
        self.assertTrue(a.running())
        self.assertEqual(a.snmp.get("lldpV2LocSysName"), b"lt-after")
        self.assertEqual(a.snmp.get("lldpV2MessageTxInterval"), TX_INTERVAL)
        wire.wait_frame(named("lt-after"), hup, 2 * TX_INTERVAL + 1, "the running switch still sending")
        self.assertEqual(a.terminate(), 0, a.log())
