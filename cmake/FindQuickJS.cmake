# Finds an installed QuickJS. Gives QuickJS::QuickJS; the header is included as <quickjs.h>.
find_path(QuickJS_INCLUDE_DIR quickjs.h PATH_SUFFIXES quickjs)
find_library(QuickJS_LIBRARY NAMES quickjs PATH_SUFFIXES quickjs)
mark_as_advanced(QuickJS_INCLUDE_DIR QuickJS_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(QuickJS REQUIRED_VARS QuickJS_LIBRARY QuickJS_INCLUDE_DIR)

if(QuickJS_FOUND AND NOT TARGET QuickJS::QuickJS)
    add_library(QuickJS::QuickJS UNKNOWN IMPORTED)
    set_target_properties(QuickJS::QuickJS PROPERTIES
        IMPORTED_LOCATION ${QuickJS_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${QuickJS_INCLUDE_DIR}
        INTERFACE_LINK_LIBRARIES "m;${CMAKE_DL_LIBS}")
endif()
