# Common settings of all targets: the language, the warnings, the sanitizers and the list of exports.

# velk_settings(<target>): C++20 and C99 without extensions. Warnings are errors in our own builds alone.
function(velk_settings target)
  # Names of sources in the symbols do not depend on where the checkout is, nor on a compiler cache, which passes the
  # compiler relative paths.
  file(RELATIVE_PATH to_sources ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  target_compile_features(${target} PRIVATE cxx_std_20 c_std_99)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF C_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                           $<$<BOOL:${VELK_DEVELOPER}>:-Werror;-g1>
                                           -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
                                           -ffile-prefix-map=${to_sources}=
    # GCC 12 warns falsely of an overlap inside std::string when text is prepended to a string.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
  if(VELK_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${VELK_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${VELK_SANITIZE})
  endif()
  if(VELK_WINDOWS_DEPS)
    target_compile_options(${target} PRIVATE -ffile-prefix-map=${VELK_WINDOWS_DEPS}/=)
  endif()
  if(WIN32)
    # Static run-time libraries avoid extra DLLs. Without a time stamp, builds are reproducible.
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++ -Wl,--no-insert-timestamp)
  endif()
endfunction()

# velk_exports(<target> <list>): exports exactly the listed names, on both platforms.
function(velk_exports target list)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} lines REGEX "^[A-Za-z]")
  set(definitions "LIBRARY LibVelkUpload\nEXPORTS\n")
  set(globals "")
  foreach(line IN LISTS lines)
    string(APPEND definitions "  ${line}\n")
    string(REGEX MATCH "^[A-Za-z]+" name "${line}")
    string(APPEND globals "  ${name};\n")
    if(NOT WIN32 AND line MATCHES "^([A-Za-z]+) = ([A-Za-z]+)$")
      target_link_options(${target} PRIVATE -Wl,--defsym=${CMAKE_MATCH_1}=${CMAKE_MATCH_2})
    endif()
  endforeach()

  if(WIN32)
    set(file ${PROJECT_BINARY_DIR}/LibVelkUpload.def)
    file(CONFIGURE OUTPUT ${file} CONTENT "${definitions}" @ONLY)
    target_sources(${target} PRIVATE ${file})
    set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME LibVelkUpload
                                               IMPORT_PREFIX "" IMPORT_SUFFIX .dll.a)
  else()
    set(file ${PROJECT_BINARY_DIR}/exports.map)
    file(CONFIGURE OUTPUT ${file} CONTENT "{\nglobal:\n${globals}local:\n  *;\n};\n" @ONLY)
    target_link_options(${target} PRIVATE -Wl,--version-script=${file})
  endif()
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${file} LINKER_LANGUAGE CXX)
endfunction()
