# Debian packages, one for each component of the installation. scripts/package builds them.

# The name contains the version of the soname, so that two versions can be installed together.
set(runtime_package libmekapi2-${PROJECT_VERSION_MAJOR})
set(same_version "${runtime_package} (= ${PROJECT_VERSION})")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mekapi2)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The MekApi2 developers <developers@mekapi2.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# finds the libraries that are linked; this library itself belongs to no installed package yet
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# tyr_package(COMPONENT NAME SECTION DESCRIPTION [DEPENDS package...] [FIELDS name value...])
# The first line of the description is the summary.
macro(tyr_package component name section description)
    cmake_parse_arguments(package "" "" "DEPENDS;FIELDS" ${ARGN})
    string(TOUPPER ${component} key)
    list(JOIN package_DEPENDS ", " CPACK_DEBIAN_${key}_PACKAGE_DEPENDS)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${description}")
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name}
        RENAME copyright COMPONENT ${component} EXCLUDE_FROM_ALL)
    while(package_FIELDS)
        list(POP_FRONT package_FIELDS field value)
        set(CPACK_DEBIAN_${key}_PACKAGE_${field} "${value}")
    endwhile()
endmacro()

set(CPACK_COMPONENTS_ALL "")
tyr_package(runtime ${runtime_package} libs
    "writes simulation models into one compact file
The shared library, which engineering applications link to write a tree of
groups and shapes, meshes, results for any number of steps, placements,
materials and attributes."
    FIELDS PROVIDES "libmekapi2 (= ${PROJECT_VERSION})" MULTIARCH same
           CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
tyr_package(dev libmekapi2-dev libdevel
    "writes simulation models into one compact file - development files
What is needed to build an application: headers, a CMake package and a file
for pkg-config."
    DEPENDS ${same_version} libboost-dev
    FIELDS MULTIARCH same)
if(MEKAPI2_BUILD_TOOLS)
    tyr_package(tools mekapi2-tools science
        "converts, shows and checks files of simulation models
frd2mek converts the result files of the solver CalculiX. mekinfo shows and
checks a file, and exports it for VTK and ParaView."
        DEPENDS ${same_version})
endif()
if(MEKAPI2_BUILD_PYTHON)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    math(EXPR next_minor "${Python3_VERSION_MINOR} + 1")
    tyr_package(python python3-mekapi2 python
        "writes simulation models into one compact file - Python module
The module accepts NumPy arrays. python3 -m mekapi2.convert converts the mesh
files that meshio reads."
        DEPENDS ${same_version} python3-numpy
            "python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR})"
            "python3 (<< ${Python3_VERSION_MAJOR}.${next_minor})"
        FIELDS RECOMMENDS "python3-meshio, python3-rich"
               SUGGESTS "python3-h5py, python3-netcdf4")
endif()
include(CPack)
