#!/usr/bin/env python3
"""Puts small faults into a copy of the sources and tells whether a test dies of each.

The faults stand in tests/mutations/<label>.txt, where the label names the tests that have to notice.
All of them are built into one program at once. Each is behind a switch, which the environment
variable KAVO_FAULT turns on, so that nothing is built between two runs.

Tests with a fault may do anything to files: they run in a sandbox (bwrap), where nothing can be
written but a scratch folder of their own.
"""

import argparse
import collections
import concurrent.futures
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
# The share of faults that tests have to notice, in percent.
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
    """One line of a list: what goes wrong, and where."""

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
        """Where the fault is in the content of its file. Line breaks and indents do not matter."""
        parts = self.text.split("@")
        if len(parts) != 3 or " =>" not in parts[1]:
            raise ValueError("has no place of the form @old => new@")
        old, new = re.split(r"\s=>(?:\s|$)", parts[1], maxsplit=1)
        pattern = "".join(
            f"({spaced(part)})" for part in (parts[0], old, parts[2]))
        found = list(re.finditer(pattern, content))
        if len(found) != 1:
            raise ValueError(f"is {len(found)} times in the sources, not once")
        begin, end = found[0].span(2)
        # What surrounds the old text stays outside of the switch.
        while content[begin].isspace():
            begin += 1
        while content[end - 1].isspace():
            end -= 1
        return Span(begin, end, self.number, content[begin:end], new.strip())


def spaced(text):
    """A pattern for the text with any space where it has some."""
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
    """The text with which the old and the new text can be chosen between."""
    if span.old.endswith((";", "}")):
        return f"if (kavoFault({span.number})) {{ {span.new} }} else {{ {span.old} }}"
    return f"(kavoFault({span.number}) ? ({span.new}) : ({span.old}))"


def with_faults(content, spans):
    """Applies all faults of a file; one that lies within another is applied first."""
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
    """Brings the copy up to date; files that stay the same keep their time and are not built anew."""
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
        sys.exit("error: these faults are not in the sources any more:\n" + "\n".join(stale))
    remove_others(present)
    # Where the tests find their web server.
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
    """Runs tests in the sandbox and remembers what they take without a fault."""

    def __init__(self):
        self.memory = WORK / "times.json"
        self.times = json.loads(self.memory.read_text()) if self.memory.exists() else {}
        self.unusable = {}
        self.lock = threading.Lock()
        self.locks = collections.defaultdict(threading.Lock)

    def run(self, test, fault, functions=(), limit=None):
        """Returns the first failure, or None: the name of a test function, or what else happened."""
        scratch = tempfile.mkdtemp(prefix="run-", dir=WORK)
        os.chmod(scratch, 0o1777)
        # Some tests put a file beside their program.
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
            # The first failure is enough; the rest of the test may wait for what never comes.
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
        """Sees that the test passes without a fault. Returns how long it takes, in seconds, or None."""
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
        """What the test dies of with the fault, or None."""
        took = self.prove(test)
        if took is None:
            return None
        limit = 20 + 6 * took
        failure = self.run(test, fault.number, limit=limit)
        if not failure or failure == "no end" or failure.startswith("status"):
            return failure
        # Once more: a busy machine may have failed it.
        return self.run(test, fault.number, (failure,), limit) and failure


def capabilities():
    return ["--cap-add", "ALL"] if os.geteuid() == 0 else []


def kill(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def remove_tree(path):
    def unlock(function, name, _):
        os.chmod(os.path.dirname(name), 0o700)
        if os.path.exists(name) and not os.path.islink(name):
            os.chmod(name, 0o700)
        function(name)

    for _ in range(5):
        try:
            shutil.rmtree(path, onerror=unlock)
            return
        except OSError:
            time.sleep(0.2)


def in_order(fault, tests, runner, deaths):
    """The tests of the fault's label, first those that are most likely to notice it."""
    likely = [deaths.get(fault.name()), Path(fault.file).stem + "Test", *fault.tests]
    first = [tests[name] for name in dict.fromkeys(likely) if name in tests]
    rest = [test for test in tests.values() if fault.label in test.labels and test not in first]
    return first + sorted(rest, key=runner.expected)


def examine(fault, tests, runner, deaths):
    """The test that dies of the fault and how, or None."""
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
    parser = argparse.ArgumentParser(prog="scripts/mutate", add_help=False)
    parser.add_argument("labels", nargs="*")
    parser.add_argument("--only")
    options = parser.parse_args()
    known = {path.stem for path in LISTS.glob("*.txt")}
    unknown = set(options.labels) - known
    if unknown:
        sys.exit(f"error: no faults for {', '.join(sorted(unknown))}; there are "
                 f"{', '.join(sorted(known))}")
    WORK.mkdir(parents=True, exist_ok=True)
    # Of a run that was killed.
    for path in WORK.glob("run-*"):
        remove_tree(path)
    # All faults are built in, whichever are run, so that the next run need not build again.
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
