# Sourced by ./run and ./test: what the project needs of Debian 12, installed if it is missing.

velk_packages=(
    g++ cmake ninja-build ccache pkg-config
    libboost1.81-dev libsqlite3-dev nlohmann-json3-dev libcli11-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    nut-server nut-client sqlite3 groff-base redis-server libhiredis-dev libssl-dev openssl systemd
)
# For ./test --all: the second compiler, its analysis and the formatter.
velk_check_packages=(clang-14 clang-format-14 clang-tidy-14 abigail-tools)

# velk_install PACKAGE...: installs what is missing; says what it does and fails with what to do.
velk_install() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing ${missing[*]}"
    local root=()
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || {
            echo "These Debian packages are missing: ${missing[*]}. Install them as root and start again." >&2
            return 1
        }
        root=(sudo)
    fi
    # A package that starts a service of its own must not do so here: the project starts its own on loopback.
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq &&
        "${root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 \
            apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# velk_configure PRESET: configures once; a compiler cache is used where there is one.
velk_configure() {
    [ -f "build/$1/build.ninja" ] && return 0
    local launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    cmake --preset "$1" "${launcher[@]}" >"build/$1.configure.log" 2>&1 || {
        cat "build/$1.configure.log" >&2
        return 1
    }
}
