# The Debian packages that CPack makes, one of each component. The preset "package" builds what goes into them.
set(libraries_package libtesselkit${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tesselkit)
set(CPACK_PACKAGE_CONTACT "Tessel maintainers <maintainers@tessel.example>")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_COMPONENTS_ALL Libraries Development Programs)
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON) # what goes to /etc stands beside /usr
set(CPACK_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/lib")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

# What is loaded when it is first needed, and what else is read at run time, no tool finds.
set(at_run_time "ca-certificates, libcurl4 (>= 7.87), tzdata")
set(at_run_time_if_there "libsecret-1-0, libsystemd0")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME ${libraries_package})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_DEPENDS "${at_run_time}")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_RECOMMENDS "${at_run_time_if_there}")
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "libraries of the Tessel chat client
The model of the client's data and the rules on it, the storage that the
client shares with its extensions, and the pipeline that turns pushes into
notifications.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtesselkit-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${libraries_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "libraries of the Tessel chat client - development files
What is needed to build against the libraries: their headers, and what CMake
and pkg-config find them by.")

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME tessel)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_DEPENDS "${at_run_time}")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_RECOMMENDS
    "${at_run_time_if_there}, default-dbus-session-bus | dbus-session-bus, notification-daemon")
set(CPACK_COMPONENT_PROGRAMS_DESCRIPTION "notification extension of the Tessel chat client
Verifies and acknowledges the pushes of chat servers, and has them name their
senders as persons, with text and picture. With it come a service that
receives pushes on a desktop and shows them, and a tool to try it all.")

# Files of the packages' control parts.
set(control "${CMAKE_CURRENT_BINARY_DIR}/control")
file(WRITE "${control}/triggers" "activate-noawait ldconfig\n")
file(WRITE "${control}/conffiles" "/etc/xdg/autostart/com.norvane.tessel.NotificationService.desktop\n")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA "${control}/triggers")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_CONTROL_EXTRA "${control}/conffiles")

include(CPack)
