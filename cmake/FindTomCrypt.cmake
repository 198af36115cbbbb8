# LibTomCrypt with LibTomMath as its big-number provider, as the target TomCrypt::TomCrypt.
find_path(TomCrypt_INCLUDE_DIR tomcrypt.h)
find_library(TomCrypt_LIBRARY tomcrypt)
find_library(TomMath_LIBRARY tommath)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(TomCrypt
    REQUIRED_VARS TomCrypt_LIBRARY TomMath_LIBRARY TomCrypt_INCLUDE_DIR)
mark_as_advanced(TomCrypt_INCLUDE_DIR TomCrypt_LIBRARY TomMath_LIBRARY)

if(TomCrypt_FOUND AND NOT TARGET TomCrypt::TomCrypt)
    add_library(TomCrypt::TomCrypt UNKNOWN IMPORTED)
    # LTM_DESC declares the descriptor of LibTomMath.
    set_target_properties(TomCrypt::TomCrypt PROPERTIES
        IMPORTED_LOCATION "${TomCrypt_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${TomCrypt_INCLUDE_DIR}"
        INTERFACE_COMPILE_DEFINITIONS LTM_DESC
        INTERFACE_LINK_LIBRARIES "${TomMath_LIBRARY};$<$<PLATFORM_ID:Windows>:advapi32>")
endif()
