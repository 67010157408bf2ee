#include "frd/linereader.hpp"

#include "frd/formaterror.hpp"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace Frd {

namespace {

constexpr std::size_t bufferSize = 1 << 20;

} // namespace

LineReader::LineReader(const std::filesystem::path& path, Watcher watcher)
    : path_(path.u8string()),
      file_(path, std::ios::binary),
      watcher_(std::move(watcher)),
      buffer_(bufferSize),
      begin_(buffer_.data()),
      end_(begin_) {
    if (!file_) {
        throw std::runtime_error(path_ + ": cannot be opened");
    }
}

bool LineReader::next(Line& line) {
    do {
        const auto* const newline = static_cast<const char*>(
            std::memchr(begin_, '\n', static_cast<std::size_t>(end_ - begin_)));
        if (newline != nullptr) {
            line = take(newline, newline + 1);
            return true;
        }
    } while (refill());
    if (begin_ == end_) {
        return false;
    }
    line = take(end_, end_);
    return true;
}

Line LineReader::require(const char* what) {
    Line line;
    if (!next(line)) {
        throw FormatError(lineNumber_ + 1,
                          std::string("expected ") + what + ", found the end of the file");
    }
    return line;
}

Line LineReader::take(const char* end, const char* following) {
    const char* const begin = std::exchange(begin_, following);
    const bool endsInReturn = end != begin && end[-1] == '\r';
    const char* const textEnd = endsInReturn ? end - 1 : end;
    return {{begin, static_cast<std::size_t>(textEnd - begin)}, ++lineNumber_};
}

/// Moves the incomplete line to the front of the buffer and fills the rest.
bool LineReader::refill() {
    const auto kept = static_cast<std::size_t>(end_ - begin_);
    if (kept == buffer_.size()) {
        throw FormatError(lineNumber_ + 1, "expected a line of text, found one without an end");
    }
    std::memmove(buffer_.data(), begin_, kept);
    file_.read(buffer_.data() + kept, static_cast<std::streamsize>(buffer_.size() - kept));
    if (file_.bad()) {
        throw std::runtime_error(path_ + ": cannot be read");
    }
    const auto added = static_cast<std::size_t>(file_.gcount());
    begin_ = buffer_.data();
    end_ = begin_ + kept + added;
    bytesRead_ += added;
    if (watcher_) {
        watcher_(bytesRead_);
    }
    return added != 0;
}

} // namespace Frd
