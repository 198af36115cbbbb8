#!/bin/sh
# Checks that programs and DLLs need nothing but DLLs of Windows itself, and our own.
# usage: check-imports.sh OBJDUMP FILE...
set -eu
objdump=$1
shift

for file in "$@"; do
    needed=$("$objdump" -p "$file" | sed -n 's/.*DLL Name: //p' | tr '[:upper:]' '[:lower:]')
    [ -n "$needed" ] || {
        echo "$file imports nothing; was it read at all?" >&2
        exit 1
    }
    for dll in $needed; do
        case "$dll" in
            advapi32.dll | kernel32.dll | msvcrt.dll | pinpad.dll) ;;
            *)
                echo "$file needs $dll" >&2
                exit 1
                ;;
        esac
    done
done
