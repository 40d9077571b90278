# A stub of OpenWrt's cmake.mk: the real one configures with CMAKE_OPTIONS, builds, and
# installs with DESTDIR=$(PKG_INSTALL_DIR) and the prefix /usr.
PKG_INSTALL:=1
CMAKE_OPTIONS:=
