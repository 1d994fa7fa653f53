# Debian packages, by cpack: the library, its debug information, what is needed to build against it, and
# the examples. They are for a build whose prefix is /usr and that has debug information: the preset
# `packages`.
set(debianDir ${CMAKE_CURRENT_LIST_DIR}/debian)

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME utilities)
set(CPACK_PACKAGE_VENDOR "Utilities developers")
set(CPACK_PACKAGE_CONTACT "Utilities developers <utilities@lists.example.org>")
# Each package has its own synopsis; this one would be put before them.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL runtime debug development examples)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/utilities)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# The policy wants a change log, packed, and the terms of use with every package. They belong to the
# packages only, not to an installation.
set(changelog ${PROJECT_BINARY_DIR}/changelog.gz)
file(ARCHIVE_CREATE OUTPUT ${changelog} PATHS ${debianDir}/changelog
     FORMAT raw COMPRESSION GZip COMPRESSION_LEVEL 9)

function(utilities_debian_package component package section description)
    string(TOUPPER ${component} COMPONENT)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION ${description} PARENT_SCOPE)
    install(FILES ${changelog} ${debianDir}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(synopsis "base library: values, texts, locks, threads, time, caches, files")
utilities_debian_package(runtime libutilities${PROJECT_VERSION_MAJOR} libs "${synopsis}
The shared library that a product's components link against: tagged
values, texts of both widths, locks that publish their state, named
threads, guarded time, a two-tier node cache, record files that
processes share, mapped files and a serial port.")
utilities_debian_package(debug libutilities${PROJECT_VERSION_MAJOR}-dbgsym debug "${synopsis} (symbols)
What GDB reads of the base library beside its binary: sources' lines,
types and variables.")
utilities_debian_package(development libutilities-dev libdevel "${synopsis} (development)
The headers of the base library, and what CMake and pkg-config want to
know of it.")
utilities_debian_package(examples utilities-examples misc "${synopsis} (examples)
Programs that show the base library at work: a catalogue that tells
what changed in a directory tree, and a monitor for a serial port. With
pages of the manual, completion for bash, and the sources as a project
that builds against the development package.")

set(CPACK_COMPONENT_DEBUG_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_EXAMPLES_DEPENDS runtime)
set(CPACK_DEBIAN_EXAMPLES_PACKAGE_SUGGESTS "libutilities-dev, cmake, libssl-dev")
# They have nothing that is linked: of the library the one has only the link, the other no code.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEBUG_PACKAGE_SHLIBDEPS OFF)
# Which package others need that link with the library. Of its own accord cpack takes the debug
# information for a library, too, and warns that it has no name.
set(shlibs ${PROJECT_BINARY_DIR}/shlibs)
file(WRITE ${shlibs} "libUtilities ${PROJECT_VERSION_MAJOR} libutilities${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${debianDir}/triggers ${shlibs})

# Where GDB looks for the debug information of a stripped library: by the build's id, which is known
# once the library is linked.
install(CODE "
    execute_process(COMMAND \"${CMAKE_READELF}\" --notes \"$<TARGET_FILE:Utilities>\"
                    OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
    if(NOT notes MATCHES \"Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)\")
        message(FATAL_ERROR \"The library has no build id.\")
    endif()
    set(dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/\${CMAKE_MATCH_1}\")
    file(MAKE_DIRECTORY \"\${dir}\")
    set(file \"\${dir}/\${CMAKE_MATCH_2}.debug\")
    execute_process(COMMAND \"${CMAKE_OBJCOPY}\" --only-keep-debug --compress-debug-sections
                            \"$<TARGET_FILE:Utilities>\" \"\${file}\" COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD \"\${file}\" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)"
    COMPONENT debug EXCLUDE_FROM_ALL)

include(CPack)
