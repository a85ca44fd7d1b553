# Shared by ./demo and ./check: installs what a build needs, configures and builds. Sourced, not run.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*"; }
fail() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
    exit "${2:-1}"
}

# What each group of Debian packages is for.
# One build folder serves both commands, so it is configured with the tests from the first.
build_packages=(g++ cmake ninja-build libwine-dev qtbase5-dev qtdeclarative5-dev libboost-dev libyuv-dev
    libgtest-dev libgmock-dev)
build_reason="compiler, build tools, Qt 5, the Windows interface headers, Boost, libyuv and GoogleTest"
bench_packages=(libbenchmark-dev)
bench_reason="the library that the benchmarks are written with"
lint_packages=(clang-format clang-tidy git)
lint_reason="formatting and static checks, of the files that git knows"

missing_packages() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s ' "$package"
    done
}

# need WHY PACKAGE...: installs the packages that are missing, or says which they are and ends with $allow_install=no.
need() {
    local why=$1 missing
    shift
    command -v dpkg-query >/dev/null || fail "this is not a Debian system; it needs: $* ($why)"
    missing=$(missing_packages "$@")
    [ -n "$missing" ] || return 0
    say "Missing Debian packages ($why): $missing"
    if [ "${allow_install:-yes}" = no ]; then
        fail "not installing them (--no-install); run: apt-get install $missing"
    fi
    local -a as_root=()
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    say "Installing them with apt-get."
    # A list that is already here may do; it is fetched only when it does not.
    # shellcheck disable=SC2086
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing \
        >"$(log_file install)" 2>&1 ||
        { "${as_root[@]}" apt-get update -q >>"$(log_file install)" 2>&1 &&
            "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing \
                >>"$(log_file install)" 2>&1; } ||
        { tail -n 20 "$(log_file install)" >&2 && fail "apt-get failed; its output is in $(log_file install)"; }
}

log_file() {
    mkdir -p "$root/build/log"
    printf '%s' "$root/build/log/$1.log"
}

# configure PRESET [OPTION...]
configure() {
    local preset=$1
    say "Configuring build/$preset"
    (cd "$root" && cmake --preset "$@") >"$(log_file "configure-$preset")" 2>&1 ||
        { cat "$(log_file "configure-$preset")" >&2 && fail "configuring build/$preset failed"; }
}

# build PRESET [TARGET...]: configures once and builds; ninja runs cmake again when a build file changed.
build() {
    local preset=$1
    shift
    [ -f "$root/build/$preset/build.ninja" ] || configure "$preset"
    local targets=("$@")
    nice cmake --build "$root/build/$preset" --parallel "$(nproc)" ${targets:+--target "${targets[@]}"} \
        >"$(log_file "build-$preset")" 2>&1 ||
        { grep -E -A 12 'error|FAILED' "$(log_file "build-$preset")" | head -n 80 >&2
            fail "building build/$preset failed; its output is in $(log_file "build-$preset")"; }
}

wine_packages=(wine wine64 xvfb libgl1-mesa-dri)
wine_reason="Wine, a display without a screen and Mesa's software renderer, for the Windows build"

# Everything that the preset windows builds with and runs on.
need_windows() {
    local -a options=()
    [ "${allow_install:-yes}" = yes ] || options+=(--no-install)
    need "$wine_reason" "${wine_packages[@]}"
    "$root/tools/windows-libraries" "${options[@]}"
}

# Wine's services, and what owns its desktop, keep the standard error of the program that they are started for until the
# last program has ended: a test's pipe would stay open as long. So they start here, and a window that nobody closes has
# them stay; the second window comes when there is a desktop.
start_wine() {
    tools/wine start notepad && tools/wine wineconsole cmd /c exit
}

# with_wine COMMAND...: a program or a function, in the tree's root, with Direct3D on a display of its own; nothing of Wine
# is left running.
with_wine() (
    cd "$root"
    export WINEPREFIX=$root/build/windows/wine-prefix LIBGL_ALWAYS_SOFTWARE=1 DISPLAY
    # Takes a number that is free, and says which. Out of reach of Ctrl-C, which the programs are to outlive.
    exec {display}< <(exec setsid Xvfb -displayfd 1 -screen 0 1280x720x24 -nolisten tcp 2>"$(log_file xvfb)")
    server=$!
    trap 'WINEDEBUG=-all wineserver -k || true; kill "$server" 2>/dev/null || true' EXIT
    read -r -t 30 -u "$display" DISPLAY || fail "no display: $(cat "$(log_file xvfb)")"
    DISPLAY=:$DISPLAY
    start_wine >"$(log_file wine)" 2>&1 </dev/null || fail "Wine does not start: $(cat "$(log_file wine)")"
    ("$@")
)
