# Vesk::api: the stand-in of this tree, or the device's own core library.

if(VESK_API_PROVIDER STREQUAL "standin")
    add_subdirectory(src/lib/veskApi)
    return()
elseif(NOT VESK_API_PROVIDER STREQUAL "system")
    message(FATAL_ERROR "VESK_API_PROVIDER is '${VESK_API_PROVIDER}'; use 'standin' or 'system'.")
endif()

find_package(VeskApi REQUIRED)

include(CheckCXXSourceCompiles)
# vesk_api_must_have(<variable> <name> <headers> <code>): stops the configuration when <code> does not link.
function(vesk_api_must_have variable name header code)
    set(CMAKE_REQUIRED_LIBRARIES Vesk::api)
    set(CMAKE_REQUIRED_FLAGS "-fPIC")
    check_cxx_source_compiles("#include <${header}>\n#include <iostream>\nint main() { ${code} }" ${variable})
    if(NOT ${variable})
        message(FATAL_ERROR "${VESK_API_LIBRARY} offers no usable ${name}.")
    endif()
endfunction()
vesk_api_must_have(VESK_API_HAS_VALUE "VeskValue::string_" VeskValue.h "return VeskValue().string_().size();")
vesk_api_must_have(VESK_API_HAS_PATH "CMPath::fromEncoded" CMPath.h "CMPath::fromEncoded(QByteArray());")
vesk_api_must_have(VESK_API_HAS_ITEM "CMValueItem" CMValueItem.h
    "CMValueItem item{CMPath()}; QObject::connect(&item, &CMValueItem::changed, [](const VeskValue&, const VeskValue&) {});")
vesk_api_must_have(VESK_API_HAS_CONNECT "veskConnect" veskConnect.h
    "QObject o; veskConnect(&o, \"\", &o, \"\", Qt::AutoConnection); veskConnect(&o, &QObject::destroyed, &o, &QObject::deleteLater);")
vesk_api_must_have(VESK_API_HAS_DBGLOG "dbglog_scopedFunction" dbglog.h
    "std::cout << dbglog_scopedFunction(\"\", \"\");")
vesk_api_must_have(VESK_API_HAS_LEFT_UTF8 "QByteArray_leftUtf8" textStreams.h
    "return QByteArray_leftUtf8(QByteArray(), 63).size();")
vesk_api_must_have(VESK_API_HAS_STREAMS "stream output of QString and QByteArray" textStreams.h
    "std::cout << QString() << QByteArray();")
if(VESK_BUILD_TOOLS)
    vesk_api_must_have(VESK_API_HAS_STORE "CMValueItem::value and setValue, which the tool calls (see VESK_BUILD_TOOLS)"
        CMValueItem.h "CMValueItem item{CMPath()}; item.setValue(item.value()); return CMPath().isValid();")
endif()
