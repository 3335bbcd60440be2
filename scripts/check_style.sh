#!/bin/sh
# The style of the house: layout, layers, licence of what is included where.
set -eu
status=0
sources=$(git ls-files '*.cc' '*.h')
# shellcheck disable=SC2086
clang-format --dry-run --Werror $sources || status=1
python3 scripts/check_layers.py || status=1
[ $status = 0 ] && echo "style: ok"
exit $status
