#!/usr/bin/env bash
# package.sh CPACK BUILD SOURCE: what cpack makes of the Windows build runs where it is unzipped, under Wine, with files of
# its own alone.
. "$(dirname "$0")/expect.sh"
cpack=$1 build=$2 source=$3
sender=
finish() {
    [ -z "$sender" ] || kill "$sender" 2>/dev/null || true
    rm -rf "$scratch"
}
trap finish EXIT
export WINEPREFIX=${WINEPREFIX:-$build/wine-prefix}
unset WINEPATH QML2_IMPORT_PATH QT_PLUGIN_PATH

run "$cpack" -G ZIP --config "$build/CPackConfig.cmake" -B "$scratch/packed"
expect "the package is made" code_is 0
mkdir "$scratch/empty"
cd "$scratch/empty"
cmake -E tar xf "$scratch"/packed/tavrin-ndi-*-win64.zip
cd tavrin-ndi-*-win64
package=$PWD
for file in README.txt bin/Multimedia.dll bin/ndi-probe.exe ndi-local/Processing.NDI.Lib.x64.dll \
    qml/Multimedia/Tavrin/{tavrinplugin.dll,qmldir,plugins.qmltypes}; do
    expect "the package has $file" [ -s "$file" ]
done
# README.txt names folders and files as Windows does.
mapfile -t named_files < <(grep -o -E '\b(bin|examples|docs|qml)\\[A-Za-z.\\-]+[a-z]' README.txt |
    sed -E 's/^(bin\\(tavrin-host|ndi-[a-z]+))$/\1.exe/' | sort -u)
expect "README.txt names files" [ ${#named_files[@]} -gt 0 ]
for named in "${named_files[@]}"; do
    expect "README.txt speaks of $named, which is there" [ -e "${named//\\//}" ]
done

# run_host ARGUMENT...: as run does, and has Wine print from where the host takes its libraries.
run_host() { run env WINEDEBUG=-all,+loaddll "$source/tools/wine" bin/tavrin-host.exe --quiet "$@"; }
# Wine's own libraries are builtin ones.
loaded_elsewhere() { grep 'trace:loaddll.*: native' "$1" | grep -v -F "${package//\//\\\\}\\\\"; }
nothing_loaded_elsewhere() {
    grep -q 'trace:loaddll.*Multimedia.dll.*: native' "$1" || { cat "$1" && return 1; }
    ! loaded_elsewhere "$1"
}
# Of picture and sound, at the monitor and on the link to it.
samples() { [ "$(grep -c '"samples": [1-9]' "$1")" = 4 ] || { cat "$1" "$scratch/output" && false; }; }

run_host --duration 3 --json pattern.json --snapshot pattern.png examples/pattern.qml
expect "the scene with a pattern runs" code_is 0
expect "the pattern is seen and heard" samples pattern.json
expect "the picture is a PNG" [ "$(head -c 4 pattern.png | tail -c 3)" = PNG ]
expect "the host takes its libraries from the package" nothing_loaded_elsewhere "$scratch/output"

run_host --duration 1 examples/receive.qml
expect "without an NDI runtime the receiving scene fails" code_is 1
expect "the runtime that is missing is named" says 'The NDI runtime (Processing.NDI.Lib.x64.dll) is missing'
expect "what to install is said" says "Install the vendor's"

export WINEPATH=$package/ndi-local
name="Package $$"
"$source/tools/wine" bin/ndi-send.exe --name "$name" --size 640x360 --duration 60 >"$scratch/sender.log" 2>&1 </dev/null &
sender=$!
expect "the sender publishes" within 60 grep -q '^publishing' "$scratch/sender.log"
run_host --duration 10 --json receive.json examples/receive.qml "$name"
expect "the receiving scene runs" code_is 0
expect "picture and sound arrive" samples receive.json
expect "the module takes its libraries from the package" nothing_loaded_elsewhere "$scratch/output"
expect "the runtime in use is the package's" grep -q 'Processing.NDI.Lib.x64.dll.*: native' "$scratch/output"
exit $((failures > 0))
