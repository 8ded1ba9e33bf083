# Installs the library, its header and a CMake package for find_package(VelkUpload).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS velkupload EXPORT VelkUpload)
install(FILES include/velk_upload.h TYPE INCLUDE)
install(FILES LICENSE THIRD_PARTY_NOTICES TYPE DOC)
if(WIN32)
  # Visual C++ users generate their own import library from this file.
  install(FILES ${PROJECT_BINARY_DIR}/LibVelkUpload.def TYPE LIB)
endif()
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/VelkUpload)
install(EXPORT VelkUpload NAMESPACE VelkUpload:: FILE VelkUploadConfig.cmake DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelkUploadConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelkUploadConfigVersion.cmake DESTINATION ${package})
