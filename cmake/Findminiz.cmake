# Finds an installed miniz. Gives miniz::miniz; the header is included as <miniz.h>.
find_path(miniz_INCLUDE_DIR miniz.h PATH_SUFFIXES miniz)
find_library(miniz_LIBRARY NAMES miniz)
mark_as_advanced(miniz_INCLUDE_DIR miniz_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(miniz REQUIRED_VARS miniz_LIBRARY miniz_INCLUDE_DIR)

if(miniz_FOUND AND NOT TARGET miniz::miniz)
    add_library(miniz::miniz UNKNOWN IMPORTED)
    set_target_properties(miniz::miniz PROPERTIES
        IMPORTED_LOCATION ${miniz_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${miniz_INCLUDE_DIR})
endif()
