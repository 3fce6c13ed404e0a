# What takes longer than ./test --all may; sourced after targets.sh. Each row leaves its figures in build/deep/, and
# docs/reliability.md keeps those of the last run with its date.

run_deep() {
    mkdir -p build/deep
    print_table
    [[ $failed == 0 ]]
}
