#!/usr/bin/env bash
# Checks the models of the lock algorithms over every interleaving of two and three threads (needs spin).
set -euo pipefail
cd "$(dirname "$0")/../Models"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp ./*.pml "$work"
cd "$work"

check() { # MODEL [-DNAME=VALUE...]
  local folder
  folder=$(mktemp -d -p .)
  cp ./*.pml "$folder"
  cd "$folder"
  spin -a "${@:2}" "$1.pml"
  gcc -w -O2 -DSAFETY -DCOLLAPSE -o pan pan.c
  ./pan -m200000 > result
  if ! grep -q 'errors: 0' result || grep -q 'not completed' result; then
    cat result
    return 1
  fi
  printf '%s: %s, no error\n' "$*" "$(grep 'states, stored' result | sed 's/^ *//; s/, stored//')"
}
export -f check

# The largest one first, as many at a time as there are processors.
xargs -P "$(nproc)" -I LINE bash -c 'set -e; check LINE' << 'END'
rwmutex -DREADERS=2 -DWRITERS=2 -DSHARERS=0 -DUPGRADERS=0 -DROUNDS=2
rwmutex -DREADERS=2 -DWRITERS=1 -DSHARERS=0 -DUPGRADERS=1 -DROUNDS=2
rwmutex -DREADERS=1 -DWRITERS=1 -DSHARERS=1 -DUPGRADERS=0 -DROUNDS=2
rwmutex -DREADERS=1 -DWRITERS=0 -DSHARERS=2 -DUPGRADERS=1
mutex -DN=2 -DROUNDS=3
mutex -DN=3 -DROUNDS=1
condition -DCONSUMERS=2 -DLEAVERS=1
condition -DCONSUMERS=1 -DLEAVERS=2
END
