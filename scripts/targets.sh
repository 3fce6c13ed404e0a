# What ./test --all runs beyond the plain suite. Each target is built and tested in a folder of its own below build/; its
# row of the table is kept in results. A target that fails does not keep the others from running.

all_packages=(clang clang-format clang-tidy libclang-rt-14-dev libbenchmark-dev googletest)

results=()  # rows "target|built|run|passed|skipped|failed"
skips=()    # "target: test" for every test that was skipped
failed=0    # how many targets went wrong
total_passed=0 total_failed=0 total_skipped=0

jobs=$(nproc)

# row TARGET BUILT [RUN PASSED SKIPPED FAILED]
row() {
    local IFS='|'
    results+=("$*")
}

# count FILE ATTRIBUTE: a number of ctest's JUnit report.
count() { sed -n "s/.*<testsuite.*/&/; /<testsuite/,/>/s/.*[[:space:]]$2=\"\([0-9]*\)\".*/\1/p" "$1" | head -n 1; }

# suite TARGET FOLDER [CTEST-OPTION...]: runs the tests of a built folder and keeps the row.
suite() {
    local target=$1 folder=$2 report=$PWD/$2/junit.xml run skipped bad
    shift 2
    rm -f "$report"
    if ! ctest --test-dir "$folder" -j "$jobs" --output-on-failure --output-junit "$report" "$@" >"$folder/ctest.log" 2>&1; then
        sed -n '/^\(.*\*\*\*\|The following\)/p; /Failure$/,+8p' "$folder/ctest.log" | head -n 200
    fi
    tail -n 3 "$folder/ctest.log"
    [[ -s $report ]] || { row "$target" yes - - - -; failed=$((failed + 1)); return 0; }
    run=$(count "$report" tests) bad=$(count "$report" failures) skipped=$(count "$report" skipped)
    mapfile -t -O "${#skips[@]}" skips < <(grep -B1 '<skipped' "$report" | sed -n "s/.*<testcase name=\"\([^\"]*\)\".*/$target: \1/p")
    total_passed=$((total_passed + run - bad - skipped))
    total_failed=$((total_failed + bad)) total_skipped=$((total_skipped + skipped))
    [[ $bad == 0 && $run -gt 0 ]] || failed=$((failed + 1))
    row "$target" yes "$run" $((run - bad - skipped)) "$skipped" "$bad"
}

# build TARGET FOLDER OPTION...: configures and builds; false, with the row kept, when that fails.
build() {
    local target=$1 folder=$2
    shift 2
    say "== $target"
    if configure "$folder" "$@" >"$folder.log" 2>&1 && ninja -C "$folder" >>"$folder.log" 2>&1; then
        return 0
    fi
    grep -E 'error|FAILED|undefined' -A3 "$folder.log" | head -n 60
    row "$target" no - - - -
    failed=$((failed + 1))
    return 1
}

# step NAME COMMAND...: a check without tests of its own.
step() {
    local name=$1
    shift
    say "== $name"
    if "$@"; then
        row "$name" passed
    else
        row "$name" FAILED
        failed=$((failed + 1))
    fi
}

sources() { git ls-files '*.h' '*.cpp' '*.c' | grep -v '^tests/package/declarations/'; }

check_format() { sources | xargs clang-format --dry-run -Werror; }

# Only what is the library's and the reporter's own; tests and benchmarks lean on macros that the checks dislike.
check_tidy() {
    git ls-files 'platform/linux/*.cpp' 'source/*.cpp' 'sysprops/*.cpp' 'network/*.cpp' 'session/*.cpp' 'config/*.cpp' \
        'tools/*.cpp' 'examples/*.cpp' | xargs -P "$jobs" -n 4 clang-tidy --quiet -p build/test >build/tidy.log 2>/dev/null ||
        { grep -E 'warning:|error:' build/tidy.log | sort -u | head -n 40; return 1; }
}

print_table() {
    local line
    printf '\n%-44s %-8s %6s %7s %8s %7s\n' target built run passed skipped failed
    for line in "${results[@]}"; do
        IFS='|' read -r name built run passed skipped bad <<<"$line"
        printf '%-44s %-8s %6s %7s %8s %7s\n' "$name" "$built" "${run:-}" "${passed:-}" "${skipped:-}" "${bad:-}"
    done
    if [[ ${#skips[@]} -gt 0 ]]; then
        printf '\nskipped, each with its reason in the log of its folder:\n'
        printf '  %s\n' "${skips[@]}"
    fi
    printf '\n%d passed, %d failed, %d skipped\n' "$total_passed" "$total_failed" "$total_skipped"
}

run_all() {
    mkdir -p build
    local tests=(-DZORCOMN_TESTS=ON -DZORCOMN_WERROR=ON)

    build 'x86-64, g++' build/test "${tests[@]}" && suite 'x86-64, g++' build/test
    step 'clang-format' check_format
    step 'clang-tidy' check_tidy
    build 'benchmarks' build/bench -DZORCOMN_BENCH=ON -DZORCOMN_WERROR=ON && row 'benchmarks' yes
    build 'x86-64, clang++, address and undefined' build/asan "${tests[@]}" -DCMAKE_CXX_COMPILER=clang++ \
        -DCMAKE_C_COMPILER=clang -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG='-O1 -g1' -DZORCOMN_SANITIZE=address,undefined &&
        suite 'x86-64, clang++, address and undefined' build/asan
    build 'x86-64, g++, thread' build/tsan "${tests[@]}" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG='-O1 -g1' \
        -DZORCOMN_SANITIZE=thread && suite 'x86-64, g++, thread' build/tsan

    print_table
    [[ $failed == 0 ]]
}
