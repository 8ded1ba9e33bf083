# What every binary of a release gets: its version, and symbols in a file of their own.

# velk_ships(<target> <description>): adds a version resource for Windows, and moves the symbols of the built file to
# FILE.debug. Debuggers find that file by the build ID in both, or by its name.
function(velk_ships target description)
  if(NOT VELK_DEVELOPER OR VELK_SANITIZE)
    return()
  endif()
  target_link_options(${target} PRIVATE -Wl,--build-id=sha1)
  # The length of an absolute path would stay visible in the installed file.
  set_target_properties(${target} PROPERTIES BUILD_RPATH_USE_ORIGIN ON)
  if(WIN32)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL EXECUTABLE)
      set(file_type VFT_APP)
      set(file_name ${target}.exe)
      set(manifest_line "1 24 \"${PROJECT_SOURCE_DIR}/packaging/program.manifest\"")
    else()
      set(file_type VFT_DLL)
      set(file_name LibVelkUpload.dll)
      set(manifest_line "")
    endif()
    configure_file(${PROJECT_SOURCE_DIR}/packaging/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    set_property(SOURCE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc APPEND PROPERTY
      OBJECT_DEPENDS ${PROJECT_SOURCE_DIR}/packaging/program.manifest)
  endif()
  add_custom_command(TARGET ${target} POST_BUILD VERBATIM
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
    COMMAND ${CMAKE_STRIP} --strip-all $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>)
endfunction()
