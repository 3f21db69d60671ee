#!/bin/sh
# Runs a command on an Xvfb display of its own: `xvfb-run.sh COMMAND [ARG...]`.
# Xvfb picks a free display itself (-displayfd) and writes its number once it accepts
# connections, so tests starting side by side never race for a display, and the command
# never starts before the server is up. -noreset: SDL probes the display with a connection of
# its own first, and a server resetting once that one closes refuses the next connection.
# Xvfb's own messages are shown when anything fails.
set -u

dir=$(mktemp -d "${TMPDIR:-/tmp}/qzm-xvfb.XXXXXX") || exit 1
xvfb_pid=
cleanup() {
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null && wait "$xvfb_pid" 2>/dev/null
    rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

start_xvfb() {
    : > "$dir/display"
    # stdin from /dev/null: the server must not take descriptor 0 for a socket.
    Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp -noreset \
        3>"$dir/display" </dev/null >>"$dir/log" 2>&1 &
    xvfb_pid=$!
    waited=0
    while [ ! -s "$dir/display" ]; do
        if ! kill -0 "$xvfb_pid" 2>/dev/null || [ "$waited" -ge 200 ]; then
            kill "$xvfb_pid" 2>/dev/null
            wait "$xvfb_pid" 2>/dev/null
            xvfb_pid=
            return 1
        fi
        sleep 0.05
        waited=$((waited + 1))
    done
}

tries=0
until start_xvfb; do
    tries=$((tries + 1))
    if [ "$tries" -ge 3 ]; then
        echo "xvfb-run.sh: Xvfb did not start; its messages:" >&2
        cat "$dir/log" >&2
        exit 1
    fi
done

display=":$(tr -d '\n' < "$dir/display")"
DISPLAY=$display "$@"
status=$?
if [ "$status" -ne 0 ]; then
    echo "xvfb-run.sh: the command exited with $status on display $display; Xvfb's messages:" >&2
    cat "$dir/log" >&2
fi
exit "$status"
