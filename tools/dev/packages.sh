# The packages that each command needs, and their installation.

build_packages=(g++-mingw-w64-x86-64-posix cmake ninja-build ccache dpkg-dev git)
wine_packages=(wine wine64)
build32_packages=(g++-mingw-w64-i686-posix)
wine32_packages=(debootstrap)
test_packages=(python3 googletest xvfb xauth fonts-dejavu-core fonts-liberation)
picture_packages=(fonts-dejavu-core fonts-liberation fonts-wine fonts-droid-fallback)
bench_packages=(dpkg-dev libboost-dev librapidxml-dev libutfcpp-dev)
lint_packages=(clang-14 clang-tidy-14 clang-format-14 python3 python3-cairo)

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Installs those of the packages that are missing.
install_packages() {
    local package missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "These packages are missing; please install them: ${missing[*]}" >&2
        return 1
    fi
    echo "Installing ${missing[*]}" >&2
    apt-get update -qq >&2
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" </dev/null >&2
}
