# A 32-bit Debian in a folder of its own, for machines that cannot run 32-bit Windows programs
# themselves. It is made once and kept in the user's cache. Sourced, not run.

debian32=${XDG_CACHE_HOME:-$HOME/.cache}/vqdbsys/debian32
debian32_mirror=${VQ_DEBIAN_MIRROR:-http://deb.debian.org/debian}

debian32_create() {
  [ -e "$debian32/usr/lib/wine/wine" ] && return
  need "${root_needs[@]}"
  if [ ! -e /usr/share/keyrings/debian-archive-keyring.gpg ]; then
    need debian-archive-keyring=/usr/share/keyrings/debian-archive-keyring.gpg
  fi
  step "Making a 32-bit Debian with Wine in $debian32 (once, about a minute)"
  mkdir -p "${debian32%/*}"
  local log=${debian32%/*}/debian32.log
  as_root rm -rf --one-file-system "$debian32.new"
  as_root env PATH="$PATH:/usr/sbin:/sbin" debootstrap --arch=i386 --variant=minbase \
    --include=wine,wine32 bookworm "$debian32.new" "$debian32_mirror" >"$log" 2>&1 </dev/null ||
    die "The 32-bit Debian could not be made here (root rights and a Debian mirror are needed);
$log tells why. VQ_DEBIAN_MIRROR names another mirror; a wine that runs 32-bit programs also does."
  as_root mkdir "$debian32.new/host"
  as_root mv "$debian32.new" "$debian32"
}

# Runs a command in it. The machine's files appear under /host, and the working folder is the same.
debian32_run() {
  as_root unshare --mount sh -c '
    mount --rbind /proc "$0/proc" && mount --rbind / "$0/host" || exit 125
    folder=/host$PWD
    exec chroot "$0" /usr/bin/env -i HOME=/root LANG=C.UTF-8 WINEDEBUG=-all \
      WINEDLLPATH=/usr/lib/i386-linux-gnu/wine PATH=/usr/sbin:/usr/bin:/sbin:/bin:/usr/lib/wine \
      sh -c "cd \"\$0\" && exec \"\$@\"" "$folder" "$@"' "$debian32" "$@"
}

# Whether this machine lets us mount; containers often do not.
debian32_can_mount() { as_root unshare --mount true 2>/dev/null; }

# Like debian32_run for a Windows program, where nothing may be mounted: program and working folder
# are copied in, and the working folder is copied back.
debian32_run_copied() {
  local program=$1 code=0 place
  shift
  place=$(as_root mktemp -d "$debian32/var/tmp/run.XXXXXX")
  as_root mkdir "$place/program" "$place/work"
  as_root find "${program%/*}" -maxdepth 1 -name '*.exe' -exec cp {} "$place/program" \;
  as_root find "${program%/*}" -maxdepth 1 -name '*.dll' -exec cp {} "$place/program" \;
  if [ "$(realpath "${program%/*}")" != "$PWD" ]; then
    as_root cp -R . "$place/work"
  fi
  as_root chroot "$debian32" /usr/bin/env -i HOME=/root LANG=C.UTF-8 WINEDEBUG=-all \
    WINEDLLPATH=/usr/lib/i386-linux-gnu/wine PATH=/usr/sbin:/usr/bin:/sbin:/bin:/usr/lib/wine \
    sh -c 'cd "$0" && exec "$@"' "${place#"$debian32"}/work" wine \
    "../program/${program##*/}" "$@" || code=$?
  as_root cp -R "$place/work/." .
  as_root rm -rf "$place"
  return $code
}
