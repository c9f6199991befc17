#!/usr/bin/env bash
# Installs the built library into a temporary prefix, builds the example
# host against it both ways, and runs it on a file.
set -euo pipefail
build_dir="$1"; source_dir="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
export CMAKE_PREFIX_PATH="$work/prefix"
# Every installed header compiles with only the installed ones beside it
# (and the toolkit's, for the window library's).
( cd "$work/prefix/include/vfl" && find . -name '*.h' | sort | sed 's|^\./\(.*\)|#include "\1"|' ) >"$work/all.cpp"
gtk_flags=""
if grep -q '/Gtk/' "$work/all.cpp"; then gtk_flags=$(pkg-config --cflags gtk+-3.0); fi
# shellcheck disable=SC2086 # the toolkit's flags are several words
c++ -std=c++20 -fsyntax-only -I "$work/prefix/include/vfl" $gtk_flags "$work/all.cpp"
export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig:$work/prefix/lib/x86_64-linux-gnu/pkgconfig"
# The host is built the way the library was (sanitizers included).
cmake -S "$source_dir/tests/install/host" -B "$work/host" -G Ninja \
  -DCMAKE_CXX_FLAGS="${VFL_HOST_FLAGS:-}" -DCMAKE_EXE_LINKER_FLAGS="${VFL_HOST_FLAGS:-}" >/dev/null
cmake --build "$work/host" >/dev/null
python3 -c "import wave; w=wave.open('$work/a.wav','wb'); w.setnchannels(2); w.setsampwidth(2); w.setframerate(48000); w.writeframes(bytes(400)); w.close()"
for host in host_cmake host_pkgconfig; do
  out=$(LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib/x86_64-linux-gnu" "$work/host/$host" "$work/a.wav")
  echo "$host: $out"
  [ "$out" = "2 channels, 48000 Hz, 16 bits, 100 frames" ]
done
# The browser is installed with the library where it is built, with its key
# bindings, which the installed vfl reads without conflicts.
if [ -e "$build_dir/vfl-gtk" ]; then
  LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib/x86_64-linux-gnu" "$work/prefix/bin/vfl-gtk" --version
  LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib/x86_64-linux-gnu" \
    "$work/prefix/bin/vfl" keys "$work/prefix/share/vfl/vfl-gtk.keys" >/dev/null
fi
