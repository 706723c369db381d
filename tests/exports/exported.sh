#!/usr/bin/env bash
# What a library hands out, class by class: held against exported.txt, so that nothing gets into the interface, or out of it,
# unnoticed.
#
#   exported.sh NM CXXFILT LIBRARY [PRODUCT]   NM and CXXFILT of the target's own kind; of a DLL, LIBRARY is the import library
#
# PRODUCT is linux (default) or windows: the lines of the list that begin with another product's name do not count.
set -euo pipefail
nm=$1 cxxfilt=$2 library=$3 product=${4:-linux}
list=$(dirname "${BASH_SOURCE[0]}")/exported.txt

symbols() {
  if [[ $product == windows ]]; then
    # Each export has one address in the import table. Names of 32-bit Windows have an underscore in front.
    "$nm" --defined-only "$library" | sed -nE 's/^.* __imp_(.*)$/\1/p'
  else
    "$nm" --dynamic --defined-only "$library" | sed -E 's/^.* //'
  fi
}

# Members count as their class, functions by their name. What the compiler makes of the standard library's own templates is
# not ours, and no application finds it by name; nor are the names that a sanitiser adds.
names() {
  symbols | "$cxxfilt" --no-params | sed -E \
    -e '/^__|^(.* (for|to) )?(std|__gnu_cxx)::/d' -e 's/\[abi:[a-z0-9]+\]//; t fresh' -e ':fresh' \
    -e 's/^(vtable|typeinfo|typeinfo name|VTT) for ([^*]*)\**$/\2/; t' -e 's/^(.*)::[^:]+$/\1/' | LC_ALL=C sort -u
}

wanted=$(sed -E "s/^$product: //; /^(#|[a-z]+: |\$)/d" "$list" | LC_ALL=C sort -u)
if ! difference=$(diff <(printf '%s\n' "$wanted") <(names)); then
  printf 'The exported classes and functions are not those of %s (< wanted, > found):\n%s\n' "$list" "$difference" >&2
  exit 1
fi
printf '%d exported classes and functions, as listed\n' "$(wc -l <<<"$wanted")"
