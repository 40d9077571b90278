#!/usr/bin/env bash
# Runs one end-to-end case of tavio against a private copy of the example router.
#
#   run_case.sh CASE_DIR TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]   (or TAVIO_EMULATOR)
#
# A case holds args (one a line) and expected.stdout, and may hold request.json (copied to
# @IN@), output.initial (an old response at @OUT@), work/ (copied into @WORK@), empty-root (no
# sim/router), root/ (copied over the root), env (KEY=VALUE lines, not PATH), faketime (a
# `date -d` moment the wall clock stands still at), uptime (seconds sysinfo answers),
# expected.json (without it no response may be written) and expected.log (the stand-ins'
# command log; without it none may run). @ROOT@ and @PID@ (tavio's process id in a file name)
# are placeholders too. Every run also checks exit status 0, the stand-ins first on PATH, and
# temporary files named after tavio's process id, none left behind. SKIP (77) without
# libfaketime or a tracing strace. TAVIO_UPDATE_GOLDEN=1 writes the results as the expectations.
#
# TAVIO_API_TRANSPORT=http: tavio speaks HTTP itself to replay_server.py, on a free port put
# into the root's /etc/localhost_http_port; the server logs each request as "http METHOD URL"
# with the port the case's files name. expected.log's wget_https lines are read in that form
# (POST with -f); calls to another port reach no server and are left out of both.
set -euo pipefail

die() { echo "run_case: $*" >&2; exit 2; }
skip() { echo "SKIP $name: $*"; exit 77; }

[[ $# -ge 2 ]] || die "usage: run_case.sh CASE_DIR TAVIO_BINARY [EMULATOR...]"
case_dir=$(cd "$1" && pwd) || die "no case directory $1"
binary=$(realpath "$2")
shift 2
emulator=("$@")
[[ $# -gt 0 || -z ${TAVIO_EMULATOR:-} ]] || read -r -a emulator <<<"$TAVIO_EMULATOR"

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=tools/check-standins
source "$repo/tools/check-standins"
name=$(basename "$case_dir")
update=${TAVIO_UPDATE_GOLDEN:-}
transport=${TAVIO_API_TRANSPORT:-tool}
[[ $transport == @(tool|http) ]] || die "TAVIO_API_TRANSPORT must be tool or http"
[[ $transport == tool || -z $update ]] || die "goldens are written with the tool transport"

work=$(mktemp -d "${TMPDIR:-/tmp}/tavio-e2e.XXXXXX")
server_pid=
trap '[[ -z $server_pid ]] || kill "$server_pid" 2>/dev/null || true; wait; rm -rf "$work"' EXIT
# tavio refuses a root with other characters; the case would not test what it says.
[[ $work =~ ^[A-Za-z0-9/._-]+$ ]] || die "temporary directory $work is not a usable root"
root=$work/root in_file=$work/request.json out_file=$work/response.json
log_file=$work/standin.log rundir=$work/root/var/run/dorva/tavio

mkdir -p "$root"
[[ -e $case_dir/empty-root ]] || cp -a "$repo/sim/router/." "$root/"
[[ ! -d $case_dir/root ]] || cp -a "$case_dir/root/." "$root/"
mkdir -p "$rundir"
[[ ! -f $case_dir/request.json ]] || cp "$case_dir/request.json" "$in_file"
[[ ! -f $case_dir/output.initial ]] || cp "$case_dir/output.initial" "$out_file"
[[ ! -d $case_dir/work ]] || cp -a "$case_dir/work/." "$work/"
: >"$log_file"

fill() {  # $1 with the placeholders replaced
  local text=${1//@IN@/$in_file}
  text=${text//@OUT@/$out_file}
  text=${text//@ROOT@/$root}
  printf '%s' "${text//@WORK@/$work}"
}
args=()
while IFS= read -r line || [[ -n $line ]]; do args+=("$(fill "$line")"); done <"$case_dir/args"

export TAVIO_ROOT=$root TAVIO_STANDIN_LOG=$log_file
unset TAVIO_SIM_API_DOWN
while IFS= read -r line || [[ -n $line ]]; do
  [[ -z $line || $line == \#* ]] && continue
  [[ $line =~ ^[A-Za-z_][A-Za-z0-9_]*= && $line != PATH=* ]] || die "$name: bad env line: $line"
  export "$(fill "$line")"
done < <(cat "$case_dir/env" 2>/dev/null)
export PATH=$repo/sim/bin:$PATH
check_standins "$repo/sim/bin" || { echo "FAIL $name: the stand-ins do not come first on PATH"; exit 1; }

# The local API over HTTP, on the port tavio would take from the file; without one (then 80)
# the file stays as it is.
logged_port=
if [[ $transport == http ]]; then
  port_file=$root/etc/localhost_http_port
  [[ ! -f $port_file ]] || logged_port=$(sed -n \
    's/^LOCAL_HTTP_PORT="\{0,1\}\([1-9][0-9]*\)"\{0,1\}$/\1/p' "$port_file" | tail -n 1)
  python3 -B "$repo/tests/e2e/replay_server.py" "$root" "$work/server.port" \
    ${logged_port:+--logged-port "$logged_port"} </dev/null &
  server_pid=$!
  for _ in $(seq 100); do [[ -s $work/server.port ]] && break; sleep 0.05; done
  [[ -s $work/server.port ]] || die "$name: the replay server did not start"
  [[ -z $logged_port ]] ||
    sed -i "s/^LOCAL_HTTP_PORT=.*/LOCAL_HTTP_PORT=$(<"$work/server.port")/" "$port_file"
fi

# The wall clock: libfaketime, preloaded into tavio or into an emulator that is itself a
# dynamically linked program (valgrind hands it on; qemu-arm makes the guest's clock calls
# through its own C library). A sanitized tavio wants its runtime loaded first.
clock=()
if [[ -f $case_dir/faketime ]]; then
  faketime_lib=$(compgen -G "/usr/lib/$(uname -m)-linux-*/faketime/libfaketime.so.1" | head -n 1) ||
    skip "libfaketime is not installed"
  moment=$(date -u -d "$(<"$case_dir/faketime")" +%s) || die "$name: faketime: not a time"
  clock=(env "LD_PRELOAD=$faketime_lib" FAKETIME_FMT=%s "FAKETIME=$moment")
  export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0
fi
# The uptime: strace overwrites the first field of sysinfo's answer (a long of the build
# machine) as the call returns, also when valgrind or qemu-arm makes it (a time namespace's
# boot-time offset keeps the clock running). LeakSanitizer cannot work in a traced process.
uptime_hook=()
if [[ -f $case_dir/uptime ]]; then
  uptime=$(<"$case_dir/uptime")
  strace -o /dev/null true 2>/dev/null || skip "strace is missing or may not trace here"
  field=$(printf '%0*x' $(($(getconf LONG_BIT) / 4)) "$uptime")
  if [[ $(printf '\1\0' | od -An -tu2 | tr -d ' ') == 1 ]]; then  # little-endian
    bytes=$field field=
    for ((at = ${#bytes} - 2; at >= 0; at -= 2)); do field+=${bytes:at:2}; done
  fi
  uptime_hook=(strace -f -qq --seccomp-bpf -o /dev/null -e trace=sysinfo
    -e "inject=sysinfo:poke_exit=@arg1=$field")
  export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0
fi

# The run is over when the last process tavio started has ended (its background actions run
# on after it exits), 15 s after tavio at most. An emulator execs tavio or runs it in its own
# process (valgrind, qemu-arm): the pid file holds tavio's process id either way.
cd "$work"
status=0
"${uptime_hook[@]}" python3 "$repo/tests/e2e/await_all.py" 15 "$work/pid" \
  "${clock[@]}" "${emulator[@]}" "$binary" "${args[@]}" \
  >"$work/stdout" 2>"$work/stderr" </dev/null || status=$?
[[ -s $work/pid ]] || die "$name: tavio was not started (exit status $status)"
pid=$(<"$work/pid")
sed -i -e "s|$out_file|@OUT@|g" -e "s|$in_file|@IN@|g" -e "s|$root|@ROOT@|g" \
  -e "s|$work|@WORK@|g" -e "s|_$pid\\.|_@PID@.|g" "$work/stdout" "$log_file"

if [[ -n $update ]]; then
  cp "$work/stdout" "$case_dir/expected.stdout"
  rm -f "$case_dir/expected.json" "$case_dir/expected.log"
  [[ ! -f $out_file ]] || cp "$out_file" "$case_dir/expected.json"
  [[ ! -s $log_file ]] || cp "$log_file" "$case_dir/expected.log"
  echo "UPDATED $name (exit status $status): review the expected files by hand"
  exit 0
fi

failures=0
fail() { echo "FAIL $name: $*"; failures=$((failures + 1)); }
compare() {  # WHAT EXPECTED ACTUAL; a response on one line is shown one line per entry
  cmp -s "$2" "$3" && return
  fail "$1 differs (--- expected, +++ actual):"
  local entries='{ gsub(/},{/, "},\n{"); print }'
  diff -u <(awk "$entries" "$2") <(awk "$entries" "$3") | tail -n +3 || true
}

[[ $status -eq 0 ]] || fail "exit status $status, expected 0"
compare "standard output" "$case_dir/expected.stdout" "$work/stdout"
if [[ -f $case_dir/expected.json ]]; then
  [[ -f $out_file ]] || fail "no response file written"
  [[ ! -f $out_file ]] || compare "response file" "$case_dir/expected.json" "$out_file"
elif [[ -e $out_file ]]; then
  fail "a response file was written: $(head -c 300 "$out_file")"
fi

expected_log=/dev/null
[[ ! -f $case_dir/expected.log ]] || expected_log=$case_dir/expected.log
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
compare "stand-in command log" "$expected_log" "$log_file"

leftovers=$(cd "$rundir" && find . -name 'wget_*' -o -name "*_$pid.*" | sort)
[[ -z $leftovers ]] || fail "temporary files left in the run directory: $leftovers"

if [[ $failures -gt 0 ]]; then
  [[ ! -s $work/stderr ]] || { echo "tavio's standard error:"; sed 's/^/  /' "$work/stderr"; }
  exit 1
fi
echo "PASS $name"
