# Cross build for 64-bit ARM Linux. Defaults: Debian's g++-aarch64-linux-gnu and the :arm64
# libraries of a multiarch system (libjansson-dev:arm64, and libgtest-dev:arm64 for the tests);
# tests run under qemu-aarch64. The compiler prefix, the sysroot and the emulator are
# settings: see cmake/cross-toolchain.cmake and docs/cross-building.md.
set(TAVIO_CROSS_CPU aarch64)
set(TAVIO_CROSS_TRIPLET aarch64-linux-gnu)
set(TAVIO_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)
