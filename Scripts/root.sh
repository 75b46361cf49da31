# Sourced after common.sh by the checks that need another Debian than this machine's. Each has a root directory of its own
# under build/, made once; remove build/NAME to have it made again.
if [ "$(id -u)" != 0 ]; then
  command -v sudo >/dev/null || die "mounts and changes its root directory; run it as root"
  exec sudo ${ORVEL_REVISION:+ORVEL_REVISION="$ORVEL_REVISION"} ${CCACHE_DIR:+CCACHE_DIR="$CCACHE_DIR"} "$program" "$@"
fi

# prepare_root NAME SUITE ARCHITECTURES PACKAGE...: makes build/NAME/root, unless it is there with these packages. It takes the
# mirror and the age limits from this machine's apt, and checks signatures with its keys.
prepare_root() {
  home=$PWD/build/$1 root=$PWD/build/$1/root suite=$2 architectures=$3
  shift 3
  contents="$suite $architectures $*"
  [ "$(cat "$root/orvel-root" 2>/dev/null)" != "$contents" ] || return 0
  command -v apt-get >/dev/null || die "needs a Debian with apt, from which it takes the mirror"
  need_packages mmdebstrap debian-archive-keyring util-linux
  # shellcheck disable=SC2016 # apt-get expands it
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Identifier: Packages' 'Label: Debian' | head -n 1)
  [ -n "$mirror" ] || die "apt knows no Debian mirror here; name one in its sources and run apt-get update"
  say "making a root of Debian $suite ($home)"
  new=$home/new log=$home/log
  rm -rf --one-file-system "$new"
  mkdir -p "$home"
  trap 'rm -rf --one-file-system "$new"' EXIT
  trap 'exit 1' INT TERM HUP
  mmdebstrap --variant=apt --architectures="$architectures" --include="$*" \
    --aptopt="$(apt-config dump --format '%F "%v";%n' Acquire::Check-Valid-Until Acquire::Check-Date)" \
    "$suite" "$new" "$mirror" >"$log" 2>&1 || {
    # Leave out the mirror's name, which is this machine's own business.
    grep -e '^E: ' -e '^dpkg: error' -e 'No space left' "$log" | sed 's|[a-z]*://[^ ]*|(the mirror)|g' >&2
    die "cannot make the root; all that was said is in $log"
  }
  echo "$contents" >"$new/orvel-root"
  rm -rf --one-file-system "$root"
  mv "$new" "$root"
  rm "$log"
}

# prepare_cross_root: makes a Debian 12 (build/cross/root) that builds for Debian's ARM architectures and runs the programs
# emulated. This machine itself gets no other architecture.
prepare_cross_root() {
  contents="$build_packages $test_packages build-essential debhelper mount qemu-user systemd ccache"
  for foreign in armhf arm64; do
    contents="$contents crossbuild-essential-$foreign"
    for library in pkgconf liblog4cplus-dev libpugixml-dev libpcap0.8-dev libuev-dev libfuse3-dev libncurses-dev libgtest-dev libgmock-dev; do
      contents="$contents $library:$foreign"
    done
  done
  # shellcheck disable=SC2086 # a list of words
  prepare_root cross bookworm "$(dpkg --print-architecture),armhf,arm64" $contents
}

# root_cache: prints where the root keeps what it compiled, in the compiler cache of this machine (CCACHE_DIR) if it has one. It
# is a folder of its own, because the root's ccache may be of another version. Prints nothing for a root without ccache. Only a
# tree at the same path finds it again: relative paths (CCACHE_BASEDIR) would be those in the daemon's log lines.
root_cache() {
  [ -z "${CCACHE_DIR:-}" ] || [ ! -x "$root/usr/bin/ccache" ] || echo "$CCACHE_DIR/$(basename "$home")"
}

# in_root COMMAND...: runs it in the prepared root, in this source tree, which has the same path there. The mounts are in a
# namespace of the command's own and vanish with it.
in_root() {
  # shellcheck disable=SC2016 # expanded by the inner shell
  unshare --mount --propagation private sh -euc '
    root=$1 tree=$2 cache=$3
    shift 3
    mount --bind "$root" "$root" # a program can give mounts away, or keep them, only where its root is a mount
    for directory in /proc /sys /dev; do
      mount --rbind "$directory" "$root$directory"
    done
    mkdir -p "$root$tree"
    mount --bind "$tree" "$root$tree"
    if [ -n "$cache" ]; then
      mkdir -p "$cache" "$root$cache"
      mount --bind "$cache" "$root$cache"
    fi
    exec chroot "$root" env -i -C "$tree" PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
      ${cache:+CCACHE_DIR="$cache"} "$@"
  ' sh "$root" "$PWD" "$(root_cache)" "$@"
}

# build_in_root PRESET DIRECTORY [CMAKE OPTION...]: like build, into DIRECTORY. Warnings are errors. With a compiler
# cache there are no precompiled headers, which it would have to be told to trust.
build_in_root() {
  preset=$1 directory=$2 launcher="" cached=OFF
  shift 2
  [ -z "$(root_cache)" ] || launcher=ccache cached=ON
  say "building ($directory)"
  in_root cmake --preset "$preset" -B "$directory" -DORVEL_SIMULATOR=ON -DORVEL_TESTS=ON -DORVEL_WARNINGS_AS_ERRORS=ON \
    -DORVEL_REVISION="${ORVEL_REVISION:-}" -DCMAKE_C_COMPILER_LAUNCHER=$launcher -DCMAKE_CXX_COMPILER_LAUNCHER=$launcher \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=$cached "$@" >"$home/log" 2>&1 || {
    tail -n 20 "$home/log" >&2
    die "cannot configure"
  }
  grep -E -- '^-- log4cplus' "$home/log"
  # shellcheck disable=SC2086 # a list of words
  in_root cmake --build "$directory" ${build_targets:+--target $build_targets} || die "cannot build"
}
