# Compile and link flags that are part of the results. They hold for the library, its tests and everything
# measured against it, so that the same source means the same bits everywhere. They stand behind whatever comes
# from outside (CXXFLAGS, CMAKE_CXX_FLAGS, a parent project's options), and where two contradict each other a
# compiler takes the last.

# Each part of fast-math by itself, since a part that was asked for by name outlives -fno-fast-math.
set(zelExactMath -fno-fast-math -fno-associative-math -fno-reciprocal-math -fno-finite-math-only -fsigned-zeros
    # A product is rounded before it is added. Without this, GCC fuses even intrinsics from x86-64-v3 on.
    -ffp-contract=off
    # float arithmetic is that of the lanes, not the 80 bits of the older unit.
    -mfpmath=sse
    # Element code follows the caller's rounding mode without -frounding-math, since no formula has constants to fold or
    # terms to reorder: the tests see the same bits in all four modes with and without it. With it Clang turns to its
    # strict mode, which vectorises no loop. What must not move is held by barriers (rounding.h).
    -fno-rounding-math
    # A root is an instruction. With errno it is a call behind a branch, and no loop of roots vectorises.
    -fno-math-errno)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A comparison raises what its kind raises: GCC could otherwise turn a signalling one into a quiet one.
    list(APPEND zelExactMath -fno-unsafe-math-optimizations -ftrapping-math -fno-single-precision-constant)
else()
    # Denormals are what the caller's mode makes of them. Of traps nothing is said: Clang's word for them
    # is strict mode.
    list(APPEND zelExactMath -fdenormal-fp-math=ieee)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 14)
        list(APPEND zelExactMath -fno-approx-func)
    endif()
endif()
list(JOIN zelExactMath " " zelExactMath)  # one word to CMake, which would drop those that it has met before
add_compile_options(
    "SHELL:${zelExactMath}"
    # An int result may overlay its float source (comparisons, casts): memory has no type here.
    -fno-strict-aliasing
    # A member that calls another member calls it directly, not through the symbol table.
    -fno-semantic-interposition
    # What is left of calls across libraries goes through one indirect call, without a stub in between.
    -fno-plt
    # The class alone is exported.
    -fvisibility=hidden -fvisibility-inlines-hidden
    # Two builds in two directories are the same library, byte for byte.
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
# Without a configuration, as a parent project or a distribution may have none: what Release has, but for a level of
# optimisation that the builder names. Other configurations are as the builder left them.
get_directory_property(zelOutside COMPILE_OPTIONS)
if("${CMAKE_CXX_FLAGS};${zelOutside}" MATCHES "(^|[ ;:])-O")
    add_compile_options("$<$<CONFIG:,None>:-DNDEBUG>")
else()
    add_compile_options("$<$<CONFIG:,None>:-O3;-DNDEBUG>")
endif()
if(PROJECT_IS_TOP_LEVEL)
    add_compile_options(-Wall -Wextra -pedantic)
else()
    add_compile_options(-w)  # a parent's warnings are about its own code
endif()

add_link_options(
    # With any of these undone, a compiler would link a start file that sets flush-to-zero and denormals-are-zero for
    # the whole process that loads the library; the last -O takes back an -Ofast.
    "SHELL:-fno-fast-math -fno-unsafe-math-optimizations -O3"
    LINKER:--as-needed LINKER:-z,relro,-z,now LINKER:-z,noexecstack LINKER:-z,text)
if((CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13) OR
        (CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 19))
    add_link_options(-mno-daz-ftz)  # the same start file by its own name
endif()
