# The target VelkUpload::velkupload.
include("${CMAKE_CURRENT_LIST_DIR}/VelkUploadTargets.cmake")
if(MSVC)
  # This compiler links another form of the import library.
  get_property(velk_configurations TARGET VelkUpload::velkupload PROPERTY IMPORTED_CONFIGURATIONS)
  foreach(velk_configuration IN LISTS velk_configurations)
    get_property(velk_implib TARGET VelkUpload::velkupload PROPERTY IMPORTED_IMPLIB_${velk_configuration})
    string(REPLACE .dll.a .lib velk_implib "${velk_implib}")
    set_property(TARGET VelkUpload::velkupload PROPERTY IMPORTED_IMPLIB_${velk_configuration} "${velk_implib}")
  endforeach()
endif()
