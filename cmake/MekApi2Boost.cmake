# Defines Boost::headers, which the public headers need. Boost's own CMake package is preferred. A
# cross build often has none for its target, but the headers alone are enough.
if(NOT TARGET Boost::headers)
    find_package(Boost CONFIG QUIET GLOBAL)
endif()
if(NOT TARGET Boost::headers)
    find_path(MEKAPI2_BOOST_INCLUDE_DIR boost/variant.hpp)
    mark_as_advanced(MEKAPI2_BOOST_INCLUDE_DIR)
    if(MEKAPI2_BOOST_INCLUDE_DIR)
        add_library(Boost::headers INTERFACE IMPORTED GLOBAL)
        target_include_directories(Boost::headers INTERFACE ${MEKAPI2_BOOST_INCLUDE_DIR})
    endif()
endif()
