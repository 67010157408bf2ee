# Cross build for 64-bit Windows with Debian's g++-mingw-w64-x86-64-posix; programs run under wine.
#
# A project that uses the installed package adds its folder to CMAKE_FIND_ROOT_PATH.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_Fortran_COMPILER ${triple}-gfortran-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# Boost, CLI11, Eigen and nlohmann-json consist of headers, so the host's are used. The compiler sees
# them through a folder of links, because the host's other headers must not be on its path.
set(header_only_root ${CMAKE_BINARY_DIR}/header-only)
get_property(in_try_compile GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT in_try_compile)
    foreach(folder include/boost include/CLI include/eigen3 include/nlohmann share/cmake/CLI11
            share/cmake/nlohmann_json share/eigen3)
        cmake_path(GET folder PARENT_PATH parent)
        file(MAKE_DIRECTORY ${header_only_root}/${parent})
        file(CREATE_LINK /usr/${folder} ${header_only_root}/${folder} SYMBOLIC)
    endforeach()
endif()

list(APPEND CMAKE_FIND_ROOT_PATH /usr/${triple} ${header_only_root})
list(REMOVE_DUPLICATES CMAKE_FIND_ROOT_PATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine)
