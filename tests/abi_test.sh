#!/usr/bin/env bash
# The built interface is the one that hosts rely on: the same functions with the same arguments, the same records
# and variables, and the same numbers, which no symbol shows.
#
# abi_test.sh LIBRARY SOURCE_FOLDER
set -uo pipefail
library=$1 root=$2

failed=
abidiff --no-architecture --exported-interfaces-only --fail-no-debug-info \
    "$root/abi/halvorin_system.abi" "$library" || failed=1
diff -u "$root/abi/constants" <(python3 -B "$root/bindings/describe.py" "$root/src/api" constants) || failed=1
[ -n "$failed" ] || exit 0
echo "The interface isn't the one in abi/. A change that is meant is taken up by script/abi."
exit 1
