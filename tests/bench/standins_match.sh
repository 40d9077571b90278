#!/usr/bin/env bash
# The benchmark's compiled stand-ins (tools/bench_standins) answer exactly like the shell
# stand-ins of sim/bin: every call below runs through both, each in a scratch directory of its
# own, and must leave the same exit status, standard output and files (the -O reply, the stand-in
# log). Standard error is not compared: the shell and the program word their complaints apiece.
# Needs a C compiler (cc).
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
command -v cc >/dev/null || { echo "SKIP: no C compiler (cc)"; exit 77; }

work=$(mktemp -d "${TMPDIR:-/tmp}/tavio-standins.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/bin"
for tool in wget_https capwap_cli; do
  cc -std=c11 -O2 -Wall -Wextra -Werror -o "$work/bin/$tool" \
    "$repo/tools/bench_standins/$tool.c"
done

root=$work/root
cp -a "$repo/sim/router/." "$root/"
: >"$root/sim/api/status.korvpn.down"
# What every call finds in its directory: header and body files as tavio writes them, one
# without a last newline and one with NUL bytes.
mkdir -p "$work/setup/out"
printf 'WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\n' >"$work/setup/hdr"
printf '{"enable":true}' >"$work/setup/body"
printf 'a\0b\n\0\n\nlast' >"$work/setup/nul"

failures=0 count=0
# Each side's own stand-ins first on PATH, then sim/bin's for anything else; no system folder
# but /usr/bin and /bin.
declare -A path=([shell]="$repo/sim/bin:/usr/bin:/bin"
  [compiled]="$work/bin:$repo/sim/bin:/usr/bin:/bin")
# check [VAR=VALUE...] TOOL ARGS...: one call through both stand-ins.
check() {
  local side
  count=$((count + 1))
  for side in shell compiled; do
    rm -rf "${work:?}/$side" && cp -a "$work/setup" "$work/$side"
    set +e
    (cd "$work/$side" && env PATH="${path[$side]}" TAVIO_ROOT="$root" TAVIO_STANDIN_LOG=log "$@" \
      >stdout 2>/dev/null)
    echo "exit status $?" >"$work/$side/status"
    set -e
  done
  if ! diff -r "$work/shell" "$work/compiled" >"$work/diff"; then
    echo "FAIL: $*"
    sed 's/^/    /' "$work/diff"
    failures=$((failures + 1))
  fi
}

api=http://127.0.0.1:8080/api
w=(-T 10 -e hdr -O out/reply.json)
# Replies found, a lite port falling back to status.port, NAME.down, an unknown URL.
for url in "$api/status.system.info&infoType=cpuLoad" "$api/status.port?lite=yes&id=3" \
  "$api/status.wan.connection?id=7" "$api/status.unknown?id=1" "$api/status.korvpn"; do
  check wget_https "${w[@]}" "$url"
done
# Bodies, a header file missing, no -O (the reply not read), and the environment the bench runs
# the stand-ins in (no stand-in log).
for call in "-T 10 -e hdr $api/cmd.ap" "-T 10 -f body ${w[*]:2} $api/cmd.system.reboot" \
  "-T 10 -f nul -e missing -O out/reply.json $api/cmd.system.reboot"; do
  read -ra words <<<"$call"
  check wget_https "${words[@]}"
done
check TAVIO_STANDIN_LOG= wget_https "${w[@]}" "$api/cmd.ap"

# Known calls, unknown units, hostile serials, and no stand-in log.
for call in iotdevlist "iotstatus PMU1A2B3C4D5E6" "iotdevport_set PDU00000000001 3:on" \
  "iotstatus NOSUCHUNIT" "panel_reload PNL-IN"; do
  read -ra words <<<"$call"
  check capwap_cli "${words[@]}"
done
# shellcheck disable=SC2016  # the text is meant literally
check capwap_cli iotstatus 'a;reboot' "it's" '$(x)' '' 'a b' 'a/b'
check TAVIO_STANDIN_LOG= capwap_cli iotdevlist

echo "$count calls, $failures differ"
[[ $failures -eq 0 ]]
