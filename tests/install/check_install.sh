#!/usr/bin/env bash
# Installs a configured build into a staging directory, as a firmware image build does, and
# checks the tree: exactly the program, its manual page and the documents' schemas, at the GNU
# install paths under the prefix, with DESTDIR in front. (A --prefix given at install time:
# tests/packaging/check_recipes.sh, which starts from one.)
#
#   check_install.sh BUILD_DIR
set -euo pipefail

die() { echo "check_install: $*" >&2; exit 1; }

[[ $# -eq 1 ]] || die "usage: check_install.sh BUILD_DIR"
build=$(cd "$1" && pwd) || die "no build directory $1"
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:[A-Z]*=//p' "$build/CMakeCache.txt")
version=$(sed -n 's/^project(tavio VERSION \([0-9.]*\) .*/\1/p' "$repo/CMakeLists.txt")
[[ -n $prefix && -n $version ]] || die "no install prefix or project version"

stage=$(mktemp -d "${TMPDIR:-/tmp}/tavio-install.XXXXXX")
trap 'rm -rf "$stage"' EXIT
files_under() { (cd "$1" && find . \( -type f -o -type l \) | sed 's|^\./||' | LC_ALL=C sort); }
# expected_files PREFIX: what an install under PREFIX (no leading slash) must leave, sorted.
expected_files() {
  local schema
  {
    printf "$1/%s\n" bin/tavio share/man/man1/tavio.1
    for schema in "$repo"/schemas/*.json; do echo "$1/share/tavio/schemas/${schema##*/}"; done
  } | LC_ALL=C sort
}

DESTDIR=$stage/destdir cmake --install "$build" >"$stage/install.log" ||
  { cat "$stage/install.log" >&2; die "cmake --install with DESTDIR failed"; }
[[ $(files_under "$stage/destdir") == "$(expected_files "${prefix#/}")" ]] ||
  die "the tree under DESTDIR is not: $(expected_files "${prefix#/}")"
root=$stage/destdir$prefix
[[ -x $root/bin/tavio && ! -L $root/bin/tavio ]] || die "bin/tavio is not an executable file"
cmp -s "$root/bin/tavio" "$build/tavio" || die "bin/tavio is not the program that was built"
# The manual page names the version set in CMakeLists.txt and the schema folder.
grep -qx "$version\\." "$root/share/man/man1/tavio.1" ||
  die "the manual page does not name version $version"
grep -q "^\\.Pa $prefix/share/tavio/schemas" "$root/share/man/man1/tavio.1" ||
  die "the manual page does not name the schema folder $prefix/share/tavio/schemas"
for schema in "$repo"/schemas/*.json; do
  cmp -s "$schema" "$root/share/tavio/schemas/${schema##*/}" ||
    die "installed ${schema##*/} differs from the source"
done

echo "install: $(expected_files . | wc -l) files under DESTDIR$prefix"
