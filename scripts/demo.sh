#!/usr/bin/env bash
# Builds the program and shows it at work: makes a sample stack and measures it, or measures the images named.
# Sets up everything it needs on a Debian machine, packages included.
# Usage: scripts/demo.sh [IMAGE...]
set -euo pipefail
images=()
for image in "$@"; do
  images+=( "$(realpath -- "$image")" )
done
cd "$(dirname "$0")/.."
source scripts/packages.sh
install_packages "${KORVALE_BUILD_PACKAGES[@]}"

# A build of its own, without the tests and what they need. Less optimisation takes a quarter less time to build; the loops
# over samples are optimised all the same.
build=build/demo
output=$build/output
mkdir -p "$output"
echo "Building (log: $build/build.log)"
{ cmake --preset linux-release -B "$build" -DKORVALE_BUILD_TESTS=OFF \
  -DKORVALE_WARNINGS_AS_ERRORS=OFF -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" && cmake --build "$build" --target korvale; } \
  > "$build/build.log" 2>&1 || { tail -50 "$build/build.log"; exit 1; }

run() { printf '\n$ korvale %s\n' "$*"; "$build/bin/korvale" "$@"; }

if [ ${#images[@]} -eq 0 ]; then
  run sample "$output"
  images=( "$output/sample.tif" )
fi
status=0
rm -f "$output"/objects*
run measure "${images[@]}" -o "$output/objects.table" --csv "$output/objects.csv" --overlay "$output/objects.png" \
  || status=$?
if [ -e "$output/objects.table" ]; then
  run show "$output/objects.table" > "$output/objects.txt"
  head -12 "$output/objects.txt"
  printf '...\n'
  run pivot "$output/objects.table" --rows Timepoint --values 'Pixel Count,Mean C1' --with count,mean,sd \
    > "$output/timepoints.txt" || status=$?
  head -12 "$output/timepoints.txt"
  printf '...\n'
  run plot "$output/objects.table" --histogram 'Pixel Count' --by Name -o "$output/sizes.svg" || status=$?
  printf '\nAll rows: %s, objects.csv, objects.table; what was found, page by page: objects*.png\n' "$output/objects.txt"
fi
exit $status
