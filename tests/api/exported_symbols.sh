#!/usr/bin/env bash
# Holds the symbols that a shared library exports against a list; of a DLL also the libraries that
# it needs, which every Windows has. Usage: LIBRARY LIST
set -euo pipefail
case $1 in
*.dll)
    dump() { x86_64-w64-mingw32-objdump -p "$1"; }
    diff -u <(printf '%s\n' KERNEL32.dll MPR.dll msvcrt.dll) \
        <(dump "$1" | sed -n 's/^\tDLL Name: //p' | LC_ALL=C sort) # both libraries read files
    exported() { dump "$1" | sed -n '/Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[.*\] //p' | c++filt; }
    ;;
*)
    exported() { nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3-; }
    ;;
esac
diff -u "$2" <(exported "$1" | LC_ALL=C sort -u)
