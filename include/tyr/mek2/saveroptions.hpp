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

    /// What an array becomes whose first variable is a link from an earlier call. False: the link
    /// stays a link; its data can be reached only through its owner, and links can form circles.
    /// True: the variable becomes the owner of the new array.
    bool relinkReplaced = false;
};

} // namespace Tyr::Mek2
