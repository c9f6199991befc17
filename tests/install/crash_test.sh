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
fail() { echo "crash_test: $*" >&2; exit 1; }
# The fatal path ends the process with exit(0).
[ "$status" -eq 0 ] || fail "the host ended with status $status"
folder="$work/state/Zenthar/Velmora/Velmora Utilities/ExceptionLogFiles"
logs=("$folder"/Log-*.vlx)
[ "${#logs[@]}" -eq 1 ] && [ -f "${logs[0]}" ] || fail "not one log in $folder: ${logs[*]}"
# The message names the location asked for first; the log is written to one
# asked for after it, which is later when the clock has moved in between.
message=$(printf 'A fatal exception has occured.\nVelmora must exit.\nA log file has been written to: \n%s' "$folder/Log-")
stderr=$(cat "$work/stderr")
[ "${stderr#"$message"}" != "$stderr" ] || fail "unexpected message"
named=${stderr#"$message"}; named=${named%.vlx}
written=${logs[0]#"$folder/Log-"}; written=${written%.vlx}
[[ "$named" =~ ^[0-9]+$ ]] && [ "$written" -ge "$named" ] || fail "the message names Log-$named.vlx, the log is Log-$written.vlx"
out=$("$work/prefix/bin/vfl" crashlog "${logs[0]}") || fail "vfl crashlog failed"
echo "$out"
grep -q '^Access violation occurred' <<<"$out" || fail "no description in the log"
# The first address of the stack is the faulting function.
sed -n '/^Stack: /{n;p;q}' <<<"$out" | grep -q $'^0x[0-9a-f]*:\t VflCrashHostFault + 0x' || fail "the stack does not start at the fault"
