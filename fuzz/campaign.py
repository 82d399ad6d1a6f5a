#!/usr/bin/env python3
"""The work of run.sh behind the build: runs targets for a time, makes small what they find, and prints the table.

usage: campaign.py MINUTES TARGET...
"""
import concurrent.futures
import dataclasses
import hashlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build"
PROGRAMS = BUILD / "fuzz" / "fuzz"
REGRESSIONS = ROOT / "tests" / "regressions"

AT_A_TIME = 2
LAST_MINUTES = 5
LIMITS = ["-max_len=65536", "-rss_limit_mb=1024", "-timeout=20"]
HANG_LIMIT = "-timeout=2"   # in the release build, which decides what a hang is
MINIMIZE_SECONDS = 60
MOST_FINDS = 20   # of one target, the same one again counted too

STATUS = re.compile(r"^#(\d+)\t(\S+)\s+cov: (\d+) ft: (\d+)")
FINAL_COUNT = re.compile(r"^stat::number_of_executed_units:\s*(\d+)")
SUMMARY = re.compile(r"^(?:SUMMARY: |Not held: )(.*)")
FRAME = re.compile(rf"^\s+#\d+ 0x\w+ in (.*) {re.escape(str(ROOT))}/(?!fuzz/)(\S+)")
STACK_TOKENS = dict(os.environ, ASAN_OPTIONS="dedup_token_length=3:" + os.environ.get("ASAN_OPTIONS", ""),
	UBSAN_OPTIONS="print_stacktrace=1:" + os.environ.get("UBSAN_OPTIONS", ""))


def corpus_folder():
	"""The folder of real sample files, or None: where the tests find it too."""
	named = os.environ.get("TORVI_CORPUS")
	folder = pathlib.Path(named) if named else ROOT.parent / "shared" / "corpus"
	return folder if folder.is_dir() else None


def seed_folders():
	"""Of each target: those that its row names, and the real files of the same formats."""
	real = corpus_folder()
	seeds = {}
	for line in (PROGRAMS / "targets.tsv").read_text().splitlines():
		name, *folders = line.split("\t")
		folders = [pathlib.Path(folder) for folder in folders]
		if real:
			folders += [real / folder.name for folder in folders if folder.parent.name == "data" and (real / folder.name).is_dir()]
		seeds[name] = folders
	return seeds


def processor_seconds(process):
	"""Of a running process; 0 once it is gone."""
	try:
		fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
		return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
	except OSError:
		return 0.0


@dataclasses.dataclass
class Find:
	kind: str   # crash, timeout, oom, leak
	input: pathlib.Path
	place: str


@dataclasses.dataclass
class Campaign:
	"""One target: processes one after the other, a new one behind each find, until the time is used up."""
	name: str
	seeds: list
	seconds: float
	used: float = 0.0   # by processes that have ended
	executions: int = 0
	coverage: int = 0
	features: int = 0
	history: list = dataclasses.field(default_factory=list)   # processor seconds, coverage
	finds: list = dataclasses.field(default_factory=list)
	places: set = dataclasses.field(default_factory=set)
	repeats: int = 0
	note: str = ""

	def __post_init__(self):
		self.program = PROGRAMS / f"fuzz_{self.name}"
		self.corpus = BUILD / "fuzz-corpus" / self.name
		self.found = BUILD / "fuzz-found" / self.name
		for folder in (self.corpus, self.found):
			folder.mkdir(parents=True, exist_ok=True)

	def run(self):
		while self.used < self.seconds and not self.note:
			self.run_process()
		self.finds = [find for find in self.finds if self.keep(find)]
		return self

	def run_process(self):
		known = set(self.found.iterdir())
		log = self.found.with_suffix(".log")
		command = [self.program, *LIMITS, "-print_final_stats=1", f"-artifact_prefix={self.found}/", self.corpus, *self.seeds]
		with open(log, "w+", encoding="utf-8", errors="replace") as output:
			process = subprocess.Popen(command, stdout=output, stderr=subprocess.STDOUT, env=STACK_TOKENS)
			reader = LogReader(log)
			try:
				self.watch(process, reader)
			finally:
				process.kill()   # no more than a precaution
				process.wait()
		reader.read()
		self.executions += reader.executions
		for path in sorted(set(self.found.iterdir()) - known):
			self.add_find(path, reader)
		if process.returncode != 0 and not reader.is_loaded:
			self.note = f"stopped at its seeds, see {log}"
		elif process.returncode != 0 and set(self.found.iterdir()) == known:
			self.note = f"stopped with status {process.returncode}, see {log}"
		elif len(self.finds) + self.repeats >= MOST_FINDS:
			self.note = f"stopped after {MOST_FINDS} finds"

	def watch(self, process, reader):
		"""Asks the process to end when the time is used up, and kills one that does not."""
		used, asked = 0.0, None
		while process.poll() is None:
			time.sleep(0.5)
			used = max(used, processor_seconds(process))
			reader.read()
			if reader.is_loaded:
				self.coverage, self.features = max(self.coverage, reader.coverage), max(self.features, reader.features)
				self.history.append((self.used + used, self.coverage))
			if self.used + used >= self.seconds and asked is None:
				process.send_signal(signal.SIGUSR1)
				asked = time.monotonic()
			elif asked is not None and time.monotonic() > asked + 120:
				process.kill()
		self.used += used

	def add_find(self, path, reader):
		kind = path.name.rpartition("-")[0]
		place = f"{reader.summary or kind} {reader.frame}".strip()
		if kind == "slow-unit":
			path.unlink()
		elif place in self.places and kind != "timeout":
			self.repeats += 1
			path.unlink()
		else:
			self.places.add(place)
			self.finds.append(Find(kind, path, place))

	def keep(self, find):
		"""Makes a find small and puts it where the tests replay it. False for an input that is only slow under the sanitizers."""
		if find.kind == "timeout" and not hangs_in_release(self.name, find.input):
			return False
		small = self.minimize(find)
		if find.kind == "timeout" and not hangs_in_release(self.name, small):
			small = find.input
		data = small.read_bytes()
		folder = REGRESSIONS / self.name
		folder.mkdir(parents=True, exist_ok=True)
		kept = folder / f"{find.kind}-{hashlib.sha256(data).hexdigest()[:12]}"
		kept.write_bytes(data)
		find.input = kept
		return True

	def minimize(self, find):
		small = find.input.with_name("small-" + find.input.name)
		command = [self.program, *LIMITS, "-minimize_crash=1", f"-max_total_time={MINIMIZE_SECONDS}", f"-exact_artifact_path={small}", find.input]
		subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=STACK_TOKENS, check=False)
		return small if small.is_file() else find.input

	def new_edges(self):
		"""In the last minutes, or since the seeds were read."""
		since = self.seconds - 60 * LAST_MINUTES
		before = [coverage for seconds, coverage in self.history if seconds <= since] or [coverage for _, coverage in self.history[:1]]
		return self.coverage - before[-1] if before else 0

	def row(self):
		speed = self.executions / self.used if self.used else 0
		return [self.name, f"{self.executions:,}", f"{speed:,.0f}", f"{self.coverage:,} / {self.features:,}", str(self.new_edges()),
			str(len(self.finds))]


class LogReader:
	"""Reads what libFuzzer prints, as far as it has got."""

	def __init__(self, path):
		self.file = open(path, encoding="utf-8", errors="replace")
		self.rest = ""
		self.executions = self.coverage = self.features = 0
		self.is_loaded = False   # all seeds have run
		self.summary = self.frame = ""   # the first of each: those of the library's own function that is at fault

	def read(self):
		*lines, self.rest = (self.rest + self.file.read()).split("\n")
		for line in lines:
			if match := STATUS.match(line):
				self.executions, self.coverage, self.features = int(match[1]), int(match[3]), int(match[4])
				self.is_loaded = self.is_loaded or match[2] == "INITED"
			elif match := FINAL_COUNT.match(line):
				self.executions = int(match[1])
			elif match := SUMMARY.match(line):
				self.summary = self.summary or match[1]
			elif match := FRAME.match(line):
				self.frame = self.frame or f"in {match[1]} {match[2]}"


def hangs_in_release(name, path):
	command = ["cmake", "--preset", "release", "-DTORVI_BUILD_FUZZ=ON"]
	build = ["cmake", "--build", "--preset", "release", "--target", f"fuzz_{name}"]
	for step in (command, build):
		subprocess.run(step, cwd=ROOT, stdout=subprocess.DEVNULL, check=True)
	program = BUILD / "release" / "fuzz" / f"fuzz_{name}"
	return subprocess.run([program, HANG_LIMIT, path], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode != 0


def print_table(rows):
	head = ["target", "executions", "per CPU second", "cov / ft", f"new edges, last {LAST_MINUTES} min", "crashes, hangs"]
	widths = [max(len(row[i]) for row in [head, *rows]) for i in range(len(head))]
	for row in [head, ["-" * width for width in widths], *rows]:
		print("| " + " | ".join(cell.ljust(width) if i == 0 else cell.rjust(width) for i, (cell, width) in enumerate(zip(row, widths))) + " |")


def main(arguments):
	minutes, names = int(arguments[0]), arguments[1:]
	seeds = seed_folders()
	if not corpus_folder():
		print("There are no real sample files among the seeds; TORVI_CORPUS is not set.")
	with concurrent.futures.ThreadPoolExecutor(AT_A_TIME) as pool:
		campaigns = list(pool.map(lambda name: Campaign(name, seeds[name], 60.0 * minutes).run(), names))
	print_table([campaign.row() for campaign in campaigns])
	for campaign in campaigns:
		for find in campaign.finds:
			print(f"{campaign.name}: {find.input.relative_to(ROOT)}: {find.place}")
		if campaign.note:
			print(f"{campaign.name}: {campaign.note}")
	return 1 if any(campaign.finds or campaign.note for campaign in campaigns) else 0


if __name__ == "__main__":
	sys.exit(main(sys.argv[1:]))
