#!/usr/bin/env bash
# Fails, naming the files, when a C++ source in the tree differs from what
# clang-format makes of it under the project's .clang-format.
# `bash scripts/check-format.sh --fix` rewrites them instead.
set -euo pipefail
cd "$(dirname "$0")/.."
format=$(command -v clang-format-14 || command -v clang-format)
mapfile -t sources < <(git ls-files '*.cpp' '*.h')
if [ "${1:-}" = "--fix" ]; then
  "$format" -i "${sources[@]}"
  exit 0
fi
"$format" --dry-run --Werror "${sources[@]}"
echo "check-format: ${#sources[@]} files as .clang-format has them"
