"""Without CAP_NET_RAW the agent says so in one line and exits non-zero, on
host interfaces as on a scenario mapped to Linux interfaces; it never
half-runs: nothing is sent on the link."""

import shutil
import subprocess
import time

from livecase import BASIC_TLVS, LiveCase, scenario_text
from livenet import AGENT, Port, SNMP_PORT


class WithoutNetRaw(LiveCase):

    def test_one_line_and_non_zero_exit(self):
        if shutil.which("setpriv") is None:
            self.skipTest("setpriv (util-linux) is missing")
        ns_a, if_a, ns_p, if_p = self.link()
        wire = Port(ns_p, if_p)
        self.addCleanup(wire.stop)
        scenario = self.write("raw.yaml", scenario_text("lt-noraw", "02:00:5e:aa:00:01", [{
            "ifindex": 7, "name": "ge-1/0/7", "linux": if_a, "description": "no raw sockets",
            "agents": [("nearest-bridge", BASIC_TLVS)]}]))
        for args in (["--interfaces", if_a], ["--interfaces", "all"], ["--scenario", scenario]):
            with self.subTest(args=args):
                cmd = ns_a.exec_prefix() + ["setpriv", "--inh-caps=-net_raw", "--bounding-set=-net_raw", "--",
                                            AGENT, "--listen", f"udp:127.0.0.1:{SNMP_PORT}", *args]
                res = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=20,
                                     stdin=subprocess.DEVNULL)
                lines = res.stdout.strip().splitlines()
                self.assertNotEqual(res.returncode, 0, res.stdout)
                self.assertEqual(len(lines), 1, res.stdout)
                self.assertRegex(lines[0], r"(?i)cap_net_raw")
        time.sleep(0.2)
        self.assertEqual(wire.frames(), [])
