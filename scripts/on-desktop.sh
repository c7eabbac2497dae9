# Functions for scripts that show kasto on a private desktop. To be sourced from the project's folder.

started=()

# start_desktop HOME SIZE: starts a private desktop whose home is that folder, made anew, and takes on its
# environment. It ends with this script, and everything that `start` started too.
start_desktop() {
    rm -rf "$1"
    coproc DESKTOP { exec scripts/desktop "$1" "$2"; }
    desktop_pid=$DESKTOP_PID
    trap stop_desktop EXIT
    read -r -t 60 _ <&"${DESKTOP[0]}"
    set -a
    source "$1/desktop.env"
    set +a
}

stop_desktop() {
    for pid in "${started[@]}"; do kill "$pid" 2>/dev/null && wait "$pid" || true; done
    exec {DESKTOP[1]}>&-
    wait "$desktop_pid" || true
}

# start COMMAND…: starts a program on that desktop.
start() {
    setpriv --pdeathsig TERM "$@" &
    started+=($!)
}

# wait_until WHAT COMMAND…: waits until the command succeeds; fails after half a minute.
wait_until() {
    local what=$1 deadline=$((SECONDS + 30))
    shift
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < deadline)) || { echo "kasto: waited in vain for $what" >&2; exit 1; }
        sleep 0.05
    done
}

# wait_for_log TEXT: waits until kasto has logged it.
wait_for_log() { wait_until "\"$1\" in the log" grep -qF -- "$1" "$HOME/Library/Logs/kasto.log"; }
