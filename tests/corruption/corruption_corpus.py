#!/usr/bin/env python3
"""Runs damaged files of every format through every recipe that takes them, through the
real job runner (kelvane-cli, which gives each job to a worker process), and checks what a
user would check: the converter never dies or hangs, every failure says why in a sentence,
nothing is left behind beside the inputs or in the temporary folder, inputs are untouched,
and nothing outside the inputs' folder changes.

    corruption_corpus.py --cli build/kelvane-cli/kelvane-cli [--quick] [--work DIR] [--keep]

--quick (what `make test` runs) takes six kinds of damage per format and one recipe or two
per kind of file; without it every variant meets every recipe, and so do a few small files
that unfold into hundreds of megabytes (bombs.py). Exit status 1 when any
check failed; the summary lists peak memory and CPU time of the heaviest jobs."""

import argparse
import collections
import fnmatch
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import bombs  # noqa: E402
import fixtures  # noqa: E402
import variants  # noqa: E402

QUICK_RECIPES = {"toJPG", "shrink", "imagesToPDF", "toMOV", "video720", "videoToGIF",
                 "toWAV", "toM4A", "docToPDF", "docToHTML", "pdfToPNG", "unzip", "zip"}
QUICK_COMBINED_FORMATS = {"jpg", "png", "heic"}
CRASHED = "stopped the converter unexpectedly"
HUNG = "took too long to convert"
RUN_TIME_LIMIT = 900
STATS = re.compile(r"kelvane-worker: peak (\d+) KiB, (\d+) ms CPU: (\S+) (.*)$")


class Corpus:
    def __init__(self, cli, work, quick, only=(), pattern="*"):
        self.only = set(only)
        self.pattern = pattern
        self.cli = cli
        self.work = work
        self.quick = quick
        # A desktop session has a runtime folder; without one Qt makes its own in TMPDIR.
        self.environment = dict(os.environ, TMPDIR=str(work / "tmp"), KELVANE_WORKER_STATS="1",
                                QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=str(work / "runtime"))
        self.problems = []
        self.sentences = collections.Counter()
        self.examples = collections.defaultdict(list)
        self.jobs = self.succeeded = self.failed = 0
        self.statistics = []

    def command(self, *arguments):
        result = subprocess.run([self.cli, *arguments], capture_output=True, text=True,
                                env=self.environment, check=True)
        return json.loads(result.stdout)

    # The damaged files, each named after its format and its damage.
    def build(self):
        (self.work / "tmp").mkdir(parents=True)
        (self.work / "runtime").mkdir(mode=0o700)
        clean = fixtures.make(self.cli, self.work / "clean")
        kinds = {pathlib.Path(k["file"]).name: k["kind"]
                 for k in self.command("kind", "--json", *map(str, clean))}
        corpus = self.work / "corpus"
        corpus.mkdir()
        for path in clean:
            data = path.read_bytes()
            stem = f"{path.stem}-{path.suffix[1:]}"
            shutil.copy(path, corpus / f"{stem}-clean{path.suffix}")
            for name, extension, damaged in variants.variants(path.name, data, kinds[path.name]):
                if self.quick and name not in variants.QUICK_VARIANTS:
                    continue
                (corpus / f"{stem}-{name}.{extension or path.suffix[1:]}").write_bytes(damaged)
        if not self.quick:
            bombs.make(corpus)
        files = sorted(corpus.iterdir())
        self.kinds = {pathlib.Path(k["file"]).name: k["kind"]
                      for k in self.command("kind", "--json", *map(str, files))}
        return files

    def run_all(self, files):
        for recipe in (r for group in self.command("recipes", "--json") for r in group["recipes"]):
            if self.quick and recipe["id"] not in QUICK_RECIPES:
                continue
            if self.only and recipe["id"] not in self.only:
                continue
            taken = [f for f in files if self.kinds[f.name] in recipe["accepts"]
                     and fnmatch.fnmatch(f.name, self.pattern)]
            if not taken:
                continue
            started = time.monotonic()
            if recipe["combinesInputs"] and recipe["id"] != "zip":
                # One bad file fails a combined job: each file gets a job of its own (in the
                # quick run, the files of a few formats).
                for file in taken:
                    if not self.quick or file.name.split("-")[1] in QUICK_COMBINED_FORMATS:
                        self.run(recipe["id"], [file])
            else:
                self.run(recipe["id"], taken)
            print(f"corpus: {recipe['id']:<14} {len(taken):4} files "
                  f"{time.monotonic() - started:7.1f} s", flush=True)

    # One invocation of the converter over copies of the files in a folder of their own.
    def run(self, recipe, files):
        folder = self.work / "runs" / f"{recipe}-{files[0].stem}"
        folder.mkdir(parents=True)
        inputs = [shutil.copy(f, folder / f.name) for f in files]
        digests = {pathlib.Path(p).name: digest(pathlib.Path(p)) for p in inputs}
        outside = snapshot(self.work, folder)
        try:
            result = subprocess.run([self.cli, "convert", "--json", "--recipe", recipe, *inputs],
                                    capture_output=True, text=True, env=self.environment,
                                    timeout=RUN_TIME_LIMIT, check=False)
        except subprocess.TimeoutExpired:
            self.problem(recipe, [f.name for f in files], f"no answer after {RUN_TIME_LIMIT} s")
            return
        self.collect_statistics(result.stderr)
        if result.returncode not in (0, 1):
            self.problem(recipe, [f.name for f in files], f"converter exited with {result.returncode}: "
                         f"{result.stderr[-400:]}")
            return
        published = self.check_reports(recipe, folder, json.loads(result.stdout))
        self.check_folder(recipe, folder, digests, published)
        if (after := snapshot(self.work, folder)) != outside:
            changed = sorted(set(after.items()) ^ set(outside.items()))[:4]
            self.problem(recipe, [f.name for f in files],
                         f"something outside the inputs' folder changed: {changed}")
        shutil.rmtree(folder)

    def check_reports(self, recipe, folder, reports):
        published = set()
        for report in reports:
            names = [pathlib.Path(p).name for p in report["inputs"]]
            self.jobs += 1
            if report["error"] is not None:
                self.failed += 1
                self.check_sentence(recipe, names, report["error"], report["outputs"])
                continue
            self.succeeded += 1
            for output in map(pathlib.Path, report["outputs"]):
                published.add(output.name)
                if output.parent != folder or output.name.startswith(".kelvane-"):
                    self.problem(recipe, names, f"result in the wrong place: {output}")
                elif not output.exists():
                    self.problem(recipe, names, f"result missing: {output.name}")
                elif output.is_file() and output.stat().st_size == 0 and recipe != "docToTXT":
                    # Only the plain text of a document without text is rightly empty.
                    self.problem(recipe, names, f"result empty: {output.name}")
        return published

    def check_sentence(self, recipe, names, sentence, outputs):
        if outputs:
            self.problem(recipe, names, f"failed but reported results: {outputs}")
        if not sentence.strip() or not sentence.rstrip().endswith((".", "?", "!")):
            self.problem(recipe, names, f"failure without a sentence: {sentence!r}")
        if CRASHED in sentence:
            self.problem(recipe, names, "crashed the worker")
        if HUNG in sentence:
            self.problem(recipe, names, "hung until the watchdog stopped it")
        general = re.sub(r"“[^”]*”", "“…”", sentence)
        self.sentences[general] += 1
        if len(self.examples[general]) < 3:
            self.examples[general].append(f"{recipe} {names[0] if names else ''}")

    def check_folder(self, recipe, folder, digests, published):
        for entry in folder.iterdir():
            if entry.name in digests:
                if digest(entry) != digests[entry.name]:
                    self.problem(recipe, [entry.name], "the input changed")
            elif entry.name not in published:
                self.problem(recipe, [entry.name], "left behind")
        tmp = list((self.work / "tmp").iterdir())
        if tmp:
            self.problem(recipe, [], f"left in the temporary folder: {[p.name for p in tmp]}")

    def collect_statistics(self, stderr):
        for line in stderr.splitlines():
            match = STATS.search(line)
            if match:
                peak, cpu, recipe, name = match.groups()
                self.statistics.append((int(peak), int(cpu), recipe, name))

    def problem(self, recipe, names, what):
        shown = ", ".join(names[:3]) + (f" and {len(names) - 3} more" if len(names) > 3 else "")
        line = f"{recipe} {shown}: {what}"
        self.problems.append(line)
        print(f"corpus: PROBLEM {line}", flush=True)

    def summary(self, files):
        print(f"corpus: {len(files)} files, {self.jobs} jobs: {self.succeeded} converted, "
              f"{self.failed} failed with a sentence, {len(self.problems)} problems")
        print("corpus: sentences, most frequent first:")
        for sentence, count in self.sentences.most_common(25):
            print(f"  {count:5}  {sentence}   e.g. {'; '.join(self.examples[sentence])}")
        print("corpus: heaviest jobs by peak memory:")
        for peak, cpu, recipe, name in sorted(self.statistics, reverse=True)[:6]:
            print(f"  {peak / 1024:7.1f} MiB {cpu:7} ms  {recipe} {name}")
        print("corpus: heaviest jobs by CPU time:")
        for peak, cpu, recipe, name in sorted(self.statistics, key=lambda s: -s[1])[:6]:
            print(f"  {cpu:7} ms {peak / 1024:7.1f} MiB  {recipe} {name}")


def digest(path):
    if path.is_dir():
        return "folder"
    return hashlib.sha256(path.read_bytes()).hexdigest()


def snapshot(root, exclude):
    """Path, size and modification time of everything under root except the run's folder,
    the temporary folder (which the workers use, and which must end up empty) and the
    session's runtime folder (where libraries keep sockets and locks)."""
    skipped = {exclude, root / "tmp", root / "runtime"}
    seen = {}
    for folder, subfolders, names in os.walk(root):
        subfolders[:] = [s for s in subfolders if pathlib.Path(folder) / s not in skipped]
        for name in names + subfolders:
            path = pathlib.Path(folder) / name
            status = path.lstat()
            seen[str(path)] = (status.st_size if not path.is_dir() else 0, status.st_mtime_ns)
    return seen


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cli", required=True)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--work")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--recipes", default="", help="only these recipes, comma-separated")
    parser.add_argument("--files", default="*", help="only the corpus files matching this")
    arguments = parser.parse_args()

    work = pathlib.Path(arguments.work or tempfile.mkdtemp(prefix="kelvane-corpus-"))
    corpus = Corpus(str(pathlib.Path(arguments.cli).resolve()), work, arguments.quick,
                    filter(None, arguments.recipes.split(",")), arguments.files)
    started = time.monotonic()
    try:
        files = corpus.build()
        corpus.run_all(files)
        corpus.summary(files)
    finally:
        if not arguments.keep:
            shutil.rmtree(work, ignore_errors=True)
    print(f"corpus: {time.monotonic() - started:.0f} s")
    return 1 if corpus.problems else 0


if __name__ == "__main__":
    sys.exit(main())
