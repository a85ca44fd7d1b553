#!/usr/bin/env bash
# soak-parts.sh SOURCE: the parts of tools/soak, without a soak. Skipped without Python.
set -euo pipefail
command -v python3 >/dev/null || exit 77
for tests in soak_parts soak_runs; do
    python3 -B "$(dirname "$0")/$tests.py" "$1"
done
