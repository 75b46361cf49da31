SUMMARY = "KNX driver daemon for boards with a co-processor"
# The owner has not chosen a licence.
LICENSE = "CLOSED"

# The archive of Scripts/release, in the folder "files" beside this recipe. It knows its revision.
SRC_URI = "file://orvel-${PV}.tar.gz"

# The recipe by which the board's layer installs libNemt.so into ${libdir}.
ORVEL_LINK_LIBRARY ?= "libnemt"
DEPENDS = "cxxopts log4cplus ${ORVEL_LINK_LIBRARY}"

inherit cmake pkgconfig systemd update-rc.d useradd

PACKAGECONFIG ??= "client ${@bb.utils.filter('DISTRO_FEATURES', 'systemd sysvinit', d)}"
PACKAGECONFIG[client] = "-DORVEL_CLIENT=ON,-DORVEL_CLIENT=OFF,cli11 libpcap ncurses nlohmann-json pugixml"
PACKAGECONFIG[simulator] = "-DORVEL_SIMULATOR=ON,-DORVEL_SIMULATOR=OFF,cli11 fuse3 ncurses nlohmann-json pugixml"
PACKAGECONFIG[systemd] = "-DORVEL_SYSTEMD=ON,-DORVEL_SYSTEMD=OFF,,util-linux-nsenter"
PACKAGECONFIG[sysvinit] = "-DORVEL_INIT=ON,-DORVEL_INIT=OFF"
EXTRA_OECMAKE = " \
    -DORVEL_TESTS=OFF \
    -DORVEL_GATEWAY=OFF \
    -DNEMT_LIBRARY=${STAGING_LIBDIR}/libNemt.so \
    -DORVEL_UNIT_DIR=${systemd_system_unitdir} \
    -DORVEL_UDEV_DIR=${nonarch_base_libdir}/udev \
"

SYSTEMD_SERVICE:${PN} = "${@bb.utils.contains('PACKAGECONFIG', 'systemd', 'orvel.service', '', d)}"
INITSCRIPT_NAME = "orvel"
INITSCRIPT_PARAMS = "defaults 60"
USERADD_PACKAGES = "${PN}"
USERADD_PARAM:${PN} = "--system --user-group --no-create-home --home-dir / --shell /sbin/nologin orvel"

# The components of the install step: ${PN} is Runtime, ${PN}-tools Client, ${PN}-dev Development. Pages and examples are in
# ${PN}-doc.
PACKAGES =+ "${PN}-tools ${PN}-simulator"
FILES:${PN}-tools = " \
    ${bindir}/orvelctl \
    ${datadir}/bash-completion/completions/orvelctl \
    ${datadir}/zsh/site-functions/_orvelctl \
"
FILES:${PN}-simulator = " \
    ${bindir}/orvel-board \
    ${libdir}/orvel-simulator \
    ${datadir}/bash-completion/completions/orvel-board \
    ${datadir}/zsh/site-functions/_orvel-board \
"
FILES:${PN} += " \
    ${systemd_system_unitdir} \
    ${nonarch_base_libdir}/udev \
    ${nonarch_libdir}/sysctl.d \
    ${nonarch_libdir}/sysusers.d \
    ${datadir}/bash-completion \
    ${datadir}/zsh \
"
CONFFILES:${PN} = "${sysconfdir}/default/orvel ${sysconfdir}/orvel/log4cplus.properties"
RDEPENDS:${PN} = "${ORVEL_LINK_LIBRARY}"
RDEPENDS:${PN}-simulator = "${PN}"
RRECOMMENDS:${PN} = "kernel-module-uleds"
# Packages do not announce a libNemt.so without a SONAME.
INSANE_SKIP:${PN} += "file-rdeps"
