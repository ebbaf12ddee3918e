#!/usr/bin/env bash
# Fetches the pinned source packages, checks them, and cross-builds them into one prefix. Everything is
# kept under out/cache, so a second run does nothing. Prints the prefix as its last line.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

here=$PWD
cache=$here/out/cache
sources=$cache/sources
unpacked=$cache/unpacked

# name | version | folder. Each file that is fetched has to stand in scripts/dependencies.sha256 and to have the
# checksum that it tells.
packages='
libjsoncpp|1.9.5-4|libjsoncpp
expat|2.5.0-1+deb12u2|expat
googletest|1.12.1-0.2|googletest
benchmark|1.7.1-1|benchmark
pugixml|1.13-0.2|pugixml
'

# Libraries that are headers alone come from the distribution's binary packages: name | version | folder below
# the system's include folder. All but Boost are peers of the benchmarks.
headers='
libboost1.81-dev|1.81.0-5+deb12u1|boost
libfmt-dev|9.1.0+ds1-2|fmt
libspdlog-dev|1:1.10.0+ds-0.4|spdlog
libmsgpack-cxx-dev|4.1.3-1|msgpack
libflatbuffers-dev|2.0.8+dfsg1-2|flatbuffers
'

# A private copy of the machine's package list with the source entries switched on, read anew; the machine's
# own configuration stays as it is.
package_lists()
{
    [ -z "${apt_options:-}" ] || return 0
    local list=$cache/apt/source.sources
    mkdir -p "$cache/apt/lists/partial"
    if ls /etc/apt/sources.list.d/*.sources >/dev/null 2>&1; then
        sed -s -e 's/^Types:.*/Types: deb deb-src/' -e '$G' /etc/apt/sources.list.d/*.sources >"$list"
    else
        list=$cache/apt/source.list
        sed -n 's/^deb \(.*\)/deb \1\ndeb-src \1/p' /etc/apt/sources.list >"$list"
    fi
    apt_options=(-o "Dir::Etc::sourcelist=$list" -o Dir::Etc::sourceparts=/dev/null
        -o "Dir::State::lists=$cache/apt/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
        -o APT::Sandbox::User=root)
    apt-get "${apt_options[@]}" update >>"$cache/fetch.log" 2>&1 || die "no package lists; see out/cache/fetch.log"
}

fetch()
{
    local name=$1 version=$2
    package_lists
    say "fetching source package $name $version"
    (cd "$sources" && apt-get "${apt_options[@]}" source --download-only "$name=$version") >>"$cache/fetch.log" 2>&1 ||
        die "the package archive did not give $name $version; see out/cache/fetch.log"
}

check_sums()
{
    (cd "$sources" && sha256sum --check --quiet --ignore-missing "$here/scripts/dependencies.sha256" >&2) ||
        die "a fetched file does not have the pinned SHA-256"
}

unpack()
{
    local name=$1 folder=$2 file
    for file in $(cd "$sources" && ls "${name}"_*); do
        grep -q "  $file\$" "$here/scripts/dependencies.sha256" || die "$file has no pinned SHA-256"
    done
    rm -rf "${unpacked:?}/$folder"
    dpkg-source -x "$sources/${name}"_*.dsc "$unpacked/$folder" >>"$cache/fetch.log" 2>&1 ||
        die "the source package $name does not unpack; see out/cache/fetch.log"
}

# Takes one folder of headers out of a binary package, which need not be installed.
take_headers()
{
    local name=$1 version=$2 folder=$3 file
    if ! ls "$sources/${name}"_*.deb >/dev/null 2>&1; then
        say "fetching package $name $version"
        package_lists
        (cd "$sources" && apt-get "${apt_options[@]}" download "$name=$version") >>"$cache/fetch.log" 2>&1 ||
            die "the package archive did not give $name $version; see out/cache/fetch.log"
    fi
    file=$(cd "$sources" && ls "${name}"_*.deb)
    grep -q "  $file\$" "$here/scripts/dependencies.sha256" || die "$file has no pinned SHA-256"
    check_sums
    dpkg-deb --fsys-tarfile "$sources/$file" | tar -x -C "$prefix/include/headers-only" --strip-components=3 \
        "./usr/include/$folder"
}

stamp=$(cat scripts/dependencies.sh scripts/dependencies.sha256 cmake/dependencies/CMakeLists.txt cmake/toolchain-mingw-w64.cmake | sha256sum | cut -c1-16)
prefix=$cache/win64-$stamp
if [ ! -e "$prefix/.complete" ]; then
    mkdir -p "$sources" "$unpacked"
    : >"$cache/fetch.log"
    while IFS='|' read -r name version folder; do
        [ -n "$name" ] || continue
        if ! ls "$sources/${name}"_*.dsc >/dev/null 2>&1; then
            fetch "$name" "$version"
        fi
        check_sums
        unpack "$name" "$folder"
    done <<<"$packages"

    say "building the dependencies"
    rm -rf "$cache/build"
    cmake -S cmake/dependencies -B "$cache/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-mingw-w64.cmake" -DQX_SOURCES="$unpacked" \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_CXX_FLAGS=-D_WIN32_WINNT=0x0601 >"$cache/build.log" 2>&1 &&
        cmake --build "$cache/build" --target install >>"$cache/build.log" 2>&1 ||
        die "building the dependencies failed; see out/cache/build.log"

    mkdir -p "$prefix/include/headers-only"
    while IFS='|' read -r name version folder; do
        [ -z "$name" ] || take_headers "$name" "$version" "$folder"
    done <<<"$headers"
    touch "$prefix/.complete"
fi
echo "$prefix"
