SUMMARY = "SNMP agent of the device"
DESCRIPTION = "Serves the objects of the device's management application over SNMP, as an AgentX subagent of snmpd."
LICENSE = "CLOSED"

# The source tree that this layer is part of, in local.conf: TARNOSNMP_SOURCE = "/path/of/the/tree"
inherit externalsrc cmake pkgconfig systemd useradd
EXTERNALSRC = "${TARNOSNMP_SOURCE}"

# The default net-snmp has AgentX and DISMAN-EVENT, on which the alarms of snmpd depend.
DEPENDS = "net-snmp sqlite3"
RDEPENDS:${PN} = "net-snmp-server-snmpd"

EXTRA_OECMAKE = " \
    -DTARNO_BUILD_TESTS=OFF \
    -DTARNO_BUILD_TOOLS=OFF \
    -DTARNO_PACKAGES=OFF \
    -DTARNO_STATIC_RUNTIME=OFF \
"

do_install() {
    DESTDIR=${D} cmake --install ${B} --component agent
    # The init script is for Debian's start-stop-daemon and its LSB functions.
    rm ${D}${sysconfdir}/init.d/tarnosnmp
    rmdir ${D}${sysconfdir}/init.d
}

SYSTEMD_SERVICE:${PN} = "tarnosnmp.service"
FILES:${PN} += "${systemd_system_unitdir}/tarnosnmp.service ${libexecdir}/tarnosnmp"
CONFFILES:${PN} = "${sysconfdir}/default/tarnosnmp ${sysconfdir}/snmp/snmpd.conf.d/tarnosnmp.conf"

USERADD_PACKAGES = "${PN}"
USERADD_PARAM:${PN} = "--system --user-group --no-create-home --home-dir /nonexistent --shell /bin/false tarnosnmp"
