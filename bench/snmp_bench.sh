#!/usr/bin/env bash
# The agent against net-snmp alone, side by side: for each stack size, a
# bulk walk (snmpbulkwalk -Cr50) of the remote systems data subtree and of
# each remote table through lldpv2-agent, and the same walk of a reference
# server (build/bench/snmp_ref_server: net-snmp serving the agent's own
# recorded varbinds from a sorted table in memory). The cost is the CPU time
# of the server process (utime + stime from /proc/PID/stat) per varbind,
# best of several runs in which the servers take turns; the ratio is
# agent / reference. The agent answers a
# walk of neighbours that did not change from the rows it kept; a second
# agent with --row-cache 0 asks the module for every varbind, as the first
# walk after any change does ("every row").
#
#   bench/snmp_bench.sh [--build DIR] [--sizes "1000 10000 50000"] [--runs N]
#                       [--min-varbinds N] [--profile] [--mibs DIR]
#
# Scenarios: tools/scengen, 4 nodes of 48 ports, agents 1 to 3, every
# neighbour with a management address, an unknown TLV and an
# organizationally defined TLV (--extra-tlvs). A measurement repeats the walk
# until it has served at least --min-varbinds varbinds (the clock of
# /proc/PID/stat ticks in hundredths of a second).
#
# --profile adds, for the first size, the instructions per varbind of the
# three servers for one walk of each subtree (callgrind, repeatable where CPU time
# is not) and the split of the agent's instructions by object file.
# When bench/memory_bench.sh exists, it runs afterwards with the same --build.
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$root/build"
sizes="1000 10000 50000"
runs=5
min_varbinds=100000
profile=0
mibs="${LLDPV2_MIBS_DIR:-$(cd "$root/../shared/mibs" 2>/dev/null && pwd || true)}"

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build="$(cd "$2" && pwd)"; shift 2 ;;
    --sizes) sizes="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --min-varbinds) min_varbinds="$2"; shift 2 ;;
    --profile) profile=1; shift ;;
    --mibs) mibs="$2"; shift 2 ;;
    -h|--help) sed -n '2,26p' "$0"; exit 0 ;;
    *) echo "unknown argument: $1" >&2; exit 2 ;;
  esac
done

agent="$build/agent/lldpv2-agent"
module="$build/module/liblldpv2mib.so"
ref="$build/bench/snmp_ref_server"
scengen="$build/tools/scengen"
for f in "$agent" "$ref" "$scengen"; do
  [[ -x "$f" ]] || { echo "no $f: build first (make build)" >&2; exit 1; }
done
[[ -f "$module" ]] || { echo "no module at $module" >&2; exit 1; }

source "$here/lib.sh"
bench_workdir bench
agent_pid=""
ref_pid=""
snmp_opts=(-v2c -c public -t 60 -r 0 -On -Oq)
lldp_v2_mib=.1.3.111.2.802.1.1.13
remote=$lldp_v2_mib.1.4
# name and OID of each subtree measured
subtrees=(
  "lldpV2RemoteSystemsData $remote"
  "lldpV2RemTable $remote.1"
  "lldpV2RemManAddrTable $remote.2"
  "lldpV2RemUnknownTLVTable $remote.3"
  "lldpV2RemOrgDefInfoTable $remote.4"
)
ticks_per_s=$(getconf CLK_TCK)

# utime + stime of a process, in clock ticks.
cpu_ticks() {
  local stat
  stat="$(cat "/proc/$1/stat")"
  stat="${stat##*) }"
  awk '{ print $12 + $13 }' <<<"$stat"
}

# start_agent_on SCENARIO WAIT_S [WRAPPER...] [-- AGENT_ARGS...]: the agent
# on a scenario, optionally under a wrapper such as valgrind, once it answers.
start_agent_on() {
  local scenario="$1" wait_s="$2"; shift 2
  local wrapper=()
  while [[ $# -gt 0 && "$1" != "--" ]]; do wrapper+=("$1"); shift; done
  [[ $# -gt 0 ]] && shift
  start_agent "$wait_s" 2 "${wrapper[@]}" -- --scenario "$scenario" "$@"
}

stop_agent() {
  kill -TERM "$agent_pid"
  wait "$agent_pid" || { echo "agent exited with status $?" >&2; cat "$work/agent.log" >&2; exit 1; }
  agent_pid=""
}

# Records the agent's remote systems data and serves it from memory
# (optionally under a wrapper such as valgrind).
start_ref() {
  ref_port="$(free_port)"
  "$@" "$ref" --record "udp:127.0.0.1:$agent_port" --subtree "$remote" --listen "udp:127.0.0.1:$ref_port" \
    >"$work/ref.out" 2>"$work/ref.log" &
  ref_pid=$!
  bench_pids+=("$ref_pid")
  local deadline=$((SECONDS + 600))
  until grep -q '^ready' "$work/ref.out" 2>/dev/null; do
    if ! kill -0 "$ref_pid" 2>/dev/null || ((SECONDS > deadline)); then
      echo "reference server did not start:" >&2; cat "$work/ref.log" >&2; exit 1
    fi
    sleep 0.2
  done
}

stop_ref() {
  stop_pid "$ref_pid"
  ref_pid=""
}

# walk PORT OID: one bulk walk; prints the number of varbinds.
walk() {
  snmpbulkwalk "${snmp_opts[@]}" -Cr50 "udp:127.0.0.1:$1" "$2" >"$work/walk.txt" 2>&1
  if grep -qE 'Timeout|Error|Wrong Type|OID not increasing|No Such' "$work/walk.txt"; then
    echo "walk of $2 failed:" >&2; grep -E 'Timeout|Error|Wrong Type|OID not increasing|No Such' "$work/walk.txt" | head >&2
    exit 1
  fi
  grep -v 'No more variables' "$work/walk.txt" | grep -c "^$2\." || true
}

# run_once PID PORT OID REPEAT: CPU time per varbind (ns) of the server over
# REPEAT walks; prints it.
run_once() {
  local pid="$1" port="$2" oid="$3" repeat="$4" before after i n total=0
  before="$(cpu_ticks "$pid")"
  for ((i = 0; i < repeat; i++)); do
    n="$(walk "$port" "$oid")"
    total=$((total + n))
  done
  after="$(cpu_ticks "$pid")"
  echo $(( (after - before) * 1000000000 / ticks_per_s / total ))
}

# measure OID NAME:PID:PORT...: the best CPU time per varbind (ns) of each
# server over $runs runs, the servers taking turns within each run so that
# a change of the machine's load touches them alike; sets count (varbinds
# per walk of the first server), counts[NAME] and best[NAME].
declare -A best counts
measure() {
  local oid="$1" r entry name pid port ns repeat; shift
  best=(); counts=()
  for entry in "$@"; do
    IFS=: read -r name pid port <<<"$entry"
    counts[$name]="$(walk "$port" "$oid")"
  done
  IFS=: read -r name _ _ <<<"$1"
  count=${counts[$name]}
  if ((count == 0)); then for entry in "$@"; do IFS=: read -r name _ _ <<<"$entry"; best[$name]=0; done; return; fi
  repeat=$(((min_varbinds + count - 1) / count))
  for ((r = 0; r < runs; r++)); do
    for entry in "$@"; do
      IFS=: read -r name pid port <<<"$entry"
      ns="$(run_once "$pid" "$port" "$oid" "$repeat")"
      if [[ -z "${best[$name]:-}" ]] || ((ns < best[$name])); then best[$name]=$ns; fi
    done
  done
}

printf '%s\n' "bulk walks (-Cr50), server CPU time per varbind, best of $runs runs of at least $min_varbinds varbinds"
printf '%s\n' "agent: as it runs, answering a walk of unchanged neighbours from the rows it kept;" \
  "every row: --row-cache 0, asking the module for every varbind (as after every change)"
printf '%-10s %-26s %9s %12s %14s %7s %14s %7s\n' neighbours subtree varbinds "agent us/vb" "net-snmp us/vb" ratio \
  "every row us/vb" ratio
for n in $sizes; do
  scenario="$work/scenario-$n.yaml"
  "$scengen" --nodes 4 --ports 48 --neighbours "$n" --agents 3 --extra-tlvs -o "$scenario"
  start_agent_on "$scenario" 600 -- --row-cache 0
  cold_pid=$agent_pid; cold_port=$agent_port
  mv "$work/agent.log" "$work/agent-every-row.log"
  start_agent_on "$scenario" 600
  start_ref
  for entry in "${subtrees[@]}"; do
    read -r name oid <<<"$entry"
    measure "$oid" "agent:$agent_pid:$agent_port" "ref:$ref_pid:$ref_port" "cold:$cold_pid:$cold_port"
    agent_count=${counts[agent]}; ref_count=${counts[ref]}
    agent_ns=${best[agent]}; ref_ns=${best[ref]}; cold_ns=${best[cold]}
    if ((agent_count != ref_count)); then
      echo "  $name: the agent walked $agent_count varbinds, the reference $ref_count" >&2
    fi
    awk -v n="$n" -v name="$name" -v c="$agent_count" -v a="$agent_ns" -v r="$ref_ns" -v k="$cold_ns" 'BEGIN {
      ratio = "-"; cold = "-"; if (r > 0) { ratio = sprintf("%.2f", a / r); cold = sprintf("%.2f", k / r) }
      printf "%-10s %-26s %9d %12.2f %14.2f %7s %14.2f %7s\n", n, name, c, a / 1000, r / 1000, ratio, k / 1000, cold }'
  done
  stop_ref
  stop_agent
  stop_pid "$cold_pid"
done

if [[ -x "$here/memory_bench.sh" ]]; then
  echo
  "$here/memory_bench.sh" --build "$build"
fi

((profile)) || exit 0
command -v valgrind >/dev/null || { echo "valgrind is not installed: no profile" >&2; exit 0; }

# Instructions of one process between callgrind_control -z and -d, from the
# newest dump of its output file.
dumped_instructions() {
  local newest
  newest="$(ls -t "$1".* | head -1)"
  awk '/^summary:/ { print $2 }' "$newest"
}

first="${sizes%% *}"
echo
echo "instructions per varbind, $first neighbours (callgrind, one walk each; repeatable, unlike CPU time):"
printf '%-26s %9s %14s %14s %7s %14s %7s\n' subtree varbinds agent net-snmp ratio "every row" ratio
start_agent_on "$work/scenario-$first.yaml" 600 valgrind --tool=callgrind --callgrind-out-file="$work/cg-cold.out" \
  -- --row-cache 0
cold_pid=$agent_pid; cold_port=$agent_port
mv "$work/agent.log" "$work/agent-every-row.log"
start_agent_on "$work/scenario-$first.yaml" 600 valgrind --tool=callgrind --callgrind-out-file="$work/cg-agent.out"
start_ref valgrind --tool=callgrind --callgrind-out-file="$work/cg-ref.out"
for entry in "${subtrees[@]}"; do
  read -r name oid <<<"$entry"
  for side in agent ref cold; do
    case $side in
      agent) pid=$agent_pid; p=$agent_port ;;
      ref) pid=$ref_pid; p=$ref_port ;;
      cold) pid=$cold_pid; p=$cold_port ;;
    esac
    callgrind_control -z "$pid" >/dev/null
    n="$(walk "$p" "$oid")"
    callgrind_control -d "$pid" >/dev/null
    sleep 1
    declare "${side}_n=$n" "${side}_i=$(dumped_instructions "$work/cg-$side.out")"
  done
  # The object split below is that of the first subtree's walk.
  [[ -f "$work/callgrind.out" ]] || cp "$(ls -t "$work"/cg-agent.out.* | head -1)" "$work/callgrind.out"
  awk -v name="$name" -v n="$agent_n" -v a="$agent_i" -v r="$ref_i" -v rn="$ref_n" -v k="$cold_i" -v kn="$cold_n" 'BEGIN {
    printf "%-26s %9d %14.0f %14.0f %7.2f %14.0f %7.2f\n", name, n, a / n, r / rn, (a / n) / (r / rn), k / kn,
      (k / kn) / (r / rn) }'
done
stop_ref
stop_agent
stop_pid "$cold_pid"

echo
echo "the agent's instructions during the walk of lldpV2RemoteSystemsData, by object file:"
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
