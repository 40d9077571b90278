#!/usr/bin/env bash
# The manual page as built (version and schema folder filled in) must be clean under mandoc's
# lint, style messages included.
#
#   lint_manpage.sh BUILD_DIR/tavio.1
set -euo pipefail

page=$1
[[ -f $page ]] || { echo "lint_manpage: no manual page $page" >&2; exit 2; }
command -v mandoc >/dev/null || { echo "SKIP: mandoc is not installed"; exit 77; }
mandoc -T lint -W style "$page"
echo "manual page clean: $page"
