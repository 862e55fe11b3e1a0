# tessel_resources(TARGET): puts the ChatPush resource bundle beside a program that links the libraries statically,
# where the search for it looks last (the main bundle's own directory). A shared ChatPush has it beside itself.
function(tessel_resources target)
    get_target_property(type TesselKit::ChatPush TYPE)
    if(type STREQUAL "SHARED_LIBRARY")
        return()
    endif()
    get_target_property(resources TesselKit::ChatPush TESSEL_RESOURCE_BUNDLE)
    add_custom_command(TARGET ${target} POST_BUILD COMMAND "${CMAKE_COMMAND}" -E copy_directory
                       "${resources}" "$<TARGET_FILE_DIR:${target}>/TesselKit_ChatPush.bundle")
endfunction()
