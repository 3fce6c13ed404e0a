# What ./report and ./test share: installing what is missing and setting up build folders. All that is said here goes to
# standard error, so that standard output holds the result alone. Works in the shell that a Mac brings, bash 3.2, too.

say() { printf '%s\n' "$*" >&2; }

# processors: how many of them to keep busy.
processors() { nproc 2>/dev/null || getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2; }

# need_packages NAME...: installs what is missing of these Debian packages, or of what Homebrew has in their place; where
# that is not possible it prints the one command to run and ends with 2.
need_packages() {
    if command -v dpkg-query >/dev/null; then
        need_debian_packages "$@"
    elif [[ $(uname -s) == Darwin ]]; then
        need_mac_packages "$@"
    else
        say "this is neither Debian nor a Mac: what Debian calls $* has to be there"
    fi
}

# need_debian_packages NAME...: as root, through sudo or not at all.
need_debian_packages() {
    local missing=() package known
    known=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF "$package installed" <<<"$known" || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    local wait="-o DPkg::Lock::Timeout=600" # another apt may be at work
    local install="apt-get $wait update && apt-get $wait install -y --no-install-recommends ${missing[*]}"
    if [[ $(id -u) == 0 ]]; then
        say "installing ${missing[*]}"
        DEBIAN_FRONTEND=noninteractive sh -c "$install" >&2 </dev/null
    elif command -v sudo >/dev/null && { sudo -n true 2>/dev/null || [[ -t 0 ]]; }; then
        say "installing ${missing[*]}"
        sudo DEBIAN_FRONTEND=noninteractive sh -c "$install" >&2
    else
        say "missing: ${missing[*]}; as root, run: $install"
        exit 2
    fi
}

# formula NAME: what Homebrew has in the place of a Debian package; nothing where the system or its compiler has it.
formula() {
    case $1 in
    g++ | iproute2) ;;
    ninja-build) echo ninja ;;
    nlohmann-json3-dev) echo nlohmann-json ;;
    libgtest-dev) echo googletest ;;
    libcli11-dev) echo cli11 ;;
    pkg-config) echo pkgconf ;;
    *) echo "$1" ;;
    esac
}

# need_mac_packages NAME...: through Homebrew. Without Homebrew the tools may have come another way.
need_mac_packages() {
    local wanted="" missing="" name known
    xcode-select -p >/dev/null 2>&1 || { say "no compiler: run: xcode-select --install"; exit 2; }
    for name in "$@"; do
        name=$(formula "$name")
        wanted=$wanted${name:+ $name}
    done
    if ! command -v brew >/dev/null; then
        for name in cmake ninja; do command -v "$name" >/dev/null || missing="$missing $name"; done
        [[ -z $missing ]] || {
            say "missing:$missing; install Homebrew (https://brew.sh) and run: brew install$wanted"
            exit 2
        }
        return 0
    fi
    known=$(brew list --formula -1)
    for name in $wanted; do
        grep -qxF "$name" <<<"$known" || missing="$missing $name"
    done
    [[ -n $missing ]] || return 0
    say "installing$missing"
    # shellcheck disable=SC2086 # words, each a name
    brew install --quiet $missing >&2 </dev/null || { say "this did not work; run: brew install$missing"; exit 2; }
}

# configure FOLDER OPTION...: configures a build folder, again when the options are not those of the last time.
configure() {
    local folder=$1 options variable
    shift
    options="$*"
    # What cmake takes from the environment when it configures for the first time counts, too: a change starts afresh.
    for variable in CC CXX CFLAGS CXXFLAGS LDFLAGS; do
        [[ -z ${!variable:-} ]] || options="$options $variable=${!variable}"
    done
    [[ -f $folder/build.ninja && -f $folder/options && $(<"$folder/options") == "$options" ]] && return 0
    rm -rf "$folder/options" "$folder/CMakeCache.txt" "$folder"/CMakeFiles/[0-9]* # what is compiled stays
    cmake -S . -B "$folder" -G Ninja "$@" >&2
    printf '%s\n' "$options" >"$folder/options"
}
