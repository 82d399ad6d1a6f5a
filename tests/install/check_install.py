"""Installs the built library into a folder and builds and runs the consumer against it, the way a user would.

usage: check_install.py package|pkg-config|subproject --build DIR --work DIR --compiler CXX --flags FLAGS --build-type TYPE
	--launcher PROGRAM
"""
import argparse
import os
import pathlib
import shlex
import shutil
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
CONSUMER = HERE / "consumer"


def run(*command, **options):
	print("$", shlex.join(str(part) for part in command), flush=True)
	return subprocess.run([str(part) for part in command], check=True, text=True, **options)


def run_consumer(program):
	result = run(program, stdout=subprocess.PIPE)
	assert result.stdout.startswith("torvi "), result.stdout


def build_with_cmake(options, *settings):
	"""Configures and builds the consumer with the compiler and the flags of the library, since sanitizers must be in both."""
	run("cmake", "-G", "Ninja", "-S", CONSUMER, "-B", options.work / "consumer", f"-DCMAKE_CXX_COMPILER={options.compiler}",
		f"-DCMAKE_CXX_FLAGS={options.flags}", f"-DCMAKE_BUILD_TYPE={options.build_type}",
		f"-DCMAKE_CXX_COMPILER_LAUNCHER={options.launcher}", *settings)
	run("cmake", "--build", options.work / "consumer", "--target", "consumer")
	run_consumer(options.work / "consumer" / "consumer")


def installed_tree(options):
	"""Installs into one folder and moves the tree, so that no path of the first place may be left in it."""
	first, prefix = options.work / "first", options.work / "prefix"
	run("cmake", "--install", options.build, "--prefix", first, stdout=subprocess.DEVNULL)
	first.rename(prefix)
	return prefix


def check_package(options):
	prefix = installed_tree(options)
	build_with_cmake(options, f"-DCMAKE_PREFIX_PATH={prefix}")
	tool = prefix / "bin" / "torvi-image"
	if tool.exists():
		run(tool, "--help", stdout=subprocess.DEVNULL)   # finds the library of its own tree


def check_pkg_config(options):
	prefix = installed_tree(options)
	description = next(prefix.rglob("torvi.pc"))
	environment = {**os.environ, "PKG_CONFIG_PATH": str(description.parent)}
	flags = run("pkg-config", "--cflags", "--libs", "torvi", env=environment, stdout=subprocess.PIPE).stdout.split()
	flags += [f"-Wl,-rpath,{description.parent.parent}", *shlex.split(options.flags)]
	run(options.compiler, CONSUMER / "consumer.cpp", *flags, "-o", options.work / "consumer")
	run_consumer(options.work / "consumer")
	check_installed_headers(options, prefix, flags)


def check_installed_headers(options, prefix, flags):
	"""Every installed header compiles in the installed tree: a header that another one needs is installed with it."""
	top = prefix / "include" / "torvi-image"
	headers = sorted(header.relative_to(top) for header in top.rglob("*") if header.is_file())
	assert headers, f"no headers in {top}"
	everything = options.work / "all_headers.cpp"
	everything.write_text("".join(f"#include <{header}>\n" for header in headers) + "int main() { return 0; }\n")
	run(options.compiler, "-fsyntax-only", everything, *(flag for flag in flags if not flag.startswith(("-l", "-L", "-Wl"))))


def check_subproject(options):
	build_with_cmake(options, f"-DTORVI_SOURCE={SOURCE}")


def main():
	checks = {"package": check_package, "pkg-config": check_pkg_config, "subproject": check_subproject}
	parser = argparse.ArgumentParser()
	parser.add_argument("way", choices=checks)
	for name in ("--build", "--work"):
		parser.add_argument(name, type=pathlib.Path, required=True)
	for name in ("--compiler", "--flags", "--build-type", "--launcher"):
		parser.add_argument(name, default="")
	options = parser.parse_args()
	options.work = options.work / options.way
	shutil.rmtree(options.work, ignore_errors=True)
	options.work.mkdir(parents=True)
	checks[options.way](options)


if __name__ == "__main__":
	main()
