#!/usr/bin/env bash
# Builds and runs hosts of the installed library: through CMake, C99 and C++, through pkg-config, and
# configures one of a library that is built along. For Windows what is installed is the zip.
# Usage: check.sh SOURCES BUILD [SYSTEM]; all is written to BUILD/install_check
set -euo pipefail
sources=$1 build=$2 system=${3:-Linux}
here=$(cd "$(dirname "$0")" && pwd)
work=$build/install_check prefix=$build/install_check/prefix
version=$(sed -n 's/^## \([0-9.]*\).*/\1/p' "$sources/CHANGELOG.md" | head -1)
rm -rf "$work"
mkdir -p "$prefix"
options=(-G Ninja -DCMAKE_BUILD_TYPE=Release "-DWANTED=$version")

if [[ $system == Windows ]]; then
    (cd "$build" && cpack -G ZIP -B "$work" >/dev/null)
    (cd "$prefix" && cmake -E tar xf "$work"/scapi-"$version"-windows-x86_64.zip)
    mv "$prefix"/scapi-*/* "$prefix"
    options+=("-DCMAKE_TOOLCHAIN_FILE=$sources/cmake/mingw.cmake" "-DCMAKE_FIND_ROOT_PATH=$prefix")
    cc=x86_64-w64-mingw32-gcc-posix run=$(command -v wine64 || echo /usr/lib/wine/wine64) exe=.exe
    cp "$prefix"/bin/*.dll "$work"
    for dll in scapi scapi_proximity; do # the version resource
        strings -el "$prefix/bin/$dll.dll" | grep -A1 FileVersion | grep -x "$version" >/dev/null
    done
else
    cmake --install "$build" --prefix "$prefix" >/dev/null
    cc=cc run='' exe=''
    LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name libscapi.so)")
    export LD_LIBRARY_PATH
fi

cmake -S "$here" -B "$work/hosts" "${options[@]}" "-DCMAKE_PREFIX_PATH=$prefix" >/dev/null
cmake --build "$work/hosts" >/dev/null
cp "$work"/hosts/host_c"$exe" "$work"/hosts/host_cpp"$exe" "$work"
[[ $($run "$work/host_c$exe" | tr -d '\r') == "$version" ]]
$run "$work/host_cpp$exe"

# Programs find the libraries where they were put.
[[ $($run "$prefix/bin/scapi-pair$exe" box:0,0,0,1,1,1 box:3,0,0,4,1,1 | tail -1) == CLEAR* ]]
$run "$prefix/bin/scapi-check$exe" --help | grep '^Exit status' >/dev/null

# pkg-config, where the tree was moved to.
pc=$(dirname "$(find "$prefix" -name scapi.pc)")
export PKG_CONFIG_LIBDIR=$pc
[[ $(pkg-config --modversion scapi scapi_proximity | sort -u) == "$version" ]]
# shellcheck disable=SC2046
$cc -std=c99 -Wall -Wextra -Werror "$here/host.c" -o "$work/host_pc$exe" \
    $(pkg-config --cflags --libs scapi scapi_proximity)
[[ $($run "$work/host_pc$exe" | tr -d '\r') == "$version" ]]

# Built along it has the same target names, and nothing but the libraries.
cmake -S "$here" -B "$work/along" "${options[@]}" --no-warn-unused-cli "-DSCAPI_SOURCES=$sources" \
    >/dev/null
if grep '^build .*\(unit_tests\|digest\|interference\)' "$work/along/build.ninja"; then exit 1; fi

for file in include/scapi/proximity.h share/scapi/job.schema.json share/doc/scapi/LICENSE share/man/man3/scapi.3; do
    [[ -s $prefix/$file ]]
done
grep -q "scapi $version" "$prefix"/share/man/man3/scapi_proximity.3
