#!/usr/bin/env bash
# Holds the interface of a library (functions, types, layouts) against the description that is kept of
# it. A change that a host can notice needs a new major version (CONTRIBUTING.md).
# Usage: abi.sh LIBRARY DESCRIPTION HEADERS, or with SCAPI_ABI=write: writes the description
set -euo pipefail
library=$1 description=$2 headers=$3
if [[ ${SCAPI_ABI:-} == write ]]; then
    abidw --headers-dir "$headers" --drop-private-types --exported-interfaces-only \
        --drop-undefined-syms --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed \
        --no-write-default-sizes --type-id-style hash --out-file "$description" "$library"
    # Sources by their place in the project, wherever that lies.
    sed -i "s|path='[^']*/\(src\|proximity\)/|path='\1/|" "$description"
fi
abidiff --headers-dir2 "$headers" --no-show-locs --drop-private-types "$description" "$library"
