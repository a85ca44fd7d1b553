#!/usr/bin/env bash
# qmltypes.sh IMPORTS QMLTYPES: whether the file that tells editors of the module's types tells what the module registers.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
imports=$1 committed=$2

command -v qmlplugindump >/dev/null || { echo "There is no qmlplugindump (Debian: qtdeclarative5-dev-tools)." && exit 77; }
# As the file itself says that it was made, in its comment, but for the folder.
export XDG_RUNTIME_DIR=$scratch QT_QPA_PLATFORM=minimal
code=0
qmlplugindump -noforceqtquick -nonrelocatable Multimedia.Tavrin 1.0 "$imports" >"$scratch/current" 2>"$scratch/output" ||
    code=$?
expect "the types of the module can be listed" code_is 0
expect "plugins.qmltypes tells the types of the module" \
    diff -u --ignore-matching-lines='^//' "$committed" "$scratch/current"
exit $((failures > 0))
