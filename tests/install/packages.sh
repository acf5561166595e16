#!/usr/bin/env bash
# Makes Debian's packages and has lintian judge them; what it may find wrong is overridden in the
# packages themselves, with the reason. Usage: packages.sh BUILD; all is written to BUILD/packages
set -euo pipefail
cd "$1"
rm -rf packages
cpack -G DEB -B packages >/dev/null
cd packages
[[ $(find . -maxdepth 1 -name '*.deb' | wc -l) == 3 ]]
lintian --allow-root --fail-on error,warning *.deb
dpkg-deb --contents libscapi0_*.deb | grep 'libscapi_proximity.so.0 ->' >/dev/null
dpkg-deb --contents scapi-tools_*.deb | grep 'bin/scapi-check' >/dev/null
dpkg-deb --contents libscapi-dev_*.deb | grep 'cmake/scapi/scapi-config.cmake' >/dev/null
