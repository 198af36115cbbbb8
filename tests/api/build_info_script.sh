#!/bin/sh
# Runs the script that stamps the build information on sources of every kind:
# build_info_script.sh CMAKE SCRIPT TEMPLATE
set -eu

cmake=$1
script=$2
template=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# No user, system or enclosing repository has a say.
export GIT_CONFIG_NOSYSTEM=1 GIT_CEILING_DIRECTORIES="$work" HOME="$work"
unset GIT_DIR GIT_WORK_TREE SOURCE_DATE_EPOCH

stamp() { # folder of the sources; writes date, revision and version, one a line
    "$cmake" -DSOURCE_DIR="$1" -DBASE_VERSION=1.2.3 -DTEMPLATE="$template" \
        -DOUTPUT="$work/stamp.cpp" -P "$script"
    sed -n 's/^ *return "\(.*\)";$/\1/p' "$work/stamp.cpp"
}
check() { # what, expected text, text
    if [ "$2" != "$3" ]; then
        printf '%s: expected\n%s\nbut got\n%s\n' "$1" "$2" "$3" >&2
        exit 1
    fi
    echo "$1: as expected"
}
commit() {
    git -C "$work/repository" -c user.name=a -c user.email=a commit --quiet --allow-empty -m a
}
head() {
    git -C "$work/repository" rev-parse HEAD
}

none=0000000000000000000000000000000000000000
mkdir -p "$work/tarball" "$work/repository/vendored"

check 'a given time' '2001-09-09 01:46:40 UTC' \
    "$(SOURCE_DATE_EPOCH=1000000000 stamp "$work/tarball" | sed -n 1p)"
before=$(date -u '+%Y-%m-%d %H:%M:%S UTC')
now=$(stamp "$work/tarball" | sed -n 1p)
after=$(date -u '+%Y-%m-%d %H:%M:%S UTC')
check 'the present time' "$before
$now
$after" "$(printf '%s\n' "$before" "$now" "$after" | sort)"
check 'no repository' "$none
1.2.3-0-g0000000" "$(stamp "$work/tarball" | sed 1d)"

if ! command -v git >/dev/null; then
    echo 'git is missing: repositories were not tried'
    exit 0
fi
git init --quiet "$work/repository"
check 'a repository without a commit' "$none
1.2.3-0-g0000000" "$(stamp "$work/repository" | sed 1d)"
commit
commit
check 'no release yet' "$(head)
1.2.3-2-g$(head | cut -c 1-7)" "$(stamp "$work/repository" | sed 1d)"
git -C "$work/repository" tag v1.2.3
check 'the release' "$(head)
1.2.3-0-g$(head | cut -c 1-7)" "$(stamp "$work/repository" | sed 1d)"
commit
check 'a change since the release' "$(head)
1.2.3-1-g$(head | cut -c 1-7)" "$(stamp "$work/repository" | sed 1d)"
check "a folder of another project's repository" "$none
1.2.3-0-g0000000" "$(stamp "$work/repository/vendored" | sed 1d)"
