# Builds for Windows, by the machine's cross compiler or, where that is too old, by the one of the
# 32-bit Debian. Sourced, not run; packages.sh and debian32.sh come first.

declare -A windows_compilers=([win32]=i686 [win64]=x86_64)

# build_windows PRESET [TARGET...]: programs and libraries are in build/PRESET afterwards.
build_windows() {
  local preset=$1 needs="$1_needs[@]" log
  need "${!needs}"
  if [ "$(major_version "${windows_compilers[$preset]}-w64-mingw32-g++" | cut -d- -f1)" -ge 12 ]; then
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
    cp "build/$preset-debian32"/*.exe "build/$preset-debian32"/*.dll "build/$preset"' \
    sh "$preset" "$@" >"$log" 2>&1 </dev/null ||
    die "The build failed; all of its output is in $log"
}

# pack_windows PRESET: makes its .zip file, in build/packages.
pack_windows() {
  need "${zip_needs[@]}"
  build_windows "$1" vqdbsys
  [ ! -e "build/$1/CPackConfig.cmake" ] || cpack --config "build/$1/CPackConfig.cmake"
}
