# Finds liboauth and defines the imported target OAuth::OAuth.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND AND NOT CMAKE_CROSSCOMPILING)
  pkg_check_modules(PC_OAuth QUIET oauth)
endif()

find_path(OAuth_INCLUDE_DIR oauth.h HINTS ${PC_OAuth_INCLUDE_DIRS})
find_library(OAuth_LIBRARY oauth HINTS ${PC_OAuth_LIBRARY_DIRS})

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OAuth
  REQUIRED_VARS OAuth_LIBRARY OAuth_INCLUDE_DIR VERSION_VAR PC_OAuth_VERSION)
mark_as_advanced(OAuth_INCLUDE_DIR OAuth_LIBRARY)

if(OAuth_FOUND AND NOT TARGET OAuth::OAuth)
  add_library(OAuth::OAuth UNKNOWN IMPORTED)
  set_target_properties(OAuth::OAuth PROPERTIES
    IMPORTED_LOCATION "${OAuth_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${OAuth_INCLUDE_DIR}")
endif()
