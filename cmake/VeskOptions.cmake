# What a builder can choose, and what follows for every target.

set(VESK_DNSSD_PROVIDER avahi CACHE STRING
    "DNS-SD client library: avahi (src/lib/dnssd) or system (an installed libdns_sd, see DNSSD_ROOT)")
set_property(CACHE VESK_DNSSD_PROVIDER PROPERTY STRINGS avahi system)
set(VESK_API_PROVIDER standin CACHE STRING
    "Core library: standin (src/lib/veskApi) or system (the device's own, see VESK_API_ROOT)")
set_property(CACHE VESK_API_PROVIDER PROPERTY STRINGS standin system)
set(VESK_SANITIZE "" CACHE STRING "Sanitizers for every target, e.g. address,undefined")

option(VESK_WERROR "Treat compiler warnings as errors" OFF)
option(VESK_COVERAGE "Instrument for line and branch coverage" OFF)
option(VESK_BUILD_TOOLS "Build the command-line tool" ON)
option(VESK_BUILD_EXAMPLES "Build the examples" ON)
option(VESK_BUILD_BENCH "Build the benchmarks" OFF)
option(VESK_BUILD_FUZZ "Build the fuzz targets (clang only)" OFF)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

if(VESK_SANITIZE)
    add_compile_options(-fsanitize=${VESK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VESK_SANITIZE})
endif()
if(VESK_COVERAGE)
    add_compile_options(--coverage -fprofile-abs-path)
    add_link_options(--coverage)
endif()
