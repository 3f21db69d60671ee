#!/bin/sh
# Lets the kernel run 32-bit x86 programs, through qemu-i386 where it cannot run them itself
# (as Debian's qemu-user-binfmt does on machines that run systemd-binfmt).
set -eu
probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
echo 'int main(void) { return 0; }' > "$probe/probe.c"
cc -m32 "$probe/probe.c" -o "$probe/probe"
"$probe/probe" 2>/dev/null && exit 0

if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
binfmt=/proc/sys/fs/binfmt_misc
[ -e $binfmt/register ] || $sudo mount -t binfmt_misc binfmt_misc $binfmt
# ELF, 32-bit, little-endian, executable or shared object, machine 3 (i386).
magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00'
mask='\xff\xff\xff\xff\xff\xfe\xfe\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
[ -e $binfmt/qemu-i386 ] ||
    printf '%s' ":qemu-i386:M::$magic:$mask:$(command -v qemu-i386):" | $sudo tee $binfmt/register >/dev/null
"$probe/probe"
