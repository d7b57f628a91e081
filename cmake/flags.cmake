# Compile and link flags that are part of the results. They hold for the library, its tests and everything
# measured against it, so that the same source means the same bits everywhere.
add_compile_options(
    -Wall -Wextra -pedantic
    # A product is rounded before it is added. Without this, GCC fuses even intrinsics from x86-64-v3 on.
    -ffp-contract=off
    # An int result may overlay its float source (comparisons, casts): memory has no type here.
    -fno-strict-aliasing
    # A member that calls another member calls it directly, not through the symbol table.
    -fno-semantic-interposition
    # Not here: -frounding-math. Element code follows the caller's rounding mode without it, since no formula has
    # constants to fold or terms to reorder: the tests see the same bits in all four modes with and without it. With it
    # Clang turns to its strict mode, which vectorises no loop. What must not move is held by barriers (rounding.h).
    # A root is an instruction. With errno it is a call behind a branch, and no loop of roots vectorises.
    -fno-math-errno
    # What is left of calls across libraries goes through one indirect call, without a stub in between.
    -fno-plt
    # The class alone is exported.
    -fvisibility=hidden -fvisibility-inlines-hidden
    # Two builds in two directories are the same library, byte for byte.
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")

add_link_options(
    LINKER:--as-needed LINKER:-z,relro,-z,now LINKER:-z,noexecstack LINKER:-z,text)
