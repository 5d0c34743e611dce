# What is installed, where, and how other projects find it.
#
# Components: Runtime_api, Runtime_dnssd, Runtime (the libraries), Development (headers, CMake packages, pkg-config
# files) and Tools.

include(CMakePackageConfigHelpers)

set(vesk_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/VeskMDnsHelpers")
set(vesk_exported_targets "")

# vesk_install_library(<target> <runtime component> <header directory below include/>)
function(vesk_install_library target component header_dir)
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${header_dir}>)
    install(TARGETS ${target} EXPORT VeskMDnsHelpersTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}
                NAMELINK_COMPONENT Development
        PUBLIC_HEADER DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${header_dir}" COMPONENT Development)
endfunction()

# vesk_install_pkgconfig(<name> <description> <library> <header directory> <requires>)
function(vesk_install_pkgconfig name description library header_dir requires)
    set(PC_NAME ${name})
    set(PC_DESCRIPTION ${description})
    set(PC_LIBRARY ${library})
    set(PC_HEADER_DIR ${header_dir})
    set(PC_REQUIRES ${requires})
    # The file finds its prefix from its own place, so that an installed tree can be moved.
    file(RELATIVE_PATH PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/vesk.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
            COMPONENT Development)
endfunction()

vesk_install_library(vesk_mdnsHelpers Runtime vesk-mdnshelpers)
if(VESK_API_PROVIDER STREQUAL "standin")
    vesk_install_library(vesk_api Runtime_api vesk-api)
    vesk_install_pkgconfig(vesk-api "Stand-in for the device's core library" vesk_api vesk-api "Qt5Core >= 5.15")
    vesk_install_pkgconfig(vesk-mdnshelpers "DNS-SD advertising and browsing for Qt applications"
                           vesk_mdnsHelpers vesk-mdnshelpers "vesk-api Qt5Core >= 5.15 Qt5Network >= 5.15")
endif()
if(VESK_DNSSD_PROVIDER STREQUAL "avahi")
    vesk_install_library(vesk_dnssd Runtime_dnssd vesk-dnssd)
    install(TARGETS vesk_dnssd_headers EXPORT VeskMDnsHelpersTargets)
    install(FILES src/lib/dnssd/include/dns_sd.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vesk-dnssd"
            COMPONENT Development)
    # In a directory of its own: whoever wants it puts it before the system's at load time.
    install(TARGETS vesk_dnssd_dropin LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/vesk-dnssd"
            COMPONENT Runtime_dnssd NAMELINK_SKIP)
    vesk_install_pkgconfig(vesk-dnssd "DNS-SD client library over Avahi" vesk_dnssd vesk-dnssd "")
endif()

install(EXPORT VeskMDnsHelpersTargets NAMESPACE Vesk:: DESTINATION "${vesk_cmake_dir}" COMPONENT Development)
configure_package_config_file(cmake/VeskMDnsHelpersConfig.cmake.in
    "${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfig.cmake" INSTALL_DESTINATION "${vesk_cmake_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfig.cmake"
              "${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfigVersion.cmake"
        DESTINATION "${vesk_cmake_dir}" COMPONENT Development)

if(VESK_BUILD_TOOLS)
    install(TARGETS vesk-mdns RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tools)
endif()
