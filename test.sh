#!/usr/bin/env bash
# Installs what is missing, builds the test tree with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs the whole suite with CTest.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/setup.sh
velutra_install_packages
velutra_runtime_dir

build_dir=${VELUTRA_TEST_BUILD_DIR:-build-test}
fuzz_dir=${VELUTRA_FUZZ_BUILD_DIR:-build-fuzz}
jobs=$(nproc)

# The decoder fuzzer needs clang's libFuzzer; without it the suite runs without that test.
fuzz_args=()
if [ -f tests/protocol/fuzz/CMakeLists.txt ] && command -v clang++-14 >/dev/null 2>&1 \
        && ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a >/dev/null 2>&1; then
    cmake -S . -B "$fuzz_dir" -G Ninja -DCMAKE_CXX_COMPILER=clang++-14 \
        -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELUTRA_FUZZ_ONLY=ON >/dev/null
    cmake --build "$fuzz_dir" -j "$jobs"
    fuzz_args=(-DVELUTRA_FUZZ_DECODER="$PWD/$fuzz_dir/tests/protocol/fuzz/fuzz_decoder")
else
    echo "clang++-14 with libFuzzer not found: the decoder fuzzer is not run." >&2
    fuzz_args=(-DVELUTRA_FUZZ_DECODER=)
fi

cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELUTRA_SANITIZE=ON -DVELUTRA_BUILD_TESTS=ON -DVELUTRA_BUILD_BENCH=ON "${fuzz_args[@]}" >/dev/null
cmake --build "$build_dir" -j "$jobs"

export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build_dir" --output-on-failure -j "$jobs" "$@"
