#!/usr/bin/env python3
"""Puts faults into copies of the library's sources, one at a time, and runs the tests on each: see mutate.sh."""

import argparse
import concurrent.futures
import pathlib
import random
import re
import resource
import shlex
import shutil
import subprocess
import sys
import tempfile

from faults import faults_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
TREE, BASE = ROOT / "build/mutate/tree", ROOT / "build/mutate/base"
SOURCES = "native_plugin/private/src"
OBJECTS = "native_plugin/CMakeFiles/velkori_utility_objects.dir/private/src"
LIBRARY, UNIT_TESTS = "native_plugin/libVelkori_Utility.so", "tests/velkori_unit_tests"
# What the library's sources spend most of their compile time with.
PRECOMPILED = "algorithm array cmath cstdint functional limits map memory numeric optional set span string vector".split()
MEMORY_LIMIT = 8 << 30
EQUIVALENT = ROOT / "scripts/mutation/equivalent.txt"


def run(command, cpu_seconds=600, cwd=BASE, library=None):
    """Whether the command succeeds within its limits. Wall-clock time would depend on what else runs."""
    # The soft limits alone: a test sets one of its own.
    limits = [(resource.RLIMIT_CORE, 0), (resource.RLIMIT_CPU, cpu_seconds)]
    limits += [(resource.RLIMIT_AS, MEMORY_LIMIT)] if library else []
    done = subprocess.run(
        command, cwd=cwd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        env={"PATH": "/usr/bin:/bin", "LD_LIBRARY_PATH": str(library or ""), "TMPDIR": str(cwd)},
        preexec_fn=lambda: [resource.setrlimit(kind, (limit, resource.RLIM_INFINITY)) for kind, limit in limits])
    return done.returncode == 0


def ninja(*arguments):
    return subprocess.run(["ninja", "-C", BASE, *arguments], check=True, capture_output=True, text=True).stdout


class Build:
    """The unchanged library and its tests, and how to make them again with a part of it changed."""

    def __init__(self):
        self.links = {target: self.link_command(target) for target in (LIBRARY, UNIT_TESTS)}
        command = shlex.split(self.command_of(f"{OBJECTS}/shared/Log.cpp.o"))
        self.compiler = [word for i, word in enumerate(command)
                         if word not in ("-c", "-o", "-MD", "-MT", "-MF") and command[i - 1] not in ("-c", "-o", "-MT", "-MF")]
        self.includes = self.read_dependencies()
        self.programs = [
            (LIBRARY, [BASE / "tests/golden/velkori_golden", TREE / "tests/golden/golden.txt", TREE / "samples"]),
            (UNIT_TESTS, [BASE / UNIT_TESTS, "--gtest_fail_fast", "--gtest_brief=1"]),
            (None, [BASE / "tests/velkori_interface_tests", "--gtest_fail_fast", "--gtest_brief=1"])]
        self.limits = []
        for level in ("-O0", "-O2"):
            header = BASE / f"precompiled{level}.h"
            header.write_text("".join(f"#include <{name}>\n" for name in PRECOMPILED))
            subprocess.run([*self.compiler, level, "-x", "c++-header", header, "-o", f"{header}.pch"], cwd=BASE, check=True)

    @staticmethod
    def command_of(target):
        return ninja("-t", "commands", "-s", target).splitlines()[-1]

    def link_command(self, target):
        link = next(part for part in self.command_of(target).split("&&") if " -o " in part)
        return shlex.split(link)

    @staticmethod
    def read_dependencies():
        """The library's sources that each of its files goes into, itself among them."""
        includes, source = {}, None
        for line in ninja("-t", "deps").splitlines():
            if not line.startswith(" "):
                found = re.match(rf"{OBJECTS}/(.*)\.o: ", line)
                source = found and found.group(1)
            elif source and f"{TREE}/{SOURCES}/" in line:
                includes.setdefault(line.split(f"/tree/{SOURCES}/")[1].strip(), []).append(source)
        return includes

    def compile(self, work, sources, level="-O0"):
        """One object of all these sources, with what `work`/src holds in front of the originals. None if it fails."""
        (work / "all.cpp").write_text("".join(
            f'#include "{work / "src" / s if (work / "src" / s).exists() else TREE / SOURCES / s}"\n' for s in sources))
        isDone = run([self.compiler[0], f"-I{work}/src", *self.compiler[1:], level, "-include-pch", BASE / f"precompiled{level}.h.pch",
                      "-w", "-c", "all.cpp", "-o", "all.o"], cwd=work)
        return (work / "all.o").read_bytes() if isDone else None

    def link(self, target, work, sources):
        replaced = {f"{OBJECTS}/{source}.o" for source in sources}
        command = [word for word in self.links[target] if word not in replaced]
        command.insert(command.index("-o"), str(work / "all.o"))
        output = work / pathlib.Path(command[command.index("-o") + 1]).name
        command[command.index("-o") + 1] = str(output)
        return output if run(command) else None

    def check(self):
        """Runs the programs on the unchanged library, and takes their time."""
        for _, command in self.programs:
            begin = resource.getrusage(resource.RUSAGE_CHILDREN)
            if not run(command, library=BASE / "native_plugin"):
                sys.exit(f"{command[0].name} fails without any fault.")
            end = resource.getrusage(resource.RUSAGE_CHILDREN)
            self.limits.append(5 + int(5 * (end.ru_utime + end.ru_stime - begin.ru_utime - begin.ru_stime)))

    def killer(self, work, sources):
        """Which program notices what is in work/all.o; none if all pass, and '' if it can't be linked."""
        for (target, command), limit in zip(self.programs, self.limits):
            output = target and self.link(target, work, sources)
            if target and not output:
                return ""
            if target == UNIT_TESTS:
                command = [output, *command[1:]]
            if not run(command, limit, cwd=work, library=work):
                return pathlib.Path(command[0]).name
        return None


def line_of(text, fault):
    return text.count("\n", 0, fault.start) + 1


def change_of(text, fault):
    """The fault as one line; the same wherever it stands."""
    return " ".join(f"{text[fault.start:fault.end]} -> {fault.replacement}".split())


class FileRun:
    """The faults of one file, and what became of them."""

    def __init__(self, build, path, equivalent):
        self.build, self.path, self.equivalent = build, path, equivalent
        self.text = (TREE / SOURCES / path).read_text()
        self.sources = build.includes.get(path, [])
        self.killed, self.survivors = {}, []
        self.work = pathlib.Path(tempfile.mkdtemp(dir=ROOT / "build/mutate", prefix="work-"))

    def put(self, text):
        target = self.work / "src" / self.path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text)

    def object_with(self, fault, level="-O0"):
        self.put(self.text[:fault.start] + fault.replacement + self.text[fault.end:] if fault else self.text)
        return self.build.compile(self.work, self.sources, level)

    def is_equivalent(self, fault):
        """As a reviewer found, or where optimising leaves nothing of the difference."""
        line = " ".join(self.text.splitlines()[line_of(self.text, fault) - 1].split())
        return (self.path, line, change_of(self.text, fault)) in self.equivalent or (
            self.object_with(fault, "-O2") == self.object_with(None, "-O2"))

    def try_out(self, fault, original):
        """False if the fault doesn't count."""
        changed = self.object_with(fault)
        killer = "" if changed in (None, original) else self.build.killer(self.work, self.sources)
        if killer == "" or (killer is None and self.is_equivalent(fault)):
            return False
        if killer:
            self.killed[killer] = self.killed.get(killer, 0) + 1
        else:
            self.survivors.append(fault)
            print(f"{SOURCES}/{self.path}:{line_of(self.text, fault)}: {change_of(self.text, fault)}", flush=True)
        return True

    def run(self, sample, seed, replacement):
        try:
            if not self.sources:
                return self
            faults = faults_of(self.text)
            random.Random(f"{seed} {self.path}").shuffle(faults)
            if replacement:
                at = self.text.index(replacement[0])
                faults = [type(faults[0])(at, at + len(replacement[0]), replacement[1])]
            original, count = self.object_with(None), 0
            for fault in faults:
                count += self.try_out(fault, original)
                if count == sample:
                    break
            print(f"{self.path}: {sum(self.killed.values())} of {count} killed", file=sys.stderr, flush=True)
            return self
        finally:
            shutil.rmtree(self.work)


def read_equivalent():
    lines = EQUIVALENT.read_text().splitlines() if EQUIVALENT.exists() else []
    return {tuple(part.strip() for part in line.split(" | ")[:3]) for line in lines if line and line[0] != "#"}


def room_of(path):
    parts = path.split("/")[:-1]
    return "/".join(parts)


def main():
    parser = argparse.ArgumentParser(prog="mutate.sh", description="Puts small faults into the library, one at a time, "
                                     "and tells which of them no test notices.")
    parser.add_argument("files", nargs="*", metavar="FILE", help="below native_plugin/private/src; all if none is named")
    parser.add_argument("--rooms", nargs="+", default=[""], help="only files of these folders and what is in them")
    parser.add_argument("--sample", type=int, default=0, help="so many faults of each file instead of all")
    parser.add_argument("--seed", default="1", help="for another sample")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--replace", nargs=2, metavar=("OLD", "NEW"), help="one fault of your own instead, in one FILE")
    options = parser.parse_args()

    build = Build()
    build.check()
    named = [str(pathlib.Path(file).resolve().relative_to(ROOT / SOURCES)) for file in options.files]
    paths = named or [path for room in options.rooms for path in sorted(build.includes)
                      if path.startswith(room and room.rstrip("/") + "/")]
    equivalent = read_equivalent()
    runs = []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for done in pool.map(lambda path: FileRun(build, path, equivalent).run(options.sample, options.seed,
                                                                              options.replace), paths):
            runs.append(done)

    print_rates("file", [(done.path, done) for done in runs])
    print_rates("room", [(room_of(done.path), done) for done in runs])
    return 0


def print_rates(title, rows):
    totals, killers = {}, {}
    for name, done in rows:
        killed, count = totals.get(name, (0, 0))
        new = sum(done.killed.values())
        totals[name] = (killed + new, count + new + len(done.survivors))
        for killer, times in done.killed.items():
            killers.setdefault(name, {})[killer] = killers.get(name, {}).get(killer, 0) + times
    print(f"\n{'killed':>7} {'of':>5} {'rate':>6}  {title}")
    for name, (killed, count) in totals.items():
        if count > 0:
            by = ", ".join(f"{killer.removeprefix('velkori_')} {times}" for killer, times in killers.get(name, {}).items())
            print(f"{killed:7} {count:5} {100 * killed / count:5.1f}%  {name} ({by})")


if __name__ == "__main__":
    sys.exit(main())
