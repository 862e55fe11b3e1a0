# What is installed beside the programs: the libraries, with what find_package and pkg-config need to find them. Three
# components: Libraries (what programs need to run), Development, and Programs.
include(CMakePackageConfigHelpers)

set(TESSEL_HEADER_DIRECTORY "${CMAKE_INSTALL_INCLUDEDIR}/TesselKit")
set(TESSEL_CONFIG_DIRECTORY "${CMAKE_INSTALL_LIBDIR}/cmake/TesselKit")
set(TESSEL_EXPORTS "${CMAKE_CURRENT_LIST_DIR}/TesselExports.map")

# What the pkg-config files call the libraries of others.
set(TESSEL_PKG_CONFIG_NAMES
    absl::flat_hash_map=absl_flat_hash_map
    absl::flat_hash_set=absl_flat_hash_set
    absl::time=absl_time
    ICU::i18n=icu-i18n
    ICU::uc=icu-uc
    OpenSSL::Crypto=libcrypto
    PkgConfig::libplist=libplist-2.0
    PkgConfig::liburiparser=liburiparser
    PkgConfig::sqlite3=sqlite3
    simdjson::simdjson=simdjson)

# Installs TARGET, the archive or the shared library of the library NAME, with its headers.
function(tessel_install_library name target)
    install(TARGETS ${target} EXPORT TesselKitTargets
        ARCHIVE COMPONENT Development
        LIBRARY COMPONENT Libraries NAMELINK_COMPONENT Development
        FILE_SET HEADERS DESTINATION "${TESSEL_HEADER_DIRECTORY}" COMPONENT Development)
endfunction()

# Installs tesselkit-NAME.pc, in lower case, of a library that needs these targets. Its paths stand from the file's own
# place, so that an installation may be moved.
function(tessel_install_pkg_config name)
    cmake_parse_arguments(ARG "" "" "REQUIRES" ${ARGN})
    set(libraries)
    set(requires)
    foreach(target IN LISTS ARG_REQUIRES)
        set(known "${TESSEL_PKG_CONFIG_NAMES}")
        list(FILTER known INCLUDE REGEX "^${target}=")
        if(known)
            string(REGEX REPLACE ".*=" "" module "${known}")
            list(APPEND requires ${module})
        elseif(target STREQUAL "Threads::Threads")
            list(APPEND libraries -pthread)
        elseif(target STREQUAL CMAKE_DL_LIBS)
            list(APPEND libraries -l${target})
        elseif(TARGET TesselKit::${target})
            string(TOLOWER "tesselkit-${target}" module)
            list(APPEND requires "${module} = ${PROJECT_VERSION}")
        else()
            message(FATAL_ERROR "TESSEL_PKG_CONFIG_NAMES lacks ${target}")
        endif()
    endforeach()
    list(JOIN requires ", " requires)
    list(JOIN libraries " " libraries)
    set(place "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY "${place}" OUTPUT_VARIABLE libdir)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR BASE_DIRECTORY "${place}" OUTPUT_VARIABLE includedir)
    string(TOLOWER "tesselkit-${name}.pc" file)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/tesselkit.pc.in" "${CMAKE_CURRENT_BINARY_DIR}/${file}" @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${file}" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
            COMPONENT Development)
endfunction()

# Installs what find_package(TesselKit) reads. Called when all libraries are there.
function(tessel_install_package)
    install(EXPORT TesselKitTargets NAMESPACE TesselKit:: DESTINATION "${TESSEL_CONFIG_DIRECTORY}"
            COMPONENT Development)
    set(config "${CMAKE_CURRENT_BINARY_DIR}/TesselKitConfig.cmake")
    set(version "${CMAKE_CURRENT_BINARY_DIR}/TesselKitConfigVersion.cmake")
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TesselKitConfig.cmake.in" "${config}"
        INSTALL_DESTINATION "${TESSEL_CONFIG_DIRECTORY}" PATH_VARS CMAKE_INSTALL_LIBDIR)
    write_basic_package_version_file("${version}" COMPATIBILITY SameMinorVersion)
    install(FILES "${config}" "${version}" "${PROJECT_SOURCE_DIR}/cmake/TesselResources.cmake"
            DESTINATION "${TESSEL_CONFIG_DIRECTORY}" COMPONENT Development)
endfunction()
