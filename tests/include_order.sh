#!/usr/bin/env bash
# Fails where a file of src/ includes one of a folder that stands above its own. The order of the
# folders, lowest first, is this list; docs/architecture.md says what each is for.
set -euo pipefail
cd "$(dirname "$0")/../src"
order="platform log geometry mesh refine octree sweep exact bvh query files api"
for folder in */; do
    [[ " $order " == *" ${folder%/} "* ]] || { echo "src/$folder is not in the order"; exit 1; }
done
grep -rHo --include='*.h' --include='*.cpp' '^#include "[a-z]*/' . | awk -F'[/"]' -v order="$order" '
    BEGIN { for (n = split(order, name, " "); n; --n) level[name[n]] = n }
    # ./folder/file:#include "other/
    { from = $2; to = $(NF - 1); ++seen }
    to != "scapi" && !(level[to] && level[to] <= level[from]) { print "upwards: " $0; bad = 1 }
    END { if (!seen) print "no includes found"; exit bad || !seen }'
