# Cross build for the router's 32-bit ARM (hard-float) Linux, with Debian's cross compiler and
# the armhf libraries of a multiarch system (libjansson-dev:armhf, libgtest-dev:armhf).
# Tests run under qemu user emulation, with the ARM system libraries as its root.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(TAVIO_CROSS_TRIPLET arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${TAVIO_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${TAVIO_CROSS_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${TAVIO_CROSS_TRIPLET})

# Multiarch keeps the ARM libraries under /usr/lib/arm-linux-gnueabihf and the compiler's own
# under /usr/arm-linux-gnueabihf; look for libraries, headers and packages only there (and in
# the shared /usr/include), for programs only on the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${TAVIO_CROSS_TRIPLET} /)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config must describe the ARM Jansson, not the build machine's.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${TAVIO_CROSS_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/${TAVIO_CROSS_TRIPLET})

# GCC notes an ABI change of GCC 7.1 for every std::vector insert on ARM; everything here is
# built by one compiler, so the note says nothing about this program.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
