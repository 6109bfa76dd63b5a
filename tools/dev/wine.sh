# Wine prefixes of our own, below .cache/wine: the user's are never touched.

# Selects a prefix by name for all that follows, making it on first use.
use_prefix() {
    local folder=$root/.cache/wine/$1
    # A HOME of its own: Desktop and Documents of a prefix are links into HOME.
    mkdir -p "$folder/home/Desktop" "$folder/home/Documents"
    export HOME=$folder/home
    export WINEPREFIX=$folder/prefix
    export WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES="winedbg.exe=d;winemenubuilder.exe=d;mscoree=d;mshtml=d"
    # With plain C, arguments beyond ASCII arrive damaged.
    export LC_ALL=C.UTF-8
    if [ ! -f "$WINEPREFIX/system.reg" ]; then
        echo "Making the Wine prefix '$1'" >&2
        wineboot -i </dev/null >/dev/null 2>&1
        wineserver -w
    fi
}

# Keeps the prefix's server alive between programs. Its helpers hold on to the
# streams they are started with, hence the null device.
warm_prefix() {
    wineserver -p600 </dev/null >/dev/null 2>&1 || true
    wine cmd /c exit </dev/null >/dev/null 2>&1
}

stop_prefix() {
    wineserver -k >/dev/null 2>&1 || true
}

# Where the archive is, in the terms of the machine that Wine runs on.
tell_where_diagnostics_are() {
    local found
    found=$(find -L "$WINEPREFIX/drive_c/users" -maxdepth 3 -type d -name PelloryDiagnostics \
        2>/dev/null | head -n 1)
    if [ -n "$found" ]; then
        echo "The Wine user's diagnostics folder is $(realpath "$found")" >&2
    fi
}
