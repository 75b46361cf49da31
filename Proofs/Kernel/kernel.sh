# Sourced after common.sh by scripts that need a real kernel: has the kernel, in build/kernel, and the emulated machine.

# Fetches the distribution's kernel, unless build/kernel has one.
need_kernel() {
  need_packages "$kernel_packages"
  for tool in qemu-system-x86_64 busybox; do
    command -v "$tool" >/dev/null || die "$tool is missing; install these packages: $kernel_packages"
  done
  [ ! -d build/kernel/disk ] || return 0
  say "fetching the kernel"
  Proofs/Kernel/fetch-kernel "$PWD/build/kernel"
}

# make_initrd DIRECTORY FILE: packs the directory into FILE, with busybox.
make_initrd() {
  mkdir -p "$1/bin" "$1/proc" "$1/sys" "$1/dev" "$1/tmp"
  cp "$(command -v busybox)" "$1/bin/busybox"
  (cd "$1" && find . | busybox cpio -o -H newc 2>/dev/null) >"$2"
}

# emulate SECONDS INITRD CONSOLE BOOT-PARAMETERS [QEMU-OPTION...]: runs one machine until it switches itself off, for so long
# at most. The file CONSOLE gets the output of its kernel and its first process.
emulate() {
  limit=$1 initrd=$2 console=$3
  boot="console=ttyS0 quiet loglevel=4 panic=-1 oops=panic nokaslr mitigations=off random.trust_cpu=on cryptomgr.notests"
  boot="$boot no_timer_check i8042.nokbd i8042.noaux $4" # a keyboard would bring LEDs of its own
  shift 4
  exec timeout "$limit" qemu-system-x86_64 -nodefaults -no-user-config -display none -no-reboot -m 512 -M pc,vmport=off \
    -accel tcg -cpu max -kernel build/kernel/vmlinux -initrd "$initrd" -append "$boot" -serial "file:$console" "$@" </dev/null
}
