#!/usr/bin/env bash
# Installs what is missing, builds the program, starts the virtual laser and
# opens VELUTRA-XP connected to it. Without a display it runs under Xvfb and
# saves a screenshot of the connected window in screenshots/.
#
#   ./run.sh                 the program against the virtual laser
#   ./run.sh --real PORT     the program connected to a real port instead
#   ./run.sh -- ARGS...      extra arguments for velutra-xp
set -euo pipefail
cd "$(dirname "$0")"
source scripts/setup.sh
velutra_install_packages
velutra_runtime_dir

real_port=""
extra=()
while [ $# -gt 0 ]; do
    case "$1" in
        --real) real_port="$2"; shift 2 ;;
        --) shift; extra=("$@"); break ;;
        *) extra+=("$1"); shift ;;
    esac
done

build_dir=${VELUTRA_BUILD_DIR:-build}
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELUTRA_BUILD_TESTS=OFF -DVELUTRA_BUILD_BENCH=OFF >/dev/null
cmake --build "$build_dir" -j "$(nproc)"

app="$build_dir/app/velutra-xp"
sim="$build_dir/simulator/velutra-sim"
sim_pid=""
cleanup() {
    if [ -n "$sim_pid" ]; then
        kill "$sim_pid" 2>/dev/null || true
        wait "$sim_pid" 2>/dev/null || true
    fi
}
trap cleanup EXIT INT TERM

port="$real_port"
if [ -z "$port" ] && [ -x "$sim" ]; then
    sim_out=$(mktemp)
    "$sim" --module 0x93 >"$sim_out" 2>"$sim_out.err" &
    sim_pid=$!
    for _ in $(seq 1 100); do
        port=$(head -n 1 "$sim_out" 2>/dev/null || true)
        [ -n "$port" ] && break
        sleep 0.05
    done
    if [ -z "$port" ]; then
        echo "The virtual laser did not start:" >&2
        cat "$sim_out.err" >&2
        exit 1
    fi
    echo "Virtual laser on $port"
fi

args=()
[ -n "$port" ] && args+=(--connect "$port")
args+=("${extra[@]}")

if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ] || [ -n "${QT_QPA_PLATFORM:-}" ]; then
    "$app" "${args[@]}"
    exit $?
fi

# No display: run in a virtual X server long enough to connect, then keep a picture.
mkdir -p screenshots
shot="$PWD/screenshots/velutra-xp.png"
seconds=${VELUTRA_HEADLESS_SECONDS:-12}
export QT_XCB_GL_INTEGRATION=none
xvfb-run -a -s "-screen 0 1366x768x24" bash -c '
    "$1" "${@:4}" &
    app_pid=$!
    sleep "$2"
    /usr/bin/import -window root "$3"
    kill "$app_pid" 2>/dev/null
    wait "$app_pid" 2>/dev/null
    exit 0' _ "$app" "$seconds" "$shot" "${args[@]}"
echo "No display: ran under Xvfb for ${seconds}s; screenshot saved to $shot"
