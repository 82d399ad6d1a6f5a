# The one list of Debian packages, sourced by run.sh and test.sh. Each row is a package, or package=command: where the
# command is present, the package is not asked for, so that a machine with its own compiler needs nothing.

BUILD_PACKAGES=(
	g++=g++
	cmake=cmake
	ninja-build=ninja
	ccache=ccache
	pkg-config=pkg-config
	libpng-dev
	libjpeg-dev
	zlib1g-dev
	liblcms2-dev
	libopencolorio-dev
	libyaml-cpp-dev
	libcli11-dev
	nlohmann-json3-dev
	libutf8proc-dev
	libexif-dev
	libfreetype-dev
	libfontconfig-dev
	libfribidi-dev
	fonts-dejavu-core
	libhwy-dev
)

TEST_PACKAGES=(
	libgtest-dev
	libbenchmark-dev
	clang=clang++
	libclang-rt-14-dev
	clang-tidy=clang-tidy
	clang-format=clang-format
	imagemagick
	python3=python3
)

# For bench/run.sh only: the libraries that this one is compared with, and what draws the chart.
BENCH_PACKAGES=(
	libbenchmark-dev
	libbabl-dev
	libopenimageio-dev
	libswscale-dev
	libpixman-1-dev
	python3=python3
	python3-matplotlib
)

# Prints the packages of the given rows that are neither installed nor provided otherwise.
missing_packages()
{
	local row package command
	for row in "$@"; do
		package=${row%%=*}
		command=${row#*=}
		[[ $row == *=* ]] && command -v "$command" > /dev/null && continue
		[[ $(dpkg-query -W -f '${Status}' "$package" 2> /dev/null) == "install ok installed" ]] || echo "$package"
	done
}

# Installs what is missing of the given rows. Does not touch the package system when nothing is.
ensure_packages()
{
	local missing as_root=()
	if ! command -v dpkg-query > /dev/null; then
		echo "This is no Debian system: please see to it that these are there: ${*%%=*}" >&2
		return 0
	fi
	mapfile -t missing < <(missing_packages "$@")
	((${#missing[@]} > 0)) || return 0
	echo "Installing: ${missing[*]}"
	if ((EUID != 0)); then
		command -v sudo > /dev/null || { echo "Please install these packages as root: ${missing[*]}" >&2; return 1; }
		as_root=(sudo)
	fi
	"${as_root[@]}" apt-get -o Acquire::Retries=3 update -q < /dev/null || return 1
	"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o Acquire::Retries=3 install -q -y --no-install-recommends \
		"${missing[@]}" < /dev/null
}
