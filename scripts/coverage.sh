# What of source/ the suite runs: lines, and branches without those that only an exception or the compiler takes. Sourced after
# common.sh; the table stays in build/coverage.txt, and what is not run by line in build/coverage/lines/.

least_lines=97 least_branches=90

run_coverage() {
    local folder=build/coverage flags='-O0 -g1 --coverage -fprofile-update=atomic -DZORCOMN_COUNTS_WHAT_RUNS'
    configure "$folder" -DZORCOMN_TESTS=ON -DZORCOMN_HARDENING=OFF -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS_DEBUG="$flags" -DCMAKE_C_FLAGS_DEBUG="$flags" >/dev/null
    ninja -C "$folder" --quiet >&2
    find "$folder" -name '*.gcda' -delete
    ctest --test-dir "$folder" -j "$(processors)" --output-on-failure >"$folder/ctest.log" 2>&1 || {
        tail -n 60 "$folder/ctest.log"
        return 1
    }
    count_coverage "$folder"
}

# count_coverage FOLDER: of what has run there, in the objects that the library is made of.
count_coverage() {
    mkdir -p "$1/lines"
    gcovr --root . --object-directory "$1" --filter source/ --exclude-throw-branches --exclude-unreachable-branches \
        -j "$(processors)" --txt build/coverage.txt --html-details "$1/lines/index.html" --json "$1/lines.json" \
        --fail-under-line "$least_lines" --fail-under-branch "$least_branches" --print-summary \
        "$1/CMakeFiles" "$1/source"
}
