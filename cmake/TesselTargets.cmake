# What every target of ours has in common.
add_library(TesselCommon INTERFACE)
target_compile_features(TesselCommon INTERFACE cxx_std_20)
target_compile_options(TesselCommon INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
                                              -Wconversion -Wno-sign-conversion)
# A program links only what it calls: each library that is loaded costs a start a fraction of a millisecond.
target_link_options(TesselCommon INTERFACE -Wl,--as-needed)
if(TESSEL_WARNINGS_AS_ERRORS)
    target_compile_options(TesselCommon INTERFACE -Werror)
endif()
if(TESSEL_SANITIZE)
    target_compile_options(TesselCommon INTERFACE -fsanitize=${TESSEL_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
    target_link_options(TesselCommon INTERFACE -fsanitize=${TESSEL_SANITIZE})
    # Instrumented, GCC 12 takes members of empty optionals for uninitialised values that are read.
    target_compile_options(TesselCommon INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# tessel_library(NAME SOURCES file… [PUBLIC target…] [PRIVATE target…] [PRIVATE_HEADERS file…] [NOT_INSTALLED])
# A library of the folder it is called in: folder = target = include prefix. Its headers are its interface, but for the
# private ones, which the folder alone uses: they are not installed, and what they declare is not exported. A public
# header includes no private one. Programs and tests of this build always link the archive; with BUILD_SHARED_LIBS a
# shared library is made of the same objects, and installed in its place.
function(tessel_library name)
    cmake_parse_arguments(ARG "NOT_INSTALLED" "" "SOURCES;PUBLIC;PRIVATE;PRIVATE_HEADERS" ${ARGN})
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH include_root)
    file(GLOB headers RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
    list(REMOVE_ITEM headers ${ARG_PRIVATE_HEADERS})
    list(TRANSFORM ARG_PRIVATE_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE private_headers)
    set_property(GLOBAL APPEND PROPERTY TESSEL_PRIVATE_HEADERS ${private_headers})
    set(archive_dependencies ${ARG_PRIVATE})
    if(TESSEL_SQLITE_ARCHIVE)
        list(TRANSFORM archive_dependencies REPLACE "^PkgConfig::sqlite3$"
             "$<BUILD_INTERFACE:${TESSEL_SQLITE_ARCHIVE}>;$<BUILD_INTERFACE:m>;$<INSTALL_INTERFACE:PkgConfig::sqlite3>")
    endif()
    add_library(${name} STATIC ${ARG_SOURCES} ${ARG_PRIVATE_HEADERS})
    add_library(TesselKit::${name} ALIAS ${name})
    set_target_properties(${name} PROPERTIES OUTPUT_NAME Tessel${name})
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS "${include_root}" FILES ${headers})
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE $<BUILD_INTERFACE:TesselCommon> ${archive_dependencies})
    if(ARG_NOT_INSTALLED)
        return()
    endif()
    if(NOT BUILD_SHARED_LIBS)
        tessel_install_library(${name} ${name})
        tessel_install_pkg_config(${name} REQUIRES ${ARG_PUBLIC} ${ARG_PRIVATE})
        return()
    endif()

    # What a public header declares is exported: they are all included before a source's first line, marked so.
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
    list(TRANSFORM headers REPLACE "(.+)" "#include \"${folder}/\\1\"" OUTPUT_VARIABLE includes)
    list(JOIN includes "\n" includes)
    set(public_header "${CMAKE_CURRENT_BINARY_DIR}/${name}Public.h")
    file(CONFIGURE OUTPUT "${public_header}" @ONLY
         CONTENT "#pragma GCC visibility push(default)\n@includes@\n#pragma GCC visibility pop\n")
    target_compile_options(${name} PRIVATE "SHELL:-include \"${public_header}\"" -fno-semantic-interposition)
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)

    add_library(${name}-shared SHARED $<TARGET_OBJECTS:${name}>)
    target_compile_features(${name}-shared PUBLIC cxx_std_20)
    target_sources(${name}-shared PUBLIC FILE_SET HEADERS BASE_DIRS "${include_root}" FILES ${headers})
    tessel_shared_counterparts(public ${ARG_PUBLIC})
    tessel_shared_counterparts(private ${ARG_PRIVATE})
    target_link_libraries(${name}-shared PUBLIC ${public} PRIVATE $<BUILD_INTERFACE:TesselCommon> ${private})
    target_link_options(${name}-shared PRIVATE "LINKER:--version-script=${TESSEL_EXPORTS}"
                        $<$<NOT:$<BOOL:${TESSEL_SANITIZE}>>:LINKER:-z,defs>)
    set_target_properties(${name}-shared PROPERTIES
        EXPORT_NAME ${name} OUTPUT_NAME Tessel${name} LINKER_LANGUAGE CXX LINK_DEPENDS "${TESSEL_EXPORTS}"
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
        LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr") # there the loader finds the libraries below it by itself
        set_target_properties(${name}-shared PROPERTIES INSTALL_RPATH $ORIGIN)
    endif()
    tessel_install_library(${name} ${name}-shared)
    tessel_install_pkg_config(${name} REQUIRES ${ARG_PUBLIC})
endfunction()

# The shared libraries of those targets that are ours, and the others as they are.
function(tessel_shared_counterparts result)
    set(counterparts)
    foreach(target IN LISTS ARGN)
        if(TARGET ${target}-shared)
            list(APPEND counterparts ${target}-shared)
        elseif(TARGET ${target} AND NOT target MATCHES "::")
            message(FATAL_ERROR "${target} is not installed, but a library that is needs it")
        else()
            list(APPEND counterparts ${target})
        endif()
    endforeach()
    set(${result} ${counterparts} PARENT_SCOPE)
endfunction()
