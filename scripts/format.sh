#!/usr/bin/env bash
# Lays out every source as .clang-format says. With --check it changes nothing and fails when something would change.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=( -i )
[ "${1:-}" = --check ] && mode=( --dry-run --Werror )
git ls-files -co --exclude-standard -- '*.h' '*.cpp' | tr '\n' '\0' | xargs -0 clang-format "${mode[@]}"
