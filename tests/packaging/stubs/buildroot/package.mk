# A stub of Buildroot's package infrastructure for tavio.mk: `cmake-package` makes
#   <pkg>-info            the fields the check compares, one NAME=VALUE a line
#   <pkg>-install-target  the package's target-install hooks, run on TARGET_DIR (which the
#                         check fills with a staged `cmake --install` first, as Buildroot's
#                         cmake install to the target would)
# Like Buildroot, the package name is the makefile's name.
pkgname = $(basename $(notdir $(lastword $(MAKEFILE_LIST))))
UPPERCASE = $(shell echo '$(1)' | tr 'a-z-' 'A-Z_')

define sep


endef

define inner-cmake-package
.PHONY: $(1)-info $(1)-install-target
$(1)-info:
	@echo 'name=$(1)'
	@echo 'version=$$($(2)_VERSION)'
	@echo 'source=$$(or $$($(2)_SOURCE),$(1)-$$($(2)_VERSION).tar.gz)'
	@echo 'license=$$($(2)_LICENSE)'
	@echo 'license_files=$$($(2)_LICENSE_FILES)'
	@echo 'dependencies=$$(strip $$($(2)_DEPENDENCIES))'
	@echo 'conf_opts=$$(strip $$($(2)_CONF_OPTS))'
	@echo 'install_staging=$$($(2)_INSTALL_STAGING)'
$(1)-install-target:
	@test -d '$$(TARGET_DIR)'
	$$(foreach hook,$$($(2)_POST_INSTALL_TARGET_HOOKS),$$(call $$(hook))$$(sep))
endef

cmake-package = $(call inner-cmake-package,$(pkgname),$(call UPPERCASE,$(pkgname)))
