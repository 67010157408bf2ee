# Defines GTest::gtest_main, from the installed package or, if the target system has none, from source.

find_package(GTest QUIET)
if(NOT GTest_FOUND)
    find_path(GOOGLETEST_SOURCE_DIR googletest/CMakeLists.txt
        PATHS /usr/src/googletest NO_CMAKE_FIND_ROOT_PATH REQUIRED
        DOC "Source tree of GoogleTest")
    set(BUILD_GMOCK OFF)
    set(BUILD_SHARED_LIBS OFF)
    set(INSTALL_GTEST OFF)
    set(gtest_force_shared_crt ON)
    add_subdirectory(${GOOGLETEST_SOURCE_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
