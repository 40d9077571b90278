# shellcheck shell=sh
# The log of the stand-ins of sim/bin and sim/live-bin (sourced by them): a call's whole entry
# is built in $log and written to $TAVIO_STANDIN_LOG with one write (standin_log_write), so
# stand-ins running at the same time (a detached step beside a waited tool) never mix lines.

nl='
'
log=''

# Appends " WORD"; an argument that is not a plain word goes in single quotes (a quote inside
# as '\''), so the log shows exactly which arguments arrived.
log_word() {
  case $1 in
    '' | *[!A-Za-z0-9_.:@+,%=-]*)
      rest=$1 quoted=''
      while [ -n "$rest" ]; do
        c=${rest%"${rest#?}"}
        rest=${rest#?}
        [ "$c" = "'" ] && c="'\\''"
        quoted=$quoted$c
      done
      log="$log '$quoted'" ;;
    *) log="$log $1" ;;
  esac
}

# Appends the lines of file $2 as "  $1: LINE" (a last line without a newline all the same).
log_file_lines() {
  [ -n "$2" ] || return 0
  if [ -r "$2" ]; then
    while IFS= read -r line || [ -n "$line" ]; do
      log="$log  $1: $line$nl"
    done <"$2"
  else
    log="$log  $1: (no file $2)$nl"
  fi
}

standin_log_write() {
  [ -z "${TAVIO_STANDIN_LOG:-}" ] || printf '%s' "$log" >>"$TAVIO_STANDIN_LOG"
}
