#!/bin/sh
# Checks that no thread-local object of the library has a destructor: in a 32-bit DLL its storage is
# gone before the destructor runs.
# usage: thread_destructors.sh LIBRARY
set -eu

symbols=$(nm -D --undefined-only "$1")
case "$symbols" in
    *__cxa_thread_atexit*)
        echo "$1 registers a destructor to run at the end of a thread." >&2
        exit 1
        ;;
    *__cxa_throw*) ;;
    *)
        echo "$1 throws nothing; were its symbols read at all?" >&2
        exit 1
        ;;
esac
