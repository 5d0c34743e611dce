# vesk_target(<target>): what every target of this project has in common.
function(vesk_target target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                             $<$<BOOL:${VESK_WERROR}>:-Werror>)
    # Log lines and assertions name sources from the project's root, wherever the tree was built.
    target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
    target_compile_definitions(${target} PRIVATE QT_DEPRECATED_WARNINGS QT_NO_KEYWORDS)
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden
                                               VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
endfunction()

# vesk_exports(<library>): exports only what exports.map beside its CMakeLists.txt names. Hidden visibility alone
# lets the templates of the standard library and of Qt out, which declare their own.
function(vesk_exports library)
    set(map "${CMAKE_CURRENT_SOURCE_DIR}/exports.map")
    target_link_options(${library} PRIVATE "LINKER:--version-script=${map}")
    set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS "${map}")
endfunction()
