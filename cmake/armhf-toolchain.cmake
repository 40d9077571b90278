# Cross build for 32-bit ARM (hard-float) Linux, the router's usual CPU. Defaults: Debian's
# g++-arm-linux-gnueabihf and the :armhf libraries of a multiarch system (libjansson-dev:armhf,
# and libgtest-dev:armhf for the tests); tests run under qemu-arm. The compiler prefix, the
# sysroot and the emulator are settings: see cmake/cross-toolchain.cmake and
# docs/cross-building.md.
set(TAVIO_CROSS_CPU arm)
set(TAVIO_CROSS_TRIPLET arm-linux-gnueabihf)
set(TAVIO_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)

# GCC notes an ABI change of GCC 7.1 for every std::vector insert on ARM; everything here is
# built by one compiler, so the note says nothing about this program.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
