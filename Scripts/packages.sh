# Sourced after common.sh by the checks that install the packages.

# need_packages_built [armhf|arm64|trixie]: builds the packages of the last commit, unless they are there.
# shellcheck disable=SC2120 # the argument may be missing
need_packages_built() {
  revision=$(git rev-parse --verify HEAD) || die "packages are made of a commit, and there is none"
  [ "$(cat "build/packages${1:+-$1}/revision" 2>/dev/null)" != "$revision" ] || return 0
  Scripts/package "$@"
}

# make_later_packages DIRECTORY PACKAGE...: makes the same packages with a later version, to upgrade to.
make_later_packages() {
  later=$1
  shift
  unpacked=$(mktemp -d)
  for package in "$@"; do
    dpkg-deb -R "$package" "$unpacked/package"
    version=$(dpkg-deb -f "$package" Version)
    sed -i "s/^Version: .*/&.later/; s/(= $version)/(= $version.later)/" "$unpacked/package/DEBIAN/control"
    dpkg-deb --root-owner-group -b "$unpacked/package" "$later" >/dev/null
    rm -r "$unpacked/package"
  done
  rmdir "$unpacked"
}
