# Sourced by ./demo and ./test: installs the tools that are missing, with Debian's packages.
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
