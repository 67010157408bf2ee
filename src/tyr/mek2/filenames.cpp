#include "tyr/mek2/filenames.hpp"

#include <string>

namespace Tyr::Mek2 {

namespace {

using Platform::NativePath;

constexpr const char* journalSuffix = ".journal";
constexpr const char* temporarySuffix = ".part";
constexpr std::size_t randomSuffixLength = 9; // ".01234567"

/// `path` without `suffix`; none if it has another end.
std::optional<NativePath> withoutSuffix(const NativePath& path, const char* suffix) {
    const NativePath wanted = Platform::withSuffix(NativePath(), suffix);
    if (path.size() < wanted.size() ||
        path.compare(path.size() - wanted.size(), wanted.size(), wanted) != 0) {
        return std::nullopt;
    }
    return path.substr(0, path.size() - wanted.size());
}

} // namespace

NativePath journalPathOf(const NativePath& target) {
    return Platform::withSuffix(target, journalSuffix);
}

std::optional<NativePath> targetOfJournal(const NativePath& journal) {
    return withoutSuffix(journal, journalSuffix);
}

NativePath newTemporaryPath(const NativePath& target) {
    constexpr const char* digits = "0123456789abcdef";
    const auto random = Platform::randomIdentity();
    std::string suffix = ".";
    for (std::size_t i = 0; suffix.size() < randomSuffixLength; ++i) {
        suffix += digits[random[i] >> 4];
        suffix += digits[random[i] & 0xF];
    }
    return Platform::withSuffix(target, suffix + temporarySuffix);
}

std::optional<NativePath> targetOfTemporary(const NativePath& temporary) {
    const std::optional<NativePath> stem = withoutSuffix(temporary, temporarySuffix);
    if (!stem || stem->size() <= randomSuffixLength ||
        (*stem)[stem->size() - randomSuffixLength] != '.') {
        return std::nullopt;
    }
    return stem->substr(0, stem->size() - randomSuffixLength);
}

} // namespace Tyr::Mek2
