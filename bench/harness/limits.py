"""What must hold: reads the limits and checks figures against them."""
from __future__ import annotations

import operator
import tomllib
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from pathlib import Path

_COMPARISONS = {">=": operator.ge, "<=": operator.le, "==": operator.eq}


@dataclass(frozen=True)
class Bound:
    """A comparison with a number."""

    comparison: str
    number: float

    @staticmethod
    def parse(text: str) -> "Bound":
        comparison, number = text.split()
        if comparison not in _COMPARISONS:
            raise ValueError(f"a bound has one of {', '.join(_COMPARISONS)}, not {comparison!r}")
        return Bound(comparison, float(number))

    def holds(self, figure: float) -> bool:
        return _COMPARISONS[self.comparison](figure, self.number)

    def __str__(self) -> str:
        return f"{self.comparison} {self.number:g}"


@dataclass(frozen=True)
class Limit:
    """One figure, described and by its name, with its bounds in the long form, the quick form and the check; None
    where it is not judged. A figure known to miss its bound has the reason, and a floor that it must keep."""

    what: str
    figure: str
    bound: Bound | None
    check_bound: Bound | None
    known: str | None = None
    floor: Bound | None = None


@dataclass(frozen=True)
class Judged:
    """A limit with the measured figure."""

    what: str
    figure: str
    measured: float
    bound: Bound
    known: str | None = None
    floor: Bound | None = None

    @property
    def holds(self) -> bool:
        return self.bound.holds(self.measured)

    @property
    def is_known_miss(self) -> bool:
        """Missed for the known reason, and by no more than the floor allows."""
        return not self.holds and self.floor is not None and self.floor.holds(self.measured)

    @property
    def is_missed(self) -> bool:
        return not self.holds and not self.is_known_miss

    @property
    def verdict(self) -> str:
        if self.holds:
            return "holds"
        return "MISSED (known)" if self.is_known_miss else "MISSED"


def read_limits(path: Path) -> list[Limit]:
    return parse_limits(path.read_text(encoding="utf-8"))


def parse_limits(text: str) -> list[Limit]:
    return [_limit_from(entry) for entry in tomllib.loads(text)["limit"]]


def judge(limits: Sequence[Limit], figures: Mapping[str, float], in_check: bool) -> list[Judged]:
    """Checks every limit of the form against its figure; a figure that was not measured is an error."""
    bounds = [(limit, limit.check_bound if in_check else limit.bound) for limit in limits]
    return [Judged(limit.what, limit.figure, figures[limit.figure], bound, limit.known, limit.floor)
            for limit, bound in bounds if bound]


def _limit_from(entry: Mapping[str, str]) -> Limit:
    if ("known" in entry) != ("floor" in entry):
        raise ValueError(f"{entry['what']}: a known reason to miss a bound and a floor go together")
    return Limit(entry["what"], entry["figure"], _bound_of(entry, "bound"), _bound_of(entry, "check"),
                 entry.get("known"), _bound_of(entry, "floor"))


def _bound_of(entry: Mapping[str, str], key: str) -> Bound | None:
    return Bound.parse(entry[key]) if key in entry else None
