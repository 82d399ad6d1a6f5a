#!/usr/bin/env bash
# Builds the release and measures it. One argument says what is printed or drawn:
#   bench/run.sh summary             all measurements of the library against its budgets
#   bench/run.sh peers [FOLDER]      the library against others; FOLDER holds the sources of their benchmarks (default ../shared/peers)
#   bench/run.sh chart [PICTURE]     a picture of what the two above measured last (default build/bench/performance.svg)
# Numbers are kept in build/bench/summary.json and build/bench/peers.json.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/packages.sh"
results=$root/build/bench
release=$root/build/release
python=/usr/bin/python3 # the system's, which sees the system's packages

# build TARGET [CONFIGURE-ARGUMENTS...]: messages go to standard error, standard output belongs to the tables.
build()
{
	local target=$1
	shift
	ensure_packages "${BUILD_PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
	(cd "$root" && cmake --preset release -DTORVI_BUILD_BENCH=ON "$@" && cmake --build --preset release --target "$target")
}

# run SCRIPT ARGUMENTS...: leaves no compiled files beside the scripts.
run()
{
	"$python" -B "$root/bench/$1.py" "${@:2}"
}

case "${1:-}" in
	summary)
		build torvi-bench >&2
		run summary "$release/bench/torvi-bench" --library "$release/libtorvi_image.so" --save "$results/summary.json"
		;;
	peers)
		peers=$(realpath "${2:-$root/../shared/peers}")
		build torvi-peer-pairs -DTORVI_PEERS="$peers" >&2
		run peers "$peers" "$release/bench/torvi-peer-pairs" --build "$root/build/peers" --save "$results/peers.json"
		;;
	chart)
		ensure_packages "${BENCH_PACKAGES[@]}" >&2
		for part in summary peers; do
			[[ -f $results/$part.json ]] || { echo "Please run bench/run.sh $part first." >&2; exit 1; }
		done
		run chart "$results/summary.json" "$results/peers.json" "${2:-$results/performance.svg}"
		;;
	*)
		sed -n '3,6s/^# *//p' "${BASH_SOURCE[0]}" >&2
		exit 2
		;;
esac
