#!/usr/bin/env bash
# The router's tools misbehaving: one that never answers, one that writes without end, one
# missing from PATH, an API slow enough to spend the exchange's budget, and tavio itself killed
# while it waits. Each exchange must end in bounded time with the answers of a failed tool,
# leave no process of the run behind, and write nothing but its response. Background actions
# must run in order after tavio has ended, without holding its standard output.
#
#   tools.sh TAVIO_BINARY [EMULATOR...]
set -euo pipefail

binary=$1
shift
emulator=("$@")
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
top=$(mktemp -d "${TMPDIR:-/tmp}/tavio-tools.XXXXXX")
trap 'rm -rf "$top"' EXIT
# shellcheck source=tools/check-standins
source "$repo/tools/check-standins"

# shellcheck disable=SC2016  # the stand-ins' own variables, expanded when they run
# Stand-ins that misbehave. Each notes its own process id and that of the child it starts, so
# the checks can tell whether anything of the run is still alive.
hang='#!/bin/sh
echo "$$" >>"$TAVIO_ROOT/pids"
sleep 600 &
echo "$!" >>"$TAVIO_ROOT/pids"
wait'
# A tool that never answers and starts nothing of its own.
# shellcheck disable=SC2016
lone_hang='#!/bin/sh
echo "$$" >>"$TAVIO_ROOT/pids"
exec sleep 600'
# shellcheck disable=SC2016
slow_api='#!/bin/sh
echo "$*" >>"$TAVIO_ROOT/calls"
sleep 11
exit 1'
# shellcheck disable=SC2016
flood='#!/bin/sh
echo "$$" >>"$TAVIO_ROOT/pids"
exec yes "{\"list\": ["'

# setup NAME [TOOL SCRIPT]...: a root copied from the example router and a stand-in folder
# first on PATH holding sim/bin's stand-ins, with the named tools replaced by scripts.
setup() {
  local dir=$top/$1
  shift
  mkdir -p "$dir/root" "$dir/bin"
  cp -a "$repo/sim/router/." "$dir/root/"
  mkdir -p "$dir/root/var/run/dorva/tavio"
  local tool
  for tool in reboot restoreconfig saveconfig activate wget_https capwap_cli; do
    ln -s "$repo/sim/bin/$tool" "$dir/bin/$tool"
  done
  while [[ $# -gt 0 ]]; do
    rm "$dir/bin/$1"
    printf '%s\n' "$2" >"$dir/bin/$1"
    chmod +x "$dir/bin/$1"
    shift 2
  done
}

# with_standins NAME COMMAND...: runs the command with the scenario's root and stand-ins,
# after checking that nothing which changes the machine can be reached.
with_standins() {
  local dir=$top/$1
  shift
  (
    # shellcheck disable=SC2030  # each scenario's own environment
    export TAVIO_ROOT=$dir/root TAVIO_STANDIN_LOG=$dir/standin.log PATH=$dir/bin:$PATH
    check_standins "$dir/bin" || exit 99
    "$@"
  )
}

# exchange NAME REQUEST: answers REQUEST (JSON text) into NAME's response file; prints the
# seconds it took.
exchange() {
  local dir=$top/$1 started=$SECONDS
  printf '%s\n' "$2" >"$dir/request.json"
  with_standins "$1" "${emulator[@]}" "$binary" -i "$dir/request.json" -o "$dir/response.json" \
    >"$dir/stdout" 2>"$dir/stderr" </dev/null
  echo $((SECONDS - started))
}

report=$top/report
fail() { echo "FAIL $*" >>"$report"; }

# expect NAME SECONDS MIN MAX: the exchange took MIN to MAX seconds, succeeded, and left no
# temporary file and no living process of the run.
expect() {
  local name=$1 took=$2 min=$3 max=$4 dir=$top/$1 pid
  ((took >= min && took <= max)) || fail "$name: took $took s, expected $min to $max"
  grep -q '^Success to generate output file' "$dir/stdout" ||
    fail "$name: no success line: $(head -c 300 "$dir/stdout")"
  [[ -z $(find "$dir/root/var/run/dorva/tavio" -name 'wget_*' -o -name 'pmu_*') ]] ||
    fail "$name: temporary files left: $(ls "$dir/root/var/run/dorva/tavio")"
  if [[ -f $dir/root/pids ]]; then
    sleep 0.5  # a killed process is reaped by its new parent
    while read -r pid; do
      if [[ -e /proc/$pid ]] && ! grep -q '^State:.Z' "/proc/$pid/status" 2>/dev/null; then
        fail "$name: process $pid of the run is still alive"
        kill -9 "$pid" 2>/dev/null || true
      fi
    done <"$dir/root/pids"
  fi
}

# expect_failure_answers NAME TOOL: NAME's response is the one tavio gives when TOOL fails
# at once.
expect_failure_answers() {
  local name=$1 dir=$top/$1
  setup "$name-fails" "$2" '#!/bin/sh
exit 1'
  exchange "$name-fails" "$(cat "$dir/request.json")" >/dev/null
  cmp -s "$dir/response.json" "$top/$name-fails/response.json" ||
    fail "$name: answered $(head -c 300 "$dir/response.json"), not as a failed $2 does: $(
      head -c 300 "$top/$name-fails/response.json")"
}

# --- the slow ones run side by side ---------------------------------------------------------
setup device-hangs capwap_cli "$hang"
setup api-hangs wget_https "$hang"
setup budget wget_https "$slow_api"
read_input='{"type":"valueRead","req":{"list":[{"k":"pwr_consume_status_input_power"}]}}'
read_cpu='{"type":"valueRead","req":{"list":[{"k":"cpuload"}]}}'
read_three='{"type":"valueRead","req":{"list":[{"k":"cpuload"},{"k":"wans_throughput_in"},{"k":"lan_ip"}]}}'
exchange device-hangs "$read_input" >"$top/device-hangs.took" &
exchange api-hangs "$read_cpu" >"$top/api-hangs.took" &
exchange budget "$read_three" >"$top/budget.took" &

# --- the quick ones meanwhile ---------------------------------------------------------------
# Without end: stopped at the reply bound; nothing of it lands in the run directory.
setup device-floods capwap_cli "$flood"
expect device-floods "$(exchange device-floods "$read_input")" 0 5
expect_failure_answers device-floods capwap_cli
[[ -z $(find "$top/device-floods/root" -size +1M) ]] || fail "device-floods: a large file was written"

# Missing from PATH: the same answer as a tool that fails.
setup device-missing
with_standins device-missing true  # the stand-ins of the machine-changing tools are in place...
rm "$top/device-missing/bin/capwap_cli"
# shellcheck disable=SC2031  # the PATH tavio gets below
if env PATH="$top/device-missing/bin:$PATH" sh -c "command -v capwap_cli" >/dev/null; then
  echo "SKIP: a capwap_cli outside the stand-ins is on PATH"
  exit 77
fi
printf '%s\n' "$read_input" >"$top/device-missing/request.json"
expect device-missing "$(
  # shellcheck disable=SC2031
  export TAVIO_ROOT=$top/device-missing/root PATH=$top/device-missing/bin:$PATH
  started=$SECONDS
  "${emulator[@]}" "$binary" -i "$top/device-missing/request.json" \
    -o "$top/device-missing/response.json" >"$top/device-missing/stdout" 2>/dev/null </dev/null
  echo $((SECONDS - started))
)" 0 3
expect_failure_answers device-missing capwap_cli

# Background actions: tavio and its standard output end at once; the actions follow, in order.
setup background
printf '%s\n' '{"type":"valueWrite","req":{"list":[{"k":"restore_factory","v":"Yes"}]}}' \
  >"$top/background/request.json"
started=$(date +%s%N)
with_standins background "${emulator[@]}" "$binary" -i "$top/background/request.json" \
  -o "$top/background/response.json" </dev/null 2>&1 | cat >/dev/null
took_ms=$((($(date +%s%N) - started) / 1000000))
((took_ms < 2500)) || fail "background: the caller's pipe stayed open ${took_ms} ms"
[[ $(cat "$top/background/standin.log") == @(|restoreconfig) ]] ||
  fail "background: reboot ran before the pause: $(cat "$top/background/standin.log")"
for _ in $(seq 100); do
  [[ $(wc -l <"$top/background/standin.log") -ge 2 ]] && break
  sleep 0.1
done
[[ $(cat "$top/background/standin.log") == $'restoreconfig\nreboot' ]] ||
  fail "background: actions were: $(cat "$top/background/standin.log")"

# tavio killed while it waits (the display process giving up): the tool it waits for goes with
# it, also when tavio gets no chance to act (SIGKILL).
for signal in TERM KILL; do
  setup "killed-$signal" capwap_cli "$lone_hang"
  printf '%s\n' "$read_input" >"$top/killed-$signal/request.json"
  with_standins "killed-$signal" "${emulator[@]}" "$binary" -i "$top/killed-$signal/request.json" \
    -o "$top/killed-$signal/response.json" >/dev/null 2>&1 </dev/null &
  runner=$!
  for _ in $(seq 100); do
    [[ -s $top/killed-$signal/root/pids ]] && break
    sleep 0.05
  done
  # The emulator (if any) runs tavio in its own process: signal the youngest tavio.
  pkill "-$signal" -n -f "$top/killed-$signal/request.json" || fail "killed-$signal: no tavio"
  wait "$runner" || true
  sleep 0.5
  while read -r pid; do
    if [[ -e /proc/$pid ]] && ! grep -q '^State:.Z' "/proc/$pid/status" 2>/dev/null; then
      fail "killed-$signal: process $pid of the run outlived tavio"
      kill -9 "$pid" 2>/dev/null || true
    fi
  done <"$top/killed-$signal/root/pids"
done

wait
# A device tool's deadline is 10 s, the fetch tool's 12 s.
expect device-hangs "$(cat "$top/device-hangs.took")" 9 14
expect_failure_answers device-hangs capwap_cli
expect api-hangs "$(cat "$top/api-hangs.took")" 11 16
expect_failure_answers api-hangs wget_https
# Two calls of 11 s spend the 20 s budget: the third item's call is never started.
expect budget "$(cat "$top/budget.took")" 21 27
expect_failure_answers budget wget_https
[[ $(wc -l <"$top/budget/root/calls") -eq 2 ]] ||
  fail "budget: calls after the budget was spent: $(cat "$top/budget/root/calls")"

if [[ -s $report ]]; then
  cat "$report"
  exit 1
fi
echo "PASS: hangs, floods, a missing tool, the budget, background actions and kills"
