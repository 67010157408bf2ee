# Defines the target TyrVtk, VTK's XML writers, if they are installed.
#
# Debian's development package of VTK depends on Java, MPI and Qt. Only its headers and the run-time
# libraries are needed, so this module searches for them directly. MEKAPI2_VTK_HEADERS can name the
# folder of the headers.

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
    message(STATUS "VTK not found; compare runs without it")
endif()
