################################################################################
#
# tarnosnmp
#
################################################################################

TARNOSNMP_VERSION = 1.0.0
# The source tree that this folder is part of.
TARNOSNMP_SITE = $(BR2_EXTERNAL_TARNOSNMP_PATH)/../..
TARNOSNMP_SITE_METHOD = local
TARNOSNMP_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude=/build
TARNOSNMP_LICENSE = PROPRIETARY
TARNOSNMP_LICENSE_FILES = packaging/debian/copyright
TARNOSNMP_REDISTRIBUTE = NO
TARNOSNMP_DEPENDENCIES = netsnmp sqlite

TARNOSNMP_CONF_OPTS = \
	-DCMAKE_INSTALL_LIBDIR=lib \
	-DTARNO_BUILD_TESTS=OFF \
	-DTARNO_BUILD_TOOLS=OFF \
	-DTARNO_PACKAGES=OFF \
	-DTARNO_STATIC_RUNTIME=OFF

define TARNOSNMP_USERS
	tarnosnmp -1 tarnosnmp -1 * - - - SNMP agent of the device
endef

# The init script is for Debian's start-stop-daemon and its LSB functions.
define TARNOSNMP_INSTALL_TARGET_CMDS
	DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) --install $(TARNOSNMP_BUILDDIR) --component agent
	rm $(TARGET_DIR)/etc/init.d/tarnosnmp
endef

define TARNOSNMP_INSTALL_INIT_OPENRC
	$(INSTALL) -D -m 0755 $(TARGET_DIR)/usr/share/doc/tarnosnmp/examples/tarnosnmp.openrc \
		$(TARGET_DIR)/etc/init.d/tarnosnmp
endef

$(eval $(cmake-package))
