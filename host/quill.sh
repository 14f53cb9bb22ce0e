#!/bin/sh
# quill: runs a script with the bridges' classes as globals, on Node.js.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
parts=$here/@QUILL_PARTS@
node=${QUILL_NODE:-}
newline='
'

fail() {
    printf 'quill: %s\n' "$1" >&2
    exit 1
}

usage() {
    cat <<END
Usage: quill [options] SCRIPT [arguments]    run a script
       quill [options] -e CODE [arguments]   run a text
       quill [options]                       read and run at a prompt
       quill [options] inspect SCRIPT [arguments]
                                             run a script in Node.js's debugger

Scripts see the class MRBBridge and the object quill:
  quill.release(object)   destroy the native part of an MRBBridge object
  quill.unref(object)     let the program end although the object has functions
                          registered; quill.ref(object) undoes that

Options:
  --bridge FILE     open a bridge library; one named as the default bridge
                    replaces it (may be given several times)
  --device FOLDER   let a folder stand for an attached device while it exists
                    (may be given several times)
  --camera FOLDER   the same for a camera, of which the folder is the memory card
  --log             print the system log to standard error
  --log=TAG[,TAG]   the same, only lines with these tags: common, agent,
                    thumbnail, storagemgr (the bridge), mrb (the media framework)
  -h, --help        print this text
  -v, --version     print versions
Any other option goes to Node.js, for instance --inspect or --enable-source-maps.

Environment:
  QUILL_NODE        the node program to run
  QUILL_LOG         where the system log goes: system (the default), stderr or off
  QUILL_LOG_TAGS    the tags of the lines that go there, as for --log=; empty: all
  NO_COLOR          if it is not empty, a log in a terminal has no colours
  MRB_DEVICES       folders as for --device, absolute, with line feeds between them
  MRB_CAMERAS       the same for --camera
END
}

# file_exists SCRIPT: whether Node.js would find it.
file_exists() {
    for ending in '' .js .cjs .mjs .json .node /index.js /package.json; do
        [ -f "$1$ending" ] && return 0
    done
    return 1
}

find_node() {
    [ -n "$node" ] || node=$(command -v node || command -v nodejs) ||
        fail 'no Node.js: install it, or name the program in QUILL_NODE'
    command -v -- "$node" >/dev/null 2>&1 || fail "QUILL_NODE names '$node', which is not a program"
}

# The debugger starts the program to debug with this command, and these bridges.
bridges=${QUILL_INSPECTED_BRIDGES-}
unset QUILL_INSPECTED_BRIDGES
add_bridge() {
    case $1 in
        '') fail '--bridge needs the file of a bridge library' ;;
        /*) ;;
        *) set -- "$PWD/$1" ;;
    esac
    [ -f "$1" ] || fail "cannot load the bridge $1: no such file"
    bridges=$bridges$1$newline
}

LOG_TAGS='common agent thumbnail storagemgr mrb
    mrb-bridge-common mrb-bridge-agent mrb-bridge-thumbnail mrb-bridge-storagemgr'

# set_log_tags TAGS: they have commas between them.
log_tags=
set_log_tags() {
    case $1 in
        *[!,\ ]*) log_tags=$1 ;;
        *) fail '--log= needs tags, for instance --log=agent; --log alone prints all' ;;
    esac
    export QUILL_LOG=stderr QUILL_LOG_TAGS="$log_tags"
}

# Bridges that --bridge opens may have tags of their own.
check_log_tags() {
    [ -n "$log_tags" ] && [ -z "$bridges" ] || return 0
    set -f # no file name patterns in tags
    for tag in $(printf '%s' "$log_tags" | tr '[:upper:],' '[:lower:] '); do
        for known in $LOG_TAGS; do
            [ "$tag" != "$known" ] || continue 2
        done
        fail "--log: there is no tag '$tag'; there are common, agent, thumbnail, storagemgr and mrb"
    done
    set +f
}

# add_device OPTION FOLDER: the media framework reads them from the environment.
add_device() {
    case $2 in
        '') fail "$1 needs a folder" ;;
        *"$newline"*) fail "$1: the name of the folder must not hold a line feed" ;;
        /*) ;;
        *) set -- "$1" "$PWD/$2" ;;
    esac
    # A folder that does not exist may appear later; a file is a mistake.
    [ ! -e "$2" ] || [ -d "$2" ] || fail "$1 $2: not a folder"
    case $1 in
        --camera) export MRB_CAMERAS="${MRB_CAMERAS:+$MRB_CAMERAS$newline}$2" ;;
        *) export MRB_DEVICES="${MRB_DEVICES:+$MRB_DEVICES$newline}$2" ;;
    esac
}

# Our own options may stand among those of Node.js; the rest keeps its order.
# Each argument is examined once: those to keep move to the end of the list.
left=$#
runs_text=no
debugs=no
while [ "$left" -gt 0 ]; do
    argument=$1
    shift
    left=$((left - 1))
    case $argument in
        -h | --help) usage; exit 0 ;;
        -v | --version)
            find_node
            exec "$node" -p "const b = require('$parts/build.json');
                \`quill \${b.version}, Node.js \${process.version}, V8 \${process.versions.v8}\`"
            ;;
        --bridge)
            [ "$left" -gt 0 ] || fail '--bridge needs the file of a bridge library'
            add_bridge "$1"
            shift
            left=$((left - 1))
            ;;
        --bridge=*) add_bridge "${argument#--bridge=}" ;;
        --device | --camera)
            [ "$left" -gt 0 ] || fail "$argument needs a folder"
            add_device "$argument" "$1"
            shift
            left=$((left - 1))
            ;;
        --device=* | --camera=*) add_device "${argument%%=*}" "${argument#*=}" ;;
        --log) export QUILL_LOG=stderr ;;
        --log=*) set_log_tags "${argument#--log=}" ;;
        -e | --eval | -p | --print | -pe)
            [ "$left" -gt 0 ] || fail "$argument needs the text to run"
            runs_text=yes
            set -- "$@" "$argument" "$1"
            shift
            left=$((left - 1))
            ;;
        -r | --require | --import | --loader | --experimental-loader | -C | --conditions | --title | \
            --env-file | --inspect-port | --test-reporter | --test-reporter-destination | \
            --test-name-pattern | --icu-data-dir | --stack-trace-limit | --redirect-warnings)
            [ "$left" -gt 0 ] || fail "$argument needs a value"
            set -- "$@" "$argument" "$1"
            shift
            left=$((left - 1))
            ;;
        --)
            set -- "$@" "$argument"
            break
            ;;
        -?*) set -- "$@" "$argument" ;;
        *)
            if [ "$runs_text" = no ] && [ "$argument" = inspect ]; then
                debugs=yes
            elif [ "$runs_text" = no ] && [ "$argument" != - ]; then
                file_exists "$argument" || fail "no such script: '$argument'"
            fi
            set -- "$@" "$argument"
            break
            ;;
    esac
done
# The arguments not examined are first now: rotate the list until they are last.
while [ "$left" -gt 0 ]; do
    set -- "$@" "$1"
    shift
    left=$((left - 1))
done

check_log_tags
find_node
if [ "$debugs" = yes ]; then
    export QUILL_INSPECTED_BRIDGES="$bridges" QUILL_NODE="$node"
    exec "$node" --require "$parts/inspect.cjs" "$@"
fi
export QUILL_BRIDGES="$bridges"
exec "$node" --require "$parts/preload.cjs" "$@"
