/// @file
/// Options of a write cycle.
#pragma once

#include <string>

namespace Tyr::Mek2 {

/// What `Model::saveTo` may do and what the file says about its writer.
struct SaverOptions {
    bool overwrite = false;    ///< false: a file that stands at the path is a failure
    std::string toolName{};    ///< name of the writing program; empty: none is written
    std::string toolVersion{}; ///< its version; used only if `toolName` is not empty
    std::string thirdText{};   ///< carried along, used by no operation
};

} // namespace Tyr::Mek2
