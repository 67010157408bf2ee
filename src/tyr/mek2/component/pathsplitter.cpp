#include "tyr/mek2/component/pathsplitter.hpp"

namespace Tyr::Mek2::Component {

PathSplitter::PathSplitter(const std::string& path, const char* separator)
    : path_(path),
      tokenizer_(path_, boost::char_separator<char>(separator, "", boost::drop_empty_tokens)) {}

PathSplitter::~PathSplitter() = default;

/// Copies the names one by one. libstdc++'s constructor from a range leaks an element if advancing
/// the iterator raises an exception, as it does here without memory.
std::vector<std::string> PathSplitter::names() const {
    std::vector<std::string> names;
    for (const std::string& name : tokenizer_) {
        names.push_back(name);
    }
    return names;
}

} // namespace Tyr::Mek2::Component
