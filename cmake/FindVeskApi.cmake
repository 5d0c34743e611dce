# Vesk::api: the device's own core library, libvesk_api with its headers, below VESK_API_ROOT. A package that was built
# on it installs this file, too, and finds the library again with it.

set(VESK_API_ROOT "" CACHE PATH "Where the device's core library is installed")
set(vesk_api_search "")
if(VESK_API_ROOT)
    set(vesk_api_search PATHS "${VESK_API_ROOT}" NO_DEFAULT_PATH)
endif()
find_path(VESK_API_INCLUDE_DIR CMValueItem.h ${vesk_api_search} PATH_SUFFIXES include include/vesk-api)
find_library(VESK_API_LIBRARY vesk_api ${vesk_api_search}
             PATH_SUFFIXES lib lib64 "lib/${CMAKE_LIBRARY_ARCHITECTURE}" "${CMAKE_INSTALL_LIBDIR}")

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(VeskApi
    REQUIRED_VARS VESK_API_LIBRARY VESK_API_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "No libvesk_api with CMValueItem.h: set VESK_API_ROOT to where it is installed.")
if(VeskApi_FOUND AND NOT TARGET Vesk::api)
    add_library(Vesk::api SHARED IMPORTED GLOBAL)
    set_target_properties(Vesk::api PROPERTIES IMPORTED_LOCATION "${VESK_API_LIBRARY}"
                                               INTERFACE_INCLUDE_DIRECTORIES "${VESK_API_INCLUDE_DIR}"
                                               INTERFACE_LINK_LIBRARIES Qt5::Core)
endif()
