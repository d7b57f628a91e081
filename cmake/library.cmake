# libKEP, libZEL, and the copies of libZEL for wide machines.

set(zelWarnings -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast)

add_library(ZEL-KEP SHARED kep/kep.cpp)
set_target_properties(ZEL-KEP PROPERTIES
    OUTPUT_NAME KEP
    EXPORT_NAME KEP
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
target_compile_options(ZEL-KEP PRIVATE ${zelWarnings})
# It calls nothing of the C library, but a shared library says what it belongs to.
target_link_options(ZEL-KEP PRIVATE -nodefaultlibs LINKER:--no-as-needed)
target_link_libraries(ZEL-KEP PRIVATE c)
target_include_directories(ZEL-KEP PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/kep>")

set(zelSources
    src/frame/load.cpp
    src/arith/add_sub_mul.cpp
    src/arith/divide.cpp
    src/arith/multiply_add.cpp
    src/arith/roots.cpp
    src/arith/safe_divide.cpp
    src/arith/sign_range.cpp
    src/compare/bit_logic.cpp
    src/compare/compare.cpp
    src/convert/float_to_int.cpp
    src/convert/set_swap.cpp
    src/convert/white_point.cpp
    src/reduce/dot.cpp
    src/reduce/update_reduce.cpp
    src/reduce/zero_count.cpp
    src/stream/four_lane.cpp
    src/stream/matrix_vector.cpp)
list(TRANSFORM zelSources PREPEND "${PROJECT_SOURCE_DIR}/")

# One libZEL. A copy's $ORIGIN is its own directory, two below the plain library, where libKEP lies.
function(zel_library target)
    add_library(${target} SHARED ${zelSources})
    target_include_directories(${target}
        PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
        PRIVATE "${PROJECT_SOURCE_DIR}/src")
    # Nothing throws, and the library needs nothing of the C++ runtime.
    target_compile_options(${target} PRIVATE -fno-exceptions ${zelWarnings}
        # A short loop that begins at the end of a cache line takes up to a tenth longer. Clang 13 would warn.
        "$<$<NOT:$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,14>>>:-falign-loops=32>")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Element loops are vectors at -O2 too, as at -O3. There GCC 11 makes none, and later ones only where the number
        # of iterations is known to be a multiple of the vector. Clang makes them from -O2 on by itself.
        # Link-time optimisation by GCC 12 forgets which loops are to be unrolled, and some take four times as long.
        # There is nothing to gain by it, since no kernel calls what another file has.
        target_compile_options(${target} PRIVATE -ftree-vectorize -fvect-cost-model=dynamic -fno-lto)
    endif()
    target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:ZEL_ASSERTS>)
    target_link_libraries(${target} PRIVATE ZEL-KEP)
    target_link_options(${target} PRIVATE
        "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map"
        # The flag itself stays preemptible; only calls between members are bound at link time.
        LINKER:-Bsymbolic-functions)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map")
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ZEL
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "\$ORIGIN;\$ORIGIN/../..")
    if(CMAKE_SKIP_INSTALL_RPATH)
        # As distributions have it: only in the build tree does a library look for its sibling by itself.
        set_target_properties(${target} PROPERTIES BUILD_RPATH_USE_ORIGIN ON)
    else()
        # The same run path in the build tree: no directory of the builder gets into the library.
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
    endif()
endfunction()

zel_library(ZEL)
add_library(ZEL::ZEL ALIAS ZEL)

# The loader looks into glibc-hwcaps/<level>/ beside the plain library and takes the widest copy that the
# machine can run, so no call pays for the choice. In the build tree the copies lie under wide/ instead, where
# the loader finds one only when asked: tests and benchmarks say themselves which library they mean.
set(zelWideLevels "")
if(ZEL_WIDE_COPIES)
    set(zelWideLevels x86-64-v3 x86-64-v4)
endif()
foreach(level IN LISTS zelWideLevels)
    zel_library(ZEL-${level})
    target_compile_options(ZEL-${level} PRIVATE -march=${level})
    if(NOT PROJECT_IS_TOP_LEVEL AND NOT ZEL_INSTALL)
        # Nothing would ever load it: what a parent project builds runs on the plain library.
        set_property(TARGET ZEL-${level} PROPERTY EXCLUDE_FROM_ALL ON)
    endif()
    set_target_properties(ZEL-${level} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib/wide/${level}")
endforeach()

# The copy that counts and checks, bit for bit the same in what it computes, and the program that runs others on it. It
# lies where no loader finds it by chance. Each member has code of its own and stays on the stack.
if(ZEL_TRACE)
    zel_library(ZEL-trace)
    target_sources(ZEL-trace PRIVATE "${PROJECT_SOURCE_DIR}/src/frame/trace.cpp")
    target_compile_definitions(ZEL-trace PRIVATE ZEL_TRACE)
    target_compile_options(ZEL-trace PRIVATE -fno-omit-frame-pointer -fno-optimize-sibling-calls)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(ZEL-trace PRIVATE -fno-ipa-icf -fno-reorder-blocks-and-partition)
    endif()
    set_target_properties(ZEL-trace PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib/zel-trace"
        INSTALL_RPATH "\$ORIGIN/..")
    add_executable(zel-trace src/frame/zel_trace.cpp)
    target_compile_options(zel-trace PRIVATE ${zelWarnings})
    include(GNUInstallDirs)
    file(RELATIVE_PATH zelTraceLibrary "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/zel-trace/libZEL.so.1")
    target_compile_definitions(zel-trace PRIVATE "ZEL_TRACE_LIBRARY=\"${zelTraceLibrary}\"")
    add_dependencies(zel-trace ZEL-trace)
endif()
