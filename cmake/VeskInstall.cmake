# What is installed, where, and how other projects find it.
#
# Components: Runtime_api, Runtime_dnssd, Runtime (the libraries), Development (headers, CMake packages, pkg-config
# files) and Tools.

include(CMakePackageConfigHelpers)

set(vesk_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/VeskMDnsHelpers")
set(vesk_exported_targets "")

# What is installed below a system's prefix is found by the loader; elsewhere the libraries find each other, so that an
# installed tree can be moved. What is installed in another place (VESK_API_ROOT, DNSSD_ROOT) is found there.
set(vesk_beside "")
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(vesk_beside "$ORIGIN")
endif()
function(vesk_install_rpath target beside)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "${beside}" INSTALL_RPATH_USE_LINK_PATH ON)
endfunction()

# vesk_install_library(<target> <runtime component> <header directory below include/>)
function(vesk_install_library target component header_dir)
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${header_dir}>)
    install(TARGETS ${target} EXPORT VeskMDnsHelpersTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}
                NAMELINK_COMPONENT Development
        PUBLIC_HEADER DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${header_dir}" COMPONENT Development)
endfunction()

# vesk_install_pkgconfig(<name> <description> <library> <header directory> <requires> [<variables> <cflags> <libs>])
function(vesk_install_pkgconfig name description library header_dir requires)
    list(APPEND ARGN "" "" "")
    list(GET ARGN 0 PC_VARIABLES)
    list(GET ARGN 1 PC_CFLAGS)
    list(GET ARGN 2 PC_LIBS)
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

# Where the pkg-config file says what the package's configuration finds again.
set(mdnshelpers_requires "Qt5Core >= 5.15 Qt5Network >= 5.15")
set(mdnshelpers_variables "")
set(mdnshelpers_cflags "")
set(mdnshelpers_libs "")

vesk_install_library(vesk_mdnsHelpers Runtime vesk-mdnshelpers)
vesk_install_rpath(vesk_mdnsHelpers "${vesk_beside}")
if(VESK_API_PROVIDER STREQUAL "standin")
    vesk_install_library(vesk_api Runtime_api vesk-api)
    vesk_install_pkgconfig(vesk-api "Stand-in for the device's core library" vesk_api vesk-api "Qt5Core >= 5.15")
    string(PREPEND mdnshelpers_requires "vesk-api ")
else()
    get_filename_component(vesk_api_libdir "${VESK_API_LIBRARY}" DIRECTORY)
    string(APPEND mdnshelpers_variables
           "vesk_api_libdir=${vesk_api_libdir}\nvesk_api_includedir=${VESK_API_INCLUDE_DIR}\n")
    string(APPEND mdnshelpers_cflags " -I\${vesk_api_includedir}")
    string(APPEND mdnshelpers_libs " -L\${vesk_api_libdir} -lvesk_api")
    install(FILES cmake/FindVeskApi.cmake DESTINATION "${vesk_cmake_dir}" COMPONENT Development)
endif()
if(VESK_DNSSD_PROVIDER STREQUAL "avahi")
    vesk_install_library(vesk_dnssd Runtime_dnssd vesk-dnssd)
    install(TARGETS vesk_dnssd_headers EXPORT VeskMDnsHelpersTargets)
    install(FILES src/lib/dnssd/include/dns_sd.h src/lib/dnssd/include/vesk_dnssd.h
                  src/lib/dnssd/include/vesk_dnssd_memory.h
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vesk-dnssd" COMPONENT Development)
    # In a directory of its own, which goes before the system's at load time where it is wanted; with the plain name,
    # too, which some programs load at run time.
    install(TARGETS vesk_dnssd_dropin LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/vesk-dnssd"
            COMPONENT Runtime_dnssd)
    vesk_install_pkgconfig(vesk-dnssd "DNS-SD client library over Avahi" vesk_dnssd vesk-dnssd "")
    # Headers alone, for tests of applications.
    target_include_directories(vesk_mdnsTesting INTERFACE
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vesk-mdnstesting>)
    install(TARGETS vesk_mdnsTesting EXPORT VeskMDnsHelpersTargets)
    install(DIRECTORY src/lib/mdnsTesting/include/ DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vesk-mdnstesting"
            COMPONENT Development)
    vesk_install_pkgconfig(vesk-mdnstesting "A network in memory for tests of applications" vesk_dnssd
                           vesk-mdnstesting "vesk-dnssd Qt5Core >= 5.15 Qt5Network >= 5.15")
else()
    get_filename_component(dnssd_libdir "${DNSSD_LIBRARY}" DIRECTORY)
    string(APPEND mdnshelpers_variables "dnssd_libdir=${dnssd_libdir}\n")
    string(APPEND mdnshelpers_libs " -Wl,-rpath-link,\${dnssd_libdir}")
    install(FILES cmake/FindDnsSd.cmake DESTINATION "${vesk_cmake_dir}" COMPONENT Development)
endif()
vesk_install_pkgconfig(vesk-mdnshelpers "DNS-SD advertising and browsing for Qt applications"
                       vesk_mdnsHelpers vesk-mdnshelpers "${mdnshelpers_requires}"
                       "${mdnshelpers_variables}" "${mdnshelpers_cflags}" "${mdnshelpers_libs}")

install(EXPORT VeskMDnsHelpersTargets NAMESPACE Vesk:: DESTINATION "${vesk_cmake_dir}" COMPONENT Development)
configure_package_config_file(cmake/VeskMDnsHelpersConfig.cmake.in
    "${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfig.cmake" INSTALL_DESTINATION "${vesk_cmake_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfig.cmake"
              "${PROJECT_BINARY_DIR}/VeskMDnsHelpersConfigVersion.cmake"
        DESTINATION "${vesk_cmake_dir}" COMPONENT Development)

if(VESK_BUILD_TOOLS)
    file(RELATIVE_PATH vesk_bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    if(vesk_beside)
        vesk_install_rpath(vesk-mdns "${vesk_beside}/${vesk_bin_to_lib}")
    else()
        vesk_install_rpath(vesk-mdns "")
    endif()
    install(TARGETS vesk-mdns RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tools)
endif()
