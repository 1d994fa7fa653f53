# The installed package: library, public headers, and the files by which CMake and pkg-config find it.
# All paths in these are relative to where they lie, so the installed tree can be moved.
include(CMakePackageConfigHelpers)

set(configDir ${CMAKE_INSTALL_LIBDIR}/cmake/Utilities)
set(pkgconfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS Utilities EXPORT Utilities
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                COMPONENT runtime NAMELINK_COMPONENT development
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        # Beside the header set, for clients whose CMake (before 3.23) knows none.
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT Utilities NAMESPACE Utilities:: FILE UtilitiesTargets.cmake DESTINATION ${configDir}
        COMPONENT development)

configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/UtilitiesConfig.cmake.in ${PROJECT_BINARY_DIR}/UtilitiesConfig.cmake
    INSTALL_DESTINATION ${configDir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/UtilitiesConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/UtilitiesConfig.cmake
              ${PROJECT_BINARY_DIR}/UtilitiesConfigVersion.cmake
        DESTINATION ${configDir} COMPONENT development)

# In the pkg-config file a directory is given from the prefix, unless the packager set an absolute one.
set(pcPrefix ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY
               ${CMAKE_INSTALL_PREFIX}/${pkgconfigDir} OUTPUT_VARIABLE fromPkgconfigDir)
    set(pcPrefix "\${pcfiledir}/${fromPkgconfigDir}")
endif()
foreach(dir LIBDIR INCLUDEDIR)
    set(pc_${dir} "\${prefix}")
    cmake_path(APPEND pc_${dir} ${CMAKE_INSTALL_${dir}})
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/utilities.pc.in ${PROJECT_BINARY_DIR}/utilities.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/utilities.pc DESTINATION ${pkgconfigDir} COMPONENT development)

# Where GDB looks for what belongs to a library: by the library's full path, below its own data
# directory, which is that of the prefix /usr. The prefix is the one of the installation.
set(libDir ${CMAKE_INSTALL_LIBDIR})
if(NOT IS_ABSOLUTE ${libDir})
    set(libDir "\${CMAKE_INSTALL_PREFIX}/${libDir}")
endif()
install(FILES ${PROJECT_SOURCE_DIR}/utilities/gdb/libUtilities-gdb.py
        DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${libDir}"
        RENAME libUtilities.so.${PROJECT_VERSION}-gdb.py COMPONENT runtime)

include(${CMAKE_CURRENT_LIST_DIR}/UtilitiesPackages.cmake)
