# Real tables, which several programs wrote: those of an R package, unpacked here and not installed.
# Sourced, not run; packages.sh comes first.

# Puts them into build/tables; tells why when it cannot.
fetch_tables() {
  local folder=build/tables
  [ ! -e $folder/world.dbf ] || return 0
  step "Fetching real tables (package r-cran-spdata)"
  if ! command -v apt-get >/dev/null || ! command -v dpkg-deb >/dev/null; then
    say "The tables come from a Debian package, which this system cannot fetch."
    return 1
  fi
  rm -rf $folder.new
  mkdir -p $folder.new
  if ! (
    cd $folder.new
    { apt-get download r-cran-spdata || { as_root apt-get update && apt-get download r-cran-spdata; }; } &&
      dpkg-deb -x r-cran-spdata_*.deb package && find package -name '*.dbf' -exec cp {} . \;
  ) >build/tables.log 2>&1; then
    say "The package r-cran-spdata could not be fetched; build/tables.log tells why."
    return 1
  fi
  rm -rf $folder $folder.new/package $folder.new/*.deb
  mv $folder.new $folder
}
