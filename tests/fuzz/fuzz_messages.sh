#!/bin/sh
# Builds the message code with the host's clang++, its sanitizers and its fuzzer, and lets the fuzzer run on the
# kept corpus.
#   fuzz_messages.sh HEADERS BUILD_FOLDER [SECONDS]
# HEADERS is the folder that holds boost/. What the fuzzer finds on its way stays in BUILD_FOLDER/found; an input
# that breaks the code is written to BUILD_FOLDER and named in the output.
set -e
here=$(cd "$(dirname "$0")" && pwd)
root=$here/../..
headers=$1
build=$2
seconds=${3:-60}
message=$root/agent/link/message

mkdir -p "$build/found"
clang++ -std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all -D_GLIBCXX_ASSERTIONS \
    -Wall -Wextra -Werror -isystem "$headers" -I"$root/Common/VzCommon" -I"$root/sdk" -I"$message" -I"$here" \
    -o "$build/fuzz_messages" "$here/fuzz_messages.cpp" "$here/MessageInvariants.cpp" "$here/MessageModel.cpp" \
    "$message/MsgBuffer.cpp" "$message/MsgIndex.cpp" "$message/RpcMsgBuffer.cpp" \
    "$message/RpcDataHandleWrapper.cpp"

"$build/fuzz_messages" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=1024 -verbosity=0 \
    -print_final_stats=1 -artifact_prefix="$build/" "$build/found" "$here/corpus/messages"
