#!/usr/bin/env bash
# The router's tools misbehaving: one that never answers, one that writes without end, one
# missing from PATH, one first on PATH that cannot be executed, an API slow enough to spend the
# exchange's budget, a background step that hangs, and tavio itself killed while it waits.
# Each exchange must end in bounded time with the answers of a failed tool, leave no process
# of the run behind, and write nothing but its response. Background actions must run in order
# after tavio has ended, without holding its standard output. A caller that blocks or ignores
# SIGCHLD changes nothing, and the tools start with default signal dispositions and no mask.
#
#   tools.sh TAVIO_BINARY [EMULATOR...]
set -euo pipefail

binary=$1
shift
emulator=("$@")
# The emulator by its full path: some cases run tavio with a PATH of their own folders only.
[[ ${#emulator[@]} -eq 0 ]] || emulator[0]=$(command -v "${emulator[0]}")
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

# exchange NAME REQUEST [OPTION...]: answers REQUEST (JSON text) into NAME's response file,
# tavio given the options too; prints the seconds it took.
exchange() {
  local name=$1 dir=$top/$1 started=$SECONDS
  printf '%s\n' "$2" >"$dir/request.json"
  shift 2
  with_standins "$name" "${emulator[@]}" "$binary" "$@" -i "$dir/request.json" \
    -o "$dir/response.json" >"$dir/stdout" 2>"$dir/stderr" </dev/null
  echo $((SECONDS - started))
}

report=$top/report
fail() { echo "FAIL $*" >>"$report"; }

# expect_gone NAME PID_FILE: no process of the file is still alive (killed if it is).
expect_gone() {
  local pid
  while read -r pid; do
    if [[ -e /proc/$pid ]] && ! grep -q '^State:.Z' "/proc/$pid/status" 2>/dev/null; then
      fail "$1: process $pid of the run is still alive"
      kill -9 "$pid" 2>/dev/null || true
    fi
  done <"$2"
}

# expect NAME SECONDS MIN MAX: the exchange took MIN to MAX seconds, succeeded, and left no
# temporary file and no living process of the run.
expect() {
  local name=$1 took=$2 min=$3 max=$4 dir=$top/$1
  ((took >= min && took <= max)) || fail "$name: took $took s, expected $min to $max"
  grep -q '^Success to generate output file' "$dir/stdout" ||
    fail "$name: no success line: $(head -c 300 "$dir/stdout")"
  [[ -z $(find "$dir/root/var/run/dorva/tavio" -name 'wget_*' -o -name 'pmu_*') ]] ||
    fail "$name: temporary files left: $(ls "$dir/root/var/run/dorva/tavio")"
  if [[ -f $dir/root/pids ]]; then
    sleep 0.5  # a killed process is reaped by its new parent
    expect_gone "$name" "$dir/root/pids"
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
# A panel reload that never ends is killed, with what it started, at the device tool's deadline.
setup reload-hangs capwap_cli "$hang"
exchange reload-hangs '{"type":"valueWrite","req":{"list":[{"k":"panel_logout","v":"Yes"}]}}' \
  -s PNL-IN >/dev/null
reload_started=$SECONDS

# --- the caller's signal state --------------------------------------------------------------
# The fetch tool notes the signal state it was started with, then answers as usual.
for state in blocked ignored; do
  setup "caller-$state" wget_https "#!/bin/sh
while IFS= read -r line; do
  case \$line in Sig[BI]*) echo \"\$line\" ;; esac
done </proc/\$\$/status >>\"\$TAVIO_ROOT/signals\"
exec '$repo/sim/bin/wget_https' \"\$@\""
done
for state in blocked ignored; do
  printf '%s\n' "$read_three" >"$top/caller-$state/request.json"
  expect "caller-$state" "$(with_standins "caller-$state" python3 -c '
import os, signal, sys, time
if sys.argv[1] == "blocked":
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGCHLD, signal.SIGTERM, signal.SIGPIPE})
else:
    for s in (signal.SIGCHLD, signal.SIGINT, signal.SIGPIPE, signal.SIGUSR1, signal.SIGRTMAX):
        signal.signal(s, signal.SIG_IGN)
started = time.monotonic()
pid = os.fork()
if pid == 0:
    os.dup2(os.open(os.devnull, os.O_RDONLY), 0)
    os.dup2(os.open(sys.argv[2] + "/stdout", os.O_WRONLY | os.O_CREAT | os.O_TRUNC), 1)
    os.execvp(sys.argv[3], sys.argv[3:] + ["-i", sys.argv[2] + "/request.json",
                                           "-o", sys.argv[2] + "/response.json"])
while True:
    try:
        os.waitpid(pid, 0)
    except ChildProcessError:  # with SIGCHLD ignored the kernel reaps it
        while os.path.exists("/proc/%d" % pid) and open("/proc/%d/stat" % pid).read().split()[2] != "Z":
            time.sleep(0.01)
    break
print(int(time.monotonic() - started))
' "$state" "$top/caller-$state" "${emulator[@]}" "$binary")" 0 3
  cmp -s "$top/caller-$state/response.json" "$top/caller-blocked/response.json" ||
    fail "caller-$state: answered otherwise than with SIGCHLD blocked"
  grep -q '"v":""' "$top/caller-$state/response.json" &&
    fail "caller-$state: a value came back empty: $(cat "$top/caller-$state/response.json")"
  if [[ ${#emulator[@]} -eq 0 ]]; then
    # Every tool starts as from a fresh shell: nothing blocked, nothing ignored.
    ! grep -qv ':[[:space:]]*0*$' "$top/caller-$state/root/signals" ||
      fail "caller-$state: a tool started with $(sort -u "$top/caller-$state/root/signals")"
  fi
done

# --- a stand-in first on PATH that cannot be executed ---------------------------------------
# Windows line endings ("/bin/sh\r") or a missing interpreter: the call fails as the shell's
# would, and the program of the same name further down PATH never runs. Both folders are this
# test's own; PATH holds nothing else, so nothing of the machine can be reached.
mkdir -p "$top/broken/root" "$top/broken/first" "$top/broken/later"
cp -a "$repo/sim/router/." "$top/broken/root/"
for tool in reboot restoreconfig saveconfig activate wget_https capwap_cli sleep; do
  # shellcheck disable=SC2016  # the stand-ins' own variables
  printf '#!/bin/sh\necho "later $0" >>"$TAVIO_ROOT/ran"\n' >"$top/broken/later/$tool"
  # shellcheck disable=SC2016
  printf '#!/bin/sh\r\necho "first $0" >>"$TAVIO_ROOT/ran"\r\n' >"$top/broken/first/$tool"
done
printf '#!/no/such/interpreter\n' >"$top/broken/first/reboot"
chmod +x "$top/broken/first/"* "$top/broken/later/"*
if (PATH=$top/broken/later check_standins "$top/broken/later") &&
  ! (PATH=$top/broken/first check_standins "$top/broken/first" 2>/dev/null); then
  for request in "$read_input" '{"type":"valueWrite","req":{"list":[{"k":"restore_factory","v":"Yes"}]}}'; do
    printf '%s\n' "$request" >"$top/broken/request.json"
    TAVIO_ROOT=$top/broken/root PATH=$top/broken/first:$top/broken/later "${emulator[@]}" \
      "$binary" -i "$top/broken/request.json" -o "$top/broken/response.json" >/dev/null 2>&1 \
      </dev/null
  done
  sleep 1  # the background sequence: three steps that fail at once
  [[ ! -e $top/broken/root/ran ]] || fail "broken stand-ins: ran $(cat "$top/broken/root/ran")"
else
  fail "check-standins: did not refuse stand-ins that cannot run"
fi

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
# it, and what the tool started, also when tavio gets no chance to act (SIGKILL).
for signal in TERM KILL; do
  setup "killed-$signal" capwap_cli "$hang"
  exchange "killed-$signal" "$read_input" >/dev/null &
  runner=$!
  for _ in $(seq 100); do
    [[ -f $top/killed-$signal/root/pids && $(wc -l <"$top/killed-$signal/root/pids") -ge 2 ]] && break
    sleep 0.05
  done
  # The oldest process of that command line is tavio (its watch is a copy made later).
  pkill "-$signal" -o -f "$top/killed-$signal/request.json" || fail "killed-$signal: no tavio"
  wait "$runner" || true
  sleep 0.5
  expect_gone "killed-$signal" "$top/killed-$signal/root/pids"
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
sleep $((reload_started + 12 > SECONDS ? reload_started + 12 - SECONDS : 0))
expect_gone reload-hangs "$top/reload-hangs/root/pids"

if [[ -s $report ]]; then
  cat "$report"
  exit 1
fi
echo "PASS: hangs, floods, missing and broken tools, the budget, background actions, the caller's signals and kills"
