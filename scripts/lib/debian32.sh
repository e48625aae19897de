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
  step "Making a 32-bit Debian with Wine in $debian32 (once, about a minute)" >&2
  mkdir -p "${debian32%/*}"
  local log=${debian32%/*}/debian32.log
  as_root rm -rf --one-file-system "$debian32.new"
  as_root env PATH="$PATH:/usr/sbin:/sbin" debootstrap --arch=i386 --variant=minbase \
    --include=wine,wine32 bookworm "$debian32.new" "$debian32_mirror" >"$log" 2>&1 </dev/null ||
    die "The 32-bit Debian could not be made here (root rights and a Debian mirror are needed);
$log tells why. VQ_DEBIAN_MIRROR names another mirror; a wine that runs 32-bit programs also does."
  as_root mkdir "$debian32.new/host"
  as_root mv "$debian32.new" "$debian32"
  local empty
  empty=$(mktemp -d)
  (cd "$empty" && debian32_run wine wineboot --init) >>"$log" 2>&1 </dev/null || true
  rmdir "$empty"
}

debian32_enter='
  exec chroot "$0" /usr/bin/env -i HOME=/root LANG=C.UTF-8 WINEDEBUG=-all \
    WINEDLLPATH=/usr/lib/i386-linux-gnu/wine PATH=/usr/sbin:/usr/bin:/sbin:/bin:/usr/lib/wine \
    sh -c "cd \"\$0\" && exec \"\$@\"" "/host$PWD" "$@"'

# debian32_run COMMAND...: runs a command in it, in the same working folder. The machine's files
# appear under /host. Where nothing may be mounted, as in many containers, these are copies: the
# working folder, without its repository and its builds, and the files that debian32_needs names.
# Of the working folder, what the command has made or changed is copied back, and what it has removed
# is removed.
debian32_needs=()
debian32_run() {
  as_root true || die "The 32-bit Debian in $debian32 needs root rights to run in."
  if as_root unshare --mount mount --bind /proc "$debian32/proc" 2>/dev/null; then
    as_root unshare --mount sh -c 'mount --rbind /proc "$0/proc" && mount --rbind / "$0/host" ||
      exit 125'"$debian32_enter" "$debian32" "$@"
  else
    debian32_run_on_copies "$@"
  fi
}

# The files of the working folder in its copy.
debian32_list_copies() {
  as_root find "$debian32/host$PWD" -type f -printf '%P\0' | LC_ALL=C sort -z
}

# One at a time: the copies of all lie in the same folder.
debian32_run_on_copies() (
  folder=${PWD%/}
  case $debian32 in
    "$folder"/*) die "Nothing may be mounted here, and the folder $PWD is too large to copy." ;;
  esac
  exec 9>"$debian32.lock"
  flock 9
  as_root rm -rf --one-file-system "$debian32/host"
  as_root mkdir -p "$debian32/host$PWD"
  as_root tar -C "$PWD" --exclude=./.git --exclude=./build -cf - . |
    as_root tar -C "$debian32/host$PWD" -xf -
  [ ${#debian32_needs[@]} = 0 ] ||
    as_root tar -C / -cf - "${debian32_needs[@]#/}" | as_root tar -C "$debian32/host" -xf -
  before=$(mktemp)
  debian32_list_copies >"$before"
  as_root touch "$debian32/begin"
  code=0
  as_root sh -c "$debian32_enter" "$debian32" "$@" 9>&- || code=$?
  debian32_list_copies | LC_ALL=C comm -z -23 "$before" - | xargs -0 -r rm -f --
  rm -f "$before"
  as_root find "$debian32/host$PWD" -type f -newer "$debian32/begin" -printf '%P\0' |
    as_root tar -C "$debian32/host$PWD" --null -T - -cf - | tar -C "$PWD" -xf -
  as_root rm -rf --one-file-system "$debian32/host"
  as_root mkdir "$debian32/host"
  exit $code
)
