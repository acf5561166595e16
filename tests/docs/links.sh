#!/usr/bin/env bash
# Fails where a document of this project links to a file or a heading that is not there.
set -euo pipefail
cd "$(dirname "$0")/../.."
bad=0 seen=0
slugs() { grep '^#' "$1" | sed 's/^#* *//' | tr '[:upper:] ' '[:lower:]-' | tr -cd 'a-z0-9\n_-'; }
while IFS=: read -r document link; do
    link=${link#](} link=${link%)} seen=$((seen + 1))
    file=${link%%#*} anchor=${link#*#}
    [[ $link == http* ]] && continue
    target=$document
    [[ -z $file ]] || target=$(dirname "$document")/$file
    if [[ ! -e $target ]] || { [[ $link == *#* ]] && ! slugs "$target" | grep -qx -- "$anchor"; }; then
        echo "$document: $link leads nowhere"
        bad=1
    fi
done < <(grep -Ho ']([^) ]*)' ./*.md docs/*.md)
[[ $seen -gt 0 && $bad -eq 0 ]]
