# A stub of OpenWrt's rules.mk with the names tavio's package Makefile uses, so that the
# Makefile can be parsed and its install recipes run against a staged `cmake --install`
# (tests/packaging/check_recipes.sh). PKG_INSTALL_DIR is given on the command line.
INCLUDE_DIR:=$(TOPDIR)/include
INSTALL_DIR:=install -d -m0755
INSTALL_BIN:=install -m0755
INSTALL_DATA:=install -m0644
CP:=cp -fpR
