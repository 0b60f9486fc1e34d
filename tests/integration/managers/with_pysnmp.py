"""A manager on the PySNMP stack: carries out a request per line of standard input, and answers each with a line.

Both are JSON. A request looks like this:

    {"do": "get", "port": 161, "as": {"community": "public"}, "names": [".1.3.6.1.2.1.1.3.0"]}

`do` is get, getnext, getbulk (with `non_repeaters` and `max_repetitions`), walk (of one name) or set (with `values`, a
list of [type, value] for each name). `as` has a community, or else user, auth_passphrase (SHA) and priv_passphrase
(AES); without the latter there is no privacy. `seconds` is the time-out; nothing is retried. The answer has `varbinds`,
a list of [name, type, value], or `status` and `index` of an error, or `failed` with the stack's message.
"""
from __future__ import annotations

# PySNMP uses these two and imports only their package, which is no longer enough.
import importlib.machinery
import importlib.util  # noqa: F401
import json
import sys
from collections.abc import Iterator
from itertools import islice
from typing import Any

from pysnmp.hlapi import (
    CommunityData, ContextData, Integer32, ObjectIdentity, ObjectType, OctetString, SnmpEngine, UdpTransportTarget,
    UsmUserData, bulkCmd, getCmd, nextCmd, setCmd, usmAesCfb128Protocol, usmHMACSHAAuthProtocol,
)
from pysnmp.proto.rfc1905 import EndOfMibView, NoSuchInstance, NoSuchObject

Json = dict[str, Any]

_TYPES = {NoSuchObject: "noSuchObject", NoSuchInstance: "noSuchInstance", EndOfMibView: "endOfMibView",
          Integer32: "INTEGER", OctetString: "STRING"}


def identity(who: Json) -> CommunityData | UsmUserData:
    if "community" in who:
        return CommunityData(who["community"], mpModel=1)
    user = {"authKey": who["auth_passphrase"], "authProtocol": usmHMACSHAAuthProtocol}
    if "priv_passphrase" in who:
        user |= {"privKey": who["priv_passphrase"], "privProtocol": usmAesCfb128Protocol}
    return UsmUserData(who["user"], **user)


def type_and_value(value: Any) -> tuple[str, str]:
    name = next((name for kind, name in _TYPES.items() if value.isSameTypeWith(kind(), matchConstraints=False)), None)
    if name == "STRING":
        return name, value.asOctets().decode("latin-1")
    if name == "INTEGER":
        return name, str(int(value))
    return (name, "") if name else (type(value).__name__, value.prettyPrint())


def asked(request: Json) -> list[ObjectType]:
    names = [ObjectIdentity(name.lstrip(".")) for name in request["names"]]
    if request["do"] != "set":
        return [ObjectType(name) for name in names]
    kinds = {"INTEGER": Integer32, "STRING": lambda value: OctetString(value.encode("latin-1"))}
    return [ObjectType(name, kinds[kind](value))
            for name, (kind, value) in zip(names, request["values"], strict=True)]


def answers(request: Json) -> Iterator[Any]:
    """What the stack returns: the rows of a getbulk or a walk, otherwise one answer."""
    # Each request has its own engine: what an engine caches about a user would hide a changed passphrase.
    about = (SnmpEngine(), identity(request["as"]),
             UdpTransportTarget(("127.0.0.1", request["port"]), timeout=request["seconds"], retries=0), ContextData())
    objects = asked(request)
    if request["do"] == "getbulk":
        return bulkCmd(*about, request["non_repeaters"], request["max_repetitions"], *objects, lookupMib=False,
                       maxCalls=1)
    if request["do"] == "walk":
        return nextCmd(*about, *objects, lookupMib=False, lexicographicMode=False)
    command = {"get": getCmd, "getnext": nextCmd, "set": setCmd}[request["do"]]
    return islice(command(*about, *objects, lookupMib=False), 1)


def carry_out(request: Json) -> Json:
    varbinds: list[tuple[str, str, str]] = []
    for failure, status, index, answered in answers(request):
        if failure:
            return {"failed": str(failure)}
        if status:
            return {"status": status.prettyPrint(), "index": int(index)}
        # Each row of a getbulk has the non-repeating names.
        known = request.get("non_repeaters", 0) if varbinds else 0
        varbinds += [(f".{name}", *type_and_value(value)) for name, value in answered[known:]]
    return {"varbinds": varbinds}


for line in sys.stdin:
    print(json.dumps(carry_out(json.loads(line))), flush=True)
