#!/usr/bin/env bash
# Builds the release and runs the command line program: ./run.sh ARGUMENTS... is torvi-image ARGUMENTS...
# Without arguments it prints the program's help and converts the bundled sample.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$root/scripts/packages.sh"

# All messages of the build go to standard error: standard output belongs to the program.
build()
{
	ensure_packages "${BUILD_PACKAGES[@]}" && configure && (cd "$root" && cmake --build --preset release --target torvi-image)
}

# A build folder that stands already, with tests perhaps, is left as it is.
configure()
{
	[[ -f $root/build/release/build.ninja ]] ||
		(cd "$root" && cmake --preset release -DTORVI_BUILD_TESTS=OFF -DTORVI_BUILD_FUZZ=OFF -DTORVI_BUILD_BENCH=OFF)
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if [[ -t 2 ]]; then
	build >&2
elif ! build > "$log" 2>&1; then
	cat "$log" >&2
	exit 1
fi

program=$root/build/release/tools/torvi-image
if (($# > 0)); then
	rm -f "$log"
	exec "$program" "$@"
fi

"$program" --help
echo
out=$root/build/gradient.bmp
echo "\$ torvi-image convert samples/gradient.bmp build/gradient.bmp"
"$program" convert "$root/samples/gradient.bmp" "$out"
"$program" info "$out"
