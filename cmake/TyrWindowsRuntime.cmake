# Copies the DLLs of the compiler's runtime to the programs, in the build tree and in the package.
# Library and application must share one runtime: otherwise an exception thrown by one is not caught
# by the other.

if(NOT MINGW)
    return()
endif()

# tyr_add_windows_runtime(COMPILER NAME...): of the runtime of this compiler.
function(tyr_add_windows_runtime compiler)
    foreach(name ${ARGN})
        execute_process(COMMAND ${compiler} -print-file-name=${name}
            OUTPUT_VARIABLE runtime_dll OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${runtime_dll}")
            message(FATAL_ERROR "the compiler does not know where ${name} is")
        endif()
        file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
        execute_process(
            COMMAND ${CMAKE_STRIP} -o ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ${runtime_dll}
            COMMAND_ERROR_IS_FATAL ANY)
        if(MEKAPI2_INSTALL)
            install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}
                DESTINATION ${CMAKE_INSTALL_BINDIR})
        endif()
    endforeach()
endfunction()

tyr_add_windows_runtime(${CMAKE_CXX_COMPILER}
    libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
