# Debian packages, one per component: run "cpack" in the build directory.

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME vesk-mdns)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package brings its own
set(CPACK_PACKAGE_CONTACT "The vesk-mdns maintainers <maintainers@users.noreply.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_COMPONENTS_ALL "")

find_program(GZIP gzip REQUIRED)
set(vesk_changelog "${PROJECT_BINARY_DIR}/changelog.gz")
execute_process(COMMAND "${GZIP}" -9nc "${PROJECT_SOURCE_DIR}/cmake/debian/changelog" OUTPUT_FILE "${vesk_changelog}")

# vesk_package(<component> <package> <section> <depends> <summary> <description>)
macro(vesk_package component package section depends summary description)
    string(TOUPPER ${component} upper)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
    install(FILES "${PROJECT_SOURCE_DIR}/cmake/debian/copyright" DESTINATION "${CMAKE_INSTALL_DOCDIR}/../${package}"
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES "${vesk_changelog}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/../${package}"
            COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

set(same "(= ${PROJECT_VERSION})")
set(runtime_depends "")
set(development_depends "libvesk-mdnshelpers1 ${same}, qtbase5-dev (>= 5.15)")
if(VESK_API_PROVIDER STREQUAL "standin")
    list(APPEND runtime_depends "libvesk-api1 ${same}")
    string(APPEND development_depends ", libvesk-api1 ${same}")
    vesk_package(Runtime_api libvesk-api1 libs ""
        "Configuration items and checked connections for Qt applications"
        "A stand-in for the core library of a device: configuration items kept in\nwatched files, connections that are checked, and text helpers.")
endif()
if(VESK_DNSSD_PROVIDER STREQUAL "avahi")
    list(APPEND runtime_depends "libvesk-dnssd1 ${same}")
    string(APPEND development_depends ", libvesk-dnssd1 ${same}")
    vesk_package(Runtime_dnssd libvesk-dnssd1 libs ""
        "DNS-SD client library over Avahi"
        "The dns_sd.h programming interface on top of the Avahi daemon, or of a\nresponder inside the process: one thread and one connection for a process,\nhowever many operations it runs.")
    set(CPACK_DEBIAN_RUNTIME_DNSSD_PACKAGE_RECOMMENDS "avahi-daemon")
endif()
list(JOIN runtime_depends ", " runtime_depends)

vesk_package(Runtime libvesk-mdnshelpers1 libs "${runtime_depends}"
    "DNS-SD advertising and browsing for Qt applications"
    "Advertises a service of a device on the local network and lists the services\nof others, by DNS-SD over multicast DNS, inside a Qt event loop.")
vesk_package(Development libvesk-mdnshelpers-dev libdevel "${development_depends}"
    "DNS-SD advertising and browsing for Qt applications (development files)"
    "Headers, CMake packages and pkg-config files for building applications that\nadvertise or list DNS-SD services.")
if(VESK_BUILD_TOOLS)
    vesk_package(Tools vesk-mdns-tools net "libvesk-mdnshelpers1 ${same}, ${runtime_depends}"
        "Command-line tool to browse and advertise DNS-SD services"
        "Browses, resolves and advertises services on the local network from a\nterminal or a script, and examines why that may not work.")
endif()

# Shared libraries tell the loader's cache about themselves.
foreach(component IN ITEMS RUNTIME RUNTIME_API RUNTIME_DNSSD)
    set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
endforeach()

include(CPack)
