#!/usr/bin/env python3
"""Plants faults in the sources, one at a time, and tells which of them no test sees.

A plant changes one thing in one line of src. The changed source is compiled
with the flags of what ships and linked in front of the built libraries; the
test programs that reach the unit then run until one fails. ./dev mutate builds
first and gives each worker a Wine prefix of its own.

The sample is drawn from all lines that can take a plant: first the line, each
as likely as any other, then one of its plants. A plant that does not compile
is drawn anew. A header's plant that survives in its own unit is tried once
more in the sources that use the line, and drawn anew where those are too many.
indistinguishable.txt lists plants that nobody can tell from the
original from outside, each with its reason; they are not drawn.
"""

import argparse
import os
import queue
import random
import re
import sys
import threading
import time
from collections import Counter, defaultdict
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "lint"))

import bench  # noqa: E402
from plants import plants  # noqa: E402
from support import floors  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]
EXCUSED = Path(__file__).with_name("indistinguishable.txt")
OUTCOMES = ("killed", "hung", "survived")
WIDEST = 12
TYPE = re.compile(r"\s*(?:class|struct) (\w+)")
OPERATION = re.compile(r"\s*(?:\S[^(\n]*?)??\b(\w+)\(")
CONSTANT = re.compile(r"(?:inline )?constexpr [\w:<>]+ (\w+)(?= = |\{)")
STATEMENTS = ("if", "for", "while", "switch", "return")
SURVIVED = re.compile(r"survived (\S+):(\d+) .*\n +- (.*)\n +\+ (.*)")


def floor_of(path):
    """The floor of a source; None for what is not tested by itself."""
    if path.startswith(floors.UTILITY):
        return "utility"
    return floors.floor_of(Path(path).stem)


def family(path):
    """What is compiled anew for a plant: the source, or for a header its own and the tests that show it."""
    if path.endswith(".cpp"):
        return [path]
    unit = Path(path).stem
    tests = [file for file in (ROOT / "tests").rglob("*_test.cpp")
             if f'#include "{unit}.h"' in file.read_text(encoding="utf-8")
             or f'#include "lib/{unit}.h"' in file.read_text(encoding="utf-8")]
    found = [file for file in (ROOT / "src").rglob("*.cpp") if file.stem == unit] + tests
    return [str(file.relative_to(ROOT)) for file in sorted(found)]


def including(header):
    """Sources of src and tests that see a header, itself or by way of others: path to text."""
    files = {file.name: file for folder in ("src", "tests") for file in (ROOT / folder).rglob("*.*")
             if file.suffix in (".cpp", ".h")}
    texts = {name: file.read_text(encoding="utf-8") for name, file in files.items()}
    seen, waiting = {header}, [header]
    while waiting:
        include = re.compile(r'#include "(?:\w+/)?' + re.escape(waiting.pop()) + '"')
        found = {name for name, text in texts.items() if include.search(text)} - seen
        seen |= found
        waiting += [name for name in found if name.endswith(".h")]
    # What a class derives from stands in its header.
    return {str(files[name].relative_to(ROOT)): texts[name] + texts.get(name[:-3] + "h", "")
            for name in seen if name.endswith(".cpp")}


def named(line):
    """The operation that a line defines, declares or calls first."""
    found = OPERATION.match(line)
    return found[1] if found and found[1] not in STATEMENTS else None


def operation_of(lines, index):
    """The operation around a line of a header, or the one that the line itself declares."""
    def inset(line):
        return len(line) - len(line.lstrip())

    room = inset(lines[index])
    for line in reversed(lines[:index]):
        if TYPE.match(line):
            break
        if line.strip() and inset(line) < room and not line.lstrip().startswith(("//", "#")):
            if named(line):
                return named(line)
            room = max(inset(line), 1)
    return named(lines[index])


def wide_family(path, line):
    """What a header's line is compiled into elsewhere: a default argument, an initial value, an
    operation that the compiler put in place of its call. None when that is too much to compile."""
    header = (ROOT / path).read_text(encoding="utf-8")
    lines = header.split("\n")[:line]
    types = [found[1] for found in map(TYPE.match, lines) if found]
    names = [name for name in (operation_of(lines, line - 1), *types[-1:]) if name]
    # A constant of the namespace has nothing to do with the type before it.
    names = CONSTANT.findall(lines[-1]) if CONSTANT.match(lines[-1]) else names
    # What is used by way of a macro alone.
    names += re.findall(r"^#define (\w+)", header, re.MULTILINE)
    mentions = re.compile(r"\b(?:" + "|".join(names) + r")\b")
    users = {user for user, text in including(Path(path).name).items() if mentions.search(text)}
    wide = sorted({*family(path), *users})
    return wide if len(wide) <= WIDEST else None


class Excuse:
    """Plants that cannot be told apart: 'unit | part of the line | kinds | reason'."""

    def __init__(self, row):
        self.row = row
        self.unit, part, kinds, reason = (field.strip() for field in row.split(" | "))
        if not reason:
            raise ValueError("a reason is missing")
        literal = not (len(part) > 2 and part[0] == part[-1] == "/")
        self.part = re.compile(re.escape(part) if literal else part[1:-1])
        self.kinds = kinds.split(", ")

    def covers(self, unit, plant, line):
        """Whether a plant of a line lies within the part, or takes all of it, and is of a kind."""
        return (self.unit in ("*", unit)
                and (self.kinds == ["any"] or any(kind in plant.kind for kind in self.kinds))
                and any(found.start() <= plant.begin and plant.end <= found.end()
                        or plant.begin <= found.start() and found.end() <= plant.end
                        for found in self.part.finditer(line)))


def excuses():
    """The rows of the file; a row that cannot be read ends the run."""
    found = []
    for row in EXCUSED.read_text(encoding="utf-8").split("\n"):
        if row and not row.startswith("#"):
            try:
                found.append(Excuse(row))
            except ValueError as failure:
                raise SystemExit(f"{EXCUSED.name}: {failure}: {row}") from failure
    return found


def candidates(units, build):
    """Every line of the units' sources that can take a plant, with its plants."""
    known, found, used = excuses(), [], set()
    for file in sorted((ROOT / "src").rglob("*")):
        path = str(file.relative_to(ROOT))
        if file.suffix not in (".cpp", ".h") or floor_of(path) is None:
            continue
        if units and file.stem not in units:
            continue
        sources = family(path)
        if not sources or any(ROOT / source not in build.compiled for source in sources):
            continue
        text = file.read_text(encoding="utf-8")
        lines, of_line = text.split("\n"), defaultdict(list)
        for plant in plants(path, text):
            line = lines[plant.line - 1]
            covering = [excuse for excuse in known if excuse.covers(file.stem, plant, line)]
            used.update(covering)
            if not covering:
                of_line[plant.line].append((plant, line))
        found += of_line.values()
    for excuse in set() if units else set(known) - used:
        print(f"{EXCUSED.name} has a row that fits nothing: {excuse.row}")
    return found


def again(found, log):
    """The plants that survived in a former run's output."""
    survived = {(path, int(number), after.strip()) for path, number, _, after
                in SURVIVED.findall(Path(log).read_text(encoding="utf-8"))}
    for plant, line in (each for of_line in found for each in of_line):
        if (plant.path, plant.line, plant.applied(line).strip()) in survived:
            yield plant, line


def draw(found, seed):
    """Plants without end: a line, then one of its plants, none twice."""
    chance, drawn = random.Random(seed), set()
    total = sum(len(line) for line in found)
    while len(drawn) < total:
        plant, line = chance.choice(chance.choice(found))
        if plant not in drawn:
            drawn.add(plant)
            yield plant, line


class Work:
    """The sample, shared by the workers."""

    def __init__(self, drawn, size):
        self.drawn, self.left = drawn, size
        self.lock = threading.Lock()
        self.results, self.discarded = [], Counter()

    def take(self):
        """The next plant; None when there are enough."""
        with self.lock:
            if self.left <= 0:
                return None
            self.left -= 1
            return next(self.drawn, None)

    def put(self, plant, line, outcome, program):
        """Notes an outcome; what is no plant is drawn anew."""
        with self.lock:
            if outcome not in OUTCOMES:
                self.discarded[outcome] += 1
                self.left += 1
                return
            self.results.append((plant, line, outcome))
            told = f"{outcome} {plant.path}:{plant.line} ({plant.kind}) {program}"
            print(f"{len(self.results):4} {told}", flush=True)
            if outcome == "survived":
                print(f"       - {line.strip()}\n       + {plant.applied(line).strip()}",
                      flush=True)


def work_off(work, own):
    """One worker's round."""
    own.settle()
    while (taken := work.take()) is not None:
        plant, line = taken
        place = floor_of(plant.path), Path(plant.path).stem
        outcome, program = own.try_plant(plant, family(plant.path), *place)
        if outcome in ("survived", "the same code") and plant.path.endswith(".h"):
            wide = wide_family(plant.path, plant.line)
            outcome, program = (own.try_plant(plant, wide, *place) if wide
                                else ("in too many sources", ""))
        work.put(plant, line, outcome, program)


def table(title, key, results):
    """Prints what was killed and what survived by floor or unit."""
    counts = defaultdict(Counter)
    for plant, _, outcome in results:
        counts[key(plant.path)][outcome] += 1
    print(f"\n{title:32} killed   hung survived  share")
    for name, count in sorted(counts.items()):
        seen = count["killed"] + count["hung"]
        print(f"{name:32} {count['killed']:6} {count['hung']:6} {count['survived']:8} "
              f"{100 * seen // sum(count.values()):5}%")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("units", nargs="*", help="units to plant in (default: all)")
    parser.add_argument("--sample", type=int, default=400, help="how many plants (default: 400)")
    parser.add_argument("--seed", type=int, default=int(time.time()), help="of the sample")
    parser.add_argument("--again", metavar="LOG", help="try what survived in a former output")
    parser.add_argument("--prefix", action="append", required=True, help="one Wine prefix a worker")
    given = parser.parse_args()

    build = bench.Build(ROOT, ROOT / "build" / "release")
    found = candidates(given.units, build)
    if not found:
        raise SystemExit("no such unit")
    print(f"seed {given.seed}: {sum(map(len, found))} plants in {len(found)} lines")
    benches, failures = [], queue.SimpleQueue()
    processors = sorted(os.sched_getaffinity(0))
    try:
        for number, prefix in enumerate(given.prefix):
            folder = ROOT / "build" / "mutate" / str(number)
            benches.append(bench.Bench(build, folder, prefix, processors[number % len(processors)]))
        reached = {floor_of(line[0][0].path) for line in found}
        programs = {name for floor in reached for name in bench.PROGRAMS[floor]}
        benches[0].measure(sorted(programs))
        drawn = again(found, given.again) if given.again else draw(found, given.seed)
        work = Work(drawn, given.sample)

        def guarded(own):
            try:
                work_off(work, own)
            except BaseException as failure:  # told by the main thread
                failures.put(failure)

        for own in benches:
            own.limits = benches[0].limits
        workers = [threading.Thread(target=guarded, args=(own,)) for own in benches]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        if not failures.empty():
            raise failures.get()
    finally:
        for own in benches:
            own.close()

    table("floor", floor_of, work.results)
    table("unit", lambda path: Path(path).stem, work.results)
    for reason, count in work.discarded.items():
        print(f"\ndrawn anew, {reason}: {count}")
    hung = sum(outcome == "hung" for *_, outcome in work.results)
    survived = sum(outcome == "survived" for *_, outcome in work.results)
    print(f"ended by the time limit, among the killed: {hung}")
    print(f"{len(work.results) - survived} killed, {survived} survived")


if __name__ == "__main__":
    main()
