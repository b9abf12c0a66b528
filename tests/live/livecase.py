"""The test case base of the live tests and the scenario files they start
agents with."""

import os
import sys
import unittest

import livenet
from livenet import Agent, Netns, veth

# The timing every live scenario runs with: regular frames every 5 s, TTL
# 5 x 2 + 1 = 11 s, fast start of three frames one second apart.
TX_INTERVAL = 5
HOLD = 2
TTL = TX_INTERVAL * HOLD + 1
FAST_INIT = 3
MSG_FAST_TX = 1
FAST_START = FAST_INIT * MSG_FAST_TX
REINIT_DELAY = 1


def lldp_config(tx_interval=TX_INTERVAL, hold=HOLD, fast_init=FAST_INIT, msg_fast_tx=MSG_FAST_TX,
                reinit_delay=REINIT_DELAY, credit=10):
    return (f"{{tx-interval: {tx_interval}, hold-multiplier: {hold}, tx-fast-init: {fast_init}, "
            f"msg-fast-tx: {msg_fast_tx}, reinit-delay: {reinit_delay}, tx-credit-max: {credit}}}")


def scenario_text(sys_name, chassis_mac, ports, sys_desc=None, lldp=None, mgmt=None,
                  caps="{supported: [bridge, router], enabled: [bridge]}", neighbours=""):
    """A one-node scenario. ports: dicts with ifindex, name, linux (optional),
    description, agents ([(agent name, [tlvs])]: the agents that run, the
    others are disabled), management (address sent by the first agent,
    optional), neighbour_limit (optional)."""
    lines = [
        "system:",
        f'  chassis-id: {{subtype: mac-address, value: "{chassis_mac}"}}',
        f"  name: {sys_name}",
        f'  description: "{sys_desc or sys_name + " live test switch"}"',
        f"  capabilities: {caps}",
        f"lldp: {lldp or lldp_config()}",
        "nodes:",
        "  - id: 1",
    ]
    if mgmt:
        lines += ["    management-addresses:",
                  f"      - {{address: {mgmt[0]}, if-subtype: 2, if-id: {mgmt[1]}}}"]
    lines.append("interfaces:")
    for p in ports:
        lines += [f"  - ifindex: {p['ifindex']}",
                  "    node: 1",
                  "    type: gigabit-ethernet",
                  f"    name: {p['name']}"]
        if p.get("linux"):
            lines.append(f"    linux: {p['linux']}")
        lines += ["    lldp:",
                  f"      port-id: {{subtype: interface-name, value: {p['name']}}}",
                  f'      description: "{p["description"]}"']
        if p.get("neighbour_limit"):
            lines.append(f"      neighbour-limit: {p['neighbour_limit']}")
        lines += ["      agents:"]
        for i, (agent, tlvs) in enumerate(p["agents"]):
            lines += [f"        - agent: {agent}",
                      f"          tlvs: [{', '.join(tlvs)}]"]
            if i == 0 and p.get("management"):
                lines.append(f"          management-address: {{address: {p['management']}, transmit: true}}")
        running = {agent for agent, _ in p["agents"]}
        for agent in AGENT_NAMES:
            if agent not in running:
                lines += [f"        - agent: {agent}",
                          "          admin-status: disabled"]
    text = "\n".join(lines) + "\n"
    if neighbours:
        text += neighbours
    return text


BASIC_TLVS = ["port-desc", "sys-name", "sys-desc", "sys-cap"]
# An Ethernet port runs all three agents unless told otherwise.
AGENT_NAMES = ["nearest-bridge", "nearest-non-tpmr-bridge", "nearest-customer-bridge"]


class LiveCase(unittest.TestCase):
    """Skips when the agent was not built or (needs_namespaces) the kernel
    refuses namespaces; shows the logs of the agents of a failed test."""

    needs_namespaces = True

    def setUp(self):
        if not livenet.AGENT or not os.access(livenet.AGENT, os.X_OK):
            self.skipTest("lldpv2-agent is not built (LLDPV2_AGENT)")
        if self.needs_namespaces:
            reason = livenet.namespaces_unavailable()
            if reason:
                self.skipTest(reason)
        self.dir = livenet.workdir()
        self.agents = []
        self.addCleanup(self._stop_agents)

    def _failed(self):
        result = getattr(getattr(self, "_outcome", None), "result", None)
        if result is None:
            return False
        return any(t is self for t, _ in result.failures + result.errors)

    def _stop_agents(self):
        if self._failed():
            for a in self.agents:
                tail = "\n".join(a.log().splitlines()[-200:])
                sys.stderr.write(f"\n---- {a.log_path} ({' '.join(a.command())}), last lines\n{tail}\n")
        for a in self.agents:
            a._kill_quietly()

    def write(self, name, text):
        path = os.path.join(self.dir, name)
        with open(path, "w", encoding="utf-8") as f:
            f.write(text)
        return path

    def agent(self, ns, args, name="agent", start=True, port=livenet.SNMP_PORT):
        a = Agent(ns, args, self.dir, port=port, name=name)
        self.agents.append(a)
        if start:
            a.start()
        return a

    def link(self, mac_a=None, mac_b=None):
        """Two namespaces joined by a veth pair: (ns_a, if_a, ns_b, if_b)."""
        ns_a, ns_b = Netns(), Netns()
        if_a, if_b = veth(ns_a, ns_b, mac_a, mac_b)
        return ns_a, if_a, ns_b, if_b
