# The cross toolchain shared by cmake/<arch>-toolchain.cmake: each of those names its CPU,
# its usual GNU triplet and its qemu-user program, then includes this file.
#
# Settings (cache variables, -D on the first configure):
#   TAVIO_CROSS_PREFIX   what goes in front of gcc/g++: "mipsel-linux-gnu-" (default: the
#                        triplet and a dash, Debian's cross compilers on PATH) or a full path
#                        such as "/opt/sdk/bin/mipsel-openwrt-linux-musl-"
#   TAVIO_SYSROOT        the target's root file system as a firmware SDK ships it (libc,
#                        Jansson, GoogleTest under usr/); handed to the compiler as --sysroot.
#                        Empty (the default): Debian's multiarch layout, see TAVIO_MULTIARCH
#   TAVIO_LIBRARY_ROOT   where the target's libraries and pkg-config files lie when that is
#                        not the compiler's sysroot (an OpenWrt SDK's staging_dir/target-*);
#                        default: TAVIO_SYSROOT
#   TAVIO_MULTIARCH      without a sysroot: the multiarch directory of the target libraries
#                        (/usr/lib/<TAVIO_MULTIARCH>), default the triplet
#   TAVIO_CROSS_EMULATOR how the build machine runs target programs (the tests): default
#                        "qemu-<cpu> -L <root>" when that qemu-user program is installed;
#                        set it empty to build without running anything
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${TAVIO_CROSS_CPU})

set(TAVIO_CROSS_PREFIX "${TAVIO_CROSS_TRIPLET}-" CACHE STRING
  "Cross compiler prefix (path and triplet, ending in '-')")
set(TAVIO_SYSROOT "" CACHE PATH "Target sysroot (empty: the build machine's multiarch libraries)")
set(TAVIO_LIBRARY_ROOT "${TAVIO_SYSROOT}" CACHE PATH
  "Root of the target's libraries and pkg-config files (default: TAVIO_SYSROOT)")
set(TAVIO_MULTIARCH "${TAVIO_CROSS_TRIPLET}" CACHE STRING
  "Without a sysroot: the multiarch directory of the target libraries")

# try_compile projects read this file again; hand them the settings.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TAVIO_CROSS_PREFIX TAVIO_SYSROOT
  TAVIO_LIBRARY_ROOT TAVIO_MULTIARCH)

set(CMAKE_C_COMPILER ${TAVIO_CROSS_PREFIX}gcc)
set(CMAKE_CXX_COMPILER ${TAVIO_CROSS_PREFIX}g++)

if(TAVIO_SYSROOT)
  set(CMAKE_SYSROOT ${TAVIO_SYSROOT})
endif()

if(TAVIO_LIBRARY_ROOT)
  # A firmware SDK: libraries, headers and packages only from its tree.
  set(CMAKE_FIND_ROOT_PATH ${TAVIO_LIBRARY_ROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${TAVIO_LIBRARY_ROOT})
  set(ENV{PKG_CONFIG_LIBDIR}
    "${TAVIO_LIBRARY_ROOT}/usr/lib/pkgconfig:${TAVIO_LIBRARY_ROOT}/usr/share/pkgconfig")
else()
  # Debian's multiarch: the target libraries under /usr/lib/<multiarch>, the cross compiler's
  # own under /usr/<triplet>, headers also in the shared /usr/include.
  set(CMAKE_LIBRARY_ARCHITECTURE ${TAVIO_MULTIARCH})
  set(CMAKE_FIND_ROOT_PATH /usr/${TAVIO_CROSS_TRIPLET} /)
  set(ENV{PKG_CONFIG_SYSROOT_DIR} "")
  set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${TAVIO_MULTIARCH}/pkgconfig:/usr/share/pkgconfig)
endif()
# pkg-config must describe the target's Jansson, never the build machine's.
set(ENV{PKG_CONFIG_PATH} "")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Target programs (the tests) run under qemu user emulation, with the target's root for its
# dynamic loader and libraries: the sysroot, else the library root, else where Debian keeps
# the cross libc (/usr/<triplet>).
if(TAVIO_SYSROOT)
  set(_tavio_emulator_root ${TAVIO_SYSROOT})
elseif(TAVIO_LIBRARY_ROOT)
  set(_tavio_emulator_root ${TAVIO_LIBRARY_ROOT})
else()
  set(_tavio_emulator_root /usr/${TAVIO_CROSS_TRIPLET})
endif()
if(NOT DEFINED TAVIO_CROSS_EMULATOR)
  find_program(_tavio_qemu ${TAVIO_CROSS_QEMU})
  if(_tavio_qemu)
    set(_tavio_emulator_default "${_tavio_qemu};-L;${_tavio_emulator_root}")
  else()
    set(_tavio_emulator_default "")
  endif()
  set(TAVIO_CROSS_EMULATOR "${_tavio_emulator_default}" CACHE STRING
    "Runs target programs on the build machine (empty: none)")
endif()
if(TAVIO_CROSS_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${TAVIO_CROSS_EMULATOR})
endif()
