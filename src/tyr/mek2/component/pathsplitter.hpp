/// @file
/// Splits a path into its names.
#pragma once

#include <boost/tokenizer.hpp>

#include <string>
#include <vector>

namespace Tyr::Mek2::Component {

/// Every byte of the separator is a delimiter. Empty names are ignored.
class PathSplitter {
public:
    PathSplitter(const std::string& path, const char* separator);
    PathSplitter(const PathSplitter&) = delete;
    PathSplitter& operator=(const PathSplitter&) = delete;
    virtual ~PathSplitter();

    std::vector<std::string> names() const;

private:
    std::string path_; // the tokenizer refers to it
    boost::tokenizer<boost::char_separator<char>> tokenizer_;
};

} // namespace Tyr::Mek2::Component
