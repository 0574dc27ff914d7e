#!/bin/sh
# Compares the dynamic symbols that a library defines with a checked-in list.
# usage: check_exports.sh LIBRARY EXPECTED_LIST
set -eu
library=$1
expected=$2
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
# AddressSanitizer adds an ODR indicator for each exported variable; it is
# not part of the interface.
nm -D --defined-only "$library" | awk '{ print $NF }' | grep -v '^__odr_asan' |
    LC_ALL=C sort -u > "$actual"
if ! LC_ALL=C sort -u "$expected" | diff -u - "$actual"; then
    echo "exported symbols differ from $expected ('-' missing, '+' extra)" >&2
    exit 1
fi
echo "$(wc -l < "$actual") symbols exported, as listed"
