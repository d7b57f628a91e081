# Debian packages, made by cpack in a build directory: libzel1 for programs that run, libzel-dev for those that
# are built. scripts/package makes a build for them; a Debian package belongs in /usr, whose library directory is
# the multi-arch one.
if(NOT CMAKE_INSTALL_PREFIX MATCHES "^/usr/?$")
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zel)
set(CPACK_PACKAGE_CONTACT "libZEL maintainers <maintainers@example.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# The owner has chosen no licence, so no file states one; the description says so.
set(zelNoLicence "No licence has been chosen by the owner yet.")

set(zelRuntimePackage libzel${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${zelRuntimePackage})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "The library, its copies for x86-64-v3 and x86-64-v4, which the loader picks
by itself, and libKEP.
${zelNoLicence}")
# From this version on the loader looks into glibc-hwcaps. Where dpkg-shlibdeps is there, it finds the rest.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6 (>= 2.33)")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
# A package built with libZEL names this one as its dependency: from this version on, as long as the ABI
# has this number.
set(zelShlibs "")
foreach(zelName IN ITEMS ZEL KEP)
    string(APPEND zelShlibs "lib${zelName} ${PROJECT_VERSION_MAJOR} ${zelRuntimePackage} (>= ${PROJECT_VERSION})\n")
endforeach()
file(WRITE "${PROJECT_BINARY_DIR}/shlibs" "${zelShlibs}")
# The loader's cache has to learn of the library, and of its wide copies: by a trigger, and not by scripts as well.
file(WRITE "${PROJECT_BINARY_DIR}/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/shlibs;${PROJECT_BINARY_DIR}/triggers")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/package_scripts.cmake")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "For those who build with libZEL: header, link name, CMake package, pkg-config
file, and the reference if it was built.
${zelNoLicence}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${zelRuntimePackage} (= ${PROJECT_VERSION})")

# The packages' changelog in Debian's form; what changed stands in ours.
string(TIMESTAMP zelDate "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${PROJECT_BINARY_DIR}/changelog" "${CPACK_PACKAGE_NAME} (${PROJECT_VERSION}) unstable; urgency=medium

  * Version ${PROJECT_VERSION}; CHANGELOG.md of the sources tells what changed.

 -- ${CPACK_PACKAGE_CONTACT}  ${zelDate}
")
find_program(ZEL_GZIP gzip)
if(ZEL_GZIP)
    execute_process(COMMAND "${ZEL_GZIP}" -9nf "${PROJECT_BINARY_DIR}/changelog")
    install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${zelRuntimePackage}"
        COMPONENT runtime)
    install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libzel-dev"
        COMPONENT development)
endif()

# What scripts/docs has made.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/build/docs/html" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libzel-dev"
    COMPONENT development OPTIONAL)

include(CPack)
