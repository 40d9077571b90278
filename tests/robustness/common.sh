# shellcheck shell=bash disable=SC2034  # binary and emulator are for the sourcing script
# What every robustness script starts with (sourced, with the script's own arguments):
# binary and emulator from TAVIO_BINARY [EMULATOR...], the repository, a work folder removed
# at the end, check_standins, and fail, whose count `finish` turns into the exit status.
set -euo pipefail
binary=$1
shift
emulator=("$@")
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/tavio-robustness.XXXXXX")
trap 'rm -rf "$work"' EXIT
# shellcheck source=tools/check-standins
source "$repo/tools/check-standins"
failures=0
fail() { echo "FAIL $*"; failures=$((failures + 1)); }
finish() {  # WHAT: PASS WHAT, or exit status 1 after failures
  [[ $failures -eq 0 ]] || exit 1
  echo "PASS $1"
}
