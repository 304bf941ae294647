# Debian packages: the library, what is needed to build against it, and the command line. Built from the preset "package".
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillfs)
set(CPACK_PACKAGE_CONTACT "Quill file system developers <developers@quillfs.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "libquillfilesystem${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_BINARY_DIR}/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquillfilesystem-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME quillfs)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "file-system layer for C++ hosts")
set(description "One table of operations on files and directories: names found in any
normalization, copies that are all or nothing, and every failure as a number
that a program can switch on.
")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${description}.\nThis package holds the shared library.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${description}.\nThis package holds what is needed to build against it.")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "${description}.\nThis package holds the command line.")

include(CPack)
cpack_add_component(library)
cpack_add_component(development DEPENDS library)
cpack_add_component(tool DEPENDS library)

# What Debian expects beside the files of every package.
find_program(QUILL_GZIP gzip)
if(QUILL_GZIP)
  set(changelog "${PROJECT_BINARY_DIR}/changelog")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/debian_changelog.in" "${changelog}" @ONLY)
  execute_process(COMMAND "${QUILL_GZIP}" --best --no-name --force --keep "${changelog}" COMMAND_ERROR_IS_FATAL ANY)
  foreach(component LIBRARY DEVELOPMENT TOOL)
    string(TOLOWER "${component}" lowerCase)
    set(directory "${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME}")
    install(FILES "${changelog}.gz" DESTINATION "${directory}" COMPONENT ${lowerCase} EXCLUDE_FROM_ALL)
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${directory}" RENAME copyright
      COMPONENT ${lowerCase} EXCLUDE_FROM_ALL)
  endforeach()
endif()
