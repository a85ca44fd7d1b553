#!/usr/bin/env bash
# missing-runtime.sh HOST EXAMPLES: what a scene says where no NDI runtime is installed.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT

if ldconfig -p | grep -q 'libndi\.so\.6'; then
    echo "This machine has an NDI runtime."
    exit 77
fi
run env -u LD_LIBRARY_PATH "$1" --quiet --duration 1 "$2/receive.qml"
expect "the host fails" code_is 1
expect "the missing file is named" says 'The NDI runtime (libndi.so.6) is missing'
expect "what to do is said" says 'Install'
exit $((failures > 0))
