#!/bin/sh
# Builds the XML layer, the parser library below it and a stand-in for the system's few functions with the host's
# clang, its sanitizers and its fuzzer, and lets the fuzzer run on the kept corpus.
#   fuzz_xml.sh EXPAT BUILD_FOLDER [SECONDS]
# EXPAT is the folder of the parser library's sources. What the fuzzer finds on its way stays in
# BUILD_FOLDER/found-xml; an input that breaks the code is written to BUILD_FOLDER and named in the output.
set -e
here=$(cd "$(dirname "$0")" && pwd)
common=$here/../../Common/VzCommon
expat=$1
build=$2
seconds=${3:-60}

mkdir -p "$build/found-xml" "$build/expat"
options="-DXML_DTD=1 -O1 -g -fsanitize=address,undefined -fno-sanitize-recover=all"
for source in xmlparse xmlrole xmltok; do
    clang -std=c99 $options -fsanitize=fuzzer-no-link -w -I"$here/platform" \
        -c -o "$build/expat/$source.o" "$expat/$source.c"
done
clang++ -std=c++20 $options -fsanitize=fuzzer -D_GLIBCXX_ASSERTIONS -Wall -Wextra -Werror \
    -isystem "$expat" -I"$here/platform" -I"$common" -I"$here" \
    -o "$build/fuzz_xml" "$here/fuzz_xml.cpp" "$here/XmlInvariants.cpp" "$here/XmlModel.cpp" \
    "$here/platform/Platform.cpp" "$common"/VzComn_Xml*.cpp "$common/VzComn_Expat.cpp" "$common/VzComn_Library.cpp" \
    "$build"/expat/*.o

"$build/fuzz_xml" -max_total_time="$seconds" -max_len=4096 -timeout=60 -rss_limit_mb=1024 -verbosity=0 \
    -print_final_stats=1 -dict="$here/xml.dict" -artifact_prefix="$build/" "$build/found-xml" "$here/corpus/xml"
