"""What the tests need of the machine: python3 -m support.machine installed|namespaces

Says in one line what is missing; the exit status is then 1.
"""
from __future__ import annotations

import shutil
import sys
from glob import glob

from .mapping_tool import BASE_MODULES
from .world import World

#: By package: one of its programs, or the path of one of its files.
_PACKAGES = {
    "erlang-snmp": BASE_MODULES,
    "iproute2": "ip",
    "libcrypt-des-perl": "/usr/lib/*/perl5/*/Crypt/DES.pm",
    "libcrypt-rijndael-perl": "/usr/lib/*/perl5/*/Crypt/Rijndael.pm",
    "libdigest-hmac-perl": "/usr/share/perl5/Digest/HMAC.pm",
    "libnet-snmp-perl": "/usr/share/perl5/Net/SNMP.pm",
    "monitoring-plugins-standard": "/usr/lib/nagios/plugins/check_snmp",
    "mount": "mount",
    "netbase": "/etc/services",
    "procps": "pgrep",
    "prometheus": "prometheus",
    "prometheus-snmp-exporter": "prometheus-snmp-exporter",
    "psmisc": "killall",
    "python3-jsonschema": "/usr/lib/python3/dist-packages/jsonschema/__init__.py",
    "python3-pytest-rerunfailures": "/usr/lib/python3/dist-packages/pytest_rerunfailures.py",
    "python3-pysnmp4": "/usr/lib/python3/dist-packages/pysnmp/__init__.py",
    "python3-yaml": "/usr/lib/python3/dist-packages/yaml/__init__.py",
    "smitools": "smilint",
    "snmp": "snmpget",
    "snmpd": "snmpd",
    "tidy": "tidy",
    "util-linux": "unshare",
    "zsh": "zsh",
}


def missing_packages() -> str | None:
    missing = [package for package, proof in _PACKAGES.items() if not (glob(proof) or shutil.which(proof))]
    if missing:
        return f"missing packages: {' '.join(missing)}; scripts/install-packages run tests installs them"
    return None


def missing_namespaces() -> str | None:
    try:
        World().close()
    except RuntimeError as error:
        return str(error)
    return None


def what_is_missing() -> str | None:
    """What prevents the tests from running, in one line; None if nothing does."""
    return missing_packages() or missing_namespaces()


def main(wanted: str) -> int:
    missing = {"installed": missing_packages, "namespaces": missing_namespaces}[wanted]()
    if missing is None:
        return 0
    print(missing)
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
