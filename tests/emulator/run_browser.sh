#!/usr/bin/env bash
# Walks walk.scenario on the browser version of the panel emulator (drive.py browser).
#
#   run_browser.sh TAVIO [SCREENSHOT.png]
#
# Needs node, Debian's Chromium and playwright-core (`npm ci` into node_modules when missing);
# exit status 77 (skipped) when one of them cannot be had.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
[[ $# -ge 1 ]] || { echo "usage: run_browser.sh TAVIO [SCREENSHOT.png]" >&2; exit 2; }
skip() { echo "SKIP: $*"; exit 77; }
command -v node >/dev/null || skip "node is not installed"
[[ -x /usr/bin/chromium ]] || skip "Debian's chromium is not installed"
if [[ ! -d $here/node_modules/playwright-core ]]; then
  command -v npm >/dev/null || skip "npm is not installed"
  (cd "$here" && npm ci --no-audit --no-fund --loglevel=error) ||
    skip "playwright-core could not be installed with npm"
fi
exec python3 "$here/drive.py" browser "$@"
