#----------------------------------------------------------------
# Generated CMake target import file for configuration "Release".
#----------------------------------------------------------------

# Commands may need to know the format version.
set(CMAKE_IMPORT_FILE_VERSION 1)

# Import target "cconvert::cconvert" for configuration "Release"
set_property(TARGET cconvert::cconvert APPEND PROPERTY IMPORTED_CONFIGURATIONS RELEASE)
set_target_properties(cconvert::cconvert PROPERTIES
  IMPORTED_LINK_DEPENDENT_LIBRARIES_RELEASE "cconvert::kvutil"
  IMPORTED_LOCATION_RELEASE "${_IMPORT_PREFIX}/lib/libcconvert.so.1.0.0"
  IMPORTED_SONAME_RELEASE "libcconvert.so.1"
  )

list(APPEND _cmake_import_check_targets cconvert::cconvert )
list(APPEND _cmake_import_check_files_for_cconvert::cconvert "${_IMPORT_PREFIX}/lib/libcconvert.so.1.0.0" )

# Import target "cconvert::kvutil" for configuration "Release"
set_property(TARGET cconvert::kvutil APPEND PROPERTY IMPORTED_CONFIGURATIONS RELEASE)
set_target_properties(cconvert::kvutil PROPERTIES
  IMPORTED_LOCATION_RELEASE "${_IMPORT_PREFIX}/lib/libkvutil.so.1.0.0"
  IMPORTED_SONAME_RELEASE "libkvutil.so.1"
  )

list(APPEND _cmake_import_check_targets cconvert::kvutil )
list(APPEND _cmake_import_check_files_for_cconvert::kvutil "${_IMPORT_PREFIX}/lib/libkvutil.so.1.0.0" )

# Import target "cconvert::ycbcr" for configuration "Release"
set_property(TARGET cconvert::ycbcr APPEND PROPERTY IMPORTED_CONFIGURATIONS RELEASE)
set_target_properties(cconvert::ycbcr PROPERTIES
  IMPORTED_LOCATION_RELEASE "${_IMPORT_PREFIX}/lib/libycbcr.so.1.0.0"
  IMPORTED_SONAME_RELEASE "libycbcr.so.1"
  )

list(APPEND _cmake_import_check_targets cconvert::ycbcr )
list(APPEND _cmake_import_check_files_for_cconvert::ycbcr "${_IMPORT_PREFIX}/lib/libycbcr.so.1.0.0" )

# Commands beyond this point should not need to know the version.
set(CMAKE_IMPORT_FILE_VERSION)
