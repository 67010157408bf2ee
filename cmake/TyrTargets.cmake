# How every target of this project is compiled.

function(tyr_set_warnings target)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    endif()
    set_target_properties(${target} PROPERTIES
        COMPILE_WARNING_AS_ERROR ${MEKAPI2_WARNINGS_AS_ERRORS})
endfunction()

function(tyr_set_fortran_warnings target)
    if(CMAKE_Fortran_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE
            -std=f2008 -Wall -Wextra -pedantic $<$<BOOL:${MEKAPI2_WARNINGS_AS_ERRORS}>:-Werror>)
    endif()
endfunction()

# Makes source paths relative in exceptions, log lines and debug information. If several maps match,
# one compiler applies the last and another the longest, so the longest are last.
function(tyr_map_source_paths target)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE
            -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
            -ffile-prefix-map=${PROJECT_BINARY_DIR}/=
            -ffile-prefix-map=${PROJECT_SOURCE_DIR}/include/=
            -ffile-prefix-map=${PROJECT_SOURCE_DIR}/src/=)
    endif()
endfunction()
