#!/usr/bin/env bash
# Builds and runs the tests on Linux. --all adds the Windows build under Wine, the sanitizer builds, the fuzz targets
# over their seeds, the checks of format and rooms, the lock models, the sources compiled for 64-bit ARM and a consumer
# built against the installed package. Sets up everything it needs on a Debian machine, packages included.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

usage() {
  echo "usage: scripts/test.sh [--all]"
  exit "$1"
}

all=false
case "${1:-}" in
  "") ;;
  --all) all=true ;;
  -h|--help) usage 0 ;;
  *) usage 2 ;;
esac

step() { printf '\n== %s (%s s)\n' "$1" "$SECONDS"; }

build() { # PRESET
  step "$1: build"
  local log="build/$1.log"
  { cmake --preset "$1" && cmake --build --preset "$1"; } > "$log" 2>&1 || { tail -100 "$log"; return 1; }
}

# More tests than processors at a time: many wait for a peer, a clock or, under the emulator, its server.
run_tests() { # PRESET
  step "$1: tests"
  ctest --preset "$1" -j "$(( 2 * $(nproc) ))"
}

build_and_test() { # PRESET
  build "$1"
  run_tests "$1"
}

# Runs functions at the same time, and shows what each printed once it has ended.
together() { # FUNCTION...
  local name index failed=false jobs=()
  for name in "$@"; do
    "$name" > "build/$name.log" 2>&1 &
    jobs+=( $! )
  done
  for index in "${!jobs[@]}"; do
    name=${*:index+1:1}
    wait "${jobs[index]}" || { failed=true; echo "failed: $name"; }
    cat "build/$name.log"
  done
  ! $failed
}

check_package() {
  step "installed package"
  local prefix="$PWD/build/package" libdir
  rm -rf "$prefix" build/consumer
  cmake --install build/linux-release --prefix "$prefix" > /dev/null
  cmake -S Tests/Consumer -B build/consumer -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
  cmake --build build/consumer > /dev/null
  build/consumer/consumer

  local include="$prefix/include/korvale"
  diff <(cd "$include" && find . -name '*.h' | sort) \
    <(cd "$include" && g++ -std=c++20 -MM -I. Korvale.h KorvaleImaging.h | grep -o '[^ ]*\.h' | sed 's|^|./|' | sort -u) ||
    { echo "installed (<), but not needed by Korvale.h and KorvaleImaging.h"; return 1; }
  if find "$include" -path '*/Internal/*' | grep .; then return 1; fi

  libdir=$(dirname "$(dirname "$(find "$prefix" -name korvale.pc)")")
  export PKG_CONFIG_PATH="$libdir/pkgconfig"
  # shellcheck disable=SC2046
  g++ -o build/consumer/by-pkg-config Examples/MeasureImage.cpp \
    $(pkg-config --cflags --libs korvale-imaging)
  # The first program of README.md.
  sed -n '/^```cpp/,/^```/{//!p}' README.md > build/consumer/areas.cpp
  # shellcheck disable=SC2046
  g++ -o build/consumer/areas build/consumer/areas.cpp $(pkg-config --cflags --libs korvale)
  ( cd build/consumer && LD_LIBRARY_PATH="$libdir" ./areas && "$prefix/bin/korvale" --log /dev/null show areas.table )

  local sample="$PWD/build/package-sample"
  rm -rf "$sample"
  env -u LD_LIBRARY_PATH "$prefix/bin/korvale" --log /dev/null sample "$sample" --planes 1 -q
  env -u LD_LIBRARY_PATH "$prefix/bin/korvale" --log /dev/null measure "$sample/sample.tif" -o "$sample/table"
  LD_LIBRARY_PATH="$libdir" build/consumer/by-pkg-config "$sample/sample.tif" "$sample/by-pkg-config" "$sample/overlay.png"
  build/consumer/measure_image "$sample/sample.tif" "$sample/by-cmake" "$sample/overlay.png"
  cmp "$sample/by-pkg-config" "$sample/by-cmake"
}

check_windows_package() {
  step "installed package on Windows"
  local prefix="$PWD/build/package-windows"
  rm -rf "$prefix" build/consumer-windows
  cmake --install build/windows-release --prefix "$prefix" > /dev/null
  cmake -S Tests/Consumer -B build/consumer-windows -G Ninja -DKorvale_DIR="$prefix/lib/cmake/Korvale" \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_RUNTIME_OUTPUT_DIRECTORY="$prefix/bin" > /dev/null
  cmake --build build/consumer-windows > /dev/null
  local program
  for program in "consumer.exe" "korvale.exe --version"; do
    # shellcheck disable=SC2086
    ( cd / && PATH="/usr/lib/wine:$PATH" wine64 "$prefix/bin/"$program )
  done
}

run_fuzzer() { # NAME
  local log="build/fuzz_$1.log"
  LSAN_OPTIONS=suppressions=cmake/leaks.supp:print_suppressions=0 \
    "build/linux-asan/bin/fuzz_$1" -runs=20000 -max_total_time=10 -timeout=20 -rss_limit_mb=2048 -artifact_prefix=build/ \
    "$(mktemp -d)" "Fuzz/corpus/$1" > "$log" 2>&1 || { tail -50 "$log"; return 1; }
  echo "fuzz_$1: clean"
}
export -f run_fuzzer

run_fuzzers() {
  step "fuzz targets over their seeds"
  find build/linux-asan/bin -name 'fuzz_*' -printf '%f\n' | sed 's/^fuzz_//' | sort |
    xargs -P "$(nproc)" -I NAME bash -c 'run_fuzzer NAME'
}

compare_with_skimage() {
  step "measurements beside scikit-image"
  /usr/bin/python3 Tests/Tools/compare_with_skimage.py build/linux-release/bin/korvale
}

compare_with_tifffile() {
  step "microscope files beside tifffile"
  /usr/bin/python3 Tests/Tools/compare_with_tifffile.py build/linux-release/bin/korvale
}

compare_with_pandas() {
  step "tables beside pandas"
  /usr/bin/python3 Tests/Tools/compare_with_pandas.py build/linux-release/bin/korvale
}

mkdir -p build
step "packages"
install_packages "${KORVALE_BUILD_PACKAGES[@]}" "${KORVALE_TEST_PACKAGES[@]}"
if $all; then
  install_packages "${KORVALE_WINDOWS_PACKAGES[@]}" "${KORVALE_CHECK_PACKAGES[@]}"
  install_packages "${KORVALE_BROWSER_PACKAGES[@]}" || echo "no Chromium: the status page is not tested in a browser"

  step "format and rooms"
  scripts/format.sh --check
  /usr/bin/python3 scripts/check-floors.py
  step "lock models"
  scripts/check-models.sh
  step "sources on 64-bit ARM"
  scripts/check-arm64.sh

  build_and_test linux-asan
  run_fuzzers
  build_and_test linux-tsan
  export WINEPREFIX="$PWD/build/wine" WINEDEBUG=-all
  build_and_test windows-release
  check_windows_package
fi
build linux-release
checks=( compare_with_skimage compare_with_tifffile compare_with_pandas )
if $all; then
  checks+=( check_package )
fi
together "${checks[@]}"
run_tests linux-release
