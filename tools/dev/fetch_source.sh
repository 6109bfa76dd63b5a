# Fetches source packages of the distribution; sourced by the fetch scripts.
#
# The machine's package configuration stays as it is: apt works with private
# lists, made of the machine's own with "deb" turned into "deb-src", and keeps
# its state in the cache folder. Apt checks the packages against the signed
# lists, as it does for every other package.
#
# The script that sources this sets `root` to the project's folder and calls
# fetch_source once for each package.

fetch_work="$root/.cache/fetch.$$"
fetch_name=$(basename "$0" .sh)
trap 'rm -rf "$fetch_work"' EXIT
trap 'exit 1' HUP INT TERM

# Puts a source package into a folder below .cache unless it is there already.
# usage: fetch_source <package> <folder> <a file that the source has>
fetch_source() {
    package=$1
    target="$root/.cache/$2"
    proof=$3
    if [ -f "$target/$proof" ]; then
        return 0
    fi
    [ -d "$fetch_work" ] || prepare_private_apt
    rm -rf "$fetch_work/package" "$fetch_work/source"
    mkdir -p "$fetch_work/package" "$(dirname "$target")"
    (cd "$fetch_work/package" && private_apt source --download-only "$package") ||
        fetch_fail "no source package $package on this machine's package lists"
    dpkg-source --no-copy -x "$fetch_work"/package/*.dsc "$fetch_work/source" \
        >"$fetch_work/unpack.log" 2>&1 || {
        cat "$fetch_work/unpack.log" >&2
        fetch_fail "the source package $package does not unpack"
    }
    [ -f "$fetch_work/source/$proof" ] || fetch_fail "the source of $package has no $proof"
    # Last step, so that an interrupted run leaves nothing that looks complete.
    rm -rf "$target"
    mv "$fetch_work/source" "$target"
    echo "$fetch_name: the source of $package is in ${target#"$root"/}"
}

prepare_private_apt() {
    for tool in apt-get dpkg-source; do
        command -v "$tool" >/dev/null || fetch_fail "$tool is missing (package dpkg-dev)"
    done
    mkdir -p "$fetch_work/lists.d" "$fetch_work/state/partial" \
        "$fetch_work/cache/archives/partial"
    write_source_lists "$fetch_work/lists.d"
    write_apt_configuration >"$fetch_work/apt.conf"
    # A list of another vendor may be out of reach; what counts is the package.
    private_apt update || echo "$fetch_name: not every package list could be updated" >&2
}

# Both list formats; an option block in brackets stays where it is.
write_source_lists() {
    lists=$1
    : >"$lists/none.list"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        if [ -f "$file" ]; then
            sed -n 's/^[[:space:]]*deb[[:space:]]/deb-src /p' "$file" \
                >"$lists/$(basename "$file" .list).list"
        fi
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        if [ -f "$file" ]; then
            sed 's/^Types:.*/Types: deb-src/' "$file" >"$lists/$(basename "$file")"
        fi
    done
}

# Read after the machine's own configuration, whose hooks would clear the
# machine's caches.
write_apt_configuration() {
    cat <<CONFIGURATION
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
APT::Sandbox::User "$(id -un)";
Dir::Etc::SourceList "$fetch_work/lists.d/none.list";
Dir::Etc::SourceParts "$fetch_work/lists.d";
Dir::State::Lists "$fetch_work/state";
Dir::Cache "$fetch_work/cache";
CONFIGURATION
}

private_apt() {
    apt-get -qq -c "$fetch_work/apt.conf" "$@"
}

fetch_fail() {
    echo "$fetch_name: $*" >&2
    exit 1
}
