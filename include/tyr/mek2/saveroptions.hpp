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

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Tyr::Mek2 {

/// Calls `task(0)` to `task(count - 1)`, each once, in any order and on any threads of the
/// application, and returns when all have returned. The tasks of the library throw no exception.
using ParallelFor =
    std::function<void(std::size_t count, const std::function<void(std::size_t)>& task)>;

/// The options of `Model::saveTo`, which copies them. Different objects may be used from different
/// threads at the same time.
struct SaverOptions {
    bool overwrite = false;    ///< false: an existing file is an error; true: it is replaced
    std::string toolName{};    ///< name of the writing program; if empty, none is written
    std::string toolVersion{}; ///< its version; used only if `toolName` is not empty
    std::string thirdText{};   ///< not used

    /// Applies if the first variable of a call of `addArrayProperty` is a link of an earlier call.
    /// False: the variable stays a link, no variable refers to the new array, and links can form
    /// circles. True: the variable becomes the owner of the new array.
    bool relinkReplaced = false;

    /// True: the file can be recovered if the process is killed; see `Model::checkpoint`. A second
    /// file, NAME.journal, records the calls and blocks of the write cycle. `close` removes it when
    /// the file is complete. If a journal of an earlier run exists, `saveTo` raises an exception;
    /// with `overwrite` it removes that journal and its temporary file.
    bool journal = false;

    /// True: the file is written under a temporary name in the same folder, and `close` renames it.
    /// Until then an existing file is unchanged. The new file gets the permission bits of the
    /// existing one. If `close` fails, or the `Model` is destroyed without `close`, the temporary
    /// file is removed, unless there is a journal.
    bool replaceWhenComplete = false;

    /// If not empty, this function runs tasks on threads of the application. They copy and shuffle
    /// large arrays, compress blocks in chunks, and write them. `<tyr/mek2/threads.hpp>` has such a
    /// function. The file has the same bytes for every number of threads, including one, and its
    /// content is that of a file without this option.
    ///
    /// An exception of the function ends the call of `Model`; all tasks must have ended before. A
    /// block that was not written is kept and written by a later call. After an error of `close`
    /// nothing more is written.
    ParallelFor parallelFor{};

    /// A block of arrays with this many bytes takes no more data. 0: the value of the environment
    /// variable MEKWRITER_DEFAULT_BLOCK_SIZE, or 200 MiB.
    std::uint32_t blockSize = 0;

    /// Of zlib or libdeflate, from 1 (fast) to 9 (small).
    int compressionLevel = 6;
};

/// The events after which a checkpoint can be recovered.
enum class Durability {
    Process, ///< any end of the process
    Device   ///< also a power failure
};

} // namespace Tyr::Mek2
