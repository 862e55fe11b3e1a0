# Run by CPack on what it is about to pack: Debian's own files beside ours.
find_program(GZIP gzip REQUIRED)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP year "%Y" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}")
    string(TOUPPER ${component} variable)
    set(package ${CPACK_DEBIAN_${variable}_PACKAGE_NAME})
    set(documents "${root}/usr/share/doc/${package}")
    file(WRITE "${documents}/changelog.Debian" "${package} (${version}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
    file(WRITE "${documents}/copyright" "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/

Files: *
Copyright: ${year} Tessel maintainers
License: all-rights-reserved
 No licence is granted: all rights are reserved.
")
    file(GLOB manuals "${root}/usr/share/man/man*/*.[1-9]")
    execute_process(COMMAND "${GZIP}" --no-name --best "${documents}/changelog.Debian" ${manuals}
                    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
