################################################################################
#
# tavio
#
################################################################################

TAVIO_VERSION = 0.2.0
# A release tarball made with `git archive --prefix=tavio-$(TAVIO_VERSION)/` (README.md):
# put it in the download directory or point TAVIO_SITE at where your project keeps it.
TAVIO_SITE = https://downloads.example.com/tavio
TAVIO_LICENSE = MIT
TAVIO_LICENSE_FILES = LICENSE
TAVIO_DEPENDENCIES = host-pkgconf jansson
# The schemas (and the manual page) stay in staging for the display process's build.
TAVIO_INSTALL_STAGING = YES
# A firmware build: no tests, the off-router root prefix compiled out.
TAVIO_CONF_OPTS = -DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF
# The local API through wget_https, or over HTTP by tavio itself (BR2_PACKAGE_TAVIO_API_HTTP).
ifeq ($(BR2_PACKAGE_TAVIO_API_HTTP),y)
TAVIO_CONF_OPTS += -DTAVIO_API_TRANSPORT=http
else
TAVIO_CONF_OPTS += -DTAVIO_API_TRANSPORT=tool
endif

# The image needs only the program.
define TAVIO_REMOVE_BUILD_FILES_FROM_TARGET
	rm -f $(TARGET_DIR)/usr/share/man/man1/tavio.1
	rm -rf $(TARGET_DIR)/usr/share/tavio
endef
TAVIO_POST_INSTALL_TARGET_HOOKS += TAVIO_REMOVE_BUILD_FILES_FROM_TARGET

$(eval $(cmake-package))
