# Compiler settings shared by every target of the project.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

find_program(KORVEX_CCACHE ccache)
if(KORVEX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KORVEX_CCACHE}")
endif()

# Log lines carry file, line and function in release builds too.
add_compile_definitions(QT_MESSAGELOGCONTEXT)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    add_compile_options(-Wall -Wextra -Wno-unused-parameter)
endif()

if(KORVEX_SANITIZE)
    set(_korvex_san -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_compile_options(${_korvex_san})
    add_link_options(${_korvex_san})
endif()

set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)

# Log lines name their source relative to the library that holds it (root: the library's
# source folder), the same in every build wherever the tree was checked out. Each source gets
# its path as a definition: __FILE__ depends on how the build and a compiler cache spell it.
# Call after all of the target's sources are added; generated sources outside root keep
# __FILE__.
function(korvex_log_source_paths target root)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        if(source MATCHES "^\\$<")
            continue()
        endif()
        if(IS_ABSOLUTE "${source}")
            set(absolute "${source}")
        else()
            set(absolute "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
        endif()
        file(RELATIVE_PATH relative "${root}" "${absolute}")
        if(relative MATCHES "^\\.\\./" OR IS_ABSOLUTE "${relative}"
           OR NOT source MATCHES "\\.(cpp|cc|cxx|c)$")
            continue()
        endif()
        set_property(SOURCE "${source}" APPEND PROPERTY COMPILE_DEFINITIONS
                     "KORVEX_LOG_SOURCE_FILE=\"${relative}\"")
    endforeach()
endfunction()
