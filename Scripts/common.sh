# Sourced by the other scripts and by the proofs, which all run at the top of the source tree.
set -eu
program=$(cd "$(dirname "$0")" && pwd)/$(basename "$0")
program_name=$(basename "$0") # a proof has that of its folder
[ "$program_name" != prove ] || program_name=$(basename "$(dirname "$program")" | tr '[:upper:]' '[:lower:]')
cd "$(dirname "$program")"
while [ ! -f CMakePresets.json ] && [ "$PWD" != / ]; do cd ..; done

say() { printf '\n== %s\n' "$*"; }
die() { printf '%s: %s\n' "$program_name" "$*" >&2; exit 1; }

# Lists of words.
# shellcheck disable=SC2034 # used by the other scripts
{
  build_packages="g++ cmake ninja-build pkg-config git ca-certificates liblog4cplus-dev libcxxopts-dev libcli11-dev nlohmann-json3-dev libpugixml-dev libpcap0.8-dev libuev-dev libfuse3-dev libncurses-dev"
  test_packages="libgtest-dev libgmock-dev python3 tmux zsh busybox-static libxml2-utils"
  kernel_packages="qemu-system-x86 busybox-static gcc make xz-utils binutils"
  check_packages="clang clang-format clang-tidy libclang-dev llvm-dev shellcheck gcovr binutils"
  benchmark_packages="libbenchmark-dev strace gnuplot-nox binutils iproute2"
  fuzz_packages="clang libclang-rt-dev"
  package_packages="build-essential debhelper dpkg-dev lintian"
}

# The system tests of the daemon itself, those that a real kernel passes too. The others test the board, the client and the
# examples, with the same few paths through the daemon.
# shellcheck disable=SC2034 # used by the other scripts
daemon_tests='^(Button|CemiBridge|CemiStart|Led|Link|Log|Start|Stop)\.'

# shared_directory NAME: prints a directory that all trees of this user share. Checks keep there what they need not do twice.
shared_directory() {
  directory=${XDG_CACHE_HOME:-${HOME:-$PWD/build}/.cache}/orvel/$1
  mkdir -p "$directory" || die "cannot make $directory"
  echo "$directory"
}

# with_log FUNCTION [ARGUMENT...]: runs it with a file for what its programs say as its first argument. The file goes with it.
with_log() (
  function=$1 file=$(mktemp)
  shift
  trap 'rm -f "$file"' EXIT
  trap 'exit 1' HUP INT TERM
  "$function" "$file" "$@"
)

# need_packages LIST...: installs the packages that are missing.
need_packages() {
  command -v apt-get >/dev/null || { say "no apt-get here: taking it that these are installed: $*"; return; }
  missing=""
  # shellcheck disable=SC2048 # lists of words
  for package in $*; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  root=""
  if [ "$(id -u)" != 0 ]; then
    root="sudo"
    command -v sudo >/dev/null || die "missing packages; as root: apt-get install$missing"
  fi
  say "installing$missing"
  with_log install_missing || exit 1
}

install_missing() { # LOG
  log=$1
  # shellcheck disable=SC2086 # lists of words
  { $root apt-get update && $root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1 || {
    tail -n 5 "$log" >&2
    die "cannot install$missing"
  }
}

# need_board: checks what the simulated board needs and no package brings.
need_board() {
  [ -c /dev/fuse ] || die "there is no /dev/fuse, which the simulated board needs: modprobe fuse"
  (: <>/dev/fuse) 2>/dev/null || die "/dev/fuse, which the simulated board needs, is not readable and writable for this user"
  command -v unshare >/dev/null || return 0 # the board itself will say it
  unshare --user --map-root-user --mount --propagation unchanged --ipc true 2>/dev/null && return 0
  [ "$(id -u)" = 0 ] || die "the simulated board needs a user namespace, and this system gives an ordinary user none (see the sysctl user.max_user_namespaces and the rules of its security module); run as root instead"
  unshare --mount --propagation unchanged --ipc true 2>/dev/null || die "the simulated board needs mount and IPC namespaces, and this system gives none"
}

# build PRESET [CMAKE OPTION...]: configures and builds into build/PRESET, whatever was configured there before. Builds
# everything, or only the targets in $build_targets.
build() {
  preset=$1
  shift
  say "building ($preset)"
  with_log configure "$@" || exit 1
  # shellcheck disable=SC2086 # a list of words
  cmake --build --preset "$preset" ${build_targets:+--target $build_targets} || die "cannot build"
}

configure() { # LOG [CMAKE OPTION...]
  log=$1
  shift
  cmake --preset "$preset" -DORVEL_SIMULATOR=ON -DORVEL_TESTS=ON -DORVEL_BENCHMARKS=OFF -DNEMT_LIBRARY= ${ORVEL_REVISION:+-DORVEL_REVISION="$ORVEL_REVISION"} "$@" >"$log" 2>&1 || {
    tail -n 20 "$log" >&2
    die "cannot configure"
  }
  grep -E -- '^-- log4cplus' "$log" || true
}

# describe_build: describes in build/tidy how each source is compiled, for programs that read the sources. They cannot use
# headers that GCC has precompiled.
describe_build() {
  cmake --preset debug -B build/tidy -DORVEL_SIMULATOR=ON -DORVEL_TESTS=ON -DORVEL_BENCHMARKS=ON -DNEMT_LIBRARY= \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null || die "cannot configure"
  cmake --build build/tidy --target OrvelComponentsRevision OrvelVersionRevision >/dev/null || die "cannot configure"
}
