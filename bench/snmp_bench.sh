#!/usr/bin/env bash
# Times a bulk walk of the whole LLDP-V2-MIB through lldpv2-agent and shows
# where the agent spends its CPU time: net-snmp, the agent's own code, the
# host platform, the module, and the C/C++ runtime (callgrind, by object
# file).
#
#   bench/snmp_bench.sh [--build DIR] [--scenario FILE] [--runs N] [--repetitions N] [--no-profile]
#
# Without --scenario a large scenario is generated with the build's scengen
# (4 nodes, 48 ports each, 2000 neighbours, all three agents).
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$root/build"
scenario=""
runs=3
repetitions=50
profile=1
mibs="${LLDPV2_MIBS_DIR:-$(cd "$root/../shared/mibs" 2>/dev/null && pwd || true)}"

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build="$(cd "$2" && pwd)"; shift 2 ;;
    --scenario) scenario="$(cd "$(dirname "$2")" && pwd)/$(basename "$2")"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --repetitions) repetitions="$2"; shift 2 ;;
    --no-profile) profile=0; shift ;;
    --mibs) mibs="$2"; shift 2 ;;
    -h|--help) sed -n '2,11p' "$0"; exit 0 ;;
    *) echo "unknown argument: $1" >&2; exit 2 ;;
  esac
done

agent="$build/agent/lldpv2-agent"
module="$build/module/liblldpv2mib.so"
[[ -x "$agent" ]] || { echo "no agent at $agent: build first (make build)" >&2; exit 1; }
[[ -f "$module" ]] || { echo "no module at $module" >&2; exit 1; }
[[ -z "$scenario" || -f "$scenario" ]] || { echo "no scenario file $scenario" >&2; exit 1; }

work="$(mktemp -d /tmp/lldpv2-bench.XXXXXX)"
agent_pid=""
cleanup() {
  if [[ -n "$agent_pid" ]] && kill -0 "$agent_pid" 2>/dev/null; then
    kill -TERM "$agent_pid" 2>/dev/null || true
    wait "$agent_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

# The client tools keep their configuration and state in the work directory.
export SNMPCONFPATH="$work" SNMP_PERSISTENT_DIR="$work" MIBS=
snmp_opts=(-v2c -c public -t 30 -r 0 -On -Oq)
[[ -n "$mibs" ]] && snmp_opts+=(-M "$mibs" -m LLDP-V2-MIB:LLDP-EXT-DOT1-V2-MIB:LLDP-EXT-DOT3-V2-MIB)
lldp_v2_mib=.1.3.111.2.802.1.1.13

free_port() {
  local port
  while :; do
    port=$((20000 + RANDOM % 40000))
    ss -Hlun "sport = :$port" 2>/dev/null | grep -q . || { echo "$port"; return; }
  done
}

# Starts the agent (optionally under a wrapper such as valgrind) and waits
# until it answers.
start_agent() {
  local wait_s="$1"; shift
  port="$(free_port)"
  local args=(--listen "udp:127.0.0.1:$port" --module "$module")
  [[ -n "$scenario" ]] && args+=(--scenario "$scenario")
  "$@" "$agent" "${args[@]}" >"$work/agent.log" 2>&1 &
  agent_pid=$!
  local deadline=$((SECONDS + wait_s))
  until snmpget "${snmp_opts[@]}" -t 2 "udp:127.0.0.1:$port" "$lldp_v2_mib.1.1.1.0" >/dev/null 2>&1; do
    if ! kill -0 "$agent_pid" 2>/dev/null || ((SECONDS > deadline)); then
      echo "agent did not start:" >&2; cat "$work/agent.log" >&2; exit 1
    fi
    sleep 0.2
  done
}

stop_agent() {
  kill -TERM "$agent_pid"
  wait "$agent_pid" || { echo "agent exited with status $?" >&2; cat "$work/agent.log" >&2; exit 1; }
  agent_pid=""
}

walk() {
  snmpbulkwalk "${snmp_opts[@]}" -Cr"$repetitions" "udp:127.0.0.1:$port" "$lldp_v2_mib" >"$work/walk.txt" 2>&1
  if grep -qE 'Timeout|Error|Wrong Type|OID not increasing' "$work/walk.txt"; then
    echo "walk failed:" >&2; grep -E 'Timeout|Error|Wrong Type|OID not increasing' "$work/walk.txt" | head >&2; exit 1
  fi
}

if [[ -z "$scenario" ]]; then
  if [[ -x "$build/tools/scengen" ]]; then
    scenario="$work/generated.yaml"
    "$build/tools/scengen" --nodes 4 --ports 48 --neighbours 2000 --agents 3 -o "$scenario"
  else
    echo "no scengen in $build/tools: walking the built-in scenario" >&2
  fi
fi
[[ -z "$scenario" ]] || "$agent" --check --scenario "$scenario"
echo "scenario: ${scenario:-(built-in)}"
echo "bulk walk of LLDP-V2-MIB ($lldp_v2_mib), $repetitions repetitions per request, best of $runs"
start_agent 20
best=""
for ((i = 1; i <= runs; i++)); do
  t0=$(date +%s.%N)
  walk
  t1=$(date +%s.%N)
  count=$(grep -c '^\.' "$work/walk.txt" || true)
  read -r secs rate < <(awk -v a="$t0" -v b="$t1" -v n="$count" 'BEGIN { s = b - a; printf "%.3f %.0f\n", s, n / s }')
  echo "  run $i: $count varbinds in $secs s = $rate varbinds/s"
  if [[ -z "$best" ]] || ((rate > best)); then best=$rate; fi
done
stop_agent
echo "best: $best varbinds/s"

((profile)) || exit 0
command -v valgrind >/dev/null || { echo "valgrind is not installed: no profile" >&2; exit 0; }

echo
echo "CPU time of the agent during one walk (callgrind, instructions by object file):"
start_agent 120 valgrind --tool=callgrind --callgrind-out-file="$work/callgrind.out" --collect-atstart=no \
  --toggle-collect='agent_check_and_process*'
walk
stop_agent

# Self cost per object file: cost lines count for the object of the current
# function, except the line after calls=, which is the callee's inclusive cost.
awk '
  function objname(s,   id, rest) {
    if (match(s, /^\([0-9]+\)/)) {
      id = substr(s, 2, RLENGTH - 2); rest = substr(s, RLENGTH + 2)
      if (rest != "") names[id] = rest
      return names[id]
    }
    return s
  }
  /^ob=/ { ob = objname(substr($0, 4)); next }
  /^cob=/ { objname(substr($0, 5)); next }
  /^fn=/ { cur = ob; next }
  /^calls=/ { skip = 1; next }
  /^[0-9+*-]/ { if (skip) { skip = 0; next } cost[cur] += $2; total += $2; next }
  END {
    for (o in cost) {
      n = o; sub(/.*\//, "", n)
      if (n ~ /^libnetsnmp/) g = "net-snmp"
      else if (n ~ /^lldpv2-agent/) g = "agent (lldpv2-agent)"
      else if (n ~ /^liblldpv2host/) g = "host platform (liblldpv2host)"
      else if (n ~ /^liblldpv2mib/) g = "module (liblldpv2mib)"
      else if (n ~ /^(libc[.-]|libstdc|libm[.-]|libgcc|ld-linux)/) g = "C/C++ runtime"
      else g = "other (" n ")"
      group[g] += cost[o]
    }
    split("net-snmp|agent (lldpv2-agent)|host platform (liblldpv2host)|module (liblldpv2mib)|C/C++ runtime", order, "|")
    for (i = 1; i <= 5; i++) { printf "  %-34s %14d  %5.1f%%\n", order[i], group[order[i]], 100 * group[order[i]] / total; seen[order[i]] = 1 }
    for (g in group) if (!(g in seen)) printf "  %-34s %14d  %5.1f%%\n", g, group[g], 100 * group[g] / total
    printf "  %-34s %14d\n", "total (instructions)", total
  }' "$work/callgrind.out"
