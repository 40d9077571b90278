# A stub of OpenWrt's package.mk: BuildPackage checks the package definition and makes
#   info        the fields the check compares, one NAME=VALUE a line
#   install     runs Package/<name>/install into STUB_PACKAGE_DIR (what the image gets)
#   installdev  runs Build/InstallDev into STUB_STAGING_DIR (what other packages build with)
define BuildPackage
$(eval $(Package/$(1)))
$(if $(TITLE),,$(error Package/$(1) has no TITLE))
$(if $(CATEGORY),,$(error Package/$(1) has no CATEGORY))
$(if $(Package/$(1)/install),,$(error Package/$(1)/install is not defined))
.PHONY: info install installdev
info:
	@echo 'name=$(1)'
	@echo 'version=$(PKG_VERSION)'
	@echo 'source=$(PKG_SOURCE)'
	@echo 'license=$(PKG_LICENSE)'
	@echo 'license_files=$(PKG_LICENSE_FILES)'
	@echo 'depends=$(strip $(DEPENDS))'
	@echo 'cmake_options=$(strip $(CMAKE_OPTIONS))'
install:
$(call Package/$(1)/install,$$(STUB_PACKAGE_DIR))
installdev:
$(call Build/InstallDev,$$(STUB_STAGING_DIR))
endef
