#!/usr/bin/env bash
# A kill at any point of a save leaves each saved file, and the response, either as it was or as
# the save makes it, never a mix or empty; and what a killed save leaves behind, the next save
# removes once it is older than any exchange can last.
#
#   kill_during_save.sh TAVIO_BINARY [EMULATOR...]
#
# Every file and descriptor system call of tavio is, in turn, the one at which it is killed
# (strace's fault injection, one kind of call and its Nth occurrence at a time), and a SIGTERM
# at the first rename must remove what the save had named. Under an emulator the system calls
# are the emulator's: there the saves are only checked once.
# shellcheck source=tests/robustness/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
command -v strace >/dev/null || { echo "SKIP: strace is missing"; exit 77; }
export PATH=$repo/sim/bin:$PATH TAVIO_STANDIN_LOG=$work/standin.log
rundir=var/run/dorva/tavio
conf=usr/local/velto/conf

# Only what the saves read: a kill test starts from a fresh root hundreds of times.
fresh_root() {
  rm -rf "$work/root"
  mkdir "$work/root"
  (cd "$repo/sim/router" && cp -a --parents "$conf" "$rundir" etc/corvane_interface_speed \
    etc/tavio-host "$work/root/")
  printf '{"sz": 2, "ln": 3, "ch": 16}' >"$work/root/$rundir/mmi_font_settings_PNL-OUT.json"
  echo '{"old":1}' >"$work/root/out.json"
}

# Each save: a name, the files it rewrites (out.json: the response), the arguments, the request.
# Every file is saved one way: these hold a taglist with the response, and two saves in a run.
font='"font":[{"sz":1,"ln":4,"ch":21}]'
saves=(
  "port media|$conf/config.active out.json|-s PNL-OUT|{\"type\":\"valueWrite\",\"req\":{\"list\":[{\"k\":\"wan_port_speed_1\",\"v\":\"10baseT-HD\"}]}}"
  "theme and font|$rundir/mmi_theme_settings_PNL-OUT.json $rundir/mmi_font_settings_PNL-OUT.json|-s PNL-OUT|{\"type\":\"menuReq\",\"req\":{\"panel\":{\"font_pref\":1,$font,\"theme\":\"google\"},\"ref\":\"no_such_menu\"}}"
)

run_tavio() {  # COMMAND...: tavio's command line, maybe behind strace
  check_standins "$repo/sim/bin" || exit 1
  TAVIO_ROOT=$work/root "$@" >/dev/null 2>&1 </dev/null || true
}

for save in "${saves[@]}"; do
  IFS='|' read -r name files args request <<<"$save"
  printf '%s\n' "$request" >"$work/request.json"
  read -r -a extra <<<"$args"
  read -r -a files <<<"$files"
  tavio=("${emulator[@]}" "$binary" "${extra[@]}" -i "$work/request.json" -o "$work/root/out.json")
  # What each file holds before and after a save that runs to its end.
  fresh_root
  rm -rf "$work/old" "$work/new"
  mkdir "$work/old" "$work/new"
  (cd "$work/root" && cp --parents "${files[@]}" "$work/old/")
  run_tavio "${tavio[@]}"
  (cd "$work/root" && cp --parents "${files[@]}" "$work/new/")
  for file in "${files[@]}"; do
    ! cmp -s "$work/old/$file" "$work/new/$file" || fail "$name: $file did not change"
  done
  [[ ${#emulator[@]} -eq 0 ]] || continue
  fresh_root
  # strace counts each system call on its own, so "the Nth call" is the Nth call of each kind.
  run_tavio strace -c -e trace=%file,%desc -o "$work/count" "${tavio[@]}"
  mapfile -t kinds < <(awk '$1 ~ /^[0-9.]+$/ && $NF != "total" {print $NF " " $4}' "$work/count")
  calls=0
  for kind in "${kinds[@]}"; do
    read -r syscall count <<<"$kind"
    for ((n = 1; n <= count; n++, calls++)); do
      fresh_root
      run_tavio strace -qq -o /dev/null -e trace=%file,%desc \
        -e inject="$syscall":signal=KILL:when=$n "${tavio[@]}"
      for file in "${files[@]}"; do
        cmp -s "$work/root/$file" "$work/old/$file" || cmp -s "$work/root/$file" "$work/new/$file" ||
          fail "$name: killed at $syscall $n, $file is neither old nor new: $(head -c 200 "$work/root/$file" 2>&1)"
      done
      # A later save finishes the job and leaves nothing of the killed one.
      find "$work/root" -name '*.tavio-save.*' -exec touch -d '1 hour ago' {} +
      run_tavio "${tavio[@]}"
      leftovers=$(cd "$work/root" && find . -name '*.tavio-save.*')
      [[ -z $leftovers ]] || fail "$name: killed at $syscall $n, left behind: $leftovers"
    done
  done
  # A SIGTERM as the first rename begins: tavio removes the save's temporary name before it ends.
  fresh_root
  run_tavio strace -qq -o /dev/null \
    -e inject=rename,renameat,renameat2:error=EINTR:signal=TERM:when=1 "${tavio[@]}"
  leftovers=$(cd "$work/root" && find . -name '*.tavio-save.*')
  [[ -z $leftovers ]] || fail "$name: ended by SIGTERM at its rename, left behind: $leftovers"
  echo "$name: killed at each of $calls calls"
done

finish kill_during_save
