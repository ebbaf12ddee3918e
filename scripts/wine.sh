# A private Windows desktop on this machine: one Wine prefix and one virtual display. Sourced by qx.
#
#   wine_base                      makes the base prefix once (out/wine/base)
#   wine_start NAME [DISPLAY]      clones it to out/wine/NAME, brings up a display, exports the environment
#   wine_stop                      ends every process of it

wine_root=$PWD/out/wine
wine_screen=1280x800x24

wine_environment()
{
    export WINEPREFIX=$wine_root/$1 WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=d'
    export LC_ALL=${QX_LOCALE:-C.UTF-8}
    unset LANG LANGUAGE
}

# The value of a list of texts in a registry file.
wine_text_list()
{
    printf 'hex(7):'
    printf '%s\0' "$@" '' | od -An -v -tx1 | tr -s ' \n' ',' | sed 's/^,//; s/,$//'
}

# Everything that a fresh prefix lacks for our purposes: no debugger that waits on a crash, a current
# system version, fonts under the names that Windows programs ask for with others behind them for the
# characters that they lack, and one desktop for all programs.
wine_registry()
{
    local others
    others=$(wine_text_list 'DroidSansFallbackFull.ttf,Droid Sans Fallback' 'DejaVuSans.ttf,DejaVu Sans')
    cat <<REG
Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\AeDebug]
"Debugger"="false"

[HKEY_CURRENT_USER\Software\Wine]
"Version"="win10"

[HKEY_CURRENT_USER\Software\Wine\Explorer]
"Desktop"="Default"

[HKEY_CURRENT_USER\Software\Wine\Explorer\Desktops]
"Default"="1280x800"

[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]
"Times New Roman"="Liberation Serif"
"Arial"="Liberation Sans"
"Courier New"="Liberation Mono"
"Tahoma"="DejaVu Sans"
"Segoe UI"="DejaVu Sans"

[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\FontLink\SystemLink]
"DejaVu Sans"=$others
"DejaVu Sans Bold"=$others
"Liberation Sans"=$others
"Liberation Sans Bold"=$others
"Liberation Serif"=$others

[HKEY_CLASSES_ROOT\.txt]
@="txtfile"
REG
}

# Starts a display of its own on the first free number and leaves its process id in wine_display_pid.
wine_display()
{
    local number_file=$wine_root/$1.display
    rm -f "$number_file"
    Xvfb -displayfd 7 -screen 0 "$wine_screen" -nolisten tcp 7>"$number_file" >/dev/null 2>&1 &
    wine_display_pid=$!
    until [ -s "$number_file" ]; do
        kill -0 "$wine_display_pid" 2>/dev/null || die "the virtual display did not start"
        sleep 0.05
    done
    export DISPLAY=:$(cat "$number_file")
}

wine_base()
{
    local base=$wine_root/base
    mkdir -p "$wine_root"
    exec 8>"$wine_root/base.lock"
    flock 8
    # Made anew when this file says something else than the one that made it.
    if ! cmp -s scripts/wine.sh "$base/.complete"; then
        say "making the Wine prefix"
        rm -rf "$base"
        (
            wine_environment base
            wine_display base
            trap 'kill "$wine_display_pid" 2>/dev/null' EXIT
            timeout 300 wine wineboot --init </dev/null >/dev/null 2>&1 || die "the Wine prefix could not be made"
            wineserver -w
            wine_registry >"$wine_root/base.reg"
            timeout 60 wine regedit /S "$wine_root/base.reg" </dev/null >/dev/null 2>&1
            # The glyphs of the window buttons, which Wine does not look for where the package puts them.
            cp /usr/share/wine/fonts/marlett.ttf "$WINEPREFIX/drive_c/windows/Fonts/"
            wineserver -k || true
            wineserver -w
        ) || exit 1
        cp scripts/wine.sh "$base/.complete"
    fi
    flock -u 8
}

wine_clone()
{
    local base=$wine_root/base clone=$wine_root/$1 file
    rm -rf "${clone:?}"
    cp -al "$base" "$clone"
    # The registry files are written in place: they must be copies, never links into the base.
    for file in system user userdef; do
        cp --remove-destination "$base/$file.reg" "$clone/$file.reg"
    done
}

wine_start()
{
    wine_base
    wine_clone "$1"
    wine_environment "$1"
    if [ -n "${2:-}" ]; then
        export DISPLAY=$2
        wine_display_pid=
    else
        wine_display "$1"
    fi
    export QX_DESKTOP=$1
    # The first process starts the system's own ones, which keep its output open: give it none. It stays
    # for as long as the desktop does, for with the last program Wine ends its services too.
    timeout 7200 wine explorer /desktop=Default,1280x800 </dev/null >/dev/null 2>&1 &
    timeout 60 wine cmd /c exit </dev/null >/dev/null 2>&1 || die "the Windows desktop did not come up"
}

wine_stop()
{
    wineserver -k 2>/dev/null || true
    wineserver -w 2>/dev/null || true
    [ -z "${wine_display_pid:-}" ] || kill "$wine_display_pid" 2>/dev/null || true
    rm -rf "${WINEPREFIX:?}" "$WINEPREFIX.display"
}
