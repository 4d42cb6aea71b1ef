# How everything here is compiled: language, warnings, visibility, sanitizers.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
# Unique symbols would keep a library in memory after dlclose.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

if(QXTNG_SANITIZE)
    add_compile_options(-fsanitize=${QXTNG_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${QXTNG_SANITIZE})
    # What the sanitizers add hides from g++ that the standard library's own objects are initialised.
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# A shared library whose exports are the ones that its version script lists.
function(qxtng_add_library name)
    add_library(${name} SHARED ${ARGN})
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)
    set(script ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
    target_link_options(${name} PRIVATE LINKER:--version-script=${script} LINKER:--no-undefined-version
                        LINKER:--as-needed)
    if(NOT QXTNG_SANITIZE)
        target_link_options(${name} PRIVATE LINKER:-z,defs)
    endif()
    # The same path in the build as when installed: it would be padded otherwise, with elements that mean the
    # current folder.
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${script} BUILD_WITH_INSTALL_RPATH ON
                          INSTALL_RPATH "$ORIGIN")
endfunction()
