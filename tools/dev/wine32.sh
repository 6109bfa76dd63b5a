# 32-bit Wine, in a folder of its own: its packages cannot be installed beside
# the 64-bit ones. Sourced by ./dev.
#
# The folder holds a small 32-bit system with Wine in it, 1 GB, and is made
# once. It is used in namespaces of mounts and processes: whatever is mounted
# or left running there is gone when the command ends, also when it is killed,
# and nobody outside ever sees a mount.

wine32_folder=$root/.cache/system32

# Runs ./dev with these arguments where 32-bit Wine is, in place of 64-bit Wine.
in_wine32() {
    PELLORY_IN_WINE32=$$ unshare --mount --pid --fork --kill-child --propagation private \
        "$root/dev" "$@"
}

# For the first lines of such a command: mounts what it needs, under the same
# paths as outside, and puts the folder's Wine before the machine's.
enter_wine32() {
    local system=$wine32_folder/root mounted
    mkdir -p "$system$root"
    mount -t proc proc "$system/proc"
    for mounted in /dev /tmp "$root"; do
        mount --bind "$mounted" "$system$mounted"
    done
    export PELLORY_SYSTEM32=$system
    export PATH=$root/tools/dev/wine32:$PATH
    wine_kind=32
    # In here every command has the same process number.
    run_name=32.$PELLORY_IN_WINE32
}

# Makes the folder unless it is there. Where that cannot be done, returns false
# and says why in wine32_obstacle.
make_wine32() {
    wine32_obstacle=
    if [ "$(id -u)" -ne 0 ]; then
        wine32_obstacle="its folder takes root to make"
    elif ! unshare --mount --pid --fork true 2>/dev/null; then
        wine32_obstacle="this machine allows no mounts"
    elif [ ! -f "$wine32_folder/complete" ] && ! fill_wine32; then
        wine32_obstacle="its folder could not be made, see .cache/system32.log"
    fi
    [ -z "$wine32_obstacle" ]
}

fill_wine32() {
    local archive suite
    echo "Making the folder of 32-bit Wine, which takes some minutes" >&2
    # Where the machine's own packages come from.
    read -r suite archive < <(apt-get indextargets --format \
        '$(ORIGIN)/$(COMPONENT) $(RELEASE) $(REPO_URI)' | awk -v suite="$(
            . /etc/os-release && echo "$VERSION_CODENAME"
        )" '$1 == "Debian/main" && $2 == suite { print $2, $3; exit }') || return 1
    rm -rf "$wine32_folder"
    mkdir -p "$wine32_folder/root"
    unshare --mount --pid --fork --kill-child --propagation private \
        "$root/tools/dev/make_wine32.sh" "$wine32_folder/root" "$suite" "$archive" \
        >"$root/.cache/system32.log" 2>&1 </dev/null || return 1
    touch "$wine32_folder/complete"
}
