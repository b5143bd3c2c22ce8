# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# What the scripts of this folder share. Sourced, never run: it goes to the project's folder and defines the functions
# below. Log files of quiet steps are in build/log.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Somebody is watching: progress may overwrite its own line. Pipes and CI logs get plain lines instead.
attended() { [[ -t 1 && ${TERM:-dumb} != dumb && -z ${CI:-} ]]; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$1" >&2
    exit "${2:-1}"
}

# quietly NAME TEXT COMMAND...: one line that says what is being done and how long it took. The command's own output goes
# to build/log/NAME.log, which is shown in full if the command fails; the exit code is the command's.
quietly() {
    local name=$1 text=$2 log=build/log/$1.log began=$SECONDS code=0
    shift 2
    mkdir -p build/log
    printf '%-10s %s ...' "$name" "$text"
    attended || printf '\n'
    "$@" >"$log" 2>&1 </dev/null &
    local job=$!
    # Without this, an interrupt would leave the command running behind the prompt.
    trap 'kill "$job" 2>/dev/null; exit 130' INT TERM
    while attended && kill -0 "$job" 2>/dev/null; do
        printf '\r%-10s %s ... %d s' "$name" "$text" $((SECONDS - began))
        sleep 0.5
    done
    wait "$job" || code=$?
    trap - INT TERM
    attended && printf '\r'
    if ((code == 0)); then
        printf '%-10s %s: done, %d s\033[K\n' "$name" "$text" $((SECONDS - began)) | plain
    else
        printf '%-10s %s: failed, exit code %d; its output was:\033[K\n' "$name" "$text" "$code" | plain
        cat "$log" >&2
    fi
    return "$code"
}

# Takes out the "erase to the end of the line" of a status line where no terminal would obey it.
plain() { if attended; then cat; else sed $'s/\033\\[K//'; fi; }

presets='release static package debug bench asan tsan fuzz coverage'

# preset_or_die NAME: a mistyped preset is caught here, with the choice, before anything is built.
preset_or_die() {
    [[ " $presets " == *" $1 "* ]] || die "there is no preset \"$1\"; there are: $presets" 2
}
