#!/usr/bin/env bash
# Fuzzes: builds the targets with libFuzzer and runs all of them, or those that are named, two at a time.
#   fuzz/run.sh MINUTES [TARGET...]
# MINUTES is the processor time of each target. Inputs that lead somewhere are kept in build/fuzz-corpus/TARGET for the next run. What
# crashes or hangs is made small and put into tests/regressions/TARGET. Ends with a table; exit status 1 if anything was found.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/packages.sh"

if (($# < 1)) || ! [[ $1 =~ ^[1-9][0-9]*$ ]]; then
	sed -n '2,5s/^# *//p' "${BASH_SOURCE[0]}" >&2
	exit 2
fi

ensure_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" >&2
cd "$root"
cmake --preset fuzz >&2
for target in "${@:2}"; do
	grep -q "^$target	" build/fuzz/fuzz/targets.tsv || { echo "There is no target $target." >&2; exit 2; }
done
targets=("${@:2}")
((${#targets[@]} > 0)) || mapfile -t targets < <(cut -f 1 build/fuzz/fuzz/targets.tsv)
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}" >&2
exec python3 -B fuzz/campaign.py "$1" "${targets[@]}"
