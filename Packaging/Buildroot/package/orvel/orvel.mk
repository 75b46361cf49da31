################################################################################
#
# orvel
#
################################################################################

# The unpacked release archive that contains this folder. It knows its revision.
ORVEL_VERSION = 1.0.0
ORVEL_SITE = $(realpath $(BR2_EXTERNAL_ORVEL_PATH)/../..)
ORVEL_SITE_METHOD = local
ORVEL_DEPENDENCIES = host-pkgconf cxxopts log4cplus
ORVEL_DEPENDENCIES += $(if $(BR2_PACKAGE_ORVEL_CLIENT),cli11 json-for-modern-cpp libpcap ncurses pugixml)
ORVEL_INSTALL_STAGING = YES # for applications
ORVEL_NEMT_LIBRARY = $(call qstrip,$(BR2_PACKAGE_ORVEL_NEMT_LIBRARY))

# Buildroot also reads this file if the package is not chosen, and for menuconfig, where the path is set.
ifeq ($(BR2_PACKAGE_ORVEL),y)
ifeq ($(BR_BUILDING),y)
ifeq ($(ORVEL_NEMT_LIBRARY),)
$(error orvel needs the path of libNemt.so: give it in BR2_PACKAGE_ORVEL_NEMT_LIBRARY)
endif
endif
endif

ORVEL_CONF_OPTS = \
	-DORVEL_TESTS=OFF \
	-DORVEL_SIMULATOR=OFF \
	-DORVEL_GATEWAY=OFF \
	-DORVEL_CLIENT=$(if $(BR2_PACKAGE_ORVEL_CLIENT),ON,OFF) \
	-DORVEL_SYSTEMD=$(if $(BR2_INIT_SYSTEMD),ON,OFF) \
	-DORVEL_INIT=$(if $(BR2_INIT_SYSTEMD),OFF,ON) \
	-DNEMT_LIBRARY=$(ORVEL_NEMT_LIBRARY)

# Both of Buildroot's udevs find their rules there.
ORVEL_CONF_OPTS += -DORVEL_UDEV_DIR=/lib/udev

define ORVEL_INSTALL_LINK_LIBRARY
	$(INSTALL) -D -m 0755 $(ORVEL_NEMT_LIBRARY) $(TARGET_DIR)/usr/lib/libNemt.so
endef
ORVEL_POST_INSTALL_TARGET_HOOKS += ORVEL_INSTALL_LINK_LIBRARY

# BusyBox starts the scripts that have a number in their names.
define ORVEL_INSTALL_INIT_SYSV
	ln -sf orvel $(TARGET_DIR)/etc/init.d/S60orvel
endef

define ORVEL_USERS
	orvel -1 orvel -1 * - - - KNX driver daemon
endef

define ORVEL_LINUX_CONFIG_FIXUPS
	$(call KCONFIG_ENABLE_OPT,CONFIG_EXPERT)
	$(call KCONFIG_ENABLE_OPT,CONFIG_GPIOLIB)
	$(call KCONFIG_ENABLE_OPT,CONFIG_GPIO_SYSFS)
	$(call KCONFIG_ENABLE_OPT,CONFIG_NEW_LEDS)
	$(call KCONFIG_ENABLE_OPT,CONFIG_LEDS_CLASS)
	$(call KCONFIG_ENABLE_OPT,CONFIG_LEDS_USER)
	$(call KCONFIG_ENABLE_OPT,CONFIG_POSIX_MQUEUE)
endef

$(eval $(cmake-package))
