# SPDX-License-Identifier: MIT
# Shell functions that ./test, ./demo and the scripts beside this file share. To be sourced by bash.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}" CCACHE_NOHASHDIR=1

say() { printf '%s\n' "$*"; }

die() {
    printf '%s\n' "$*" >&2
    exit 1
}

# usage_is TEXT MOST ARGUMENT...: of a script's arguments, shows the text and ends when help is asked for; refuses
# options, and more than MOST arguments.
usage_is() {
    local text=$1 most=$2
    shift 2
    if [[ ${1:-} == -h || ${1:-} == --help ]]; then
        say "$text"
        exit 0
    fi
    (($# <= most)) && [[ ${1:-} != -* ]] || die "$text"
}

own_processes=()
work_directory=$(mktemp -d "${TMPDIR:-/tmp}/lightpen.XXXXXX")
leave() {
    local status=$? process
    for process in "${own_processes[@]}"; do kill "$process" 2>/dev/null || true; done
    for process in "${own_processes[@]}"; do wait "$process" 2>/dev/null || true; done
    rm -rf "$work_directory"
    exit "$status"
}
trap leave EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# run_quietly LABEL COMMAND...: one line, how long the command took if that was long, and a sign of life every half
# minute; everything the command wrote, and its status, when it fails. The output stays in $last_log.
last_log=$work_directory/output.log
run_quietly() {
    local label=$1 started=$SECONDS status=0
    shift
    if [[ -n $label ]]; then say "$label..."; fi
    "$@" </dev/null 2>&1 | keep_log || status=$?
    if ((status != 0)); then
        cat "$last_log"
        printf 'Failed with status %d: %s\n' "$status" "$*" >&2
        return "$status"
    fi
    if ((SECONDS - started > 3)); then say "    done in $((SECONDS - started)) s"; fi
}

# Copies stdin to the log. Shows how much there is to build, once it is known, and every half minute the line that
# it has come to.
keep_log() {
    local line shown=$SECONDS
    : >"$last_log"
    while IFS= read -r line || [[ -n $line ]]; do
        printf '%s\n' "$line" >>"$last_log"
        if [[ $line =~ ^'[1/'([0-9]+)'] ' ]]; then say "Building (${BASH_REMATCH[1]} steps)..."; fi
        if [[ -n $line ]] && ((SECONDS - shown >= 30)); then
            shown=$SECONDS
            say "    ${line:0:100}"
        fi
    done
}

# Debian's number of this machine's release; one that is not out yet has none, and comes after all others.
this_release() { (. /etc/os-release && printf '%s' "${VERSION_ID:-99}") 2>/dev/null || printf 0; }

# packages_of SECTION...: the packages of these sections of the list that this release has, each once.
packages_of() {
    local wanted=" $* " section= name since release
    release=$(this_release)
    while read -r name since; do
        case $name in
            '' | '#'*) ;;
            '['*']') section=${name:1:-1} ;;
            *) if [[ $wanted == *" $section "* ]] && ((${since:-0} <= ${release%%.*})); then say "$name"; fi ;;
        esac
    done <"$root/packaging/debian-packages.txt" | sort -u
}

# missing_packages SECTION...: those that dpkg does not have installed.
missing_packages() {
    local installed
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' 2>/dev/null | sed -n 's/^installed //p' | sort -u)
    comm -23 <(packages_of "$@") <(printf '%s\n' "$installed")
}

# install_packages SECTION...: installs what is missing; a second run asks dpkg and nothing else.
install_packages() {
    command -v dpkg-query >/dev/null ||
        die "This needs Debian 12 (no dpkg here); on other systems install what docs/dependencies.md lists."
    local missing=() as_root=()
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} > 0)) || return 0
    if (($(id -u) != 0)); then
        command -v sudo >/dev/null ||
            die "Please install these packages as root, then run this again: ${missing[*]}"
        say "Installing packages needs administrator rights: ${missing[*]}"
        sudo -v || die "Without administrator rights, please have these packages installed: ${missing[*]}"
        as_root=(sudo)
    fi
    run_quietly "Refreshing the package lists" "${as_root[@]}" apt-get -q update
    run_quietly "Installing ${#missing[@]} packages" "${as_root[@]}" \
        env DEBIAN_FRONTEND=noninteractive apt-get -q -y install --no-install-recommends "${missing[@]}"
}

# The version, which is said in one place.
project_version() { sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt"; }
# A release is the commit that has its version for a tag; where the two differ, one of them is wrong.
check_tag() {
    local tag
    tag=$(git -C "$root" describe --tags --exact-match --match 'v[0-9]*' 2>/dev/null) || return 0
    [[ $tag == "v$(project_version)" ]] || die "This commit is tagged $tag, but CMakeLists.txt says $(project_version)."
}

# suite_of RELEASE: the name by which Debian's archives know a release.
suite_of() {
    case $1 in
        12) say bookworm ;;
        13) say trixie ;;
        *) say "$1" ;;
    esac
}

# copy_tree FOLDER: the tree as it stands, without what is built, into a folder that is made.
copy_tree() {
    local list=$work_directory/tree
    if [[ -e $root/.git ]]; then
        (cd "$root" && git ls-files -z --cached --others --exclude-standard --deduplicate |
            while IFS= read -r -d '' file; do [[ ! -e $file ]] || printf '%s\0' "$file"; done) >"$list"
    else
        (cd "$root" && find . -path ./build -prune -o ! -type d -print0) >"$list"
    fi
    mkdir -p "$1"
    tar -C "$root" --null --files-from="$list" -c | tar -C "$1" --no-same-owner -x
}

# configure PRESET [OPTION...]: says nothing unless it fails.
configure() {
    local preset=$1 log=$work_directory/configure.log
    shift
    (cd "$root" && cmake --preset "$preset" "$@") >"$log" 2>&1 </dev/null || {
        cat "$log"
        die "Configuring the preset $preset failed."
    }
}

# build PRESET [TARGET...]: all targets when none is named.
build() {
    local preset=$1
    shift
    run_quietly '' ninja -C "$root/build/$preset" -j "$jobs" "$@"
}

# run_ctest PRESET [ARGUMENT...]: the tests in parallel, then ctest's closing lines; everything on failure. Tests that
# passed only when they were run again are named. What a sanitizer has found stays a failure however they ended.
run_ctest() {
    local preset=$1
    shift
    cd "$root"
    run_quietly "Testing, preset $preset" ctest --preset "$preset" --parallel "$jobs" --output-on-failure "$@"
    grep -F -e '***' "$last_log" || true
    if grep -q -E -e '(WARNING|ERROR): [A-Za-z]+Sanitizer|: runtime error: ' "$last_log"; then
        cat "$last_log"
        die "A sanitizer has found something in a test that passed when it was run again."
    fi
    sed -n '/% tests passed/,$p' "$last_log"
}

# start_server NAME COMMAND...: starts a server that writes its address to descriptor 3 when it is ready, which
# server_address then holds. The server ends with this script.
server_address=
start_server() {
    local name=$1-${#own_processes[@]}
    shift
    command -v "$1" >/dev/null || die "$1 is not installed."
    mkfifo "$work_directory/$name.ready"
    "$@" 3>"$work_directory/$name.ready" >"$work_directory/$name.log" 2>&1 </dev/null &
    own_processes+=($!)
    read -r -t 20 server_address <"$work_directory/$name.ready" || {
        cat "$work_directory/$name.log" >&2
        die "$1 did not start."
    }
}

# start_screen WIDTHxHEIGHT: starts an X server of our own and makes it the display of what follows.
start_screen() {
    start_server "screen-$1" Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp
    export DISPLAY=:$server_address
    unset WAYLAND_DISPLAY XAUTHORITY
    export QT_QPA_PLATFORM=xcb
}

# Starts an X server and a message bus of our own, with a private run-time folder, and points the environment at
# them. The bus knows no services to start, so nothing but ours ever runs on it.
start_display() {
    export XDG_RUNTIME_DIR=$work_directory/run
    mkdir -m 700 "$XDG_RUNTIME_DIR"
    cat >"$work_directory/bus.conf" <<XML
<busconfig>
  <type>session</type>
  <listen>unix:path=$XDG_RUNTIME_DIR/bus</listen>
  <policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>
XML
    start_server bus dbus-daemon --config-file="$work_directory/bus.conf" --nofork --nopidfile --print-address=3
    export DBUS_SESSION_BUS_ADDRESS=$server_address
    start_screen 1280x720
}
