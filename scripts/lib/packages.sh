# What the scripts need from the machine. Sourced, not run.

# Each need is PACKAGE=PROOF: a command, or a file when it begins with a slash.
native_needs=(cmake=cmake ninja-build=ninja g++=g++ libgtest-dev=/usr/include/gtest/gtest.h
  librapidcheck-dev=/usr/include/rapidcheck.h)
# The command-line program; the library does without.
tool_needs=(libcli11-dev=/usr/include/CLI/CLI.hpp libfmt-dev=/usr/include/fmt/format.h
  nlohmann-json3-dev=/usr/include/nlohmann/json.hpp libcsv-dev=/usr/include/csv.h)
# What a host's build may use to find the installed library.
install_needs=(pkg-config=pkg-config)
# For each preset; the tests of the 32-bit DLL need their library's source.
win32_needs=(g++-mingw-w64-i686-posix=i686-w64-mingw32-g++
  googletest=/usr/src/googletest/CMakeLists.txt)
win64_needs=(g++-mingw-w64-x86-64-posix=x86_64-w64-mingw32-g++)
debian_needs=(dpkg-dev=dpkg-shlibdeps file=file)
zip_needs=(unzip=unzip llvm=llvm-dlltool)
wine64_needs=(wine64=/usr/lib/wine/wine64)
# Programs that read the same files, for tests of what they read.
reader_needs=(libdbd-xbase-perl=/usr/share/perl5/XBase.pm)
full_reader_needs=(gdal-bin=ogr2ogr)
reference_needs=(doxygen=doxygen)
# The benchmarks, and the programs beside which vqdb is measured.
bench_needs=(libbenchmark-dev=/usr/include/benchmark/benchmark.h libsqlite3-dev=/usr/include/sqlite3.h
  liblmdb-dev=/usr/include/lmdb.h libdb-dev=/usr/include/db.h
  gdal-bin=ogr2ogr sqlite3=sqlite3 strace=strace)
root_needs=(debootstrap=debootstrap)
fuzz_needs=(clang=clang++)
coverage_needs=(gcovr=gcovr)

say() { printf '%s\n' "$*"; }
step() { printf '== %s\n' "$*"; }
die() {
  printf '%s\n' "$*" >&2
  exit 1
}

as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    return 1
  fi
}

is_there() {
  case $1 in
    /*) [ -e "$1" ] ;;
    *) PATH=$PATH:/usr/sbin:/sbin command -v "$1" >/dev/null ;;
  esac
}

# Installs what is missing of the needs given, or ends with the list of what to install by hand.
need() {
  local missing=() entry
  for entry in "$@"; do
    is_there "${entry#*=}" || missing+=("${entry%%=*}")
  done
  [ ${#missing[@]} = 0 ] && return
  command -v apt-get >/dev/null ||
    die "Please install these packages, or what they are called here: ${missing[*]}"
  step "Installing ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { as_root apt-get update &&
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
      "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
    tail -n 5 "$log" >&2
    die "These packages are missing and could not be installed from here: ${missing[*]}
As root: apt-get update && apt-get install ${missing[*]}"
  fi
  rm -f "$log"
}

major_version() { "$1" -dumpversion 2>/dev/null | cut -d. -f1; }

# The library is C++20 and reads and writes numbers with the charconv of GCC 12.
need_compiler() {
  local major
  major=$(major_version "${CXX:-g++}")
  if [ -z "${CXX:-}" ] && [ "${major:-0}" -lt 12 ]; then
    need g++-12=g++-12
    export CC=gcc-12 CXX=g++-12
  fi
}

# Configures and builds the targets (all, when none is named) of a preset, quietly while it works.
build() {
  local preset=$1 log
  shift
  log=$(mktemp)
  step "Building ($preset)"
  if ! { cmake --preset "$preset" && cmake --build "build/$preset" -j "$(nproc)" \
    ${1:+--target "$@"}; } >"$log" 2>&1; then
    grep -E -A 8 'error|FAILED|Error' "$log" | head -n 60 >&2
    die "The build failed; all of its output is in $log"
  fi
  rm -f "$log"
}
