#!/usr/bin/env bash
# Installs a configured build into a staging directory, as a firmware image build does, and
# checks the tree: exactly the program, its manual page (naming the version and the schema
# folder) and the documents' schemas, at the GNU install paths under the prefix, with DESTDIR in
# front. (A --prefix given at install time: tests/packaging/check_recipes.sh.)
#
#   check_install.sh BUILD_DIR
set -euo pipefail

die() { echo "check_install: $*" >&2; exit 1; }

build=$(cd "$1" && pwd) || die "no build directory $1"
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:[A-Z]*=//p' "$build/CMakeCache.txt")
version=$(sed -n 's/^project(tavio VERSION \([0-9.]*\) .*/\1/p' "$repo/CMakeLists.txt")
[[ -n $prefix && -n $version ]] || die "no install prefix or project version"

stage=$(mktemp -d "${TMPDIR:-/tmp}/tavio-install.XXXXXX")
trap 'rm -rf "$stage"' EXIT
DESTDIR=$stage/destdir cmake --install "$build" >"$stage/install.log" ||
  { cat "$stage/install.log" >&2; die "cmake --install with DESTDIR failed"; }
root=$stage/destdir$prefix
expected=$({ printf '%s\n' bin/tavio share/man/man1/tavio.1 &&
  cd "$repo/schemas" && printf 'share/tavio/schemas/%s\n' *.json; } | sed "s|^|${prefix#/}/|" |
  LC_ALL=C sort)
[[ $(cd "$stage/destdir" && find . \( -type f -o -type l \) | sed 's|^\./||' | LC_ALL=C sort) == \
  "$expected" ]] || die "the tree under DESTDIR is not: $expected"
[[ -x $root/bin/tavio && ! -L $root/bin/tavio ]] || die "bin/tavio is not an executable file"
grep -qx "$version\\." "$root/share/man/man1/tavio.1" ||
  die "the manual page does not name version $version"
grep -q "^\\.Pa $prefix/share/tavio/schemas" "$root/share/man/man1/tavio.1" ||
  die "the manual page does not name the schema folder $prefix/share/tavio/schemas"
echo "install: $(wc -l <<<"$expected") files under DESTDIR$prefix"
