#!/usr/bin/env python3
"""Puts small faults into a copy of the sources and reports whether a test fails with each. Called by scripts/test.

The faults are in tests/mutations/<label>.txt, where the label names the tests that have to notice. All faults are
built into the program at once, each behind a switch. The environment variable KAVO_FAULT turns one on, so nothing
is built between two runs.

A faulty program may do anything to files. So the tests run in a sandbox (bwrap), where they can write only to
their own scratch folder.
"""

import argparse
import collections
import concurrent.futures
import contextlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
WORK = SOURCE / "build" / "mutate"
COPY = WORK / "source"
BUILD = WORK / "build"
LISTS = SOURCE / "tests" / "mutations"
NOT_COPIED = {"build", ".git"}
# The percentage of faults that the tests have to notice.
GOAL = 95

SWITCH = """#include <cstdlib>
namespace {
bool kavoFault(int number)
{
    static const char *const on = std::getenv("KAVO_FAULT");
    return on && std::atoi(on) == number;
}
}
#line 1
"""

Test = collections.namedtuple("Test", "name command environment limit labels")
Span = collections.namedtuple("Span", "begin end number old new")


class Fault:
    """One entry of a list: the fault and its place."""

    def __init__(self, number, label, file, title, text, tests):
        self.number = number
        self.label = label
        self.file = file
        self.title = title
        self.text = text
        self.tests = tests

    def name(self):
        return f"{self.file}: {self.title}"

    def span(self, content):
        """The position of the fault in the content of its file; line breaks and indentation do not matter."""
        parts = self.text.split("@")
        if len(parts) != 3 or " =>" not in parts[1]:
            raise ValueError("has no part of the form @old => new@")
        old, new = re.split(r"\s=>(?:\s|$)", parts[1], maxsplit=1)
        pattern = "".join(
            f"({spaced(part)})" for part in (parts[0], old, parts[2]))
        found = list(re.finditer(pattern, content))
        if len(found) != 1:
            raise ValueError(f"matches {len(found)} times instead of once")
        begin, end = found[0].span(2)
        # Surrounding space stays outside of the switch.
        while content[begin].isspace():
            begin += 1
        while content[end - 1].isspace():
            end -= 1
        return Span(begin, end, self.number, content[begin:end], new.strip())


def spaced(text):
    """A pattern for the text in which each space matches any amount of space."""
    return r"\s+".join(re.escape(part) for part in re.split(r"\s+", text))


def read_lists(labels):
    faults = []
    for path in sorted(LISTS.glob("*.txt")):
        if not labels or path.stem in labels:
            faults += read_list(path, len(faults))
    return faults


def read_list(path, count):
    faults = []
    file, tests, title = None, [], None
    for number, line in enumerate(path.read_text().splitlines() + [""], 1):
        if line.startswith("#"):
            continue
        if line.startswith("["):
            file, rest = line[1:].split("]")
            tests = rest.split()
        elif line.startswith("    ") and title:
            text += "\n" + line
        elif line and not line.startswith(" "):
            title, text = line.strip(), ""
        elif not line.strip():
            if title:
                if not text or not file:
                    sys.exit(f"error: {path}:{number}: a fault needs a file and a text")
                faults.append(Fault(count + len(faults) + 1, path.stem, file, title, text.strip(), tests))
            title = None
    return faults


def switched(span):
    """Code that chooses between the old and the new text."""
    if span.old.endswith((";", "}")):
        return f"if (kavoFault({span.number})) {{ {span.new} }} else {{ {span.old} }}"
    return f"(kavoFault({span.number}) ? ({span.new}) : ({span.old}))"


def with_faults(content, spans):
    """Applies all faults of a file, inner ones before outer ones."""
    spans = sorted(spans, key=lambda span: span.end - span.begin)
    while spans:
        span = spans.pop(0)
        text = switched(span._replace(old=content[span.begin:span.end]))
        content = content[:span.begin] + text + content[span.end:]
        growth = len(text) - (span.end - span.begin)
        moved = []
        for other in spans:
            if other.begin >= span.end:
                other = other._replace(begin=other.begin + growth, end=other.end + growth)
            elif other.begin <= span.begin and other.end >= span.end:
                other = other._replace(end=other.end + growth)
            elif other.end > span.begin:
                raise ValueError(f"faults {span.number} and {other.number} overlap")
            moved.append(other)
        spans = moved
    return SWITCH + content


def source_files():
    for folder, folders, names in os.walk(SOURCE):
        folders[:] = [name for name in folders if name not in NOT_COPIED]
        for name in names:
            yield Path(folder, name).relative_to(SOURCE)


def make_copy(faults):
    """Updates the copy; unchanged files keep their time, so they are not built again."""
    by_file = collections.defaultdict(list)
    for fault in faults:
        by_file[fault.file].append(fault)
    stale = []
    present = set()
    for path in source_files():
        present.add(path)
        content = (SOURCE / path).read_bytes()
        mutated = [] if path.parts[0] == "tests" else by_file.pop(path.name, [])
        spans = []
        for fault in mutated:
            try:
                spans.append(fault.span(content.decode()))
            except ValueError as reason:
                stale.append(f"{fault.label}.txt: {fault.name()}: {reason}")
        if spans:
            content = with_faults(content.decode(), spans).encode()
        write_if_changed(COPY / path, content, SOURCE / path)
    for file in by_file:
        stale.append(f"{file}: there is no such file")
    if stale:
        sys.exit("error: these faults do not match the sources any more:\n" + "\n".join(stale))
    remove_others(present)
    # The tests look for their web server here.
    link = COPY / "build" / "tools"
    link.parent.mkdir(exist_ok=True)
    if not link.is_symlink():
        link.symlink_to(SOURCE / "build" / "tools")


def write_if_changed(path, content, model):
    if model.is_symlink() or (path.is_file() and path.read_bytes() == content):
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    shutil.copymode(model, path)


def remove_others(present):
    for folder, folders, names in os.walk(COPY):
        folders[:] = [name for name in folders if name not in NOT_COPIED]
        for name in names:
            path = Path(folder, name)
            if path.relative_to(COPY) not in present:
                path.unlink()


def build(labels):
    say("Building the copy in build/mutate")
    launcher = [] if shutil.which("ccache") else ["-DCMAKE_CXX_COMPILER_LAUNCHER="]
    run_step(["cmake", "-S", COPY, "-B", BUILD, "--preset", "dev", "-DKAVO_WARNINGS_AS_ERRORS=OFF",
              "-DCMAKE_CXX_FLAGS=-w", "-DCMAKE_CXX_FLAGS_DEBUG=", *launcher], cwd=COPY)
    run_step(["cmake", "--build", BUILD, "--target", *(f"tests/{label}/all" for label in labels)])


def run_step(command, cwd=None):
    with open(WORK / "build.log", "w") as log:
        done = subprocess.run(command, cwd=cwd, stdout=log, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        lines = (WORK / "build.log").read_text().splitlines()
        sys.exit("\n".join(line for line in lines if "error" in line) +
                 f"\nerror: see {WORK}/build.log")


def all_tests(labels):
    listing = subprocess.run(["ctest", "--show-only=json-v1"], cwd=BUILD, check=True,
                             stdout=subprocess.PIPE).stdout
    tests = {}
    for entry in json.loads(listing)["tests"]:
        properties = {each["name"]: each["value"] for each in entry.get("properties", [])}
        environment = dict(each.split("=", 1) for each in properties.get("ENVIRONMENT", []))
        command = entry.get("command")
        if command and labels & set(properties.get("LABELS", [])) and os.path.exists(command[0]):
            tests[entry["name"]] = Test(entry["name"], command, environment,
                                        properties.get("TIMEOUT", 120), properties["LABELS"])
    return tests


class Runner:
    """Runs tests in the sandbox and remembers their duration without a fault."""

    def __init__(self):
        self.memory = WORK / "times.json"
        self.times = json.loads(self.memory.read_text()) if self.memory.exists() else {}
        self.unusable = {}
        self.lock = threading.Lock()
        self.locks = collections.defaultdict(threading.Lock)

    def run(self, test, fault, functions=(), limit=None):
        """Returns the first failure, or None. A failure is the name of a test function or another event."""
        scratch = tempfile.mkdtemp(prefix="run-", dir=WORK)
        os.chmod(scratch, 0o1777)
        # Some tests write a file into the folder of their program.
        program = Path(scratch, "bin", Path(test.command[0]).name)
        program.parent.mkdir()
        shutil.copy(test.command[0], program)
        arguments = [Path("/tmp", *program.parts[-2:]), *test.command[1:]]
        command = ["bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc",
                   "--bind", scratch, "/tmp", "--unshare-pid", "--die-with-parent",
                   "--new-session", *capabilities(), *arguments, *functions]
        environment = {**os.environ, **test.environment, "TMPDIR": "/tmp"}
        if fault:
            environment["KAVO_FAULT"] = str(fault)
        try:
            return self.watch(command, environment, limit or test.limit)
        finally:
            remove_tree(scratch)

    @staticmethod
    def watch(command, environment, limit):
        process = subprocess.Popen(command, env=environment, cwd="/tmp", stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        late = threading.Event()

        def end():
            late.set()
            kill(process)

        timer = threading.Timer(limit, end)
        timer.start()
        failure = None
        last = b""
        for line in process.stdout:
            last = line if line.strip() else last
            # The first failure is enough; the rest of the test might wait for an event that never comes.
            found = re.match(rb"FAIL! *: [\w:]*?(\w+)\((.*?)\)", line)
            if found:
                failure = found.group(1).decode()
                kill(process)
                break
        process.stdout.close()
        process.wait()
        timer.cancel()
        if failure or process.returncode == 0:
            return failure
        return "no end" if late.is_set() else f"status {process.returncode}"

    def prove(self, test):
        """Returns the duration of the test without a fault in seconds, or None if it fails without one."""
        executable = Path(test.command[0])
        stamp = str(executable.stat().st_mtime_ns)
        with self.locks[test.name]:
            known = self.times.get(test.name)
            if known and known[0] == stamp:
                return known[1]
            if test.name in self.unusable:
                return None
            begin = time.monotonic()
            for attempt in range(2):
                failure = self.run(test, 0)
                if not failure:
                    break
            took = time.monotonic() - begin
            with self.lock:
                if failure:
                    self.unusable[test.name] = failure
                    return None
                self.times[test.name] = [stamp, took]
                self.memory.write_text(json.dumps(self.times))
            return took

    def expected(self, test):
        known = self.times.get(test.name)
        return known[1] if known else 1

    def death(self, test, fault):
        """The failure of the test with the fault, or None."""
        took = self.prove(test)
        if took is None:
            return None
        limit = 20 + 6 * took
        failure = self.run(test, fault.number, limit=limit)
        if not failure or failure == "no end" or failure.startswith("status"):
            return failure
        # The first failure may come from a busy machine. If it does not return in its function alone, it may need the
        # functions before it, or another function fails as well.
        if self.run(test, fault.number, (failure,), limit):
            return failure
        return self.run(test, fault.number, limit=limit)


def capabilities():
    return ["--cap-add", "ALL"] if os.geteuid() == 0 else []


def kill(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def remove_tree(path):
    """Removes a folder, although a test took rights away in it or a process that is just being killed still uses it."""
    def unlock(_, name, __):
        # Never the folder around the removed one, which is not ours.
        for each in {os.path.dirname(name), name} - {os.path.dirname(path)}:
            with contextlib.suppress(OSError):
                if not os.path.islink(each):
                    os.chmod(each, 0o700)

    for _ in range(5):
        shutil.rmtree(path, onerror=unlock)
        if not os.path.exists(path):
            return
        time.sleep(0.2)


def in_order(fault, tests, runner, deaths):
    """The tests of the fault's label; those most likely to notice it come first."""
    likely = [deaths.get(fault.name()), Path(fault.file).stem + "Test", *fault.tests]
    first = [tests[name] for name in dict.fromkeys(likely) if name in tests]
    rest = [test for test in tests.values() if fault.label in test.labels and test not in first]
    return first + sorted(rest, key=runner.expected)


def examine(fault, tests, runner, deaths):
    """The test that notices the fault, and its failure, or None."""
    for test in in_order(fault, tests, runner, deaths):
        death = runner.death(test, fault)
        if death:
            return test.name, death
    return None


def say(text):
    print("==>", text, flush=True)


def select(faults, only):
    chosen = [fault for fault in faults
              if not only or re.search(only, fault.name(), re.IGNORECASE)]
    if not chosen:
        sys.exit("error: no fault has such a name")
    return chosen


def examine_all(chosen, tests, runner):
    memory = WORK / "deaths.json"
    deaths = json.loads(memory.read_text()) if memory.exists() else {}
    lived = []

    def one(fault):
        begin = time.monotonic()
        return fault, examine(fault, tests, runner, deaths), time.monotonic() - begin

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for fault, death, took in pool.map(one, chosen):
            if death:
                deaths[fault.name()] = death[0]
                memory.write_text(json.dumps(deaths))
                print(f"died   {took:5.1f} s  {fault.name()} ({death[0]}: {death[1]})", flush=True)
            else:
                lived.append(fault)
                print(f"LIVED  {took:5.1f} s  {fault.name()}", flush=True)
    return lived


def main():
    parser = argparse.ArgumentParser(prog="scripts/test --mutate", add_help=False)
    parser.add_argument("labels", nargs="*")
    parser.add_argument("--only")
    options = parser.parse_args()
    known = {path.stem for path in LISTS.glob("*.txt")}
    unknown = set(options.labels) - known
    if unknown:
        sys.exit(f"error: no faults for {', '.join(sorted(unknown))}; there are "
                 f"{', '.join(sorted(known))}")
    WORK.mkdir(parents=True, exist_ok=True)
    # Left by a killed run.
    for path in WORK.glob("run-*"):
        remove_tree(path)
    # All faults are built in, so that a later run with other faults does not build again.
    faults = read_lists(set())
    make_copy(faults)
    chosen = select([fault for fault in faults
                     if not options.labels or fault.label in options.labels], options.only)
    labels = {fault.label for fault in chosen}
    build(sorted(labels))
    tests = all_tests(labels)
    say(f"{len(chosen)} faults, one after another")
    begin = time.monotonic()
    runner = Runner()
    lived = examine_all(chosen, tests, runner)
    for name, failure in runner.unusable.items():
        say(f"Not used, since it fails without a fault: {name} ({failure})")
    minutes = (time.monotonic() - begin) / 60
    died = len(chosen) - len(lived)
    share = 100 * died / len(chosen)
    say(f"{died} of {len(chosen)} faults died, {share:.1f} of 100, in {minutes:.1f} minutes")
    if share < GOAL:
        sys.exit(f"error: less than {GOAL} of 100")


if __name__ == "__main__":
    main()
