#!/bin/sh
# Mark every class of a type library "predeclared", which the IDL compiler has no attribute for.
# usage: set_class_flags.sh TYPELIB
set -eu
typelib=$1

# Little-endian 32-bit number at a byte offset.
number_at() { od -An -t d4 -j "$1" -N 4 "$typelib" | tr -d ' '; }

[ "$(head -c 4 "$typelib")" = MSFT ] || { echo "$typelib: not a type library" >&2; exit 1; }

# The header's 84 bytes, one offset per type, then the segment table, whose first entry leads to the
# records of the types. A record is 100 bytes long: kind in the low 4 bits, flags at byte 48.
header_bytes=84
type_count_offset=32
record_bytes=100
flags_offset=48
kind_class=5
flag_predeclared=8

types=$(number_at $type_count_offset)
records=$(number_at $((header_bytes + 4 * types)))
classes=0
i=0
while [ "$i" -lt "$types" ]; do
  record=$((records + i * record_bytes))
  if [ $(($(number_at $record) & 15)) -eq $kind_class ]; then
    flags=$(($(od -An -t u1 -j $((record + flags_offset)) -N 1 "$typelib") | flag_predeclared))
    printf '%b' "\\0$(printf %o "$flags")" | dd of="$typelib" bs=1 seek=$((record + flags_offset)) conv=notrunc status=none
    classes=$((classes + 1))
  fi
  i=$((i + 1))
done
[ "$classes" -gt 0 ] || { echo "$typelib: no class found" >&2; exit 1; }
