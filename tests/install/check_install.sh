#!/usr/bin/env bash
# Installs a configured build into a staging directory, as a firmware image build does, and
# checks the tree: exactly the program, its manual page and the documents' schemas, at the
# GNU install paths under the prefix, with DESTDIR in front.
#
#   check_install.sh BUILD_DIR
#
# Two installs are checked: DESTDIR=STAGE with the configured prefix, and --prefix given at
# install time. The schemas are those of the source tree's schemas/*.json; while that folder
# does not exist none may be installed, once it exists it must hold at least one.
set -euo pipefail

die() { echo "check_install: $*" >&2; exit 1; }

[[ $# -eq 1 ]] || die "usage: check_install.sh BUILD_DIR"
build=$(cd "$1" && pwd) || die "no build directory $1"
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cache=$build/CMakeCache.txt
[[ -f $cache ]] || die "$build is not a configured build"

cache_value() { sed -n "s/^$1:[A-Z]*=//p" "$cache"; }
prefix=$(cache_value CMAKE_INSTALL_PREFIX)
version=$(sed -n 's/^project(tavio VERSION \([0-9.]*\) .*/\1/p' "$repo/CMakeLists.txt")
[[ -n $prefix && -n $version ]] || die "no install prefix or project version"

stage=$(mktemp -d "${TMPDIR:-/tmp}/tavio-install.XXXXXX")
trap 'rm -rf "$stage"' EXIT

# The files an install must leave, relative to the prefix, sorted.
expected_files() {
  {
    echo bin/tavio
    echo share/man/man1/tavio.1
    if [[ -d $repo/schemas ]]; then
      local schema
      for schema in "$repo"/schemas/*.json; do
        [[ -e $schema ]] && echo "share/tavio/schemas/$(basename "$schema")"
      done
    fi
  } | LC_ALL=C sort
}

# check_tree ROOT: ROOT holds exactly the expected files, each as it should be.
check_tree() {
  local root=$1 actual expected
  actual=$(cd "$root" && find . \( -type f -o -type l \) | sed 's|^\./||' | LC_ALL=C sort)
  expected=$(expected_files)
  if [[ $actual != "$expected" ]]; then
    diff <(echo "$expected") <(echo "$actual") >&2 || true
    die "installed tree under $root differs from the expected one (< expected, > installed)"
  fi
  [[ -x $root/bin/tavio && ! -L $root/bin/tavio ]] || die "bin/tavio is not an executable file"
  cmp -s "$root/bin/tavio" "$build/tavio" || die "bin/tavio is not the program that was built"
  # The manual page names the version set in CMakeLists.txt and the schema folder.
  grep -qx "$version\\." "$root/share/man/man1/tavio.1" ||
    die "the manual page does not name version $version"
  grep -q "^\\.Pa $prefix/share/tavio/schemas" "$root/share/man/man1/tavio.1" ||
    die "the manual page does not name the schema folder $prefix/share/tavio/schemas"
  if [[ -d $repo/schemas ]]; then
    ls "$root"/share/tavio/schemas/*.json >/dev/null 2>&1 ||
      die "schemas/ exists but no schema was installed"
    local schema
    for schema in "$repo"/schemas/*.json; do
      cmp -s "$schema" "$root/share/tavio/schemas/$(basename "$schema")" ||
        die "installed $(basename "$schema") differs from the source"
    done
  fi
}

# 1. DESTDIR in front of the configured prefix.
DESTDIR=$stage/destdir cmake --install "$build" >"$stage/install1.log" ||
  { cat "$stage/install1.log" >&2; die "cmake --install with DESTDIR failed"; }
[[ -d $stage/destdir$prefix ]] || die "nothing installed under DESTDIR$prefix"
leftover=$(find "$stage/destdir" -type f ! -path "$stage/destdir$prefix/*")
[[ -z $leftover ]] || die "files installed outside the prefix: $leftover"
check_tree "$stage/destdir$prefix"

# 2. Another prefix given at install time, with DESTDIR as well.
DESTDIR=$stage/other cmake --install "$build" --prefix /opt/tavio >"$stage/install2.log" ||
  { cat "$stage/install2.log" >&2; die "cmake --install --prefix failed"; }
[[ -d $stage/other/opt/tavio ]] || die "--prefix /opt/tavio was not honoured"
actual=$(cd "$stage/other/opt/tavio" && find . -type f | sed 's|^\./||' | LC_ALL=C sort)
[[ $actual == "$(expected_files)" ]] || die "the tree under --prefix /opt/tavio differs"

echo "install: $(expected_files | wc -l) files under $prefix (DESTDIR) and /opt/tavio (--prefix)"
