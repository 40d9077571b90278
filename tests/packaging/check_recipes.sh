#!/usr/bin/env bash
# Checks the package recipes in packaging/ against the project, as far as it can be done
# without OpenWrt, Buildroot or BitBake:
#   - one version: CMakeLists.txt's project(VERSION) is the version of every recipe and of the
#     first CHANGELOG.md entry;
#   - the OpenWrt Makefile and the Buildroot tavio.mk parse with `make -n` against small stubs
#     of their include files (tests/packaging/stubs), and their install recipes, run for real
#     on a staged `cmake --install` of the build, leave the files they promise: the image gets
#     exactly /usr/bin/tavio, the staging tree the schemas;
#   - the Buildroot Config.in loads in Kconfig (python3-kconfiglib): tavio selects Jansson
#     and needs C++;
#   - the Yocto recipe: its LICENSE checksum, dependencies, options and package file lists.
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

# field NAME: the NAME=VALUE line of an info listing on standard input.
field() { sed -n "s/^$1=//p"; }
# expect WHAT ACTUAL EXPECTED
expect() { [[ $2 == "$3" ]] || die "$1: '$2', expected '$3'"; }
# files_under DIR: the regular files under DIR, relative, sorted.
files_under() { (cd "$1" && find . -type f | sed 's|^\./||' | LC_ALL=C sort); }
has_schemas=false
compgen -G "$repo/schemas/*.json" >/dev/null && has_schemas=true

# --- one version ---------------------------------------------------------------------------
changelog_version=$(sed -n 's/^## \[\([0-9.]*\)\].*/\1/p' "$repo/CHANGELOG.md" | head -n 1)
expect "first CHANGELOG.md entry" "$changelog_version" "$version"
yocto_recipes=("$packaging"/yocto/tavio_*.bb)
[[ ${#yocto_recipes[@]} -eq 1 && -f ${yocto_recipes[0]} ]] || die "not one Yocto recipe"
expect "Yocto recipe" "$(basename "${yocto_recipes[0]}")" "tavio_$version.bb"

# --- the install the recipes start from: DESTDIR=STAGE, prefix /usr ------------------------
stage=$work/stage
DESTDIR=$stage cmake --install "$build" --prefix /usr >"$work/install.log" ||
  { cat "$work/install.log" >&2; die "cmake --install failed"; }
[[ -f $stage/usr/bin/tavio ]] || die "the staged install has no usr/bin/tavio"

# --- OpenWrt ---------------------------------------------------------------------------------
openwrt=(make --no-print-directory -C "$packaging/openwrt" TOPDIR="$stubs/openwrt")
"${openwrt[@]}" -n info install installdev PKG_INSTALL_DIR=/nonexistent \
  STUB_PACKAGE_DIR=/p STUB_STAGING_DIR=/s >"$work/openwrt-n.log" ||
  { cat "$work/openwrt-n.log" >&2; die "OpenWrt Makefile does not parse"; }
info=$("${openwrt[@]}" info)
expect "OpenWrt PKG_VERSION" "$(field version <<<"$info")" "$version"
expect "OpenWrt PKG_SOURCE" "$(field source <<<"$info")" "tavio-$version.tar.gz"
expect "OpenWrt DEPENDS" "$(field depends <<<"$info")" "+libjansson"
expect "OpenWrt PKG_LICENSE" "$(field license <<<"$info")" "MIT"
expect "OpenWrt PKG_LICENSE_FILES" "$(field license_files <<<"$info")" "LICENSE"
expect "OpenWrt CMAKE_OPTIONS" "$(field cmake_options <<<"$info")" \
  "-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF -DTAVIO_STATIC=ON -DTAVIO_SHARED_JANSSON=ON -DTAVIO_API_TRANSPORT=tool"
expect "OpenWrt CMAKE_OPTIONS with TAVIO_API_HTTP" \
  "$("${openwrt[@]}" info CONFIG_TAVIO_API_HTTP=y | field cmake_options)" \
  "-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF -DTAVIO_STATIC=ON -DTAVIO_SHARED_JANSSON=ON -DTAVIO_API_TRANSPORT=http"
"${openwrt[@]}" install PKG_INSTALL_DIR="$stage" STUB_PACKAGE_DIR="$work/ipkg" >/dev/null ||
  die "OpenWrt Package/tavio/install failed on the staged install"
expect "OpenWrt package files" "$(files_under "$work/ipkg")" "usr/bin/tavio"
if $has_schemas; then
  "${openwrt[@]}" installdev PKG_INSTALL_DIR="$stage" STUB_STAGING_DIR="$work/owstaging" \
    >/dev/null || die "OpenWrt Build/InstallDev failed on the staged install"
  expect "OpenWrt staging files" "$(files_under "$work/owstaging")" \
    "$(files_under "$stage/usr/share/tavio/schemas" | sed 's|^|usr/share/tavio/schemas/|')"
fi

# --- Buildroot -------------------------------------------------------------------------------
buildroot=(make --no-print-directory -f "$stubs/buildroot/package.mk"
  -f "$packaging/buildroot/tavio.mk")
"${buildroot[@]}" -n tavio-info tavio-install-target TARGET_DIR=/nonexistent \
  >"$work/buildroot-n.log" ||
  { cat "$work/buildroot-n.log" >&2; die "Buildroot tavio.mk does not parse"; }
info=$("${buildroot[@]}" tavio-info)
expect "Buildroot TAVIO_VERSION" "$(field version <<<"$info")" "$version"
expect "Buildroot source" "$(field source <<<"$info")" "tavio-$version.tar.gz"
expect "Buildroot TAVIO_DEPENDENCIES" "$(field dependencies <<<"$info")" "host-pkgconf jansson"
expect "Buildroot TAVIO_LICENSE" "$(field license <<<"$info")" "MIT"
expect "Buildroot TAVIO_LICENSE_FILES" "$(field license_files <<<"$info")" "LICENSE"
expect "Buildroot TAVIO_CONF_OPTS" "$(field conf_opts <<<"$info")" \
  "-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF -DTAVIO_API_TRANSPORT=tool"
expect "Buildroot TAVIO_CONF_OPTS with BR2_PACKAGE_TAVIO_API_HTTP" \
  "$("${buildroot[@]}" tavio-info BR2_PACKAGE_TAVIO_API_HTTP=y | field conf_opts)" \
  "-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF -DTAVIO_API_TRANSPORT=http"
expect "Buildroot TAVIO_INSTALL_STAGING" "$(field install_staging <<<"$info")" "YES"
cp -a "$stage" "$work/target"
"${buildroot[@]}" tavio-install-target TARGET_DIR="$work/target" >/dev/null ||
  die "Buildroot target-install hooks failed on the staged install"
expect "Buildroot target files" "$(files_under "$work/target")" "usr/bin/tavio"

# --- Yocto -----------------------------------------------------------------------------------
python3 - "${yocto_recipes[0]}" "$repo/LICENSE" "$stage" "$has_schemas" <<'PY'
import hashlib, re, sys
from pathlib import Path

recipe, license_file, stage = Path(sys.argv[1]), Path(sys.argv[2]), Path(sys.argv[3])
has_schemas = sys.argv[4] == "true"
text = recipe.read_text()
def fail(message):
    sys.exit(f"check_recipes: Yocto {recipe.name}: {message}")
values = {}
for match in re.finditer(r'^([A-Za-z_:${}\-\[\]]+)\s*(\?\?=|\?=|=)\s*"((?:[^"\\]|\\\n)*)"',
                         text, re.M):
    values[match.group(1)] = " ".join(match.group(3).replace("\\\n", " ").split())
md5 = hashlib.md5(license_file.read_bytes()).hexdigest()
if values.get("LICENSE") != "MIT":
    fail("LICENSE is not MIT")
if values.get("LIC_FILES_CHKSUM") != f"file://LICENSE;md5={md5}":
    fail(f"LIC_FILES_CHKSUM is not file://LICENSE;md5={md5}")
if values.get("DEPENDS") != "jansson":
    fail("DEPENDS is not jansson alone")
if not re.search(r"^inherit cmake pkgconfig$", text, re.M):
    fail("does not inherit cmake pkgconfig")
if values.get("EXTRA_OECMAKE") != "-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF":
    fail("EXTRA_OECMAKE is not the firmware options")
if (values.get("PACKAGECONFIG") != ""
        or values.get("PACKAGECONFIG[http]")
        != "-DTAVIO_API_TRANSPORT=http,-DTAVIO_API_TRANSPORT=tool"):
    fail("the http transport is not a PACKAGECONFIG, off by default")
if "${PV}" not in values.get("SRC_URI", ""):
    fail("SRC_URI does not name the version")
dirs = {"${bindir}": "usr/bin", "${datadir}": "usr/share", "${mandir}": "usr/share/man"}
for key in ("FILES:${PN}", "FILES:${PN}-schemas"):
    if key not in values:
        fail(f"no {key}")
    for path in values[key].split():
        for var, real in dirs.items():
            path = path.replace(var, real)
        # Until the schemas exist, their package has nothing to hold.
        if not (stage / path).exists() and (has_schemas or not key.endswith("-schemas")):
            fail(f"{key} names {path}, which the install does not make")
PY

# --- Buildroot Config.in in Kconfig ----------------------------------------------------------
# Debian's python3 has the package; a python3 earlier on PATH (a virtual environment) may not.
kconfig_python=
for candidate in python3 /usr/bin/python3; do
  if "$candidate" -c 'import kconfiglib' 2>/dev/null; then
    kconfig_python=$candidate
    break
  fi
done
if [[ -z $kconfig_python ]]; then
  echo "SKIP: python3-kconfiglib is not installed (every other check passed)"
  exit 77
fi
"$kconfig_python" - "$packaging/buildroot/Config.in" "$work" <<'PY'
import sys
from pathlib import Path
import kconfiglib

config_in, work = Path(sys.argv[1]), Path(sys.argv[2])
top = work / "Config.in"
# The symbols of Buildroot's own tree that the package refers to.
top.write_text("".join(f'config {name}\n\tbool "{name}"\n\n' for name in (
    "BR2_INSTALL_LIBSTDCPP", "BR2_TOOLCHAIN_GCC_AT_LEAST_7", "BR2_USE_MMU",
    "BR2_PACKAGE_JANSSON")) + f'source "{config_in}"\n')
kconf = kconfiglib.Kconfig(str(top), warn_to_stderr=False)
if kconf.warnings:
    sys.exit("check_recipes: Buildroot Config.in: " + "; ".join(kconf.warnings))
def set_all(**values):
    for name, value in values.items():
        kconf.syms[name].set_value(value)
tavio, jansson = kconf.syms["BR2_PACKAGE_TAVIO"], kconf.syms["BR2_PACKAGE_JANSSON"]
set_all(BR2_INSTALL_LIBSTDCPP=2, BR2_TOOLCHAIN_GCC_AT_LEAST_7=2, BR2_USE_MMU=2,
        BR2_PACKAGE_JANSSON=0, BR2_PACKAGE_TAVIO=2)
if tavio.tri_value != 2 or jansson.tri_value != 2:
    sys.exit("check_recipes: Buildroot Config.in: tavio cannot be chosen, or does not "
             "select jansson")
http = kconf.syms["BR2_PACKAGE_TAVIO_API_HTTP"]
if http.tri_value != 0:
    sys.exit("check_recipes: Buildroot Config.in: the http transport is on by default")
set_all(BR2_PACKAGE_TAVIO_API_HTTP=2)
if http.tri_value != 2:
    sys.exit("check_recipes: Buildroot Config.in: the http transport cannot be chosen")
set_all(BR2_INSTALL_LIBSTDCPP=0)
if tavio.tri_value != 0 or http.tri_value != 0:
    sys.exit("check_recipes: Buildroot Config.in: tavio can be chosen without C++")
PY

echo "packaging: OpenWrt, Buildroot and Yocto recipes agree with version $version and the install"
