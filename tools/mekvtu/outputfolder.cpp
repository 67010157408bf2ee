#include "mekvtu/outputfolder.hpp"

#include "console/error.hpp"

#include <system_error>

namespace MekVtu {

OutputFolder::~OutputFolder() {
    files_.clear();
    std::error_code ignored;
    while (!created_.empty()) {
        std::filesystem::remove(created_.back().path(), ignored); // fails if it is not empty
        created_.pop_back();
    }
}

/// Creates a folder and those above it, unless they exist.
void OutputFolder::createFolder(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        return;
    }
    if (path.has_relative_path() && path.has_parent_path()) {
        createFolder(path.parent_path());
    }
    Console::holdingSignals([&] {
        if (std::filesystem::create_directory(path, error)) {
            created_.emplace_back(path);
        }
    });
    if (error) {
        const bool isFile = error == std::errc::file_exists;
        throw Console::FileError(
            path_, Console::reasonOf(isFile ? make_error_code(std::errc::not_a_directory) : error));
    }
}

void OutputFolder::add(const std::string& name, const std::function<void(OutputFile&)>& write) {
    createFolder(path_);
    last_ = pathOf(name);
    OutputFile& file = files_.emplace_back(last_);
    write(file);
    file.close();
}

void OutputFolder::finish() {
    Console::holdingSignals([this] {
        std::error_code ignored;
        std::filesystem::remove(std::filesystem::canonical(last_, ignored), ignored);
        for (std::size_t i = 0; i < files_.size(); ++i) {
            try {
                files_[i].finish();
            } catch (const Console::FileError& error) {
                throw Console::FileError(files_[i].path(), error.reason() + progressOfFinish(i));
            }
        }
    });
}

std::string OutputFolder::progressOfFinish(std::size_t finished) const {
    const auto nameOf = [](const std::filesystem::path& path) {
        return path.filename().u8string();
    };
    return "; " + std::to_string(finished) + " of " + std::to_string(files_.size()) +
           " files are new" +
           (finished == 0 ? "" : ", the last one " + nameOf(files_[finished - 1].path())) +
           ", and there is no " + nameOf(last_);
}

} // namespace MekVtu
