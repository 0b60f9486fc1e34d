"""Tries changes of the sources against the unit tests of existing builds.

Nothing in the checkout or in a build is modified: a bench has a directory of its own with a copy of the sources, in
which it changes one file, compiles everything that includes it, and links the result before the rest of the build.
"""
from __future__ import annotations

import json
import os
import resource
import shlex
import shutil
import signal
import subprocess
import time
from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from enum import Enum
from pathlib import Path

from mutations import Mutant

COMPILE_LIMIT = 300.0
#: A flaky test would count as one that notices.
ROUNDS_MEASURED = 3
LONGEST_MEASURED = 120.0
#: A run that takes this many times as long as with the unchanged sources is considered hung.
SLOWEST = 5
#: On a busy machine even a quick run may take this many seconds.
SHORTEST_LIMIT = 10.0
FILE_TESTS_AT_ONCE = 4
TESTS_AT_ONCE = 8
#: A change may cause an endless loop, which must fill neither memory nor disk. A program with the sanitizer needs
#: more address space than any memory, so the sanitizer limits itself.
MEMORY_LIMIT = 4 << 30
FILE_LIMIT = 100 << 20
SANITIZER_OPTIONS = f"hard_rss_limit_mb={MEMORY_LIMIT >> 20}"


class Outcome(Enum):
    KILLED = "killed"
    TIMED_OUT = "killed by time-out"
    NOT_COMPILING = "not compiling"
    SAME_CODE = "same code"
    SURVIVED = "survived"
    LISTED = "listed equivalent"


@dataclass(frozen=True)
class Unit:
    """What the build compiles from one source file."""

    source: Path
    object: str
    command: tuple[str, ...]
    dependencies: frozenset[Path]

    def compiled(self, source: Path, target: Path, includes: tuple[Path, Path], options: Iterable[str]) -> list[str]:
        """The command with another source and target, and the first tree of headers replaced by the second."""
        kept = [each.replace(f"-I{includes[1]}", f"-I{includes[0]}") for each in self.command]
        return [*kept, "-w", *options, "-o", str(target), "-c", str(source)]


class Build:
    """A build of the unit tests, with or without sanitizers."""

    def __init__(self, root: Path, directory: Path) -> None:
        self.root = root
        self.directory = directory
        self.program = directory / "tests/unit/unitTests"
        self.units = list(self._read_units())
        self.link = self._read_link()
        self.is_sanitized = any(each.startswith("-fsanitize") for each in self.link)
        self._suites = self._read_suites()

    def _ninja(self, *arguments: str) -> str:
        return subprocess.run(["ninja", "-C", str(self.directory), *arguments], check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def _read_dependencies(self) -> dict[str, frozenset[Path]]:
        dependencies: dict[str, set[Path]] = {}
        target = ""
        for line in self._ninja("--quiet", "-t", "deps").splitlines():
            if line.startswith("    "):
                dependencies[target].add(Path(os.path.normpath(self.directory / line.strip())))
            elif ": #deps" in line:
                target = line.split(":")[0]
                dependencies[target] = set()
        return {name: frozenset(paths) for name, paths in dependencies.items()}

    def _read_units(self) -> Iterable[Unit]:
        dependencies = self._read_dependencies()
        for entry in json.loads((self.directory / "compile_commands.json").read_text(encoding="utf-8")):
            words = shlex.split(entry["command"])
            if Path(words[0]).name == "ccache":
                words = words[1:]
            target = words[words.index("-o") + 1]
            del words[words.index("-o"):words.index("-o") + 2]
            del words[words.index("-c"):words.index("-c") + 2]
            yield Unit(Path(entry["file"]), target, tuple(words), dependencies.get(target, frozenset()))

    def _read_link(self) -> list[str]:
        command = self._ninja("--quiet", "-t", "commands", "tests/unit/unitTests").splitlines()[-1]
        words = [each for each in shlex.split(command) if each not in (":", "&&")]
        del words[words.index("-o"):words.index("-o") + 2]
        fastest = next((name for name in ("mold", "lld") if shutil.which(name)), None)
        return [*words, f"-fuse-ld={fastest}"] if fastest else words

    def _read_suites(self) -> dict[str, list[str]]:
        """The names of the test suites in each test file, by the file's name without extension."""
        listing = self.directory / "unitTestList.json"
        subprocess.run([self.program, "--gtest_list_tests", f"--gtest_output=json:{listing}"], check=True,
                       stdout=subprocess.DEVNULL)
        suites: dict[str, list[str]] = {}
        for suite in json.loads(listing.read_text(encoding="utf-8"))["testsuites"]:
            for stem in {Path(test["file"]).stem for test in suite["testsuite"]}:
                suites.setdefault(stem, []).append(suite["name"])
        listing.unlink()
        return suites

    def filter_for(self, source: str) -> str:
        """The filter that selects the tests of one source file: those in test files whose names begin with its name.
        """
        stem = Path(source).stem
        return ":".join(f"{suite}.*" for name, suites in self._suites.items() if name.startswith(stem)
                        for suite in suites)

    def units_of(self, path: str) -> list[Unit]:
        """The parts of the unit tests' program that are compiled from a file or include it."""
        return [unit for unit in self.units if self.root / path in unit.dependencies and
                (unit.object in self.link or unit.object.startswith("src/"))]


class TestRun:
    """Runs a unit tests' program in several processes at once; each has its own message queues."""

    def __init__(self, program: Path, scratch: Path, limit: float, is_sanitized: bool) -> None:
        self._program = program
        self._scratch = scratch
        self._limit = limit
        self._is_sanitized = is_sanitized

    def passes(self, chosen: str, at_once: int) -> bool:
        """Whether all chosen tests pass; raises TimeoutError if they take too long."""
        end = time.monotonic() + self._limit
        shards = [self._start(chosen, number, at_once) for number in range(at_once)]
        try:
            for shard in shards:
                if shard.wait(max(0.0, end - time.monotonic())) != 0:
                    return False
            return True
        except subprocess.TimeoutExpired as error:
            raise TimeoutError from error
        finally:
            for shard in shards:
                self._end(shard)

    def _start(self, chosen: str, number: int, at_once: int) -> subprocess.Popen[bytes]:
        environment = {**os.environ, "GTEST_TOTAL_SHARDS": str(at_once), "GTEST_SHARD_INDEX": str(number),
                       "TEST_TMPDIR": str(self._scratch), "TMPDIR": str(self._scratch),
                       "ASAN_OPTIONS": SANITIZER_OPTIONS}
        process = subprocess.Popen(
            [self._program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={chosen}"], env=environment,
            cwd=self._scratch, start_new_session=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        limits = {resource.RLIMIT_FSIZE: FILE_LIMIT, resource.RLIMIT_CORE: 0}
        if not self._is_sanitized:
            limits[resource.RLIMIT_AS] = MEMORY_LIMIT
        for what, most in limits.items():
            resource.prlimit(process.pid, what, (most, most))
        return process

    @staticmethod
    def _end(process: subprocess.Popen[bytes]) -> None:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()


class Bench:
    """A place to try changes in, one at a time: in the first build, and if they survive there in the others."""

    def __init__(self, builds: Sequence[Build], directory: Path) -> None:
        self._builds = builds
        self._directory = directory
        self._sources = directory / "src"
        self._scratch = directory / "tmp"
        self._limits: dict[Build, float] = {}
        self._original_code: dict[str, bytes] = {}
        shutil.rmtree(directory, ignore_errors=True)
        shutil.copytree(builds[0].root / "src", self._sources)
        self._scratch.mkdir()

    def measure(self) -> list[float]:
        """Measures the time of each build's tests with the unchanged sources, which must pass every time."""
        times = []
        for build in self._builds:
            begin = time.monotonic()
            self._limits[build] = LONGEST_MEASURED
            for _ in range(ROUNDS_MEASURED):
                if not self._run(build.program, build).passes("*", TESTS_AT_ONCE):
                    raise RuntimeError(f"the unit tests in {build.directory} fail with the sources as they are")
            times.append((time.monotonic() - begin) / ROUNDS_MEASURED)
            self._limits[build] = max(SHORTEST_LIMIT, SLOWEST * times[-1])
        return times

    def trial(self, mutant: Mutant) -> Outcome:
        path = self._directory / mutant.path
        original = path.read_text(encoding="utf-8")
        if mutant.path not in self._original_code:
            self._original_code[mutant.path] = self._optimised(mutant)
        path.write_text(mutant.applied(original), encoding="utf-8")
        try:
            return self._outcome_of(mutant)
        finally:
            path.write_text(original, encoding="utf-8")
            shutil.rmtree(self._scratch)
            self._scratch.mkdir()

    def _outcome_of(self, mutant: Mutant) -> Outcome:
        for build in self._builds:
            outcome = self._outcome_in(build, mutant)
            if outcome is not Outcome.SURVIVED:
                return outcome
            if build is self._builds[0] and self._optimised(mutant) == self._original_code[mutant.path]:
                return Outcome.SAME_CODE
        return Outcome.SURVIVED

    def _run(self, program: Path, build: Build) -> TestRun:
        return TestRun(program, self._scratch, self._limits[build], build.is_sanitized)

    def _outcome_in(self, build: Build, mutant: Mutant) -> Outcome:
        program = self._made(mutant, build)
        if program is None:
            return Outcome.NOT_COMPILING
        run = self._run(program, build)
        own = build.filter_for(mutant.path)
        try:
            if own and not run.passes(own, FILE_TESTS_AT_ONCE) or not run.passes(f"*-{own}", TESTS_AT_ONCE):
                return Outcome.KILLED
        except TimeoutError:
            return Outcome.TIMED_OUT
        return Outcome.SURVIVED

    # Compiling

    def _place_of(self, source: Path, build: Build) -> Path:
        """The bench's copy for one of the agent's sources, the file itself for any other."""
        sources = build.root / "src"
        return self._sources / source.relative_to(sources) if source.is_relative_to(sources) else source

    @staticmethod
    def _succeeds(command: Sequence[str], build: Build) -> bool:
        try:
            return subprocess.run(command, cwd=build.directory, stdin=subprocess.DEVNULL, timeout=COMPILE_LIMIT,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def _compiled(self, unit: Unit, build: Build, name: str, options: Sequence[str]) -> Path | None:
        target = self._directory / name
        command = unit.compiled(
            self._place_of(unit.source, build), target, (self._sources, build.root / "src"), options)
        return target if self._succeeds(command, build) else None

    def _made(self, mutant: Mutant, build: Build) -> Path | None:
        """Links the tests' program with the change; the agent's part comes before the library and so replaces it."""
        link = list(build.link)
        for number, unit in enumerate(build.units_of(mutant.path)):
            in_tests = unit.object in build.link
            made = self._compiled(unit, build, f"{number}.o", [] if in_tests else ["-g0"])
            if made is None:
                return None
            if in_tests:
                link[link.index(unit.object)] = str(made)
            else:
                link.insert(1, str(made))
        program = self._directory / "unitTests"
        return program if self._succeeds([*link, "-o", str(program)], build) else None

    def _optimised(self, mutant: Mutant) -> bytes:
        """The optimised code of the agent's sources that contain the file, as they are now."""
        build = self._builds[0]
        code = b""
        for unit in build.units_of(mutant.path):
            if unit.object not in build.link:
                made = self._compiled(unit, build, "optimised.o", ["-g0", "-O2"])
                code += made.read_bytes() if made else b"?"
        return code
