#!/usr/bin/env python3
"""Makes small changes in the product, one at a time, and tells which the tests notice.

    scripts/mutate.py [--seed N] [--count N] [--minutes N] [--workers N] [FILE...]

Takes lines of the product (or of the files named) by chance, and changes one thing in each: turns a
comparison, an operator or a condition, moves a constant by one, returns an empty value, leaves a
statement out. Each worker has a copy of the clone below build/mutate, where it builds the change
and runs the tests, those of the same component first, until one fails. What all of them let pass is
built with sanitizers too, for the component's tests, and as released, to count the instructions of
bench/costs.sh. A change is not counted if it does not compile, or if the programs stay the same bytes,
as built here or as released: the optimiser has proved that it changes nothing. Calls of reserve() are
left alone, since they change no result.
The last part of the output lists what was not noticed; whether such a change can be seen at all is
for a reader to judge. Ends with status 1 when fewer than nine of ten are noticed."""
import argparse
import concurrent.futures
import dataclasses
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

# Test programs of each directory, the fastest first; all others follow.
RELATED = {
    "platform": ["tsh_common_test", "bmask_test"],
    "base": ["tree_check_test", "tree_writer_test"],
    "feature/tsh/src": ["tsh_common_test"],
    "bmask": ["bmask_test"],
    "parse_tree": ["tree_check_test", "tree_writer_test", "navigation_test", "ocmd_gen_test"],
    "atnode": ["tree_handle_test", "navigation_test"],
    "param_reg": ["registry_test", "values_test"],
    "treelink": ["treelink_test", "link_model_test"],
    "cmd_gen": ["listing_test", "tree_handle_test", "ocmd_gen_test"],
    "resolve": ["resolver_test", "ocmd_find_test"],
    "tools/ocmd_link": ["treelink_test"],
    "tools/ocmd_compile": ["ocmd_compile_test"],
    "tools/ocmd_show": ["ocmd_show_test", "html_text"],
    "tools/ocmd_diff": ["ocmd_diff_test"],
    "tools/ocmd_find": ["ocmd_find_test"],
    "tools/ocmd_sample": ["ocmd_sample_test"],
    "tools/ocmd_try": ["ocmd_try"],
    "tools/support": ["ocmd_show_test", "ocmd_compile_test", "ocmd_find_test"],
}
ALL_RELATED = sorted({name for names in RELATED.values() for name in names})
COUNTED = ("noticed", "unnoticed")  # the verdicts that count
BOUND = 90  # percent
CLONE = pathlib.Path(__file__).resolve().parent.parent
COMPONENTS = [line.split()[0] for line in subprocess.run(
    [CLONE / "scripts/components.sh"], check=True, text=True,
    stdout=subprocess.PIPE).stdout.splitlines()] + ["tools"]
CONFIGURE = ["-G", "Ninja", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"]
PLAIN = "-O1 -w -D_GLIBCXX_ASSERTIONS"
SANITIZED = PLAIN + " -fsanitize=address,undefined -fno-sanitize-recover=all"
TESTED = ["-DCMAKE_BUILD_TYPE=None"]
RELEASED = ["-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=0",
            "-DTSH_BUILD_TESTS=OFF", "-DTSH_BUILD_BENCH=ON"]
# Excludes the example's tree, which the tools build: an error there is not a compiler error.
TARGETS = ["tests/all", "tools/all", "ocmd_gen"]
MEASURED = ["tools/all", "ocmd_gen", "make_tree"]
BUILD_LIMIT = 900  # seconds; a change in a header builds nearly everything
MEMORY_LIMIT = 6 << 30  # bytes, for a change that allocates without end
FILE_LIMIT = 2 << 30  # bytes, for a change that writes without end

# Mutations. Operators must be between spaces, so that template argument lists and declarations do not
# match.
SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" < ", " >= "),
         (" > ", " <= "), (" == ", " != "), (" != ", " == "), (" && ", " || "), (" || ", " && "),
         (" + ", " - "), (" - ", " + "), (" * ", " + "), (" / ", " * "), (" % ", " / "),
         (" += ", " -= "), (" -= ", " += "), (" |= ", " &= "), (" &= ", " |= "), (" & ", " | "),
         (" | ", " & "), (" << ", " >> "), (" >> ", " << "), ("++", "--"), ("--", "++"),
         ("true", "false"), ("false", "true"), ("std::min", "std::max"), ("std::max", "std::min")]
NUMBER = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F']+|\d[\d']*)(?=[uUlL]*\b)(?!\.)")
CONDITION = re.compile(r"\b(?:if|while) \(")
NEGATION = re.compile(r"(?<![\w)])!(?=[\w(])")
RETURN = re.compile(r"\breturn ([^;]+);")
STATEMENT = re.compile(r"\s*(?:break|continue|return|"
                       r"[*(]*[\w:.\->\[\]]+(?:\(| [-+|&]?= |\+\+|--).*);$")
NEVER_RUN = re.compile(r"\s*(?:#|static_assert|using |template|[A-Z_]+\()")
ROOM = re.compile(r"(?:\.|->)reserve\(")
NOT_A_STATEMENT = re.compile(r"^\s*(?:using|static_assert|const|constexpr|auto|extern|typedef)\b")
LITERAL = re.compile(r'/\*.*?\*/|//[^\n]*|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.DOTALL)


@dataclasses.dataclass(frozen=True)
class Change:
    """One line of a file, as it was and as it becomes."""
    file: str
    line: int
    before: str
    after: str


@dataclasses.dataclass
class Verdict:
    """What became of a change: noticed, unnoticed, nothing (the same programs), or no build."""
    kind: str
    by: str = ""


def without_literals(source):
    """The source with texts and comments blanked out, each character in its place."""
    return LITERAL.sub(lambda found: re.sub(r"[^\n]", "_", found.group()), source)


def closing(text, start):
    """Where the parenthesis that opens just before start is closed, or None on another line."""
    depth = 1
    for at in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[at], 0)
        if depth == 0:
            return at
    return None


def changed_lines(line, code, code_before):
    """Every small change of a line, which is its code and texts or comments."""
    def replaced(start, end, text):
        return line[:start] + text + line[end:]

    for old, new in SWAPS:
        edge = r"\b" if old[0].isalpha() else ""
        for found in re.finditer(edge + re.escape(old) + edge, code):
            yield replaced(*found.span(), new)
    for found in NUMBER.finditer(code):
        digits = found.group(1).replace("'", "")
        yield replaced(*found.span(1), str(int(digits, 16 if digits[:2] in ("0x", "0X") else
                                                8 if digits[0] == "0" else 10) + 1))
    for found in CONDITION.finditer(code):
        start, end = found.end(), closing(code, found.end())
        if end is not None and ";" not in code[start:end]:
            yield replaced(start, end, f"!({line[start:end]})")
    for found in NEGATION.finditer(code):
        yield replaced(*found.span(), "")
    for found in RETURN.finditer(code):
        if found.group(1) not in ("{}", "nullptr", "false", "0"):
            yield replaced(*found.span(1), "{}")
    begins = not code_before.strip() or code_before.endswith((";", "{", "}", ":", ")", "_", "else"))
    if (begins and STATEMENT.match(code) and not NOT_A_STATEMENT.match(code) and
            code.count("(") == code.count(")")):
        yield re.match(r"\s*", line).group() + ";"


def all_changes(files):
    """The changes of each line that has some."""
    lines = []
    for file in files:
        source = (CLONE / file).read_text(encoding="utf-8")
        codes = without_literals(source).split("\n")
        for number, (line, code) in enumerate(zip(source.split("\n"), codes), 1):
            if NEVER_RUN.match(code) or ROOM.search(code):
                continue
            before = codes[number - 2] if number > 1 else ""
            changes = [Change(file, number, line, after)
                       for after in changed_lines(line, code, before)]
            if changes:
                lines.append(changes)
    return lines


def product_files():
    tracked = subprocess.run(["git", "ls-files", *COMPONENTS], cwd=CLONE, check=True, text=True,
                             stdout=subprocess.PIPE).stdout.split()
    return [file for file in tracked if file.endswith((".cpp", ".h"))]


def limit_files():
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_LIMIT, FILE_LIMIT))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def limit_files_and_memory():
    limit_files()
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))


class Build:
    """A build of a worker's copy, with the sums of its programs and the seconds that each test took
    before anything was changed."""

    def __init__(self, folder, flags, options):
        self.folder = folder
        self.options = [f"-DCMAKE_CXX_FLAGS={flags}", *options]
        # The address sanitizer reserves more address space than any limit.
        self.limit = limit_files if "-fsanitize" in flags else limit_files_and_memory
        self.sums = {}
        self.seconds = {}

    def image_sums(self):
        """A sum of each program and library, to tell whether a change changes any."""
        files = [path for path in self.folder.rglob("*") if path.is_file() and
                 os.access(path, os.X_OK) and "CMakeFiles" not in path.parts]
        contents = {path: path.read_bytes() for path in files}
        return {path: hashlib.sha256(content).digest() for path, content in contents.items()
                if content.startswith(b"\x7fELF")}

    def is_as_before(self):
        return self.image_sums() == self.sums


class Worker:
    """A copy of the clone, its builds, and their tests."""

    def __init__(self, number):
        self.copy = CLONE / "build" / "mutate" / str(number)
        self.plain = Build(self.copy / "build", PLAIN, TESTED)
        self.sanitized = Build(self.copy / "sanitized", SANITIZED, TESTED)
        self.released = Build(self.copy / "released", "-w", RELEASED)
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="mutate-"))
        self.copy_clone()
        self.configure(self.plain)
        self.must("cmake", "--build", self.plain.folder)
        self.plain.sums = self.plain.image_sums()
        self.tests = self.find_tests()
        self.time_tests(self.plain, self.tests)
        self.configure(self.sanitized)
        self.must("cmake", "--build", self.sanitized.folder, "--target", *self.sanitized_targets())
        self.time_tests(self.sanitized, ALL_RELATED)
        self.configure(self.released)
        self.must("cmake", "--build", self.released.folder, "--target", *MEASURED)
        self.released.sums = self.released.image_sums()
        self.costs = self.copy / "costs.txt"
        with open(self.costs, "w", encoding="utf-8") as output:
            if self.run(self.counting(), BUILD_LIMIT, stdout=output) != 0:
                sys.exit("the costs cannot be counted")

    def configure(self, build):
        launcher = []
        if shutil.which("ccache") is not None:  # fast return to the unchanged objects
            launcher.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        self.must("cmake", "-S", self.copy, "-B", build.folder, *CONFIGURE, *build.options, *launcher)

    def time_tests(self, build, names):
        for name in names:
            began = time.monotonic()
            if not self.passes(build, name, BUILD_LIMIT):
                sys.exit(f"{name} fails in {build.folder} before anything is changed")
            build.seconds[name] = time.monotonic() - began

    def copy_clone(self):
        """The tracked files; what has not changed keeps its time, so that it is not built again."""
        self.copy.mkdir(parents=True, exist_ok=True)
        tracked = subprocess.run(["git", "ls-files"], cwd=CLONE, check=True, text=True,
                                 stdout=subprocess.PIPE).stdout.split("\n")
        for name in filter(None, tracked):
            source, copy = CLONE / name, self.copy / name
            if not source.exists() or (copy.exists() and copy.read_bytes() == source.read_bytes()):
                continue
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)

    def run(self, command, limit, **options):
        """The status of a command, or None when it had to be ended."""
        settings = {**os.environ, "TMPDIR": self.scratch, "CCACHE_BASEDIR": self.copy,
                    "CCACHE_NOHASHDIR": "1"}
        process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL,
                                   start_new_session=True, env=settings, **options)
        try:
            return process.wait(limit)
        except subprocess.TimeoutExpired:
            return None
        finally:
            try:  # including its child processes
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def must(self, *command):
        log = self.copy.parent / f"{self.copy.name}.log"
        with open(log, "w", encoding="utf-8") as output:
            if self.run(command, None, stdout=output, stderr=output) != 0:
                sys.exit(f"cannot prepare a build: see {log}")

    def find_tests(self):
        """Each test program, run as a whole, and each test that is none, with its command and
        folder."""
        shown = subprocess.run(["ctest", "--test-dir", self.plain.folder, "--show-only=json-v1"],
                               check=True, text=True, stdout=subprocess.PIPE).stdout
        tests = {}
        for test in json.loads(shown)["tests"]:
            command = test["command"]
            folder = next(value["value"] for value in test["properties"]
                          if value["name"] == "WORKING_DIRECTORY")
            program = pathlib.Path(command[0]).name
            if program.endswith("_test"):
                tests[program] = ([command[0], "--gtest_fail_fast", "--gtest_brief=1"], folder)
            elif test["name"] != "html_browser": # no browser runs within the limits
                tests[test["name"]] = (command, folder)
        return tests

    def related(self, file):
        """The names of the tests of a file's component."""
        return RELATED.get(file.rpartition("/")[0], [])

    def order(self, file):
        """The tests' names: those about the file's component, then the others, the quickest first."""
        first = self.related(file)
        return first + sorted(self.tests.keys() - set(first), key=self.plain.seconds.get)

    def sanitized_targets(self):
        """What the tests of components need."""
        return TARGETS[1:] + [name for name in ALL_RELATED if name.endswith("_test")]

    def passes(self, build, name, limit):
        """Whether a test passes: yes, no, or None when it takes too long."""
        command, folder = self.tests[name]
        *command, folder = [word.replace(str(self.plain.folder), str(build.folder))
                            for word in [*command, folder]]
        status = self.run(command, limit, cwd=folder, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, preexec_fn=build.limit)
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir()
        return None if status is None else status == 0

    def judge(self, change):
        """Makes a change, builds, tests, and takes it back."""
        path = self.copy / change.file
        original = path.read_text(encoding="utf-8")
        lines = original.split("\n")
        lines[change.line - 1] = change.after
        path.write_text("\n".join(lines), encoding="utf-8")
        try:
            if not self.compiles(self.plain, TARGETS):
                return Verdict("no build")
            if self.plain.is_as_before():
                return Verdict("nothing")
            by = self.first_failure(self.plain, self.order(change.file))
            if by is None and self.compiles(self.sanitized, self.sanitized_targets()):
                by = self.first_failure(self.sanitized, self.related(change.file))
                by = by and f"{by}, sanitized"
            if by is None and self.compiles(self.released, MEASURED):
                if self.released.is_as_before():
                    return Verdict("nothing")
                if self.run(self.counting(self.costs), BUILD_LIMIT, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL) != 0:
                    by = "costs"
            return Verdict("unnoticed") if by is None else Verdict("noticed", by)
        finally:
            path.write_text(original, encoding="utf-8")

    def counting(self, *kept):
        """The command that counts instructions and, with a file of costs, compares them."""
        return [self.copy / "bench/costs.sh", self.released.folder, *kept]

    def compiles(self, build, targets):
        return self.run(["cmake", "--build", build.folder, "--target", *targets], BUILD_LIMIT,
                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) == 0

    def first_failure(self, build, names):
        """What notices the change, or None."""
        for name in names:
            passed = self.passes(build, name, 3 * build.seconds[name] + 10)
            if not passed:
                return name if passed is False else f"{name}, too slow"
        return None


def show(change, verdict, file=sys.stdout):
    by = f" by {verdict.by}" if verdict.by else ""
    print(f"{change.file}:{change.line}: {verdict.kind}{by}\n    - {change.before.strip()}"
          f"\n    + {change.after.strip()}", file=file, flush=True)


class Run:
    """The changes in the order of chance, and what became of those that were made."""

    def __init__(self, arguments):
        self.count = arguments.count
        self.end = time.monotonic() + 60 * arguments.minutes
        chance = random.Random(arguments.seed)
        lines = all_changes(arguments.files or product_files())
        chance.shuffle(lines)
        self.waiting = iter([chance.choice(changes) for changes in lines])
        self.lock = threading.Lock()
        self.verdicts = []

    def next_change(self):
        with self.lock:
            counted = sum(verdict.kind in COUNTED for _, verdict in self.verdicts)
            enough = counted >= self.count or time.monotonic() > self.end
            return None if enough else next(self.waiting, None)

    def work(self, number):
        worker = None
        try:
            worker = Worker(number)
            while (change := self.next_change()) is not None:
                self.note(change, worker.judge(change))
        except BaseException:
            self.end = 0  # for the other workers as well
            raise
        finally:
            if worker is not None:
                shutil.rmtree(worker.scratch, ignore_errors=True)

    def note(self, change, verdict):
        with self.lock:
            self.verdicts.append((change, verdict))
            if verdict.kind in COUNTED:
                show(change, verdict)

    def of_kind(self, kind):
        return [(change, verdict) for change, verdict in self.verdicts if verdict.kind == kind]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seed", type=int, default=1, help="another sample (%(default)s)")
    parser.add_argument("--count", type=int, default=100, help="changes that count (%(default)s)")
    parser.add_argument("--minutes", type=float, default=60, help="at most (%(default)s)")
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="copies (%(default)s)")
    parser.add_argument("files", nargs="*", help="files of the product instead of all")
    arguments = parser.parse_args()

    run = Run(arguments)
    with concurrent.futures.ThreadPoolExecutor(arguments.workers) as pool:
        for done in [pool.submit(run.work, number) for number in range(arguments.workers)]:
            done.result()

    noticed, unnoticed = run.of_kind("noticed"), run.of_kind("unnoticed")
    print("\nnot noticed:")
    for change, verdict in sorted(unnoticed, key=lambda pair: (pair[0].file, pair[0].line)):
        show(change, verdict)
    print(f"\n{'component':16} noticed     of")
    for component in COMPONENTS:
        of_component = [verdict.kind for change, verdict in noticed + unnoticed
                   if change.file.startswith(component + "/")]
        print(f"{component:16} {of_component.count('noticed'):7} {len(of_component):6}")
    counted = len(noticed) + len(unnoticed)
    percent = 100 * len(noticed) / max(counted, 1)
    print(f"{'all':16} {len(noticed):7} {counted:6}  {percent:.1f} %, "
          f"{sum('too slow' in verdict.by for _, verdict in noticed)} by their time; not counted: "
          f"{len(run.of_kind('no build'))} without a build, "
          f"{len(run.of_kind('nothing'))} that change no program")
    return int(counted == 0 or percent < BOUND)


if __name__ == "__main__":
    sys.exit(main())
