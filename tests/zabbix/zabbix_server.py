"""A Zabbix server with its database and its frontend, in a root directory of Debian's packages."""
from __future__ import annotations

import json
import subprocess
import sys
from collections.abc import Iterator
from pathlib import Path
from typing import Any

from installed_root import InstalledRoot
from support.waiting import wait_until
from support.world import World

#: How long a start of any part may take.
START = 120.0
_ADDRESS = "127.0.0.1"
_PORT = 8080
_DATA = "/srv/data"
_SOCKETS = "/srv"
_TRAPS = "/srv/traps.log"
_SCHEMA = "/usr/share/zabbix-server-pgsql"

# Polls of the API start a process each, which must not depend on what the root directory has.
_ASK = """
import sys, urllib.request
request = urllib.request.Request(sys.argv[1], sys.stdin.buffer.read(), {"Content-Type": "application/json-rpc"})
print(urllib.request.urlopen(request, timeout=60).read().decode(), end="")
"""

# Small, because a single device is monitored, and quick to see what has changed.
_SERVER = f"""DBHost={_SOCKETS}
DBName=zabbix
DBUser=zabbix
LogType=console
PidFile=/srv/zabbix_server.pid
SocketDir=/srv
Timeout=10
StartPollers=2
StartPreprocessors=1
StartTrappers=1
StartDiscoverers=0
StartHTTPPollers=0
StartPingers=0
StartDBSyncers=1
CacheUpdateFrequency=1
StartSNMPTrapper=1
SNMPTrapperFile={_TRAPS}
"""

_FRONTEND = f"""<?php
$DB['TYPE'] = 'POSTGRESQL';
$DB['SERVER'] = '{_SOCKETS}';
$DB['PORT'] = '5432';
$DB['DATABASE'] = 'zabbix';
$DB['USER'] = 'zabbix';
$DB['PASSWORD'] = '';
$DB['SCHEMA'] = '';
$DB['ENCRYPTION'] = false;
$DB['DOUBLE_IEEE754'] = true;
$ZBX_SERVER = '{_ADDRESS}';
$ZBX_SERVER_PORT = '10051';
$ZBX_SERVER_NAME = '';
$IMAGE_FORMAT_DEFAULT = IMAGE_FORMAT_PNG;
"""


# Run by the receiver for each notification, whose lines are its input.
_RECEIVE = f"""#!/bin/sh
{{ echo "$(date +%Y%m%d.%H%M%S) ZBXTRAP {_ADDRESS}"; cat; }} >>{_TRAPS}
"""


class ZabbixError(Exception):
    """The API refuses a call; the text is its reason."""


class ZabbixServer:
    """Verbs to start Zabbix, with a receiver of notifications, and to use its API."""

    receiver_port = 1162

    def __init__(self, directory: Path, archive: Path, world: World) -> None:
        self._root = InstalledRoot(directory, archive, [], world)
        self.version = ""
        self._token = ""

    def start(self) -> None:
        self._start_database()
        self._load_schema()
        self._start_frontend()
        self._start_server()

    def call(self, method: str, **parameters: Any) -> Any:
        """The result of a call of the API."""
        request: dict[str, Any] = {"jsonrpc": "2.0", "method": method, "params": parameters, "id": 1}
        if self._token:
            request["auth"] = self._token
        done = subprocess.run(
            self._root.world.command([sys.executable, "-c", _ASK, f"http://{_ADDRESS}:{_PORT}/api_jsonrpc.php"]),
            input=json.dumps(request), capture_output=True, text=True, timeout=90, check=False)
        assert done.returncode == 0, f"{method}: {done.stderr}"
        answer = json.loads(done.stdout)
        if "error" in answer:
            raise ZabbixError(f"{method}: {answer['error']['data']}")
        return answer["result"]

    def import_template(self, text: str) -> None:
        assert self.call("configuration.import", **self._import(text)) is True

    def changes_of_import(self, text: str) -> list[tuple[str, Any]]:
        """What an import would add, remove and update."""
        return list(_changes_in(self.call("configuration.importcompare", **self._import(text))))

    def add_host(self, name: str, template: str, port: int) -> str:
        """A host with a template and an SNMP interface in this world; returns its id."""
        group = self.call("hostgroup.create", name="Devices")["groupids"][0]
        templates = self.call("template.get", filter={"host": template}, output=["templateid"])
        interface = {"type": 2, "main": 1, "useip": 1, "ip": _ADDRESS, "dns": "", "port": str(port),
                     "details": {"version": 2, "bulk": 0, "community": "{$SNMP_COMMUNITY}"}}
        return str(self.call("host.create", host=name, groups=[{"groupid": group}], templates=templates,
                             interfaces=[interface])["hostids"][0])

    def close(self, event: str) -> None:
        """Closes a problem, as a user does."""
        self.call("event.acknowledge", eventids=event, action=1)

    def write_notification(self, text: str) -> None:
        """As a receiver of notifications does."""
        with self._root.file(_TRAPS).open("a", encoding="utf-8") as traps:
            traps.write(f"20260101.000000 ZBXTRAP {_ADDRESS}\n{text}\n")

    def _import(self, text: str) -> dict[str, Any]:
        """As a user imports who selects everything."""
        update = {"createMissing": True, "updateExisting": True}
        replace = {**update, "deleteMissing": True}
        groups = "groups" if self.version.startswith("6.0") else "template_groups"
        return {"format": "yaml", "source": text, "rules": {
            groups: update, "templates": update, "items": replace, "triggers": replace, "discoveryRules": replace,
            "valueMaps": replace}}

    def _start_database(self) -> None:
        programs = next(self._root.file("/usr/lib/postgresql").iterdir()).name
        binaries = f"/usr/lib/postgresql/{programs}/bin"
        self._root.check("chown", "postgres", "/srv")
        self._root.check("chmod", "777", "/srv")
        self._root.check(*_as("postgres"), f"{binaries}/initdb", "--auth=trust", "--no-sync", "--encoding=UTF8", _DATA)
        self._root.start("database", *_as("postgres"), f"{binaries}/postgres", "-D", _DATA, "-k", _SOCKETS, "-h", "",
                         "-c", "fsync=off", "-c", "full_page_writes=off")
        wait_until(lambda: self._root.run([f"{binaries}/pg_isready", "-h", _SOCKETS]).returncode == 0,
                   "the database answers", START)

    def _load_schema(self) -> None:
        self._root.check("psql", "-h", _SOCKETS, "-U", "postgres", "-c", "CREATE USER zabbix", "-c",
                         "CREATE DATABASE zabbix OWNER zabbix")
        for part in ("schema", "images", "data"):
            load = f"zcat {_SCHEMA}/{part}.sql.gz | psql -h {_SOCKETS} -U zabbix -v ON_ERROR_STOP=1 -q zabbix"
            done = self._root.run(["sh", "-c", load], START)
            assert done.returncode == 0, done.stderr

    def _start_frontend(self) -> None:
        self._root.write("/etc/zabbix/zabbix.conf.php", _FRONTEND)
        self._root.start("frontend", "php", "-d", "memory_limit=512M", "-S", f"{_ADDRESS}:{_PORT}", "-t",
                         "/usr/share/zabbix")
        wait_until(self._answers, "the frontend answers", START)
        self._token = str(self.call("user.login", username="Admin", password="zabbix"))

    def _answers(self) -> bool:
        try:
            self.version = str(self.call("apiinfo.version"))
        except AssertionError:
            return False
        return True

    def _start_server(self) -> None:
        self._root.write("/srv/zabbix_server.conf", _SERVER)
        self._root.write(_TRAPS, "", mode=0o666)
        self._root.write("/srv/receive", _RECEIVE, mode=0o755)
        self._root.write("/srv/snmptrapd.conf", "disableAuthorization yes\ntraphandle default /srv/receive\n")
        self._root.start("receiver", "snmptrapd", "-f", "-Lo", "-C", "-c", "/srv/snmptrapd.conf",
                         f"udp:{_ADDRESS}:{self.receiver_port}")
        self._root.start("server", *_as("zabbix"), "zabbix_server", "-f", "-c", "/srv/zabbix_server.conf")


def _changes_in(compared: Any) -> Iterator[tuple[str, Any]]:
    """Zabbix also lists a part that stays the same if something below it changes."""
    if isinstance(compared, list):
        for each in compared:
            yield from _changes_in(each)
    elif isinstance(compared, dict):
        for kind in ("added", "removed"):
            yield from ((kind, each) for each in compared.get(kind, ()))
        if compared.get("before") != compared.get("after"):
            yield "updated", compared["after"]
        for each in compared.values():
            yield from _changes_in(each)


def _as(user: str) -> tuple[str, ...]:
    return ("setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups", "--")
