# Header, libraries, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

install(FILES include/ZEL_Math.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)
install(TARGETS ZEL EXPORT ZEL
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development)
# The sibling is found at load, beside libZEL; nobody links to it by name, so it has no header and no link name.
# The export tells a consumer's link step where it is.
install(TARGETS ZEL-KEP EXPORT ZEL
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_SKIP)
foreach(level IN LISTS zelWideLevels)
    install(TARGETS ZEL-${level}
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps/${level}" COMPONENT runtime NAMELINK_SKIP)
endforeach()

if(ZEL_TRACE)
    install(TARGETS ZEL-trace
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/zel-trace" COMPONENT development NAMELINK_SKIP)
    install(TARGETS zel-trace RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT development)
    install(FILES docs/zel-trace.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT development)
endif()

set(zelPackageDir "${CMAKE_INSTALL_LIBDIR}/cmake/ZEL")
install(EXPORT ZEL NAMESPACE ZEL:: FILE ZELTargets.cmake DESTINATION "${zelPackageDir}" COMPONENT development)
configure_package_config_file(cmake/ZELConfig.cmake.in "${PROJECT_BINARY_DIR}/ZELConfig.cmake"
    INSTALL_DESTINATION "${zelPackageDir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ZELConfig.cmake" "${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake"
    DESTINATION "${zelPackageDir}" COMPONENT development)

# The install directories may be given as absolute paths; only relative ones hang below the prefix. With a
# relative library directory zel.pc finds the prefix from its own place, so an installed tree can be moved.
foreach(dir IN ITEMS LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
        set(zelPc${dir} "${CMAKE_INSTALL_${dir}}")
    else()
        set(zelPc${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
    endif()
endforeach()
set(zelPcPrefix "${CMAKE_INSTALL_PREFIX}")
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    cmake_path(RELATIVE_PATH zelPcPrefix BASE_DIRECTORY "${zelPcPrefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    string(PREPEND zelPcPrefix "\${pcfiledir}/")
endif()
configure_file(cmake/zel.pc.in "${PROJECT_BINARY_DIR}/zel.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zel.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# The loader knows the libraries of a system prefix from its cache alone. A package has a trigger for it.
install(CODE "
    if(\"\$ENV{DESTDIR}\" STREQUAL \"\" AND CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?/?\$\")
        message(\"Now run 'ldconfig' (as root), so that programs find libZEL.\")
    endif()" COMPONENT development)
