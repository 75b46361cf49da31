# Sourced by the other scripts, which run in the source tree.
set -eu
cd "$(dirname "$0")/.."

say() { printf '\n== %s\n' "$*"; }
die() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

build_packages="g++ cmake ninja-build pkg-config git ca-certificates liblog4cplus-dev libcxxopts-dev libfuse3-dev libncurses-dev"
test_packages="libgtest-dev libgmock-dev python3 tmux zsh"
kernel_packages="qemu-system-x86 busybox-static gcc make xz-utils binutils"
check_packages="clang clang-format clang-tidy gcovr binutils"
benchmark_packages="libbenchmark-dev strace gnuplot-nox binutils"
fuzz_packages="clang libclang-rt-dev"
package_packages="debhelper dpkg-dev lintian"

# need_packages PACKAGE...: installs those that are missing.
need_packages() {
  command -v apt-get >/dev/null || { say "no apt-get here: taking it that these are installed: $*"; return; }
  missing=""
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  root=""
  if [ "$(id -u)" != 0 ]; then
    root="sudo"
    command -v sudo >/dev/null || die "missing packages; as root: apt-get install$missing"
  fi
  say "installing$missing"
  log=$(mktemp)
  # shellcheck disable=SC2086 # lists of words
  if ! { $root apt-get update && $root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1; then
    tail -n 5 "$log" >&2
    rm -f "$log"
    die "cannot install$missing"
  fi
  rm -f "$log"
}

need_fuse() { [ -c /dev/fuse ] || die "there is no /dev/fuse, which the simulated board needs: modprobe fuse"; }

# build PRESET [CMAKE OPTION...]: configures and builds into build/PRESET, whatever was configured there before; everything,
# or the targets in $build_targets.
build() {
  preset=$1
  shift
  say "building ($preset)"
  cmake --preset "$preset" -DORVEL_SIMULATOR=ON -DORVEL_TESTS=ON -DORVEL_BENCHMARKS=OFF -DNEMT_LIBRARY= ${ORVEL_REVISION:+-DORVEL_REVISION="$ORVEL_REVISION"} "$@" >"/tmp/orvel-configure.$$" 2>&1 || {
    tail -n 20 "/tmp/orvel-configure.$$" >&2
    rm -f "/tmp/orvel-configure.$$"
    die "cannot configure"
  }
  grep -E -- '^-- log4cplus' "/tmp/orvel-configure.$$" || true
  rm -f "/tmp/orvel-configure.$$"
  # shellcheck disable=SC2086 # a list of words
  cmake --build --preset "$preset" ${build_targets:+--target $build_targets} || die "cannot build"
}

# describe_build: into build/tidy, for programs that read the sources, how each is compiled. Headers that GCC has compiled
# before are not for them.
describe_build() {
  cmake --preset debug -B build/tidy -DORVEL_SIMULATOR=ON -DORVEL_TESTS=ON -DORVEL_BENCHMARKS=ON -DNEMT_LIBRARY= \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null && cmake --build build/tidy --target OrvelComponentsRevision >/dev/null ||
    die "cannot configure"
}
