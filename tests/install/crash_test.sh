#!/usr/bin/env bash
# Installs the built library, builds a host that dies in a worker thread
# against it, and reads the log that host left with the installed vfl, in
# another process.
set -euo pipefail
build_dir="$1"; source_dir="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig:$work/prefix/lib/x86_64-linux-gnu/pkgconfig"
export LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib/x86_64-linux-gnu"
cmake -S "$source_dir/tests/install/crash_host" -B "$work/host" -G Ninja >/dev/null
cmake --build "$work/host" >/dev/null
export XDG_STATE_HOME="$work/state" XDG_CONFIG_HOME="$work/config"
status=0
"$work/host/crash_host" 2>"$work/stderr" || status=$?
cat "$work/stderr"
# The fatal path ends the process with exit(0).
[ "$status" -eq 0 ]
logs=("$work/state/Zenthar/Velmora/Velmora Utilities/ExceptionLogFiles"/Log-*.vlx)
[ "${#logs[@]}" -eq 1 ] && [ -f "${logs[0]}" ]
expected=$(printf 'A fatal exception has occured.\nVelmora must exit.\nA log file has been written to: \n%s' "${logs[0]}")
[ "$(cat "$work/stderr")" = "$expected" ]
out=$("$work/prefix/bin/vfl" crashlog "${logs[0]}")
echo "$out"
grep -q '^Access violation occurred' <<<"$out"
# The first address of the stack is the faulting function.
sed -n '/^Stack: /{n;p;q}' <<<"$out" | grep -q $'^0x[0-9a-f]*:\t VflCrashHostFault + 0x'
