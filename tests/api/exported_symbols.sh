#!/usr/bin/env bash
# Holds the symbols that a shared library exports against a list. Usage: LIBRARY LIST
set -euo pipefail
diff -u "$2" <(nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3- |
    LC_ALL=C sort -u)
