#!/usr/bin/env bash
# Runs a listing beside the files of the example scene and compares what it prints; one without an
# expected text has to end with 0. Usage: EXPECTED DEMO_SCENE PROGRAM [EMULATOR ...]
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
"${@:4}" "$2" .
cp plate_with_clamp.stl fixture.stl # as README calls it
"${@:4}" "$3" fixture.stl tool.stl >printed
[[ ! -f $1 ]] || diff -u --strip-trailing-cr "$1" printed
