#!/usr/bin/env bash
# Static analysis of the product's sources by clang-tidy, with the commands of the cross build.
# Arguments: the build folder, then the files (all product sources when there are none).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

build=${1:?usage: scripts/tidy.sh BUILD [FILE...]}
shift
gcc_headers=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++

if [ $# -eq 0 ]; then
    mapfile -t files < <(git ls-files --cached --others --exclude-standard -- \
        'agent/*.cpp' 'Common/*.cpp' 'QxCommon/*.cpp' 'libs/*.cpp' 'devkit/*.cpp' | grep -v /tests/)
    set -- "${files[@]}"
fi

# The database is GCC's: the target and its C++ headers have to be named, and its own options passed over.
# Quiet but for findings.
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build" \
    --extra-arg=--target=x86_64-w64-mingw32 \
    --extra-arg=-isystem"$gcc_headers" --extra-arg=-isystem"$gcc_headers/x86_64-w64-mingw32" \
    --extra-arg=-Qunused-arguments --extra-arg=-Wno-unknown-warning-option 2>/dev/null
