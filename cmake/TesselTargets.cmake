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

# tessel_library(NAME SOURCES file… [PUBLIC target…] [PRIVATE target…])
# A library of the folder it is called in: folder = target = include prefix.
function(tessel_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH include_root)
    file(GLOB headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
    add_library(${name} STATIC ${ARG_SOURCES})
    add_library(TesselKit::${name} ALIAS ${name})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS "${include_root}" FILES ${headers})
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE $<BUILD_INTERFACE:TesselCommon> ${ARG_PRIVATE})
endfunction()

# tessel_resources(TARGET): puts the ChatPush resource bundle beside a program that links the libraries statically,
# where the search for it looks last (the main bundle's own directory).
function(tessel_resources target)
    add_custom_command(TARGET ${target} POST_BUILD COMMAND "${CMAKE_COMMAND}" -E copy_directory
                       "${TESSEL_RESOURCE_BUNDLE}" "$<TARGET_FILE_DIR:${target}>/TesselKit_ChatPush.bundle")
endfunction()
