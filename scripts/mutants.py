#!/usr/bin/env python3
"""Mutation testing of Brivel's sources: how many small faults do the tests catch?

One small fault at a time is written into a copy of the sources (never into
the working tree, so an interrupted run leaves nothing behind): a comparison
turned around, + into -, a constant off by one, a condition negated, a call
statement removed, a returned value replaced, a console text changed by one
character. The copy is rebuilt incrementally in a build folder of its own
(optimised, assertions on, no sanitizers, with line coverage), and only the
test programs that run the mutated line are run, each with a time limit. A
line no quick test program runs is a survivor without a build.

Outcomes: killed (a test program failed), survived, timeout (counted as
killed: the fault hung a test), not compiled (left out of the score).
Score = (killed + timeout) / (all - not compiled).

    python3 scripts/mutants.py --seed 1 --max 200          # the sample
    python3 scripts/mutants.py --files 'src/link/*.cpp'    # one folder
    python3 scripts/mutants.py --list --max 20             # show, don't run
    python3 scripts/mutants.py --replay OLD.json --against OLD.json   # the same sample, another suite

The sample is deterministic for a seed and a source tree: candidates are
drawn round robin over the folders of src/, so that every folder has its
share. The report (table per file, the survivors with file, line and change)
goes to --report.
"""

import argparse
import fnmatch
import hashlib
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# The end-to-end programs start the real programs over pseudo-terminals and
# take minutes: not run per mutant.
SLOW_PROGRAMS = {"test_e2e"}


# --- The copy and its build ---------------------------------------------------------


def project_files():
    out = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                         capture_output=True).stdout.decode()
    return [f for f in out.split("\0") if f and not f.startswith("build")]


def sync_copy(tree: Path):
    """Makes `tree` a copy of the working tree; files already equal keep their
    times, so that the build stays incremental."""
    wanted = set(project_files())
    for rel in sorted(wanted):
        src, dst = ROOT / rel, tree / rel
        if not src.is_file():
            continue
        data = src.read_bytes()
        if dst.is_file() and dst.read_bytes() == data:
            continue
        dst.parent.mkdir(parents=True, exist_ok=True)
        dst.write_bytes(data)
        shutil.copymode(src, dst)
    for dirpath, _, names in os.walk(tree):
        for n in names:
            rel = os.path.relpath(os.path.join(dirpath, n), tree)
            if rel not in wanted:
                os.remove(os.path.join(dirpath, n))


def configure(tree: Path, build: Path):
    if (build / "build.ninja").exists():
        # Test files added or removed since: the build file is made anew first.
        subprocess.run(["ninja", "-C", str(build), "build.ninja"], check=True, stdout=subprocess.DEVNULL)
        return
    # Release without NDEBUG: the assertions stay.
    flags = "-O1 -g0 --coverage"
    link = "--coverage -fuse-ld=lld" if shutil.which("ld.lld") else "--coverage"
    cmd = ["cmake", "-S", str(tree), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
           f"-DCMAKE_CXX_FLAGS_RELEASE={flags}", f"-DCMAKE_C_FLAGS_RELEASE={flags}",
           f"-DCMAKE_EXE_LINKER_FLAGS={link}", "-DBRIVEL_BENCH=OFF", "-DBRIVEL_SANITIZE=OFF"]
    if shutil.which("ccache"):
        cmd += ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_C_COMPILER_LAUNCHER=ccache"]
    subprocess.run(cmd, check=True, stdout=subprocess.DEVNULL)


def build(build_dir: Path, targets):
    r = subprocess.run(["cmake", "--build", str(build_dir), "--target", *targets], capture_output=True, text=True)
    return r.returncode == 0, r.stdout[-3000:] + r.stderr[-3000:]


def test_programs(build_dir: Path):
    """The quick test programs the build defines, by target name."""
    r = subprocess.run(["ninja", "-C", str(build_dir), "-t", "targets", "all"], capture_output=True, text=True,
                       check=True)
    names = set()
    for line in r.stdout.splitlines():
        m = re.match(r"(test_[a-z_]+): phony", line)
        if m and not m.group(1).endswith(("_autogen", "_deps")) and m.group(1) not in SLOW_PROGRAMS:
            names.add(m.group(1))
    return sorted(names)


def program_path(build_dir: Path, name: str) -> Path:
    return build_dir / "tests" / name


def run_program(build_dir: Path, name: str, timeout: float, gcov_prefix: Path, failed=None):
    """Runs one test program: "pass", "fail" or "timeout", and its time. The
    names of the tests that failed go into `failed` when it is a list."""
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen", BRIVEL_TEST_OUT=str(build_dir / "test-output"),
               GCOV_PREFIX=str(gcov_prefix), GCOV_PREFIX_STRIP="0")
    verdicts = build_dir / f"verdicts-{name}.json"
    verdicts.unlink(missing_ok=True)
    start = time.monotonic()
    p = subprocess.Popen([str(program_path(build_dir, name)), "--gtest_brief=1", f"--gtest_output=json:{verdicts}"],
                         cwd=build_dir / "tests", env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                         start_new_session=True)
    try:
        rc = p.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(p.pid, signal.SIGKILL)
        p.wait()
        return "timeout", time.monotonic() - start
    if rc != 0 and failed is not None and verdicts.exists():
        try:
            for suite in json.loads(verdicts.read_text()).get("testsuites", []):
                for t in suite.get("testsuite", []):
                    if t.get("failures"):
                        failed.append(f"{name}:{suite['name']}.{t['name']}")
        except (ValueError, KeyError):
            pass
    return ("pass" if rc == 0 else "fail"), time.monotonic() - start


# --- Which program runs which line --------------------------------------------------


def coverage_map(tree: Path, build_dir: Path, programs, cache: Path, key: str):
    """{source file relative to the tree: {line: [programs]}}, and each
    program's time, from one run of each program with line coverage."""
    if cache.exists():
        data = json.loads(cache.read_text())
        if data.get("key") == key:
            return {f: {int(l): p for l, p in lines.items()} for f, lines in data["lines"].items()}, data["times"]
    gcno = list(build_dir.rglob("*.gcno"))
    lines = defaultdict(lambda: defaultdict(list))
    times = {}
    for name in programs:
        prefix = build_dir / "coverage" / name
        shutil.rmtree(prefix, ignore_errors=True)
        outcome, took = run_program(build_dir, name, 1800, prefix)
        times[name] = took
        if outcome != "pass":
            print(f"  {name}: {outcome} on the unmutated sources; left out", file=sys.stderr)
            times.pop(name)
            continue
        for g in gcno:
            # The data of this program sits under the prefix, beside a copy of
            # the notes file gcov wants next to it.
            data = prefix / g.with_suffix(".gcda").relative_to("/")
            if not data.exists():
                continue
            shutil.copy(g, data.with_suffix(".gcno"))
            r = subprocess.run(["gcov", "--json-format", "--stdout", str(data)], cwd=data.parent,
                               capture_output=True)
            for chunk in r.stdout.splitlines():
                if not chunk.strip():
                    continue
                for f in json.loads(chunk).get("files", []):
                    path = Path(f["file"])
                    if not path.is_absolute():
                        path = (data.parent / path).resolve()
                    try:
                        rel = str(path.resolve().relative_to(tree.resolve()))
                    except ValueError:
                        continue
                    for ln in f["lines"]:
                        if ln["count"] > 0 and name not in lines[rel][ln["line_number"]]:
                            lines[rel][ln["line_number"]].append(name)
        shutil.rmtree(prefix, ignore_errors=True)
        print(f"  coverage of {name}: {took:.1f} s", file=sys.stderr)
    plain = {f: dict(l) for f, l in lines.items()}
    cache.write_text(json.dumps({"key": key, "lines": {f: {str(k): v for k, v in l.items()} for f, l in plain.items()},
                                 "times": times}))
    return plain, times


def tree_key(files):
    h = hashlib.sha256()
    for rel in sorted(files):
        if rel.startswith(("src/", "tests/", "apps/", "firmware/", "cmake/")) or rel == "CMakeLists.txt":
            p = ROOT / rel
            if p.is_file():
                h.update(rel.encode() + b"\0" + p.read_bytes())
    return h.hexdigest()


# --- The faults ---------------------------------------------------------------------

STRING = re.compile(r'"(?:[^"\\]|\\.)*"')
CHAR = re.compile(r"'(?:[^'\\]|\\.)'")
RELATIONAL = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "),
              (" != ", " == ")]
ARITHMETIC = [(" + ", " - "), (" - ", " + ")]
NUMBER = re.compile(r"(?<![\w.])(\d+)(?![\w.'])")
CALL_STATEMENT = re.compile(r"^\s*[A-Za-z_][\w:.\->]*(?:\([^;]*\))\s*;\s*$")
RETURN = re.compile(r"^(\s*)return (.+);\s*$")
CONDITION = re.compile(r"\b(if|while) \(")


def code_mask(line: str):
    """The line with string and character literals blanked, so that operators
    are looked for in code only; and the literals' spans."""
    spans = [m.span() for m in STRING.finditer(line)]
    masked = list(line)
    for a, b in spans + [m.span() for m in CHAR.finditer(line)]:
        for i in range(a, b):
            masked[i] = "_"
    return "".join(masked), spans


def closing_paren(s: str, open_at: int):
    depth = 0
    for i in range(open_at, len(s)):
        if s[i] == "(":
            depth += 1
        elif s[i] == ")":
            depth -= 1
            if depth == 0:
                return i
    return None


def candidates_of(rel: str, text: str):
    """Every fault this file offers: (line number, kind, new line)."""
    out = []
    in_block = False
    for no, line in enumerate(text.split("\n"), 1):
        stripped = line.strip()
        if in_block:
            if "*/" in stripped:
                in_block = False
            continue
        if stripped.startswith("/*"):
            in_block = "*/" not in stripped
            continue
        if not stripped or stripped.startswith(("//", "#")) or "static_assert" in stripped:
            continue
        code = line.split("//")[0] if "//" in line and '"' not in line else line
        masked, strings = code_mask(code)

        def at(old, new, kind):
            start = 0
            while (i := masked.find(old, start)) >= 0:
                out.append((no, kind, line[:i] + new + line[i + len(old):]))
                start = i + len(old)

        for old, new in RELATIONAL:
            at(old, new, "comparaison")
        if not strings:  # a + beside a text joins strings: no arithmetic there
            for old, new in ARITHMETIC:
                at(old, new, "arithmétique")
        for m in NUMBER.finditer(masked):
            if masked[max(0, m.start() - 1)] in "[" or re.search(r"\b(case|int\d+_t|uint\d+_t)\s*$", masked[:m.start()]):
                continue
            v = int(m.group(1))
            out.append((no, "constante", line[:m.start()] + str(v + 1) + line[m.end():]))
        for m in CONDITION.finditer(masked):
            close = closing_paren(masked, m.end() - 1)
            if close is not None:
                inner = line[m.end():close]
                out.append((no, "condition", line[:m.end()] + "!(" + inner + ")" + line[close:]))
        if CALL_STATEMENT.match(masked) and not re.match(r"^\s*(return|delete|throw|case|else)\b", masked) \
                and " = " not in masked and closing_paren(masked, masked.find("(")) == len(masked.rstrip()) - 2:
            indent = line[:len(line) - len(line.lstrip())]
            out.append((no, "appel retiré", indent + ";"))
        r = RETURN.match(masked)
        if r:
            value = line[r.start(2):r.end(2)]
            if value == "true":
                new = "false"
            elif value == "false":
                new = "true"
            else:
                new = "{}"
            out.append((no, "valeur rendue", line[:r.start(2)] + new + line[r.end(2):]))
        if rel.startswith("src/") and "#include" not in line:
            for a, b in strings:
                body = line[a + 1:b - 1]
                letters = [i for i, ch in enumerate(body) if ch.isalpha() and ch.isascii()]
                if len(body) >= 3 and letters and "%" not in body:
                    i = letters[0]
                    ch = body[i]
                    swapped = ch.lower() if ch.isupper() else ch.upper()
                    out.append((no, "texte", line[:a + 1 + i] + swapped + line[a + 2 + i:]))
    return out


def sample(cands, seed: int, limit: int):
    """Round robin over the folders of src/ (the first two path parts), each
    folder's candidates in an order drawn from the seed."""
    rng = random.Random(seed)
    by_folder = defaultdict(list)
    for c in cands:
        by_folder["/".join(c[0].split("/")[:2])].append(c)
    queues = []
    for folder in sorted(by_folder):
        q = by_folder[folder][:]
        rng.shuffle(q)
        queues.append(q)
    picked = []
    while len(picked) < limit and any(queues):
        for q in queues:
            if q and len(picked) < limit:
                picked.append(q.pop())
    return picked


def replayed(reports):
    """The mutants of earlier reports, placed in today's sources: at the same
    line when it still reads the same, else at the nearest line that does. A
    mutant whose line is no longer anywhere in its file is returned apart."""
    picked, gone, seen = [], [], set()
    texts = {}
    for report in reports:
        for r in json.loads(Path(report).read_text()):
            key = (r["file"], r["line"], r["kind"], r["after"])
            if key in seen:
                continue
            seen.add(key)
            if r["file"] not in texts:
                f = ROOT / r["file"]
                texts[r["file"]] = f.read_text(encoding="utf-8", errors="replace").split("\n") if f.is_file() else []
            lines = texts[r["file"]]
            at = [i + 1 for i, l in enumerate(lines) if l.strip() == r["before"]]
            if not at:
                gone.append(r)
                continue
            no = min(at, key=lambda i: abs(i - r["line"]))
            line = lines[no - 1]
            picked.append((r["file"], no, r["kind"], line[:len(line) - len(line.lstrip())] + r["after"]))
    return picked, gone


# --- The run ------------------------------------------------------------------------


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--max", type=int, default=200, help="mutants in the sample")
    ap.add_argument("--files", action="append", help="glob of files to mutate (default src/**/*.cpp)")
    ap.add_argument("--build", default="build-mut", help="folder of the copy and its build")
    ap.add_argument("--timeout", type=float, default=0,
                    help="seconds a test program may take on a mutant (default 5 times its own time, 20 s at least)")
    ap.add_argument("--report", default=None, help="report file (default BUILD/mutants-report.txt)")
    ap.add_argument("--list", action="store_true", help="list the sample and stop")
    ap.add_argument("--all", action="store_true",
                    help="run every program that runs the line, not only up to the first that fails: "
                         "which tests kill which mutant, for trimming")
    ap.add_argument("--replay", action="append", default=[],
                    help="the .json of an earlier report: runs the same mutants again (found by their line's text "
                         "when the sources have moved), instead of drawing a sample; may be given more than once")
    ap.add_argument("--against", default=None,
                    help="the .json of an earlier report: lists the mutants it killed that now survive")
    args = ap.parse_args()

    work = (ROOT / args.build).resolve()
    tree, bdir = work / "tree", work / "release"
    report = Path(args.report) if args.report else work / "mutants-report.txt"
    globs = args.files or ["src/**/*.cpp"]

    files = project_files()
    chosen = sorted(f for f in files if any(fnmatch.fnmatch(f, g) or fnmatch.fnmatch(f, g.replace("**/", ""))
                                            for g in globs) and f.endswith((".cpp", ".c", ".h")))
    cands = []
    for rel in chosen:
        for no, kind, new in candidates_of(rel, (ROOT / rel).read_text(encoding="utf-8", errors="replace")):
            cands.append((rel, no, kind, new))
    if args.replay:
        picked, gone = replayed(args.replay)
        print(f"{len(picked)} mutants replayed from {', '.join(args.replay)}; {len(gone)} whose line is gone",
              file=sys.stderr)
        for r in gone:
            print(f"  gone: {r['file']}:{r['line']}: {r['before']}", file=sys.stderr)
    else:
        picked = sample(cands, args.seed, args.max)
        print(f"{len(cands)} candidates in {len(chosen)} files; sample of {len(picked)} (seed {args.seed})",
              file=sys.stderr)
    if args.list:
        for rel, no, kind, new in picked:
            print(f"{rel}:{no}: {kind}: {new.strip()}")
        return 0

    started = time.monotonic()
    work.mkdir(parents=True, exist_ok=True)
    sync_copy(tree)
    configure(tree, bdir)
    programs = test_programs(bdir)
    ok, log = build(bdir, programs)
    if not ok:
        print("the unmutated sources don't build:\n" + log, file=sys.stderr)
        return 2
    print(f"built in {time.monotonic() - started:.0f} s; coverage of {len(programs)} programs", file=sys.stderr)
    cov, times = coverage_map(tree, bdir, programs, work / "coverage.json", tree_key(files))
    trash = work / "gcda-of-mutants"

    results = []
    by_file = defaultdict(list)
    for m in picked:
        by_file[m[0]].append(m)
    for rel in sorted(by_file):
        path = tree / rel
        original = path.read_text(encoding="utf-8", errors="replace")
        lines = original.split("\n")
        try:
            for rel_, no, kind, new in by_file[rel]:
                before = lines[no - 1]
                runners = sorted(cov.get(rel, {}).get(no, []), key=lambda p: times.get(p, 1e9))
                rec = {"file": rel, "line": no, "kind": kind, "before": before.strip(), "after": new.strip()}
                if not runners:
                    rec["outcome"] = "survived"
                    rec["why"] = "no quick test runs this line"
                    results.append(rec)
                    continue
                mutated = lines[:]
                mutated[no - 1] = new
                path.write_text("\n".join(mutated), encoding="utf-8")
                t0 = time.monotonic()
                ok, _ = build(bdir, runners)
                if not ok:
                    rec["outcome"] = "not compiled"
                else:
                    rec["outcome"] = "survived"
                    killers, failed = [], []

                    def run(p):
                        limit = args.timeout or max(20.0, 5 * times.get(p, 4))
                        return run_program(bdir, p, limit, trash / p, failed)[0]

                    if args.all:
                        # Every program runs anyway: as many at once as there are cores.
                        with ThreadPoolExecutor(max_workers=os.cpu_count() or 1) as pool:
                            outcomes = list(zip(runners, pool.map(run, runners)))
                    else:
                        outcomes = []
                        for p in runners:
                            outcomes.append((p, run(p)))
                            if outcomes[-1][1] != "pass":
                                break
                    for p, outcome in outcomes:
                        if outcome != "pass":
                            if rec["outcome"] == "survived":
                                rec["outcome"] = "killed" if outcome == "fail" else "timeout"
                            killers.append(p if outcome == "fail" else p + " (timeout)")
                    rec["by"] = ",".join(killers or runners)
                    rec["tests"] = failed
                rec["seconds"] = round(time.monotonic() - t0, 1)
                results.append(rec)
                print(f"  {rec['outcome']:12} {rel}:{no} {kind} ({rec['seconds']} s)", file=sys.stderr)
        finally:
            path.write_text(original, encoding="utf-8")

    write_report(report, results, args, time.monotonic() - started)
    if args.all:
        write_test_table(report.with_suffix(".tests.txt"), results, bdir, programs)
    print(report.read_text().split("\n\n")[0])
    if args.against:
        lost = lost_kills(json.loads(Path(args.against).read_text()), results)
        print(f"{len(lost)} mutants killed by the earlier tests survive now")
        for r in lost:
            print(f"  {r['file']}:{r['line']}: {r['kind']}: {r['after']}  (was killed by {r.get('tests') or r.get('by')})")
        return 1 if lost else 0
    return 0


def write_test_table(path: Path, results, build_dir: Path, programs):
    """Per test: the sampled mutants it kills, and those only it kills. A
    test at 0 kills nothing of this sample, which a small sample doesn't
    make worthless."""
    kills, sole = defaultdict(set), defaultdict(set)
    for i, r in enumerate(results):
        if r["outcome"] in ("killed", "timeout"):
            for t in r.get("tests", []):
                kills[t].add(i)
            if len(r.get("tests", [])) == 1:
                sole[r["tests"][0]].add(i)
    names = []
    for p in programs:
        out = subprocess.run([str(program_path(build_dir, p)), "--gtest_list_tests"], capture_output=True, text=True,
                             env=dict(os.environ, QT_QPA_PLATFORM="offscreen")).stdout
        suite = ""
        for line in out.splitlines():
            if not line.startswith(" "):
                suite = line.strip().rstrip(".")
            elif line.strip():
                names.append(f"{p}:{suite}.{line.split()[0]}")
    rows = sorted(names, key=lambda t: (-len(sole[t]), -len(kills[t]), t))
    path.write_text("kills  only  test\n" + "".join(f"{len(kills[t]):5d} {len(sole[t]):5d}  {t}\n" for t in rows),
                    encoding="utf-8")


def lost_kills(before, now):
    """The mutants of `before` that were killed and survive in `now`."""
    key = lambda r: (r["file"], r["kind"], r["before"], r["after"])
    survived = {key(r) for r in now if r["outcome"] == "survived"}
    return [r for r in before if r["outcome"] in ("killed", "timeout") and key(r) in survived]


def write_report(path: Path, results, args, seconds):
    per_file = defaultdict(lambda: defaultdict(int))
    for r in results:
        per_file[r["file"]][r["outcome"]] += 1
    head = ["killed", "timeout", "survived", "not compiled"]

    def score(c):
        compiled = sum(c[k] for k in ("killed", "timeout", "survived"))
        return (c["killed"] + c["timeout"]) / compiled if compiled else 0.0

    total = defaultdict(int)
    for c in per_file.values():
        for k in head:
            total[k] += c[k]
    drawn = f"replay of {', '.join(Path(r).name for r in args.replay)}" if args.replay else f"seed {args.seed}"
    out = [f"Mutants: {drawn}, {len(results)} mutants, {seconds / 60:.1f} min; "
           f"score {score(total):.3f} ({total['killed'] + total['timeout']} killed of "
           f"{len(results) - total['not compiled']} compiled; {total['survived']} survived, "
           f"{total['not compiled']} not compiled)", ""]
    out.append(f"{'file':52} " + " ".join(f"{k:>12}" for k in head) + "  score")
    for f in sorted(per_file):
        c = per_file[f]
        out.append(f"{f:52} " + " ".join(f"{c[k]:12d}" for k in head) + f"  {score(c):.2f}")
    out += ["", "Survivors:"]
    for r in results:
        if r["outcome"] == "survived":
            why = r.get("why", "tests run: " + r.get("by", ""))
            out.append(f"{r['file']}:{r['line']}: {r['kind']}: {r['before']}  ->  {r['after']}   [{why}]")
    path.write_text("\n".join(out) + "\n", encoding="utf-8")
    (path.with_suffix(".json")).write_text(json.dumps(results, ensure_ascii=False, indent=1), encoding="utf-8")


if __name__ == "__main__":
    sys.exit(main())
