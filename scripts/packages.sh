#!/usr/bin/env bash
# Installs the distribution packages that building and testing need. Does nothing when all are there.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

packages='
cmake ninja-build git ca-certificates
gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix mingw-w64-tools
g++ clang libclang-rt-dev clang-format clang-tidy
dpkg-dev libssl-dev
wine wine64 fonts-wine xvfb x11-utils xdotool imagemagick fonts-liberation fonts-dejavu-core fonts-droid-fallback
librsvg2-bin icoutils openssl
python3 python3-lldb python3-pytest python3-cryptography-vectors python3-jsonschema python3-lxml
'

installed()
{
    dpkg-query -W -f '${Status} ' "$@" 2>/dev/null
}

missing=
for package in $packages; do
    case $(installed "$package") in
    *'install ok installed'*) ;;
    *) missing="$missing $package" ;;
    esac
done
[ -n "$missing" ] || exit 0

command -v apt-get >/dev/null || die "this system has no apt-get; install by hand:$missing"
as_root=
[ "$(id -u)" = 0 ] || as_root=sudo
command -v "${as_root:-true}" >/dev/null || die "not root and no sudo; install by hand:$missing"

mkdir -p out
say "installing packages:$missing"
export DEBIAN_FRONTEND=noninteractive
# shellcheck disable=SC2086
{
    $as_root apt-get update && $as_root apt-get install -y --no-install-recommends $missing
} >out/packages.log 2>&1 || die "installing packages failed; see out/packages.log"
