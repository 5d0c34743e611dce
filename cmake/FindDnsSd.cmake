# Vesk::dnssd: an installed libdns_sd with dns_sd.h, below DNSSD_ROOT. A package that was built on it installs this
# file, too, and finds the library again with it.

set(DNSSD_ROOT "" CACHE PATH "Where libdns_sd and dns_sd.h are installed")
set(dnssd_search "")
if(DNSSD_ROOT)
    set(dnssd_search PATHS "${DNSSD_ROOT}" NO_DEFAULT_PATH)
endif()
find_path(DNSSD_INCLUDE_DIR dns_sd.h ${dnssd_search} PATH_SUFFIXES include)
find_library(DNSSD_LIBRARY dns_sd ${dnssd_search}
             PATH_SUFFIXES lib lib64 "lib/${CMAKE_LIBRARY_ARCHITECTURE}" "${CMAKE_INSTALL_LIBDIR}")

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(DnsSd
    REQUIRED_VARS DNSSD_LIBRARY DNSSD_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "No libdns_sd with dns_sd.h: set DNSSD_ROOT to where it is installed.")
if(DnsSd_FOUND AND NOT TARGET Vesk::dnssd)
    add_library(Vesk::dnssd SHARED IMPORTED GLOBAL)
    set_target_properties(Vesk::dnssd PROPERTIES IMPORTED_LOCATION "${DNSSD_LIBRARY}"
                                                 INTERFACE_INCLUDE_DIRECTORIES "${DNSSD_INCLUDE_DIR}")
endif()
