#!/bin/sh
# Portable code reaches the platform only through its seams: no header of
# the operating system may be included outside the platform folders
# (*/Posix/, */Gtk/). Exits non-zero and lists the offending lines if one is.
# Usage: check_no_system_headers.sh [REPO_ROOT]
root=${1:-$(dirname "$0")/..}
cd "$root" || exit 2

pattern='^[[:space:]]*#[[:space:]]*include[[:space:]]*<(unistd|fcntl|pthread|dirent|dlfcn|sched|semaphore|execinfo|ucontext|termios|poll|spawn|mntent|fnmatch|glob|ftw|pwd|grp|libgen|syslog|link|elf|liburing|backtrace|signal|setjmp|aio|netdb|mqueue|malloc|alloca|features|err|error|paths|utmp|wordexp)\.h>|^[[:space:]]*#[[:space:]]*include[[:space:]]*<(sys|linux|asm|bits|blkid|gtk|gdk|glib|X11|netinet|arpa)/'

found=$(find Cmn Sys FF MMgr DAW tools -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.hpp' -o -name '*.cc' \) \
            -not -path '*/Posix/*' -not -path '*/Gtk/*' 2>/dev/null |
        sort | xargs -r grep -nE "$pattern")
if [ -n "$found" ]; then
    echo "System headers included outside the platform folders:"
    echo "$found"
    exit 1
fi
echo "No system header outside the platform folders."
exit 0
