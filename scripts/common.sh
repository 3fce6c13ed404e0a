# What ./report and ./test share: installing what is missing and setting up build folders. All that is said here goes to
# standard error, so that standard output holds the result alone.

say() { printf '%s\n' "$*" >&2; }

# need_packages NAME...: installs the Debian packages that are missing, as root or through sudo; where neither is
# possible it prints the one command to run and ends with 2.
need_packages() {
    local missing=() package known
    known=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF "$package installed" <<<"$known" || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    local install="apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
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

# configure FOLDER OPTION...: configures a build folder, again when the options are not those of the last time.
configure() {
    local folder=$1 options
    shift
    options="$*"
    [[ -f $folder/build.ninja && -f $folder/options && $(<"$folder/options") == "$options" ]] && return 0
    rm -f "$folder/options"
    cmake -S . -B "$folder" -G Ninja "$@" >&2
    printf '%s\n' "$options" >"$folder/options"
}
