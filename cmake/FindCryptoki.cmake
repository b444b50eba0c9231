# Finds the platform's PKCS #11 header; nothing is linked. Gives Cryptoki::Cryptoki.
find_path(Cryptoki_INCLUDE_DIR p11-kit/pkcs11.h PATH_SUFFIXES p11-kit-1)
mark_as_advanced(Cryptoki_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Cryptoki REQUIRED_VARS Cryptoki_INCLUDE_DIR)

if(Cryptoki_FOUND AND NOT TARGET Cryptoki::Cryptoki)
    add_library(Cryptoki::Cryptoki INTERFACE IMPORTED)
    set_target_properties(Cryptoki::Cryptoki PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES ${Cryptoki_INCLUDE_DIR})
endif()
