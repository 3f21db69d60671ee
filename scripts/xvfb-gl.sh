#!/bin/sh
# Runs a command with OpenGL on an Xvfb display of its own: `xvfb-gl.sh COMMAND [ARG...]`.
# SDL draws through X11 and Mesa renders in software. Under LeakSanitizer the leaks that Mesa
# and X11 keep inside their own code are suppressed; the library's never are.
here=$(cd "$(dirname "$0")" && pwd)
export SDL_VIDEODRIVER=x11 LIBGL_ALWAYS_SOFTWARE=1
export LSAN_OPTIONS="suppressions=$here/../tests/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
exec sh "$here/xvfb-run.sh" "$@"
