"""Runs the tests of a build folder and remembers which of them passed. Called by scripts/test.

A test that passed is left out until one of its inputs changes, unless --all is given. The inputs of a test
executable are the executable itself, its arguments and environment, and all files and folders of the project
that its read-only data names; if it names another executable, the inputs of that one count as well. A test of
another kind, such as a script, has its command and the files of its property REQUIRED_FILES as its inputs; without
that property, all files of the project. The packages of the system, the translations, which a program looks for in
its own folder, and variables that begin with KAVO_ are inputs of every test. A test whose executable names the
build folder itself is never left out.
"""

import argparse
import hashlib
import json
import os
import re
import selectors
import signal
import struct
import subprocess
import sys
import time
from pathlib import Path

QUIET_LIMIT = 25  # seconds
TOGETHER = 2  # tests at the same time for each processor, because many of them mostly wait
SYSTEM_PACKAGES = Path("/var/lib/dpkg/status")
# Folders of the project without sources.
PASSED_OVER = re.compile(r"build(-.*)?|\.git")
FINISHED = re.compile(r"\s*\d+/\d+ Test\s+#\d+: (\S+) [. *]*(\w.*?) +([\d.]+) sec")
STARTED = re.compile(r"\s*Start\s+\d+: (\S+)")


class Unknown(Exception):
    """The inputs of a test are unknown."""


class Inputs:
    """Describes the state of a test's inputs in one text, which changes when any of them changes."""

    def __init__(self, source, build, known_files):
        self.source = source
        self.build = build
        self.known_files = known_files
        self.texts = {}
        self.tree = None
        self.common = [self.file(path) for path in sorted(build.rglob("*.qm"))]
        if SYSTEM_PACKAGES.exists():
            self.common.append(self.file(SYSTEM_PACKAGES))

    def of_test(self, test):
        command = test["command"]
        environment = property_of(test, "ENVIRONMENT")
        required = property_of(test, "REQUIRED_FILES")
        found = {}
        program = Path(command[0])
        if self.is_ours(program) and is_executable(program):
            self.add(program, found)
        elif required:
            for path in (program, *map(Path, required)):
                self.add(path, found)
        else:
            found["all"] = self.whole_tree()
        for text in command[1:] + environment:
            for path in self.paths_in(os.fsencode(text)):
                self.add(path, found)
        wishes = sorted(f"{name}={value}" for name, value in os.environ.items() if name.startswith("KAVO_"))
        parts = command + sorted(environment) + wishes + self.common
        parts += [f"{name} {found[name]}" for name in sorted(found)]
        return hashlib.sha256("\n".join(parts).encode(errors="surrogateescape")).hexdigest()

    def is_ours(self, path):
        return self.build in path.parents

    def add(self, path, found):
        """Adds the path to what was found; for an executable, also the paths that it names."""
        if str(path) in found:
            return
        if path == self.source:
            found[str(path)] = self.whole_tree()
        elif path in self.build.parents or path == self.build:
            raise Unknown(f"it names {path}")
        elif path.is_dir():
            found[str(path)] = self.folder(path)
        else:
            found[str(path)] = self.file(path)
            if self.is_ours(path) and is_executable(path):
                for other in self.named_by(path):
                    self.add(other, found)

    def file(self, path):
        """The checksum of a file, which is read again only if its time, size, mode or inode has changed."""
        try:
            state = path.stat()
        except OSError:
            return "none"
        if not path.is_file():
            return "no file"
        mark = [state.st_mtime_ns, state.st_ctime_ns, state.st_size, state.st_ino, state.st_mode]
        known = self.known_files.get(str(path))
        if not known or known["mark"] != mark:
            with path.open("rb") as file:
                known = {"mark": mark, "sum": hashlib.file_digest(file, "sha256").hexdigest()}
            self.known_files[str(path)] = known
        return f"{known['sum']} {state.st_mode}"

    def folder(self, path):
        lines = []
        for folder, names, files in os.walk(path):
            if Path(folder) == self.source:
                names[:] = [name for name in names if not PASSED_OVER.fullmatch(name)]
            names.sort()
            for name in sorted(files):
                lines.append(f"{folder}/{name} {self.file(Path(folder, name))}")
        return hashlib.sha256("\n".join(lines).encode(errors="surrogateescape")).hexdigest()

    def whole_tree(self):
        if self.tree is None:
            self.tree = self.folder(self.source)
        return self.tree

    def named_by(self, executable):
        """The files and folders of the project whose paths are compiled into the executable."""
        self.file(executable)
        known = self.known_files[str(executable)]
        if "names" not in known:
            texts = set()
            for data in loaded_sections(executable):
                texts.update(str(path) for path in self.paths_in(data))
            known["names"] = sorted(texts)
        return [Path(text) for text in known["names"]]

    def paths_in(self, data):
        """The existing paths in the project's folder that the data contains, in UTF-8 or UTF-16."""
        paths = set()
        root = str(self.source)
        for encoding, end in (("utf-8", rb"(?:[^\0\n])*"), ("utf-16-le", rb"(?:(?!\0\0|\n\0)..)*")):
            for match in re.finditer(re.escape(root.encode(encoding)) + end, data, re.DOTALL):
                path = self.existing(match.group().decode(encoding, errors="replace"))
                if path:
                    paths.add(path)
        return paths

    def existing(self, text):
        """The path at the start of the text; if it does not exist, its nearest existing parent."""
        rest = text[len(str(self.source)):]
        if rest and rest[0] not in "/:;,\"'% ":
            return None  # the name of another folder begins with that of the project's
        for candidate in (rest, re.split("[:;,\"'\n]", rest, maxsplit=1)[0]):
            path = Path(os.path.normpath(str(self.source) + candidate))
            if path.exists():
                return path
        while not path.exists():
            path = path.parent
        return path


def property_of(test, name):
    """The texts of a property of ctest, a list."""
    return [text for item in test.get("properties", []) if item["name"] == name for text in item["value"]]


def is_executable(path):
    try:
        with path.open("rb") as file:
            return file.read(4) == b"\x7fELF"
    except OSError:
        return False


def loaded_sections(path):
    """The sections of an executable that are loaded into memory, so without debugging information."""
    data = path.read_bytes()
    if data[4:6] != b"\x02\x01":
        raise Unknown(f"{path} is not of 64 bits")
    offset, = struct.unpack_from("<Q", data, 0x28)
    size, count = struct.unpack_from("<HH", data, 0x3A)
    for number in range(count):
        kind, flags, _, begin, length = struct.unpack_from("<IQQQQ", data, offset + number * size + 4)
        if flags & 2 and kind != 8:  # in memory, and in the file
            yield data[begin:begin + length]


class Memory:
    """The tests that passed, their durations, and checksums of files, in one file of the build folder."""

    def __init__(self, path):
        self.path = path
        self.content = {"passed": {}, "seconds": {}, "files": {}}
        try:
            self.content.update(json.loads(path.read_text()))
        except (OSError, ValueError):
            pass

    def save(self):
        part = self.path.with_suffix(".part")
        part.write_text(json.dumps(self.content))
        part.replace(self.path)


def say(text):
    print(f"==> {text}", flush=True)


def duration(seconds):
    return f"{seconds:.0f} seconds" if seconds < 100 else f"{seconds / 60:.0f} minutes"


def keys_of(tests, inputs):
    """The state of each test's inputs, or None if they are unknown."""
    keys = {}
    for test in tests:
        try:
            keys[test["name"]] = inputs.of_test(test)
        except (Unknown, OSError):
            keys[test["name"]] = None
    return keys


def run(build, names, jobs, arguments, on_end):
    """Runs ctest on these tests, shows its output, and calls on_end(name, result, seconds)."""
    selection = "^(" + "|".join(map(re.escape, names)) + ")$"
    process = subprocess.Popen(
        ["ctest", "--test-dir", str(build), "--output-on-failure", "--no-label-summary", "-j", str(jobs),
         *arguments, "-R", selection],
        stdout=subprocess.PIPE)
    selector = selectors.DefaultSelector()
    selector.register(process.stdout, selectors.EVENT_READ)
    running = {}
    done = 0
    rest = b""
    while True:
        if not selector.select(timeout=QUIET_LIMIT):
            say(f"{done} of {len(names)} tests are done; running: "
                + ", ".join(f"{name} for {duration(time.time() - begin)}" for name, begin in running.items()))
            continue
        data = os.read(process.stdout.fileno(), 65536)
        if not data:
            return process.wait()
        sys.stdout.buffer.write(data)
        sys.stdout.flush()
        *lines, rest = (rest + data).split(b"\n")
        for line in lines:
            text = line.decode(errors="replace")
            if match := STARTED.match(text):
                running[match[1]] = time.time()
            elif match := FINISHED.match(text):
                done += 1
                running.pop(match[1], None)
                on_end(match[1], match[2], float(match[3]))


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--all", action="store_true", help="also run the tests that passed before")
    parser.add_argument("build", type=Path, help="a configured and built folder")
    parser.add_argument("ctest", nargs="*", help="arguments for ctest, after --")
    return parser.parse_args()


def folders_of(build):
    """The folders of the project and of the build as CMake spells them, and thus as executables contain them."""
    cache = (build / "CMakeCache.txt").read_text()
    return (Path(re.search(f"^{name}:INTERNAL=(.*)$", cache, re.MULTILINE)[1])
            for name in ("CMAKE_HOME_DIRECTORY", "CMAKE_CACHEFILE_DIR"))


def main():
    options = parse_arguments()
    source, build = folders_of(options.build)
    listing = subprocess.run(["ctest", "--test-dir", str(build), "--show-only=json-v1", *options.ctest],
                             check=True, stdout=subprocess.PIPE)
    tests = [test for test in json.loads(listing.stdout)["tests"] if "command" in test]
    memory = Memory(build / "remembered-tests.json")
    passed, seconds = memory.content["passed"], memory.content["seconds"]
    say(f"Looking for changes since {len(passed)} of {len(tests)} tests passed")
    before = keys_of(tests, Inputs(source, build, memory.content["files"]))
    names = [test["name"] for test in tests]
    due = [name for name in names if options.all or before[name] is None or passed.get(name) != before[name]]
    if len(due) < len(names):
        say(f"{len(names) - len(due)} of {len(names)} tests are left out, because none of their inputs has changed. "
            "scripts/test --all runs them, too")
    if not due:
        memory.save()
        return 0
    jobs = TOGETHER * len(os.sched_getaffinity(0))
    known = [seconds[name] for name in due if name in seconds]
    if len(known) == len(due):
        say(f"{len(due)} tests, which take about {duration(max(sum(known) / jobs, *known, 1))}")
    else:
        say(f"{len(due)} tests, {len(due) - len(known)} of them for the first time")

    ended_well = []

    def note(name, result, time_taken):
        passed.pop(name, None)
        if result == "Passed":
            ended_well.append(name)
            seconds[name] = time_taken

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        return run(build, due, jobs, options.ctest, note)
    finally:
        # A test whose inputs changed during the run is run again next time.
        chosen = [test for test in tests if test["name"] in ended_well]
        after = keys_of(chosen, Inputs(source, build, memory.content["files"]))
        passed.update({name: after[name] for name in ended_well if after[name] and after[name] == before[name]})
        memory.save()


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
