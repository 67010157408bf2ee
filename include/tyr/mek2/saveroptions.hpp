/// @file
/// Options of a write cycle.
///
/// @code
/// #include <tyr/mek2/model.hpp>
///
/// int main() {
///     Tyr::Mek2::SaverOptions options;
///     options.overwrite = true;
///     options.toolName = "my solver";
///     options.toolVersion = "1.2";
///     Tyr::Mek2::Model model;
///     model.saveTo("options.mek", options);
///     model.close();
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>

#include <string>

namespace Tyr::Mek2 {

/// The options of `Model::saveTo`, which copies them. Different objects may be used from different
/// threads at the same time.
struct SaverOptions {
    bool overwrite = false;    ///< false: an existing file is an error; true: it is replaced
    std::string toolName{};    ///< name of the writing program; if empty, none is written
    std::string toolVersion{}; ///< its version; used only if `toolName` is not empty
    std::string thirdText{};   ///< not used

    /// What happens to a new array if the first variable of the call is a link of an earlier call.
    /// False: the variable stays a link, no variable refers to the new array, and links can form
    /// circles. True: the variable becomes the owner of the new array.
    bool relinkReplaced = false;

    /// True: the write cycle can be recovered after the process was killed. A journal, the file
    /// NAME.journal, records what is not in the file yet; see `Model::checkpoint`. A `close` that
    /// succeeds removes it.
    bool journal = false;

    /// True: the file is written under a temporary name in the same folder and gets its name by a
    /// `close` that succeeds. Until then a file that it replaces is not touched. The permission
    /// bits of that file are kept. If the `Model` is destroyed without `close`, the temporary file
    /// is removed, unless a journal makes it recoverable.
    bool replaceWhenComplete = false;
};

/// What a checkpoint survives.
enum class Durability {
    Process, ///< any end of the process
    Device   ///< a power cut, too
};

} // namespace Tyr::Mek2
