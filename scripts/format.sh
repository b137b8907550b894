#!/usr/bin/env bash
# Formats every source according to .clang-format. With --check it changes nothing and fails if something would change.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=( -i )
[ "${1:-}" = --check ] && mode=( --dry-run --Werror )
git ls-files -co --exclude-standard -- '*.h' '*.cpp' | tr '\n' '\0' | xargs -0 clang-format "${mode[@]}"
