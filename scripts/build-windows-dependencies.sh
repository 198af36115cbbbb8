#!/bin/sh
# Builds LibTomMath and LibTomCrypt for Windows from Debian's source packages into
# build/windows-dependencies/x86 and x64, once, and puts the headers of CLI11 and nlohmann-json
# beside them, which need no building. The sources come from the machine's own package sources,
# checked against their signatures; the system's package lists stay as they are. LibTomCrypt is built
# without its way of drawing random numbers from the clock.
set -eu
cd "$(dirname "$0")/.."
root=$PWD/build/windows-dependencies
sources=$root/sources
version=$(cksum <scripts/build-windows-dependencies.sh)

fetch_sources() {
    apt=$root/apt
    rm -rf "$apt" "$sources"
    mkdir -p "$apt/sources.list.d" "$apt/lists/partial" "$apt/cache/archives/partial" "$sources"
    : >"$apt/sources.list"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -f "$file" ] || continue
        sed 's/^deb /deb-src /' "$file" >"$apt/sources.list.d/$(basename "$file" .list).list"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -f "$file" ] || continue
        sed 's/^Types:.*/Types: deb-src/' "$file" >"$apt/sources.list.d/$(basename "$file")"
    done
    set -- -q -o "Dir::Etc::sourcelist=$apt/sources.list" \
        -o "Dir::Etc::sourceparts=$apt/sources.list.d" -o "Dir::State::lists=$apt/lists" \
        -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=
    apt-get "$@" update
    (cd "$sources" && apt-get "$@" source libtommath libtomcrypt)
    rm -rf "$apt"
}

is_complete() { # name of the architecture
    [ "$(cat "$root/$1/complete" 2>/dev/null)" = "$version" ]
}

build_for() { # name of the architecture, triplet
    prefix=$root/$1
    work=$root/work-$1
    is_complete "$1" && return
    rm -rf "$prefix/lib" "$work"
    mkdir -p "$prefix/include" "$prefix/lib" "$work"
    cp -r "$sources"/libtommath-*/ "$work/libtommath"
    cp -r "$sources"/libtomcrypt-*/ "$work/libtomcrypt"
    sed -i '/^#define ANSI_RNG$/d' "$work/libtomcrypt/src/prngs/rng_get_bytes.c"
    make -C "$work/libtommath" -f makefile.mingw -j "$(nproc)" CC="$2-gcc" AR="$2-ar" \
        RANLIB="$2-ranlib" libtommath.a
    cp "$work"/libtommath/tommath*.h "$prefix/include"
    make -C "$work/libtomcrypt" -f makefile.mingw -j "$(nproc)" CC="$2-gcc" AR="$2-ar" \
        RANLIB="$2-ranlib" CFLAGS="-O2 -DUSE_LTM -DLTM_DESC -I$prefix/include" libtomcrypt.a
    if "$2-nm" "$work/libtomcrypt/libtomcrypt.a" | grep -E ' U _?clock$' >&2; then
        echo 'LibTomCrypt still looks at the clock.' >&2
        exit 1
    fi
    cp "$work"/libtomcrypt/src/headers/*.h "$prefix/include"
    cp "$work/libtommath/libtommath.a" "$work/libtomcrypt/libtomcrypt.a" "$prefix/lib"
    rm -rf "$work"
    echo "$version" >"$prefix/complete"
}

# The cross compiler must not look into the system's own headers.
copy_headers_for() { # name of the architecture
    prefix=$root/$1
    mkdir -p "$prefix/include" "$prefix/share/cmake"
    for name in CLI nlohmann; do
        cp -r "/usr/include/$name" "$prefix/include"
    done
    for name in CLI11 nlohmann_json; do
        cp -r "/usr/share/cmake/$name" "$prefix/share/cmake"
    done
}

copy_headers_for x86
copy_headers_for x64
if is_complete x86 && is_complete x64; then
    exit 0
fi
mkdir -p "$root"
fetch_sources
build_for x86 i686-w64-mingw32
build_for x64 x86_64-w64-mingw32
