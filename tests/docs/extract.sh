#!/usr/bin/env bash
# Writes each fenced listing of documents as a source file, and what it prints, the text block behind
# it, beside it. Prints the paths of the sources. Usage: FOLDER DOCUMENT ...
set -euo pipefail
folder=$1
mkdir -p "$folder/new"
awk -v folder="$folder/new" '
    FNR == 1 { name = FILENAME; gsub(/.*\/|\.md$/, "", name); name = tolower(name); count = 0 }
    /^```$/ { if (out) close(out); out = ""; next }
    /^```c(pp)?$/ { source = folder "/" name "_" ++count; out = source "." substr($0, 4); next }
    /^```text$/ && source { out = source ".txt"; source = ""; next }
    out { print >out }
    !out && /^#/ { source = "" }
' "${@:2}"
# What did not change keeps its time, and is not compiled again.
for file in "$folder"/new/*; do
    cmp -s "$file" "$folder/${file##*/}" || cp "$file" "$folder/"
    [[ $file == *.txt ]] || echo "${file##*/}"
done
rm -r "$folder/new"
