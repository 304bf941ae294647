# Installing and exporting: CMake packages for the shared and the static library, which may lie side by side, and
# pkg-config. Everything is found relative to its own place, so an installed tree may be moved.
include(CMakePackageConfigHelpers)

set(QUILL_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/QuillFileSystem")
if(BUILD_SHARED_LIBS)
  set(QUILL_KIND shared)
else()
  set(QUILL_KIND static)
endif()

install(TARGETS QuillFileSystem EXPORT QuillFileSystemTargets
  RUNTIME COMPONENT library
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/quill" COMPONENT development)
install(EXPORT QuillFileSystemTargets FILE QuillFileSystem-${QUILL_KIND}.cmake NAMESPACE Quill::
  DESTINATION "${QUILL_PACKAGE_DIR}" COMPONENT development)

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/QuillFileSystemConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/QuillFileSystemConfig.cmake" INSTALL_DESTINATION "${QUILL_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QuillFileSystemConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QuillFileSystemConfig.cmake"
  "${PROJECT_BINARY_DIR}/QuillFileSystemConfigVersion.cmake"
  DESTINATION "${QUILL_PACKAGE_DIR}" COMPONENT development)

# From the directory of the .pc file back to the prefix.
file(RELATIVE_PATH QUILL_PC_PREFIX
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" QUILL_PC_PREFIX "${QUILL_PC_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/quillfilesystem.pc.in"
  "${PROJECT_BINARY_DIR}/quillfilesystem.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/quillfilesystem.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(QUILL_BUILD_TOOLS AND TARGET quillfs)
  # Also as it is built: a path that is replaced when it is installed is padded with ":", and an empty part means the
  # current directory, where anybody may have put a library.
  set_target_properties(quillfs PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
  if(BUILD_SHARED_LIBS)
    file(RELATIVE_PATH QUILL_BIN_TO_LIB "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    set_target_properties(quillfs PROPERTIES INSTALL_RPATH "$ORIGIN/${QUILL_BIN_TO_LIB}")
  endif()
  install(TARGETS quillfs RUNTIME COMPONENT tool)
endif()
