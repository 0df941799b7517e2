#!/usr/bin/env bash
# Lays out expat for a target of CMakePresets.json in build-sysroots/TARGET: unpacked from Debian's packages (armhf,
# i386) or built from Debian's source with musl. Nothing is installed; what is there already is kept.
# sysroot.sh armhf|i386|musl
set -eu

target=${1:?usage: sysroot.sh armhf|i386|musl}
cd "$(dirname "$0")/.."
root=$PWD/build-sysroots/$target
[ -e "$root/usr/include/expat.h" ] && exit 0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# What apt needs to look at another architecture, or at sources, without a change of this system: lists of its own,
# from where this system's packages come. The release is enough; mirrors of the security updates often hold neither.
mkdir -p "$work"/{lists,cache,parts}
if [ -e /etc/apt/sources.list.d/debian.sources ]; then
    sources=$work/parts/debian.sources
    awk 'BEGIN { RS = ""; ORS = "\n\n" } !/security/' /etc/apt/sources.list.d/debian.sources >"$sources"
else
    sources=$work/parts/debian.list
    grep -v security /etc/apt/sources.list >"$sources"
fi
cat >"$work/apt.conf" <<EOF
Dir::Etc::sourcelist "/dev/null";
Dir::Etc::sourceparts "$work/parts";
Dir::State::lists "$work/lists";
Dir::Cache "$work/cache";
APT::Sandbox::User "";
EOF
if [ "$target" = musl ]; then
    sed -i -e 's/^Types:.*/Types: deb-src/' -e 's/^deb /deb-src /' "$sources"
else
    cat >>"$work/apt.conf" <<EOF
APT::Architecture "$target";
APT::Architectures { "$target"; };
Dir::State::status "/dev/null";
EOF
fi
export APT_CONFIG=$work/apt.conf
fetch() {
    (cd "$work" && apt-get update && apt-get "$@") >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
}

if [ "$target" = musl ]; then
    fetch source expat
    mkdir -p "$work"/tree/usr/{include,lib}
    cd "$work"/expat-*/expat/lib
    touch expat_config.h # all that is needed of it is said here
    musl-gcc -Os -ffunction-sections -fdata-sections -I. -DXML_NS=1 -DXML_DTD=1 -DXML_GE=1 -DXML_CONTEXT_BYTES=1024 \
        -DBYTEORDER=1234 -DHAVE_GETRANDOM -c xmlparse.c xmlrole.c xmltok.c
    ar rcs "$work/tree/usr/lib/libexpat.a" xmlparse.o xmlrole.o xmltok.o
    cp expat.h expat_external.h "$work/tree/usr/include"
else
    fetch download libexpat1 libexpat1-dev
    for package in "$work"/*.deb; do
        dpkg-deb -x "$package" "$work/tree"
    done
    # The link that the linker follows is an absolute one in the package.
    for link in "$work"/tree/usr/lib/*/libexpat.so; do
        library=$(basename "$link/")
        ln -sf "../../../lib/$(basename "$(dirname "$link")")/$library.1" "$link"
    done
fi
mkdir -p "$(dirname "$root")"
rm -rf "$root"
mv "$work/tree" "$root"
