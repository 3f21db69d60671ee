#!/bin/sh
# Installs the Debian packages that a make target needs, when any is missing.
# Usage: install-deps.sh [demo|test|test-i386|fuzz|bench|docs]   (default demo)
#   demo   building the library, its tools, the demo and the game, whose fonts qzmfont makes
#          from the DejaVu fonts
#   test   adds GoogleTest, Xvfb, Mesa's software OpenGL driver, which the OpenGL tests draw
#          with (named itself: recommends are not installed); the sanitizer and
#          ThreadSanitizer builds need no more
#   test-i386  adds GoogleTest's sources, Xvfb, the 32-bit compilers and qemu-i386, which runs
#          the 32-bit tests where the kernel cannot (the 32-bit libraries are unpacked apart)
#   fuzz   adds clang and its sanitizer runtimes
#   bench  adds Google Benchmark and the peer libraries the benchmarks compare against
#   docs   Doxygen alone: the reference is made from the headers, nothing is built
# QZM_SKIP_DEPS=1 (make DEPS=0) skips it, for machines whose owner manages the packages.
set -eu
[ "${QZM_SKIP_DEPS:-0}" = 1 ] && exit 0

packages="build-essential cmake pkg-config libsdl1.2-dev libvorbis-dev libgl-dev libfreetype-dev
          fonts-dejavu-core"
case "${1:-demo}" in
    demo) ;;
    test) packages="$packages libgtest-dev xvfb libgl1-mesa-dri libglx-mesa0" ;;
    test-i386) packages="$packages libgtest-dev xvfb libgl1-mesa-dri libglx-mesa0 g++-multilib
                         qemu-user" ;;
    fuzz) packages="$packages clang libclang-rt-14-dev" ;;
    bench) packages="$packages libbenchmark-dev libsdl-image1.2-dev libsdl-gfx1.2-dev
                     libsdl-mixer1.2-dev libsndfile1-dev libphysfs-dev" ;;
    docs) packages="doxygen" ;;
    *) echo "install-deps: unknown target $1 (demo, test, test-i386, fuzz, bench, docs)" >&2; exit 2 ;;
esac

cannot() {
    echo "install-deps: $1. Install these Debian packages (or their equivalents):" >&2
    echo "  $missing" >&2
    echo "then run again with QZM_SKIP_DEPS=1 (make DEPS=0) to skip this check." >&2
    exit 1
}

if ! command -v dpkg-query >/dev/null 2>&1; then
    missing=$(echo $packages)
    cannot "this is not a Debian system, so the packages cannot be checked"
fi
missing=""
for p in $packages; do
    case "$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)" in
        *"install ok installed"*) ;;
        *) missing="$missing $p" ;;
    esac
done
missing=${missing# }
[ -z "$missing" ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
    as_root=""
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    as_root="sudo -n"
else
    cannot "some packages are missing and this user cannot install them (not root, no sudo without a password)"
fi

# sudo drops the environment: the frontend is passed through env. Another package manager
# holding a lock is waited for instead of failing.
apt() {
    err=$(mktemp)
    tries=0
    until $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 "$@" \
            </dev/null 2>"$err"; do
        cat "$err" >&2
        tries=$((tries + 1))
        if ! grep -q -i "lock" "$err" || [ "$tries" -ge 40 ]; then rm -f "$err"; return 1; fi
        echo "install-deps: another package manager holds the lock; waiting" >&2
        sleep 15
    done
    rm -f "$err"
}

echo "install-deps: installing $missing"
apt update || cannot "apt-get update failed"
apt install -y --no-install-recommends $missing || cannot "apt-get install failed"
