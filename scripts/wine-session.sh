#!/usr/bin/env bash
# Runs a command with one Wine server for all its programs; called by wine.sh where Wine is.
#
#   wine-session.sh FOLDER COMMAND [ARG...]
#
# Without this each program starts a server that ends with it, and the next program may meet a server that is just ending.
set -euo pipefail
cd "$1"
shift
wineserver --persistent
code=0
"$@" || code=$?
wineserver --kill || true # it writes down what was set up
wineserver --wait || true
exit "$code"
