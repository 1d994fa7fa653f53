# Debian packages, by cpack: the library, what is needed to build against it, and the examples. They are
# for a build whose prefix is /usr: the preset `packages`.
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

set(CPACK_COMPONENTS_ALL runtime development examples)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/utilities)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
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
utilities_debian_package(development libutilities-dev libdevel "${synopsis} (development)
The headers of the base library, and what CMake, pkg-config and GDB
want to know of it.")
utilities_debian_package(examples utilities-examples misc "${synopsis} (examples)
Programs that show the base library at work, with their sources: a
catalogue that tells what changed in a directory tree, and a monitor
for a serial port.")

set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_EXAMPLES_DEPENDS runtime)
# Of the library it has only the link, which needs nothing.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${debianDir}/triggers)

include(CPack)
