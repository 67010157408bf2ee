# VTK's XML writers, as the target TyrVtk if they are there.
#
# Debian's development package of VTK brings a Java kit, MPI and Qt along. Its headers and the
# libraries of the run-time package are all that is needed, so that they are looked for directly;
# the headers may lie in a folder of MEKAPI2_VTK_HEADERS.

find_path(VTK_INCLUDE_DIR vtkXMLUnstructuredGridWriter.h
    HINTS ${MEKAPI2_VTK_HEADERS}
    PATH_SUFFIXES vtk-9.1)
set(vtk_libraries)
foreach(module CommonCore CommonDataModel CommonExecutionModel IOCore IOXML sys)
    find_library(VTK_${module}_LIBRARY NAMES vtk${module}-9.1 libvtk${module}-9.1.so.1)
    list(APPEND vtk_libraries ${VTK_${module}_LIBRARY})
    mark_as_advanced(VTK_${module}_LIBRARY)
endforeach()
mark_as_advanced(VTK_INCLUDE_DIR)

if(VTK_INCLUDE_DIR AND NOT "${vtk_libraries}" MATCHES "NOTFOUND")
    add_library(TyrVtk INTERFACE IMPORTED)
    target_include_directories(TyrVtk SYSTEM INTERFACE ${VTK_INCLUDE_DIR})
    target_link_libraries(TyrVtk INTERFACE ${vtk_libraries})
else()
    message(STATUS "VTK was not found; compare leaves it out")
endif()
