#include "tyr/mek2/component/pathsplitter.hpp"

namespace Tyr::Mek2::Component {

PathSplitter::PathSplitter(const std::string& path, const char* separator)
    : path_(path),
      tokenizer_(path_, boost::char_separator<char>(separator, "", boost::drop_empty_tokens)) {}

PathSplitter::~PathSplitter() = default;

std::vector<std::string> PathSplitter::names() const {
    return std::vector<std::string>(tokenizer_.begin(), tokenizer_.end());
}

} // namespace Tyr::Mek2::Component
