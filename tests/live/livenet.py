"""Building blocks of the live tests: network namespaces joined by veth
pairs, lldpv2-agent processes started inside them, net-snmp's tools run
against those agents, raw Ethernet frames sent and captured on the peer end
of a veth, and a small LLDPDU reader for the frames captured.

Everything made here (namespaces, the veths inside them, agent processes,
temporary directories) is registered for removal when it is made, and is
removed on every way out: the test's own finally/tearDown, interpreter exit
(atexit), and SIGTERM/SIGINT/SIGHUP. Namespaces and temporary directories
carry the test process's pid in their name, so a later run removes what a
run killed with SIGKILL left.
Veth ends are created directly inside the namespaces: nothing is ever added
to, or sent on, the machine's own interfaces.
"""

import atexit
import contextlib
import ctypes
import errno
import os
import re
import select
import signal
import shutil
import socket
import subprocess
import tempfile
import threading
import time

AGENT = os.environ.get("LLDPV2_AGENT", "")
MIBS_DIR = os.environ.get("LLDPV2_MIBS_DIR", "")
TSHARK = os.environ.get("LLDPV2_TSHARK", "") or shutil.which("tshark") or ""
MIB_MODULES = "LLDP-V2-MIB:LLDP-EXT-DOT1-V2-MIB:LLDP-EXT-DOT3-V2-MIB"

ETH_P_LLDP = 0x88CC
NEAREST_BRIDGE = bytes.fromhex("0180c200000e")
NEAREST_NON_TPMR_BRIDGE = bytes.fromhex("0180c2000003")
NEAREST_CUSTOMER_BRIDGE = bytes.fromhex("0180c2000000")
# lldpV2DestAddressTable rows of the three group addresses.
DEST_INDEX = {NEAREST_BRIDGE: 1, NEAREST_NON_TPMR_BRIDGE: 2, NEAREST_CUSTOMER_BRIDGE: 3}

SNMP_PORT = 1161
PACKET_OUTGOING = 4
CLONE_NEWNET = 0x40000000
PR_SET_PDEATHSIG = 1

_libc = ctypes.CDLL(None, use_errno=True)


# ---------------------------------------------------------------------------
# Removal on every exit path

_cleanups = {}
_cleanup_seq = 0
_cleanup_lock = threading.RLock()


def defer(fn):
    """Registers fn to run at exit (last registered runs first); returns a
    token for undo()."""
    global _cleanup_seq
    with _cleanup_lock:
        _cleanup_seq += 1
        _cleanups[_cleanup_seq] = fn
        return _cleanup_seq


def undo(token):
    """Runs one registered cleanup now (once)."""
    with _cleanup_lock:
        fn = _cleanups.pop(token, None)
    if fn is not None:
        fn()


def run_cleanups():
    with _cleanup_lock:
        tokens = sorted(_cleanups, reverse=True)
    for token in tokens:
        try:
            undo(token)
        except Exception as exc:  # keep removing the rest
            print(f"live tests: cleanup failed: {exc!r}", flush=True)


def _on_signal(signum, _frame):
    run_cleanups()
    signal.signal(signum, signal.SIG_DFL)
    os.kill(os.getpid(), signum)


atexit.register(run_cleanups)
for _sig in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
    signal.signal(_sig, _on_signal)


# ---------------------------------------------------------------------------
# Helpers

def run(cmd, timeout=20, check=True, **kw):
    """subprocess.run with a bounded time and text output."""
    res = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                         timeout=timeout, stdin=subprocess.DEVNULL, **kw)
    if check and res.returncode != 0:
        raise RuntimeError(f"{' '.join(cmd)} exited {res.returncode}: {res.stdout.strip()}")
    return res


def wait_until(pred, timeout, interval=0.2, what="condition"):
    """Polls pred() until it returns a true value, at most timeout seconds;
    returns that value or raises AssertionError."""
    deadline = time.monotonic() + timeout
    while True:
        value = pred()
        if value:
            return value
        if time.monotonic() >= deadline:
            raise AssertionError(f"timed out after {timeout:.1f} s waiting for {what}")
        time.sleep(interval)


def mac_text(mac):
    return ":".join(f"{b:02x}" for b in mac)


def mac_bytes(text):
    return bytes.fromhex(text.replace(":", "").replace("-", ""))


def _set_parent_death_signal():
    # A child outlives no test: SIGKILL when the test process dies.
    _libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


# ---------------------------------------------------------------------------
# Network namespaces

_PREFIX = f"ltv{os.getpid()}n"
_NAME_RE = re.compile(r"^ltv(\d+)n\d+$")
_counter = 0
_availability = None


def _next_id():
    global _counter
    _counter += 1
    return _counter


def _pid_alive(pid):
    """True while the process runs (a zombie no longer does)."""
    try:
        with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as f:
            state = f.read().rsplit(")", 1)[1].split()[0]
    except (OSError, IndexError):
        return False
    return state not in ("Z", "X")


def _remove_netns(name):
    # Processes still inside are ours (started by this harness): stop them
    # first, or the namespace outlives its name.
    res = run(["ip", "netns", "pids", name], check=False)
    for pid in res.stdout.split():
        with contextlib.suppress(ProcessLookupError, ValueError):
            os.kill(int(pid), signal.SIGKILL)
    run(["ip", "netns", "del", name], check=False)


_DIR_RE = re.compile(r"^lt-(?:live|snmp)-(\d+)-")


def sweep_stale():
    """Removes the namespaces and temporary directories of earlier runs
    whose test process is gone."""
    with contextlib.suppress(OSError):
        for name in os.listdir("/run/netns"):
            m = _NAME_RE.match(name)
            if m and int(m.group(1)) != os.getpid() and not _pid_alive(int(m.group(1))):
                _remove_netns(name)
    tmp = tempfile.gettempdir()
    with contextlib.suppress(OSError):
        for name in os.listdir(tmp):
            m = _DIR_RE.match(name)
            if m and int(m.group(1)) != os.getpid() and not _pid_alive(int(m.group(1))):
                shutil.rmtree(os.path.join(tmp, name), ignore_errors=True)


def namespaces_unavailable():
    """None when network namespaces and veth pairs can be made here, else
    why not."""
    global _availability
    if _availability is not None:
        return _availability or None
    reason = ""
    if os.geteuid() != 0:
        reason = "network namespaces need root (run the live tests as root)"
    elif shutil.which("ip") is None:
        reason = "the ip command (iproute2) is missing"
    else:
        sweep_stale()
        a = f"{_PREFIX}{_next_id()}"
        b = f"{_PREFIX}{_next_id()}"
        try:
            res = run(["ip", "netns", "add", a], check=False)
            if res.returncode != 0:
                reason = f"the kernel refuses network namespaces: {res.stdout.strip()}"
            else:
                run(["ip", "netns", "add", b], check=False)
                res = run(["ip", "-n", a, "link", "add", "ltprobe0", "type", "veth", "peer", "name", "ltprobe1",
                           "netns", b], check=False)
                if res.returncode != 0:
                    reason = f"the kernel refuses veth pairs: {res.stdout.strip()}"
        finally:
            _remove_netns(a)
            _remove_netns(b)
    _availability = reason
    return reason or None


class Netns:
    """A network namespace with its loopback up, removed at exit."""

    def __init__(self):
        self.name = f"{_PREFIX}{_next_id()}"
        run(["ip", "netns", "add", self.name])
        self._token = defer(lambda: _remove_netns(self.name))
        run(["ip", "-n", self.name, "link", "set", "lo", "up"])

    def close(self):
        undo(self._token)

    def ip(self, *args, check=True):
        return run(["ip", "-n", self.name, *args], check=check)

    def exec_prefix(self):
        return ["ip", "netns", "exec", self.name]

    def ifindex(self, ifname):
        out = self.ip("-o", "link", "show", "dev", ifname).stdout
        return int(out.split(":", 1)[0])

    def mac(self, ifname):
        out = self.ip("-o", "link", "show", "dev", ifname).stdout
        m = re.search(r"link/ether ([0-9a-f:]{17})", out)
        return mac_bytes(m.group(1))


def veth(ns_a, ns_b, mac_a=None, mac_b=None, up=True):
    """A veth pair with one end in each namespace; returns the two names.
    The pair goes with either namespace."""
    n = _next_id()
    pid = os.getpid()
    name_a, name_b = f"lv{pid}{n}a", f"lv{pid}{n}b"
    cmd = ["ip", "-n", ns_a.name, "link", "add", name_a]
    if mac_a:
        cmd += ["address", mac_a]
    cmd += ["type", "veth", "peer", "name", name_b]
    if mac_b:
        cmd += ["address", mac_b]
    cmd += ["netns", ns_b.name]
    run(cmd)
    for ns, name in ((ns_a, name_a), (ns_b, name_b)):
        # No IPv6 autoconfiguration chatter on the test links.
        run(["ip", "netns", "exec", ns.name, "sysctl", "-q", "-w", f"net.ipv6.conf.{name}.disable_ipv6=1"],
            check=False)
        if up:
            ns.ip("link", "set", name, "up")
    if up:
        # The kernel reports the carrier up a moment later (link watch):
        # agents started now find the links up.
        for ns, name in ((ns_a, name_a), (ns_b, name_b)):
            wait_until(lambda: "state UP" in ns.ip("-o", "link", "show", "dev", name).stdout, 5, interval=0.05,
                       what=f"{name} up")
    return name_a, name_b


@contextlib.contextmanager
def in_netns(ns):
    """Runs the block with this thread in the namespace (sockets made in it
    stay there)."""
    own = os.open("/proc/thread-self/ns/net", os.O_RDONLY)
    target = os.open(f"/run/netns/{ns.name}", os.O_RDONLY)
    try:
        if _libc.setns(target, CLONE_NEWNET) != 0:
            err = ctypes.get_errno()
            raise OSError(err, f"setns {ns.name}: {os.strerror(err)}")
        try:
            yield
        finally:
            if _libc.setns(own, CLONE_NEWNET) != 0:
                raise OSError(ctypes.get_errno(), "setns back to the test's namespace failed")
    finally:
        os.close(own)
        os.close(target)


# ---------------------------------------------------------------------------
# Raw frames on a veth end

class Port:
    """An AF_PACKET socket on one interface of a namespace: sends frames and
    captures the LLDP frames that arrive (not those it sends), in a
    background thread, with their arrival time."""

    def __init__(self, ns, ifname, capture=True):
        self.ifname = ifname
        with in_netns(ns):
            self.sock = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_LLDP))
            self.sock.bind((ifname, ETH_P_LLDP))
        self._frames = []
        self._error = None
        self._lock = threading.Lock()
        self._stop = threading.Event()
        self._thread = None
        self._token = defer(self.close)
        if capture:
            self._thread = threading.Thread(target=self._loop, daemon=True)
            self._thread.start()

    def _loop(self):
        while not self._stop.is_set():
            ready, _, _ = select.select([self.sock], [], [], 0.1)
            if not ready:
                continue
            try:
                data, addr = self.sock.recvfrom(65535)
            except OSError as exc:
                # A link that was down reports it once; the socket goes on.
                if exc.errno == errno.ENETDOWN:
                    continue
                self._error = exc
                return
            if addr[2] == PACKET_OUTGOING:
                continue
            with self._lock:
                self._frames.append((time.monotonic(), data))

    def send(self, frame):
        self.sock.send(frame)

    def frames(self, since=0.0):
        """[(arrival time, frame)] that arrived at or after `since`."""
        if self._error is not None and not self._stop.is_set():
            raise RuntimeError(f"capture on {self.ifname} stopped: {self._error!r}")
        with self._lock:
            return [(t, f) for t, f in self._frames if t >= since]

    def wait_frame(self, pred, since, timeout, what="an LLDP frame"):
        """The first frame after `since` for which pred(frame) holds."""
        def find():
            for t, f in self.frames(since):
                if pred(f):
                    return (t, f)
            return None
        return wait_until(find, timeout, interval=0.05, what=what)

    def close(self):
        self._stop.set()
        if self._thread is not None:
            self._thread.join(2)
        self.sock.close()

    def stop(self):
        undo(self._token)


# ---------------------------------------------------------------------------
# LLDPDU reading (for frames captured on the wire)

class Frame:
    """One captured LLDP frame: addresses and its TLVs in order."""

    def __init__(self, data):
        self.dst, self.src = data[0:6], data[6:12]
        self.ethertype = int.from_bytes(data[12:14], "big")
        self.tlvs = []  # [(type, value)]
        pos = 14
        while pos + 2 <= len(data):
            head = int.from_bytes(data[pos:pos + 2], "big")
            t, n = head >> 9, head & 0x1FF
            self.tlvs.append((t, data[pos + 2:pos + 2 + n]))
            pos += 2 + n
            if t == 0:
                break

    def tlv(self, t):
        for tt, v in self.tlvs:
            if tt == t:
                return v
        return None

    def types(self):
        return [t for t, _ in self.tlvs]

    @property
    def ttl(self):
        v = self.tlv(3)
        return int.from_bytes(v[:2], "big") if v else None


def is_lldp(data, dst=None):
    return len(data) >= 14 and data[12:14] == b"\x88\xcc" and (dst is None or data[0:6] == dst)


# ---------------------------------------------------------------------------
# net-snmp's tools

class Bits(frozenset):
    """A BITS value: the numbers of the bits that are set."""


def _parse_bits(tokens):
    # "BITS: 28 00 2 4": the octets in hex, then the numbers of the set bits.
    for k in range(len(tokens), -1, -1):
        octets = tokens[:k]
        if not all(re.fullmatch(r"[0-9A-Fa-f]{2}", t) for t in octets):
            continue
        try:
            listed = {int(t) for t in tokens[k:]}
        except ValueError:
            continue
        data = bytes(int(t, 16) for t in octets)
        bits = {i for i in range(len(data) * 8) if data[i // 8] & (0x80 >> (i % 8))}
        if bits == listed:
            return Bits(bits)
    raise ValueError(f"cannot read BITS value {' '.join(tokens)!r}")


def _parse_value(text):
    text = text.strip()
    if text.startswith("No Such") or text.startswith("No more variables"):
        return None
    if text == '""':
        return b""
    if ":" not in text:
        # Timeticks with -Ot come bare.
        return int(text.split()[0])
    kind, _, rest = text.partition(":")
    rest = rest.strip()
    if kind == "Hex-STRING":
        return bytes.fromhex(rest.replace("\n", " "))
    if kind == "STRING":
        return rest.strip('"').encode()
    if kind == "BITS":
        return _parse_bits(rest.split())
    if kind in ("INTEGER", "Gauge32", "Counter32", "Counter64", "Unsigned32", "Timeticks"):
        return int(rest.split()[0])
    if kind == "OID":
        return tuple(int(x) for x in rest.strip(".").split("."))
    return rest


def parse_varbinds(output):
    """[(oid tuple, value)] of a tool's -On output; values continued on
    further lines (long hex strings) are joined."""
    items = []
    for line in output.splitlines():
        if line.startswith("."):
            oid, _, value = line.partition(" = ")
            items.append([tuple(int(x) for x in oid.strip(".").split(".")), value])
        elif items and line.strip():
            items[-1][1] += "\n" + line
    return [(oid, _parse_value(value)) for oid, value in items]


_oid_cache = {}

# Every object the tests use, translated in one run of snmptranslate.
KNOWN_OBJECTS = [
    "lldpV2MessageTxInterval", "lldpV2MessageTxHoldMultiplier", "lldpV2TxCreditMax", "lldpV2PortConfigAdminStatus",
    "lldpV2PortConfigTLVsTxEnable", "lldpV2StatsRemTablesInserts", "lldpV2StatsRemTablesDeletes",
    "lldpV2StatsRemTablesDrops", "lldpV2StatsRemTablesAgeouts", "lldpV2StatsRemTablesLastChangeTime",
    "lldpV2StatsTxPortFramesTotal",
    "lldpV2StatsRxPortFramesDiscardedTotal", "lldpV2StatsRxPortFramesErrors", "lldpV2StatsRxPortFramesTotal",
    "lldpV2StatsRxPortTLVsDiscardedTotal", "lldpV2StatsRxPortTLVsUnrecognizedTotal",
    "lldpV2StatsRxPortAgeoutsTotal", "lldpV2LocChassisIdSubtype", "lldpV2LocChassisId", "lldpV2LocSysName",
    "lldpV2LocSysDesc", "lldpV2LocSysCapSupported", "lldpV2LocSysCapEnabled", "lldpV2LocPortTable",
    "lldpV2LocPortIdSubtype", "lldpV2LocPortId", "lldpV2LocPortDesc", "lldpV2LocManAddrTable",
    "lldpV2LocManAddrIfId", "lldpV2LocManAddrIfSubtype", "lldpV2RemTable", "lldpV2RemChassisIdSubtype",
    "lldpV2RemChassisId",
    "lldpV2RemPortIdSubtype", "lldpV2RemPortId", "lldpV2RemPortDesc", "lldpV2RemSysName", "lldpV2RemSysDesc",
    "lldpV2RemSysCapSupported", "lldpV2RemSysCapEnabled", "lldpV2RemTooManyNeighbors",
    "lldpV2RemManAddrTable", "lldpV2RemManAddrIfSubtype",
    "lldpV2RemManAddrIfId", "lldpV2RemUnknownTLVTable", "lldpV2RemUnknownTLVInfo",
]


def _translate(names):
    out = run(["snmptranslate", "-M", MIBS_DIR, "-m", MIB_MODULES, "-On", "-IR", *names],
              env=dict(os.environ, MIBS="")).stdout
    oids = [line.strip() for line in out.splitlines() if line.strip()]
    if len(oids) != len(names):
        raise RuntimeError(f"snmptranslate: {len(names)} names, {len(oids)} OIDs: {out}")
    for name, oid in zip(names, oids):
        _oid_cache[name] = tuple(int(x) for x in oid.strip(".").split("."))


def oid_of(name):
    """The numeric OID of an object of the LLDP-V2 MIB modules."""
    if name not in _oid_cache:
        _translate(KNOWN_OBJECTS if not _oid_cache and name in KNOWN_OBJECTS else [name])
    return _oid_cache[name]


class Snmp:
    """net-snmp's tools against an agent on 127.0.0.1 inside a namespace
    (or, with ns None, in the test's own)."""

    def __init__(self, ns, port=SNMP_PORT, community="public", rwcommunity="private"):
        self.ns = ns
        self.target = f"udp:127.0.0.1:{port}"
        self.community = community
        self.rwcommunity = rwcommunity
        self.confdir = tempfile.mkdtemp(prefix=f"lt-snmp-{os.getpid()}-")
        defer(lambda: shutil.rmtree(self.confdir, ignore_errors=True))

    def tool(self, tool, args, community=None, check=True, quick=False):
        # quick: one short try (polling an agent that may not listen yet,
        # whose port may swallow the request).
        wait = ["-t", "0.3", "-r", "0"] if quick else ["-t", "2", "-r", "1"]
        cmd = (self.ns.exec_prefix() if self.ns else []) + [
            tool, "-v2c", "-c", community or self.community, *wait,
            "-M", MIBS_DIR, "-m", MIB_MODULES, "-On", "-Ox", "-Oe", "-Ot", "-OU", "-Ih",
            self.target, *args]
        env = dict(os.environ, MIBS="", SNMPCONFPATH=self.confdir, SNMP_PERSISTENT_DIR=self.confdir)
        res = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=30,
                             env=env, stdin=subprocess.DEVNULL)
        if check and res.returncode != 0:
            raise RuntimeError(f"{tool} {' '.join(args)}: exit {res.returncode}: {res.stderr.strip()}")
        return res

    @staticmethod
    def _instance(name, index=(0,)):
        return ".".join(str(x) for x in oid_of(name) + tuple(index))

    def get(self, name, index=(0,)):
        """The value of one instance; None for noSuchInstance/Object."""
        out = self.tool("snmpget", ["." + self._instance(name, index)]).stdout
        binds = parse_varbinds(out)
        return binds[0][1] if binds else None

    def get_many(self, names, index=(0,)):
        """{name: value} of the same instance of several objects, in one request."""
        out = self.tool("snmpget", ["." + self._instance(n, index) for n in names]).stdout
        values = [v for _, v in parse_varbinds(out)]
        if len(values) != len(names):
            raise RuntimeError(f"snmpget of {names}: {out}")
        return dict(zip(names, values))

    def try_get(self, name, index=(0,)):
        """As get, but one short try, and None also when the agent does not
        answer."""
        try:
            out = self.tool("snmpget", ["." + self._instance(name, index)], quick=True).stdout
        except (RuntimeError, subprocess.TimeoutExpired):
            return None
        binds = parse_varbinds(out)
        return binds[0][1] if binds else None

    def walk(self, name):
        """{index tuple: value} of the instances under the object."""
        base = oid_of(name)
        out = self.tool("snmpwalk", ["." + ".".join(map(str, base))]).stdout
        return {oid[len(base):]: v for oid, v in parse_varbinds(out) if oid[:len(base)] == base}

    def table(self, table_name, columns):
        """{index: {column name: value}} of one walk of the table."""
        by_number = {oid_of(c)[-1]: c for c in columns}
        rows = {}
        # table.1 is the entry; then column, then index.
        for sub, value in self.walk(table_name).items():
            if len(sub) < 2 or sub[1] not in by_number:
                continue
            rows.setdefault(sub[2:], {})[by_number[sub[1]]] = value
        return rows

    def set(self, name, index, type_char, value):
        """snmpset with the read-write community; the tool's output."""
        return self.tool("snmpset", ["." + self._instance(name, index), type_char, str(value)],
                         community=self.rwcommunity).stdout


# ---------------------------------------------------------------------------
# LLDP-V2-MIB views used by the tests

REM_COLUMNS = ["lldpV2RemChassisIdSubtype", "lldpV2RemChassisId", "lldpV2RemPortIdSubtype", "lldpV2RemPortId",
               "lldpV2RemPortDesc", "lldpV2RemSysName", "lldpV2RemSysDesc", "lldpV2RemSysCapSupported",
               "lldpV2RemSysCapEnabled"]


def remote_rows(snmp, too_many=False):
    """{(local ifIndex, dest address index, remote index): row} of
    lldpV2RemTable (the time mark dropped); too_many: with
    lldpV2RemTooManyNeighbors."""
    columns = REM_COLUMNS + (["lldpV2RemTooManyNeighbors"] if too_many else [])
    return {idx[1:]: row for idx, row in snmp.table("lldpV2RemTable", columns).items()}


def rows_named(snmp, sys_name):
    return {k: r for k, r in remote_rows(snmp).items() if r.get("lldpV2RemSysName") == sys_name}


REM_TABLE_STATS = ["lldpV2StatsRemTablesInserts", "lldpV2StatsRemTablesDeletes", "lldpV2StatsRemTablesDrops",
                   "lldpV2StatsRemTablesAgeouts"]


def remote_table_stats(snmp):
    values = snmp.get_many(REM_TABLE_STATS)
    return {name.replace("lldpV2StatsRemTables", "").lower(): v for name, v in values.items()}


RX_COLUMNS = ["lldpV2StatsRxPortFramesDiscardedTotal", "lldpV2StatsRxPortFramesErrors",
              "lldpV2StatsRxPortFramesTotal", "lldpV2StatsRxPortTLVsDiscardedTotal",
              "lldpV2StatsRxPortTLVsUnrecognizedTotal", "lldpV2StatsRxPortAgeoutsTotal"]


def rx_stats(snmp, ifindex, dest=1):
    """The receive counters of one (port, agent), short names."""
    values = snmp.get_many(RX_COLUMNS, (ifindex, dest))
    return {name.replace("lldpV2StatsRxPort", ""): v for name, v in values.items()}


def tx_frames(snmp, ifindex, dest=1):
    return snmp.get("lldpV2StatsTxPortFramesTotal", (ifindex, dest))


# ---------------------------------------------------------------------------
# The agent

class Agent:
    """lldpv2-agent in a namespace (or, with ns None, in the test's own
    namespace on a loopback port), logging to a file, killed at exit."""

    def __init__(self, ns, args, workdir, port=SNMP_PORT, name="agent"):
        self.ns = ns
        self.args = list(args)
        self.port = port
        self.log_path = os.path.join(workdir, f"{name}.log")
        self.proc = None
        self.snmp = Snmp(ns, port)
        self._token = None

    def command(self):
        cmd = [AGENT, "--listen", f"udp:127.0.0.1:{self.port}", *self.args]
        return (self.ns.exec_prefix() if self.ns else []) + cmd

    def start(self, wait=True, timeout=15):
        with open(self.log_path, "ab") as log:
            self.proc = subprocess.Popen(self.command(), stdout=log, stderr=subprocess.STDOUT,
                                         stdin=subprocess.DEVNULL, preexec_fn=_set_parent_death_signal)
        self._token = defer(self._kill_quietly)
        if wait:
            self.wait_ready(timeout)
        return self

    def wait_ready(self, timeout=15):
        def ready():
            if self.proc.poll() is not None:
                raise AssertionError(f"agent exited {self.proc.returncode} while starting:\n{self.log()}")
            return self.snmp.try_get("lldpV2MessageTxInterval") is not None
        wait_until(ready, timeout, interval=0.1, what=f"the agent to answer SNMP ({self.log_path})")

    def running(self):
        return self.proc is not None and self.proc.poll() is None

    def terminate(self, timeout=10):
        """SIGTERM; the exit status."""
        self.proc.send_signal(signal.SIGTERM)
        try:
            return self.proc.wait(timeout)
        finally:
            undo(self._token)

    def kill9(self):
        self.proc.kill()
        self.proc.wait(10)
        undo(self._token)

    def _kill_quietly(self):
        if self.proc is not None and self.proc.poll() is None:
            self.proc.kill()
            with contextlib.suppress(subprocess.TimeoutExpired):
                self.proc.wait(5)

    def log(self):
        try:
            with open(self.log_path, encoding="utf-8", errors="replace") as f:
                return f.read()
        except OSError:
            return ""


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def workdir():
    d = tempfile.mkdtemp(prefix=f"lt-live-{os.getpid()}-")
    defer(lambda: shutil.rmtree(d, ignore_errors=True))
    return d
