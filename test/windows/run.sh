#!/usr/bin/env bash
# Compiles the Windows loader with mingw-w64 and runs its logic under Wine. Needs g++-mingw-w64-x86-64 and wine64.
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD
out=$root/build/windows
compiler=x86_64-w64-mingw32-g++-posix
flags=(-std=gnu++20 -O1 -Wall -Wextra -Werror -static -Iinclude -Isrc)

mkdir -p "$out/complete" "$out/incomplete" "$out/empty" "$out/Größe 日本"
"$compiler" "${flags[@]}" -shared test/windows/library.cpp -o "$out/complete/KilnSDKLibrary.dll"
"$compiler" "${flags[@]}" -shared -DLEAVE_ONE_OUT test/windows/library.cpp -o "$out/incomplete/KilnSDKLibrary.dll"
cp "$out/complete/KilnSDKLibrary.dll" "$out/Größe 日本/"
"$compiler" "${flags[@]}" src/module/sdk_library.cpp src/module/loader_windows.cpp src/module/process_windows.cpp \
  test/windows/loader_test.cpp -o "$out/loader_test.exe"

cd "$out"
wine=$(command -v wine64 || command -v wine || echo /usr/lib/wine/wine64)
LC_ALL=C.UTF-8 WINEPREFIX="$out/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" timeout 300 \
  "$wine" loader_test.exe | tr -d '\r'
