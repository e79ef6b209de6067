#!/bin/sh
# Calls all functions of the plug-in at random, legally and not, in builds with and without
# optimisation, and compares the results bit for bit, those of clang with those of g++ as well.
# Under the sanitizers it calls them alone.
#
#     roundings.sh [release|clang|32bit|asan [CALLS [SEED]]]
#
# CALLS is about how often each function is called, 20000 unless it is given.
cd "$(dirname "$0")/../.." || exit 1
preset=${1:-release} calls=${2:-20000} seed=${3:-1}
build=build/$preset log=build/roundings.log

quietly() {
    "$@" > $log 2>&1 && return
    cat $log
    echo "roundings ($preset): could not be built"
    exit 1
}

mkdir -p build
quietly cmake --preset release
quietly cmake --build build/release --target shaders_json orvane_shaders
quietly cmake --preset "$preset"
quietly cmake --build "$build" --target roundings
plugins="$build/orvane_plain.so $build/orvane.so"
[ "$preset" = asan ] && plugins=$build/orvane.so
[ "$preset" = clang ] && plugins="$plugins build/release/orvane.so"
"$build/roundings" build/release/shaders.json "$calls" "$seed" $plugins > $log 2>&1
status=$?
sed "s/^roundings:/roundings ($preset):/" $log
exit $status
