# shellcheck shell=bash
# Helpers of the scripts in this folder. A script starts so:
#
#     #!/usr/bin/env bash
#     set -euo pipefail
#     . "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
#
# and then stands in the root of the tree ($ROOT) with these at hand:
#
#     bootstrap GROUP...             install what GROUP needs (see script/bootstrap)
#     build_preset PRESET [TARGET]   configure and build a preset, or some targets of it; quiet unless it fails
#     run_tests PRESET [ARG...]      run ctest on a built preset: failures in full, then ctest's own summary
#     quietly NAME COMMAND...        run a command with its output in build/log/NAME.log, shown only if it fails
#     heading TEXT, say TEXT, die TEXT

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$ROOT" || exit 1

LOG_DIR="$ROOT/build/log"
JOBS="${JOBS:-$(nproc)}"

if [[ -t 1 && -z "${NO_COLOR:-}" ]]; then BOLD=$'\e[1m' PLAIN=$'\e[0m'; else BOLD='' PLAIN=''; fi

heading() { printf '\n%s== %s%s\n' "$BOLD" "$*" "$PLAIN"; }
say() { printf '%s\n' "$*"; }
die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

bootstrap() { "$ROOT/script/bootstrap" "$@"; }

quietly() {
    local name="$1" log="$LOG_DIR/$1.log" status=0
    shift
    mkdir -p "$LOG_DIR"
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if ((status != 0)); then
        cat "$log" >&2
        die "$name failed (status $status); the lines above are in $log"
    fi
}

build_preset() {
    local preset="$1" start=$SECONDS targets=()
    shift
    if (($# > 0)); then targets=(--target "$@"); fi
    if [[ -e build/$preset/build.ninja ]]; then
        say "Building preset $preset in build/$preset ..."
    else
        say "Building preset $preset in build/$preset for the first time; this takes some minutes ..."
    fi
    quietly "configure-$preset" cmake --preset "$preset"
    quietly "build-$preset" cmake --build --preset "$preset" --parallel "$JOBS" "${targets[@]}"
    say "Built in $((SECONDS - start)) s."
}

run_tests() {
    local preset="$1"
    shift
    say "Running the tests of preset $preset (a line only for what does not pass) ..."
    ctest --preset "$preset" --no-label-summary "$@" 2>&1 </dev/null |
        awk '/^ *Start +[0-9]+: / || /^ *[0-9]+\/[0-9]+ Test .* Passed +[0-9.]+ sec *$/ { next }
             /^$/ && blank { next } { blank = /^$/; print; fflush() }'
}
