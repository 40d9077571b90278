#!/usr/bin/env bash
# The manual page as built (version and schema folder filled in) must be clean under mandoc's
# lint, style messages included, and, where man-db is installed, give no groff warning when
# `man --warnings` renders it at a fixed width.
#
#   lint_manpage.sh BUILD_DIR/tavio.1
set -euo pipefail

page=$1
[[ -f $page ]] || { echo "lint_manpage: no manual page $page" >&2; exit 2; }
command -v mandoc >/dev/null || { echo "SKIP: mandoc is not installed"; exit 77; }
mandoc -T lint -W style "$page"
if command -v man >/dev/null && man --help 2>&1 | grep -q -- --warnings; then
  warnings=$(MANWIDTH=80 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)
  [[ -z $warnings ]] || { echo "$warnings" >&2; exit 1; }
fi
echo "manual page clean: $page"
