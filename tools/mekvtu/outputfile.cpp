#include "mekvtu/outputfile.hpp"

#include <cerrno>
#include <system_error>
#include <utility>

namespace MekVtu {

OutputError::OutputError(const std::filesystem::path& path, int systemError)
    : std::runtime_error(path.u8string() + ": " + std::generic_category().message(systemError)) {}

OutputFile::OutputFile(std::filesystem::path path) : path_(std::move(path)) {
    std::error_code ignored; // opening reports what is wrong with the path
    if (!std::filesystem::is_directory(std::filesystem::symlink_status(path_, ignored))) {
        std::filesystem::remove(path_, ignored);
    }
    errno = 0;
    stream_.open(path_, std::ios::binary | std::ios::trunc);
    if (!stream_) {
        fail();
    }
}

OutputFile::~OutputFile() {
    if (!isFinished_) {
        stream_.close();
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
}

void OutputFile::write(std::string_view bytes) {
    errno = 0;
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream_) {
        fail();
    }
}

void OutputFile::finish() {
    errno = 0;
    stream_.close();
    if (!stream_) {
        fail();
    }
    isFinished_ = true;
}

void OutputFile::fail() const { throw OutputError(path_, errno != 0 ? errno : EIO); }

} // namespace MekVtu
