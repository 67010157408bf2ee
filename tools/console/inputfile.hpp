/// @file
/// Checks an input file before it is read, so that an unsuitable one is reported in a user's words.
#pragma once

#include <filesystem>

namespace Console {

enum class FileFormat { Model, ResultFile };

/// Accepts a readable regular file unless it is empty or its first bytes belong to another known
/// format: an archive, a mesh, an input deck of the solver, or the other `FileFormat`. A model file
/// must also begin with the signature of model files. For a result file of an
/// unknown format, its reader describes the error.
/// @throws FileError the file cannot be read
/// @throws ForeignFile it is empty or has another format
void checkInputFile(const std::filesystem::path& path, FileFormat expected);

} // namespace Console
