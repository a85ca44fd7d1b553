#!/usr/bin/env bash
# windows-alone.sh CMAKE NINJA SOURCE BUILD PREFIX: the tree without platform/ and the native presets is a complete Windows
# project: it is built with the very commands that built BUILD, and nothing of platform/ was read then.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
cmake=$1 ninja=$2 source=$3 build=$4 prefix=$5

tree=$scratch/tree
mkdir "$tree"
tar -c -C "$source" --exclude=./build --exclude=./.git --exclude=./platform . | tar -x -C "$tree"
"$cmake" -DPRESETS="$tree/CMakePresets.json" -DKEEP=windows -P "$(dirname "$0")/KeepPreset.cmake"
cd "$tree"
run "$cmake" --list-presets
expect "one preset is left" [ "$(grep -c '^  "' "$scratch/output")" = 1 ]
expect "the preset that is left is the Windows one" says '^  "windows"'
run "$cmake" --preset windows -DTAVRIN_WINDOWS_PREFIX="$prefix"
expect "the tree is configured without platform/ and the native presets" code_is 0

# commands BUILD SOURCE: that build everything, with names in place of the folders and of the hashes that are made of them.
commands() {
    "$ninja" -C "$1" -t commands |
        sed -e "s|$1|BUILD|g" -e "s|$2|SOURCE|g" -e 's|CMakeFiles/d/[0-9a-f]*|CMakeFiles/d/HASH|' | sort
}
commands "$build" "$source" >"$scratch/with"
commands "$tree/build/windows" "$tree" >"$scratch/without"
expect "the module is built" grep -q 'tavrinplugin\.dll' "$scratch/without"
expect "without platform/ everything is built with the same commands" diff "$scratch/with" "$scratch/without"

"$ninja" -C "$build" -t deps >"$scratch/read"
expect "what was read is known" grep -q 'hostfw/ComPtr\.h$' "$scratch/read"
nothing_of_platform_is_read() { ! grep -E "^ +($source|\.\./\.\.)/platform/" "$scratch/read"; }
expect "nothing of platform/ is read" nothing_of_platform_is_read
exit $((failures > 0))
