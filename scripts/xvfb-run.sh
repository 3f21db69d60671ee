#!/bin/sh
# xvfb-run -a for tests that run side by side: every xvfb-run -a looks for a free display from
# the same number up, and two that start together take the same one, the second failing with
# "Couldn't open X11 display". Starting the search from a number of our own avoids that.
exec xvfb-run -a -n $(( $$ % 900 + 100 )) "$@"
