/// @file
/// Checks an input file before it is read, so that an unsuitable one is reported in a user's words.
#pragma once

#include <filesystem>

namespace Console {

enum class FileFormat { Model, ResultFile };

/// Accepts a readable regular file unless its first bytes belong to another known format: an
/// archive, HDF5, an input deck of the solver, or the other `FileFormat`. A file of an unknown
/// format is accepted; the reader of `expected` describes what is wrong with it.
/// @throws FileError the file cannot be read
/// @throws ForeignFile it has another format
void checkInputFile(const std::filesystem::path& path, FileFormat expected);

} // namespace Console
