#!/usr/bin/env bash
# Runs one case of tavio against the router simulator (tests/sim/sim_cases.py), or ends with
# exit status 77 (skipped) when curl or python3, which the simulator needs, is missing.
#
#   run_sim_case.sh CASE TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]
set -euo pipefail

for tool in curl python3; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "SKIP $1: $tool is not installed"
    exit 77
  fi
done
exec python3 "$(dirname "${BASH_SOURCE[0]}")/sim_cases.py" "$@"
