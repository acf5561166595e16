# Sourced by ./demo and ./test.

# Installs the tools that are missing, with the packages of Debian.
# Usage: need COMMAND_OR_FILE:PACKAGE ...
need() {
    local missing=()
    for pair in "$@"; do
        local what=${pair%%:*} package=${pair##*:}
        if [[ $what == /* ]]; then
            compgen -G "$what" >/dev/null || missing+=("$package")
        else
            command -v "$what" >/dev/null || missing+=("$package")
        fi
    done
    [[ ${#missing[@]} -eq 0 ]] && return
    echo "Installing: ${missing[*]}"
    local root=()
    if [[ $EUID -ne 0 ]]; then
        command -v sudo >/dev/null || {
            echo "Run this as root, or install the packages above first." >&2
            exit 1
        }
        root=(sudo)
    fi
    "${root[@]}" apt-get update -qq
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Runs a command and shows its output only if it fails.
quietly() {
    local log
    log=$(mktemp)
    if "$@" >"$log" 2>&1; then
        rm -f "$log"
    else
        local status=$?
        cat "$log" >&2
        rm -f "$log"
        return "$status"
    fi
}
