#!/usr/bin/env bash
# host-library.sh CMAKE SOURCE COMPILER LIBRARY: configures the tree against a host's framework library as
# docs/host-framework.md says; the module has to be there to build, the framework and its host have not.
set -euo pipefail
cmake=$1 source=$2 compiler=$3 library=$4

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$cmake" -S "$source" -B "$scratch" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
    -DTAVRIN_HOST_LIBRARY="$library" >"$scratch/configure.log" 2>&1 ||
    { cat "$scratch/configure.log" && exit 1; }

"$cmake" --build "$scratch" --target help >"$scratch/targets"
has() { grep -q "^$1: phony" "$scratch/targets"; }
has tavrin_plugin || { echo "there is no target tavrin_plugin" && exit 1; }
for target in multimedia tavrin_host e2e_test; do
    ! has "$target" || { echo "$target would be built beside the host's own library" && exit 1; }
done
# One of the module's objects: its headers and generated sources are found. All of it would take too long.
"$cmake" --build "$scratch" --target plugin/CMakeFiles/tavrin_core.dir/Logging.cpp.o >"$scratch/build.log" 2>&1 ||
    { cat "$scratch/build.log" && exit 1; }
