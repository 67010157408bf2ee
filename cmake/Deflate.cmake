# Sets TYR_DEFLATE_LIBRARY to the target of the library that compresses blocks; see MEKAPI2_DEFLATE.
# A static library's application links it too, so it is visible everywhere.

find_package(ZLIB REQUIRED GLOBAL) # compresses chunks, whichever library compresses whole blocks
if(MEKAPI2_DEFLATE STREQUAL "zlib")
    set(TYR_DEFLATE_LIBRARY ZLIB::ZLIB)
    set(TYR_DEFLATE_FLAG -lz)
elseif(MEKAPI2_DEFLATE STREQUAL "libdeflate")
    include(cmake/MekApi2Libdeflate.cmake)
    if(NOT TARGET MekApi2::Libdeflate)
        message(FATAL_ERROR "libdeflate was not found")
    endif()
    set(TYR_DEFLATE_LIBRARY MekApi2::Libdeflate ZLIB::ZLIB)
    set(TYR_DEFLATE_FLAG "-ldeflate -lz")
else()
    message(FATAL_ERROR "MEKAPI2_DEFLATE is '${MEKAPI2_DEFLATE}'; expected zlib or libdeflate")
endif()
