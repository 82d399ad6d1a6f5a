#!/usr/bin/env bash
# Builds and tests everything: the release with all tests but the slow ones, then the unit tests under the address and
# undefined behaviour sanitizers. With --full also: slow tests, data races, clang, fuzzing, other instruction sets,
# clang-tidy, and the format of the sources. Ends with a table of times; fails when any step fails.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source scripts/packages.sh

full=no
case "${1:-}" in
	"") ;;
	--full) full=yes ;;
	*) echo "usage: ./test.sh [--full]" >&2; exit 2 ;;
esac

jobs=$(nproc)
everything=(-DTORVI_BUILD_TESTS=ON -DTORVI_BUILD_FUZZ=ON -DTORVI_BUILD_BENCH=ON)
summary=()
failed=no

# step NAME COMMAND...: runs the command, notes its time and how it ended. Later steps run after a failure too.
step()
{
	local name=$1 start=$SECONDS status=passed
	shift
	printf '\n=== %s\n' "$name"
	"$@" < /dev/null || status=FAILED
	[[ $status == passed ]] || failed=yes
	summary+=("$(printf '%-28s %-7s %5d s' "$name" "$status" $((SECONDS - start)))")
	[[ $status == passed ]]
}

# build PRESET CONFIGURE-ARGUMENTS...
build()
{
	local preset=$1
	shift
	cmake --preset "$preset" "$@" && cmake --build --preset "$preset"
}

# check PRESET [CONFIGURE-ARGUMENTS...]: builds, and tests if that went well.
check()
{
	local preset=$1
	shift
	step "$preset: build" build "$preset" "$@" && step "$preset: test" run_tests "$preset" || true
}

run_tests()
{
	ctest --preset "$1" --parallel "$jobs"
}

# The thread sanitizer of gcc 12 cannot start where the kernel spreads addresses widely: switch that off where we may.
run_tests_without_address_spread()
{
	local prefix=()
	if setarch "$(uname -m)" -R true 2> /dev/null; then
		prefix=(setarch "$(uname -m)" -R)
	fi
	"${prefix[@]}" ctest --preset tsan --parallel "$jobs"
}

check_format()
{
	local files
	mapfile -t files < <(git ls-files '*.h' '*.cpp')
	clang-format --dry-run --Werror "${files[@]}"
}

step "packages" ensure_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" || true
check release "${everything[@]}"
check asan "${everything[@]}" -DTORVI_BUILD_BENCH=OFF
if [[ $full == yes ]]; then
	step "release: slow tests" run_tests release-slow || true
	step "tsan: build" build tsan -DTORVI_BUILD_BENCH=OFF && step "tsan: test" run_tests_without_address_spread || true
	check dev-clang
	check fuzz
	check release-x86-64
	check release-native
	step "tidy" build tidy || true
	step "format" check_format || true
fi

printf '\n=== summary\n'
printf '%s\n' "${summary[@]}"
printf '%-28s %-7s %5d s\n' "all" "$([[ $failed == no ]] && echo passed || echo FAILED)" "$SECONDS"
[[ $failed == no ]]
