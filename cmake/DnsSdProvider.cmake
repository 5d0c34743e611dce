# Vesk::dnssd: the client library of this tree over Avahi, or an installed libdns_sd.

if(VESK_DNSSD_PROVIDER STREQUAL "avahi")
    add_subdirectory(src/lib/dnssd)
    return()
elseif(NOT VESK_DNSSD_PROVIDER STREQUAL "system")
    message(FATAL_ERROR "VESK_DNSSD_PROVIDER is '${VESK_DNSSD_PROVIDER}'; use 'avahi' or 'system'.")
endif()

set(DNSSD_ROOT "" CACHE PATH "Where libdns_sd and dns_sd.h are installed")
find_path(DNSSD_INCLUDE_DIR dns_sd.h HINTS "${DNSSD_ROOT}" PATH_SUFFIXES include)
find_library(DNSSD_LIBRARY dns_sd HINTS "${DNSSD_ROOT}" PATH_SUFFIXES lib ${CMAKE_INSTALL_LIBDIR})
if(NOT DNSSD_INCLUDE_DIR OR NOT DNSSD_LIBRARY)
    message(FATAL_ERROR "No libdns_sd with dns_sd.h found; set DNSSD_ROOT to where it is installed, "
                        "or use VESK_DNSSD_PROVIDER=avahi.")
endif()

include(CheckLibraryExists)
get_filename_component(dnssd_library_dir "${DNSSD_LIBRARY}" DIRECTORY)
foreach(call IN ITEMS
        DNSServiceRegister DNSServiceBrowse DNSServiceResolve DNSServiceGetAddrInfo DNSServiceQueryRecord
        DNSServiceUpdateRecord DNSServiceRefSockFD DNSServiceProcessResult DNSServiceRefDeallocate
        TXTRecordCreate TXTRecordSetValue TXTRecordRemoveValue TXTRecordGetLength TXTRecordGetBytesPtr
        TXTRecordGetItemAtIndex TXTRecordDeallocate)
    check_library_exists(dns_sd ${call} "${dnssd_library_dir}" DNSSD_HAS_${call})
    if(NOT DNSSD_HAS_${call})
        message(FATAL_ERROR "${DNSSD_LIBRARY} lacks ${call}; choose another library with DNSSD_ROOT, "
                            "or use VESK_DNSSD_PROVIDER=avahi.")
    endif()
endforeach()

add_library(vesk_dnssd SHARED IMPORTED GLOBAL)
add_library(Vesk::dnssd ALIAS vesk_dnssd)
set_target_properties(vesk_dnssd PROPERTIES IMPORTED_LOCATION "${DNSSD_LIBRARY}"
                                            INTERFACE_INCLUDE_DIRECTORIES "${DNSSD_INCLUDE_DIR}")
