# Installs the library, its header, and packages for find_package(VelkUpload) and pkg-config.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS velkupload EXPORT VelkUpload)
install(FILES include/velk_upload.h bindings/cpp/velk_upload.hpp bindings/cpp/velk_upload_results.hpp TYPE INCLUDE)
install(FILES LICENSE THIRD_PARTY_NOTICES DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses/velk-upload)
set(library_name velkupload)
if(WIN32)
  set(library_name :LibVelkUpload.dll.a) # the name of the file itself
  # The import library for Visual C++ is made from this file.
  install(FILES ${PROJECT_BINARY_DIR}/LibVelkUpload.def TYPE LIB)
endif()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/VelkUpload)
install(EXPORT VelkUpload NAMESPACE VelkUpload:: FILE VelkUploadTargets.cmake DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelkUploadConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES packaging/VelkUploadConfig.cmake ${PROJECT_BINARY_DIR}/VelkUploadConfigVersion.cmake
        DESTINATION ${package})
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
configure_file(packaging/velk-upload.pc.in ${PROJECT_BINARY_DIR}/velk-upload.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velk-upload.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
