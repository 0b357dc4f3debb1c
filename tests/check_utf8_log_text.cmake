# Fails when a library source hands local 8-bit text (qPrintable, toLocal8Bit) onward: the
# suite's logger reads UTF-8, and on Windows the local code page garbles every non-ASCII path.
# A line marked "local-8bit-by-design" is a protocol's own choice and is let through.
# Run with -DSOURCE_DIR=<project root>.
file(GLOB_RECURSE sources
     "${SOURCE_DIR}/src/*.cpp" "${SOURCE_DIR}/src/*.h"
     "${SOURCE_DIR}/suite/*.cpp" "${SOURCE_DIR}/suite/*.h")
set(found "")
foreach(source IN LISTS sources)
    file(STRINGS "${source}" hits REGEX "qPrintable\\(|toLocal8Bit\\(")
    foreach(hit IN LISTS hits)
        file(RELATIVE_PATH relative "${SOURCE_DIR}" "${source}")
        if(hit MATCHES "local-8bit-by-design")
            continue()
        endif()
        string(STRIP "${hit}" hit)
        string(APPEND found "\n  ${relative}: ${hit}")
    endforeach()
endforeach()
if(found)
    message(FATAL_ERROR "Local 8-bit text handed on; use qUtf8Printable or a QString:${found}")
endif()
message(STATUS "No local 8-bit text in ${SOURCE_DIR}/src or ${SOURCE_DIR}/suite")
