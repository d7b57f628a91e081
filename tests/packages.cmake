# The Debian packages, from a build of their own: once is enough, for the release build.
find_program(zelDpkgDeb dpkg-deb)
if(zelDpkgDeb AND zelWideLevels AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT CMAKE_CXX_FLAGS)
    add_test(NAME packages COMMAND "${CMAKE_CURRENT_LIST_DIR}/packages_test.sh"
        "${PROJECT_BINARY_DIR}" "${CMAKE_CXX_COMPILER}")
endif()
add_test(NAME snippets COMMAND "${CMAKE_CURRENT_LIST_DIR}/snippets_test.sh")
