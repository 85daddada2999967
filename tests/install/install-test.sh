#!/bin/sh
# install-test.sh SOURCE BUILD COMPILER: installs the build to a fresh prefix and uses it as a stranger would.
set -eu
source=$1
build=$2
compiler=$3
work=$(mktemp -d /tmp/velk-install-XXXXXX)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

step() { echo "-- $*"; }

step "install to $prefix"
cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

step "the library has its name and its soname"
library=$(find "$prefix" -name 'libvelk-mz-powerdistribution.so.2')
[ -n "$library" ] || { echo "no libvelk-mz-powerdistribution.so.2 below $prefix"; exit 1; }
readelf -d "$library" | grep -q 'SONAME.*\[libvelk-mz-powerdistribution\.so\.2\]' ||
    { echo "the soname is not libvelk-mz-powerdistribution.so.2"; exit 1; }

# The runtime of a sanitizer comes first in every program, also in one that was built without it.
runtime=$(ldd "$library" | sed -n 's/^.*=> \(.*lib[at]san[^ ]*\) .*$/\1/p')
host() { env ${runtime:+LD_PRELOAD="$runtime"} "$@"; }

step "manual pages and completions are there"
for file in man/man1/tess.1 man/man8/powerdistributiond.8 bash-completion/completions/tess zsh/site-functions/_tess \
            fish/vendor_completions.d/tess.fish bash-completion/completions/powerdistributiond \
            zsh/site-functions/_powerdistributiond fish/vendor_completions.d/powerdistributiond.fish; do
    [ -s "$prefix/share/$file" ] || { echo "no share/$file below $prefix"; exit 1; }
done

step "pkg-config knows it"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name velk-powerdistribution.pc)")
export PKG_CONFIG_PATH
flags=$(pkg-config --cflags velk-powerdistribution)
libs=$(pkg-config --libs velk-powerdistribution)

step "every exported header compiles alone"
(cd "$prefix/include/velk-mz" && find platform powerdistribution testing -name '*.h') >"$work/headers"
[ "$(wc -l <"$work/headers")" -gt 50 ] || { echo "too few headers"; exit 1; }
# shellcheck disable=SC2086
while read -r header; do
    printf '#include "%s"\n#include "%s"\n' "$header" "$header" >"$work/alone.$(echo "$header" | tr / .).cpp"
done <"$work/headers"
ls "$work"/alone.*.cpp | xargs -P 2 -n 8 "$compiler" -std=c++20 -Wall -Wextra -Werror -fsyntax-only $flags

step "find_package and a plug-in outside the tree"
cp -r "$source/tests/install/outside" "$work/outside"
cmake -S "$work/outside" -B "$work/outside-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Debug >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/outside-build" >"$work/build.log" 2>&1 || { tail -40 "$work/build.log"; exit 1; }
host "$work/outside-build/host" "$work/outside-build" || { echo "the host did not load the plug-in"; exit 1; }

step "the same host through pkg-config"
# shellcheck disable=SC2086
"$compiler" -std=c++20 $flags "$work/outside/host.cpp" -o "$work/host" $libs -Wl,-rpath,"$(dirname "$library")"
host "$work/host" "$work/outside-build"
echo "-- an outside user is served"
