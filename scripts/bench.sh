# shellcheck shell=bash
# A private sound bench, to be sourced: PulseAudio with null sinks, and a Wine prefix, in one temporary folder.
#
#   bench_open                  makes the folder ($bench_folder); whatever happens, it and all in it goes at exit
#   bench_start_pulse NAME...   a daemon of our own with one 48 kHz null sink per name; the first is the default; from
#                               now on the file $BENCH_PAUSES tells when the machine itself stood still
#   bench_start_wine            a booted Wine prefix of our own; keeps one that a bench around this one has made
#   bench_run COMMAND...        runs a command such that Ctrl-C and TERM end it at once, and us after it
#   bench_start COMMAND...      starts a command that runs beside us ($bench_pid)
#   bench_end PID               ends such a command
#   bench_close                 ends everything; called at exit
#
# A PulseAudio daemon, a Wine prefix or a display of the user is neither used nor disturbed, and several benches
# run side by side. Only what was started here is ended, by number; wineserver -k only on the own prefix.

bench_scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bench_template=$(dirname "$bench_scripts")/build/wine-prefix
bench_folder=
bench_children=()
bench_owns_wine=

bench_open() {
    bench_folder=$(mktemp -d)
    # wineserver, for one, leaves a folder behind, and is looked for in the same place.
    [ -n "${BENCH_WINEPREFIX:-}" ] || export TMPDIR=$bench_folder
    trap bench_close EXIT
    trap 'exit 129' HUP
    trap 'exit 130' INT
    trap 'exit 143' TERM
    unset DISPLAY WAYLAND_DISPLAY
}

bench_close() {
    trap '' HUP INT TERM # a second Ctrl-C does not stop the cleaning up
    bench_stop_wine
    while [ ${#bench_children[@]} -gt 0 ]; do
        bench_end "${bench_children[-1]}" # last started, first ended
    done
    [ -z "$bench_folder" ] || rm -rf "$bench_folder"
    bench_folder=
}

# ---------------------------------------------------------------------------------------------- processes

# Sound is about time: a busy machine must not make gaps in what it plays. On Windows the plug-in's threads run at
# time-critical priority; Wine can only inherit it. Where this is not allowed, everything still works on a calm machine.
bench_real_time=()
! chrt --rr 1 true 2>/dev/null || bench_real_time=(chrt --rr 1)

# Wine must have the page at 0x7ffe0000, and its loader lies a little below. Linux 6.9 and later put the heap of a
# program anywhere in the gigabyte behind it: one start in some thousands finds that page taken, and ends without a word.
bench_fixed_heap=()
! setarch --addr-no-randomize true 2>/dev/null || bench_fixed_heap=(setarch --addr-no-randomize)

bench_start() {
    "${bench_fixed_heap[@]}" "$@" &
    bench_pid=$!
    bench_children+=("$bench_pid")
}

# The shell runs a trap between commands only, and wait is the one command that a signal interrupts.
bench_run() {
    local status=0
    bench_start "$@"
    wait "$bench_pid" || status=$?
    bench_forget "$bench_pid"
    return "$status"
}

bench_end() {
    local patience=100
    kill "$1" 2>/dev/null || true
    while kill -0 "$1" 2>/dev/null && [ $((patience--)) -gt 0 ]; do
        sleep 0.1
    done
    kill -KILL "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
    bench_forget "$1"
}

bench_forget() {
    local child kept=()
    for child in "${bench_children[@]}"; do
        [ "$child" = "$1" ] || kept+=("$child")
    done
    bench_children=(${kept[@]+"${kept[@]}"})
}

bench_fail() {
    echo "$1" >&2
    exit 1
}

# ---------------------------------------------------------------------------------------------- PulseAudio

bench_start_pulse() {
    local name modules=() patience=100
    export BENCH_PAUSES=$bench_folder/pauses
    : >"$BENCH_PAUSES"
    bench_start "$bench_scripts/watch-machine" "$BENCH_PAUSES"
    export PULSE_RUNTIME_PATH=$bench_folder/pulse PULSE_STATE_PATH=$bench_folder/pulse-state
    export PULSE_COOKIE=$bench_folder/pulse-cookie XDG_RUNTIME_DIR=$bench_folder
    export PULSE_SERVER=unix:$bench_folder/pulse/native
    # Its latencies are left at their defaults: with short ones every hiccup of a busy machine makes a gap.
    unset PULSE_LATENCY_MSEC PULSE_SINK PULSE_SOURCE PULSE_CLIENTCONFIG PULSE_DBUS_SERVER
    mkdir -m 700 "$PULSE_RUNTIME_PATH" "$PULSE_STATE_PATH"
    for name in "$@"; do
        modules+=(-L "module-null-sink $(bench_sink_arguments "$name")")
    done
    # Should this shell be killed without a chance to clean up, the daemon gets its signal from the kernel.
    bench_start setpriv --pdeathsig TERM \
        pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --disable-shm=yes --log-level=error \
        "${modules[@]}" -L "module-native-protocol-unix auth-anonymous=1" 2>"$bench_folder/pulse.log"
    until pactl info >/dev/null 2>&1; do
        [ $((patience--)) -gt 0 ] || bench_fail "PulseAudio did not start: $(cat "$bench_folder/pulse.log")"
        sleep 0.1
    done
    # It drops what it inherits, so it gets its priority last.
    [ ${#bench_real_time[@]} -eq 0 ] || chrt --rr --pid 1 "$bench_pid"
    [ $# -eq 0 ] || pactl set-default-sink "$(bench_sink_name "$1")"
    [ $# -eq 0 ] || pactl set-default-source "$(bench_sink_name "$1").monitor"
}

# The sink "Speaker" is called speaker by PulseAudio. With 48 kHz nothing on the way resamples; a sink that takes
# back what its monitor has already told would make a recording lose and repeat frames.
bench_sink_name() {
    tr '[:upper:] ' '[:lower:]-' <<<"$1"
}

bench_sink_arguments() {
    echo "sink_name=$(bench_sink_name "$1") rate=48000 norewinds=1 sink_properties='device.description=\"$1\"'"
}

# ---------------------------------------------------------------------------------------------- Wine

bench_start_wine() {
    export WINEDEBUG=${WINEDEBUG:--all}
    # Nothing asks for .NET or HTML engines, and nothing is put into the user's menus.
    export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
    if [ -n "${BENCH_WINEPREFIX:-}" ]; then
        export WINEPREFIX=$BENCH_WINEPREFIX
        return
    fi
    export WINEPREFIX=$bench_folder/wine
    export BENCH_WINEPREFIX=$WINEPREFIX # for the benches in this one
    bench_owns_wine=yes
    bench_copy_template || bench_run wineboot -i >/dev/null 2>&1
    bench_start_wineserver
    bench_run wine cmd /c exit >/dev/null 2>&1 || bench_fail "Wine does not run in $WINEPREFIX"
    bench_start_desktop
}

# Wine keeps a process for the desktop from the first program that needs one until nobody uses it any more. It inherits
# that program's standard error: whoever reads it, as CTest does, would wait for the last of all programs to end.
bench_start_desktop() {
    bench_start wine explorer /desktop </dev/null >/dev/null 2>&1
}

# It and its services stay between two programs (-p). Twice a minute it writes the whole registry to disk, and
# everything in Wine waits for it meanwhile, which makes a gap of 10 to 40 ms in what is played. Nobody needs these
# files: it cannot create them in a folder that it may not write to.
bench_start_wineserver() {
    local unprivileged=()
    ! setpriv --bounding-set=-dac_override true 2>/dev/null || unprivileged=(setpriv --bounding-set=-dac_override)
    "${bench_real_time[@]}" "${unprivileged[@]}" wineserver -p 2>/dev/null
    chmod a-w "$WINEPREFIX"
}

bench_stop_wine() {
    [ -n "$bench_owns_wine" ] || return 0
    bench_owns_wine=
    wineserver -k 2>/dev/null || true # only the server of $WINEPREFIX
    wineserver -w 2>/dev/null || true
    chmod u+w "$WINEPREFIX"
}

# Making a prefix takes many seconds, so one is kept in the build tree, per version of Wine. The system's files in
# it are hard links: nobody writes to them. Everything else is copied.
bench_copy_template() {
    local template
    template=$bench_template-$(wine --version 2>/dev/null | tr -cd '[:alnum:].-')
    [ -d "$template" ] || bench_make_template "$template" || return 1
    mkdir "$WINEPREFIX"
    cp -a "$template"/*.reg "$template"/.update-timestamp "$template"/dosdevices "$WINEPREFIX"
    if ! cp -al "$template"/drive_c "$WINEPREFIX" 2>/dev/null; then # another file system, or another owner
        rm -rf "$WINEPREFIX/drive_c"
        cp -a "$template"/drive_c "$WINEPREFIX"
    fi
}

# Two benches may do this at once: the one that comes second drops its own.
bench_make_template() {
    local fresh
    mkdir -p "$(dirname "$1")" 2>/dev/null || return 1
    fresh=$(mktemp -d "$1.XXXXXX" 2>/dev/null) || return 1
    echo "Preparing a Wine prefix (once)" >&2
    WINEPREFIX=$fresh bench_run wineboot -i >/dev/null 2>&1
    WINEPREFIX=$fresh wineserver -w
    rm -f "$fresh/wineserver" # names the folder of the server that has ended
    mv -T "$fresh" "$1" 2>/dev/null || rm -rf "$fresh"
    [ -d "$1" ]
}
