#!/usr/bin/env bash
# shellcheck disable=SC2016  # the stand-ins' own variables, expanded when they run
# The router's tools misbehaving: one that never answers, one that writes without end, one
# first on PATH that cannot be executed, an API slow enough to spend the exchange's budget, and
# tavio itself killed while it waits. Each exchange must end in bounded time with the answers
# of a failed tool, leave no process of the run behind, and write nothing but its response. A
# caller that blocks or ignores signals changes nothing: the tools start with default signal
# dispositions and no mask.
#
#   tools.sh TAVIO_BINARY [EMULATOR...]
# shellcheck source=tests/robustness/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
# The emulator by its full path: some cases run tavio with a PATH of their own folders only.
[[ ${#emulator[@]} -eq 0 ]] || emulator[0]=$(command -v "${emulator[0]}")

# Stand-ins that misbehave. Each notes its own process id and that of the child it starts, so
# the checks can tell whether anything of the run is still alive.
hang='#!/bin/sh
echo "$$" >>"$TAVIO_ROOT/pids"
sleep 600 &
echo "$!" >>"$TAVIO_ROOT/pids"
wait'
slow_api='#!/bin/sh
echo "$*" >>"$TAVIO_ROOT/calls"
sleep 11
exit 1'
flood='#!/bin/sh
echo "$$" >>"$TAVIO_ROOT/pids"
exec yes "{\"list\": ["'
read_input='{"type":"valueRead","req":{"list":[{"k":"pwr_consume_status_input_power"}]}}'
read_three='{"type":"valueRead","req":{"list":[{"k":"cpuload"},{"k":"wans_throughput_in"},{"k":"lan_ip"}]}}'

# setup NAME REQUEST [TOOL SCRIPT]...: a root copied from the example router, the request, and
# a stand-in folder holding sim/bin's stand-ins, with the named tools replaced by scripts.
setup() {
  local dir=$work/$1
  mkdir -p "$dir/root" "$dir/bin"
  cp -a "$repo/sim/router/." "$dir/root/"
  ln -s "$repo"/sim/bin/* "$dir/bin/"
  printf '%s\n' "$2" >"$dir/request.json"
  shift 2
  while [[ $# -gt 0 ]]; do
    rm "$dir/bin/$1"
    printf '%s\n' "$2" >"$dir/bin/$1"
    chmod +x "$dir/bin/$1"
    shift 2
  done
}

# run NAME [WRAPPER...]: tavio (behind the wrappers) on NAME's request with its root and
# stand-ins first on PATH, after checking that nothing which changes the machine can be reached.
# Prints the seconds it took.
run() {
  local dir=$work/$1 started=$SECONDS
  shift
  (
    # shellcheck disable=SC2030  # each scenario's own environment
    export TAVIO_ROOT=$dir/root TAVIO_STANDIN_LOG=$dir/standin.log PATH=$dir/bin:$PATH
    check_standins "$dir/bin" || exit 99
    exec "$@" "${emulator[@]}" "$binary" -i "$dir/request.json" -o "$dir/response.json" \
      >"$dir/stdout" 2>"$dir/stderr" </dev/null
  ) || true
  echo $((SECONDS - started))
}

# expect_gone NAME: no process the stand-ins noted is still alive (killed if it is).
expect_gone() {
  local pid
  [[ -f $work/$1/root/pids ]] || return 0
  sleep 0.5  # a killed process is reaped by its new parent
  while read -r pid; do
    if [[ -e /proc/$pid ]] && ! grep -q '^State:.Z' "/proc/$pid/status" 2>/dev/null; then
      fail "$1: process $pid of the run is still alive"
      kill -9 "$pid" 2>/dev/null || true
    fi
  done <"$work/$1/root/pids"
}

# expect NAME SECONDS MIN MAX [FAILING_TOOL]: the exchange took MIN to MAX seconds, succeeded,
# left no temporary file and no living process of the run, and answered as it does when
# FAILING_TOOL fails at once.
expect() {
  local name=$1 took=$2 dir=$work/$1
  ((took >= $3 && took <= $4)) || fail "$name: took $took s, expected $3 to $4"
  grep -q '^Success to generate output file' "$dir/stdout" ||
    fail "$name: no success line: $(head -c 300 "$dir/stdout")"
  [[ -z $(find "$dir/root/var/run/dorva/tavio" -name 'wget_*' -o -name 'pmu_*') ]] ||
    fail "$name: temporary files left: $(ls "$dir/root/var/run/dorva/tavio")"
  expect_gone "$name"
  [[ -n ${5:-} ]] || return 0
  setup "$name-fails" "$(<"$dir/request.json")" "$5" '#!/bin/sh
exit 1'
  run "$name-fails" >/dev/null
  cmp -s "$dir/response.json" "$work/$name-fails/response.json" ||
    fail "$name: answered $(head -c 300 "$dir/response.json"), not as a failed $5 does: $(
      head -c 300 "$work/$name-fails/response.json")"
}

# The slow ones run side by side.
setup device-hangs "$read_input" capwap_cli "$hang"
setup budget "$read_three" wget_https "$slow_api"
for name in device-hangs budget; do run "$name" >"$work/$name.took" & done

# The caller's signal state, handed on through exec: the fetch tool notes the state it was
# started with, then answers as usual.
for state in blocked ignored; do
  # (read by the shell itself: a shell waiting for a child blocks signals meanwhile)
  setup "caller-$state" "$read_three" wget_https "#!/bin/sh
while IFS= read -r line; do
  case \$line in Sig[BI]*) echo \"\$line\" ;; esac
done </proc/\$\$/status >>\"\$TAVIO_ROOT/signals\"
exec '$repo/sim/bin/wget_https' \"\$@\""
  expect "caller-$state" "$(run "caller-$state" python3 -c '
import os, signal, sys
if sys.argv[1] == "blocked":
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGCHLD, signal.SIGTERM, signal.SIGPIPE})
else:
    for s in (signal.SIGCHLD, signal.SIGINT, signal.SIGPIPE, signal.SIGUSR1, signal.SIGRTMAX):
        signal.signal(s, signal.SIG_IGN)
os.execvp(sys.argv[2], sys.argv[2:])' "$state")" 0 3
  ! grep -q '"v":""' "$work/caller-$state/response.json" ||
    fail "caller-$state: a value came back empty: $(cat "$work/caller-$state/response.json")"
  # Under an emulator the tools are the emulator's children: only a native run tells.
  [[ ${#emulator[@]} -gt 0 ]] || ! grep -qv ':[[:space:]]*0*$' "$work/caller-$state/root/signals" ||
    fail "caller-$state: a tool started with $(sort -u "$work/caller-$state/root/signals")"
done

# A stand-in first on PATH that cannot be executed (Windows line endings, "/bin/sh\r", or a
# missing interpreter): the call fails as the shell's would, and the program of the same name
# further down PATH never runs. PATH holds nothing but this test's two folders.
broken=$work/broken
mkdir -p "$broken/root" "$broken/first" "$broken/later"
cp -a "$repo/sim/router/." "$broken/root/"
for tool in reboot restoreconfig saveconfig activate wget_https capwap_cli sleep; do
  printf '#!/bin/sh\necho "later $0" >>"$TAVIO_ROOT/ran"\n' >"$broken/later/$tool"
  printf '#!/bin/sh\r\necho "first $0" >>"$TAVIO_ROOT/ran"\r\n' >"$broken/first/$tool"
done
printf '#!/no/such/interpreter\n' >"$broken/first/reboot"
chmod +x "$broken/first/"* "$broken/later/"*
if (PATH=$broken/later check_standins "$broken/later") &&
  ! (PATH=$broken/first check_standins "$broken/first" 2>/dev/null); then
  for request in "$read_input" '{"type":"valueWrite","req":{"list":[{"k":"restore_factory","v":"Yes"}]}}'; do
    printf '%s\n' "$request" >"$broken/request.json"
    TAVIO_ROOT=$broken/root PATH=$broken/first:$broken/later "${emulator[@]}" "$binary" \
      -i "$broken/request.json" -o "$broken/response.json" >/dev/null 2>&1 </dev/null
  done
  sleep 1  # the background sequence: three steps that fail at once
  [[ ! -e $broken/root/ran ]] || fail "broken stand-ins: ran $(cat "$broken/root/ran")"
else
  fail "check-standins: did not refuse stand-ins that cannot run"
fi

# Without end: stopped at the reply bound; nothing of it lands in the run directory.
setup device-floods "$read_input" capwap_cli "$flood"
expect device-floods "$(run device-floods)" 0 5 capwap_cli
[[ -z $(find "$work/device-floods/root" -size +1M) ]] || fail "device-floods: a large file was written"

# tavio killed while it waits (the display process giving up): the tool it waits for goes with
# it, and what the tool started, also when tavio gets no chance to act (SIGKILL).
for signal in TERM KILL; do
  setup "killed-$signal" "$read_input" capwap_cli "$hang"
  run "killed-$signal" >/dev/null &
  pids=$work/killed-$signal/root/pids
  for _ in $(seq 100); do
    [[ -f $pids && $(wc -l <"$pids") -ge 2 ]] && break
    sleep 0.05
  done
  pkill "-$signal" -P "$!" || fail "killed-$signal: no tavio"
  wait "$!" || true
  expect_gone "killed-$signal"
done

wait
# A device tool's deadline is 10 s, the fetch tool's 12 s; two calls of 11 s spend the 20 s
# budget, so the third item's call is never started.
expect device-hangs "$(<"$work/device-hangs.took")" 9 14 capwap_cli
expect budget "$(<"$work/budget.took")" 21 27 wget_https
[[ $(wc -l <"$work/budget/root/calls") -eq 2 ]] ||
  fail "budget: calls after the budget was spent: $(cat "$work/budget/root/calls")"

finish "hangs, floods, broken tools, the budget, the caller's signals and kills"
