#!/usr/bin/env bash
# Makes the Wine prefix in which the tests run, or brings one up to date, and
# leaves its server running. Quick when there is nothing to do.
# usage: tools/dev/make_prefix.sh <prefix folder>
#
# The user's folders lie below %TESTROOT%, so that every test has its own. A
# program that sets no TESTROOT sees the profile's usual folders.
set -euo pipefail

prefix=$(realpath -m "$1")
settings=$(cat <<'TEXT'
REGEDIT4

[HKEY_CURRENT_USER\Environment]
"TESTROOT"=hex(2):25,55,53,45,52,50,52,4f,46,49,4c,45,25,00

[HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders]
"AppData"=hex(2):25,54,45,53,54,52,4f,4f,54,25,5c,41,70,70,44,61,74,61,5c,52,6f,61,6d,69,6e,67,00
"Local AppData"=hex(2):25,54,45,53,54,52,4f,4f,54,25,5c,41,70,70,44,61,74,61,5c,4c,6f,63,61,6c,00
"Desktop"=hex(2):25,54,45,53,54,52,4f,4f,54,25,5c,44,65,73,6b,74,6f,70,00
"Personal"=hex(2):25,54,45,53,54,52,4f,4f,54,25,5c,44,6f,63,75,6d,65,6e,74,73,00

; Windows draw their own frames and place themselves: there is no window
; manager, and Wine would wait two seconds for it with every window.
[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Decorated"="N"
"Managed"="N"

; A window that is managed waits two seconds for a manager whenever it is hidden.
[HKEY_CURRENT_USER\Software\Wine\AppDefaults\backend_tests.exe\X11 Driver]
"Managed"="N"

; One lacks what only windows need.
[HKEY_CURRENT_USER\Software\Wine\AppDefaults\zuplutil_bare.exe\DllOverrides]
"comctl32"=""
"gdiplus"=""
TEXT
)

# Two take foreign libraries of these names where the system would: Wine prefers
# its own, wherever a program finds others.
foreign="advapi32 bcrypt comctl32 comdlg32 gdi32 gdiplus msimg32 ole32 oleaut32 shell32 user32
    cryptbase dwmapi imm32 oleacc profapi propsys rpcrt4 shlwapi usp10 uxtheme version winmm
    winspool wintrust"
for program in zuplutil_download collect_download; do
    settings+=$'\n\n'"[HKEY_CURRENT_USER\\Software\\Wine\\AppDefaults\\$program.exe\\DllOverrides]"
    for name in $foreign; do
        settings+=$'\n'"\"$name\"=\"native,builtin\""
    done
done

export WINEPREFIX=$prefix
# A home of its own: Desktop and Documents of a prefix are links into HOME.
export HOME=$(dirname "$prefix")/home
export WINEDEBUG=-all
export WINEDLLOVERRIDES="winedbg.exe=d;winemenubuilder.exe=d;mscoree=d;mshtml=d"
export LC_ALL=C.UTF-8
mkdir -p "$HOME/Desktop" "$HOME/Documents" "$prefix"

if [ ! -f "$prefix/system.reg" ]; then
    wineboot -i </dev/null >/dev/null 2>&1
    wineserver -w
fi
# The server's helpers hold on to the streams they are started with.
wineserver -p600 </dev/null >/dev/null 2>&1 || true
if ! cmp -s "$prefix/test_settings.reg" - <<<"$settings"; then
    wine regedit /S - </dev/null >/dev/null 2>&1 <<<"$settings"
    printf '%s\n' "$settings" >"$prefix/test_settings.reg"
fi
wine cmd /c exit </dev/null >/dev/null 2>&1
