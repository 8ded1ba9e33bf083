# Installs the library with its header and a package file, so that find_package(VelkUpload) finds it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS velkupload EXPORT VelkUpload)
install(FILES include/velk_upload.h TYPE INCLUDE)
if(WIN32)
  # Visual C++ makes an import library of its own from this.
  install(FILES ${PROJECT_BINARY_DIR}/LibVelkUpload.def TYPE LIB)
endif()
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/VelkUpload)
install(EXPORT VelkUpload NAMESPACE VelkUpload:: FILE VelkUploadConfig.cmake DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelkUploadConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelkUploadConfigVersion.cmake DESTINATION ${package})
