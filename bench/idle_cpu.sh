#!/usr/bin/env bash
# CPU use of an idle lldpv2-agent: a scenario of 10 simulated ports with 100
# neighbours that are refreshed every txInterval (30 s), the agent's own 30
# LLDP agents transmitting every 30 s, no SNMP traffic. Reads utime + stime
# of the agent from /proc/PID/stat at the start and the end of the period
# (after a short warm-up) and reports the share of one core, with the
# number of times the process was woken up.
#
#   bench/idle_cpu.sh [--build DIR] [--seconds N] [--warmup N]
#
# Goal: under 0.1 % of one core. Nothing is sent on any interface: the
# scenario's ports are simulated.
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$root/build"
seconds=60
warmup=3

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build="$(cd "$2" && pwd)"; shift 2 ;;
    --seconds) seconds="$2"; shift 2 ;;
    --warmup) warmup="$2"; shift 2 ;;
    -h|--help) sed -n '2,12p' "$0"; exit 0 ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done
(( seconds >= 1 && seconds <= 3600 )) || { echo "--seconds: 1..3600" >&2; exit 2; }

agent="$build/agent/lldpv2-agent"
[[ -x "$agent" ]] || { echo "no agent at $agent (make build)" >&2; exit 1; }

work="$(mktemp -d)"
pid=""
cleanup() {
  if [[ -n "$pid" ]] && kill -0 "$pid" 2>/dev/null; then kill "$pid"; wait "$pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

# 10 ports, 10 neighbours each, received at times spread over one interval
# so that their refreshes do not come all at once.
scenario="$work/idle.yaml"
{
  echo 'system: {chassis-id: {subtype: mac-address, value: "02:00:5e:10:00:01"}, name: idle-bench}'
  echo 'lldp: {tx-interval: 30, hold-multiplier: 4}'
  echo 'clock: 3000'
  echo 'nodes: [{id: 1}]'
  echo 'interfaces:'
  for p in $(seq 1 10); do
    echo "  - {ifindex: $p, node: 1, type: gigabit-ethernet, name: ge-1/0/$p}"
  done
  echo 'neighbours:'
  for n in $(seq 0 99); do
    port=$(( n / 10 + 1 ))
    echo "  - {port: $port, agent: nearest-bridge, at: $(( n * 30 )), refresh: true, ttl: 121,"
    echo "     chassis-id: {subtype: local, value: peer-$n}, port-id: {subtype: interface-name, value: eth$n},"
    echo "     system-name: peer-$n}"
  done
} > "$scenario"

"$agent" --check --scenario "$scenario" >/dev/null
port=$(( 20000 + RANDOM % 20000 ))
"$agent" --scenario "$scenario" --listen "udp:127.0.0.1:$port" > "$work/agent.log" 2>&1 &
pid=$!
sleep "$warmup"
kill -0 "$pid" 2>/dev/null || { echo "the agent stopped:"; cat "$work/agent.log"; exit 1; }

ticks() { awk '{ print $14 + $15 }' "/proc/$pid/stat"; }
wakeups() { awk '/^voluntary_ctxt_switches/ { v = $2 } /^nonvoluntary_ctxt_switches/ { n = $2 } END { print v + n }' "/proc/$pid/status"; }
hz=$(getconf CLK_TCK)
t0=$(ticks); w0=$(wakeups); s0=$(date +%s.%N)
sleep "$seconds"
t1=$(ticks); w1=$(wakeups); s1=$(date +%s.%N)

awk -v t=$(( t1 - t0 )) -v hz="$hz" -v s0="$s0" -v s1="$s1" -v w=$(( w1 - w0 )) 'BEGIN {
  secs = s1 - s0
  cpu = t / hz
  printf "idle agent, 100 refreshed neighbours, txInterval 30 s, %.1f s measured\n", secs
  printf "CPU: %.3f s (%d ticks of 1/%d s) = %.4f %% of one core (goal < 0.1 %%)\n", cpu, t, hz, 100 * cpu / secs
  printf "wakeups: %d (%.2f per second)\n", w, w / secs
}'
