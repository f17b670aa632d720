# What `cmake --install` and the Debian packages hold. Two components: Runtime (what a program needs
# to run) and Development (what it takes to build one).

include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/zebbase")
set(headerDir "${CMAKE_INSTALL_INCLUDEDIR}/zebbase")

install(TARGETS zebbase zbcommon EXPORT zebbaseTargets
    LIBRARY
        DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT Runtime
        NAMELINK_COMPONENT Development)
install(DIRECTORY include/
    DESTINATION "${headerDir}"
    COMPONENT Development
    FILES_MATCHING PATTERN "*.hpp")
install(FILES zbcommon/zbcommon.h
    DESTINATION "${headerDir}"
    COMPONENT Development)

install(EXPORT zebbaseTargets
    NAMESPACE zebbase::
    DESTINATION "${packageDir}"
    COMPONENT Development)
configure_package_config_file(cmake/zebbaseConfig.cmake.in
    "${PROJECT_BINARY_DIR}/zebbaseConfig.cmake"
    INSTALL_DESTINATION "${packageDir}")
# Before 1.0 a minor release may change the interface of the sources.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zebbaseConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/zebbaseConfig.cmake"
    "${PROJECT_BINARY_DIR}/zebbaseConfigVersion.cmake"
    DESTINATION "${packageDir}"
    COMPONENT Development)

# The pkg-config file finds its prefix from where it lies, so that an installed tree can be moved.
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_LIBDIR isAbsolute)
if(isAbsolute)
    set(pcPrefix "${CMAKE_INSTALL_PREFIX}")
    set(pcLibDir "${CMAKE_INSTALL_LIBDIR}")
else()
    file(RELATIVE_PATH up "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(pcPrefix "\${pcfiledir}/${up}")
    set(pcLibDir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_INCLUDEDIR isAbsolute)
if(isAbsolute)
    set(pcIncludeDir "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(pcIncludeDir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/zebbase.pc.in "${PROJECT_BINARY_DIR}/zebbase.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zebbase.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT Development)

# GDB loads the views of an objfile from below the name that it has as installed, whatever the prefix.
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_LIBDIR isAbsolute)
if(isAbsolute)
    set(gdbLibDir "${CMAKE_INSTALL_LIBDIR}")
else()
    set(gdbLibDir "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
endif()
install(FILES gdb/libzebbase-gdb.py
    DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load/${gdbLibDir}"
    RENAME "libzebbase.so.${ZEBBASE_ABI}.${PROJECT_VERSION}-gdb.py"
    COMPONENT Runtime)

if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()

set(CPACK_PACKAGE_NAME zebbase)
set(CPACK_PACKAGE_VENDOR "zebbase")
set(CPACK_PACKAGE_CONTACT "zebbase developers <zebbase@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(ZEBBASE_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL Tools)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libzebbase${ZEBBASE_ABI}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzebbase-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzebbase${ZEBBASE_ABI} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, and what CMake and pkg-config need to find the library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zebbase-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
# Told here, as the search for dependencies doesn't look into the package made beside this one.
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
    "libzebbase${ZEBBASE_ABI} (= ${PROJECT_VERSION}), libc6, libgcc-s1, libstdc++6")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libzebbase${ZEBBASE_ABI} (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Shows, strips and wraps messages.")

include(CPack)
