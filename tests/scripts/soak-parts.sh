#!/usr/bin/env bash
# soak-parts.sh SOURCE: the parts of tools/soak, without a run. Skipped without Python.
set -euo pipefail
command -v python3 >/dev/null || exit 77
exec python3 -B "$(dirname "$0")/soak_parts.py" "$1"
