# Man pages of the programs, written by help2man from what --help prints.

find_program(HELP2MAN help2man REQUIRED)
mark_as_advanced(HELP2MAN)

# tyr_add_man_page(TARGET SUMMARY [PROGRAM DEPENDENCY COMPONENT])
# TARGET is a program of this project, or PROGRAM is a script that DEPENDENCY makes runnable.
function(tyr_add_man_page target summary)
    set(page ${PROJECT_BINARY_DIR}/man/${target}.1)
    set(program $<TARGET_FILE:${target}>)
    set(dependency ${target})
    set(component tools)
    if(ARGC GREATER 2)
        list(GET ARGN 0 program)
        list(GET ARGN 1 dependency)
        list(GET ARGN 2 component)
    endif()
    add_custom_command(OUTPUT ${page}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
        COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${PROJECT_BINARY_DIR}/python
            PYTHONDONTWRITEBYTECODE=1 ${HELP2MAN} --no-info --name=${summary}
            --version-string=${PROJECT_VERSION} --output=${page} ${program}
        DEPENDS ${dependency}
        VERBATIM)
    add_custom_target(${target}_man ALL DEPENDS ${page})
    if(MEKAPI2_INSTALL)
        install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
    endif()
endfunction()

tyr_add_man_page(frd2mek "convert result files of the solver CalculiX to model files")
tyr_add_man_page(mekdiff "compare two model files")
tyr_add_man_page(mekinfo "show, check and export model files")
tyr_add_man_page(mekrecover "make a complete model file of an unfinished one")
if(MEKAPI2_BUILD_PYTHON)
    tyr_add_man_page(mekapi2-convert "convert mesh files to model files and back"
        ${PROJECT_SOURCE_DIR}/python/bin/mekapi2-convert mekapi2_python python)
endif()
