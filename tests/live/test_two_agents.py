"""Two agents in two namespaces joined by a veth pair: they learn each other
within one fast-start period, show each other in lldpV2RemTable with the
right chassis id, port id and system name, age the other out after kill -9
within TTL + 1 s, and delete it at once on its shutdown LLDPDU (SIGTERM),
with the statistics following."""

import os
import time

from livecase import (BASIC_TLVS, FAST_START, LiveCase, TTL, TX_INTERVAL, scenario_text)
from livenet import mac_bytes, remote_rows, remote_table_stats, rx_stats, tx_frames, wait_until

ALPHA = {"sys_name": "lt-alpha", "chassis": "02:00:5e:aa:00:01", "ifindex": 7, "port": "ge-1/0/7",
         "if_mac": "02:00:5e:aa:10:07"}
BETA = {"sys_name": "lt-beta", "chassis": "02:00:5e:bb:00:01", "ifindex": 3, "port": "ge-1/0/3",
        "if_mac": "02:00:5e:bb:10:03"}

# Learning: one fast-start period, plus the time of an SNMP walk or two.
LEARN_BOUND = FAST_START + 1.5
# A shutdown LLDPDU deletes at once; the TTL is 11 s.
SHUTDOWN_BOUND = 2.0


def switch_scenario(side, linux_if):
    return scenario_text(side["sys_name"], side["chassis"], [{
        "ifindex": side["ifindex"], "name": side["port"], "linux": linux_if,
        "description": f"{side['sys_name']} uplink", "agents": [("nearest-bridge", BASIC_TLVS)]}])


def cpu_seconds(pid):
    """User and system CPU time of a process so far."""
    with open(f"/proc/{pid}/stat", encoding="ascii") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class TwoAgents(LiveCase):

    def setUp(self):
        super().setUp()
        self.ns_a, self.if_a, self.ns_b, self.if_b = self.link(ALPHA["if_mac"], BETA["if_mac"])

    def start_scenario_agent(self, side, ns, ifname, name):
        path = self.write(f"{name}.yaml", switch_scenario(side, ifname))
        return self.agent(ns, ["--scenario", path, "-v"], name=name)

    def assert_logged(self, agent, event, chassis):
        """-v logs the event with a timestamp, naming the neighbour."""
        self.assertRegex(agent.log(), rf"(?m)^\S*\d\d:\d\d:\d\d\S* .*neighbour {event} .*{chassis}")

    def wait_one_neighbour(self, agent, ifindex, sys_name, since, bound=LEARN_BOUND):
        """The single lldpV2RemTable row of (ifIndex, nearest bridge), once
        its system name is sys_name, at most `bound` seconds after since."""
        def learned():
            rows = remote_rows(agent.snmp)
            mine = {k: r for k, r in rows.items() if k[:2] == (ifindex, 1)}
            if len(mine) == 1 and next(iter(mine.values())).get("lldpV2RemSysName") == sys_name.encode():
                return mine
            return None
        left = max(0.5, since + bound - time.monotonic())
        rows = wait_until(learned, left, what=f"{sys_name} in lldpV2RemTable on ifIndex {ifindex}")
        return next(iter(rows.items()))

    def assert_row(self, row, chassis, port_subtype, port_id, sys_name):
        self.assertEqual(row["lldpV2RemChassisIdSubtype"], 4)  # macAddress
        self.assertEqual(row["lldpV2RemChassisId"], chassis)
        self.assertEqual(row["lldpV2RemPortIdSubtype"], port_subtype)
        self.assertEqual(row["lldpV2RemPortId"], port_id)
        self.assertEqual(row["lldpV2RemSysName"], sys_name)

    def start_pair(self):
        alpha = self.start_scenario_agent(ALPHA, self.ns_a, self.if_a, "alpha")
        beta = self.start_scenario_agent(BETA, self.ns_b, self.if_b, "beta")
        t0 = time.monotonic()
        _, row = self.wait_one_neighbour(alpha, ALPHA["ifindex"], BETA["sys_name"], t0)
        self.assert_row(row, mac_bytes(BETA["chassis"]), 5, BETA["port"].encode(), BETA["sys_name"].encode())
        _, row = self.wait_one_neighbour(beta, BETA["ifindex"], ALPHA["sys_name"], t0)
        self.assert_row(row, mac_bytes(ALPHA["chassis"]), 5, ALPHA["port"].encode(), ALPHA["sys_name"].encode())
        print(f"both learned {time.monotonic() - t0:.2f} s after beta answered SNMP")
        self.assert_logged(alpha, "inserted", BETA["chassis"])
        return alpha, beta

    def assert_counted(self, alpha, beta):
        """What beta sent, alpha received and inserted once, nothing discarded."""
        tx_before = tx_frames(beta.snmp, BETA["ifindex"])
        rx = rx_stats(alpha.snmp, ALPHA["ifindex"])
        tx_after = tx_frames(beta.snmp, BETA["ifindex"])
        self.assertGreaterEqual(tx_before, 1)
        # Alpha ran before beta started: it received every frame beta sent
        # (one may still be on its way).
        self.assertLessEqual(tx_before - 1, rx["FramesTotal"])
        self.assertLessEqual(rx["FramesTotal"], tx_after)
        self.assertEqual(rx["FramesDiscardedTotal"], 0)
        self.assertEqual(rx["FramesErrors"], 0)
        stats = remote_table_stats(alpha.snmp)
        self.assertEqual(stats["inserts"], 1)
        self.assertEqual(stats["ageouts"], 0)
        return stats

    def test_learn_then_age_out_after_kill_9(self):
        alpha, beta = self.start_pair()
        before = self.assert_counted(alpha, beta)
        port_ageouts = rx_stats(alpha.snmp, ALPHA["ifindex"])["AgeoutsTotal"]

        beta.kill9()
        killed = time.monotonic()
        wait_until(lambda: not any(k[:2] == (ALPHA["ifindex"], 1) for k in remote_rows(alpha.snmp)),
                   TTL + 1, interval=0.25, what=f"beta aged out within TTL + 1 = {TTL + 1} s")
        gone = time.monotonic() - killed
        print(f"aged out {gone:.2f} s after kill -9 (TTL {TTL} s)")
        # The last frame beta sent left at most one txInterval before the kill.
        self.assertGreaterEqual(gone, TTL - TX_INTERVAL - 1, "aged out before its TTL ran out")
        self.assert_logged(alpha, "aged-out", BETA["chassis"])

        after = remote_table_stats(alpha.snmp)
        self.assertEqual(after["ageouts"], before["ageouts"] + 1)
        self.assertEqual(after["inserts"], before["inserts"])
        self.assertEqual(rx_stats(alpha.snmp, ALPHA["ifindex"])["AgeoutsTotal"], port_ageouts + 1)

    def test_shutdown_lldpdu_deletes_at_once(self):
        alpha, beta = self.start_pair()
        before = self.assert_counted(alpha, beta)
        rx_before = rx_stats(alpha.snmp, ALPHA["ifindex"])["FramesTotal"]
        changed_at = alpha.snmp.get("lldpV2StatsRemTablesLastChangeTime")
        time.sleep(0.1)

        stopped = time.monotonic()
        self.assertEqual(beta.terminate(), 0, beta.log())
        wait_until(lambda: not any(k[:2] == (ALPHA["ifindex"], 1) for k in remote_rows(alpha.snmp)),
                   SHUTDOWN_BOUND, interval=0.1, what="beta's row deleted by its shutdown LLDPDU")
        print(f"deleted {time.monotonic() - stopped:.2f} s after SIGTERM")
        self.assertLess(time.monotonic() - stopped, SHUTDOWN_BOUND + 0.5)
        self.assert_logged(alpha, "deleted", BETA["chassis"])

        after = remote_table_stats(alpha.snmp)
        self.assertEqual(after["deletes"], before["deletes"] + 1)
        # lldpV2StatsRemTablesLastChangeTime: the insert, then the delete.
        self.assertGreater(changed_at, 0)
        self.assertGreater(alpha.snmp.get("lldpV2StatsRemTablesLastChangeTime"), changed_at)
        self.assertEqual(after["ageouts"], before["ageouts"])
        self.assertGreater(rx_stats(alpha.snmp, ALPHA["ifindex"])["FramesTotal"], rx_before)

        # Beta comes back: a new insert, learned again within fast start.
        beta.start()
        self.wait_one_neighbour(alpha, ALPHA["ifindex"], BETA["sys_name"], time.monotonic())
        self.assertEqual(remote_table_stats(alpha.snmp)["inserts"], before["inserts"] + 1)

    def test_idle_agents_sleep(self):
        """Between events (a frame every 5 s) an agent uses no CPU: no busy
        waiting in the event loop."""
        alpha, beta = self.start_pair()
        time.sleep(FAST_START)
        before = {a: cpu_seconds(a.proc.pid) for a in (alpha, beta)}
        time.sleep(3)
        for a in (alpha, beta):
            used = cpu_seconds(a.proc.pid) - before[a]
            print(f"{a.log_path}: {used:.3f} s of CPU in 3 s")
            self.assertLess(used, 0.1)

    def test_agent_on_host_interfaces(self):
        """Beta built from the kernel's view of its namespace (--interfaces):
        chassis id = the interface's MAC, its port and system name as its own
        local tables show them."""
        alpha = self.start_scenario_agent(ALPHA, self.ns_a, self.if_a, "alpha")
        self.ns_b.ip("addr", "add", "192.0.2.2/24", "dev", self.if_b)
        beta = self.agent(self.ns_b, ["--interfaces", self.if_b], name="beta")
        t0 = time.monotonic()
        kernel_ifindex = self.ns_b.ifindex(self.if_b)

        self.assertEqual(beta.snmp.get("lldpV2LocChassisIdSubtype"), 4)
        self.assertEqual(beta.snmp.get("lldpV2LocChassisId"), mac_bytes(BETA["if_mac"]))
        sys_name = beta.snmp.get("lldpV2LocSysName")
        self.assertEqual(sys_name, os.uname().nodename.encode())
        ports = beta.snmp.table("lldpV2LocPortTable", ["lldpV2LocPortIdSubtype", "lldpV2LocPortId",
                                                        "lldpV2LocPortDesc"])
        self.assertEqual(list(ports), [(kernel_ifindex,)])
        local_port = ports[(kernel_ifindex,)]
        # The interface's IPv4 address is a management address, on that interface.
        man = beta.snmp.table("lldpV2LocManAddrTable", ["lldpV2LocManAddrIfSubtype", "lldpV2LocManAddrIfId"])
        self.assertEqual(man, {(1, 4, 192, 0, 2, 2): {"lldpV2LocManAddrIfSubtype": 2,
                                                     "lldpV2LocManAddrIfId": kernel_ifindex}})

        _, row = self.wait_one_neighbour(alpha, ALPHA["ifindex"], sys_name.decode(), t0)
        self.assert_row(row, mac_bytes(BETA["if_mac"]), local_port["lldpV2LocPortIdSubtype"],
                        local_port["lldpV2LocPortId"], sys_name)
        self.assertEqual(row["lldpV2RemPortDesc"], local_port["lldpV2LocPortDesc"])
        _, row = self.wait_one_neighbour(beta, kernel_ifindex, ALPHA["sys_name"], t0)
        self.assert_row(row, mac_bytes(ALPHA["chassis"]), 5, ALPHA["port"].encode(), ALPHA["sys_name"].encode())

        self.assertEqual(beta.terminate(), 0, beta.log())
        wait_until(lambda: not any(k[:2] == (ALPHA["ifindex"], 1) for k in remote_rows(alpha.snmp)),
                   SHUTDOWN_BOUND, interval=0.1, what="beta's row deleted by its shutdown LLDPDU")

