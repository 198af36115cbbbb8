# Makes a bare Debian root to try things in; for the scripts that source it, as root.
#
#   make_clean_root           debootstrap's least, with the machine's own package sources, in $root
#   inside COMMAND...         runs a command in it, with nothing of this shell's environment but what
#                             it takes to reach the package sources
#   inside_quietly COMMAND... the same, and shows what it prints only when it fails
#
# The root goes with the shell.
# shellcheck shell=sh

clean_root_mounts='proc dev/pts dev/shm'

remove_clean_root() {
    for mount in $clean_root_mounts; do
        ! mountpoint -q "$root/$mount" || umount "$root/$mount" || {
            echo "$root cannot be removed: $mount is in use" >&2
            return
        }
    done
    rm -rf --one-file-system "$root" "$clean_root_log"
}

quietly() {
    "$@" >"$clean_root_log" 2>&1 || {
        tail -n 20 "$clean_root_log" >&2
        echo "failed: $*" >&2
        exit 1
    }
}

make_clean_root() {
    root=$(mktemp -d)
    chmod 755 "$root"
    clean_root_log=$(mktemp)
    trap remove_clean_root EXIT
    trap 'exit 1' HUP INT TERM
    mirror=$(sed -n 's/^deb \(\[[^]]*\] \)\{0,1\}\([^ ]*\) bookworm .*/\2/p' /etc/apt/sources.list \
        /etc/apt/sources.list.d/*.list 2>/dev/null | head -n 1)
    [ -n "$mirror" ] ||
        mirror=$(sed -n 's/^URIs: *//p' /etc/apt/sources.list.d/debian.sources 2>/dev/null | head -n 1)
    # shellcheck disable=SC2086 # no mirror means the usual one
    quietly debootstrap --variant=minbase bookworm "$root" $mirror
    # The machine's own sources, with whatever they need.
    cp -a /etc/apt/sources.list* /etc/apt/trusted.gpg* "$root/etc/apt/" 2>/dev/null || true
    mkdir -p "$root/usr/share/keyrings" "$root/etc/apt/keyrings"
    cp -a /usr/share/keyrings/. "$root/usr/share/keyrings/" 2>/dev/null || true
    cp -a /etc/apt/keyrings/. "$root/etc/apt/keyrings/" 2>/dev/null || true
    for file in /etc/apt/apt.conf.d/*proxy* /etc/resolv.conf /etc/hosts; do
        [ ! -e "$file" ] || cp -L "$file" "$root$file"
    done
    mount -t proc proc "$root/proc"
    mkdir -p "$root/dev/pts" "$root/dev/shm"
    mount --bind /dev/pts "$root/dev/pts"
    mount -t tmpfs tmpfs "$root/dev/shm"
    inside_quietly apt-get update -q
}

inside() {
    env -i DEBIAN_FRONTEND=noninteractive HOME=/root LANG=C.UTF-8 \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        ${http_proxy+"http_proxy=$http_proxy"} ${https_proxy+"https_proxy=$https_proxy"} \
        ${no_proxy+"no_proxy=$no_proxy"} chroot "$root" "$@"
}

inside_quietly() {
    quietly inside "$@"
}
