#!/usr/bin/env bash
# The programs that README shows are those in examples/, which are compiled.
set -euo pipefail
cd "$(dirname "$0")/.."

shown() { awk -v want="$1" '/^```c$/ { ++n; on = 1; next } /^```$/ { on = 0 } on && n == want' README.md; }

diff <(shown 1) examples/host.c
diff <(shown 2) examples/proximity_host.c
