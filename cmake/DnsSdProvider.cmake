# Vesk::dnssd: the client library of this tree over Avahi, or an installed libdns_sd.

if(VESK_DNSSD_PROVIDER STREQUAL "avahi")
    add_subdirectory(src/lib/dnssd)
    return()
elseif(NOT VESK_DNSSD_PROVIDER STREQUAL "system")
    message(FATAL_ERROR "VESK_DNSSD_PROVIDER is '${VESK_DNSSD_PROVIDER}'; use 'avahi' or 'system'.")
endif()

find_package(DnsSd REQUIRED)

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
