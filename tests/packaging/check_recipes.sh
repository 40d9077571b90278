#!/usr/bin/env bash
# Checks the recipes in packaging/ without OpenWrt, Buildroot or BitBake: one version
# (CMakeLists.txt, every recipe, the first CHANGELOG.md entry); the OpenWrt Makefile and
# Buildroot tavio.mk, run against stubs of their include files (stubs/) on a staged
# `cmake --install --prefix /usr`, give their fields and install exactly /usr/bin/tavio in the
# image and the schemas in the staging tree; the Yocto recipe's lines; the Buildroot Config.in
# in Kconfig (python3-kconfiglib).
#
#   check_recipes.sh BUILD_DIR
set -euo pipefail

die() { echo "check_recipes: $*" >&2; exit 1; }

[[ $# -eq 1 ]] || die "usage: check_recipes.sh BUILD_DIR"
build=$(cd "$1" && pwd) || die "no build directory $1"
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
stubs=$repo/tests/packaging/stubs
packaging=$repo/packaging
command -v make >/dev/null || { echo "SKIP: make is not installed"; exit 77; }

version=$(sed -n 's/^project(tavio VERSION \([0-9.]*\) .*/\1/p' "$repo/CMakeLists.txt")
[[ -n $version ]] || die "no project version in CMakeLists.txt"

work=$(mktemp -d "${TMPDIR:-/tmp}/tavio-recipes.XXXXXX")
trap 'rm -rf "$work"' EXIT

expect() { [[ $2 == "$3" ]] || die "$1: '$2', expected '$3'"; }
# expect_info WHAT LISTING NAME=VALUE...: the listing's NAME=VALUE lines are as given.
expect_info() {
  local what=$1 listing=$2 pair
  shift 2
  for pair in "$@"; do
    expect "$what ${pair%%=*}" "$(sed -n "s/^${pair%%=*}=//p" <<<"$listing")" "${pair#*=}"
  done
}
# files_under DIR: the regular files under DIR, relative, sorted.
files_under() { (cd "$1" && find . -type f | sed 's|^\./||' | LC_ALL=C sort); }

expect "first CHANGELOG.md entry" \
  "$(sed -n 's/^## \[\([0-9.]*\)\].*/\1/p' "$repo/CHANGELOG.md" | head -n 1)" "$version"
yocto_recipe=$(echo "$packaging"/yocto/*.bb)
expect "Yocto recipe" "$yocto_recipe" "$packaging/yocto/tavio_$version.bb"

# The install the recipes start from.
stage=$work/stage
DESTDIR=$stage cmake --install "$build" --prefix /usr >"$work/install.log" ||
  { cat "$work/install.log" >&2; die "cmake --install failed"; }
schemas=$(cd "$stage" && find usr/share/tavio/schemas -type f | LC_ALL=C sort)

openwrt=(make --no-print-directory -C "$packaging/openwrt" TOPDIR="$stubs/openwrt")
firmware="-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF"
options="$firmware -DTAVIO_STATIC=ON -DTAVIO_SHARED_JANSSON=ON -DTAVIO_API_TRANSPORT"
expect_info OpenWrt "$("${openwrt[@]}" info)" version="$version" source="tavio-$version.tar.gz" \
  depends=+libjansson license=MIT license_files=LICENSE cmake_options="$options=tool"
expect_info "OpenWrt with TAVIO_API_HTTP" "$("${openwrt[@]}" info CONFIG_TAVIO_API_HTTP=y)" \
  cmake_options="$options=http"
"${openwrt[@]}" install PKG_INSTALL_DIR="$stage" STUB_PACKAGE_DIR="$work/ipkg" >/dev/null ||
  die "OpenWrt Package/tavio/install failed on the staged install"
expect "OpenWrt package files" "$(files_under "$work/ipkg")" "usr/bin/tavio"
"${openwrt[@]}" installdev PKG_INSTALL_DIR="$stage" STUB_STAGING_DIR="$work/owstaging" \
  >/dev/null || die "OpenWrt Build/InstallDev failed on the staged install"
expect "OpenWrt staging files" "$(files_under "$work/owstaging")" "$schemas"

buildroot=(make --no-print-directory -f "$stubs/buildroot/package.mk"
  -f "$packaging/buildroot/tavio.mk")
expect_info Buildroot "$("${buildroot[@]}" tavio-info)" version="$version" \
  source="tavio-$version.tar.gz" dependencies="host-pkgconf jansson" license=MIT \
  license_files=LICENSE conf_opts="$firmware -DTAVIO_API_TRANSPORT=tool" install_staging=YES
expect_info "Buildroot with BR2_PACKAGE_TAVIO_API_HTTP" \
  "$("${buildroot[@]}" tavio-info BR2_PACKAGE_TAVIO_API_HTTP=y)" \
  conf_opts="$firmware -DTAVIO_API_TRANSPORT=http"
cp -a "$stage" "$work/target"
"${buildroot[@]}" tavio-install-target TARGET_DIR="$work/target" >/dev/null ||
  die "Buildroot target-install hooks failed on the staged install"
expect "Buildroot target files" "$(files_under "$work/target")" "usr/bin/tavio"

# The license and its checksum, the dependencies, the firmware options, the http transport as a
# choice off by default, the versioned source and the package file lists.
license_md5=$(md5sum <"$repo/LICENSE" | cut -c1-32)
# shellcheck disable=SC2016  # the recipe's own variables, meant literally
for line in 'LICENSE = "MIT"' "LIC_FILES_CHKSUM = \"file://LICENSE;md5=$license_md5\"" \
  'DEPENDS = "jansson"' 'inherit cmake pkgconfig' "EXTRA_OECMAKE = \"$firmware\"" \
  'PACKAGECONFIG ??= ""' \
  'PACKAGECONFIG[http] = "-DTAVIO_API_TRANSPORT=http,-DTAVIO_API_TRANSPORT=tool"' \
  'SRC_URI = "${TAVIO_SITE}/tavio-${PV}.tar.gz"' 'FILES:${PN} = "${bindir}/tavio"' \
  'FILES:${PN}-schemas = "${datadir}/tavio/schemas"'; do
  grep -qxF "$line" "$yocto_recipe" || die "Yocto ${yocto_recipe##*/} has no line: $line"
done

# Debian's python3 has the package; a python3 earlier on PATH (a virtual environment) may not.
kconfig_python=/usr/bin/python3
python3 -c 'import kconfiglib' 2>/dev/null && kconfig_python=python3
"$kconfig_python" -c 'import kconfiglib' 2>/dev/null ||
  { echo "SKIP: python3-kconfiglib is not installed (every other check passed)"; exit 77; }
"$kconfig_python" - "$packaging/buildroot/Config.in" "$work" <<'PY'
import sys
from pathlib import Path
import kconfiglib

top = Path(sys.argv[2]) / "Config.in"
# The symbols of Buildroot's own tree that the package refers to.
needs = ("BR2_INSTALL_LIBSTDCPP", "BR2_TOOLCHAIN_GCC_AT_LEAST_7", "BR2_USE_MMU")
top.write_text("".join(f'config {name}\n\tbool "{name}"\n\n' for name in (
    *needs, "BR2_PACKAGE_JANSSON")) + f'source "{sys.argv[1]}"\n')
kconf = kconfiglib.Kconfig(str(top), warn_to_stderr=False)
# Settings, one after another, then what TAVIO, JANSSON and TAVIO_API_HTTP come to.
for settings, expected, what in (
        ({**dict.fromkeys(needs, 2), "BR2_PACKAGE_JANSSON": 0, "BR2_PACKAGE_TAVIO": 2}, [2, 2, 0],
         "tavio can be chosen, selects jansson, the http transport off by default"),
        ({"BR2_PACKAGE_TAVIO_API_HTTP": 2}, [2, 2, 2], "the http transport can be chosen"),
        ({"BR2_INSTALL_LIBSTDCPP": 0}, [0, 0, 0], "tavio needs C++")):
    for name, value in settings.items():
        kconf.syms[name].set_value(value)
    got = [kconf.syms["BR2_PACKAGE_" + name].tri_value
           for name in ("TAVIO", "JANSSON", "TAVIO_API_HTTP")]
    if kconf.warnings or got != expected:
        sys.exit("check_recipes: Buildroot Config.in: "
                 + ("; ".join(kconf.warnings) or "not as expected: " + what))
PY

echo "packaging: OpenWrt, Buildroot and Yocto recipes agree with version $version and the install"
