# 32-bit Wine, in a folder of its own: its packages cannot be installed beside
# the 64-bit ones. Sourced by ./dev.
#
# The folder holds a small system with 32-bit Wine in it, 1 GB, and is made once.
# It is used inside namespaces of mounts and processes (in_wine32): whatever is
# mounted or left running there is gone when the command ends, also when it is
# killed, and nobody outside ever sees a mount.

wine32_folder=$root/.cache/wine32

# What keeps this machine from having the folder, in one line; nothing where it
# can be made, or is there.
wine32_obstacle() {
    if [ "$(id -u)" -ne 0 ]; then
        echo "it takes root"
    elif ! unshare --mount --pid --fork true 2>/dev/null; then
        echo "this machine allows no mounts"
    elif ! "$root/tools/dev/run32.sh" 2>/dev/null; then
        echo "this machine runs no 32-bit programs"
    fi
}

# Runs a command (a function or a program) in namespaces of its own.
in_namespaces() {
    unshare --mount --pid --fork --kill-child --propagation private "$@"
}

# Makes the folder unless it is there, complete.
make_wine32() {
    [ ! -f "$wine32_folder/complete" ] || return 0
    echo "Making the folder of 32-bit Wine, which takes a few minutes" >&2
    local archive suite
    # The archive and release that the machine's own packages come from.
    read -r archive suite < <(apt-get indextargets --format \
        '$(REPO_URI) $(RELEASE) $(ORIGIN)/$(COMPONENT)/$(ARCHITECTURE)' |
        awk -v suite="$(. /etc/os-release && echo "$VERSION_CODENAME")" \
            '$2 == suite && $3 ~ "^Debian/main/" { print $1, $2; exit }')
    if [ -z "${suite:-}" ]; then
        echo "The package lists name no archive of this release" >&2
        return 1
    fi
    rm -rf "$wine32_folder"
    mkdir -p "$wine32_folder/system"
    in_namespaces "$root/tools/dev/make_wine32.sh" "$wine32_folder/system" "$suite" "$archive" \
        >"$wine32_folder/log" 2>&1 </dev/null || {
        tail -n 5 "$wine32_folder/log" >&2
        return 1
    }
    touch "$wine32_folder/complete"
}
