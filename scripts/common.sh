# shellcheck shell=bash
# Sourced by the scripts beside it: which preset, which compiler, and how their build directory comes about.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit
preset=release
compiler=gcc
rest=()

# Takes --preset and --compiler out of a command line; everything else stays in `rest`.
readOptions() {
    while (($#)); do
        case $1 in
            --preset) preset=${2:?--preset needs a name}; shift 2 ;;
            --compiler) compiler=${2:?--compiler needs gcc or clang}; shift 2 ;;
            *) rest+=("$1"); shift ;;
        esac
    done
    directory=build/$preset
    case $compiler in
        gcc) cxx=g++ ;;
        clang) cxx=clang++; directory+=-clang ;;
        *) echo "The compiler is gcc or clang, not '$compiler'." >&2; exit 2 ;;
    esac
}

# setup [GROUP]...: those of scripts/setup, and Clang if it is to compile.
setup() {
    [[ $# == 0 || $compiler == gcc ]] || set -- "$@" --clang
    scripts/setup "$@" || exit
}

# configure [CMAKE OPTION]...
configure() {
    local path fresh=()
    path=$(command -v "$cxx") || { echo "There is no $cxx." >&2; exit 1; }
    # Told of another compiler, CMake would start the directory over and lose the preset's settings. One that was copied
    # with its checkout it refuses.
    grep -qsx "CMAKE_CXX_COMPILER:.*=$path" "$directory/CMakeCache.txt" &&
        grep -qsxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$directory/CMakeCache.txt" || fresh=(--fresh)
    CXX=$path cmake --preset "$preset" -B "$directory" "${fresh[@]}" "$@"
}

build() { cmake --build "$directory" -j2 "$@"; }
