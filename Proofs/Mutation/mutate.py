"""Run by Scripts/prove mutation in the source tree, behind a build of the preset "mutation"; `--help` there says what for."""

import argparse
import collections
import concurrent.futures
import difflib
import functools
import hashlib
import json
import os
import pathlib
import random
import re
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path.cwd()
SOURCES = ROOT / "Driver/OrvelDriver/Src"
BUILD = ROOT / "build/mutation"
WORK = BUILD / "work"
RESULTS = BUILD / "results.json"
LIST = pathlib.Path(__file__).with_name("equivalent")
DAEMON = "sbin/orvel"
OF_THE_DAEMON = "*-BoardProgram.*:Client*:*Examples*:LiveBoard.*:OnKnxIp.*"  # not what is about other programs
UNIT_TESTS = "Tests/Unit/UnitTests"
SYSTEM_TESTS = BUILD / "bin/SystemTests"

BUILD_LIMIT = 3600  # s; no change makes the compiler hang, but others may take the machine
UNIT_LIMIT = 60     # s; fifty times what the tests take
SYSTEM_LIMIT = 120  # s; five times what the shards take by themselves
SHARDS = 8          # system tests at once: most of their time is waiting
MEMORY = 4 << 30    # bytes; a mutant that floods its log ends here
FILE_SIZE = 64 << 20


# ---- The mutants of a text

class Mutant:
    def __init__(self, path, source, start, end, replacement):
        self.path = path
        self.text = source[:start] + replacement + source[end:]
        old, new = source.splitlines(), self.text.splitlines()
        changes = [line for line in difflib.unified_diff(old, new, n=0, lineterm="")][3:]
        self.diff = [line[0] + " " + code_of(line[1:]) for line in changes if line[0] in "+-" and code_of(line[1:])]
        self.line = next((i for i, (a, b) in enumerate(zip(old, new)) if a != b), len(old) - 1) + 1
        self.place = enclosing_function(mask(source).splitlines()[:self.line])

    def key(self):
        """What the mutant is the same by, from run to run and in the list of equivalent ones."""
        return (self.path.name, self.place, *self.diff)


def code_of(line):
    """The line without its comment, which may be said better one day, and without the spaces around."""
    return re.sub(r"""("(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*')|//.*|/\*.*?\*/""", lambda found: found[1] or "", line).strip()


def enclosing_function(lines):
    """Its name with its type, or nothing."""
    for line in reversed(lines):
        if line.startswith("}"):
            break
        if re.match(r"[A-Za-z~:]+.*\($|[A-Za-z].*\(.*[^;]$", line):
            return line[:line.index("(")]
    return ""


def mask(text):
    """The same text, of the same length, without what stands in comments, literals, attributes and preprocessor lines."""
    def blank(match):
        found = match.group()
        if found[0] in "\"'":
            return found[0] + "_" * (len(found) - 2) + found[0]
        return re.sub(r"[^\n]", " ", found)
    return re.sub(r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'|^[ ]*\#[^\n]*|__attribute__[^;]*""", blank, text,
                  flags=re.S | re.M)


def items(code):
    """The statements of each block, as lists of (first line, end line). Goes by the tree's format: a brace of a block is
    alone in its line, and what belongs to a statement is indented more than it."""
    lines = code.splitlines()
    indent = [len(line) - len(line.lstrip()) for line in lines]
    opened = []
    for end, line in enumerate(lines):
        if line.rstrip().endswith("{"):
            opened.append(end)
        if not line.lstrip().startswith("}"):
            continue
        begin = opened.pop()
        head = next((text for text in reversed(lines[:begin]) if text.strip()), "").strip()
        if lines[begin].strip() != "{" or re.match(r"namespace|enum|extern", head):
            continue
        block = []
        for number in range(begin + 1, end):
            text = lines[number].strip()
            if not text:
                continue
            if indent[number] == indent[begin] + 4 and not re.match(r"[{})]|else\b|catch\b", text):
                block.append((number, number + 1))
            elif block:
                block[-1] = (block[-1][0], number + 1)
        yield block, bool(re.match(r"(class|struct)\b", head))


def mutations(source):
    """All (start, end, replacement) of a source text."""
    code = mask(source)
    line_starts = [0] + [match.end() for match in re.finditer("\n", code)]

    # Statements: left out, and swapped with the next one.
    for block, is_class in items(code):
        spans = [(line_starts[first], line_starts[end] - 1) for first, end in block]
        for index, (start, end) in enumerate(spans):
            text = code[start:end].strip()
            if is_class and ("(" in text or not text.endswith(";")):
                continue
            if not is_class and text.endswith(";") and not re.search(r"^\s*\{$", text, re.M):
                yield start, end, "\n" * code.count("\n", start, end)
            if index + 1 < len(spans):
                after, after_end = spans[index + 1]
                following = code[after:after_end].strip()
                if is_class and ("(" in following or not following.endswith(";")):
                    continue
                if not re.match(r"(return|break|continue)\b", following):
                    yield start, after_end, source[after:after_end] + source[end:after] + source[start:end]

    # Members that are not initialised.
    for match in re.finditer(r"^ +([:,]) (?=\w+[({].*[)}]$(\n +,)?)", code, re.M):
        end = code.index("\n", match.end())
        if match.group(1) == ",":
            yield match.start(), end, ""
        elif match.group(2):
            yield match.start(1), match.end(2), "\n:"
        else:
            yield match.start(1), end, ""

    # Operators.
    others = {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
              "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "&": ["|"], "|": ["&"]}
    for match in re.finditer(r"(?<=\s)(==|!=|<=?|>=?|&&|\|\||\+|-|&|\|)(?=\s)", code):
        for other in others[match.group()]:
            yield match.start(), match.end(), other
    for match in re.finditer(r"\+\+|--", code):
        yield match.start(), match.end(), {"++": "--", "--": "++"}[match.group()]
    for match in re.finditer(r" >> (?=\d)", code):
        yield match.start(), match.end(), " << "

    # Operands left out.
    for match in re.finditer(r"\s+(&&|\|\||\||&)\s", code):
        yield match.start(), right_end(code, match.end()), ""
        before = left_begin(code, match.start())
        if not re.search(r"[&|]\s*$", code[:before]):
            yield before, match.end(), ""
    for match in re.finditer(r"\s+<<\s(?!\d)|(?<=\") \+ ", code):
        yield match.start(), right_end(code, match.end()), ""

    # Conditions negated.
    for match in re.finditer(r"\b(if|while) \(", code):
        start = right_end(code, match.end(), stops="")
        if code[start] == ";":
            start += 2
        else:
            start = match.end()
        end = right_end(code, start, stops="")
        condition = code[start:end]
        if re.search("&&|[|][|]", condition) or not re.search(r"[!=]=|\s[<>]=?\s|^!", condition):
            yield start, end, "!(" + source[start:end] + ")"
    for match in re.finditer(r"\s\?\s", code):
        start = left_begin(code, match.start(), stops=r"=")
        if not re.search(r"[!=]=|\s[<>]=?\s", code[start:match.start()]):
            yield start, match.start(), "!(" + source[start:match.start()] + ")"
    for match in re.finditer(r"\breturn ([^;]*[\w)]);", code):
        if not re.search(r"\s([!=]=|[?|&+])\s|^!|^-?\d+$|^(true|false)$", match.group(1)):
            yield match.start(1), match.end(1), "!(" + source[match.start(1):match.end(1)] + ")"
    for match in re.finditer(r"(?<=[\s(])!(?=[\w(:])", code):
        yield match.start(), match.end(), ""

    # Constants.
    for match in re.finditer(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d+)(U|ms)?(?![\w.])", code):
        digits, suffix = match.group(1), match.group(2) or ""
        value = int(digits, 8 if re.fullmatch(r"0\d+", digits) else 0)
        for other in [value + 1] + ([value - 1] if value > 0 else []):
            yield match.start(), match.end(), f"{other}{suffix}"
    for match in re.finditer(r"\b(true|false)\b", code):
        yield match.start(), match.end(), {"true": "false", "false": "true"}[match.group()]
    for match in re.finditer(r"\bORVEL_\w+\b", code):
        yield match.start(), match.end(), f"({match.group()} + 1)"
    names = {"EBADF": "EBADFD", "EBADFD": "EBADF", "EINTR": "EAGAIN", "SIGINT": "SIGTERM", "O_RDONLY": "O_RDWR",
             "O_WRONLY": "O_RDWR", "O_RDWR": "O_RDONLY", "FD_CLOEXEC": "0", "_IOLBF": "_IOFBF", "In": "Out", "Out": "In",
             "LOG4CPLUS_DEBUG": "LOG4CPLUS_INFO", "LOG4CPLUS_WARN": "LOG4CPLUS_ERROR", "LOG4CPLUS_ERROR": "LOG4CPLUS_WARN",
             "LOG4CPLUS_FATAL": "LOG4CPLUS_ERROR"}
    for match in re.finditer(r"\b(" + "|".join(names) + r")(?=_FMT\b|\b)(?! =)", code):
        yield match.start(), match.end(), names[match.group()]

    # Texts: the first and the last letter become capital or small; what has no letter gets one.
    for match in re.finditer(r"""(["'])_*\1""", code):
        start, end = match.start() + 1, match.end() - 1
        if source[:match.start()].endswith("extern "):
            continue
        if source[match.start()] == "'":
            yield start, end, "~"
            continue
        letters = [m.start() for m in re.finditer(r"(?<![\\%\w])[A-Za-z]|[A-Za-z](?!\w)(?<![\\%].)", source[start:end])]
        letters = sorted({start + letters[0], start + letters[-1]}) if letters else []
        for letter in letters:
            yield letter, letter + 1, source[letter].swapcase()
        if not letters:
            yield end, end, "x"


OPERATORS = r"&&|\|\||\||&|<<|\?|:"


def right_end(code, position, stops=OPERATORS):
    """Where the operand ends that begins here."""
    depth = 0
    while True:
        char = code[position]
        if depth == 0 and (char in ")]},;" or stops and re.match(rf"\s+({stops})\s", code[position:position + 80])):
            return position
        depth += (char in "([{") - (char in ")]}")
        position += 1


def left_begin(code, position, stops=OPERATORS + "|="):
    """Where the operand begins that ends here."""
    depth = 0
    while True:
        char = code[position - 1]
        before = code[max(0, position - 80):position]
        if depth == 0 and (char in "([{,;" or re.search(rf"\s({stops})\s+$|\breturn\s$", before)):
            return position + len(code[position:]) - len(code[position:].lstrip())
        depth += (char in ")]}") - (char in "([{")
        position -= 1


def mutants_of(path):
    source = path.read_text()
    unique = {mutant.text: mutant for mutant in (Mutant(path, source, *change) for change in mutations(source))}
    unique.pop(source, None)
    mutants = sorted(unique.values(), key=lambda mutant: mutant.line)
    seen = collections.Counter()
    for mutant in mutants:
        seen[mutant.key()] += 1
        if seen[mutant.key()] > 1:
            mutant.place += f" ({seen[mutant.key()]})"  # the same change again in the same function
    return mutants


# ---- Building and testing one of them

running = set()  # process groups that were started here
running_lock = threading.Lock()


def run(command, limit, **options):
    """(exit status, output); the status is None when the time was over."""
    [result] = run_all([(command, options)], limit)
    return result


def run_all(commands, limit):
    """Runs them at the same time until the first fails; the results of those that ended by themselves, the failure last."""
    started = []
    results = []
    end = time.monotonic() + limit
    try:
        for number, (command, options) in enumerate(commands):
            output = open(WORK / f"output-{threading.get_ident()}-{number}", "w+", errors="replace")
            process = subprocess.Popen(["prlimit", f"--as={MEMORY}", f"--fsize={FILE_SIZE}", *command], cwd=BUILD,
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=output, start_new_session=True,
                                       **options)
            started.append((process, output))
            with running_lock:
                running.add(process.pid)
        waiting = list(started)
        while waiting:
            for entry in list(waiting):
                process, output = entry
                status = process.poll()
                if status is None and time.monotonic() < end:
                    continue
                waiting.remove(entry)
                output.seek(0)
                results.append((status, output.read()))
                if status != 0:
                    return results
            time.sleep(0.01)
        return results
    finally:
        for process, output in started:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
            with running_lock:
                running.discard(process.pid)
            output.close()
            os.unlink(output.name)


@functools.lru_cache(None)
def compile_commands():
    commands = [shlex.split(entry["command"]) for entry in json.loads((BUILD / "compile_commands.json").read_text())]
    return {command[command.index("-o") + 1]: command for command in commands}


@functools.lru_cache(None)
def link_command(target):
    commands = subprocess.run(["ninja", "-t", "commands", "-s", target], cwd=BUILD, check=True, capture_output=True,
                              text=True).stdout
    return shlex.split(commands.strip().splitlines()[-1].split(" && ")[1])


@functools.lru_cache(None)
def depending_objects(path):
    """The objects of both programs that are compiled from this file."""
    objects = [word for target in (UNIT_TESTS, DAEMON) for word in link_command(target) if word.endswith(".o")]
    found = []
    for name in dict.fromkeys(objects):
        deps = subprocess.run(["ninja", "-t", "deps", name], cwd=BUILD, check=True, capture_output=True, text=True).stdout
        if str(path) in deps.split():
            found.append(name)
    return found


def is_daemons(name):
    return name.startswith("Driver/")


def compile_object(name, directory):
    """Compiles with the sources of `directory`; the daemon's optimised, so that equal programs give equal objects. None when
    it does not compile."""
    target = directory / name.replace("/", "_")
    command = [word.replace(str(SOURCES), str(directory / "Src")) for word in compile_commands()[name]]
    command[command.index("-o") + 1] = str(target)
    if is_daemons(name):
        command.append("-O2")
    status, _ = run([*command, "-w", "-Werror=return-type",
                     f"-ffile-prefix-map={directory}/Src=Driver/OrvelDriver/Src"], BUILD_LIMIT)
    if status is None:
        raise TimeoutError(name)
    return target if status == 0 else None


@functools.lru_cache(None)
def original_object(name):
    directory = WORK / f"original-{threading.get_ident()}"
    shutil.rmtree(directory, ignore_errors=True)
    shutil.copytree(SOURCES, directory / "Src")
    content = compile_object(name, directory).read_bytes()
    shutil.rmtree(directory)
    return content


def link(target, objects, output):
    command = [str(objects.get(word, word)) for word in link_command(target)]
    command[command.index("-o") + 1] = str(output)
    status, _ = run(command, BUILD_LIMIT)
    if status is None:
        raise TimeoutError(target)
    return status == 0


def failing_test(folder, program, selection, limit, shards=1, driver=""):
    """The test that fails, and fails again when it runs alone: a busy machine can fail a test once. None when all pass."""
    environment = {**os.environ, **({"ORVEL_TEST_DRIVER": str(driver)} if driver else {})}
    for _ in range(3):
        commands = [([str(program), f"--gtest_filter={selection}", "--gtest_fail_fast"],
                     {"env": {**environment, "GTEST_TOTAL_SHARDS": str(shards), "GTEST_SHARD_INDEX": str(index)}})
                    for index in range(shards)]
        status, output = run_all(commands, limit)[-1]
        if status == 0:
            return None
        names = re.findall(r"^\[  FAILED  \] ([\w/]+\.[\w/]+)", output, re.M) or \
            re.findall(r"^\[ RUN      \] ([\w/]+\.[\w/]+)", output, re.M)[-1:] or ["?"]
        if names[0] == "?" or run([str(program), f"--gtest_filter={names[0]}"], limit, env=environment)[0] != 0:
            return f"{folder} {names[0]}"
    return None  # each time only beside others: it is not noticed, but survives and is looked at


def test(objects, stem, directory):
    """The test that notices, with its folder; None when all pass."""
    if any(name in link_command(UNIT_TESTS) for name in objects):
        program = directory / "UnitTests"
        if not link(UNIT_TESTS, objects, program):
            return "invalid"
        by = failing_test("Unit", program, f"*{stem}*.*", UNIT_LIMIT) or failing_test("Unit", program, "*", UNIT_LIMIT)
        if by:
            return by
    driver = directory / "orvel"
    if not link(DAEMON, objects, driver):
        return "invalid"
    return failing_test("System", SYSTEM_TESTS, OF_THE_DAEMON, SYSTEM_LIMIT, SHARDS, driver)


def judge(mutant):
    """(verdict, test): "invalid" is no program, "same" the same program, "caught" by the test, or "survived"."""
    directory = WORK / f"{threading.get_ident()}"
    shutil.rmtree(directory, ignore_errors=True)
    shutil.copytree(SOURCES, directory / "Src")
    (directory / "Src" / mutant.path.name).write_text(mutant.text)
    try:
        objects = {}
        for own in (True, False):  # the daemon's first: where they are the same, the tests need not be compiled
            for name in filter(lambda name: is_daemons(name) == own, depending_objects(mutant.path)):
                objects[name] = compile_object(name, directory)
                if objects[name] is None:
                    return "invalid", None
            if own and all(target.read_bytes() == original_object(name) for name, target in objects.items()):
                return "same", None
        by = test(objects, mutant.path.stem, directory)
        return ("invalid", None) if by == "invalid" else ("caught", by) if by else ("survived", None)
    finally:
        shutil.rmtree(directory, ignore_errors=True)


# ---- What is known from earlier runs

def digest(*texts):
    return hashlib.sha256("\0".join(texts).encode()).hexdigest()[:20]


@functools.lru_cache(None)
def all_tests():
    files = [path for folder in ("Tests/Unit", "Tests/System", "BenchKit", "Simulator", "Knx", "System")
             for path in sorted((ROOT / folder).rglob("*")) if path.is_file()]
    return digest(*(path.read_text() for path in files))


@functools.lru_cache(None)
def test_text(by):
    """What the test reads like that caught a mutant; everything when it cannot be told."""
    folder, name = by.split(" ")
    suite, _, case = name.partition(".")
    suite, case = suite.split("/")[-1], case.split("/")[0]
    for path in sorted((ROOT / "Tests" / folder).glob("*.cpp")):
        found = re.search(rf"^TEST(_F|_P)?\({suite}, {case}\)\n\{{.*?^\}}", path.read_text(), re.M | re.S)
        if found:
            return digest(found.group())
    return all_tests()


class Results:
    """A verdict holds while the mutated text, the headers, and the test that caught it, or else all tests, are the same."""

    def __init__(self):
        self.known = json.loads(RESULTS.read_text()) if RESULTS.exists() else {}
        self.lock = threading.Lock()
        self.headers = digest(*(path.read_text() for path in sorted((ROOT / "Driver").rglob("*.h"))))
        self.sources = digest(*(path.read_text() for path in sorted(SOURCES.iterdir())))

    def key(self, mutant):
        around = self.sources if mutant.path.suffix == ".h" else self.headers
        return digest(mutant.path.name, mutant.text, around)

    def proof(self, verdict, by):
        return "" if verdict in ("invalid", "same") else test_text(by) if by else all_tests()

    def get(self, mutant):
        verdict, by, proof = self.known.get(self.key(mutant), (None, None, None))
        return (verdict, by) if verdict and proof == self.proof(verdict, by) else None

    def put(self, mutant, verdict, by):
        with self.lock:
            self.known[self.key(mutant)] = (verdict, by, self.proof(verdict, by))
            temporary = RESULTS.with_suffix(".new")
            temporary.write_text(json.dumps(self.known, indent=0))
            temporary.replace(RESULTS)


def equivalent_list():
    """The keys of the mutants that are said to be equivalent. The file explains its form."""
    keys = []
    explained = 0
    for number, line in enumerate(LIST.read_text().splitlines(), 1):
        if line[:2] in ("- ", "+ ") and len(keys) > explained:
            keys[-1] += (line,)
        elif line[:2] == "= " and keys:
            explained = len(keys)
        elif re.match(r"\w+\.\w+:", line):
            name, _, place = line.partition(":")
            keys.append((name, place.strip()))
        elif line and line[0] not in "# ":
            sys.exit(f"mutate: {LIST.name}:{number}: not understood: {line}")
    if explained < len(keys):
        sys.exit(f"mutate: {LIST.name}: no reason at the end")
    return keys


# ---- The command

def describe(mutant):
    return f"{mutant.path.relative_to(ROOT)}:{mutant.line}: {mutant.place}".rstrip() + "\n" + "\n".join(mutant.diff)


def main():
    parser = argparse.ArgumentParser(prog="Scripts/prove mutation", description="""
        Changes the daemon's sources in one small place at a time and runs the tests on each result: the unit tests, and
        where they pass the system tests. Lists what no test notices. Works on copies below build/mutation. What is known
        from an earlier run is not tried again: an interrupted run goes on where it was.""")
    parser.add_argument("files", nargs="*", metavar="FILE", help="sources of the daemon, by name: all unless given")
    parser.add_argument("--sample", type=int, metavar="N", help="try N mutants only, chosen at random")
    parser.add_argument("--seed", help="repeats a choice; otherwise it follows from the last commit")
    parser.add_argument("--list", action="store_true", help="print the mutants and try none")
    parser.add_argument("--check", action="store_true",
                        help="try none, but fail where the list of equivalent ones names one that there is not")
    arguments = parser.parse_args()

    names = {pathlib.Path(name).name for name in arguments.files}
    paths = [path for path in sorted(SOURCES.iterdir()) if not names or path.name in names]
    if names - {path.name for path in paths}:
        sys.exit(f"mutate: not in {SOURCES.relative_to(ROOT)}: {' '.join(names - {path.name for path in paths})}")
    mutants = [mutant for path in paths for mutant in mutants_of(path)]
    if arguments.sample is not None:
        seed = arguments.seed or subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True,
                                                text=True).stdout.strip()
        print(f"seed {seed}", flush=True)
        mutants = random.Random(seed).sample(mutants, min(arguments.sample, len(mutants)))
    if arguments.list:
        print("\n\n".join(map(describe, mutants)))
        return 0
    reasons = equivalent_list()
    if arguments.check:
        stale = sorted(set(reasons) - {mutant.key() for mutant in mutants})
        for key in stale:
            print(f"in {LIST.name}, but no change of today's sources: {key[0]}: " + "\n".join(key[1:]))
        return 1 if stale else 0
    results = Results()

    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir()
    begin = time.monotonic()
    todo = [mutant for mutant in mutants if not results.get(mutant)]
    print(f"{len(mutants)} places to change, {len(mutants) - len(todo)} known from earlier runs", flush=True)
    if todo:
        noticed = test({name: BUILD / name for name in link_command(DAEMON) if name.endswith(".o")}, "", WORK)
        if noticed:
            sys.exit(f"mutate: a test fails without a change: {noticed}")
        # Nor one that fails only beside others, or now and then: with it the run of the whole program would tell nothing.
        if any(run([str(BUILD / UNIT_TESTS)], UNIT_LIMIT)[0] != 0 for _ in range(3)):
            sys.exit("mutate: the unit tests fail as one process without a change, though each passes alone")

    signal.signal(signal.SIGTERM, lambda *_: sys.exit("mutate: stopped"))

    def settle(mutant):
        verdict, by = judge(mutant)
        results.put(mutant, verdict, by)
        if verdict == "survived" and mutant.key() not in reasons:
            print(f"\nsurvived: {describe(mutant)}", flush=True)

    pool = concurrent.futures.ThreadPoolExecutor(os.cpu_count() + 1)  # the system tests mostly wait
    try:
        for done, future in enumerate(concurrent.futures.as_completed([pool.submit(settle, m) for m in todo]), 1):
            future.result()
            if done % 50 == 0:
                print(f"{done} of {len(todo)} tried, {time.monotonic() - begin:.0f} s", flush=True)
    finally:
        pool.shutdown(wait=False, cancel_futures=True)
        with running_lock:
            for group in running:
                os.killpg(group, signal.SIGKILL)
        pool.shutdown()
        shutil.rmtree(WORK, ignore_errors=True)

    return report(mutants, results, reasons, complete=arguments.sample is None)


def report(mutants, results, reasons, complete):
    rows = {}
    unused = {key for key in reasons if complete and key[0] in {mutant.path.name for mutant in mutants}}
    unexplained = []
    for mutant in mutants:
        verdict, _ = results.get(mutant)
        row = rows.setdefault(mutant.path.name, {"caught": 0, "survived": 0, "equivalent": 0, "same": 0, "invalid": 0})
        if verdict == "survived" and mutant.key() in reasons:
            verdict = "equivalent"
            unused.discard(mutant.key())
        elif verdict == "survived":
            unexplained.append(mutant)
        row[verdict] += 1
    rows["all"] = {verdict: sum(row[verdict] for row in rows.values()) for verdict in next(iter(rows.values()))}

    print("\n| file | mutants | caught | equivalent | survived |\n|---|---|---|---|---|")
    for name, row in rows.items():
        number = row["caught"] + row["survived"] + row["equivalent"]
        if number:
            print(f"| {name} | {number} | {row['caught']} | {row['equivalent']} | {row['survived']} |")
    everything = rows["all"]
    changed = everything["caught"] + everything["survived"]
    print(f"\n{100 * everything['caught'] / max(changed, 1):.1f} % of those that are not equivalent are caught. Beside them "
          f"{everything['same']} changes gave the same program, and {everything['invalid']} none.")
    for mutant in unexplained:
        print(f"\nsurvived: {describe(mutant)}")
    for key in sorted(unused):
        print(f"\nin {LIST.name}, but no survivor: {key[0]}: " + "\n".join(key[1:]))
    return 1 if unexplained or unused else 0


sys.exit(main())
