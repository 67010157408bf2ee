#include "mekvtu/outputfile.hpp"

#include "console/error.hpp"

#include <cerrno>

namespace MekVtu {

OutputFile::OutputFile(const std::filesystem::path& path, bool overwrite)
    : path_(path), target_(path, overwrite) {
    errno = 0;
    stream_.open(target_.unfinishedPath(), std::ios::binary | std::ios::trunc);
    if (!stream_) {
        fail();
    }
}

void OutputFile::write(std::string_view bytes) {
    errno = 0;
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream_) {
        fail();
    }
}

void OutputFile::close() {
    errno = 0;
    stream_.close();
    if (!stream_) {
        fail();
    }
}

void OutputFile::fail() const {
    throw Console::FileError(path_, Console::reasonOf(errno != 0 ? errno : EIO));
}

} // namespace MekVtu
