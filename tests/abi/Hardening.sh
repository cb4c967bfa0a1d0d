#!/bin/bash
# Hardening.sh LIBRARY: what the loader must find in the library, and what it must not.
set -euo pipefail
status=0
holds() { # what, text, pattern
  grep -qE "$3" <<< "$2" || { echo "does not hold: $1"; status=1; }
}
lacks() {
  ! grep -E "$3" <<< "$2" || { echo "must not be: $1"; status=1; }
}

headers=$(readelf -lW "$1")
dynamic=$(readelf -dW "$1")
symbols=$(nm -D --undefined-only "$1")
holds "relocations read-only after loading" "$headers" GNU_RELRO
holds "everything bound at load" "$dynamic" 'BIND_NOW|FLAGS_1.* NOW'
lacks "relocations of the code" "$dynamic" TEXTREL
holds "a stack that is not executable" "$headers" 'GNU_STACK.* RW '
lacks "memory both writable and executable" "$headers" 'LOAD.* RWE '
holds "a stack protector" "$symbols" __stack_chk_fail
exit $status
