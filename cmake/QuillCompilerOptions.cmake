# The warnings with which everything of ours is built; errors where the presets ask for it.
function(quill_enable_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  # GCC 12 sees overlapping copies in "text" + std::string where there are none (GCC bug 105329).
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(QUILL_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# For what is shipped: the warnings, and in optimised builds the checks that cost next to nothing.
function(quill_compile_as_ours target)
  quill_enable_warnings(${target})
  if(NOT QUILL_HARDEN)
    return()
  endif()
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  target_compile_options(${target} PRIVATE
    "$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3;-fstack-protector-strong;-fstack-clash-protection>"
    "$<$<AND:${optimised},$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>>:-fcf-protection>"
    -D_GLIBCXX_ASSERTIONS
    # The same source gives the same library wherever it lies.
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_link_options(${target} PRIVATE "$<${optimised}:-pie>")
  endif()
  target_link_options(${target} PRIVATE "$<${optimised}:-Wl,-z,relro,-z,now>")
endfunction()
