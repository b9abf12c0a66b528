"""The agent follows the kernel's links: while a link is down the
neighbours on both sides stay (they would age by their TTL, they are not
deleted) and nothing is sent; when it comes back transmission restarts at
once and both sides know each other again. On host interfaces
(--interfaces all) a veth that appears becomes a port that transmits, and
one that vanishes is no port any more."""

import signal
import time

from livecase import LiveCase, TTL, TX_INTERVAL
from livenet import (Frame, NEAREST_BRIDGE, Port, is_lldp, remote_rows, remote_table_stats, rx_stats, tx_frames,
                     veth, wait_until)
from test_two_agents import ALPHA, BETA, switch_scenario


class Links(LiveCase):

    def start(self, ns, side, ifname, name):
        return self.agent(ns, ["--scenario", self.write(f"{name}.yaml", switch_scenario(side, ifname)), "-v"],
                          name=name)

    def test_link_flap_within_ttl_keeps_the_neighbours(self):
        ns_a, if_a, ns_b, if_b = self.link(ALPHA["if_mac"], BETA["if_mac"])
        alpha = self.start(ns_a, ALPHA, if_a, "alpha")
        beta = self.start(ns_b, BETA, if_b, "beta")
        wait_until(lambda: len(remote_rows(alpha.snmp)) == 1 and len(remote_rows(beta.snmp)) == 1, 4,
                   what="both learned")
        rows = {a: remote_rows(a.snmp) for a in (alpha, beta)}
        stats = {a: remote_table_stats(a.snmp) for a in (alpha, beta)}

        # Down right after a frame of alpha, for less than a txInterval:
        # everything received stays within its TTL.
        sent = tx_frames(alpha.snmp, ALPHA["ifindex"])
        wait_until(lambda: tx_frames(alpha.snmp, ALPHA["ifindex"]) > sent, TX_INTERVAL + 1, interval=0.05,
                   what="a frame of alpha")
        ns_a.ip("link", "set", if_a, "down")
        wait_until(lambda: "link down" in alpha.log(), 2, interval=0.1, what="alpha logging its link down")
        down_tx = tx_frames(alpha.snmp, ALPHA["ifindex"])
        time.sleep(TTL - TX_INTERVAL - 3)
        self.assertEqual(tx_frames(alpha.snmp, ALPHA["ifindex"]), down_tx, "frames counted while the link is down")
        # A port that is down keeps what it received until the TTL runs out.
        for a in (alpha, beta):
            self.assertEqual(remote_rows(a.snmp), rows[a], a.log_path)
            self.assertEqual(remote_table_stats(a.snmp), stats[a], a.log_path)
        received = {a: rx_stats(a.snmp, side["ifindex"])["FramesTotal"] for a, side in ((alpha, ALPHA), (beta, BETA))}

        up = time.monotonic()
        ns_a.ip("link", "set", if_a, "up")
        # Link up restarts transmission with a fast start, on both sides (the
        # carrier went down under beta too), and alpha receives again.
        for a, side in ((beta, BETA), (alpha, ALPHA)):
            wait_until(lambda: rx_stats(a.snmp, side["ifindex"])["FramesTotal"] > received[a], 2, interval=0.1,
                       what=f"a frame received by {a.log_path} after link up")
        print(f"frames both ways {time.monotonic() - up:.2f} s after link up")
        for a in (alpha, beta):
            self.assertEqual(list(remote_rows(a.snmp).values()), list(rows[a].values()), a.log_path)
            self.assertEqual(remote_table_stats(a.snmp)["ageouts"], 0, a.log_path)

    def test_host_interfaces_appear_and_vanish(self):
        ns_a, if_a, ns_b, if_b = self.link()
        beta = self.agent(ns_b, ["--interfaces", "all", "-v"], name="beta")

        def ports():
            return sorted(i[0] for i in beta.snmp.table("lldpV2LocPortTable", ["lldpV2LocPortIdSubtype"]))
        self.assertEqual(ports(), [ns_b.ifindex(if_b)])

        # Listening on the far end before the link comes up: the new port
        # sends its first LLDPDU at once.
        if_a2, if_b2 = veth(ns_a, ns_b, up=False)
        wire = Port(ns_a, if_a2)
        self.addCleanup(wire.stop)
        appeared = time.monotonic()
        for ns, name in ((ns_a, if_a2), (ns_b, if_b2)):
            ns.ip("link", "set", name, "up")
        new_ifindex = ns_b.ifindex(if_b2)
        wait_until(lambda: ports() == sorted([ns_b.ifindex(if_b), new_ifindex]), 3, interval=0.1,
                   what=f"{if_b2} in lldpV2LocPortTable")
        _, f = wire.wait_frame(lambda f: is_lldp(f, NEAREST_BRIDGE), appeared, 3, "an LLDPDU on the new interface")
        self.assertEqual(Frame(f).src, ns_b.mac(if_b2))

        # A port whose link is down stays a port, through a reload too.
        ns_b.ip("link", "set", if_b2, "down")
        wait_until(lambda: "link down" in beta.log(), 2, interval=0.1, what=f"beta logging {if_b2} down")
        reloads = beta.log().count("reloaded")
        beta.proc.send_signal(signal.SIGHUP)
        wait_until(lambda: beta.log().count("reloaded") > reloads, 3, interval=0.1, what="beta reloading")
        self.assertEqual(ports(), sorted([ns_b.ifindex(if_b), new_ifindex]), beta.log_path)

        ns_b.ip("link", "del", if_b2)
        wait_until(lambda: ports() == [ns_b.ifindex(if_b)], 3, interval=0.1, what=f"{if_b2} gone from the port table")
        self.assertTrue(beta.running())
