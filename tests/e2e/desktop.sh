#!/usr/bin/env bash
# A private Windows desktop for one end-to-end test file.
#
#   desktop.sh start NAME   brings it up and prints its environment, a NAME=VALUE a line
#   desktop.sh stop         ends the desktop that the environment names
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/common.sh
. scripts/wine.sh

case $1 in
start)
    wine_start "$2" >&2
    env | grep -E '^(WINE[A-Z]*|LC_ALL|DISPLAY|QX_DESKTOP)='
    echo "wine_display_pid=$wine_display_pid"
    ;;
stop) wine_stop ;;
*) die "usage: desktop.sh start NAME | stop" ;;
esac
