#!/bin/bash
# Installs what is missing of what this project needs, on Debian.
#
#     tools/setup.sh run      what ./run needs: build tools, libraries, Node.js
#     tools/setup.sh test     that, and what ./test needs
#     tools/setup.sh cross    that, and what ./test armhf and ./test i386 need
#     tools/setup.sh all      that, and what ./test --all needs
#     tools/setup.sh bench    what ./test needs, and what bench/run compares with
#
# Asks only dpkg when nothing is missing: no network, no root, a few
# milliseconds. Sourced by ./run and ./test, which call `setup run` or
# `setup test`; it leaves the path of Node.js in NODE.

setup_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd) || exit 1

setup_run_packages=(
    g++ cmake ninja-build pkg-config                                # builds
    libclutter-1.0-dev libjsoncpp-dev libicu-dev libmount-dev       # linked with
    libblkid-dev libudev-dev
    libsystemd-dev libexif-dev libheif-dev libtag1-dev libsqlite3-dev
    libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libvips-dev libturbojpeg0-dev libwebp-dev
    libgupnp-1.6-dev libgphoto2-dev libexpat1-dev
    ffmpeg libimage-exiftool-perl                                   # make the sample library
)
# clang-format's taste changes from version to version; the tree is in that of 14.
setup_test_packages=(mold tmux clang clang-format-14 clang-tidy libgtest-dev libgmock-dev zlib1g-dev sqlite3 imagemagick
    umockdev libumockdev-dev libgupnp-av-1.0-dev iproute2 dbus minidlna rygel libheif-examples man-db)
# Compilers for 32 bits, and what runs their programs; tools/sysroot has the libraries.
setup_cross_packages=(g++-arm-linux-gnueabihf g++-i686-linux-gnu qemu-user)
setup_all_packages=(
    g++-11 g++-12 clang-13 clang-19     # the oldest and the newest, for what televisions' compilers build
    dpkg-dev file lintian               # make Debian packages, and check them
    mmdebstrap debian-archive-keyring   # a bare root to install them into
    ccache                              # what two builds have in common is compiled once
)
# Other thumbnailers, with what they read WebP and HEIC by.
setup_bench_packages=(libvips-tools libgdk-pixbuf2.0-bin webp-pixbuf-loader heif-gdk-pixbuf ffmpegthumbnailer gphoto2)

setup_fail() {
    printf 'setup: %s\n' "$*" >&2
    return 1
}

# The names among the arguments of packages that are not installed.
setup_missing() {
    local installed package
    # Asking for a package that dpkg has never heard of is no failure here.
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package} ${Provides}\n' "$@" 2>/dev/null |
        sed -n 's/^installed //p')
    installed=" ${installed//[$',\n']/ } "
    for package in "$@"; do
        [[ $installed == *" $package "* ]] || printf '%s\n' "$package"
    done
}

# Prints the folder of the Node.js headers that go with the program $1.
setup_node_headers() {
    local program folder
    program=$(readlink -f "$1")
    for folder in "${program%/bin/*}/include/node" /usr/include/node /usr/include/nodejs/src; do
        # The distribution's headers go with the distribution's program only.
        [[ $folder == /usr/include/* && $program != /usr/bin/* ]] && continue
        [[ -e $folder/node.h ]] && printf '%s\n' "$folder" && return 0
    done
    return 1
}

# The packages that bring Node.js or its headers where they are missing. A
# vendor's nodejs package has its own headers and cannot stand beside
# libnode-dev, so headers that are there settle the matter.
setup_missing_node() {
    local program
    if ! program=$(command -v node || command -v nodejs); then
        printf '%s\n' nodejs libnode-dev
    elif ! setup_node_headers "$program" >/dev/null; then
        if [[ $(readlink -f "$program") != /usr/bin/* ]]; then
            setup_fail "$program has no headers beside it (include/node/node.h); install a Node.js" \
                "that has them, or take this one out of PATH to use the distribution's."
            return 1
        fi
        printf '%s\n' libnode-dev
    fi
}

setup_check_node() {
    local headers version
    NODE=$(command -v node || command -v nodejs) || { setup_fail "Node.js was not installed"; return 1; }
    headers=$(setup_node_headers "$NODE") || { setup_fail "$NODE has no headers (node.h)"; return 1; }
    version=$(sed -n 's/^#define NODE_MAJOR_VERSION //p' "$headers/node_version.h")
    if ((version < 18)); then
        setup_fail "Node.js 18 or newer is needed, and $NODE is version $version"
        return 1
    fi
    export NODE
}

# A command as root, without questions, its words in the log.
setup_as_root() {
    local as_root=()
    if ((EUID != 0)); then
        as_root=(sudo)
        [[ -t 0 ]] || as_root=(sudo -n)
    fi
    "${as_root[@]}" "$@" >>"$setup_root/build/setup.log" 2>&1 </dev/null
}

setup_apt() {
    setup_as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 "$@"
}

# The tests start servers of their own; the package starts one for the whole house.
setup_quiet_service() {
    setup_as_root systemctl disable --now "$1" ||
        { setup_as_root service "$1" stop; setup_as_root update-rc.d "$1" disable; } || true
}

setup_install() {
    local why=$1 by_hand
    shift
    if ! command -v apt-get >/dev/null; then
        setup_fail "this is not Debian (no apt-get); install by hand: $*"
        return 1
    fi
    by_hand="install by hand: apt-get install $*"
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            setup_fail "not root, and there is no sudo; $by_hand"
            return 1
        fi
        if ! sudo -n true 2>/dev/null && { [[ ! -t 0 ]] || ! sudo -v; }; then
            setup_fail "not root, and sudo does not let $(id -un) in; $by_hand"
            return 1
        fi
    fi
    if ! { mkdir -p "$setup_root/build" && : >"$setup_root/build/setup.log"; } 2>/dev/null; then
        setup_fail "cannot write $setup_root/build/setup.log; make the folder writable for $(id -un)"
        return 1
    fi
    printf 'Installing for %s: %s\n' "$why" "$*"
    # Lists that one source of many did not give need not matter; the log has it.
    setup_apt update
    if ! setup_apt install -y --no-install-recommends "$@"; then
        tail -n 15 "$setup_root/build/setup.log" >&2
        setup_fail "apt-get failed (build/setup.log has all it said); $by_hand"
        return 1
    fi
    [[ " $* " != *' minidlna '* ]] || setup_quiet_service minidlna
}

# setup run | setup test | setup cross | setup all | setup bench
setup() {
    local packages missing node why='building and running'
    packages=("${setup_run_packages[@]}")
    if [[ $1 != run ]]; then
        packages+=("${setup_test_packages[@]}")
        why='building and testing'
    fi
    if [[ $1 == cross || $1 == all ]]; then
        packages+=("${setup_cross_packages[@]}")
    fi
    if [[ $1 == all ]]; then
        packages+=("${setup_all_packages[@]}")
    fi
    if [[ $1 == bench ]]; then
        packages+=("${setup_bench_packages[@]}")
        why='building, testing and comparing'
    fi
    if ! command -v dpkg-query >/dev/null; then
        setup_fail "this is not Debian (no dpkg-query); install by hand: ${packages[*]} nodejs libnode-dev"
        return 1
    fi
    node=$(setup_missing_node) || return 1
    mapfile -t missing < <(setup_missing "${packages[@]}"; [[ -z $node ]] || printf '%s\n' "$node")
    if ((${#missing[@]} > 0)); then
        setup_install "$why" "${missing[@]}" || return 1
    fi
    setup_check_node
}

if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
    case ${1-} in
    run | test | cross | all | bench) setup "$1" ;;
    *) setup_fail "usage: tools/setup.sh run|test|cross|all|bench" ;;
    esac
fi
