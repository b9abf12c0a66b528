# Shared by the benchmark scripts (sourced, not run): a work directory that
# goes away on exit with every process started in it, free loopback ports,
# and starting lldpv2-agent until it answers.

# bench_workdir NAME: creates $work; on exit the processes listed in
# bench_pids are stopped and $work is removed. The SNMP tools keep their
# configuration and state in $work and load no MIB of the host.
bench_pids=()
bench_workdir() {
  work="$(mktemp -d "/tmp/lldpv2-$1.XXXXXX")"
  trap bench_cleanup EXIT
  export SNMPCONFPATH="$work" SNMP_PERSISTENT_DIR="$work" MIBS=
}

bench_cleanup() {
  local pid
  for pid in "${bench_pids[@]}"; do stop_pid "$pid"; done
  rm -rf "$work"
}

# Stops a process if it still runs (SIGTERM, then waits for it).
stop_pid() {
  local pid="$1"
  if [[ -n "$pid" ]] && kill -0 "$pid" 2>/dev/null; then
    kill -TERM "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  fi
}

# A UDP port nobody listens on.
free_port() {
  local port
  while :; do
    port=$((20000 + RANDOM % 40000))
    ss -Hlun "sport = :$port" 2>/dev/null | grep -q . || { echo "$port"; return; }
  done
}

# start_agent WAIT_S POLL_S [WRAPPER...] -- AGENT_ARGS...: starts the agent
# (under a wrapper such as valgrind, if given) on a free loopback port and
# waits up to WAIT_S seconds for its first answer, asking every POLL_S.
# Sets agent_pid and agent_port; its output goes to $work/agent.log.
start_agent() {
  local wait_s="$1" poll_s="$2"; shift 2
  local wrapper=()
  while [[ $# -gt 0 && "$1" != "--" ]]; do wrapper+=("$1"); shift; done
  shift
  agent_port="$(free_port)"
  "${wrapper[@]}" "$agent" --listen "udp:127.0.0.1:$agent_port" --module "$module" "$@" >"$work/agent.log" 2>&1 &
  agent_pid=$!
  bench_pids+=("$agent_pid")
  local deadline=$((SECONDS + wait_s))
  until snmpget -v2c -c public -t "$poll_s" -r 0 -On "udp:127.0.0.1:$agent_port" .1.3.111.2.802.1.1.13.1.1.1.0 \
      >/dev/null 2>&1; do
    if ! kill -0 "$agent_pid" 2>/dev/null || ((SECONDS > deadline)); then
      echo "agent did not start:" >&2; cat "$work/agent.log" >&2; exit 1
    fi
  done
}
