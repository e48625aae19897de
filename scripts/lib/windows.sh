# Builds for Windows, by the machine's cross compiler or, where that is too old, by the one of the
# 32-bit Debian. Sourced, not run; packages.sh and debian32.sh come first.

declare -A windows_compilers=([win32]=i686 [win64]=x86_64)

# Whether the machine's cross compiler for the preset will do; installs it where it is missing.
has_windows_compiler() {
  local needs="$1_needs[@]"
  need "${!needs}"
  [ "$(major_version "${windows_compilers[$1]}-w64-mingw32-g++" | cut -d- -f1)" -ge 12 ]
}

# build_windows PRESET [TARGET...]: programs and libraries are in build/PRESET afterwards.
build_windows() {
  local preset=$1 log
  if has_windows_compiler "$preset"; then
    build "$@"
    return
  fi
  shift
  debian32_create
  step "Building ($preset, in the 32-bit Debian)"
  log=$PWD/build/$preset.log
  mkdir -p "build/$preset-debian32"
  debian32_needs=("$PWD/build/$preset-debian32")
  debian32_run sh -c 'preset=$1 && shift && apt-get update &&
    apt-get install -y --no-install-recommends cmake ninja-build llvm googletest \
      g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix &&
    cmake --preset "$preset" -B "build/$preset-debian32" &&
    cmake --build "build/$preset-debian32" -j "$(nproc)" ${1:+--target "$@"} &&
    cpack --config "build/$preset-debian32/CPackConfig.cmake" && mkdir -p "build/$preset" &&
    find "build/$preset-debian32" -maxdepth 1 -name "*.[ed][xl][el]" -exec cp {} "build/$preset" \;' \
    sh "$preset" "$@" >"$log" 2>&1 </dev/null ||
    die "The build failed; all of its output is in $log"
}

# The source of libcsv, in build/libcsv: the program for Windows is built with it. Where the machine's
# package lists have no sources, this asks for them aside.
fetch_libcsv() {
  [ ! -e build/libcsv/libcsv.c ] || return 0
  command -v apt-get >/dev/null || return 1
  step "Fetching the source of libcsv"
  local work list options
  work=$(mktemp -d)
  mkdir -p "$work/parts" "$work/lists/partial"
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
    [ -e "$list" ] || continue
    sed -E 's/^deb /deb-src /; s/^(Types:).*/\1 deb-src/' "$list" \
      >"$work/parts/$(basename "$list" | sed 's/^sources\.list$/main.list/')"
  done
  options=(-o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/parts"
    -o Dir::State::Lists="$work/lists" -o APT::Sandbox::User=root)
  if (cd "$work" && as_root apt-get "${options[@]}" update &&
    as_root apt-get "${options[@]}" source --download-only libcsv) >build/libcsv.log 2>&1 &&
    mkdir -p build/libcsv.new &&
    tar -C build/libcsv.new --strip-components=1 -xf "$work"/libcsv_*.orig.tar.*; then
    rm -rf build/libcsv
    mv build/libcsv.new build/libcsv
  fi
  as_root rm -rf --one-file-system "$work"
  [ -e build/libcsv/libcsv.c ]
}

# pack_windows PRESET: makes its .zip file, in build/packages, with the program where that can be built.
pack_windows() {
  local targets=(vqdbsys)
  need "${zip_needs[@]}"
  if has_windows_compiler "$1" && [ -e /usr/include/CLI/CLI.hpp ] && fetch_libcsv; then
    targets+=(vqdb)
  fi
  build_windows "$1" "${targets[@]}"
  [ ! -e "build/$1/CPackConfig.cmake" ] || cpack --config "build/$1/CPackConfig.cmake"
}
