# Wine prefixes of our own, below .cache/wine: the user's are never touched.
# Those of 32-bit Wine (see wine32.sh) have another place.
wine_kind=
# What this run of ./dev is told from others by.
run_name=$$

# Selects a prefix by name for all that follows, making it on first use.
use_prefix() {
    local folder=$root/.cache/wine$wine_kind/$1
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

# Selects a prefix for one run of the tests: a copy of the prefix "test" that
# shares its system folder. Runs at the same time do not meet, and what an
# interrupted test left in the registry reaches no other run. A run that needs
# several at once gives each a name.
use_test_prefix() {
    mkdir -p "$root/.cache/wine$wine_kind"
    {
        flock 9
        make_test_prefix "$root/.cache/wine$wine_kind/test.$run_name${1:+-$1}" 9>&-
    } 9>"$root/.cache/wine$wine_kind/test.lock"
}

make_test_prefix() {
    use_prefix test
    local template=$WINEPREFIX copy=$1 entry
    tools/dev/make_prefix.sh "$template" >/dev/null
    # The registry is in its files once the server has ended.
    wineserver -k || true
    wineserver -w
    mkdir -p "$copy/drive_c"
    cp -a "$template/dosdevices" "$template"/*.reg "$template/.update-timestamp" "$copy"
    for entry in "$template"/drive_c/*; do
        if [ "${entry##*/}" = windows ]; then
            ln -s "$entry" "$copy/drive_c/windows"
        else
            cp -a "$entry" "$copy/drive_c"
        fi
    done
    export WINEPREFIX=$copy
}

# Ends what runs in the prefixes of this run, and removes them.
end_test_prefix() {
    local copy
    for copy in "$root/.cache/wine$wine_kind/test.$run_name"*; do
        [ -d "$copy" ] || continue
        WINEPREFIX=$copy wineserver -k >/dev/null 2>&1 || true
        WINEPREFIX=$copy wineserver -w >/dev/null 2>&1 || true
        rm -rf "$copy"
    done
}

# Gives the prefix fonts for texts, for the symbols of frames, and for the
# scripts of East Asia; the last two are missing otherwise.
give_fonts() {
    local fonts=$WINEPREFIX/drive_c/windows/Fonts
    [ ! -e "$fonts/marlett.ttf" ] || return 0
    mkdir -p "$fonts"
    cp /usr/share/wine/fonts/marlett.ttf /usr/share/fonts/truetype/liberation/LiberationSans-*.ttf \
        /usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf "$fonts"
    replace_font Tahoma 'Liberation Sans'
    replace_font SimSun 'Droid Sans Fallback'
    replace_font 'MS UI Gothic' 'Droid Sans Fallback'
}

replace_font() {
    wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v "$1" /d "$2" /f \
        </dev/null >/dev/null 2>&1
}

# Keeps the prefix's server alive between programs. Its helpers hold on to the
# streams they are started with, hence the null device.
warm_prefix() {
    wineserver -p600 </dev/null >/dev/null 2>&1 || true
    wine cmd /c exit </dev/null >/dev/null 2>&1
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
