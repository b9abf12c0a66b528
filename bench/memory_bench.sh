#!/usr/bin/env bash
# Resident memory and load time of lldpv2-agent over generated scenarios of
# 1,000 to 100,000 neighbours (4 nodes x 48 ports, agents 1 to 3), and the
# drift of the resident set over a churn soak.
#
#   bench/memory_bench.sh [--build DIR] [--sizes "1000 10000 ..."] [--no-soak]
#
# For each size the agent starts on loopback with the generated scenario; the
# load time runs from its start to its first SNMP answer (wall clock, and the
# CPU time the agent used until then, which a busy machine does not
# inflate). Peak is VmHWM, the settled figure VmRSS two seconds after the
# first answer, both above the settled VmRSS of an empty switch (the same
# stack without neighbours); peak/settled compares the agent's own figures.
# The last column is VmRSS after a bulk walk of the remote systems data,
# whose rows the agent then keeps (--row-cache).
# The soak is bench/churn_soak (see there).
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$root/build"
sizes="1000 10000 50000 100000"
soak=1

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build="$(cd "$2" && pwd)"; shift 2 ;;
    --sizes) sizes="$2"; shift 2 ;;
    --no-soak) soak=0; shift ;;
    -h|--help) sed -n '2,15p' "$0"; exit 0 ;;
    *) echo "unknown argument: $1" >&2; exit 2 ;;
  esac
done

agent="$build/agent/lldpv2-agent"
module="$build/module/liblldpv2mib.so"
scengen="$build/tools/scengen"
[[ -x "$scengen" ]] || scengen="$build/tools/scengen/scengen"
for f in "$agent" "$module" "$scengen"; do
  [[ -e "$f" ]] || { echo "missing $f: build first (make build)" >&2; exit 1; }
done

source "$here/lib.sh"
bench_workdir membench
stop_agent() { stop_pid "$agent_pid"; agent_pid=""; }
lldp_v2_mib=.1.3.111.2.802.1.1.13

status_kb() { awk -v k="$2:" '$1 == k { print $2 }' "/proc/$1/status"; }

# CPU seconds (user and system) a process has used so far.
cpu_s() { awk -v hz="$(getconf CLK_TCK)" '{ printf "%.2f", ($14 + $15) / hz }' "/proc/$1/stat"; }

# Starts the agent on a scenario; prints "load_s load_cpu_s peak_kb settled_kb".
measure() {
  local scenario="$1" start now
  start="$(date +%s.%N)"
  start_agent 120 0.05 -- --scenario "$scenario"
  now="$(date +%s.%N)"
  local cpu
  cpu="$(cpu_s "$agent_pid")"
  sleep 2
  local settled
  settled="$(status_kb "$agent_pid" VmRSS)"
  # Then a walk of the remote systems data, whose rows the agent keeps.
  snmpbulkwalk -v2c -c public -t 120 -r 0 -Cr50 "udp:127.0.0.1:$agent_port" "$lldp_v2_mib.1.4" >/dev/null
  echo "$(echo "$now - $start" | bc -l) $cpu $(status_kb "$agent_pid" VmHWM) $settled $(status_kb "$agent_pid" VmRSS)"
  stop_agent
}

"$scengen" --nodes 4 --ports 48 --agents 3 --neighbours 0 -o "$work/empty.yaml"
read -r _ _ empty_peak empty_rss _ < <(measure "$work/empty.yaml")
printf 'empty switch: peak %.1f MB, settled %.1f MB\n\n' "$(echo "$empty_peak / 1024" | bc -l)" "$(echo "$empty_rss / 1024" | bc -l)"

printf '| neighbours | load s | load CPU s | peak MB | settled MB | bytes/neighbour | peak/settled | bytes/neighbour after a walk |\n'
printf '|---:|---:|---:|---:|---:|---:|---:|---:|\n'
for n in $sizes; do
  "$scengen" --nodes 4 --ports 48 --agents 3 --neighbours "$n" -o "$work/s$n.yaml"
  read -r load cpu peak rss walked < <(measure "$work/s$n.yaml")
  rm -f "$work/s$n.yaml"
  dp=$((peak - empty_rss)); ds=$((rss - empty_rss)); dw=$((walked - empty_rss))
  printf '| %d | %.2f | %.2f | %.1f | %.1f | %.0f | %.2f | %.0f |\n' "$n" "$load" "$cpu" \
    "$(echo "$dp / 1024" | bc -l)" "$(echo "$ds / 1024" | bc -l)" \
    "$(echo "$ds * 1024 / $n" | bc -l)" "$(echo "$peak / $rss" | bc -l)" "$(echo "$dw * 1024 / $n" | bc -l)"
done

if ((soak)); then
  soak_bin="$build/bench/churn_soak"
  if [[ -x "$soak_bin" ]]; then
    echo
    "$soak_bin"
  else
    echo "no $soak_bin (benchmarks not built): no soak" >&2
  fi
fi
