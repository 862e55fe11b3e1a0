"""Changes one operator, constant, branch or statement of a source at a time, and says which changes no test sees.

    scripts/mutate [--list] [--match TEXT] [--sample N [--seed S]] [--jobs N] [FILE…]

FILE: a source of a library that has tests; without any, the rules below. A changed source, a mutant, is compiled beside
the build in build/mutants and linked, instead of the original, into the programs that judge it: the tests of its
folder, and the fuzz target of its name with the seeds. The checkout is only read. A mutant that all of them pass
survives. It needs a test or, where none could see it, a reason in mutate-reasons.txt. Status 1: a survivor has no
reason, or a reason no survivor.
"""
import argparse
import collections
import concurrent.futures
import dataclasses
import os
import pathlib
import queue
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/mutants"
REASONS = ROOT / "scripts/mutate-reasons.txt"
RULES = ["ChatModel/NotificationRules.cpp", "ChatModel/Timeline.cpp", "ChatModel/Sidebar.cpp", "ChatModel/Post.cpp",
         "ChatPush/PushSignature.cpp", "ChatPush/PushProcessor.cpp"]
FATES = ["killed", "no program", "timed out", "survived", "excused"]

# --- what can be changed ---------------------------------------------------------------------------------------------

TOKEN = re.compile(r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*|\[\[.*?\]\])
    |(?P<string>R"(?P<mark>[^\s()\\]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*")
    |(?P<character>'(?:\\.[^']*|[^'\\])')
    |(?P<number>\d[\w'.]*)
    |(?P<word>[A-Za-z_]\w*)
    |(?P<operator><=>|->|::|\+\+|--|&&|\|\||<<|>>|[-+*/%&|^!=<>]=|.)""", re.S | re.M | re.X)

# Binary ones have white space on both sides: a template's brackets, a pointer's or a reference's mark has not.
BINARY = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&", "+": "-",
          "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=", "|=": "="}
OTHERS = {"++": "--", "--": "++", "!": "", "true": "false", "false": "true", "break": "continue", "continue": "break",
          "min": "max", "max": "min", "any_of": "all_of", "all_of": "any_of", "Private": "Public"}
OPENING = {"(": ")", "[": "]", "{": "}"}
# What ends an operand of "?", of "||" and of "&&".
ENDS = {"?": {"=", "+=", "-=", "|=", ",", ";", "?", ":", "return", "{", "}"}}
ENDS["||"] = ENDS["?"] | {"||"}
ENDS["&&"] = ENDS["||"] | {"&&"}
NO_EXPRESSION = {"return", "using", "namespace", "template", "struct", "class", "public", "private", "friend", "if",
                 "try", "for", "while", "else", "const", "constexpr", "auto", "static", "break", "continue", "{", "}",
                 ";", "."}
DEFAULTS = ([], ["false"], ["nullptr"], ["{", "}"], ["std", "::", "nullopt"])


@dataclasses.dataclass
class Mutant:
    """A file's text with one thing changed, which `change` shows in its line."""
    file: str
    line: int
    change: str
    text: str

    def __str__(self):
        return f"{self.file}:{self.line}: {self.change}"


def mutants_of(file, text):
    tokens = [token for token in TOKEN.finditer(text) if token.lastgroup != "skip"]
    words = [token[0] if token.lastgroup != "string" else '"' for token in tokens] + [""]
    partner, opened = {}, []
    for i, word in enumerate(words):
        if word in OPENING:
            opened.append(i)
        elif opened and word == OPENING[words[opened[-1]]]:
            partner[i] = opened.pop()
            partner[partner[i]] = i

    def run(i, step, ends):
        """The last token from i on in this direction before any of these and before the brackets around i end."""
        while 0 <= i + step < len(tokens) and words[i + step] not in ends:
            if (partner.get(i + step, i + step) - i) * step <= 0:
                break
            i = partner.get(i + step, i + step)
        return i

    def is_behind_header_of(i, keywords):
        return words[i - 1] == ")" and words[partner[i - 1] - 1] in keywords

    found = {}

    def change(first, last, to):
        begin, end = tokens[first].start() if first <= last else tokens[last].end(), tokens[last].end()
        before, after = text[text.rfind("\n", 0, begin) + 1:begin], text[end:text.find("\n", end)]
        shown = " ".join(f"{before}«{text[begin:end]} → {to}»{after}".split())
        if text[begin:end] != to:
            found[begin, end, to] = Mutant(file, text.count("\n", 0, begin) + 1, shown, text[:begin] + to + text[end:])

    left_alone = -1  # up to this token
    for i, token in enumerate(tokens):
        kind, word = token.lastgroup, words[i]
        is_binary = text[token.start() - 1].isspace() and text[token.end()].isspace()
        if word == "static_assert":
            left_alone = partner[i + 1]
        if i <= left_alone:
            continue
        if kind == "string" and len(token[0]) > 2:
            change(i, i, '""')
        elif kind == "character":
            change(i, i, r"'\x01'")
        elif kind == "number" and (number := re.fullmatch(r"([\d']+)([uUlL]*)", word)):
            change(i, i, str(int(number[1].replace("'", "")) + 1) + number[2])
        elif word in BINARY and is_binary:
            change(i, i, BINARY[word])
        elif word in OTHERS:
            change(i, i, OTHERS[word])
        if word in ("&&", "||") and is_binary:
            for first, last in ((run(i, -1, ENDS[word]), i - 1), (i + 1, run(i, 1, ENDS[word]))):
                change(first, last, "true" if word == "&&" else "false")
        elif word == "?" or (word == "if" and words[i + 1] == "("):
            last = i - 1 if word == "?" else partner[i + 1] - 1
            first = run(i, -1, ENDS["?"]) if word == "?" else run(last + 1, -1, {";"})
            declares = "=" in words[first:last]
            for constant in ("true", "false"):
                change(last + 1 if declares else first, last, f"; {constant}" if declares else constant)
        elif word == "return" and words[i + 1:run(i, 1, {";"}) + 1] not in DEFAULTS:
            change(i + 1, run(i, 1, {";"}), "{}")
        is_statement = words[i - 1] in (";", "{", "}", "else") or is_behind_header_of(i, ("if", "for", "while"))
        if is_statement and word not in NO_EXPRESSION and words[run(i, -1, ()) - 1] == "{":
            last = run(i, 1, {";", "{"})
            while words[last + 1] == "{" and words[partner[last + 1] + 1] in (".", ";"):  # a value, and no block
                last = run(partner[last + 1], 1, {";", "{"})
            whole = text[token.start():tokens[last].end()]
            is_declaration = word != "throw" and re.search(r"[\w>*&]\s+\w", re.split(r"[(={]", whole)[0])
            has_effect = word == "throw" or re.search(r"\(|=|\+\+|--", whole)
            # Where an `if` governs nothing else, its condition made false says the same.
            is_guarded = is_behind_header_of(i, ("if",)) and words[last + 2] != "else"
            if words[last + 1] == ";" and has_effect and not is_declaration and not is_guarded:
                change(i, last, "")
    return [found[key] for key in sorted(found)]


# --- who judges ------------------------------------------------------------------------------------------------------


@dataclasses.dataclass
class Judge:
    """A program with each of the ways in which it is run, and its limits in seconds."""
    program: str
    runs: list
    linker: list = None
    limits: list = None


def judges_of(file):
    folder, name = pathlib.Path(file).parent.name, pathlib.Path(file).stem
    if not (ROOT / "Tests" / folder).is_dir():
        sys.exit(f"{file}: only a source of a library that has tests can be judged")
    quiet = ["--gtest_brief=1", "--gtest_fail_fast"]
    own, others = f"--gtest_filter=*{name}*:-*LongTest.*", f"--gtest_filter=-*{name}*:*LongTest.*"
    yield Judge(f"{folder}Tests", [[*quiet, own], [*quiet, others]])
    if seeds := sorted(ROOT.glob(f"Fuzzing/Seeds/{name}/*")):
        yield Judge(f"{name}Fuzzer", [seeds])


def run(command, seconds, temporary):
    """Whether the program succeeds; None where it does not end in time."""
    def limit():
        resource.setrlimit(resource.RLIMIT_DATA, (2 << 30, 2 << 30))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    shutil.rmtree(temporary, ignore_errors=True)  # a run that was stopped leaves it
    temporary.mkdir()
    process = subprocess.Popen(command, cwd=temporary, env={**os.environ, "TMPDIR": str(temporary)}, preexec_fn=limit,
                               start_new_session=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        return process.wait(seconds) == 0
    except subprocess.TimeoutExpired:
        return None
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
        shutil.rmtree(temporary)


def build(files):
    """Builds what judges the files and sees that it accepts them unchanged. For each file the command that compiles it,
    and its judges."""
    linker = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"] if shutil.which("ld.lld") else []
    subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", BUILD, "-DCMAKE_CXX_FLAGS=-O0 -D_GLIBCXX_ASSERTIONS",
                    *linker], check=True, stdout=sys.stderr)
    judges = {file: list(judges_of(file)) for file in files}
    programs = sorted({judge.program for all_of_one in judges.values() for judge in all_of_one})
    subprocess.run(["cmake", "--build", BUILD, "--parallel", str(os.cpu_count()), "--target", *programs], check=True,
                   stdout=sys.stderr)
    commands = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", *(f"bin/{name}" for name in programs)],
                              check=True, capture_output=True, text=True).stdout.splitlines()
    compilers = {}
    for file in files:
        compiler = shlex.split(next(line for line in commands if line.endswith(f" -c {ROOT / file}")))[:-2]
        for option in ("-MT", "-MF", "-o"):
            place = compiler.index(option)
            del compiler[place:place + 2]
        # What is undefined shall not pass for right.
        compiler += ["-w", "-fsanitize=undefined", "-fno-sanitize=vptr", "-fsanitize-undefined-trap-on-error"]
        # What the file includes is read once for all its mutants.
        header = BUILD / f"{pathlib.Path(file).stem}.h"
        header.write_text("\n".join(re.findall(r"^#include.*", (ROOT / file).read_text(), re.M)))
        subprocess.run([*compiler, "-x", "c++-header", "-o", f"{header}.gch", header], cwd=BUILD, check=True)
        compilers[file] = [*compiler, "-include", header]
        for judge in judges[file]:
            link = next(line for line in commands if f" -o bin/{judge.program} " in line)
            judge.linker = shlex.split(link.removeprefix(": && ").split(" && ")[0])
            judge.limits = []
            for arguments in judge.runs:
                begin = time.monotonic()
                if not run([BUILD / "bin" / judge.program, *arguments], 600, BUILD / "tmp"):
                    sys.exit(f"{judge.program} fails with nothing changed")
                judge.limits.append(10 + 10 * (time.monotonic() - begin))
    return compilers, judges


def fate_of(mutant, compiler, judges, worker):
    source, made = BUILD / f"{worker}.cpp", BUILD / f"{worker}.o"
    source.write_text(mutant.text)

    def succeeds(command):
        environment = {**os.environ, "CCACHE_DISABLE": "1"}
        return subprocess.run(command, cwd=BUILD, capture_output=True, env=environment).returncode == 0

    if not succeeds([*compiler, "-o", made, "-c", source]):
        return "no program"
    for judge in judges:
        # An object comes before the archive that holds the original, which nothing asks for any more. The program
        # stands with the others: it looks for its resources there.
        program, place = BUILD / "bin" / f"{worker}-{judge.program}", judge.linker.index("-o")
        if not succeeds([*judge.linker[:place], made, "-o", program, *judge.linker[place + 2:]]):
            return "no program"
        for arguments, seconds in zip(judge.runs, judge.limits):
            passes = run([program, *arguments], seconds, BUILD / f"{worker}.tmp")
            if not passes:
                return "timed out" if passes is None else "killed"
    return "survived"


# --- the report ------------------------------------------------------------------------------------------------------


def read_reasons():
    """The mutants, as (file, change), that the file of reasons lists."""
    listed = set()
    for paragraph in REASONS.read_text().split("\n\n"):
        lines = [line for line in paragraph.splitlines() if not line.startswith("#")]
        if lines and not lines[-1].startswith(" "):
            sys.exit(f"There is no reason behind: {lines[-1]}")
        listed |= {tuple(line.split(": ", 1)) for line in lines if not line.startswith(" ")}
    return listed


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__.split("\n", 1)[0])
    parser.add_argument("files", nargs="*", metavar="FILE", default=RULES)
    parser.add_argument("--list", action="store_true", help="only print the changes")
    parser.add_argument("--match", default="", metavar="TEXT", help="only those in whose line this stands")
    parser.add_argument("--sample", type=int, metavar="N", help="only so many of them, drawn by lot")
    parser.add_argument("--seed", type=int, default=1, help="of the lot")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many at once")
    options = parser.parse_args()
    mutants = [mutant for file in options.files for mutant in mutants_of(file, (ROOT / file).read_text())]
    reasons = {reason for reason in read_reasons() if reason[0] in options.files}
    idle_reasons = reasons - {(mutant.file, mutant.change) for mutant in mutants}
    mutants = [mutant for mutant in mutants if options.match in str(mutant)]
    if options.sample is not None and options.sample < len(mutants):
        drawn = random.Random(options.seed).sample(range(len(mutants)), options.sample)
        mutants = [mutants[i] for i in sorted(drawn)]
    if options.list:
        for mutant in mutants:
            print(mutant)
        print(len(mutants), "mutants")
        return 0

    os.nice(10)
    compilers, judges = build(options.files)
    workers = queue.SimpleQueue()
    for i in range(options.jobs):
        workers.put(f"mutant{i}")

    def fate(mutant):
        worker = workers.get()
        try:
            return fate_of(mutant, compilers[mutant.file], judges[mutant.file], worker)
        finally:
            workers.put(worker)

    counts = {file: collections.Counter() for file in options.files}
    seen_alive, seen_dead = set(), set()
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for i, (mutant, result) in enumerate(zip(mutants, pool.map(fate, mutants))):
            key = mutant.file, mutant.change
            (seen_alive if result == "survived" else seen_dead).add(key)
            if result == "survived" and key in reasons:
                result = "excused"
            counts[mutant.file][result] += 1
            print(f"{i + 1} of {len(mutants)}: {mutant.file}:{mutant.line} {result}", file=sys.stderr)
            if result == "survived":
                print(mutant, flush=True)
    idle_reasons |= (seen_dead - seen_alive) & reasons
    for file, change in sorted(idle_reasons):
        print(f"No such mutant survives, and yet there is a reason: {file}: {change}")
    print("| file | mutants |", " | ".join(FATES), "|\n|---|" + "---|" * (1 + len(FATES)))
    counts["all"] = sum(counts.values(), collections.Counter())
    for file, fates in counts.items():
        print("|", " | ".join([file, str(fates.total()), *(str(fates[name]) for name in FATES)]), "|")
    return 1 if counts["all"]["survived"] or idle_reasons else 0


if __name__ == "__main__":
    sys.exit(main())
