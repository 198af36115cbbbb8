#!/bin/sh
# The shared library was built with what stands in the way of a corrupted stack, of overwritten
# tables and of code on the stack. usage: hardening.sh LIBRARY
set -eu
library=$1
failed=0

expect() { # what, how often it was found
    [ "$2" -gt 0 ] || {
        echo "missing: $1"
        failed=1
    }
}

count() { # pattern; the lines of standard input that hold it
    grep -c -E "$1" || true
}

expect 'read-only relocations' "$(readelf -lW "$library" | count 'GNU_RELRO')"
expect 'binding at load time' "$(readelf -dW "$library" | count 'BIND_NOW|FLAGS.* NOW')"
expect 'a stack without code' "$(readelf -lW "$library" | count 'GNU_STACK .* RW ')"
expect 'stack protection' "$(readelf --dyn-syms -W "$library" | count ' __stack_chk_fail')"
expect 'fortified functions' "$(readelf --dyn-syms -W "$library" | count ' __[a-z]+_chk(@| |$)')"
case "$(readelf -hW "$library")" in
    *X86-64*)
        expect 'marked targets of jumps' \
            "$(objdump -d --disassemble=PP_Open "$library" | count 'endbr64')"
        ;;
esac
exit $failed
