#!/usr/bin/env bash
# Draws docs/house.svg from docs/house.dot (Debian: graphviz).
set -euo pipefail
docs=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
dot -Tsvg "$docs/house.dot" >"$docs/house.svg"
