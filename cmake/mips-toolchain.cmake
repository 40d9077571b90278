# Cross build for 32-bit big-endian MIPS Linux, the byte order of many routers' MIPS CPUs.
# Defaults: Debian's g++-mips-linux-gnu; Debian has no big-endian MIPS libraries, so Jansson
# and GoogleTest for it are built from source into a staging root by
# tools/build-target-libs, named here with TAVIO_LIBRARY_ROOT. Tests run under qemu-mips.
# The compiler prefix, the sysroot and the emulator are settings: see
# cmake/cross-toolchain.cmake and docs/cross-building.md.
set(TAVIO_CROSS_CPU mips)
set(TAVIO_CROSS_TRIPLET mips-linux-gnu)
set(TAVIO_CROSS_QEMU qemu-mips)
include(${CMAKE_CURRENT_LIST_DIR}/cross-toolchain.cmake)
