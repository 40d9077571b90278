#!/usr/bin/env bash
# Runs one end-to-end case of tavio against a private copy of the example router.
#
#   run_case.sh CASE_DIR TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]
#
# The emulator (for a cross-built binary) may also come from TAVIO_EMULATOR, split on blanks.
# A case directory holds:
#   args             tavio's arguments, one per line (an empty file: no arguments)
#   request.json     optional; copied to @IN@ before the run
#   output.initial   optional; copied to @OUT@ before the run (an old response file)
#   work/            optional; copied into @WORK@ (further input files)
#   empty-root       optional marker: start from an empty root instead of sim/router
#   root/            optional; copied over the root (router files the case needs)
#   env              optional; KEY=VALUE lines exported for the run (TAVIO_ROOT may be
#                    overridden here; PATH may not)
#   settle           optional; the most seconds to wait after tavio exits for the background
#                    commands it started (15 without the file); the wait ends when they do
#   faketime         optional; a moment as `date -d` reads it ("2024-06-30 22:15:40 UTC"):
#                    the wall clock stands still there for the run (libfaketime, preloaded
#                    into tavio or into its emulator); the zone is TZ from env
#   uptime           optional; the seconds the system has been up, as sysinfo tells tavio
#                    (strace writes them into sysinfo's answer)
#   expected.stdout  tavio's standard output, exactly
#   expected.json    optional; the response file, byte for byte; without it no response
#                    file may exist after the run
#   expected.log     optional; the stand-ins' command log; without it no stand-in may run
# Placeholders, in args, env, expected.stdout and expected.log: @IN@ request file, @OUT@
# response file, @WORK@ the case's scratch directory, @ROOT@ the root, @PID@ tavio's process
# id where it names a file (log and output only).
#
# Every run checks: exit status 0; reboot, restoreconfig, saveconfig, activate, wget_https
# and capwap_cli resolve into sim/bin; every temporary file named in the output is named
# after tavio's own process id; no temporary file of the run is left in the run directory.
# A case that needs what this machine lacks (libfaketime, strace that may trace) prints SKIP
# and ends with exit status 77.
#
# TAVIO_UPDATE_GOLDEN=1 writes what the run produced as the case's expectations instead of
# comparing (review every changed file by hand before committing it).
#
# TAVIO_API_TRANSPORT=http (CTest sets it for a build with that transport): tavio speaks HTTP
# to the local API itself, so the case's recorded replies are served by tests/e2e/replay_server.py
# on a free port that replaces LOCAL_HTTP_PORT in the root's /etc/localhost_http_port. The
# expectations are the same: the server logs each request as "http METHOD URL" with the port the
# case's files name and the header and body lines the stand-in would have logged, and each
# wget_https line of expected.log is read in that form (POST when it has -f). Calls to another
# port (no port file: 80) reach no server and are left out of both. Goldens are written by a
# build with the tool transport only.
set -euo pipefail

die() { echo "run_case: $*" >&2; exit 2; }
skip() { echo "SKIP $name: $*"; exit 77; }

[[ $# -ge 2 ]] || die "usage: run_case.sh CASE_DIR TAVIO_BINARY [EMULATOR...]"
case_dir=$(cd "$1" && pwd) || die "no case directory $1"
binary=$2
shift 2
[[ $binary == /* ]] || binary=$PWD/$binary
[[ -x $binary ]] || die "no tavio binary at $binary"
emulator=("$@")
if [[ ${#emulator[@]} -eq 0 && -n ${TAVIO_EMULATOR:-} ]]; then
  read -r -a emulator <<<"$TAVIO_EMULATOR"
fi

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=tools/check-standins
source "$repo/tools/check-standins"
sim_bin=$repo/sim/bin
router=$repo/sim/router
name=$(basename "$case_dir")
[[ -f $case_dir/args ]] || die "$name: no args file"
[[ -f $case_dir/expected.stdout || -n ${TAVIO_UPDATE_GOLDEN:-} ]] ||
  die "$name: no expected.stdout"

transport=${TAVIO_API_TRANSPORT:-tool}
[[ $transport == @(tool|http) ]] || die "TAVIO_API_TRANSPORT must be tool or http"
[[ $transport == tool || -z ${TAVIO_UPDATE_GOLDEN:-} ]] ||
  die "goldens are written by a build with the tool transport"

work=$(mktemp -d "${TMPDIR:-/tmp}/tavio-e2e.XXXXXX")
server_pid=
cleanup() {
  [[ -z $server_pid ]] || { kill "$server_pid" 2>/dev/null; wait "$server_pid" 2>/dev/null; }
  rm -rf "$work"
}
trap cleanup EXIT
# tavio refuses a root with other characters; the case would not test what it says.
[[ $work =~ ^[A-Za-z0-9/._-]+$ ]] || die "temporary directory $work is not a usable root"

root=$work/root
in_file=$work/request.json
out_file=$work/response.json
log_file=$work/standin.log
rundir=$root/var/run/dorva/tavio

# --- the router tree ------------------------------------------------------------------
mkdir -p "$root"
if [[ ! -e $case_dir/empty-root ]]; then
  cp -a "$router/." "$root/"
fi
if [[ -d $case_dir/root ]]; then
  cp -a "$case_dir/root/." "$root/"
fi
mkdir -p "$rundir"
[[ -f $case_dir/request.json ]] && cp "$case_dir/request.json" "$in_file"
[[ -f $case_dir/output.initial ]] && cp "$case_dir/output.initial" "$out_file"
if [[ -d $case_dir/work ]]; then
  cp -a "$case_dir/work/." "$work/"
fi
: >"$log_file"

fill() {  # replaces the placeholders in $1
  local text=$1
  text=${text//@IN@/$in_file}
  text=${text//@OUT@/$out_file}
  text=${text//@ROOT@/$root}
  text=${text//@WORK@/$work}
  printf '%s' "$text"
}

args=()
while IFS= read -r line || [[ -n $line ]]; do
  args+=("$(fill "$line")")
done <"$case_dir/args"

# --- the environment ------------------------------------------------------------------
export TAVIO_ROOT=$root
export TAVIO_STANDIN_LOG=$log_file
unset TAVIO_SIM_API_DOWN
if [[ -f $case_dir/env ]]; then
  while IFS= read -r line || [[ -n $line ]]; do
    [[ -z $line || $line == \#* ]] && continue
    [[ $line =~ ^[A-Za-z_][A-Za-z0-9_]*= ]] || die "$name: bad env line: $line"
    [[ $line == PATH=* ]] && die "$name: env may not set PATH"
    export "$(fill "$line")"
  done <"$case_dir/env"
fi
export PATH=$sim_bin:$PATH

# Nothing that changes the machine may be reachable: each command must be the stand-in.
if ! check_standins "$sim_bin"; then
  echo "FAIL $name: the stand-ins of $sim_bin do not come first on PATH"
  exit 1
fi

# --- the local API over HTTP ------------------------------------------------------------
logged_port=
if [[ $transport == http ]]; then
  port_file=$root/etc/localhost_http_port
  # The port tavio would take from the file; none (then 80) leaves the file as it is.
  if [[ -f $port_file ]]; then
    logged_port=$(sed -n 's/^LOCAL_HTTP_PORT="\{0,1\}\([1-9][0-9]*\)"\{0,1\}$/\1/p' \
      "$port_file" | tail -n 1)
  fi
  python3 -B "$repo/tests/e2e/replay_server.py" "$root" "$work/server.port" \
    ${logged_port:+--logged-port "$logged_port"} </dev/null &
  server_pid=$!
  for _ in $(seq 100); do
    [[ -s $work/server.port ]] && break
    sleep 0.05
  done
  [[ -s $work/server.port ]] || die "$name: the replay server did not start"
  [[ -z $logged_port ]] ||
    sed -i "s/^LOCAL_HTTP_PORT=.*/LOCAL_HTTP_PORT=$(<"$work/server.port")/" "$port_file"
fi

# --- the clock and the uptime ----------------------------------------------------------
# Both are set from outside tavio, also when it runs under an emulator.
# The wall clock: libfaketime, preloaded into tavio, or into an emulator that is itself a
# dynamically linked program (valgrind hands it on to tavio; qemu-arm makes the guest's clock
# calls through its own C library, where it intercepts them).
clock=()
if [[ -f $case_dir/faketime ]]; then
  faketime_lib=
  for candidate in /usr/lib/"$(uname -m)"-linux-*/faketime/libfaketime.so.1; do
    [[ -e $candidate ]] && { faketime_lib=$candidate; break; }
  done
  [[ -n $faketime_lib ]] || skip "libfaketime is not installed"
  moment=$(date -u -d "$(<"$case_dir/faketime")" +%s) || die "$name: faketime: not a time"
  clock=(env "LD_PRELOAD=$faketime_lib" FAKETIME_FMT=%s "FAKETIME=$moment")
  # A sanitized tavio wants its runtime loaded first; libfaketime only adds clock calls.
  export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0
fi
# The uptime: strace overwrites the first field of sysinfo's answer, the uptime (a long of
# the build machine), as the call returns; also when valgrind or qemu-arm makes the call for
# tavio. (A time namespace's boot-time offset keeps the clock running: under valgrind, tavio
# asks up to a second or more after its start, and the figure would depend on the load.)
uptime_hook=()
if [[ -f $case_dir/uptime ]]; then
  uptime=$(<"$case_dir/uptime")
  [[ $uptime =~ ^[0-9]+$ ]] || die "$name: uptime: not a number of seconds"
  strace -o /dev/null true 2>/dev/null || skip "strace is missing or may not trace here"
  field=$(printf '%0*x' $(($(getconf LONG_BIT) / 4)) "$uptime")
  if [[ $(printf '\1\0' | od -An -tu2 | tr -d ' ') == 1 ]]; then  # little-endian
    bytes=$field field=
    for ((at = ${#bytes} - 2; at >= 0; at -= 2)); do field+=${bytes:at:2}; done
  fi
  uptime_hook=(strace -f -qq --seccomp-bpf -o /dev/null -e trace=sysinfo
    -e "inject=sysinfo:poke_exit=@arg1=$field")
  # LeakSanitizer cannot work in a traced process; valgrind checks these runs for leaks.
  export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0
fi

# --- the run ---------------------------------------------------------------------------
cd "$work"
# Background actions that tavio starts run on in a detached process after it exits: the run is
# over when the last process it started has ended (at most the case's settle seconds, 15
# without a settle file, after tavio itself ended). tavio's process id goes into the pid file:
# the emulator, if any, execs tavio or runs it in its own process, as valgrind and qemu-arm do.
settle=15
[[ -f $case_dir/settle ]] && settle=$(<"$case_dir/settle")
set +e
"${uptime_hook[@]}" python3 "$repo/tests/e2e/await_all.py" "$settle" "$work/pid" \
  "${clock[@]}" "${emulator[@]}" "$binary" "${args[@]}" \
  >"$work/stdout" 2>"$work/stderr" </dev/null
status=$?
set -e
[[ -s $work/pid ]] || die "$name: tavio was not started (exit status $status)"
pid=$(<"$work/pid")

# Turns the run's own paths and process id back into placeholders.
normalize() {  # file
  local in=$1 out=$1.norm
  sed -e "s|$out_file|@OUT@|g" -e "s|$in_file|@IN@|g" -e "s|$root|@ROOT@|g" \
      -e "s|$work|@WORK@|g" -e "s|_$pid\\.|_@PID@.|g" "$in" >"$out"
  mv "$out" "$in"
}
normalize "$work/stdout"
normalize "$log_file"

# --- expectation update -----------------------------------------------------------------
if [[ -n ${TAVIO_UPDATE_GOLDEN:-} ]]; then
  cp "$work/stdout" "$case_dir/expected.stdout"
  if [[ -f $out_file ]]; then cp "$out_file" "$case_dir/expected.json"
  else rm -f "$case_dir/expected.json"; fi
  if [[ -s $log_file ]]; then cp "$log_file" "$case_dir/expected.log"
  else rm -f "$case_dir/expected.log"; fi
  echo "UPDATED $name (exit status $status): review the expected files by hand"
  exit 0
fi

# --- the checks -------------------------------------------------------------------------
failures=0
fail() { echo "FAIL $name: $*"; failures=$((failures + 1)); }
# A compact response on one line is hard to compare by eye: break it between entries.
entry_lines() { sed 's/},{/},\n{/g' "$1"; echo; }

[[ $status -eq 0 ]] || fail "exit status $status, expected 0"

# tavio names its temporary files after its process id, which became @PID@ above: digits left
# there mean the files were named after another process, or the wrong process id was taken.
if other=$(grep -ohE 'wget_[a-z_]+_[0-9]+\.[a-z]+' "$work/stdout" "$log_file"); then
  fail "temporary files named after another process than tavio's ($pid): $(sort -u <<<"$other" | tr '\n' ' ')"
fi

if ! cmp -s "$case_dir/expected.stdout" "$work/stdout"; then
  fail "standard output differs (--- expected, +++ actual):"
  diff -u "$case_dir/expected.stdout" "$work/stdout" | tail -n +3 || true
fi

if [[ -f $case_dir/expected.json ]]; then
  if [[ ! -f $out_file ]]; then
    fail "no response file written"
  elif ! cmp -s "$case_dir/expected.json" "$out_file"; then
    fail "response file differs (--- expected, +++ actual; one line per entry):"
    diff -u <(entry_lines "$case_dir/expected.json") <(entry_lines "$out_file") | tail -n +3 || true
  fi
elif [[ -e $out_file ]]; then
  fail "a response file was written: $(head -c 300 "$out_file")"
fi

expected_log=/dev/null
[[ -f $case_dir/expected.log ]] && expected_log=$case_dir/expected.log
if [[ $transport == http ]]; then
  # The tool's calls as the replay server logs the requests they stand for.
  awk -v port="$logged_port" '
    /^wget_https / {
      method = "GET"
      for (i = 2; i < NF; i++) if ($i == "-f") method = "POST"
      skip = port == "" || index($NF, "http://127.0.0.1:" port "/") != 1
      if (!skip) print "http " method " " $NF
      next
    }
    /^  / { if (!skip) print; next }
    { skip = 0; print }' "$expected_log" >"$work/expected.log"
  expected_log=$work/expected.log
fi
if ! cmp -s "$expected_log" "$log_file"; then
  fail "stand-in command log differs (--- expected, +++ actual):"
  diff -u "$expected_log" "$log_file" | tail -n +3 || true
fi

leftovers=$(cd "$rundir" && find . -name 'wget_*' -o -name "*_$pid.*" | sort)
[[ -z $leftovers ]] || fail "temporary files left in the run directory: $leftovers"

if [[ $failures -gt 0 ]]; then
  if [[ -s $work/stderr ]]; then
    echo "tavio's standard error:"
    sed 's/^/  /' "$work/stderr"
  fi
  exit 1
fi
echo "PASS $name"
