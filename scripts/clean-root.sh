# Makes a bare Debian root to try things in; for the scripts that source it, as root.
#
#   make_clean_root LOG    debootstrap's least, with the machine's own package sources, in $root
#   inside COMMAND...      runs a command in it, with nothing of this shell's environment but what
#                          it takes to reach the package sources
#
# The root goes with the shell.
# shellcheck shell=sh

clean_root_mounts='proc dev/pts dev/shm'

remove_clean_root() {
    for mount in $clean_root_mounts; do
        ! mountpoint -q "$root/$mount" || umount "$root/$mount" || return
    done
    rm -rf --one-file-system "$root"
}

make_clean_root() { # log
    root=$(mktemp -d)
    trap remove_clean_root EXIT
    trap 'exit 1' INT TERM
    mirror=$(sed -n 's/^deb \(\[[^]]*\] \)\{0,1\}\([^ ]*\) bookworm .*/\2/p' /etc/apt/sources.list \
        /etc/apt/sources.list.d/*.list 2>/dev/null | head -n 1)
    [ -n "$mirror" ] ||
        mirror=$(sed -n 's/^URIs: *//p' /etc/apt/sources.list.d/*.sources | head -n 1)
    # shellcheck disable=SC2086 # no mirror means the usual one
    debootstrap --variant=minbase bookworm "$root" $mirror >"$1" 2>&1 || {
        tail -n 20 "$1"
        exit 1
    }
    # The machine's own sources, with whatever they need.
    cp -a /etc/apt/sources.list* /etc/apt/trusted.gpg* "$root/etc/apt/" 2>/dev/null || true
    for file in /etc/apt/apt.conf.d/*proxy* /etc/resolv.conf /etc/hosts; do
        [ ! -e "$file" ] || cp -L "$file" "$root$file"
    done
    mount -t proc proc "$root/proc"
    mkdir -p "$root/dev/pts" "$root/dev/shm"
    mount --bind /dev/pts "$root/dev/pts"
    mount -t tmpfs tmpfs "$root/dev/shm"
    inside apt-get update -q >>"$1" 2>&1
}

inside() {
    env -i DEBIAN_FRONTEND=noninteractive HOME=/root LANG=C.UTF-8 \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        ${http_proxy+"http_proxy=$http_proxy"} ${https_proxy+"https_proxy=$https_proxy"} \
        ${no_proxy+"no_proxy=$no_proxy"} chroot "$root" "$@"
}
