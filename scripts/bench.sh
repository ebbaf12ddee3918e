#!/usr/bin/env bash
# Runs the benchmarks inside the desktop that ./qx bench brought up. Each prints its own figures and those
# of the peer that it is measured against. The argument is a regular expression over the program names.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

filter=${1:-.}
native=out/build/native
for program in "out/build/${QX_PRESET:-win64}"/bench/bench_*.exe; do
    [[ $(basename "$program" .exe) =~ $filter ]] || continue
    say "$(basename "$program" .exe)"
    QX_TIMEOUT=600 scripts/winerun "$program"
done

# What is measured against a library of this machine is built for this machine.
if [ -f bench/native/CMakeLists.txt ]; then
    cmake -S bench/native -B "$native" -G Ninja -DCMAKE_BUILD_TYPE=Release >out/native.log 2>&1 &&
        cmake --build "$native" >>out/native.log 2>&1 || die "the native benchmarks do not build; see out/native.log"
    for program in "$native"/bench_*; do
        [ -x "$program" ] && [ ! -d "$program" ] || continue
        [[ $(basename "$program") =~ $filter ]] || continue
        say "$(basename "$program")"
        "$program"
    done
fi
say "benchmarks done"
