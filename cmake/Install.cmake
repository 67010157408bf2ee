include(CMakePackageConfigHelpers)

# The component "runtime" is what an application needs to run, "dev" what its developers need.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME dev)

install(TARGETS MekApi2 EXPORT MekApi2Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
if(MEKAPI2_BUILD_TOOLS)
    install(TARGETS frd2mek mekdiff mekinfo mekrecover
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    # bash looks for a file with the name of the command
    foreach(program frd2mek mekinfo mekrecover mekdiff mekapi2-convert)
        install(FILES tools/completion/mekapi2.bash RENAME ${program} COMPONENT tools
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    endforeach()
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tyr DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MekApi2)
install(EXPORT MekApi2Targets NAMESPACE MekApi2:: DESTINATION ${package_dir})
if(MEKAPI2_BUILD_READER)
    install(TARGETS MekApi2Reader EXPORT MekApi2ReaderTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT reader)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/reader/include/mekreader
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT reader)
    install(EXPORT MekApi2ReaderTargets NAMESPACE MekApi2:: DESTINATION ${package_dir}
        COMPONENT reader)
endif()
if(MEKAPI2_BUILD_MPI)
    install(TARGETS MekApi2Mpi EXPORT MekApi2MpiTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT mpi)
    install(FILES ${PROJECT_SOURCE_DIR}/mpi/include/tyr/mek2/mpi.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tyr/mek2 COMPONENT mpi)
    install(EXPORT MekApi2MpiTargets NAMESPACE MekApi2:: DESTINATION ${package_dir}
        COMPONENT mpi)
endif()
if(MEKAPI2_BUILD_C)
    install(TARGETS mekapi2_c EXPORT MekApi2CTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT c_runtime NAMELINK_COMPONENT c
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT c
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT c_runtime)
    install(FILES bindings/c/include/mekapi2.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT c)
    install(EXPORT MekApi2CTargets NAMESPACE MekApi2:: DESTINATION ${package_dir} COMPONENT c)
endif()
if(MEKAPI2_BUILD_FORTRAN)
    install(TARGETS mekapi2_fortran EXPORT MekApi2FortranTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT fortran)
    install(FILES ${PROJECT_BINARY_DIR}/fortran/mekapi2.mod
        DESTINATION ${MEKAPI2_FORTRAN_MODULE_DIR} COMPONENT fortran)
    install(FILES bindings/fortran/mekapi2_c.f90 bindings/fortran/mekapi2.f90
        DESTINATION ${CMAKE_INSTALL_DATADIR}/mekapi2/fortran COMPONENT fortran)
    install(EXPORT MekApi2FortranTargets NAMESPACE MekApi2:: DESTINATION ${package_dir}
        COMPONENT fortran)
endif()
configure_package_config_file(cmake/MekApi2Config.cmake.in MekApi2Config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(MekApi2ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
        ${PROJECT_BINARY_DIR}/MekApi2Config.cmake
        ${PROJECT_BINARY_DIR}/MekApi2ConfigVersion.cmake
        cmake/MekApi2Boost.cmake
        cmake/MekApi2Libdeflate.cmake
    DESTINATION ${package_dir})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT license)

# The installation can be moved: paths are relative to the .pc file. In /usr they are absolute, so that
# pkg-config leaves out the folders that the compiler searches anyway.
file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
set(pc_libdir "\${prefix}")
cmake_path(APPEND pc_libdir "${CMAKE_INSTALL_LIBDIR}")
set(pc_includedir "\${prefix}")
cmake_path(APPEND pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
if(NOT BUILD_SHARED_LIBS)
    set(pc_cflags " -DMEKAPI2_STATIC")
    set(pc_libs " ${TYR_DEFLATE_FLAG}")
    set(pc_c_libs " -lMekApi2${pc_libs} -lstdc++ -lm -pthread")
endif()
set(pc_moduledir "\${prefix}")
cmake_path(APPEND pc_moduledir "${MEKAPI2_FORTRAN_MODULE_DIR}")

# install_pkg_config(NAME COMPONENT): installs NAME.pc from cmake/NAME.pc.in.
function(install_pkg_config name component)
    set(pc_prefix "\${pcfiledir}/${to_prefix}")
    configure_file(cmake/${name}.pc.in pkgconfig/moved/${name}.pc @ONLY)
    set(pc_prefix /usr)
    configure_file(cmake/${name}.pc.in pkgconfig/system/${name}.pc @ONLY)
    install(CODE "
        set(kind moved)
        if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
            set(kind system)
        endif()
        file(INSTALL \"${PROJECT_BINARY_DIR}/pkgconfig/\${kind}/${name}.pc\"
            DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
    " COMPONENT ${component})
endfunction()

install_pkg_config(mekapi2 dev)
if(MEKAPI2_BUILD_READER)
    install_pkg_config(mekapi2-reader reader)
endif()
if(MEKAPI2_BUILD_MPI)
    install_pkg_config(mekapi2-mpi mpi)
endif()
if(MEKAPI2_BUILD_C)
    install_pkg_config(mekapi2-c c)
endif()
if(MEKAPI2_BUILD_FORTRAN)
    install_pkg_config(mekapi2-fortran fortran)
endif()
