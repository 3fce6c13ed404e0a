# What takes longer than ./test --all may; sourced after targets.sh. Each row leaves its figures in build/deep/, and
# docs/reliability.md keeps those of the last run with its date.

run_deep() {
    mkdir -p build/deep
    need_packages g++-aarch64-linux-gnu
    tool_headers
    build 'x86-64, g++' build/test "${tests[@]}" -DZORCOMN_BENCH=ON &&
        counted 'everything at once, ten minutes' build/deep/soak build/test/tests/soak/soak 600
    counted 'fuzzing, an hour each' build/deep/fuzzing env ZORCOMN_FUZZ_SEED=0 scripts/fuzz 3600
    cross 'arm64, 64 bits, emulated' build/aarch64 cmake/aarch64-linux.cmake
    scripts/build-packages && step 'Debian packages, examples built from them' scripts/try-packages build/packages --whole
    local release
    for release in trixie sid; do
        step "both commands on Debian $release" scripts/try-debian "$release"
    done
    counted 'mutation: 300 changes' build/deep/mutation scripts/mutate 300
    build 'every fault' build/test -DZORCOMN_TESTS=ON -DZORCOMN_WERROR=ON &&
        rm -f build/deep/faults.txt && ZORCOMN_TORTURE_ALL=$PWD/build/deep suite 'every fault' build/test -R '^Tortured?'
    print_table
    [[ $failed == 0 ]]
}
