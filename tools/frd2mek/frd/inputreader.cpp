#include "frd/inputreader.hpp"

#include "frd/formaterror.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Frd {

InputReader::InputReader(const std::filesystem::path& path, Watcher watcher)
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

bool InputReader::next(Line& line) {
    do {
        const auto* const newline = static_cast<const char*>(
            std::memchr(begin_, '\n', static_cast<std::size_t>(end_ - begin_)));
        if (newline != nullptr) {
            line = take(newline, newline + 1);
            return true;
        }
        if (static_cast<std::size_t>(end_ - begin_) == buffer_.size()) {
            throw FormatError(lineNumber_ + 1, "expected a line of text, found one without an end");
        }
    } while (refill());
    if (begin_ == end_) {
        return false;
    }
    line = take(end_, end_);
    hasCutLine_ = true;
    return true;
}

Line InputReader::require(const char* what, std::string_view lastKey) {
    Line line;
    if (!next(line)) {
        throw EndOfFile(lineNumber_ + 1, what, false);
    }
    if (hasCutLine_ && (lastKey.empty() || !line.startsWith(lastKey))) {
        throw EndOfFile(lineNumber_, what, true);
    }
    return line;
}

std::string_view InputReader::peek(std::size_t count) {
    while (static_cast<std::size_t>(end_ - begin_) < count && refill()) {
    }
    return {begin_, std::min(count, static_cast<std::size_t>(end_ - begin_))};
}

void InputReader::skip(std::size_t count) {
    const char* const following = begin_ + count;
    lineNumber_ += static_cast<std::uint64_t>(std::count(begin_, following, '\n'));
    begin_ = following;
}

InputReader::Mark InputReader::mark() const {
    return {bytesRead_ - static_cast<std::uint64_t>(end_ - begin_), lineNumber_};
}

void InputReader::returnTo(const Mark& mark) {
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(mark.offset));
    begin_ = buffer_.data();
    end_ = begin_;
    lineNumber_ = mark.line;
    bytesRead_ = mark.offset;
    hasCutLine_ = false;
}

Line InputReader::take(const char* end, const char* following) {
    const char* const begin = std::exchange(begin_, following);
    const bool endsInReturn = end != begin && end[-1] == '\r';
    const char* const textEnd = endsInReturn ? end - 1 : end;
    return {{begin, static_cast<std::size_t>(textEnd - begin)}, ++lineNumber_};
}

/// Moves what is not consumed to the front of the buffer and fills the rest.
/// @return false at the end of the file
bool InputReader::refill() {
    const auto kept = static_cast<std::size_t>(end_ - begin_);
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
