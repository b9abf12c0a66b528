#!/usr/bin/env bash
# Times `lldpv2ctl HOST neighbors` against lldpv2-agent on a generated
# scenario with 1,000 neighbours, next to a plain snmpbulkwalk of
# lldpV2RemTable, and prints the ratio of the two.
#
#   bench/ctl_bench.sh [--build DIR] [--neighbours N] [--runs N] [--goal SECONDS]
#
# The scenario: scengen, 2 nodes of 48 ports, N neighbours (default 1000) on
# all three agents. Each command runs --runs times (default 5); the best and
# median wall-clock times are reported. Exit status 1 when the best
# lldpv2ctl time misses the goal (default 0.5 s).
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$root/build"
neighbours=1000
runs=5
goal=0.5

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build="$(cd "$2" && pwd)"; shift 2 ;;
    --neighbours) neighbours="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --goal) goal="$2"; shift 2 ;;
    -h|--help) sed -n '2,12p' "$0"; exit 0 ;;
    *) echo "unknown argument: $1" >&2; exit 2 ;;
  esac
done

agent="$build/agent/lldpv2-agent"
module="$build/module/liblldpv2mib.so"
ctl="$build/tools/lldpv2ctl/lldpv2ctl"
scengen="$build/tools/scengen"
for f in "$agent" "$ctl" "$scengen"; do
  [[ -x "$f" ]] || { echo "missing $f: build first (make build)" >&2; exit 1; }
done

source "$here/lib.sh"
bench_workdir ctl-bench
rem_table=.1.3.111.2.802.1.1.13.1.4.1

scenario="$work/scenario.yaml"
"$scengen" --nodes 2 --ports 48 --neighbours "$neighbours" --agents 3 -o "$scenario"
start_agent 30 1 -- --scenario "$scenario"
target="udp:127.0.0.1:$agent_port"

# Wall-clock seconds of one run of the command, its output in $work/out.
time_once() {
  local t0 t1
  t0=$(date +%s.%N)
  "$@" >"$work/out" 2>"$work/err" || { echo "failed: $*" >&2; cat "$work/err" >&2; exit 1; }
  t1=$(date +%s.%N)
  awk -v a="$t0" -v b="$t1" 'BEGIN { printf "%.4f\n", b - a }'
}

# "best median" of --runs runs.
time_runs() {
  local times=()
  for ((i = 0; i < runs; i++)); do times+=("$(time_once "$@")"); done
  printf '%s\n' "${times[@]}" | sort -n | awk '{ t[NR] = $1 } END { printf "%s %s\n", t[1], t[int((NR + 1) / 2)] }'
}

snmp=(-v2c -c public -t 10 -r 0)
read -r ctl_best ctl_median < <(time_runs "$ctl" "${snmp[@]}" "$target" neighbors)
rows=$(($(wc -l <"$work/out") - 2))
read -r json_best json_median < <(time_runs "$ctl" "${snmp[@]}" --json "$target" neighbors)
read -r walk_best walk_median < <(time_runs snmpbulkwalk "${snmp[@]}" -On -Cr50 "$target" "$rem_table")
varbinds=$(grep -c '^\.' "$work/out" || true)
read -r detail_best detail_median < <(time_runs "$ctl" "${snmp[@]}" "$target" neighbors --detail)

echo "scenario: 2 nodes x 48 ports, $neighbours neighbours on 3 agents (scengen)"
echo "lldpv2ctl neighbors:            best ${ctl_best} s, median ${ctl_median} s ($rows rows)"
echo "lldpv2ctl --json neighbors:     best ${json_best} s, median ${json_median} s"
echo "lldpv2ctl neighbors --detail:   best ${detail_best} s, median ${detail_median} s"
echo "snmpbulkwalk lldpV2RemTable:    best ${walk_best} s, median ${walk_median} s ($varbinds varbinds, -Cr50)"
awk -v c="$ctl_best" -v w="$walk_best" -v g="$goal" 'BEGIN {
  printf "ratio lldpv2ctl neighbors / snmpbulkwalk: %.2f\n", c / w
  printf "goal: neighbors under %s s: %s\n", g, (c < g ? "met" : "MISSED")
  exit (c < g ? 0 : 1)
}'
