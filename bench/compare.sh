#!/usr/bin/env bash
# All speed figures in one run: installs the outside tools from Debian, measures ours beside each of them and beside what the
# machine allows, and prints one table, with versions and machine.
#
#   bench/compare.sh [--write] [JOB...]      jobs: see scripts/bench.sh; --write puts the table into docs/performance.md
#
# Run nothing else meanwhile.
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
usage_if_asked "$@"
write=false
if [[ ${1:-} == --write ]]; then
  write=true
  shift
fi
"$root/scripts/setup.sh" base bench

table=$root/out/bench/table.md
mkdir -p "$(dirname "$table")"
"$root/scripts/bench.sh" "$@" | tee "$table.all"
sed -n '/^Machine: /,$p' "$table.all" >"$table"
{
  printf '\nVersions: '
  # shellcheck disable=SC2016 # dpkg's own variables
  dpkg-query -W -f '${Package} ${Version}\n' g++ ffmpeg lame libmp3lame0 mp3info mp3val libavcodec59 libcddb2 2>/dev/null |
    paste -sd ';' | sed 's/;/; /g'
  printf '\nMeasured %s, Linux %s.\n' "$(date -u +%F)" "$(uname -r)"
} >>"$table"
tail -n 4 "$table"
if $write; then
  python3 - "$root/docs/performance.md" "$table" <<'PYTHON'
import sys
page, table = sys.argv[1:]
text, new = open(page, encoding="utf-8").read(), open(table, encoding="utf-8").read()
begin, end = "<!-- table -->\n", "<!-- end of table -->"
before, rest = text.split(begin)
open(page, "w", encoding="utf-8").write(before + begin + new + end + rest.split(end)[1])
PYTHON
  say "The table is in docs/performance.md."
fi
