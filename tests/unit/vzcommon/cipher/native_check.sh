#!/bin/sh
# Builds native_check.cpp with the host's clang++ and its address and undefined-behaviour sanitizers, and runs it.
#   native_check.sh VZCOMMON_FOLDER BUILD_FOLDER
set -e
here=$(dirname "$0")
vzcommon=$1
program=$2/cipher_native_check

clang++ -std=c++20 -O1 -g -fsanitize=address,undefined -fno-sanitize-recover=all -Wall -Wextra -Werror \
    -I"$vzcommon" -o "$program" "$here/native_check.cpp" \
    "$vzcommon/VzComn_HexText.cpp" "$vzcommon/VzComn_Rijndael.cpp" "$vzcommon/VzComn_RijndaelKey.cpp" \
    "$vzcommon/VzComn_RijndaelInstructionBackend.cpp" "$vzcommon/VzComn_RijndaelTableBackend.cpp"
for seed in 1 2 3; do
    "$program" "$seed"
done
