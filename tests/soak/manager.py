"""A manager that keeps many requests outstanding at once, and judges the answers."""
from __future__ import annotations

import enum
import select
import time
from collections import Counter
from collections.abc import Callable, Sequence
from dataclasses import dataclass

from held import Held
from support import ber
from support.stack import MASTER_PORT
from support.world import World
from traffic import Request, varbind

#: The master gives up after six seconds and answers with an error.
PATIENCE = 12.0
_LARGEST_DATAGRAM = 65536
_FIRST_ID = 0x10000000
_MOST_COMPLAINTS = 20


@dataclass(frozen=True)
class Tolerance:
    """Which answers a disturbance excuses: all that involve the faulty objects; errors and missing values of all
    objects, but no wrong values, least of all another object's; anything at all."""

    faulty: frozenset[int] = frozenset()
    errors: bool = False
    anything: bool = False


class Judgement(enum.Enum):
    RIGHT = "right"
    EXPLAINED = "explained by a disturbance"
    WRONG = "wrong"


class Manager:
    """Sends batches, waits for the answers, and counts how many are good."""

    def __init__(self, world: World, held: Held) -> None:
        self._held = held
        self._socket = world.udp_socket()
        self._socket.connect(("127.0.0.1", MASTER_PORT))
        self._socket.setblocking(False)
        self._next_id = _FIRST_ID
        #: The objects whose value on the device is unknown: a disturbance affected their sets.
        self.unknown: set[int] = set()
        self.judgements: Counter[Judgement] = Counter()
        self.kinds: Counter[str] = Counter()
        self.complaints: list[str] = []

    @property
    def requests(self) -> int:
        return sum(self.kinds.values())

    def close(self) -> None:
        self._socket.close()

    def exchange(
        self, batch: Sequence[Request], tolerance: Tolerance, patience: float = PATIENCE,
        meanwhile: Callable[[], object] = lambda: None,
    ) -> None:
        """Gets a batch answered, calling `meanwhile` while it is outstanding."""
        ids = range(self._next_id, self._next_id + len(batch))
        self._next_id += len(batch)
        waiting = dict(zip(ids, batch))
        for request_id, request in waiting.items():
            self._send(request.encoded(request_id))
        meanwhile()
        answers = self._receive(set(ids), patience)
        for request_id, request in waiting.items():
            judgement = self._judge(request, request_id, answers.get(request_id), tolerance)
            self.kinds[request.kind] += 1
            self.judgements[judgement] += 1
            self._take_over(request, judgement, tolerance)

    def is_served(self, request: Request) -> bool:
        """Whether one request, which is not counted, is answered correctly now."""
        request_id = self._next_id
        self._next_id += 1
        self._send(request.encoded(request_id))
        return self._receive({request_id}, 1.0).get(request_id) == request.answer(request_id)

    def complain(self, what: str) -> None:
        """Counts a wrong answer; keeps the first ones."""
        self.judgements[Judgement.WRONG] += 1
        self._keep(what)

    def _keep(self, complaint: str) -> None:
        if len(self.complaints) < _MOST_COMPLAINTS:
            self.complaints.append(complaint)

    def _send(self, content: bytes) -> None:
        try:
            self._socket.send(content)
        except ConnectionRefusedError:
            pass  # An earlier request found no master.

    def _receive(self, ids: set[int], patience: float) -> dict[int, bytes]:
        answers: dict[int, bytes] = {}
        end = time.monotonic() + patience
        while len(answers) < len(ids) and (left := end - time.monotonic()) > 0:
            if not select.select([self._socket], [], [], left)[0]:
                break
            try:
                content = self._socket.recv(_LARGEST_DATAGRAM)
            except ConnectionRefusedError:
                continue
            request_id = _Answer(content).request_id
            if request_id in ids:
                answers[request_id] = content
        return answers

    def _judge(self, request: Request, request_id: int, answer: bytes | None, tolerance: Tolerance) -> Judgement:
        if answer == request.answer(request_id):
            return Judgement.RIGHT
        is_disturbed = tolerance.anything or tolerance.errors or request.touched & (tolerance.faulty | self.unknown)
        if is_disturbed and (answer is None or self._is_explained(_Answer(answer), tolerance)):
            return Judgement.EXPLAINED
        self._keep(f"{request.kind}: " + self._difference(request, answer))
        return Judgement.WRONG

    def _is_explained(self, answer: "_Answer", tolerance: Tolerance) -> bool:
        """An error is excused; a value must be its object's. If it is unknown what the object holds, the value must at
        least name it; a faulty object may have any value."""
        if answer.status != 0 or tolerance.anything:
            return True
        for name, value in answer.varbinds:
            entry = self._held.by_name.get(name)
            if entry is None or entry.obj_id in tolerance.faulty:
                continue
            if value[0] in ber.EXCEPTIONS or value == entry.encoded:
                continue
            if entry.obj_id not in self.unknown or not entry.is_named_by(value):
                return False
        return True

    def _take_over(self, request: Request, judgement: Judgement, tolerance: Tolerance) -> None:
        """What the device holds after a set. A set of a cell that cannot be read meanwhile succeeds without a write.
        """
        is_sure = judgement == Judgement.RIGHT and not tolerance.anything and not tolerance.faulty & request.touched
        for entry, value in request.writes:
            assert entry.obj_id is not None
            if judgement == Judgement.RIGHT:
                entry.hold(value)
            if is_sure and (entry.is_scalar or not tolerance.errors):
                self.unknown.discard(entry.obj_id)
            else:
                self.unknown.add(entry.obj_id)

    def _difference(self, request: Request, answer: bytes | None) -> str:
        """What is wrong with an answer, in one line."""
        if answer is None:
            return "no answer"
        told = _Answer(answer)
        if told.status != request.status:
            return f"status {told.status} instead of {request.status}"
        got = [varbind(name, value) for name, value in told.varbinds]
        missed = [self._shown(each) for each in request.expected if each not in got]
        unasked = [self._shown(each) for each in got if each not in request.expected]
        return f"expected {', '.join(missed)}, got {', '.join(unasked)}"

    def _shown(self, encoded: bytes) -> str:
        name, value = (element[2] for element in ber.elements(next(ber.elements(encoded))[1]))
        entry = self._held.by_name.get(name)
        return f"{entry.oid if entry else name.hex()}={value.hex()}"


class _Answer:
    """A decoded answer."""

    def __init__(self, content: bytes) -> None:
        whole = next(ber.elements(content))[1]
        pdu = list(ber.elements(whole))[2][1]
        request_id, status, _, varbinds = (element[1] for element in ber.elements(pdu))
        self.request_id = int.from_bytes(request_id, "big")
        self.status = int.from_bytes(status, "big")
        self.varbinds: list[tuple[bytes, bytes]] = []
        for _, pair, _ in ber.elements(varbinds):
            name, value = (element[2] for element in ber.elements(pair))
            self.varbinds.append((name, value))
