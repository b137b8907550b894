#!/usr/bin/env bash
# Checks that X-Platform and Platform compile for 64-bit ARM, which lacks the vector instructions of x86-64. Nothing is
# generated or linked, since packages are there for this machine only; their headers come last, behind those of the other
# machine's C library.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

compile=( aarch64-linux-gnu-g++ -std=c++20 -Wall -Wextra -Wconversion -Wshadow -Werror -DKORVALE_BUILDING_CORE
  -DKORVALE_VERSION_NUMBERS=0,0,0 -IX-Platform -IPlatform
  -idirafter /usr/include -idirafter "/usr/include/$(gcc -dumpmachine)" -idirafter /usr/include/cairo )

# What most sources include is compiled once. The sources are not compiled in batches here as they are in the builds, so a
# source that lacks an include of its own project is found.
printf '#include <%s>\n' algorithm atomic functional map memory mutex string unordered_map vector > "$work/common.h"
echo '#include "Core/Streams/XStream.h"' >> "$work/common.h"
"${compile[@]}" -x c++-header -o "$work/common.h.gch" "$work/common.h"

find X-Platform Platform -name '*.cpp' -not -path '*/Windows/*' -print0 |
  xargs -0 -P "$(nproc)" -n 1 "${compile[@]}" -include "$work/common.h" -fsyntax-only
