#!/bin/sh
# Makes a release of the revision that is checked out: tries demonstration and tests in a bare Debian
# root, stamps the version into CMakeLists.txt, the change logs and the tests that name it, commits,
# and tags. Nothing is pushed. As root.
set -eu
cd "$(dirname "$0")/.."

usage() {
    echo "usage: $0 VERSION"
    echo
    echo "  VERSION  three numbers, such as 1.2.0, above that of the last release"
}

case "${1:-}" in
    -h | --help)
        usage
        exit 0
        ;;
esac
version=${1:-}
if [ $# -ne 1 ] || ! printf '%s' "$version" | grep -qE '^[0-9]+\.[0-9]+\.[0-9]+$'; then
    usage >&2
    exit 2
fi

refuse() {
    echo "$0: $1" >&2
    exit 1
}

[ -z "$(git status --porcelain)" ] || refuse 'there are changes that are not committed'
git rev-parse -q --verify "refs/tags/v$version" >/dev/null && refuse "v$version is there already"
before=$(sed -n 's/^project(pinpad VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
highest=$(printf '%s\n%s\n' "$before" "$version" | sort -V | tail -n 1)
[ "$highest" = "$version" ] || refuse "$version is not above $before"
changes=$(sed -n '/^## \[Unreleased\]/,/^## \[[0-9]/p' CHANGELOG.md | grep -v '^## ')
printf '%s' "$changes" | grep -q '^- ' || refuse 'CHANGELOG.md tells no change'
printf '%s' "$changes" | grep -q '^ABI: ' || refuse 'CHANGELOG.md does not tell of the ABI'

./run-tests.sh --fresh

day=$(date -u +%Y-%m-%d)
abi=$(sed -n 's/^set(PINPAD_ABI_VERSION \([0-9]*\))/\1/p' CMakeLists.txt)
sed -i "s/^project(pinpad VERSION $before/project(pinpad VERSION $version/" CMakeLists.txt
heading="## [Unreleased]\n\nABI: $abi, unchanged.\n\n## [$version] - $day"
sed -i "s/^## \[Unreleased\]\$/$heading/" CHANGELOG.md
sed -i "s/\.so\.$abi\.$before\$/.so.$abi.$version/" tests/install/layout.txt
{
    echo "pinpad ($version) bookworm; urgency=medium"
    echo
    echo '  * See CHANGELOG.md.'
    echo
    echo " -- The pinpad authors <pinpad@localhost>  $(date -uR)"
    echo
    cat debian/changelog
} >debian/changelog.new
[ "$version" = "$before" ] || cp debian/changelog.new debian/changelog
rm -f debian/changelog.new

git commit -q -m "Release $version" -- CMakeLists.txt CHANGELOG.md debian/changelog \
    tests/install/layout.txt
git tag -a -m "pinpad $version" "v$version"
echo "v$version is committed and tagged; the library built from it says"
echo "$version-0-g$(git rev-parse --short=7 HEAD)"
echo "Push with: git push origin HEAD v$version"
