#!/usr/bin/env bash
# Fetches the pinned source packages, checks them, and cross-builds them into one prefix. Everything is
# kept under out/cache, so a second run does nothing. Prints the prefix as its last line.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

cache=$PWD/out/cache
sources=$cache/sources
unpacked=$cache/unpacked

# name | versions, the first one that the archive still holds is taken | folder | SHA-256 of the upstream archive
packages='
libjsoncpp|1.9.5-4|libjsoncpp|f409856e5920c18d0c2fb85276e24ee607d2a09b5e7d5f0a371368903c275da2
expat|2.5.0-1+deb12u2 2.5.0-1+deb12u1 2.5.0-1|expat|ab00ee05c7067fd10a35c5d2a4922ebba746ddd50ff83b79c828da17bbdf1757
googletest|1.12.1-0.2|googletest|81964fe578e9bd7c94dfdb09c8e4d6e6759e19967e397dbea48d1c10e45d0df2
benchmark|1.7.1-1|benchmark|6430e4092653380d9dc4ccb45a1e2dc9259d581f4866dc0759713126056bc1d7
'

# Headers that a distribution package holds ready: name | folder below the system's include folder
headers='boost fmt spdlog'

# A private copy of the machine's package list with the source entries switched on; the machine's own
# configuration stays as it is.
source_list()
{
    local list=$cache/apt/source.sources
    mkdir -p "$cache/apt/lists/partial"
    if ls /etc/apt/sources.list.d/*.sources >/dev/null 2>&1; then
        sed 's/^Types:.*/Types: deb-src/' /etc/apt/sources.list.d/*.sources >"$list"
    else
        list=$cache/apt/source.list
        sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$list"
    fi
    apt_options=(-o "Dir::Etc::sourcelist=$list" -o Dir::Etc::sourceparts=/dev/null
        -o "Dir::State::lists=$cache/apt/lists" -o APT::Sandbox::User=root)
}

fetch()
{
    local name=$1 versions=$2 version
    for version in $versions; do
        say "fetching source package $name $version"
        if (cd "$sources" && apt-get "${apt_options[@]}" source --download-only "$name=$version") >>"$cache/fetch.log" 2>&1; then
            return 0
        fi
    done
    die "the package archive gave none of the versions of $name ($versions); see out/cache/fetch.log"
}

unpack()
{
    local name=$1 folder=$2 sum=$3 archive
    archive=$(ls "$sources/${name}"_*.orig.tar.* | head -n 1)
    echo "$sum  $archive" | sha256sum --check --quiet - || die "$archive does not have the pinned SHA-256"
    rm -rf "${unpacked:?}/$folder"
    dpkg-source --no-check -x "$sources/${name}"_*.dsc "$unpacked/$folder" >>"$cache/fetch.log" 2>&1
}

stamp=$(cat scripts/dependencies.sh cmake/dependencies/CMakeLists.txt cmake/toolchain-mingw-w64.cmake | sha256sum | cut -c1-16)
prefix=$cache/win64-$stamp
if [ ! -e "$prefix/.complete" ]; then
    mkdir -p "$sources" "$unpacked"
    : >"$cache/fetch.log"
    source_list
    updated=
    while IFS='|' read -r name versions folder sum; do
        [ -n "$name" ] || continue
        if ! ls "$sources/${name}"_*.dsc >/dev/null 2>&1; then
            [ -n "$updated" ] || apt-get "${apt_options[@]}" update >>"$cache/fetch.log" 2>&1
            updated=yes
            fetch "$name" "$versions"
        fi
        unpack "$name" "$folder" "$sum"
    done <<<"$packages"

    say "building the dependencies"
    rm -rf "$cache/build"
    cmake -S cmake/dependencies -B "$cache/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-mingw-w64.cmake" -DQX_SOURCES="$unpacked" \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_CXX_FLAGS=-D_WIN32_WINNT=0x0601 >"$cache/build.log" 2>&1 &&
        cmake --build "$cache/build" --target install >>"$cache/build.log" 2>&1 ||
        die "building the dependencies failed; see out/cache/build.log"

    # The distribution's headers are linked one by one: the host's whole include folder must never come
    # into the path of a cross compiler.
    for header in $headers; do
        mkdir -p "$prefix/include/headers-only"
        ln -sfn "/usr/include/$header" "$prefix/include/headers-only/$header"
    done
    touch "$prefix/.complete"
fi
echo "$prefix"
