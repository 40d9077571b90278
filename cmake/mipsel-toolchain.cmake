# Cross build for 32-bit little-endian MIPS Linux, the most common router CPU family.
# Defaults: Debian's g++-mipsel-linux-gnu and the :mipsel libraries of a multiarch system
# (libjansson-dev:mipsel, and libgtest-dev:mipsel for the tests); tests run under qemu-mipsel.
# The compiler prefix, the sysroot and the emulator are settings: see
# cmake/cross-toolchain.cmake and docs/cross-building.md.
set(TAVIO_CROSS_CPU mips)
set(TAVIO_CROSS_TRIPLET mipsel-linux-gnu)
set(TAVIO_CROSS_QEMU qemu-mipsel)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)
