#include "tyr/qbf/qbfile.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/log/logsystem.hpp"
#include "tyr/platform/platform.hpp"

namespace TyrQbf {

const std::array<unsigned char, 8> FileSignature = {0x89, 'Q', 'B', 'F', 0x0D, 0x0A, 0x1A, 0x0A};
const std::array<unsigned char, 4> FileFormatVersion = {'1', '.', '3', 0};

namespace {

std::string UnableToOpen(const std::string& path) { return "Unable to open file \"" + path + '"'; }

std::string LowBytes(const std::wstring& path) {
    std::string bytes;
    for (const wchar_t character : path) {
        bytes += static_cast<char>(static_cast<unsigned char>(character));
    }
    return bytes;
}

} // namespace

QbFile::~QbFile() {
    try {
        QbFile::CloseFile();
    } catch (...) {
        // only the log lines can fail; the stream is closed all the same
        if (stream != nullptr) {
            std::fclose(stream);
        }
    }
}

void QbFile::CloseFile() {
    TYR_LOG("TyrQbf::QbFile::CloseFile", "Closing file ...");
    if (stream != nullptr) {
        std::fclose(stream);
        stream = nullptr;
        TYR_LOG("TyrQbf::QbFile::CloseFile", "File closed.");
    }
}

void QbFile::OpenFileForWriting(const std::string& path, bool overwrite) {
    if (!overwrite && Tyr::Platform::pathExists(path)) {
        TYR_RAISE(Tyr::Exception::FileOpenException("File exists."));
    }
    OpenFile(path, "wb");
}

void QbFile::OpenFileForWriting(const std::wstring& path, bool overwrite) {
    if (!overwrite && Tyr::Platform::pathExists(path)) {
        TYR_RAISE(Tyr::Exception::FileOpenException("File exists."));
    }
    OpenFile(path, L"wb");
}

void QbFile::OpenFile(const std::string& path, const char* const mode) {
    if (stream != nullptr) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("File stream is already in use"));
    }
    stream = Tyr::Platform::openFile(path, mode);
    if (stream == nullptr) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException(UnableToOpen(path).c_str()));
    }
}

void QbFile::OpenFile(const std::wstring& path, const wchar_t* const mode) {
    if (stream != nullptr) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("File stream is already in use"));
    }
    stream = Tyr::Platform::openFile(path, mode);
    if (stream == nullptr) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException(UnableToOpen(LowBytes(path)).c_str()));
    }
}

void QbFile::SetBlockFlags(const std::string& name, unsigned int flags) {
    index.SetBlockFlags(name, static_cast<unsigned char>(flags & 0xFF));
}

void QbFile::WriteHead() {
    std::fwrite(FileSignature.data(), FileSignature.size(), 1, stream);
    std::fwrite(FileFormatVersion.data(), FileFormatVersion.size(), 1, stream);
}

void QbFile::WriteIdentity(const std::array<unsigned char, 16>& identity) {
    if (!Tyr::Platform::seekTo(stream, identityPosition) ||
        std::fwrite(identity.data(), identity.size(), 1, stream) != 1 || std::fflush(stream) != 0) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
    }
}

} // namespace TyrQbf
