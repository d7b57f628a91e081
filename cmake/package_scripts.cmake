# Run by cpack on the packages that it has made: takes out the scripts that call ldconfig, which the trigger does.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(tree "${CPACK_TEMPORARY_DIRECTORY}-unpacked")
    file(REMOVE_RECURSE "${tree}")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE "${tree}/DEBIAN/postinst" "${tree}/DEBIAN/postrm")
    execute_process(COMMAND dpkg-deb --build --root-owner-group "${tree}" "${package}"
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE "${tree}")
endforeach()
