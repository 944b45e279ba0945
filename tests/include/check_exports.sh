#!/bin/sh
# The names the built library exports are exactly those of the linker map,
# and each of them is a name of the library's published list (when at hand).
set -eu
lib=$1 map=$2 all=${3:-}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
nm -D --defined-only "$lib" | awk '{print $NF}' | sed 's/@.*//' | sort -u > "$tmp/exported"
sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' "$map" | sort -u > "$tmp/listed"
status=0
if ! diff -u "$tmp/listed" "$tmp/exported"; then
    echo "exported names differ from the linker map" >&2
    status=1
fi
if [ -n "$all" ] && [ -f "$all" ]; then
    sort -u "$all" > "$tmp/all"
    extra=$(comm -23 "$tmp/listed" "$tmp/all")
    if [ -n "$extra" ]; then
        echo "names not in the published list: $extra" >&2
        status=1
    fi
fi
# The naming mark: only exported names begin with qor or _qor; the library's
# own helpers (namespace qor) never do.
nm --defined-only "$lib" | awk '{print $NF}' | sed 's/[.@].*//' | grep -E '^_?qor' | sort -u > "$tmp/marked" || true
unmarked=$(comm -23 "$tmp/marked" "$tmp/exported"; nm -C --defined-only "$lib" | grep -E ' qor::_?qor' || true)
if [ -n "$unmarked" ]; then
    echo "internal names that read as exported ones: $unmarked" >&2
    status=1
fi
[ $status -eq 0 ] && echo "$(wc -l < "$tmp/exported") names exported as listed"
exit $status
