#!/usr/bin/env bash
# Compiles X-Platform and Platform for 64-bit ARM, which lacks the vector instructions of x86-64. Nothing is linked, since
# packages are there for this machine only; their headers come last, behind those of the other machine's C library.
set -euo pipefail
cd "$(dirname "$0")/.."

flags=( -std=c++20 -Wall -Wextra -Wconversion -Wshadow -Werror -DKORVALE_BUILDING_CORE -IX-Platform -IPlatform
  -idirafter /usr/include -idirafter "/usr/include/$(gcc -dumpmachine)" -idirafter /usr/include/cairo )
find X-Platform Platform -name '*.cpp' -not -path '*/Windows/*' -print0 |
  xargs -0 -P "$(nproc)" -n 1 aarch64-linux-gnu-g++ "${flags[@]}" -c -o /dev/null
