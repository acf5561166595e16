#!/usr/bin/env bash
# Fails where a file of src/ or proximity/ includes one of a folder that stands above its own. The
# order of the folders, lowest first, is each list; docs/architecture.md says what each is for.
set -euo pipefail
cd "$(dirname "$0")/.."

# check FOLDER PREFIX ORDER: includes are written PREFIX"folder/file"; of the core, a library that
# stands on it may include what stands in BELOW.
check() {
    local top=$1 order=$2 below=$3
    for folder in "$top"/*/; do
        folder=$(basename "$folder")
        [[ " $order " == *" $folder "* ]] || { echo "$top/$folder is not in the order"; exit 1; }
    done
    grep -rHo --include='*.h' --include='*.cpp' '^#include "[a-z]*/\([a-z]*/\)\?' "$top" |
        awk -v top="$top" -v order="$order" -v below="$below" '
        BEGIN {
            for (n = split(order, name, " "); n; --n) level[name[n]] = n
            for (n = split(below, name, " "); n; --n) core[name[n]] = 1
        }
        {
            # top/folder/file:#include "other/ or "top/other/
            split($0, part, "\""); split(part[1], path, "/"); split(part[2], target, "/")
            from = path[2]; ++seen
            own = target[1] == top
            to = own ? target[2] : target[1]
        }
        to == "scapi" { next }
        !own && core[to] { next }
        level[to] && level[to] <= level[from] { next }
        { print "upwards: " $0; bad = 1 }
        END { if (!seen) print "no includes found"; exit bad || !seen }'
}

check src "platform log geometry mesh refine octree sweep exact bvh query files api" ""
# The kernel names its own folders without the prefix. Of the core: the reader and what it stands on.
check proximity "exact kernel mesh bvh query scene api" "platform geometry files"
