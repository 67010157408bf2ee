/// @file
/// Helpers of all tests: bytes as hex digits, a folder per test, the block size, error messages.
#pragma once

#include <tyr/exception/exception.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <string_view>

namespace Testing {

inline std::string hex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += text.empty() ? "" : " ";
        text += digits[value >> 4];
        text += digits[value & 0xF];
    }
    return text;
}

/// A new path in the folder for temporary files. The name of a test with a parameter has a slash.
inline std::filesystem::path temporaryPath(std::string name) {
    std::replace(name.begin(), name.end(), '/', '-');
    return std::filesystem::temp_directory_path() /
           ("mekapi2-" + std::to_string(std::random_device()()) + "-" + name);
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The name of the temporary file in a folder; an empty string if there is none.
inline std::string partIn(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".part") {
            return entry.path().filename().string();
        }
    }
    return "";
}

/// A test with an empty folder, which is removed at its end.
class FolderTest : public ::testing::Test {
protected:
    FolderTest() { std::filesystem::create_directories(folder); }
    ~FolderTest() override { std::filesystem::remove_all(folder); }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    /// The names in the folder; that of a temporary file ends in ".part".
    std::string names() const {
        std::set<std::string> sorted;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::filesystem::path name = entry.path().filename();
            sorted.insert(name.extension() == ".part" ? ".part" : name.string());
        }
        std::string all;
        for (const std::string& name : sorted) {
            all += name + ' ';
        }
        return all;
    }

    const std::filesystem::path folder =
        temporaryPath(::testing::UnitTest::GetInstance()->current_test_info()->name());
};

/// Sets `MEKWRITER_DEFAULT_BLOCK_SIZE` while it lives, or removes it if `value` is null.
class BlockSizeVariable {
public:
    explicit BlockSizeVariable(const char* value) { set(value); }
    BlockSizeVariable(const BlockSizeVariable&) = delete;
    BlockSizeVariable& operator=(const BlockSizeVariable&) = delete;
    ~BlockSizeVariable() { set(nullptr); }

private:
    static void set(const char* value) {
        constexpr const char* name = "MEKWRITER_DEFAULT_BLOCK_SIZE";
#if defined(_WIN32)
        _putenv_s(name, value != nullptr ? value : "");
#else
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
#endif
    }
};

/// The message of the exception of class `Error` that `action` throws, or "no error".
template <class Error, class Action>
std::string messageOf(const Action& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "no error";
}

} // namespace Testing

/// Ends a test that compares compressed bytes with those of zlib if the library was built with
/// another compressor.
#define TYR_NEEDS_BYTES_OF_ZLIB()    \
    if (!TYR_TEST_HAS_BYTES_OF_ZLIB) \
    GTEST_SKIP() << "the expected bytes are those of zlib"
