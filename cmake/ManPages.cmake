# Man pages of the programs, written by help2man from what --help prints.

find_program(HELP2MAN help2man REQUIRED)
mark_as_advanced(HELP2MAN)

# tyr_add_man_page(TARGET SUMMARY)
function(tyr_add_man_page target summary)
    set(page ${PROJECT_BINARY_DIR}/man/${target}.1)
    add_custom_command(OUTPUT ${page}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
        COMMAND ${HELP2MAN} --no-info --name=${summary} --version-string=${PROJECT_VERSION}
            --output=${page} $<TARGET_FILE:${target}>
        DEPENDS ${target}
        VERBATIM)
    add_custom_target(${target}_man ALL DEPENDS ${page})
    if(MEKAPI2_INSTALL)
        install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    endif()
endfunction()

tyr_add_man_page(frd2mek "convert result files of the solver CalculiX to model files")
tyr_add_man_page(mekdiff "compare two model files")
tyr_add_man_page(mekinfo "show, check and export model files")
tyr_add_man_page(mekrecover "make a complete model file of an unfinished one")
