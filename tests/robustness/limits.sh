#!/usr/bin/env bash
# Bad input and faults from outside: each gets a clear answer (one "Error: " line, the
# "Fail to generate" line, or the answer the system prescribes), never a crash, a hang, a
# file outside the run directory and the response file, or a cut response.
#
#   limits.sh TAVIO_BINARY [EMULATOR...]
# shellcheck source=tests/robustness/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
root=$work/root rundir=$work/root/var/run/dorva/tavio out=$work/out.json
cp -a "$repo/sim/router/." "$root/"
mkdir -p "$rundir"
export TAVIO_ROOT=$root TAVIO_STANDIN_LOG=$work/standin.log
export PATH=$repo/sim/bin:$PATH
tavio() {  # ARGS...: tavio after the stand-in check, its output in $work/stdout and stderr
  check_standins "$repo/sim/bin" || exit 1
  timeout 20 "${emulator[@]}" "$binary" "$@" >"$work/stdout" 2>"$work/stderr" </dev/null
}
# run NAME EXPECTED_STDOUT_PATTERN ARGS...: tavio must exit 0 within 20 s, print a line
# matching the pattern, and leave no temporary file in the run directory.
run() {
  local name=$1 pattern=$2
  shift 2
  tavio "$@" || fail "$name: exit status $?"
  grep -qE "$pattern" "$work/stdout" ||
    fail "$name: no line matching '$pattern' in: $(head -c 300 "$work/stdout")"
  [[ -z $(find "$rundir" -name 'wget_*' -o -name 'pmu_*' -o -name '*.tavio-save.*') ]] ||
    fail "$name: temporary files left: $(ls "$rundir")"
}
invalid='^Error: Input file ".*" is not a valid JSON file!$'
success='^Success to generate output file'

# Requests just over and just under the size limit, and endless. (Nesting too deep and bytes that
# are not UTF-8: the JSON reader's unit table; a request that is no JSON: e2e request-not-json.)
rep() { head -c "$2" /dev/zero | tr '\0' "$1"; }  # CHARACTER COUNT
req() { printf '{"type":"valueRead","req":%s}' "$2" >"$work/$1.json"; }  # NAME REQ
req over "{\"list\":[{\"k\":\"wan_status_$(rep 1 70000)\"}]}"
req under "{\"list\":[{\"k\":\"wan_status_$(rep 1 60000)\"}]}"
req read '{"list":[{"k":"cpuload"}]}'
req many "{\"list\":[$(yes '{"k":"wan_status_1"}' | head -n 400 | paste -sd,)]}"
run "request over the limit" "$invalid" -i "$work/over.json" -o "$out"
run "request under the limit" "$success" -i "$work/under.json" -o "$out"
run "an endless request file" "$invalid" -i /dev/zero -o "$out"

# The output path: what is not a file (a directory; a FIFO, as a socket or a device node would
# be) stays as it is; a link is replaced, never followed.
mkdir "$work/outdir"
mkfifo "$work/outfifo"
for special in outdir outfifo; do
  kind=$(stat -c %F "$work/$special")
  run "output is a $kind" "^Fail to generate output file $work/$special !\$" \
    -i "$work/read.json" -o "$work/$special"
  [[ $(stat -c %F "$work/$special") == "$kind" ]] || fail "output is a $kind: it was replaced"
done
echo victim >"$work/victim"
ln -s "$work/victim" "$work/link.json"
run "output is a link" "$success" -i "$work/read.json" -o "$work/link.json"
[[ $(cat "$work/victim") == victim && ! -L $work/link.json ]] ||
  fail "output is a link: the link was followed"

# Paths are used whole, however long: a cut one would name another file.
long=$work/$(rep p 220)/panel
mkdir -p "$long"
echo unrelated >"$long/response."
cp "$work/read.json" "$long/request.json"
echo '{"type":"valueRead","req":{"list":[]}}' >"$long/request."
run "long paths" "^Success to generate output file $long/response.json\$" \
  -i "$long/request.json" -o "$long/response.json"
[[ $(cat "$long/response.") == unrelated ]] || fail "long paths: the file at the cut name was replaced"
grep -q '"k":"cpuload"' "$long/response.json" || fail "long paths: $(head -c 200 "$long/response.json")"

# Without its run directory every value still gets its (empty) answer.
mv "$rundir" "$work/rundir"
run "no run directory" "$success" -i "$work/read.json" -o "$out"
grep -q '"v":""' "$out" || fail "no run directory: $(cat "$out")"
mv "$work/rundir" "$rundir"

# Only the usage text for an option the panel does not know: no complaint of the parser.
tavio --help || true
[[ $(head -n 1 "$work/stdout") == "Tavio Usage" && ! -s $work/stderr ]] ||
  fail "--help: $(head -c 200 "$work/stderr") $(head -n 1 "$work/stdout")"

# A FIFO where a panel's own files belong is no settings file: never waited on.
mv "$rundir/panel_access_PNL-IN.status" "$work/access.saved"
mkfifo "$rundir/panel_access_PNL-IN.status" "$rundir/mmi_font_settings_PNL-IN.json"
run "FIFOs at a panel's files" "$success" -i "$work/read.json" -o "$out" -s PNL-IN -K
rm "$rundir/panel_access_PNL-IN.status" "$rundir/mmi_font_settings_PNL-IN.json"
mv "$work/access.saved" "$rundir/panel_access_PNL-IN.status"

# A reader that goes away after three lines of the dump leaves no temporary file behind (the
# pipeline ends when tavio does).
check_standins "$repo/sim/bin" || exit 1
{ "${emulator[@]}" "$binary" -d 2>/dev/null </dev/null | head -n 3 >/dev/null; } || true
[[ -z $(find "$rundir" -name 'wget_*') ]] ||
  fail "dump with a closed pipe: temporary files left: $(ls "$rundir")"

# A full file system: the response is not left behind cut. Needs a mount namespace.
if unshare -m true 2>/dev/null; then
  mkdir "$work/full"
  # shellcheck disable=SC2016  # the inner script expands its own arguments
  why=$(unshare -m bash -c '
    mount -t tmpfs -o size=8k tmpfs "$1" || exit 0
    "${@:2}" >"$1.stdout" 2>&1 || { echo "status $?"; exit 1; }
    grep -q "^Fail to generate output file" "$1.stdout" || { echo "no failure reported"; exit 1; }
    [[ ! -e $1/response.json ]] || { echo "a cut response was left behind"; exit 1; }
  ' _ "$work/full" "${emulator[@]}" "$binary" -i "$work/many.json" -o "$work/full/response.json") ||
    fail "full file system: $why"
fi

# Port counts no unit has (the largest a 32-bit count holds, a million) and the largest one a
# unit may have, given to every power menu, value row, port switch and the dump: each run stays
# within 256 MiB and 20 s, a response within 1 MiB and the dump within its 1 MiB, and every
# read-only device command runs once per run. A count past the bound reads as one port. Two
# units with 40-character serials that share their first 31 get no status item, and the dump
# asks each for its own status.
long_a=$(rep L 31)AAAAAAAAA long_b=$(rep L 31)BBBBBBBBB
cp -a "$root/sim/capwap" "$work/capwap.saved"
reads=
for row in port temp in_volt out_volt in_curr out_curr; do
  reads+="{\"k\":\"local_pmu_status_${row}_PMU1A2B3C4D5E6\"},"
  reads+="{\"k\":\"ext_pmu_status_${row}_EXT0000000001A\"},"
done
for row in port temp volt curr; do reads+="{\"k\":\"pdu_status_${row}_PDU00000000001\"},"; done
reads+='{"k":"pmu_port_ctrl_PMU1A2B3C4D5E6_1"},{"k":"pmu_port_ctrl_PDU00000000001_32"}'
printf '{"type":"valueRead","req":{"list":[%s]}}' "$reads" >"$work/power-read.json"
printf '%s' '{"type":"valueWrite","req":{"list":[{"k":"pmu_port_ctrl_PDU00000000001_2","v":"ON"},{"k":"pmu_port_ctrl_PDU00000000001_32","v":"OFF"}]}}' >"$work/power-write.json"
for menu in pmu_menu pdu_menu Home; do
  printf '{"type":"menuReq","req":{"panel":{"font_pref":1,"font":[{"sz":1,"ln":4,"ch":21}]},"ref":"%s"}}' \
    "$menu" >"$work/power-$menu.json"
done
# An emulator, and AddressSanitizer's shadow memory, reserve far more address space than tavio
# uses: the memory limit holds the plain native build only.
memory=unlimited
if [[ ${#emulator[@]} -eq 0 ]] && ! grep -aq __asan_init "$binary"; then memory=$((256 * 1024)); fi
# power_run NAME ARGS...: tavio under the limits; its device commands in $work/power.log.
power_run() {
  local name=$1
  shift
  : >"$work/power.log"
  rm -f "$out"
  (ulimit -v "$memory" && TAVIO_STANDIN_LOG=$work/power.log tavio "$@") || fail "$name: exit status $?"
  cat "$work/power.log" >>"$TAVIO_STANDIN_LOG"
  [[ $(stat -c %s "$work/stdout") -le $((1024 * 1024 + 64)) ]] || fail "$name: dump too large"
  [[ ! -f $out || $(stat -c %s "$out") -le $((1024 * 1024)) ]] || fail "$name: response too large"
  local repeated
  repeated=$(grep -E '^capwap_cli (iotdevlist|iotdevinfo|iotstatus|extpower_status)' \
    "$work/power.log" | sort | uniq -d)
  [[ -z $repeated ]] || fail "$name: asked more than once: $repeated"
}
# expect NAME FILE PRESENT ABSENT: FILE holds PRESENT and not ABSENT (fixed texts; "" skips).
expect() {
  [[ -z $3 ]] || grep -qsF -- "$3" "$2" || fail "$1: no '$3'"
  [[ -z $4 ]] || ! grep -qsF -- "$4" "$2" || fail "$1: '$4' is there"
}
for count in 2147483647 1000000 32; do
  python3 - "$work/capwap.saved" "$root/sim/capwap" "$count" "$long_a" "$long_b" <<'PY'
import json, pathlib, sys
saved, live, count, long_a, long_b = sys.argv[1:]
for path in pathlib.Path(saved).glob("iotdev*.json"):
    document = json.loads(path.read_text())
    for unit in document.get("list", [document]):
        unit.get("devinfo", {}).get("attr", {})["port_num"] = count
    for serial in (long_a, long_b) if "list" in document else ():
        document["list"].append({"prod": "RQ-PWRU", "sn": serial, "config": {},
                                 "devinfo": {"serial_num": serial, "attr": {"port_num": "1"}}})
    (pathlib.Path(live) / path.name).write_text(json.dumps(document))
PY
  # Read as one port past the bound: no port 2 anywhere; the largest count shows them all.
  if [[ $count == 32 ]]; then
    more=("Port 2 Status" "") last=("pmu_port_ctrl_PDU00000000001_32" "") dump_ports="port_num = 32"
  else
    more=("" "Port 2 Status") last=("" "pmu_port_ctrl_PDU00000000001_2") dump_ports="port_num = 1"
  fi
  for menu in pmu_menu Home pdu_menu; do
    power_run "$menu, $count ports" -i "$work/power-$menu.json" -o "$out"
    expect "$menu, $count ports" "$out" '"type":"menuReq"' "status_port_$long_a"
  done
  expect "pdu_menu, $count ports" "$out" "${last[@]}"
  power_run "values, $count ports" -i "$work/power-read.json" -o "$out"
  expect "values, $count ports" "$out" "${more[@]}"
  power_run "port switch, $count ports" -i "$work/power-write.json" -o "$out"
  expect "port switch, $count ports" "$out" '"status":"failed"' ""
  for panel in 0 1; do
    power_run "dump -x $panel, $count ports" -x "$panel" -d
    expect "dump -x $panel, $count ports" "$work/stdout" "$dump_ports" "<dump cut"
    expect "dump -x $panel, $count ports" "$work/power.log" "iotstatus $long_a" ""
    expect "dump -x $panel, $count ports" "$work/power.log" "iotstatus $long_b" ""
  done
done

! grep -qE '^(reboot|restoreconfig|saveconfig|activate)' "$TAVIO_STANDIN_LOG" ||
  fail "a machine-changing stand-in was called"
finish limits
